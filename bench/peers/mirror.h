// SPDX-License-Identifier: MIT
#pragma once

#include "model.h"

class OKTDbPool;

namespace peers
{
/// The objects of the pool, with their ids and all that the pool stores of them.
Objects mirrorOf(OKTDbPool &pool);

/// Both hold the same.
bool areEqual(Objects const &left, Objects const &right);
} // namespace peers
