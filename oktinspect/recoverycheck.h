#pragma once

#include <oktinspect/recovery.h>
#include <oktinspect/verifier.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// What can be said of a recovered file, which okt verify has looked through: nothing is claimed beyond what that checks.
struct RecoveryCheck
{
    /// What okt verify says about an object, the header, or the file.
    struct Remark
    {
        Finding finding;    ///< its places are those in the new file
        std::string object; ///< the id and name of the object
        std::int64_t size = 0;
        std::int64_t begin = -1; ///< of the object in the damaged file; -1: it is about the header or the file
    };

    /// An id that something names and that is neither in the new file nor that of an object which is known to be lost.
    struct MissingId
    {
        _GUID id;
        Finding first;      ///< who names it first
        std::string namer;  ///< that object by its id and name; empty: the header
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

/// Runs okt verify over the new file; `name` is how a progress line calls it.
RecoveryCheck checkRecovery(Recovery &recovery, std::string const &name, ModuleLookup const &moduleOf = {},
                            OnProgress const &onProgress = {});

} // namespace okt
