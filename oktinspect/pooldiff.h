// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktinspect/compare.h>
#include <oktinspect/matching.h>
#include <oktinspect/outline.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace okt
{

/// A member that two objects do not have alike. The values are entries of the text form without their names; null: not there.
struct MemberChange
{
    std::string member; ///< its name, or its section and number where the class is not known
    Json before;
    Json after;
};

struct ObjectChange
{
    std::size_t first = 0; ///< places in the two pools
    std::size_t second = 0;
    std::vector<MemberChange> members;
};

/// In what two pools differ. Objects stand in the order of their outline.
struct PoolDiff
{
    std::vector<MemberChange> header;
    std::vector<std::size_t> removed; ///< in the first pool
    std::vector<std::size_t> added;   ///< in the second
    std::vector<ObjectChange> changed;
    std::size_t same = 0;
    IdPairs guids; ///< ids of the first pool, in registry form, and others that stand for them in the second
    std::shared_ptr<PoolOutline const> before; ///< of the first pool, by which its objects are sorted
    std::shared_ptr<PoolOutline const> after;
    bool isOtherOrder = false; ///< the files differ, although no object and no field of the header does

    bool isSame() const { return header.empty() && removed.empty() && added.empty() && changed.empty() && !isOtherOrder; }
};

/// The pools must outlive what is found. Throws Cancelled.
PoolDiff compare(DiffPool const &first, DiffPool const &second, MatchBy by, OnProgress const &onProgress = {});

/// In what two entries of the text form differ, with the ids of the first one taken as those that stand for them.
std::vector<MemberChange> compareEntries(Json const &before, Json const &after, IdPairs const &guids);

} // namespace okt
