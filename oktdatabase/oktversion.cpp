// SPDX-License-Identifier: MIT
#include <oktdatabase/oktversion.h>

char const *oktVersion() { return OKT_VERSION; }
