// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/valuewalk.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace okt
{

/// A range of bytes after the header of a pool file.
struct Stretch
{
    enum class Kind
    {
        Object,
        Damaged, ///< begins as a frame, but cannot be read to its end
        Cut,     ///< a frame; the file ends inside it
        Gap      ///< bytes that belong to no object
    };

    Kind kind = Kind::Gap;
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::vector<std::string> classNames; ///< of the object, then of its bases; the bytes as stored
    std::optional<_GUID> id;             ///< the first id in it, which is the object's own
    CString name;                        ///< of a parameter or a category
    std::int64_t oddAt = -1;             ///< offset of the first record that the grammar does not allow there; -1: none
    char const *oddity = nullptr;        ///< what is wrong with that record
    std::int64_t faultAt = 0;            ///< of what is not an object: the offset of the fault

    /// In bytes.
    std::int64_t size() const { return end - begin; }
    /// The object's own class; empty for what is no object.
    CString className() const { return classNames.empty() ? CString() : CString(classNames.front().c_str()); }
    /// The object is of this class or derived from it.
    bool isOf(KnownClass known) const;
    /// What is wrong with a stretch that is no object: "damaged inside an OKTDbParameter that begins at byte 563".
    std::string fault() const;
};

/// Splits the objects block into stretches, in bounded memory. Objects follow each other. Where one is damaged, the next whole one
/// is searched by the bytes with which every stored object begins: its class name, then the frames of its bases up to that of
/// OKTDbObject with the id. A frame inside a damaged object is not taken for an object.
class ObjectScan
{
public:
    /// From that byte of the source to its end. The source must outlive the scan.
    ObjectScan(ByteSource &source, std::int64_t begin) : m_source(source), m_position(begin) {}

    /// The next stretch. Stretches follow each other without a gap up to the end of the file. Empty: the end.
    std::optional<Stretch> next();

    /// The frame at an offset, whole or not. `end` is set only for a whole frame.
    Stretch examine(std::int64_t at);

private:
    std::optional<std::int64_t> swallowing(RecordPlace const &record);
    std::int64_t searchStart(std::int64_t at);
    std::int64_t findNext(std::int64_t from);
    bool beginsAsObject(std::int64_t at);
    bool isBase(std::int64_t at);
    std::int64_t endOfObject(std::int64_t at);
    std::int64_t endOfNested(std::int64_t at);
    bool endsEnclosing(std::int64_t at);

    ByteSource &m_source;
    std::int64_t m_position;
    std::set<std::int64_t> m_unclosed; ///< frames already followed to a fault after m_position
};

/// The header block of a pool file.
struct HeaderPlace
{
    std::int64_t begin = 0; ///< of the frame OKTDbPool
    std::int64_t end = 0;   ///< of a damaged header: where the search for objects begins
    bool isWhole = false;
    std::string fault; ///< why it is not whole, in words
    std::int64_t faultAt = 0;
    std::int32_t statedSize = -1; ///< the size in the first record of the file; -1: there is none
};

/// The frame of a pool header begins at that offset.
bool isPoolFrame(ByteSource &source, std::int64_t at);
/// The file begins as a pool file does: the size of a header, then its frame. Reads no more than that.
bool beginsAsPool(ByteSource &source);

/// Finds the header at the start of a file.
HeaderPlace findHeader(ByteSource &source);

} // namespace okt
