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

// A pool file made of what is whole in a damaged one, and what can be said of it: nothing is claimed beyond what was checked.

/// An object that is whole, as far as its frames and the library tell.
struct RecoveredObject
{
    std::int64_t begin; ///< in the damaged file
    std::int64_t size;
    bool isKnown;            ///< its class is registered
    std::optional<_GUID> id; ///< nothing: it has none
    bool isRemnant;          ///< it may be the base of another object that is damaged
};

/// Bytes of the damaged file that are not in the new one.
struct RecoveryLoss
{
    std::int64_t begin;
    std::int64_t end;
    Finding why;        ///< its offset is where the fault is met
    ObjectLabel object; ///< what can be told of a lost object
    bool isObject;      ///< false: the header, or bytes of which nobody can tell what they were
};

/// What verify says of the new file, sorted by what it means for who recovers one.
struct RecoveryCheck
{
    /// What is said about an object, the header, or the file.
    struct Remark
    {
        Finding finding; ///< its places are those in the new file
        ObjectLabel object;
        std::int64_t size = 0;
        std::int64_t begin = -1; ///< of the object in the damaged file; -1: it is about the header or the file
    };

    /// An id that something names and that is neither in the new file nor that of an object which is known to be lost.
    struct MissingId
    {
        _GUID id;
        Finding first;      ///< who names it first
        ObjectLabel namer;  ///< that object; empty: the header, or nothing is known of it
        std::int64_t times; ///< how often it is named in all
    };

    Verdict verdict;
    std::vector<MissingId> missing; ///< as they are met
    std::vector<Remark> doubts;     ///< errors and warnings about what is in an object, the header or the file
    std::vector<Remark> infos;
    std::int64_t doubtfulObjects = 0;
    std::int64_t doubtfulBytes = 0;
    bool isHeaderDoubtful = false;
    std::vector<std::int64_t> lossesNamed; ///< for each loss, how often the file names its id

    std::int64_t lost = 0;    ///< objects
    std::int64_t leftOut = 0; ///< bytes of which nobody can tell what they were

    /// Nothing is known to be lost, missing or doubtful, and the header is as it was.
    bool isClean = false;
};

/// All that became of a damaged file. It keeps nothing of the source.
struct Recovered
{
    HeaderPlace header; ///< of the damaged file; not whole: that of the new file is made of what could be found
    /// In the order of the new file: those of classes that are not known here stand last, because a load stops at the first.
    std::vector<RecoveredObject> objects;
    int unknownObjects = 0; ///< how many of them are of such classes
    /// The first is the header, where that is not whole.
    std::vector<RecoveryLoss> losses;
    std::vector<Finding> mends;       ///< what the header of the damaged file says wrongly, and that of the new one rightly
    std::vector<Finding> headerNotes; ///< what became of each field of a header that was not whole
    RecoveryCheck check;              ///< empty where nothing was rescued

    /// Nothing at all was found that would make a pool file, and the sink was not called.
    bool isNothing() const { return !header.isWhole && objects.empty(); }
};

struct RecoverOptions
{
    OnProgress onProgress; ///< the source is gone through once, the new file twice. False ends it
    ModuleLookup moduleOf; ///< as in VerifyOptions
    std::string name;      ///< how progress calls the new file
};

/// Looks through the whole source, gives the new file to `sink` piece by piece, from its start, and checks it. A piece is good only
/// during the call. The source is read again while the check runs; the new file itself never is.
///
/// Throws Cancelled, Failure where the source can no longer be read, and whatever the functions throw. Then the sink may have got
/// the file or a part of it: keep that only when recover has returned. Threads: as verify.
Recovered recover(ByteSource &source, std::function<void(std::string_view)> const &sink, RecoverOptions const &options = {});

} // namespace okt
