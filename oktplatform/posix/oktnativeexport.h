// SPDX-License-Identifier: MIT
#pragma once

/// Marks what the shared library exports. Everything else in it stays hidden.
#define OKT_API __attribute__((visibility("default")))

/// Marks the entry points of the module.
#define OKT_ENTRY OKT_API
#define OKT_ENTRY_CALL

/// Marks a function that must be compiled into its caller.
#define OKT_INLINE __attribute__((always_inline))
