// SPDX-License-Identifier: MIT
#include <okttext/oktrecords.h>

#include <oktformat/base64.h>
#include <oktformat/recordwalk.h>
#include <oktformat/sentence.h>
#include <okttext/oktnotation.h>

#include <bit>

namespace okttext
{

namespace
{

using okt::RecordType;

constexpr char kIdClass[] = "OKTObjectId";
constexpr char kPointClass[] = "OKTGeXYZ";
constexpr std::size_t kIdSize = 48;
constexpr std::size_t kPictureChunk = 65535;

void appendByte(std::string &out, int value) { out += static_cast<char>(static_cast<unsigned char>(value)); }

void appendType(std::string &out, RecordType type) { out += static_cast<char>(type); }

/// Builds the tree of a record while a walk goes over it.
class Builder
{
public:
    Builder(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName)
        : m_bytes(bytes), m_begin(offset), m_source(bytes),
          m_walk(m_source, static_cast<std::int64_t>(offset), okt::RecordWalk::Start::AnyRecord), m_names(names),
          m_nextName(nextName)
    {
    }

    Record build()
    {
        while (m_walk.next())
            take(m_walk.record());
        if (m_walk.state() != okt::RecordWalk::State::Whole)
            fail();
        return std::move(m_top.children.front());
    }

private:
    [[noreturn]] void fail() const
    {
        bool const isCut = m_walk.state() == okt::RecordWalk::State::Cut;
        auto const position = static_cast<std::size_t>(m_walk.position());
        std::size_t at = isCut ? m_bytes.size() : position;
        // In a byte array only the length can be wrong.
        if (!isCut && m_walk.position() == m_walk.record().begin && m_bytes[position] == static_cast<char>(RecordType::Bytes))
            ++at;
        std::string const what = isCut ? "the file ends inside " : "damaged inside ";
        throw OKTTextFault{okt::sentence("{}{} that begins at byte {}", what, place(), m_begin), static_cast<long>(at)};
    }

    std::string place() const
    {
        // The name is valid even if there is a fault after it.
        Bytes const name = m_walk.open().empty() ? payloadOf(m_walk.record()) : m_class;
        if (name.empty())
            return "an object";
        bool const vowel = std::string_view("AEIOUaeiou").find(name.front()) != std::string_view::npos;
        return (vowel ? "an " : "a ") + readable(name);
    }

    Bytes payloadOf(okt::RecordPlace const &record) const
    {
        auto const size = static_cast<std::size_t>(record.payloadSize);
        return size == 0 ? Bytes() : m_bytes.substr(static_cast<std::size_t>(record.payload), size);
    }

    void take(okt::RecordPlace const &record)
    {
        switch (record.type)
        {
        case RecordType::FrameBegin:
        case RecordType::SectionBegin: return begin(record);
        case RecordType::FrameEnd:
        case RecordType::SectionEnd: return end(record);
        default: return value(record);
        }
    }

    Record &add(okt::RecordPlace const &record)
    {
        Record &container = m_built.empty() ? m_top : *m_built.back();
        Record &made = container.children.emplace_back();
        made.begin = static_cast<std::size_t>(record.begin);
        made.end = static_cast<std::size_t>(record.end);
        return made;
    }

    void describe(Record &made, okt::RecordPlace const &record, std::string name) const
    {
        made.type = record.type;
        made.payload = payloadOf(record);
        made.number = record.number;
        made.name = std::move(name);
    }

    void value(okt::RecordPlace const &record)
    {
        std::string name = takeName();
        if (m_walk.open().size() <= kDeepest)
            describe(add(record), record, std::move(name));
    }

    void begin(okt::RecordPlace const &record)
    {
        std::size_t const depth = m_walk.open().size();
        std::string name;
        if (record.type == RecordType::FrameBegin)
        {
            name = takeName();
            if (depth == 1)
                m_class = payloadOf(record);
        }
        if (depth > kDeepest + 1)
            return;
        // The addresses of open records stay valid: siblings are added only after a record is closed.
        Record &made = add(record);
        if (depth > kDeepest)
        {
            m_raw = &made;
            return;
        }
        describe(made, record, std::move(name));
        m_built.push_back(&made);
    }

    void end(okt::RecordPlace const &record)
    {
        std::size_t const depth = m_walk.open().size() + 1;
        auto const end = static_cast<std::size_t>(record.end);
        if (depth <= kDeepest)
        {
            m_built.back()->end = end;
            m_built.pop_back();
        }
        else if (depth == kDeepest + 1)
        {
            m_raw->end = end;
            m_raw->payload = m_bytes.substr(m_raw->begin, end - m_raw->begin);
        }
    }

    std::string takeName()
    {
        if (m_names == nullptr || m_nextName >= m_names->size())
            return {};
        return (*m_names)[m_nextName++];
    }

    Bytes m_bytes;
    std::size_t m_begin;
    okt::ByteSource m_source;
    okt::RecordWalk m_walk;
    std::vector<std::string> const *m_names;
    std::size_t &m_nextName;
    Bytes m_class;                 ///< of the outermost frame
    Record m_top;                  ///< the parent of the record
    std::vector<Record *> m_built; ///< the open records that are not raw
    Record *m_raw = nullptr;
};

} // namespace

Record parseRecord(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName)
{
    return Builder(bytes, offset, names, nextName).build();
}

Record parseRecord(Bytes bytes, std::size_t offset)
{
    std::size_t noName = 0;
    return parseRecord(bytes, offset, nullptr, noName);
}

std::string idOf(Record const &record)
{
    if (!record.isFrame() || record.end - record.begin != kIdSize || record.payload != kIdClass || record.number != 1 ||
        record.children.size() != 1)
        return {};
    Record const &section = record.children.front();
    if (!section.isSection() || section.number != 1 || section.children.size() != 4)
        return {};
    std::string guid;
    for (Record const &word : section.children)
    {
        if (word.type != RecordType::Long)
            return {};
        guid += word.payload;
    }
    return guid;
}

std::string firstIdIn(Record const &record)
{
    if (std::string guid = idOf(record); !guid.empty())
        return guid;
    for (Record const &child : record.children)
        if (std::string guid = firstIdIn(child); !guid.empty())
            return guid;
    return {};
}

std::vector<PoolPiece> findObjects(Bytes image, std::size_t offset)
{
    constexpr char kHead[] = {static_cast<char>(RecordType::FrameEnd), static_cast<char>(RecordType::FrameBegin),
                              static_cast<char>(RecordType::Text8)};
    std::vector<PoolPiece> pieces;
    while (offset < image.size())
    {
        // The byte before the block is the end of the header.
        std::size_t found = image.find(Bytes(kHead, sizeof kHead), offset - 1);
        found = found == Bytes::npos ? image.size() : found + 1;
        if (found > offset)
            pieces.push_back({offset, found, false, {}});
        if (found == image.size())
            break;
        Record const frame = parseRecord(image, found);
        pieces.push_back({found, frame.end, true, firstIdIn(frame)});
        offset = frame.end;
    }
    return pieces;
}

// --- From records to bytes ---

void appendLittle(std::string &out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        appendByte(out, static_cast<int>((value >> (8 * i)) & 0xFF));
}

void appendBool(std::string &out, unsigned char value)
{
    appendType(out, RecordType::Bool);
    appendByte(out, value);
}

void appendShort(std::string &out, std::int16_t value)
{
    appendType(out, RecordType::Short);
    appendLittle(out, static_cast<std::uint16_t>(value), 2);
}

void appendLong(std::string &out, std::int32_t value)
{
    appendType(out, RecordType::Long);
    appendLittle(out, static_cast<std::uint32_t>(value), 4);
}

void appendDouble(std::string &out, double value)
{
    appendType(out, RecordType::Double);
    appendLittle(out, std::bit_cast<std::uint64_t>(value), 8);
}

void appendString16(std::string &out, Bytes units)
{
    appendType(out, RecordType::Text16);
    appendLittle(out, units.size() / 2, 2);
    out += units;
}

void appendString8(std::string &out, Bytes text)
{
    appendType(out, RecordType::Text8);
    appendLittle(out, text.size(), 2);
    out += text;
}

void appendBytes(std::string &out, Bytes bytes)
{
    appendType(out, RecordType::Bytes);
    appendLittle(out, bytes.size(), 4);
    out += bytes;
}

void appendFrameBegin(std::string &out, Bytes className, std::int32_t version)
{
    appendType(out, RecordType::FrameBegin);
    appendString8(out, className);
    appendLong(out, version);
}

void appendFrameEnd(std::string &out) { appendType(out, RecordType::FrameEnd); }

void appendSectionBegin(std::string &out, std::int32_t number)
{
    appendType(out, RecordType::SectionBegin);
    appendLong(out, number);
}

void appendSectionEnd(std::string &out) { appendType(out, RecordType::SectionEnd); }

void appendId(std::string &out, Bytes guid)
{
    appendFrameBegin(out, kIdClass, 1);
    appendSectionBegin(out, 1);
    for (std::size_t word = 0; word < 4; ++word)
    {
        appendType(out, RecordType::Long);
        out += guid.substr(4 * word, 4);
    }
    appendSectionEnd(out);
    appendFrameEnd(out);
}

void appendPoint(std::string &out, double x, double y, double z)
{
    appendFrameBegin(out, kPointClass, 1);
    appendSectionBegin(out, 1);
    appendDouble(out, x);
    appendDouble(out, y);
    appendDouble(out, z);
    appendSectionEnd(out);
    appendFrameEnd(out);
}

void appendPicture(std::string &out, Bytes image)
{
    std::string const text = okt::base64(image, okt::Base64Padding::Without);
    Bytes rest = text;
    auto const nextChunk = [&rest] {
        Bytes const chunk = rest.substr(0, kPictureChunk);
        rest.remove_prefix(chunk.size());
        return chunk;
    };
    std::size_t const chunks = (text.size() + kPictureChunk - 1) / kPictureChunk;
    appendSectionBegin(out, 1);
    appendString8(out, nextChunk());
    appendSectionEnd(out);
    appendSectionBegin(out, 2);
    appendLong(out, static_cast<std::int32_t>(chunks) - 1); // -1 for a picture without bytes
    while (!rest.empty())
        appendString8(out, nextChunk());
    appendSectionEnd(out);
}

} // namespace okttext
