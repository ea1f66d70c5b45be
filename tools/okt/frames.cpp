#include "frames.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace okt
{

namespace
{

enum Record : int
{
    kBool = 0,
    kShort = 1,
    kLong = 2,
    kDouble = 3,
    kWideText = 4,
    kText = 5,
    kClassBegin = 6,
    kClassEnd = 7,
    kMembersBegin = 8,
    kMembersEnd = 9,
    kBytes = 10
};

class FrameReader
{
public:
    FrameReader(CByteArray const &bytes, int offset) : m_bytes(bytes), m_position(offset) { m_frame.offset = offset; }

    Frame frame()
    {
        do
        {
            if (!record())
                break;
        } while (!m_open.empty());
        m_frame.size = m_position - m_frame.offset;
        return std::move(m_frame);
    }

private:
    bool stop(Frame::State state)
    {
        m_frame.state = state;
        return false;
    }

    bool has(std::int64_t count) { return m_bytes.GetSize() - m_position >= count || stop(Frame::State::Cut); }

    /// Only behind `has`.
    std::uint32_t unsignedAt(int position, int size) const
    {
        std::uint32_t value = 0;
        for (int i = size - 1; i >= 0; --i)
            value = (value << 8) | m_bytes.GetData()[position + i];
        return value;
    }

    bool skip(std::int64_t count)
    {
        if (!has(count))
            return false;
        m_position += static_cast<int>(count);
        return true;
    }

    bool expect(Record record)
    {
        if (!has(1))
            return false;
        if (m_bytes.GetData()[m_position] != record)
            return stop(Frame::State::Damaged);
        ++m_position;
        return true;
    }

    bool record()
    {
        if (!has(1))
            return false;
        int const type = m_bytes.GetData()[m_position];
        if (m_open.empty() && type != kClassBegin)
            return stop(Frame::State::Damaged);
        switch (type)
        {
        case kBool: return skip(2);
        case kShort: return skip(3);
        case kLong: return longRecord();
        case kDouble: return skip(9);
        case kWideText: return countedRecord(2, 2);
        case kText: return countedRecord(2, 1);
        case kBytes: return countedRecord(4, 1);
        case kClassBegin: ++m_position; return classBegin();
        case kMembersBegin: ++m_position; return membersBegin();
        case kClassEnd:
        case kMembersEnd: return end(type == kClassEnd ? kClassBegin : kMembersBegin);
        default: return stop(Frame::State::Damaged);
        }
    }

    bool countedRecord(int countSize, int unitSize)
    {
        if (!has(1 + countSize))
            return false;
        std::uint32_t const count = unsignedAt(m_position + 1, countSize);
        if (count > 0x7FFFFFFF)
            return stop(Frame::State::Damaged);
        return skip(1 + countSize + static_cast<std::int64_t>(count) * unitSize);
    }

    bool longRecord()
    {
        if (!has(5))
            return false;
        if (m_idWords >= 0 && m_idWords < 4)
            idWord(unsignedAt(m_position + 1, 4));
        return skip(5);
    }

    /// The four words of an id: Data1, Data2 with Data3 above it, and two times four bytes of Data4.
    void idWord(std::uint32_t word)
    {
        if (m_idWords == 0)
        {
            m_id.Data1 = word;
        }
        else if (m_idWords == 1)
        {
            m_id.Data2 = static_cast<std::uint16_t>(word & 0xFFFF);
            m_id.Data3 = static_cast<std::uint16_t>(word >> 16);
        }
        else
        {
            std::memcpy(m_id.Data4 + 4 * (m_idWords - 2), m_bytes.GetData() + m_position + 1, 4);
        }
        if (++m_idWords == 4)
            m_frame.id = m_id;
    }

    bool classBegin()
    {
        if (!has(1))
            return false;
        if (m_bytes.GetData()[m_position] != kText)
            return stop(Frame::State::Damaged);
        int const text = m_position;
        if (!countedRecord(2, 1))
            return false;
        std::string const bytes(reinterpret_cast<char const *>(m_bytes.GetData()) + text + 3,
                                static_cast<std::size_t>(m_position - text - 3));
        CString const name(bytes.c_str());
        if (m_open.empty())
            m_frame.className = name;
        if (!expect(kLong) || !skip(4))
            return false;
        if (!m_open.empty() && !m_sectionSeen)
            m_frame.bases.push_back(name);
        if (m_sectionSeen && m_idWords < 0 && name.CompareNoCase(u"OKTObjectId") == 0)
            m_idWords = 0;
        m_open.push_back(kClassBegin);
        return true;
    }

    bool membersBegin()
    {
        m_sectionSeen = true;
        if (!expect(kLong) || !skip(4))
            return false;
        m_open.push_back(kMembersBegin);
        return true;
    }

    bool end(Record begin)
    {
        if (m_open.empty() || m_open.back() != begin)
            return stop(Frame::State::Damaged);
        ++m_position;
        m_open.pop_back();
        return true;
    }

    CByteArray const &m_bytes;
    int m_position;
    std::vector<Record> m_open;
    bool m_sectionSeen = false;
    int m_idWords = -1; ///< words of the first id that were read; -1: not met yet
    _GUID m_id = {};
    Frame m_frame;
};

/// A class of values inside objects, never of an object.
bool isValue(CString const &className)
{
    return className.CompareNoCase(u"OKTObjectId") == 0 || className.CompareNoCase(u"OKTVariant") == 0 ||
           className.CompareNoCase(u"OKTGeXYZ") == 0;
}

} // namespace

Frame readFrame(CByteArray const &bytes, int offset) { return FrameReader(bytes, offset).frame(); }

int findFrame(CByteArray const &bytes, int offset)
{
    BYTE const *const data = bytes.GetData();
    for (int i = offset; i < bytes.GetSize() - 1; ++i)
        if ((i == 0 || data[i - 1] == kClassEnd) && data[i] == kClassBegin && data[i + 1] == kText)
            return i;
    return -1;
}

std::vector<Frame> readFrames(CByteArray const &bytes, int offset)
{
    std::vector<Frame> frames;
    bool behindDamage = false;
    for (int at = findFrame(bytes, offset); at >= 0;)
    {
        Frame frame = readFrame(bytes, at);
        at = findFrame(bytes, frame.offset + std::max(frame.size, 1));
        // What follows a fault may still be the inside of the damaged object.
        if (behindDamage && isValue(frame.className))
            continue;
        behindDamage = frame.state == Frame::State::Damaged;
        frames.push_back(std::move(frame));
    }
    return frames;
}

} // namespace okt
