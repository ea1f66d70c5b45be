// SPDX-License-Identifier: MIT
#include <okttext/okttextwriter.h>

#include <oktformat/base64.h>
#include <okttext/oktnotation.h>

#include <algorithm>
#include <bit>

namespace okttext
{

namespace
{

constexpr std::size_t kFlushBeyond = 1 << 16;
// Shorter byte arrays stay in the text.
constexpr std::size_t kSmallestFile = 256;

double doubleOf(Bytes payload)
{
    std::uint64_t bits = 0;
    for (std::size_t i = payload.size(); i-- > 0;)
        bits = (bits << 8) | static_cast<unsigned char>(payload[i]);
    return std::bit_cast<double>(bits);
}

bool isSectionOne(Record const &frame)
{
    return frame.number == 1 && frame.children.size() == 1 && frame.children.front().isSection() &&
           frame.children.front().number == 1;
}

bool isPoint(Record const &frame)
{
    if (frame.payload != "OKTGeXYZ" || !isSectionOne(frame) || frame.children.front().children.size() != 3)
        return false;
    for (Record const &coordinate : frame.children.front().children)
        if (coordinate.type != okt::RecordType::Double)
            return false;
    return true;
}

bool isValue(Record const &record) { return record.type && !record.isFrame() && !record.isSection(); }

/// A kind, and a value or none.
bool isVariant(Record const &frame)
{
    if (frame.payload != "OKTVariant" || !isSectionOne(frame))
        return false;
    std::vector<Record> const &members = frame.children.front().children;
    return !members.empty() && members.size() <= 2 && members.front().type == okt::RecordType::Long &&
           (members.size() == 1 || isValue(members.back()));
}

} // namespace

void TextWriter::beginDocument()
{
    m_text += "{\n";
    m_indent = 2;
    m_text += "  \"format\": \"OKTDatabase text\",\n  \"version\": 1";
}

void TextWriter::headerSize(std::int32_t size) { m_text += ",\n  \"headerSize\": " + std::to_string(size); }

void TextWriter::header(Record const &frame, Places const &places)
{
    m_places = &places;
    m_lastId.clear();
    m_stem = "header";
    m_text += ",\n  \"header\": ";
    entry(frame);
    m_places = nullptr;
}

void TextWriter::beginList(std::string_view key)
{
    m_text += ",\n  \"";
    m_text += key;
    m_text += "\": [";
    m_indent = 4;
    m_isFirst = true;
}

void TextWriter::record(Record const &record)
{
    std::string const id = firstIdIn(record);
    m_stem = id.empty() ? "object" : guidText(id).substr(1, 36);
    beginEntry(m_isFirst);
    entry(record);
    flush(kFlushBeyond);
}

void TextWriter::raw(Bytes stretch)
{
    beginEntry(m_isFirst);
    m_text += "{\"raw\": \"" + okt::base64(stretch) + "\"}";
    flush(kFlushBeyond);
}

void TextWriter::endList()
{
    m_indent = 2;
    if (!m_isFirst)
        newLine();
    m_text += ']';
}

void TextWriter::endDocument()
{
    m_text += "\n}\n";
    flush(0);
}

void TextWriter::flush(std::size_t beyond)
{
    if (m_text.size() <= beyond)
        return;
    m_sink(m_text);
    m_text.clear();
}

void TextWriter::newLine()
{
    m_text += '\n';
    m_text.append(m_indent, ' ');
}

void TextWriter::beginEntry(bool &isFirst)
{
    if (!isFirst)
        m_text += ',';
    isFirst = false;
    newLine();
}

void TextWriter::name(Record const &record)
{
    if (!record.name.empty())
        m_text += "\"name\": \"" + record.name + "\", ";
}

void TextWriter::content(List const &records, bool isPicture)
{
    m_text += "\"content\": [";
    m_indent += 2;
    bool isFirst = true;
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        if (isPicture && i + 1 < records.size() && picture(records[i], records[i + 1], isFirst))
        {
            ++i;
            continue;
        }
        if (std::size_t const taken = idList(records, i, isFirst); taken > 0)
        {
            i += taken - 1;
            continue;
        }
        beginEntry(isFirst);
        entry(records[i]);
    }
    m_indent -= 2;
    if (!isFirst)
        newLine();
    m_text += ']';
}

void TextWriter::entry(Record const &record)
{
    m_text += '{';
    name(record);
    if (record.isSection())
    {
        m_text += "\"section\": " + std::to_string(record.number) + ", ";
        content(record.children, false);
    }
    else if (!record.isFrame())
        value(record);
    else if (std::string const guid = idOf(record); !guid.empty())
    {
        m_text += "\"id\": \"" + guidText(guid) + '"';
        m_lastId = guid;
    }
    else if (isPoint(record))
    {
        List const &coordinates = record.children.front().children;
        m_text += "\"point\": [" + doubleText(doubleOf(coordinates[0].payload)) + ", " +
                  doubleText(doubleOf(coordinates[1].payload)) + ", " + doubleText(doubleOf(coordinates[2].payload)) + ']';
    }
    else if (isVariant(record))
    {
        List const &members = record.children.front().children;
        std::string_view const known = kindName(members.front().number);
        m_text += "\"variant\": ";
        m_text += known.empty() ? std::to_string(members.front().number) : '"' + std::string(known) + '"';
        if (members.size() == 2)
        {
            m_text += ", ";
            value(members.back());
        }
    }
    else
    {
        m_text += "\"class\": \"";
        appendNarrow(m_text, record.payload);
        m_text += "\", \"version\": " + std::to_string(record.number) + ", ";
        content(record.children, record.payload == "OKTDbPicture");
    }
    m_text += '}';
}

void TextWriter::value(Record const &record)
{
    using okt::RecordType;
    if (!record.type)
    {
        m_text += "\"raw\": \"" + okt::base64(record.payload) + '"';
        return;
    }
    switch (*record.type)
    {
    case RecordType::Bool:
        m_text += "\"bool\": ";
        m_text += record.number > 1 ? std::to_string(record.number) : record.number == 1 ? "true" : "false";
        break;
    case RecordType::Short: m_text += "\"short\": " + std::to_string(record.number); break;
    case RecordType::Long:
    {
        std::optional<std::string_view> const word = placeWord(record);
        m_text += "\"long\": " + (word ? '"' + std::string(*word) + '"' : std::to_string(record.number));
        break;
    }
    case RecordType::Double: m_text += "\"double\": " + doubleText(doubleOf(record.payload)); break;
    case RecordType::Text16:
    {
        bool const isEscaped = hasLoneSurrogate(record.payload);
        m_text += isEscaped ? "\"string16-escaped\": \"" : "\"string16\": \"";
        isEscaped ? appendEscapedUnits(m_text, record.payload) : appendUnits(m_text, record.payload);
        m_text += '"';
        break;
    }
    case RecordType::Text8:
        m_text += "\"string8\": \"";
        appendNarrow(m_text, record.payload);
        m_text += '"';
        break;
    case RecordType::Bytes: stored("bytes", record.payload, record.payload.size() >= kSmallestFile); break;
    case RecordType::FrameBegin: // those with content are no values
    case RecordType::SectionBegin:
    case RecordType::FrameEnd:
    case RecordType::SectionEnd: break;
    }
}

void TextWriter::stored(std::string_view key, Bytes bytes, bool isWorthAFile)
{
    m_text += '"';
    m_text += key;
    if (!m_put || !isWorthAFile)
    {
        m_text += "\": \"" + okt::base64(bytes) + '"';
        return;
    }
    CByteArray copy;
    copy.SetSize(static_cast<int>(bytes.size()));
    std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char *>(copy.GetData()));
    std::string const utf8 = m_put(m_stem, copy);
    m_text += "-file\": \"";
    appendUnits(m_text, parseUnits(utf8));
    m_text += '"';
}

/// A count and that many ids under one name, "list.Length" or "Lengthlist", "list.0", "list.1", become one list. Returns how many
/// records these are, or 0. A count of 0 stays a number, since the kind of the elements is not known.
std::size_t TextWriter::idList(List const &records, std::size_t first, bool &isFirst)
{
    constexpr std::string_view kLength = "Length";
    Record const &count = records[first];
    if (count.type != okt::RecordType::Long || count.number < 1 || m_places != nullptr ||
        static_cast<std::size_t>(count.number) > records.size() - first - 1)
        return 0;
    std::string_view list = count.name;
    if (list.ends_with(".Length"))
        list.remove_suffix(kLength.size() + 1);
    else if (list.starts_with(kLength))
        list.remove_prefix(kLength.size());
    else
        return 0;
    auto const ids = static_cast<std::size_t>(count.number);
    for (std::size_t i = 0; i < ids; ++i)
    {
        Record const &id = records[first + 1 + i];
        if (id.name != std::string(list) + '.' + std::to_string(i) || idOf(id).empty())
            return 0;
    }
    beginEntry(isFirst);
    m_text += "{\"name\": \"";
    m_text += list;
    m_text += "\", \"ids\": [";
    m_indent += 2;
    bool isFirstId = true;
    for (std::size_t i = 0; i < ids; ++i)
    {
        beginEntry(isFirstId);
        m_text += '"' + guidText(idOf(records[first + 1 + i])) + '"';
    }
    m_indent -= 2;
    newLine();
    m_text += "]}";
    return ids + 1;
}

/// Writes the two sections with the text of a picture as one image, if they contain exactly that.
bool TextWriter::picture(Record const &head, Record const &rest, bool &isFirst)
{
    if (!head.isSection() || head.children.size() != 1 || !rest.isSection() || rest.children.empty() ||
        head.children.front().type != okt::RecordType::Text8)
        return false;
    std::string text(head.children.front().payload);
    for (std::size_t i = 1; i < rest.children.size(); ++i)
    {
        if (rest.children[i].type != okt::RecordType::Text8)
            return false;
        text += rest.children[i].payload;
    }
    std::optional<std::string> const image = okt::parseBase64(text, okt::Base64Padding::Without);
    if (!image)
        return false;
    std::string sections;
    appendPicture(sections, *image);
    if (sections != m_bytes.substr(head.begin, rest.end - head.begin))
        return false;
    beginEntry(isFirst);
    m_text += '{';
    stored("picture", *image, !image->empty());
    m_text += '}';
    return true;
}

/// In the header: "position" or "size" for a number that is just that of the object whose id was written last, or -1
/// if there is no such object.
std::optional<std::string_view> TextWriter::placeWord(Record const &record) const
{
    if (m_places == nullptr || m_lastId.empty())
        return std::nullopt;
    bool const isPosition = record.name == "nObjectPosition";
    if (!isPosition && record.name != "nObjectSize")
        return std::nullopt;
    auto const place = m_places->find(m_lastId);
    std::int32_t const known = place == m_places->end() ? -1 : isPosition ? place->second.first : place->second.second;
    if (record.number != known)
        return std::nullopt;
    return isPosition ? "position" : "size";
}

} // namespace okttext
