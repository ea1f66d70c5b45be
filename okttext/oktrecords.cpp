#include <okttext/oktrecords.h>

#include <okttext/oktnotation.h>

#include <bit>

namespace okttext
{

namespace
{

// These numbers stand in files and never change.
enum Type : unsigned char
{
    kBool = 0,
    kShort = 1,
    kLong = 2,
    kDouble = 3,
    kString16 = 4,
    kString8 = 5,
    kFrameBegin = 6,
    kFrameEnd = 7,
    kSectionBegin = 8,
    kSectionEnd = 9,
    kBytes = 10
};

constexpr char kIdClass[] = "OKTObjectId";
constexpr char kPointClass[] = "OKTGeXYZ";
constexpr std::size_t kIdSize = 48;
constexpr std::size_t kPictureChunk = 65535;

std::uint32_t little(Bytes bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
}

void appendByte(std::string &out, int value) { out += static_cast<char>(static_cast<unsigned char>(value)); }

class Parser
{
public:
    Parser(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName)
        : m_bytes(bytes), m_begin(offset), m_position(offset), m_names(names), m_nextName(nextName)
    {
    }

    Record parse()
    {
        Record top;
        do
            record(top);
        while (!m_open.empty());
        return std::move(top.children.front());
    }

private:
    [[noreturn]] void fail(bool isCut, std::size_t at)
    {
        std::string const what = isCut ? "the file ends inside " : "damaged inside ";
        throw OKTTextFault{what + place() + " that begins at byte " + std::to_string(m_begin), static_cast<long>(at)};
    }

    std::string place() const
    {
        if (m_class.empty())
            return "an object";
        bool const vowel = std::string_view("AEIOUaeiou").find(m_class.front()) != std::string_view::npos;
        return (vowel ? "an " : "a ") + readable(m_class);
    }

    Bytes take(std::size_t count)
    {
        if (m_bytes.size() - m_position < count)
            fail(true, m_bytes.size());
        Bytes const taken = m_bytes.substr(m_position, count);
        m_position += count;
        return taken;
    }

    void expect(Type type)
    {
        std::size_t const at = m_position;
        if (static_cast<unsigned char>(take(1).front()) != type)
            fail(false, at);
    }

    Bytes takeCounted(std::size_t countBytes, std::size_t unitBytes)
    {
        std::size_t const at = m_position;
        std::uint32_t const count = little(take(countBytes));
        if (count > 0x7FFFFFFF)
            fail(false, at);
        return take(count * unitBytes);
    }

    void record(Record &top)
    {
        std::size_t const at = m_position;
        auto const type = static_cast<unsigned char>(take(1).front());
        switch (type)
        {
        case kBool: return value(top, Record::Kind::Bool, at, take(1));
        case kShort: return value(top, Record::Kind::Short, at, take(2));
        case kLong: return value(top, Record::Kind::Long, at, take(4));
        case kDouble: return value(top, Record::Kind::Double, at, take(8));
        case kString16: return value(top, Record::Kind::String16, at, takeCounted(2, 2));
        case kString8: return value(top, Record::Kind::String8, at, takeCounted(2, 1));
        case kBytes: return value(top, Record::Kind::ByteArray, at, takeCounted(4, 1));
        case kFrameBegin: return begin(top, Record::Kind::Frame, at);
        case kSectionBegin: return begin(top, Record::Kind::Section, at);
        case kFrameEnd: return end(Record::Kind::Frame, at);
        case kSectionEnd: return end(Record::Kind::Section, at);
        default: fail(false, at);
        }
    }

    Record &container(Record &top) { return m_built.empty() ? top : *m_built.back(); }

    void value(Record &top, Record::Kind kind, std::size_t at, Bytes payload)
    {
        std::string name = takeName();
        if (m_open.size() > kDeepest)
            return;
        Record &made = container(top).children.emplace_back();
        made.kind = kind;
        made.begin = at;
        made.end = m_position;
        made.payload = payload;
        made.name = std::move(name);
        if (kind == Record::Kind::Long)
            made.number = static_cast<std::int32_t>(little(payload));
    }

    void begin(Record &top, Record::Kind kind, std::size_t at)
    {
        std::string name;
        Bytes className;
        if (kind == Record::Kind::Frame)
        {
            name = takeName();
            expect(kString8);
            className = takeCounted(2, 1);
            if (m_open.empty())
                m_class = className;
        }
        expect(kLong);
        auto const number = static_cast<std::int32_t>(little(take(4)));
        m_open.push_back(kind);
        if (m_open.size() > kDeepest + 1)
            return;
        // A record is open while its address is kept: nothing is added beside it then.
        Record &made = container(top).children.emplace_back();
        made.begin = at;
        if (m_open.size() > kDeepest)
        {
            m_raw = &made;
            return;
        }
        made.kind = kind;
        made.payload = className;
        made.number = number;
        made.name = std::move(name);
        m_built.push_back(&made);
    }

    void end(Record::Kind kind, std::size_t at)
    {
        if (m_open.empty() || m_open.back() != kind)
            fail(false, at);
        if (m_open.size() <= kDeepest)
        {
            m_built.back()->end = m_position;
            m_built.pop_back();
        }
        else if (m_open.size() == kDeepest + 1)
        {
            m_raw->end = m_position;
            m_raw->payload = m_bytes.substr(m_raw->begin, m_position - m_raw->begin);
        }
        m_open.pop_back();
    }

    std::string takeName()
    {
        if (m_names == nullptr || m_nextName >= m_names->size())
            return {};
        return (*m_names)[m_nextName++];
    }

    Bytes m_bytes;
    std::size_t m_begin;
    std::size_t m_position;
    std::vector<std::string> const *m_names;
    std::size_t &m_nextName;
    Bytes m_class; ///< of the outermost frame
    std::vector<Record::Kind> m_open;
    std::vector<Record *> m_built; ///< those of the open ones that are looked into
    Record *m_raw = nullptr;
};

} // namespace

Record parseRecord(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName)
{
    return Parser(bytes, offset, names, nextName).parse();
}

Record parseRecord(Bytes bytes, std::size_t offset)
{
    std::size_t noName = 0;
    return parseRecord(bytes, offset, nullptr, noName);
}

std::string idOf(Record const &record)
{
    if (record.kind != Record::Kind::Frame || record.end - record.begin != kIdSize || record.payload != kIdClass ||
        record.number != 1 || record.children.size() != 1)
        return {};
    Record const &section = record.children.front();
    if (section.kind != Record::Kind::Section || section.number != 1 || section.children.size() != 4)
        return {};
    std::string guid;
    for (Record const &word : section.children)
    {
        if (word.kind != Record::Kind::Long)
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

std::vector<Stretch> findObjects(Bytes image, std::size_t offset)
{
    constexpr char kHead[] = {kFrameEnd, kFrameBegin, kString8};
    std::vector<Stretch> stretches;
    while (offset < image.size())
    {
        // The byte ahead of the block is the end of the header.
        std::size_t found = image.find(Bytes(kHead, sizeof kHead), offset - 1);
        found = found == Bytes::npos ? image.size() : found + 1;
        if (found > offset)
            stretches.push_back({offset, found, false, {}});
        if (found == image.size())
            break;
        Record const frame = parseRecord(image, found);
        stretches.push_back({found, frame.end, true, firstIdIn(frame)});
        offset = frame.end;
    }
    return stretches;
}

// --- The way back ---

void appendLittle(std::string &out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        appendByte(out, static_cast<int>((value >> (8 * i)) & 0xFF));
}

void appendBool(std::string &out, unsigned char value)
{
    appendByte(out, kBool);
    appendByte(out, value);
}

void appendShort(std::string &out, std::int16_t value)
{
    appendByte(out, kShort);
    appendLittle(out, static_cast<std::uint16_t>(value), 2);
}

void appendLong(std::string &out, std::int32_t value)
{
    appendByte(out, kLong);
    appendLittle(out, static_cast<std::uint32_t>(value), 4);
}

void appendDouble(std::string &out, double value)
{
    appendByte(out, kDouble);
    appendLittle(out, std::bit_cast<std::uint64_t>(value), 8);
}

void appendString16(std::string &out, Bytes units)
{
    appendByte(out, kString16);
    appendLittle(out, units.size() / 2, 2);
    out += units;
}

void appendString8(std::string &out, Bytes text)
{
    appendByte(out, kString8);
    appendLittle(out, text.size(), 2);
    out += text;
}

void appendBytes(std::string &out, Bytes bytes)
{
    appendByte(out, kBytes);
    appendLittle(out, bytes.size(), 4);
    out += bytes;
}

void appendFrameBegin(std::string &out, Bytes className, std::int32_t version)
{
    appendByte(out, kFrameBegin);
    appendString8(out, className);
    appendLong(out, version);
}

void appendFrameEnd(std::string &out) { appendByte(out, kFrameEnd); }

void appendSectionBegin(std::string &out, std::int32_t number)
{
    appendByte(out, kSectionBegin);
    appendLong(out, number);
}

void appendSectionEnd(std::string &out) { appendByte(out, kSectionEnd); }

void appendId(std::string &out, Bytes guid)
{
    appendFrameBegin(out, kIdClass, 1);
    appendSectionBegin(out, 1);
    for (std::size_t word = 0; word < 4; ++word)
    {
        appendByte(out, kLong);
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
    std::string const text = base64(image, Base64Padding::Without);
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
