// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttypes.h>

// WideCharToMultiByte, MultiByteToWideChar and lstrlenW are those of kernel32.
