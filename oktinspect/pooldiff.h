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

/// A member that differs between two objects. The values are entries of the text form without their names; null: no such member.
struct MemberChange
{
    std::string member; ///< its name, or its section and number where the class is not known
    Json before;
    Json after;
};

struct ObjectChange
{
    std::size_t first = 0; ///< list indexes in the two pools
    std::size_t second = 0;
    std::vector<MemberChange> members;
};

/// The differences between two pools. Objects are sorted as in PoolOutline.
struct PoolDiff
{
    std::vector<MemberChange> header;
    std::vector<std::size_t> removed; ///< in the first pool
    std::vector<std::size_t> added;   ///< in the second
    std::vector<ObjectChange> changed;
    std::size_t same = 0;
    IdPairs guids; ///< ids of the first pool and the corresponding ids of the second, in registry form
    std::shared_ptr<PoolOutline const> before; ///< the outline of the first pool
    std::shared_ptr<PoolOutline const> after;
    bool isOtherOrder = false; ///< the files differ, but no object and no field of the header does

    bool isSame() const { return header.empty() && removed.empty() && added.empty() && changed.empty() && !isOtherOrder; }
};

/// The pools must outlive the result. Throws Cancelled.
PoolDiff compare(DiffPool const &first, DiffPool const &second, MatchBy by, OnProgress const &onProgress = {});

/// The differences between two entries of the text form. Ids of the first are replaced by the corresponding ids.
std::vector<MemberChange> compareEntries(Json const &before, Json const &after, IdPairs const &guids);

} // namespace okt
