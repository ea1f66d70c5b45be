#pragma once

// Hints to the compiler and the processor: none changes what a program does. Not installed.

#if defined(_WIN32)
#include <oktplatform/win32/oktnativehints.h>
#else
#include <oktplatform/posix/oktnativehints.h>
#endif
