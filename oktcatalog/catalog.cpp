// SPDX-License-Identifier: MIT
#include <oktcatalog/catalog.h>

namespace okt
{

// Two changes of a file within one tick of its clock leave the same time. Clocks of systems tick some hundred times a second. A time without
// a fraction is taken as one of a file system that counts in whole seconds, or in two.
bool CatalogFile::isInDoubt() const
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    constexpr std::int64_t kTick = kSecond / 50;
    std::int64_t const margin = stamp.modifiedNs % kSecond == 0 ? 2 * kSecond : kTick;
    return lookedNs < stamp.modifiedNs + margin;
}

} // namespace okt
