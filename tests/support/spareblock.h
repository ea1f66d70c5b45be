// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

/// The library keeps the block of the last image for the next. An array of another size makes it give that up, and one that has
/// shrunk is not kept: the next save counts what a first one takes.
inline void giveUpSpareBlock()
{
    CByteArray other;
    other.Reserve(200'000);
    other.SetSize(1);
    other.FreeExtra();
}
