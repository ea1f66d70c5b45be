#include <oktinspect/picturetext.h>

#include <oktformat/text.h>

#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktsmartansistring.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace okt
{

namespace
{

constexpr int kCharactersOfGroup = 4;
constexpr int kHeadOfRecord = 3; // type and count of an 8-bit text

// Of a character that is a digit its six bits. Padding and line breaks writers of base64 are free to use.
constexpr signed char kForeign = -1;
constexpr signed char kBreak = -2;
constexpr signed char kPadding = -3;

constexpr auto kSigns = [] {
    std::array<signed char, 128> signs{};
    signs.fill(kForeign);
    signed char digit = 0;
    for (char const c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        signs[static_cast<std::size_t>(c)] = digit++;
    signs['\r'] = signs['\n'] = kBreak;
    signs['='] = kPadding;
    return signs;
}();

/// Takes the chunks of a text in their order.
class TextCheck
{
public:
    /// False, and nothing taken, where the next record is no text.
    bool readChunk(OKTMemoryFiler &filer)
    {
        long const begin = filer.GetFilerPosition();
        CString chunk;
        if (!filer.readString(CString(), chunk))
            return false;
        add(chunk);
        // A reader takes a text up to its first zero.
        if (filer.GetFilerPosition() - begin - kHeadOfRecord > chunk.GetLength() && m_fault.empty())
            m_fault = "a zero at " + std::to_string(m_length) + " cuts it";
        return true;
    }

    std::string fault() const
    {
        if (!m_fault.empty())
            return m_fault;
        std::int64_t const left = m_digits % kCharactersOfGroup;
        if (left == 1)
            return "it breaks off behind character " + std::to_string(m_digits);
        // An end within a group leaves bits over, and padding fills the group up.
        if ((left == 2 && m_lastDigit % 16 != 0) || (left == 3 && m_lastDigit % 4 != 0))
            return "it ends within a byte";
        if (m_padding > 0 && (left + m_padding) % kCharactersOfGroup != 0)
            return "its padding does not fit its length";
        return {};
    }

private:
    void add(CString const &chunk)
    {
        for (WCHAR const unit : chunk.View())
        {
            int const sign = unit < kSigns.size() ? kSigns[unit] : kForeign;
            if (sign == kForeign && m_fault.empty())
                m_fault =
                    quoted(CString(OktTextView(&unit, 1))) + " at " + std::to_string(m_length) + " is no character of base64";
            if (sign >= 0 && m_padding > 0 && m_fault.empty())
                m_fault = "text goes on behind its padding, at " + std::to_string(m_length);
            ++m_length;
            if (sign == kPadding)
                ++m_padding;
            if (sign < 0)
                continue;
            ++m_digits;
            m_lastDigit = sign;
        }
    }

    std::int64_t m_length = 0;
    std::int64_t m_digits = 0;
    std::int64_t m_padding = 0;
    int m_lastDigit = 0;
    std::string m_fault;
};

} // namespace

std::string pictureTextFault(CByteArray const &object)
{
    OKTMemoryFiler filer;
    filer.readInPlace(object);
    CString className;
    if (!filer.readNextObjectClass(className) || !filer.beginReadClass(u"Object", className) ||
        !filer.beginReadClass(u"Object", u"OKTDbObject") || !filer.endReadClass())
        return {};
    TextCheck check;
    OKTSmartAnsiString const ansi(&filer, true);
    if (filer.beginReadMembers(1))
    {
        check.readChunk(filer);
        filer.endReadMembers();
    }
    if (filer.beginReadMembers(2))
    {
        int count = 0;
        filer.readInt(CString(), count);
        for (int i = 0; i < count && check.readChunk(filer); ++i)
        {
        }
        filer.endReadMembers();
    }
    return check.fault();
}

} // namespace okt
