// SPDX-License-Identifier: MIT
#include <oktformat/recordwalk.h>

#include <algorithm>

namespace okt
{

namespace
{

// A limit of the nesting depth: more than any real file has, and small enough for memory.
constexpr std::size_t kDeepest = 1 << 20;

bool isPrintable(char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F; }

} // namespace

bool RecordWalk::stop(State state)
{
    m_state = state;
    return false;
}

bool RecordWalk::has(std::int64_t count) { return m_source.size() - m_position >= count || stop(State::Cut); }

bool RecordWalk::next()
{
    if (m_state != State::Going)
        return false;
    m_oddity = nullptr;
    m_record.begin = m_position;
    m_record.payloadSize = 0;
    if (!has(1))
        return false;
    int const type = m_source.at(m_position);
    if (type > static_cast<int>(RecordType::Bytes) || (m_open.empty() && !canBegin(static_cast<RecordType>(type))))
        return stop(State::Damaged);
    m_record.type = static_cast<RecordType>(type);
    m_record.number = 0;
    checkPlace();
    bool taken = false;
    switch (m_record.type)
    {
    case RecordType::Bool: taken = value(1); break;
    case RecordType::Short: taken = value(2); break;
    case RecordType::Long: taken = value(4); break;
    case RecordType::Double: taken = value(8); break;
    case RecordType::Text16: taken = counted(2, 2); break;
    case RecordType::Text8: taken = counted(2, 1); break;
    case RecordType::Bytes: taken = counted(4, 1); break;
    case RecordType::FrameBegin: taken = frameBegin(); break;
    case RecordType::SectionBegin: taken = sectionBegin(); break;
    case RecordType::FrameEnd: taken = end(RecordType::FrameBegin); break;
    case RecordType::SectionEnd: taken = end(RecordType::SectionBegin); break;
    }
    m_record.end = m_position;
    if (taken && m_open.empty())
        m_state = State::Whole;
    return taken;
}

bool RecordWalk::canBegin(RecordType type) const
{
    if (m_start == Start::Frame)
        return type == RecordType::FrameBegin;
    return type != RecordType::FrameEnd && type != RecordType::SectionEnd;
}

void RecordWalk::checkPlace()
{
    if (m_open.empty())
        return;
    Level &level = m_open.back();
    bool const inFrame = level.type == RecordType::FrameBegin;
    switch (m_record.type)
    {
    case RecordType::FrameBegin:
        if (inFrame && level.hasSections)
            m_oddity = "a class frame behind the sections of another";
        else if (inFrame && level.hasBase)
            m_oddity = "a second class frame in front of the sections of another";
        level.hasBase = true;
        break;
    case RecordType::SectionBegin:
        if (!inFrame)
            m_oddity = "a section directly inside another";
        break;
    case RecordType::FrameEnd:
    case RecordType::SectionEnd: break;
    default:
        if (inFrame)
            m_oddity = "a value outside of the sections";
        break;
    }
}

bool RecordWalk::value(std::int64_t size)
{
    if (!has(1 + size))
        return false;
    m_record.payload = m_position + 1;
    m_record.payloadSize = size;
    if (size <= 4)
    {
        std::uint32_t const bits = littleEndian(m_source.look(m_record.payload, static_cast<std::size_t>(size)));
        m_record.number = size == 2 ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
        if (m_record.type == RecordType::Bool && bits > 1)
            m_oddity = "a bool that is neither 0 nor 1";
    }
    m_position += 1 + size;
    return true;
}

bool RecordWalk::counted(int countSize, int unitSize)
{
    if (!has(1 + countSize))
        return false;
    std::uint32_t const count = littleEndian(m_source.look(m_position + 1, static_cast<std::size_t>(countSize)));
    if (count > 0x7FFFFFFF)
        return stop(State::Damaged);
    std::int64_t const size = static_cast<std::int64_t>(count) * unitSize;
    if (!has(1 + countSize + size))
        return false;
    m_record.payload = m_position + 1 + countSize;
    m_record.payloadSize = size;
    m_position = m_record.payload + size;
    return true;
}

bool RecordWalk::takeLong()
{
    if (!has(1))
        return false;
    if (m_source.at(m_position) != static_cast<int>(RecordType::Long))
        return stop(State::Damaged);
    ++m_position;
    if (!has(4))
        return false;
    m_record.number = static_cast<std::int32_t>(littleEndian(m_source.look(m_position, 4)));
    m_position += 4;
    return true;
}

bool RecordWalk::frameBegin()
{
    ++m_position;
    if (!has(1))
        return false;
    if (m_source.at(m_position) != static_cast<int>(RecordType::Text8))
        return stop(State::Damaged);
    if (!counted(2, 1))
        return false;
    checkName();
    if (!takeLong())
        return false;
    if (m_open.size() == kDeepest)
        return stop(State::Damaged);
    m_open.push_back({RecordType::FrameBegin, false, false, m_record.begin});
    return true;
}

void RecordWalk::checkName()
{
    std::string_view const name = m_source.look(m_record.payload, static_cast<std::size_t>(m_record.payloadSize));
    if (name.empty() || !std::all_of(name.begin(), name.end(), isPrintable))
    {
        m_oddity = "a class name that is no name";
        m_badNameAt = m_badNameAt < 0 ? m_record.begin : m_badNameAt;
    }
}

bool RecordWalk::sectionBegin()
{
    ++m_position;
    if (!takeLong())
        return false;
    if (m_open.size() == kDeepest)
        return stop(State::Damaged);
    if (!m_open.empty())
        m_open.back().hasSections = true;
    m_open.push_back({RecordType::SectionBegin, false, false, m_record.begin});
    return true;
}

bool RecordWalk::end(RecordType begin)
{
    if (m_open.back().type != begin)
        return stop(State::Damaged);
    ++m_position;
    m_open.pop_back();
    return true;
}

} // namespace okt
