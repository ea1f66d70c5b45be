#pragma once

/// Marks what the shared library gives to its users; everything else in it stays hidden.
#if defined(_WIN32)
#if defined(OKT_BUILDING_LIBRARY)
#define OKT_API __declspec(dllexport)
#else
#define OKT_API __declspec(dllimport)
#endif
#else
#define OKT_API __attribute__((visibility("default")))
#endif
