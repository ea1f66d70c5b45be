// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/pooldiff.h>

#include <string>

namespace okt
{

/// The differences in terms of the members of the classes.
class MemberLines
{
public:
    MemberLines(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
        : m_diff(diff), m_first(first), m_second(second)
    {
    }

    /// A line for each member, or more.
    std::string members(std::vector<MemberChange> const &changes) const;

private:
    std::string member(MemberChange const &change) const;
    std::string ids(std::string const &name, Json const &before, Json const &after) const;

    PoolDiff const &m_diff;
    DiffPool const &m_first;
    DiffPool const &m_second;
};

} // namespace okt
