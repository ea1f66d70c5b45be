#pragma once

#include "pooldiff.h"

#include <string>

namespace okt
{

/// For people: a line for each object and each member, with signs and colours as diff has them.
std::string describe(PoolDiff const &diff, DiffPool const &first, DiffPool const &second);
/// For programs: one JSON document.
std::string describeAsJson(PoolDiff const &diff, DiffPool const &first, DiffPool const &second);

} // namespace okt
