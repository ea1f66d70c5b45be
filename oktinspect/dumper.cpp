// SPDX-License-Identifier: MIT
#include <oktinspect/dumper.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace okt
{

namespace
{

// Bytes of a record that are shown in hexadecimal, and units of a text.
constexpr std::size_t kShownBytes = 12;
constexpr std::int64_t kShownText = 80;

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

class Dumper
{
public:
    Dumper(FileScan &scan, std::function<void(std::string_view)> const &sink,
           std::function<void(std::string const &)> const &onFault)
        : m_scan(scan), m_source(scan.source()), m_sink(sink), m_onFault(onFault)
    {
    }

    bool all()
    {
        HeaderPlace const &header = m_scan.header();
        if (header.begin == 5)
            headerSize();
        bool isWhole = header.isWhole;
        RecordWalk const walk = frame(header.begin, isWhole ? -1 : header.faultAt);
        m_headerRead = walk.state() == RecordWalk::State::Going ? walk.position() : walk.record().begin;
        if (!isWhole)
            fault(header.faultAt, header.fault);
        objects([](Stretch const &) { return true; }, isWhole);
        return isWhole;
    }

    bool one(_GUID const &id)
    {
        bool isWhole = true;
        bool isFound = false;
        objects(
            [&](Stretch const &stretch) {
                bool const isWanted = stretch.id && isSame(*stretch.id, id);
                isFound = isFound || isWanted;
                return isWanted;
            },
            isWhole);
        if (!isFound)
            m_onFault(Failure(m_scan.name(), "", "there is no object " + idText(id)).what());
        return isFound && isWhole;
    }

    bool at(std::int64_t offset)
    {
        if (offset < 0 || offset >= m_source.size())
        {
            m_onFault(
                Failure(m_scan.name(), byteAt(offset), "the file ends at byte " + std::to_string(m_source.size())).what());
            return false;
        }
        if (m_source.at(offset) == static_cast<int>(RecordType::FrameBegin))
        {
            RecordWalk const walk = frame(offset);
            if (walk.state() != RecordWalk::State::Whole)
                fault(walk.position(),
                      walk.state() == RecordWalk::State::Cut ? "the file ends inside this frame" : "no record is here");
            return walk.state() == RecordWalk::State::Whole;
        }
        return loose(offset);
    }

private:
    void line(std::int64_t offset, std::int64_t size, std::size_t depth, std::string const &what)
    {
        std::string hex = hexText(m_source.look(offset, std::min(kShownBytes, static_cast<std::size_t>(size))));
        if (size > static_cast<std::int64_t>(kShownBytes))
            hex += " ...";
        m_sink(offsetText(offset) + "  " + padded(hex, 3 * kShownBytes + 3) + "  " + std::string(2 * depth, ' ') + what + "\n");
    }

    void fault(std::int64_t place, std::string const &reason)
    {
        m_sink(offsetText(place) + "  ---- " + reason + "\n");
        m_onFault(Failure(m_scan.name(), byteAt(place), reason).what());
    }

    void headerSize()
    {
        std::int32_t const size = m_scan.header().statedSize;
        if (size >= 0)
            line(0, 5, 0, "long " + std::to_string(size) + ", the size of the header");
        else
            line(0, 5, 0, "no size of a header");
    }

    template <typename Wanted> void objects(Wanted isWanted, bool &isWhole)
    {
        ObjectScan scan(m_source, m_scan.header().end);
        bool isHeader = !m_scan.header().isWhole;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            if (!isWanted(*stretch))
                continue;
            if (stretch->kind == Stretch::Kind::Object)
            {
                isHeader = false;
                frame(stretch->begin);
                continue;
            }
            bool const isGap = stretch->kind == Stretch::Kind::Gap;
            std::int64_t at = stretch->begin;
            bool const isRest = isHeader; // of a damaged header, whose fault is told
            isHeader = false;
            if (!isGap && !isRest && m_source.at(at) == static_cast<int>(RecordType::FrameBegin))
            {
                RecordWalk const walk = frame(stretch->begin, stretch->faultAt);
                at = std::min(walk.state() == RecordWalk::State::Going ? walk.position() : walk.record().begin, stretch->end);
            }
            if (isRest)
                at = std::max(at, m_headerRead);
            else if (isGap)
                m_sink(offsetText(at) + "  ---- " + stretch->fault() + "\n");
            else
                fault(stretch->faultAt, stretch->fault());
            isWhole = isWhole && (isGap || isRest);
            raw(at, stretch->end);
        }
    }

    /// Bytes that are no records, and where the records go on.
    void raw(std::int64_t begin, std::int64_t end)
    {
        if (begin >= end)
            return;
        line(begin, end - begin, 0, plural(end - begin, "byte") + " passed over");
    }

    /// The records of a frame; of one that is not whole those in front of its fault.
    RecordWalk frame(std::int64_t begin, std::int64_t faultAt = -1)
    {
        RecordWalk walk(m_source, begin);
        while ((faultAt < 0 || walk.position() < faultAt) && walk.next())
            record(walk);
        return walk;
    }

    void record(RecordWalk const &walk)
    {
        RecordPlace const &record = walk.record();
        bool const opens = record.type == RecordType::FrameBegin || record.type == RecordType::SectionBegin;
        std::string const oddity = walk.oddity() == nullptr ? "" : std::string("  <- ") + walk.oddity();
        std::string const what = valueText(record) + oddity;
        line(record.begin, record.end - record.begin, walk.open().size() - (opens ? 1 : 0), what);
    }

    std::string valueText(RecordPlace const &record)
    {
        switch (record.type)
        {
        case RecordType::Bool: return "bool " + std::to_string(record.number);
        case RecordType::Short: return "short " + std::to_string(record.number);
        case RecordType::Long: return "long " + std::to_string(record.number);
        case RecordType::Double: return "double " + number(realAt(record.payload));
        case RecordType::Text16:
            return "string16 " + shown(text16At(m_source, record.payload, shownSize(record, 2)), record, 2);
        case RecordType::Text8: return "string8 " + shown(text8At(m_source, record.payload, shownSize(record, 1)), record, 1);
        case RecordType::FrameBegin:
            return "class " + quoted(text8At(m_source, record.payload, record.payloadSize)) + " version " +
                   std::to_string(record.number) + idIn(record);
        case RecordType::FrameEnd: return "end of class";
        case RecordType::SectionBegin: return "section " + std::to_string(record.number);
        case RecordType::SectionEnd: return "end of section";
        case RecordType::Bytes: return "bytes, " + std::to_string(record.payloadSize) + " of them";
        }
        return {};
    }

    /// What the frame of an id says, which is spread over four numbers.
    std::string idIn(RecordPlace const &frame)
    {
        static constexpr std::string_view kSection("\x08\x02\x01\x00\x00\x00", 6);
        if (knownClass(m_source.look(frame.payload, static_cast<std::size_t>(frame.payloadSize))) != KnownClass::Id)
            return {};
        std::string const members(m_source.look(frame.end, 6 + 4 * 5));
        if (!members.starts_with(kSection) || members.size() < 26)
            return {};
        std::string guid;
        for (std::size_t word = 6; word < 26; word += 5)
        {
            if (members[word] != static_cast<char>(RecordType::Long))
                return {};
            guid += members.substr(word + 1, 4);
        }
        _GUID id;
        std::memcpy(&id, guid.data(), sizeof id); // in the order in which the words have it
        return " " + idText(id);
    }

    static std::int64_t shownSize(RecordPlace const &record, std::int64_t unit)
    {
        return std::min(record.payloadSize, kShownText * unit);
    }

    static std::string shown(CString const &text, RecordPlace const &record, std::int64_t unit)
    {
        std::int64_t const length = record.payloadSize / unit;
        if (length > kShownText)
            return quoted(text) + "..., " + std::to_string(length) + " characters";
        // A reader takes a text up to its first zero.
        bool const isCut = text.GetLength() < length;
        return quoted(text) + (isCut ? ", a zero, " + std::to_string(length) + " characters in all" : "");
    }

    double realAt(std::int64_t payload)
    {
        std::string_view const bytes = m_source.look(payload, 8);
        std::uint64_t const low = littleEndian(bytes.substr(0, 4));
        std::uint64_t const high = littleEndian(bytes.substr(4));
        return std::bit_cast<double>(low | (high << 32));
    }

    /// Records from somewhere inside a frame up to the end of the section or frame that they stand in.
    bool loose(std::int64_t offset)
    {
        // They are looked at as if a section began in front of them.
        std::string const begin("\x06\x05\x01\x00X\x02\x01\x00\x00\x00\x08\x02\x01\x00\x00\x00", 16);
        constexpr std::int64_t kMost = 1 << 20;
        std::string const bytes = begin + m_source.copy(offset, kMost);
        ByteSource stretch{std::string_view(bytes)};
        RecordWalk walk(stretch, 0);
        walk.next();
        walk.next();
        std::int64_t const shift = offset - static_cast<std::int64_t>(begin.size());
        while (walk.next())
        {
            RecordPlace here = walk.record();
            here.begin += shift;
            here.end += shift;
            here.payload += shift;
            bool const opens = here.type == RecordType::FrameBegin || here.type == RecordType::SectionBegin;
            std::size_t const depth = walk.open().size() - (opens ? 1 : 0);
            if (depth < 2)
            {
                line(here.begin, here.end - here.begin, 0, valueText(here));
                return true;
            }
            line(here.begin, here.end - here.begin, depth - 2, valueText(here));
        }
        if (walk.state() == RecordWalk::State::Cut && offset + kMost < m_source.size())
            return true;
        fault(walk.position() + shift, walk.state() == RecordWalk::State::Cut ? "the file ends here" : "no record is here");
        return false;
    }

    FileScan &m_scan;
    ByteSource &m_source;
    std::function<void(std::string_view)> const &m_sink;
    std::function<void(std::string const &)> const &m_onFault;
    std::int64_t m_headerRead = 0; ///< up to where the records of a damaged header were followed
};

} // namespace

bool dump(FileScan &scan, DumpRange const &range, std::function<void(std::string_view)> const &sink,
          std::function<void(std::string const &)> const &onFault)
{
    Dumper dumper(scan, sink, onFault);
    if (range.offset)
        return dumper.at(*range.offset);
    if (range.id)
        return dumper.one(*range.id);
    return dumper.all();
}

} // namespace okt
