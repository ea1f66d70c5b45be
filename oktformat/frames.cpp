#include <oktformat/frames.h>

#include <oktformat/valuewalk.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace okt
{

namespace
{

constexpr BYTE kClassBegin = static_cast<BYTE>(RecordType::FrameBegin);
constexpr BYTE kClassEnd = static_cast<BYTE>(RecordType::FrameEnd);
constexpr BYTE kText = static_cast<BYTE>(RecordType::Text8);

/// Notes whose frame it is while its records pass.
class FrameReader
{
public:
    FrameReader(CByteArray const &bytes, int offset) : m_source(bytes), m_walk(m_source, offset) { m_frame.offset = offset; }

    Frame frame()
    {
        while (m_walk.next())
            note(m_walk.record());
        // A fault behind the name leaves the name.
        if (m_walk.open().empty() && m_walk.state() != RecordWalk::State::Whole && m_walk.record().payloadSize > 0)
            m_frame.className = text8At(m_source, m_walk.record().payload, m_walk.record().payloadSize);
        m_frame.size = static_cast<int>(m_walk.position()) - m_frame.offset;
        m_frame.state = m_walk.state() == RecordWalk::State::Whole ? Frame::State::Whole
                        : m_walk.state() == RecordWalk::State::Cut ? Frame::State::Cut
                                                                   : Frame::State::Damaged;
        return std::move(m_frame);
    }

private:
    void note(RecordPlace const &record)
    {
        switch (record.type)
        {
        case RecordType::FrameBegin: return noteClass(record);
        case RecordType::SectionBegin: m_sectionSeen = true; return;
        case RecordType::Long:
            if (m_idWords >= 0 && m_idWords < 4)
                idWord(record);
            return;
        default: return;
        }
    }

    void noteClass(RecordPlace const &record)
    {
        CString const name = text8At(m_source, record.payload, record.payloadSize);
        if (m_walk.open().size() == 1)
            m_frame.className = name;
        else if (!m_sectionSeen)
            m_frame.bases.push_back(name);
        if (m_sectionSeen && m_idWords < 0 && name.CompareNoCase(u"OKTObjectId") == 0)
            m_idWords = 0;
    }

    /// The four words of an id: Data1, Data2 with Data3 above it, and two times four bytes of Data4.
    void idWord(RecordPlace const &record)
    {
        auto const word = static_cast<std::uint32_t>(record.number);
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
            std::memcpy(m_id.Data4 + 4 * (m_idWords - 2), m_source.look(record.payload, 4).data(), 4);
        }
        if (++m_idWords == 4)
            m_frame.id = m_id;
    }

    ByteSource m_source;
    RecordWalk m_walk;
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
