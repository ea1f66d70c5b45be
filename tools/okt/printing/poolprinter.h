// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/poolreader.h>
#include <oktinspect/valuetext.h>

#include <array>
#include <string>
#include <vector>

namespace okt
{

/// The contents of a pool file as text: header, tree of categories and parameters, relations, pictures, what stands in no
/// category, sizes, and what could not be read. `withIds` adds the ids of parameters and what they name by id.
std::string describe(PoolFile const &file, DisplayUnit const &unit, bool withIds);

} // namespace okt
