// SPDX-License-Identifier: MIT
#pragma once

// The language has no marks for what a shared library exports: the build exports all of it.
#define OKT_API
#define OKT_ENTRY
#define OKT_ENTRY_CALL
#define OKT_INLINE
