// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>
#include <oktformat/recordtype.h>

#include <cstdint>
#include <vector>

namespace okt
{

/// One record of a stream. The record FrameBegin includes class name and version, SectionBegin its number.
struct RecordPlace
{
    RecordType type = RecordType::Bool;
    std::int64_t begin = 0; ///< of its type byte
    std::int64_t end = 0;
    std::int64_t payload = 0; ///< offset of its value or text; of a frame, of the class name
    std::int64_t payloadSize = 0;
    std::int32_t number = 0; ///< of a bool, short and long the value, of a frame the version, of a section its number
};

/// Reads the records of one frame of any class; with Start::AnyRecord of any single record and what is nested in it.
///
///     frame   = 6 text long [ frame ] { section } 7          class name, version, base, sections
///     section = 8 long { value | frame } 9                    section number
///     value   = 0 bool | 1 short | 2 long | 3 double | 4 wide text | 5 8-bit text | 10 bytes
///
/// Only wrong nesting is damage. Any other record that the grammar does not allow at its place is reported as an oddity.
class RecordWalk
{
public:
    enum class State
    {
        Going,
        Whole,  ///< the record has ended
        Cut,    ///< the source ends inside it
        Damaged ///< a byte is no record, or closes what is not open
    };

    /// A frame or a section that is not closed yet.
    struct Level
    {
        RecordType type;
        bool hasBase;     ///< of a frame: a base frame was read before its sections
        bool hasSections; ///< of a frame: a section was read
        std::int64_t begin;
    };

    /// What it may begin with.
    enum class Start
    {
        Frame,    ///< anything else is damage
        AnyRecord ///< a value or a section too, as in a stream that is no pool file
    };

    /// From that byte of the source on. The source must outlive the walk.
    RecordWalk(ByteSource &source, std::int64_t begin, Start start = Start::Frame)
        : m_source(source), m_position(begin), m_start(start)
    {
    }

    /// Reads the next record. False: the frame has ended, or the bytes are damaged (see state()).
    bool next();
    RecordPlace const &record() const { return m_record; }
    /// Why the grammar does not allow the last record; null: it is allowed.
    char const *oddity() const { return m_oddity; }

    /// Offset of the first frame whose class name is empty or contains control characters; -1: none.
    std::int64_t badNameAt() const { return m_badNameAt; }

    /// How far the walk is.
    State state() const { return m_state; }
    /// The offset after the last record; of a damaged frame the offset of the fault.
    std::int64_t position() const { return m_position; }
    /// The frames and sections that are open after the last record, the outermost first.
    std::vector<Level> const &open() const { return m_open; }

private:
    bool stop(State state);
    bool has(std::int64_t count);
    bool canBegin(RecordType type) const;
    bool value(std::int64_t size);
    bool counted(int countSize, int unitSize);
    bool takeLong();
    bool frameBegin();
    bool sectionBegin();
    bool end(RecordType begin);
    void checkPlace();
    void checkName();

    ByteSource &m_source;
    std::int64_t m_position;
    Start m_start;
    RecordPlace m_record;
    char const *m_oddity = nullptr;
    std::int64_t m_badNameAt = -1;
    State m_state = State::Going;
    std::vector<Level> m_open;
};

/// Unsigned, of up to four bytes.
inline std::uint32_t littleEndian(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
}

} // namespace okt
