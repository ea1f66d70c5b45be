// SPDX-License-Identifier: MIT
#include <tools/okt/printing/dumplines.h>

#include <oktformat/guids.h>
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
        return quoted(entry.text) + "..., " + std::to_string(entry.length) + " characters";
    // A reader takes a text up to its first zero.
    bool const hasZero = entry.text.GetLength() < entry.length;
    return quoted(entry.text) + (hasZero ? ", a zero, " + std::to_string(entry.length) + " characters in all" : "");
}

std::string recordText(DumpEntry const &entry)
{
    switch (entry.type)
    {
    case RecordType::Bool: return "bool " + std::to_string(entry.number);
    case RecordType::Short: return "short " + std::to_string(entry.number);
    case RecordType::Long: return "long " + std::to_string(entry.number);
    case RecordType::Double: return "double " + number(entry.real);
    case RecordType::Text16: return "string16 " + textValue(entry);
    case RecordType::Text8: return "string8 " + textValue(entry);
    case RecordType::FrameBegin:
        return "class " + quoted(entry.text) + " version " + std::to_string(entry.number) +
               (entry.id ? " " + idText(*entry.id) : "");
    case RecordType::FrameEnd: return "end of class";
    case RecordType::SectionBegin: return "section " + std::to_string(entry.number);
    case RecordType::SectionEnd: return "end of section";
    case RecordType::Bytes: return "bytes, " + std::to_string(entry.length) + " of them";
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
        return entry.number < 0 ? "no size of a header" : "long " + std::to_string(entry.number) + ", the size of the header";
    default: return plural(entry.size, "byte") + " passed over";
    }
}

} // namespace

std::string dumpLine(DumpEntry const &entry, DumpOptions const &options)
{
    if (entry.kind == DumpEntry::Kind::Gap || entry.kind == DumpEntry::Kind::Fault)
        return offsetText(entry.offset) + "  ---- " + entry.reason;
    bool const isMore = entry.size > static_cast<std::int64_t>(options.longestBytes);
    std::string const hex = hexText(entry.bytes) + (isMore ? " ..." : "");
    return offsetText(entry.offset) + "  " + padded(hex, 3 * options.longestBytes + 3) + "  " +
           std::string(2 * entry.depth, ' ') + whatText(entry);
}

} // namespace okt
