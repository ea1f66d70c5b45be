// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktbackend.h>

// OKT_API marks what the shared library exports, OKT_ENTRY and OKT_ENTRY_CALL mark the entry points of the module.
#include OKT_NATIVE(oktnativeexport.h)
