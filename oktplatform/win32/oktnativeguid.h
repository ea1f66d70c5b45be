// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttypes.h>

// Ids are made and read by ole32.
#include <objbase.h>
