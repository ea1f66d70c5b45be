// SPDX-License-Identifier: MIT
#include <oktinspect/dump.h>

#include <oktformat/guids.h>
#include <oktformat/objectscan.h>
#include <oktformat/text.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace okt
{

namespace
{

constexpr std::int64_t kHeaderSizeRecord = 5; // in front of the header

bool opens(RecordPlace const &record)
{
    return record.type == RecordType::FrameBegin || record.type == RecordType::SectionBegin;
}

/// Finds the member that begins with a record. Its own walk over the frame keeps pace with the records.
class MemberTrack
{
public:
    MemberTrack(ByteSource &source, std::int64_t begin)
    {
        if (isPoolFrame(source, begin))
            m_header.emplace(source, begin);
        else
            m_object.emplace(source, begin);
        advance();
    }

    void mark(DumpEntry &entry)
    {
        while (m_isGoing && value().end <= entry.offset)
            advance();
        if (!m_isGoing || value().begin != entry.offset)
            return;
        if (m_object)
            entry.memberRole = memberRole(value());
        else
            markHeader(entry);
    }

private:
    void markHeader(DumpEntry &entry) const
    {
        entry.isPosition = m_header->isPosition();
        entry.isSize = m_header->isSize();
        entry.headerRole = entry.isPosition || entry.isSize ? headerRole(m_header->id()) : m_header->role();
    }

    StoredValue const &value() const { return m_header ? m_header->value() : m_object->value(); }
    void advance() { m_isGoing = m_header ? m_header->next() : m_object->next(); }

    std::optional<HeaderWalk> m_header;
    std::optional<ValueWalk> m_object;
    bool m_isGoing = false;
};

class Dumper
{
public:
    Dumper(ByteSource &source, std::function<void(DumpEntry const &)> const &onEntry, DumpOptions const &options)
        : m_source(source), m_onEntry(onEntry), m_options(options)
    {
    }

    DumpResult all()
    {
        HeaderPlace const header = findHeader(m_source);
        if (m_source.size() > 0 && header.begin == kHeaderSizeRecord)
            headerSize(header);
        else if (m_source.size() > 0)
            skipped(0, header.begin);
        RecordWalk const walk = frame(header.begin, header.isWhole ? -1 : header.faultAt);
        m_headerRead = walk.state() == RecordWalk::State::Going ? walk.position() : walk.record().begin;
        if (!header.isWhole)
            fault(header.faultAt, header.fault);
        objects(header, [](Stretch const &) { return true; });
        return result();
    }

    DumpResult one(_GUID const &id)
    {
        bool isFound = false;
        objects(findHeader(m_source), [&](Stretch const &stretch) {
            bool const isWanted = stretch.id && isSame(*stretch.id, id);
            isFound = isFound || isWanted;
            return isWanted;
        });
        return isFound ? result() : DumpResult::NoSuchId;
    }

    DumpResult at(std::int64_t offset)
    {
        if (offset < 0 || offset >= m_source.size())
            return DumpResult::BehindTheEnd;
        if (m_source.at(offset) != static_cast<int>(RecordType::FrameBegin))
        {
            loose(offset);
            return result();
        }
        RecordWalk const walk = frame(offset, -1);
        if (walk.state() != RecordWalk::State::Whole)
            fault(walk.position(),
                  walk.state() == RecordWalk::State::Cut ? "the file ends inside this frame" : "no record is here");
        return result();
    }

private:
    DumpResult result() const { return m_isWhole ? DumpResult::Whole : DumpResult::Faults; }

    DumpEntry entryAt(DumpEntry::Kind kind, std::int64_t offset, std::int64_t size, std::size_t depth = 0)
    {
        DumpEntry entry;
        entry.kind = kind;
        entry.offset = offset;
        entry.size = size;
        entry.depth = depth;
        entry.bytes = m_source.look(offset, std::min(m_options.longestBytes, static_cast<std::size_t>(size)));
        return entry;
    }

    void remark(DumpEntry::Kind kind, std::int64_t offset, std::string const &reason)
    {
        DumpEntry entry;
        entry.kind = kind;
        entry.offset = offset;
        entry.reason = reason;
        m_onEntry(entry);
    }

    void fault(std::int64_t place, std::string const &reason)
    {
        m_isWhole = false;
        remark(DumpEntry::Kind::Fault, place, reason);
    }

    void headerSize(HeaderPlace const &header)
    {
        DumpEntry entry = entryAt(DumpEntry::Kind::HeaderSize, 0, std::min(kHeaderSizeRecord, m_source.size()));
        entry.number = header.statedSize;
        m_onEntry(entry);
    }

    template <typename Wanted> void objects(HeaderPlace const &header, Wanted isWanted)
    {
        ObjectScan scan(m_source, header.end);
        ProgressStep progress(m_options.onProgress, printable(std::string_view(m_options.name)),
                              static_cast<std::uint64_t>(m_source.size()));
        std::uint64_t objects = 0;
        bool isFirst = true;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            objects += stretch->kind == Stretch::Kind::Object ? 1 : 0;
            progress.at(static_cast<std::uint64_t>(stretch->end), objects);
            // The first stretch after a damaged header is the rest of that header.
            bool const isRest = std::exchange(isFirst, false) && !header.isWhole;
            if (!isWanted(*stretch))
                continue;
            std::int64_t const begin = isRest && m_headerRead >= 0 ? m_headerRead : stretch->begin;
            if (stretch->kind == Stretch::Kind::Object)
            {
                skipped(begin, stretch->begin);
                frame(stretch->begin, -1);
            }
            else if (isRest)
                skipped(begin, stretch->end);
            else if (stretch->kind == Stretch::Kind::Gap)
                gap(*stretch);
            else
                damaged(*stretch);
        }
    }

    void gap(Stretch const &stretch)
    {
        remark(DumpEntry::Kind::Gap, stretch.begin, stretch.fault());
        skipped(stretch.begin, stretch.end);
    }

    void damaged(Stretch const &stretch)
    {
        std::int64_t at = stretch.begin;
        if (m_source.at(at) == static_cast<int>(RecordType::FrameBegin))
        {
            RecordWalk const walk = frame(at, stretch.faultAt);
            at = std::min(walk.state() == RecordWalk::State::Going ? walk.position() : walk.record().begin, stretch.end);
        }
        fault(stretch.faultAt, stretch.fault());
        skipped(at, stretch.end);
    }

    void skipped(std::int64_t begin, std::int64_t end)
    {
        if (begin < end)
            m_onEntry(entryAt(DumpEntry::Kind::Skipped, begin, end - begin));
    }

    /// The records of a frame up to its end; with an offset of a fault, those in front of that.
    RecordWalk frame(std::int64_t begin, std::int64_t faultAt)
    {
        RecordWalk walk(m_source, begin);
        MemberTrack members(m_source, begin);
        while ((faultAt < 0 || walk.position() < faultAt) && walk.next())
        {
            DumpEntry entry = entryOf(walk.record(), depthOf(walk));
            entry.oddity = walk.oddity();
            members.mark(entry);
            m_onEntry(entry);
        }
        return walk;
    }

    static std::size_t depthOf(RecordWalk const &walk) { return walk.open().size() - (opens(walk.record()) ? 1 : 0); }

    DumpEntry entryOf(RecordPlace const &record, std::size_t depth)
    {
        DumpEntry entry = entryAt(DumpEntry::Kind::Record, record.begin, record.end - record.begin, depth);
        entry.type = record.type;
        entry.number = record.number;
        switch (record.type)
        {
        case RecordType::Double: entry.real = realAt(record.payload); break;
        case RecordType::Text16: text(entry, record, 2); break;
        case RecordType::Text8: text(entry, record, 1); break;
        case RecordType::FrameBegin:
            entry.text = text8At(m_source, record.payload, record.payloadSize);
            entry.id = idIn(record);
            break;
        case RecordType::Bytes: entry.length = record.payloadSize; break;
        default: break;
        }
        return entry;
    }

    void text(DumpEntry &entry, RecordPlace const &record, std::int64_t unit)
    {
        entry.length = record.payloadSize / unit;
        entry.isShortened = entry.length > m_options.longestText;
        std::int64_t const size = entry.isShortened ? m_options.longestText * unit : record.payloadSize;
        entry.text = unit == 2 ? text16At(m_source, record.payload, size) : text8At(m_source, record.payload, size);
    }

    double realAt(std::int64_t payload)
    {
        std::string_view const bytes = m_source.look(payload, 8);
        std::uint64_t const low = littleEndian(bytes.substr(0, 4));
        std::uint64_t const high = littleEndian(bytes.substr(4));
        return std::bit_cast<double>(low | (high << 32));
    }

    /// The id that a frame holds, which is stored as four numbers.
    std::optional<_GUID> idIn(RecordPlace const &frame)
    {
        static constexpr std::string_view kSection("\x08\x02\x01\x00\x00\x00", 6);
        constexpr std::size_t kLong = 5; // bytes of a record
        if (knownClass(m_source.look(frame.payload, static_cast<std::size_t>(frame.payloadSize))) != KnownClass::Id)
            return std::nullopt;
        std::string const members(m_source.look(frame.end, kSection.size() + 4 * kLong));
        if (!members.starts_with(kSection) || members.size() < kSection.size() + 4 * kLong)
            return std::nullopt;
        std::array<std::string_view, 4> words;
        for (std::size_t i = 0; i < words.size(); ++i)
        {
            std::string_view const record = std::string_view(members).substr(kSection.size() + i * kLong, kLong);
            if (record.front() != static_cast<char>(RecordType::Long))
                return std::nullopt;
            words[i] = record.substr(1);
        }
        _GUID id = {};
        id.Data1 = littleEndian(words[0]);
        id.Data2 = static_cast<std::uint16_t>(littleEndian(words[1]) & 0xFFFF);
        id.Data3 = static_cast<std::uint16_t>(littleEndian(words[1]) >> 16);
        std::memcpy(id.Data4, words[2].data(), 4);
        std::memcpy(id.Data4 + 4, words[3].data(), 4);
        return id;
    }

    /// Records from inside a frame up to the end of the section or frame in which they stand. A frame and a section are put in
    /// front of a copy of them, so that the walk takes them.
    void loose(std::int64_t offset)
    {
        static constexpr std::string_view kBegin("\x06\x05\x01\x00X\x02\x01\x00\x00\x00\x08\x02\x01\x00\x00\x00", 16);
        constexpr std::size_t kBeginDepth = 2;
        constexpr std::int64_t kMost = 1 << 20;
        std::string const bytes = std::string(kBegin) + m_source.copy(offset, kMost);
        ByteSource copy{std::string_view(bytes)};
        RecordWalk walk(copy, 0);
        walk.next();
        walk.next();
        std::int64_t const shift = offset - static_cast<std::int64_t>(kBegin.size());
        while (walk.next())
        {
            RecordPlace here = walk.record();
            here.begin += shift;
            here.end += shift;
            here.payload += shift;
            std::size_t const depth = depthOf(walk);
            m_onEntry(entryOf(here, depth < kBeginDepth ? 0 : depth - kBeginDepth));
            if (depth < kBeginDepth)
                return;
        }
        bool const isCut = walk.state() == RecordWalk::State::Cut;
        if (!isCut || offset + kMost >= m_source.size())
            fault(walk.position() + shift, isCut ? "the file ends here" : "no record is here");
    }

    ByteSource &m_source;
    std::function<void(DumpEntry const &)> const &m_onEntry;
    DumpOptions const &m_options;
    std::int64_t m_headerRead = -1; ///< up to where the records of a damaged header were followed; -1: they were not
    bool m_isWhole = true;
};

} // namespace

std::string memberText(DumpEntry const &entry)
{
    switch (entry.headerRole)
    {
    case HeaderRole::Other: return std::string(memberName(entry.memberRole));
    case HeaderRole::PoolId: return "id";
    case HeaderRole::Name: return "name";
    case HeaderRole::Factor: return "metrics factor";
    case HeaderRole::PictureCount: return "number of pictures";
    default: break;
    }
    return roleName(entry.headerRole) + (entry.isPosition ? ", position" : entry.isSize ? ", size" : "");
}

DumpResult dump(ByteSource &source, DumpRange const &range, std::function<void(DumpEntry const &)> const &onEntry,
                DumpOptions const &options)
{
    Dumper dumper(source, onEntry, options);
    if (range.offset)
        return dumper.at(*range.offset);
    return range.id ? dumper.one(*range.id) : dumper.all();
}

} // namespace okt
