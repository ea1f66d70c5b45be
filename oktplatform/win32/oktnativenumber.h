// SPDX-License-Identifier: MIT
#pragma once

// Numbers are read by the runtime library.
#include <cstdlib>
#include <cwchar>
