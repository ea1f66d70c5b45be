// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktplatform/generic/oktnativeunit.h>
