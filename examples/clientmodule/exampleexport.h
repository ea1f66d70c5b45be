// SPDX-License-Identifier: MIT
#pragma once

/// Marks what the module gives to programs that link it. A program that only loads it needs none of that: the classes enter
/// themselves in the registry.
#if !defined(_WIN32)
#define OKT_EXAMPLE_API __attribute__((visibility("default")))
#elif defined(OKT_EXAMPLE_BUILDING)
#define OKT_EXAMPLE_API __declspec(dllexport)
#else
#define OKT_EXAMPLE_API __declspec(dllimport)
#endif
