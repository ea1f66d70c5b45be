// SPDX-License-Identifier: MIT
#include <oktformat/objectscan.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <oktdatabase/okttools.h>

#include <algorithm>

namespace okt
{

namespace
{

using State = RecordWalk::State;

// An upper limit for the number of base classes.
constexpr int kMostBases = 32;
// The begin of the frame of an id, which every object has.
constexpr std::string_view kIdHead("\x06\x05\x0B\x00OKTObjectId", 15);
// Of bytes that are no object.
constexpr std::int64_t kLookedThrough = 1 << 20;
// The longest class name that is accepted.
constexpr std::size_t kLongestName = 512;

std::string_view nameIn(ByteSource &source, RecordPlace const &record)
{
    return source.look(record.payload, static_cast<std::size_t>(record.payloadSize));
}

} // namespace

bool Stretch::isOf(KnownClass known) const
{
    return std::any_of(classNames.begin(), classNames.end(),
                       [known](std::string const &each) { return knownClass(each) == known; });
}

std::string Stretch::fault() const
{
    std::string const object = sentence("{} that begins at {}", withArticle(className()), byteAt(begin));
    switch (kind)
    {
    case Kind::Cut: return "the file ends inside " + object;
    case Kind::Damaged: return "damaged inside " + object;
    case Kind::Gap: return sentence("{} that {} to no object", plural(size(), "byte"), belong(size()));
    case Kind::Object: break;
    }
    return {};
}

std::optional<Stretch> ObjectScan::next()
{
    if (m_position >= m_source.size())
        return std::nullopt;
    Stretch stretch;
    if (m_source.look(m_position, 2) == "\x06\x05")
    {
        stretch = examine(m_position);
        if (stretch.kind != Stretch::Kind::Object)
            stretch.end = findNext(stretch.kind == Stretch::Kind::Gap ? stretch.end : searchStart(m_position));
    }
    else
    {
        stretch.begin = m_position;
        stretch.faultAt = m_position;
        stretch.end = findNext(m_position);
        // Where the file ends after the beginning of an object, that object is Cut, not Gap.
        std::int64_t const first = stretch.end == m_source.size() ? m_source.findFrameBegin(m_position, stretch.end) : -1;
        if (first >= 0 && examine(first).kind == Stretch::Kind::Cut)
            stretch.end = first;
        // Then the beginning of an object is damaged.
        if (m_source.copy(m_position, std::min(stretch.size(), kLookedThrough)).find(kIdHead) != std::string::npos)
            stretch.kind = Stretch::Kind::Damaged;
    }
    m_position = stretch.end;
    m_unclosed.erase(m_unclosed.begin(), m_unclosed.lower_bound(m_position));
    return stretch;
}

Stretch ObjectScan::examine(std::int64_t at)
{
    Stretch stretch;
    stretch.begin = at;
    ValueWalk walk(m_source, at);
    std::optional<std::int64_t> swallowed;
    while (!swallowed && walk.next())
    {
        StoredValue const &value = walk.value();
        if (value.kind == StoredValue::Kind::Id && !stretch.id && value.isComplete)
            stretch.id = value.id;
        if (value.kind == StoredValue::Kind::Text16 && value.nested == 0 && value.section == 1 && stretch.name.IsEmpty() &&
            ((value.owner == KnownClass::Parameter && value.ordinal == 0) || value.owner == KnownClass::Category))
            stretch.name = textOf(m_source, value);
        if (value.kind == StoredValue::Kind::Text16 || value.kind == StoredValue::Kind::Text8 ||
            value.kind == StoredValue::Kind::Bytes || value.kind == StoredValue::Kind::Variant || walk.oddAt() >= 0)
            swallowed = swallowing(walk.records().record());
    }
    stretch.classNames = walk.classNames();
    // The name is valid even if there is a fault after it.
    if (RecordPlace const &head = walk.records().record(); stretch.classNames.empty() && head.payloadSize > 0)
        stretch.classNames.emplace_back(nameIn(m_source, head));
    stretch.oddAt = walk.oddAt();
    stretch.oddity = walk.oddity();
    // The length of the name can be damaged as well and include following objects.
    if (!swallowed && walk.records().badNameAt() >= 0)
        swallowed = walk.records().badNameAt();
    State const state = walk.records().state();
    if (!swallowed && state == State::Whole)
    {
        stretch.end = walk.records().position();
        if (stretch.classNames.empty() || !isValueClass(knownClass(stretch.classNames.front())))
        {
            stretch.kind = Stretch::Kind::Object;
            return stretch;
        }
        stretch.kind = Stretch::Kind::Gap;
        stretch.faultAt = at;
        return stretch;
    }
    stretch.kind = !swallowed && state == State::Cut ? Stretch::Kind::Cut : Stretch::Kind::Damaged;
    stretch.faultAt = swallowed ? *swallowed : state == State::Cut ? m_source.size() : walk.records().position();
    return stretch;
}

/// With a damaged length, a value includes following objects: one of them then begins inside the value and ends outside of
/// it, or exactly where it ends and another one begins. Returns the offset of such a value; empty: the value is sound.
std::optional<std::int64_t> ObjectScan::swallowing(RecordPlace const &record)
{
    for (std::int64_t at = m_source.findFrameBegin(record.begin + 1, record.end + 1); at >= 0;)
    {
        std::int64_t const end = beginsAsObject(at) ? endOfObject(at) : -1;
        if (end > record.end || (end == record.end && beginsAsObject(end)))
            return record.begin;
        at = m_source.findFrameBegin(std::max(at + 1, end), record.end + 1);
    }
    return std::nullopt;
}

/// Where to search for the next object when the one at `at` is damaged: at the fault, or earlier where the
/// records were misread before it. Everything before that offset is part of the damaged object.
std::int64_t ObjectScan::searchStart(std::int64_t at)
{
    RecordWalk walk(m_source, at);
    // Objects that follow each other inside a section up to the fault: the frame around them has lost its own end.
    struct Inner
    {
        std::size_t depth;
        std::int64_t begin;
    };
    std::vector<Inner> inner;
    std::int64_t runBegin = -1;
    std::int64_t runEnd = -1;
    while (walk.next())
    {
        RecordPlace const &record = walk.record();
        // A number may consist of the first bytes of an object.
        if (swallowing(record))
            return record.begin + 1;
        if (walk.oddity() != nullptr)
            return std::max(record.begin, at + 1);
        if (record.type == RecordType::FrameBegin)
        {
            std::size_t const depth = walk.open().size();
            if (depth > 2 && walk.open()[depth - 2].type == RecordType::SectionBegin && beginsAsObject(record.begin))
                inner.push_back({walk.open().size(), record.begin});
        }
        else if (record.type == RecordType::FrameEnd)
        {
            if (!inner.empty() && walk.open().size() + 1 == inner.back().depth)
            {
                if (runEnd != inner.back().begin)
                    runBegin = inner.back().begin;
                runEnd = record.end;
                inner.pop_back();
            }
        }
    }
    for (RecordWalk::Level const &level : walk.open())
        if (level.type == RecordType::FrameBegin)
            m_unclosed.insert(level.begin);
    // The record at the fault may be the rest of an object directly before the next one.
    return runEnd == walk.record().begin ? runBegin : std::max(walk.record().begin, at + 1);
}

/// The offset of the next whole object at or after `from`; the size of the file: there is none.
std::int64_t ObjectScan::findNext(std::int64_t from)
{
    std::int64_t at = m_source.findFrameBegin(from, m_source.size());
    while (at >= 0)
    {
        std::int64_t const end = m_unclosed.count(at) == 0 && beginsAsObject(at) && !isBase(at) ? endOfObject(at) : -1;
        std::int64_t const nestedUpTo = end >= 0 ? endOfNested(end) : at + 1;
        if (nestedUpTo < 0)
            return at;
        at = m_source.findFrameBegin(nestedUpTo, m_source.size());
    }
    return m_source.size();
}

/// The frames of a class and its bases begin here, up to that of OKTDbObject, in which a section begins.
bool ObjectScan::beginsAsObject(std::int64_t at)
{
    for (int level = 0; level < kMostBases; ++level)
    {
        std::string const head(m_source.look(at, 4));
        if (head.size() < 4 || head[0] != 6 || head[1] != 5)
            return false;
        std::size_t const length = littleEndian(std::string_view(head).substr(2));
        if (length == 0 || length > kLongestName)
            return false;
        std::string_view const rest = m_source.look(at + 4, length + 6);
        if (rest.size() < length + 6 || rest[length] != 2)
            return false;
        std::string_view const name = rest.substr(0, length);
        if (!std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F; }))
            return false;
        if (knownClass(name) == KnownClass::Object)
            return rest[length + 5] == 8;
        at += static_cast<std::int64_t>(4 + length + 5);
    }
    return false;
}

/// The head of another frame ends exactly here, so the frame that begins here is that of its base.
bool ObjectScan::isBase(std::int64_t at)
{
    if (m_source.at(at - 5) != static_cast<int>(RecordType::Long))
        return false;
    std::int64_t const begin = std::max<std::int64_t>(0, at - 9 - static_cast<std::int64_t>(kLongestName));
    std::string const front(m_source.look(begin, static_cast<std::size_t>(at - 5 - begin)));
    for (std::size_t length = 1; length + 4 <= front.size(); ++length)
    {
        std::string_view const head = std::string_view(front).substr(front.size() - length - 4, 4);
        if (head[0] == 6 && head[1] == 5 && littleEndian(head.substr(2)) == length)
            return true;
    }
    return false;
}

/// The end of the frame that begins here, if it is whole and has an id; else -1.
std::int64_t ObjectScan::endOfObject(std::int64_t at)
{
    RecordWalk walk(m_source, at);
    bool hasId = false;
    while (walk.next())
    {
        RecordPlace const &record = walk.record();
        // A record may be odd only in a frame that follows another one directly.
        if (walk.oddity() != nullptr)
            return -1;
        hasId = hasId || (record.type == RecordType::FrameBegin && knownClass(nameIn(m_source, record)) == KnownClass::Id);
    }
    if (walk.state() == State::Whole && hasId)
        return walk.position();
    for (RecordWalk::Level const &level : walk.open())
        if (level.type == RecordType::FrameBegin)
            m_unclosed.insert(level.begin);
    return -1;
}

/// An object that ends here, after a fault, and those directly after it may be nested in another one: the bytes after them then
/// close a section and a frame that began before the fault. Returns the end of the last one; -1: they are not nested.
std::int64_t ObjectScan::endOfNested(std::int64_t at)
{
    while (at < m_source.size() && beginsAsObject(at))
    {
        std::int64_t const end = endOfObject(at);
        if (end < 0)
            return -1;
        at = end;
    }
    return endsEnclosing(at) ? at : -1;
}

/// The records here close a section and a frame that began earlier.
bool ObjectScan::endsEnclosing(std::int64_t at)
{
    // After the frame of a base class a section begins.
    auto const sectionBeginsAt = [this](std::int64_t place) {
        std::string_view const bytes = m_source.look(place, 6);
        return bytes.size() == 6 && bytes[0] == 8 && bytes[1] == 2 && bytes[4] == 0 && bytes[5] == 0;
    };
    if (sectionBeginsAt(at))
        return true;

    // Values up to the end of a section, further sections, the end of the frame, then an object or the end of the file.
    bool inSection = true;
    for (;;)
    {
        int const type = m_source.at(at);
        if (type < 0)
            return false;
        if (type == static_cast<int>(RecordType::FrameBegin) && inSection)
        {
            RecordWalk walk(m_source, at);
            while (walk.next())
                ;
            if (walk.state() != State::Whole)
                return false;
            at = walk.position();
            continue;
        }
        if (type == static_cast<int>(RecordType::SectionEnd) && inSection)
        {
            inSection = false;
            ++at;
            continue;
        }
        if (type == static_cast<int>(RecordType::FrameEnd) && !inSection)
        {
            ++at;
            if (at >= m_source.size() || beginsAsObject(at))
                return true;
            inSection = true;
            continue;
        }
        if (type == static_cast<int>(RecordType::SectionBegin) && !inSection)
        {
            if (!sectionBeginsAt(at))
                return false;
            at += 6;
            inSection = true;
            continue;
        }
        std::int64_t size = 0;
        switch (static_cast<RecordType>(type))
        {
        case RecordType::Bool: size = 2; break;
        case RecordType::Short: size = 3; break;
        case RecordType::Long: size = 5; break;
        case RecordType::Double: size = 9; break;
        case RecordType::Text16: size = 3 + 2 * static_cast<std::int64_t>(littleEndian(m_source.look(at + 1, 2))); break;
        case RecordType::Text8: size = 3 + static_cast<std::int64_t>(littleEndian(m_source.look(at + 1, 2))); break;
        case RecordType::Bytes: size = 5 + static_cast<std::int64_t>(littleEndian(m_source.look(at + 1, 4))); break;
        default: return false;
        }
        if (!inSection || at + size > m_source.size())
            return false;
        at += size;
    }
}

bool isPoolFrame(ByteSource &source, std::int64_t at)
{
    std::string_view const bytes = source.look(at, 13);
    return bytes.size() == 13 && bytes[0] == 6 && bytes[1] == 5 && knownClass(bytes.substr(4)) == KnownClass::Pool;
}

bool beginsAsPool(ByteSource &source) { return source.at(0) == static_cast<int>(RecordType::Long) && isPoolFrame(source, 5); }

HeaderPlace findHeader(ByteSource &source)
{
    HeaderPlace header;
    if (source.at(0) == static_cast<int>(RecordType::Long) && source.size() >= 5)
        header.statedSize = static_cast<std::int32_t>(littleEndian(source.look(1, 4)));
    header.begin = 5;
    for (std::int64_t at = 5; at >= 0; --at)
        if (isPoolFrame(source, at))
        {
            header.begin = at;
            break;
        }
    header.end = header.begin + 1;
    if (!isPoolFrame(source, header.begin))
    {
        bool const hasSize = header.statedSize >= 0;
        header.fault = hasSize ? "this is no pool file: the header of a pool is missing"
                               : "this is no pool file: it does not begin with the size of a header";
        header.faultAt = hasSize ? header.begin : 0;
        return header;
    }
    ObjectScan scan(source, header.begin);
    Stretch const frame = scan.examine(header.begin);
    header.isWhole = frame.kind == Stretch::Kind::Object;
    header.end = header.isWhole ? frame.end : header.begin + 1;
    if (header.isWhole)
        return header;
    header.fault = frame.kind == Stretch::Kind::Cut ? "the file ends inside the header" : "the header is damaged here";
    header.faultAt = frame.faultAt;
    return header;
}

} // namespace okt
