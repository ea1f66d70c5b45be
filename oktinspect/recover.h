// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// Makes a new pool file of the whole objects of a damaged one, and reports what was checked about it.

/// An object whose frames are whole and that the library can read.
struct RecoveredObject
{
    std::int64_t begin; ///< in the damaged file
    std::int64_t size;
    bool isKnown;            ///< its class is registered
    std::optional<_GUID> id; ///< nothing: it has none
    bool isRemnant;          ///< it may be only the base part of a damaged object
};

/// Bytes of the damaged file that are not in the new one.
struct RecoveryLoss
{
    std::int64_t begin;
    std::int64_t end;
    Finding why;        ///< its offset is that of the fault
    ObjectLabel object; ///< id and name of a lost object, if known
    bool isObject;      ///< false: the header, or bytes of unknown origin
};

/// The findings of verify in the new file, grouped by their meaning for a recovery.
struct RecoveryCheck
{
    /// A finding about an object, the header, or the file.
    struct Remark
    {
        Finding finding; ///< its places are those in the new file
        ObjectLabel object;
        std::int64_t size = 0;
        std::int64_t begin = -1; ///< of the object in the damaged file; -1: it is about the header or the file
    };

    /// An id that is referred to, but is neither in the new file nor the id of an object known to be lost.
    struct MissingId
    {
        _GUID id;
        Finding first;      ///< the first reference to it
        ObjectLabel namer;  ///< the object with that reference; empty: the header, or not known
        std::int64_t times; ///< number of references to it
    };

    Verdict verdict;
    std::vector<MissingId> missing; ///< in the order of the file
    std::vector<Remark> doubts;     ///< errors and warnings about what is in an object, the header or the file
    std::vector<Remark> infos;
    std::int64_t doubtfulObjects = 0;
    std::int64_t doubtfulBytes = 0;
    bool isHeaderDoubtful = false;
    std::vector<std::int64_t> lossesNamed; ///< for each loss, the number of references to its id in the new file

    std::int64_t lost = 0;    ///< objects
    std::int64_t leftOut = 0; ///< bytes of unknown origin that are not in the new file

    /// Nothing is known to be lost, missing or doubtful, and the header is unchanged.
    bool isClean = false;
};

/// The result of a recovery. It does not refer to the source.
struct Recovered
{
    HeaderPlace header; ///< of the damaged file; if it is not whole, the new header is made from the objects
    /// In the order of the new file. Objects of unknown classes are last, because a load stops at the first of them.
    std::vector<RecoveredObject> objects;
    int unknownObjects = 0; ///< number of objects of unknown classes
    /// The first is the header, where that is not whole.
    std::vector<RecoveryLoss> losses;
    std::vector<Finding> mends;       ///< wrong positions and sizes in the old header that are right in the new one
    std::vector<Finding> headerNotes; ///< of a damaged header: the origin of each field of the new one
    RecoveryCheck check;              ///< empty where nothing was rescued

    /// Neither a header nor an object was found, and the sink was not called.
    bool isNothing() const { return !header.isWhole && objects.empty(); }
};

struct RecoverOptions
{
    OnProgress onProgress; ///< for one pass over the source and two over the new file. False ends it
    ModuleLookup moduleOf; ///< as in VerifyOptions
    std::string name;      ///< the name of the new file for progress
};

/// Reads the whole source, passes the new file to `sink` piece by piece, and checks it. A piece is valid only
/// during the call. The check reads the source again, not what the sink stored.
///
/// Throws Cancelled, Failure if the source can no longer be read, and the exceptions of the functions. Then the sink may have got
/// a part of the file or all of it: use it only after recover has returned. Threads: as for verify.
Recovered recover(ByteSource &source, std::function<void(std::string_view)> const &sink, RecoverOptions const &options = {});

} // namespace okt
