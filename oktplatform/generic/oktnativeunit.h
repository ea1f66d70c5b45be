// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

namespace OktSystem
{
using Unit = char16_t;
}
