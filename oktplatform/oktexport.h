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

/// Marks the entry points whose declarations are the system's own, where it has them: a definition file exports these.
#if defined(_WIN32)
#define OKT_ENTRY
#define OKT_ENTRY_CALL __stdcall
#else
#define OKT_ENTRY OKT_API
#define OKT_ENTRY_CALL
#endif
