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

#include <cstdlib>
#include <string>
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

/// The same for the programs that are started in a scope.
class ExpectedLeakOfPrograms
{
public:
#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
    ExpectedLeakOfPrograms()
    {
        if (char const *const options = std::getenv(kVariable))
            m_before = options;
        setenv(kVariable, (m_before + ":detect_leaks=0").c_str(), 1);
    }
    ~ExpectedLeakOfPrograms() { setenv(kVariable, m_before.c_str(), 1); }
#else
    ExpectedLeakOfPrograms() {}
    ~ExpectedLeakOfPrograms() {}
#endif
    ExpectedLeakOfPrograms(ExpectedLeakOfPrograms const &) = delete;
    ExpectedLeakOfPrograms &operator=(ExpectedLeakOfPrograms const &) = delete;

#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
private:
    static constexpr char const *kVariable = "ASAN_OPTIONS";
    std::string m_before;
#endif
};
