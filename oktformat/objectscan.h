// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/valuewalk.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace okt
{

/// A stretch of a pool file behind its header.
struct Stretch
{
    enum class Kind
    {
        Object,
        Damaged, ///< begins as a frame does, but is none
        Cut,     ///< a frame that the file ends in
        Gap      ///< bytes that belong to no object
    };

    Kind kind = Kind::Gap;
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::vector<std::string> classNames; ///< of the object and its bases, the object's own first, in the bytes of the file
    std::optional<_GUID> id;             ///< the first id in it, which is the object's own
    CString name;                        ///< of a parameter or a category
    std::int64_t oddAt = -1;             ///< where a record stands that the grammar does not have there; -1: nowhere
    char const *oddity = nullptr;        ///< and what it is
    std::int64_t faultAt = 0;            ///< of what is no object: where it stops to be one

    /// In bytes.
    std::int64_t size() const { return end - begin; }
    /// The object's own class; empty for what is no object.
    CString className() const { return classNames.empty() ? CString() : CString(classNames.front().c_str()); }
    /// The object is of this class or derived from it.
    bool isOf(KnownClass known) const;
    /// What is wrong with a stretch that is no object: "damaged inside an OKTDbParameter that begins at byte 563".
    std::string fault() const;
};

/// Takes the objects block apart, in bounded memory. Objects stand one behind the other; where one is damaged, the next whole one
/// is searched for by what every stored object begins with: its class name, then the frames of its bases down to that of
/// OKTDbObject with the id. A frame that stands inside a damaged object is not taken for an object.
class ObjectScan
{
public:
    /// From that byte of the source to its end. The source must outlive the scan.
    ObjectScan(ByteSource &source, std::int64_t begin) : m_source(source), m_position(begin) {}

    /// The next stretch; they follow each other without a gap up to the end. Nothing: the end.
    std::optional<Stretch> next();

    /// The frame at a place, whole or not. Its end is told only of a whole one.
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
    std::set<std::int64_t> m_unclosed; ///< frames that were followed to a fault behind m_position, so need not be again
};

/// The header block of a pool file.
struct HeaderPlace
{
    std::int64_t begin = 0; ///< of the frame OKTDbPool
    std::int64_t end = 0;   ///< of a whole header; else where the search for objects may begin
    bool isWhole = false;
    std::string fault; ///< why it is not, in words
    std::int64_t faultAt = 0;
    std::int32_t statedSize = -1; ///< what the first record of the file says; -1: there is none
};

/// Finds the header at the start of a file.
HeaderPlace findHeader(ByteSource &source);

} // namespace okt
