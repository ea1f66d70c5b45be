// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

/// The release of the library that runs, "10.0.0". The text is good as long as the library is loaded. A host that loads it by itself
/// finds the function under this name. docs/compatibility.md tells what releases with the same first number keep.
extern "C" OKT_API char const *oktVersion();
