#include "picturetext.h"

#include "text.h"

#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktsmartansistring.h>

#include <array>
#include <cstdint>

namespace okt
{

namespace
{

constexpr int kCharactersOfGroup = 4;
constexpr int kHeadOfRecord = 3; // type and count of an 8-bit text

enum class Sign : unsigned char
{
    Foreign,
    Digit,
    Blank ///< padding and line breaks, which writers of base64 are free to use
};

constexpr auto kSigns = [] {
    std::array<Sign, 128> signs{};
    for (int c = 0; c < 128; ++c)
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/')
            signs[static_cast<std::size_t>(c)] = Sign::Digit;
    for (char const c : {'=', '\r', '\n'})
        signs[static_cast<std::size_t>(c)] = Sign::Blank;
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
        if (m_fault.empty() && m_digits % kCharactersOfGroup == 1)
            return "it breaks off behind character " + std::to_string(m_digits);
        return m_fault;
    }

private:
    void add(CString const &chunk)
    {
        for (WCHAR const unit : chunk.View())
        {
            Sign const sign = unit < kSigns.size() ? kSigns[unit] : Sign::Foreign;
            if (sign == Sign::Foreign && m_fault.empty())
                m_fault =
                    quoted(CString(OktTextView(&unit, 1))) + " at " + std::to_string(m_length) + " is no character of base64";
            ++m_length;
            m_digits += sign == Sign::Digit ? 1 : 0;
        }
    }

    std::int64_t m_length = 0;
    std::int64_t m_digits = 0;
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
