// SPDX-License-Identifier: MIT
#include <tools/okt/printing/dumplines.h>

#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

namespace okt
{

namespace
{

std::string hexText(std::string_view bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (char const c : bytes)
    {
        auto const byte = static_cast<unsigned char>(c);
        text += text.empty() ? "" : " ";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string offsetText(std::int64_t offset)
{
    std::string const digits = std::to_string(offset);
    return std::string(digits.size() < 10 ? 10 - digits.size() : 0, ' ') + digits;
}

std::string textValue(DumpEntry const &entry)
{
    if (entry.isShortened)
        return sentence("{}..., {} characters", quoted(entry.text), entry.length);
    // A reader takes a text up to its first zero.
    bool const hasZero = entry.text.GetLength() < entry.length;
    return quoted(entry.text) + (hasZero ? sentence(", a zero, {} characters in all", entry.length) : "");
}

std::string recordText(DumpEntry const &entry)
{
    switch (entry.type)
    {
    case RecordType::Bool: return sentence("bool {}", entry.number);
    case RecordType::Short: return sentence("short {}", entry.number);
    case RecordType::Long: return sentence("long {}", entry.number);
    case RecordType::Double: return "double " + number(entry.real);
    case RecordType::Text16: return "string16 " + textValue(entry);
    case RecordType::Text8: return "string8 " + textValue(entry);
    case RecordType::FrameBegin:
        return sentence("class {} version {}{}", quoted(entry.text), entry.number, entry.id ? " " + idText(*entry.id) : "");
    case RecordType::FrameEnd: return "end of class";
    case RecordType::SectionBegin: return sentence("section {}", entry.number);
    case RecordType::SectionEnd: return "end of section";
    case RecordType::Bytes: return sentence("bytes, {} of them", entry.length);
    }
    return "";
}

std::string whatText(DumpEntry const &entry)
{
    switch (entry.kind)
    {
    case DumpEntry::Kind::Record:
        return recordText(entry) + (entry.oddity == nullptr ? "" : std::string("  <- ") + entry.oddity);
    case DumpEntry::Kind::HeaderSize:
        return entry.number < 0 ? "no size of a header" : sentence("long {}, the size of the header", entry.number);
    default: return plural(entry.size, "byte") + " passed over";
    }
}

} // namespace

std::string dumpLine(DumpEntry const &entry, DumpOptions const &options)
{
    if (entry.kind == DumpEntry::Kind::Gap || entry.kind == DumpEntry::Kind::Fault)
        return sentence("{}  ---- {}", offsetText(entry.offset), entry.reason);
    bool const isMore = entry.size > static_cast<std::int64_t>(options.longestBytes);
    std::string const hex = hexText(entry.bytes) + (isMore ? " ..." : "");
    return sentence("{}  {}  {}{}", offsetText(entry.offset), padded(hex, 3 * options.longestBytes + 3),
                    std::string(2 * entry.depth, ' '), whatText(entry));
}

} // namespace okt
