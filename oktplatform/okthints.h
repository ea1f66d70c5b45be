// SPDX-License-Identifier: MIT
#pragma once

// Hints to the compiler and the processor: none changes what a program does. Not installed.
#include <oktplatform/oktbackend.h>
#include OKT_NATIVE(oktnativehints.h)
