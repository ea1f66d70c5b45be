// SPDX-License-Identifier: MIT
#include <oktinspect/listdiff.h>

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace okt
{

namespace
{

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

/// The list indexes of the numbers that are not in the longest increasing subsequence. All numbers are different.
std::vector<bool> outOfOrder(std::vector<std::size_t> const &numbers)
{
    std::vector<std::size_t> ends; // for each length the index of the last number of the best subsequence
    std::vector<std::size_t> ahead(numbers.size(), kNone);
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        auto const end =
            std::lower_bound(ends.begin(), ends.end(), numbers[i],
                             [&numbers](std::size_t place, std::size_t number) { return numbers[place] < number; });
        if (end != ends.begin())
            ahead[i] = *(end - 1);
        if (end == ends.end())
            ends.push_back(i);
        else
            *end = i;
    }
    std::vector<bool> isOut(numbers.size(), true);
    for (std::size_t i = ends.empty() ? kNone : ends.back(); i != kNone; i = ahead[i])
        isOut[i] = false;
    return isOut;
}

} // namespace

ListDiff compareLists(std::vector<std::string> const &before, std::vector<std::string> const &after)
{
    std::unordered_map<std::string, std::deque<std::size_t>> places;
    for (std::size_t i = 0; i < before.size(); ++i)
        places[before[i]].push_back(i);
    ListDiff diff;
    std::vector<std::size_t> stayed; // in the second list
    std::vector<std::size_t> from;   // their places in the first
    for (std::size_t i = 0; i < after.size(); ++i)
    {
        auto const found = places.find(after[i]);
        if (found == places.end() || found->second.empty())
        {
            diff.added.push_back(i);
            continue;
        }
        stayed.push_back(i);
        from.push_back(found->second.front());
        found->second.pop_front();
    }
    for (auto const &[entry, left] : places)
        diff.removed.insert(diff.removed.end(), left.begin(), left.end());
    std::sort(diff.removed.begin(), diff.removed.end());
    std::vector<bool> const isOut = outOfOrder(from);
    for (std::size_t i = 0; i < stayed.size(); ++i)
        if (isOut[i])
            diff.moved.push_back(stayed[i]);
    return diff;
}

} // namespace okt
