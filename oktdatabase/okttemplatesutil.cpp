// SPDX-License-Identifier: MIT
#include <oktdatabase/okttemplatesutil.h>

OKTTemplatesUtil &OKTTemplatesUtil::operator=(OKTTemplatesUtil const &) = default;
