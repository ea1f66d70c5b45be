// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

/// Kept for the modules that name it; it has no members. They link against its assignment, which is therefore exported.
class OKT_API OKTTemplatesUtil
{
public:
    OKTTemplatesUtil &operator=(OKTTemplatesUtil const &);
};
