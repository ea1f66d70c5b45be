// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

namespace
{
char const *optimisation()
{
#if defined(__OPTIMIZE__)
    return "optimised";
#else
    return "not optimised";
#endif
}

// Stands in the head of the JSON output, from where scripts/bench takes it.
[[maybe_unused]] bool const g_told = [] {
    benchmark::AddCustomContext("okt_compiler",
#if defined(__clang__)
                                "Clang " __clang_version__
#else
                                "GCC " __VERSION__
#endif
    );
    benchmark::AddCustomContext("okt_build", optimisation());
    return true;
}();
} // namespace
