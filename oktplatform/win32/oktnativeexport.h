// SPDX-License-Identifier: MIT
#pragma once

/// Marks what the shared library exports. Everything else in it stays hidden.
#if defined(OKT_BUILDING_LIBRARY)
#define OKT_API __declspec(dllexport)
#else
#define OKT_API __declspec(dllimport)
#endif

/// Marks the entry points of the module. Where the system's headers declare them, a definition file exports them.
#define OKT_ENTRY
#define OKT_ENTRY_CALL __stdcall

/// Marks a function that must be compiled into its caller.
#if defined(_MSC_VER)
#define OKT_INLINE __forceinline
#else
#define OKT_INLINE __attribute__((always_inline))
#endif
