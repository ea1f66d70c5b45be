// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/memberrole.h>
#include <oktformat/poolheader.h>
#include <oktformat/progress.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace okt
{

// The records of a pool file one by one, as data.

/// What of a file is dumped; without any of them, all.
struct DumpRange
{
    std::optional<std::int64_t> offset; ///< the record there: a frame, or what stands from there to the end of its section
    std::optional<_GUID> id;            ///< the objects of that id
};

/// One entry of a dump: a record, bytes that are no record, or a remark.
struct DumpEntry
{
    enum class Kind
    {
        Record,
        HeaderSize, ///< the five bytes in front of the header; `number` is the size that they state, below 0: none
        Skipped,    ///< bytes that are no records
        Gap,        ///< a remark in front of Skipped: these bytes belong to no object
        Fault       ///< a remark: the file is damaged or cut here
    };

    Kind kind = Kind::Record;
    std::int64_t offset = 0; ///< in bytes from the start of the file
    std::int64_t size = 0;   ///< in bytes; of a remark 0
    std::string bytes;       ///< the first of them, as they stand in the file: at most `DumpOptions::longestBytes`
    std::size_t depth = 0;   ///< how many frames and sections are open around it
    std::string reason;      ///< of a remark, in words

    // Of a record.
    RecordType type = RecordType::Bool;
    std::int32_t number = 0;      ///< of a bool, short and long the value, of a frame the version, of a section its number
    double real = 0;              ///< of a double
    CString text;                 ///< of a frame the class name; of a text its first characters, up to the first zero
    std::int64_t length = 0;      ///< of a text the number of its characters, of bytes their number
    bool isShortened = false;     ///< the text is longer than `DumpOptions::longestText`
    std::optional<_GUID> id;      ///< of a frame that holds an id
    char const *oddity = nullptr; ///< why the record should not be here, in words; null: it may be here

    // The member that begins with this record, where it is known.
    HeaderRole headerRole = HeaderRole::Other; ///< in the header
    bool isPosition = false;                   ///< the position of the object of that role
    bool isSize = false;                       ///< its size
    MemberRole memberRole = MemberRole::Other; ///< in an object
};

/// In words: "construct", "construct, position", "expression"; empty: not known.
std::string memberText(DumpEntry const &entry);

struct DumpOptions
{
    std::size_t longestBytes = 12;
    int longestText = 80;  ///< in characters (UTF-16 units)
    OnProgress onProgress; ///< is called for each object
    std::string name;      ///< the name of the bytes for progress
};

enum class DumpResult
{
    Whole,       ///< the whole range was followed
    Faults,      ///< there was an entry of the kind Fault
    NoSuchId,    ///< no object has that id; nothing was given
    BehindTheEnd ///< the file has no byte at that offset; nothing was given
};

/// Gives the entries in the order of the file, in one pass and in bounded memory. A damaged object is followed to its fault, then
/// skipped up to the next whole object. Throws Cancelled, Failure where the file can no longer be
/// read, and whatever `onEntry` throws. It keeps nothing: several sources may be dumped at once.
DumpResult dump(ByteSource &source, DumpRange const &range, std::function<void(DumpEntry const &)> const &onEntry,
                DumpOptions const &options = {});

} // namespace okt
