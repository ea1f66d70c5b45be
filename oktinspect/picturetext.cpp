// SPDX-License-Identifier: MIT
#include <oktinspect/picturetext.h>

#include <oktformat/base64.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktformat/valuewalk.h>

#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktshortage.h>
#include <oktdatabase/oktsmartansistring.h>
#include <oktdatabase/okttools.h>

#include <cstdint>
#include <optional>

namespace okt
{

namespace
{

constexpr int kHeadOfRecord = 3; // type and count of an 8-bit text

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
        for (WCHAR const unit : chunk.View())
            m_text.take(unit);
        // A reader takes a text up to its first zero.
        if (filer.GetFilerPosition() - begin - kHeadOfRecord > chunk.GetLength() && !m_text.fault() && m_zeroAt < 0)
            m_zeroAt = m_text.length();
        return true;
    }

    std::string fault() const
    {
        if (m_zeroAt >= 0)
            return sentence("a zero at {} cuts it", m_zeroAt);
        std::optional<Base64Fault> const fault = m_text.finish();
        if (!fault)
            return {};
        auto const unit = static_cast<WCHAR>(fault->character);
        switch (fault->kind)
        {
        case Base64Fault::Kind::Foreign:
            return sentence("{} at {} is no character of base64", quoted(CString(OktTextView(&unit, 1))), fault->offset);
        case Base64Fault::Kind::BehindPadding: return sentence("text goes on behind its padding, at {}", fault->offset);
        case Base64Fault::Kind::BrokenOff: return sentence("it breaks off behind character {}", m_text.digits());
        case Base64Fault::Kind::PartOfByte: return "it ends within a byte";
        case Base64Fault::Kind::Padding: return "its padding does not fit its length";
        }
        return {};
    }

private:
    // Writers of base64 are free to break lines and to leave the padding out.
    Base64Reader m_text{Base64Mode::Lenient, Base64Padding::Without, nullptr};
    std::int64_t m_zeroAt = -1;
};

std::string faultOf(CByteArray const &object)
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

} // namespace

std::string pictureTextFault(CByteArray const &object)
{
    return OktWithMemory([&] { return faultOf(object); });
}

std::string pictureText(ByteSource &source, std::int64_t begin)
{
    std::string text;
    ValueWalk walk(source, begin);
    while (walk.next())
    {
        StoredValue const &value = walk.value();
        if (value.owner != KnownClass::Picture || value.nested != 0 || value.kind != StoredValue::Kind::Text8)
            continue;
        std::string const chunk = source.copy(value.payload, value.payloadSize);
        text.append(chunk, 0, chunk.find('\0'));
    }
    return text;
}

std::optional<CByteArray> imageOfPlainText(ByteSource &source, std::int64_t begin)
{
    std::string const text = pictureText(source, begin);
    CByteArray image;
    int size = static_cast<int>(text.size());
    if (text.empty())
        return image;
    unsigned char *const room = image.Extend(size);
    if (base64Decode(text.data(), size, room, &size) == 0)
        return std::nullopt;
    image.SetSize(size);
    unsigned int const flags = kBase64NoLineBreaks | (text.ends_with('=') ? 0 : kBase64NoPadding);
    int written = base64EncodedLength(size, flags);
    std::string again(static_cast<std::size_t>(written), '\0');
    if (base64Encode(image.GetData(), size, again.data(), &written, flags) == 0)
        return std::nullopt;
    again.resize(static_cast<std::size_t>(written));
    if (again != text)
        return std::nullopt;
    return image;
}

} // namespace okt
