// SPDX-License-Identifier: MIT
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define OKT_TESTS_UNDER_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OKT_TESTS_UNDER_LEAK_CHECK 1
#endif
#endif

#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
#include <sanitizer/lsan_interface.h>
#endif

/// Tells the leak checker not to count what is allocated in a scope. For operations that lose something by rule (quirks 18 and 22, the
/// copy of a descriptor), and for nothing else.
class ExpectedLeak
{
public:
#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
    ExpectedLeak() { __lsan_disable(); }
    ~ExpectedLeak() { __lsan_enable(); }
#else
    ExpectedLeak() {}
    ~ExpectedLeak() {}
#endif
    ExpectedLeak(ExpectedLeak const &) = delete;
    ExpectedLeak &operator=(ExpectedLeak const &) = delete;
};
