// SPDX-License-Identifier: MIT
#pragma once

#include "support/alloccount.h"
#include "support/expectedleak.h"

#include <oktplatform/oktstring.h>

#include <cstddef>
#include <functional>
#include <string>

// Operations that run out of memory. What holds for each: no exception leaves it, nothing crashes, its answer is false, null or a
// status, or its outcome is complete; with memory back all can be used on, and no block stays behind but of an object that the
// operation loses by rule.

/// Takes the place of the warning dialog for a scope, and needs no memory for it.
class ReportCounter
{
public:
    ReportCounter();
    ReportCounter(ReportCounter const &) = delete;
    ReportCounter &operator=(ReportCounter const &) = delete;
    ~ReportCounter();

    static std::size_t count();
    /// The beginning of the last one.
    static std::string lastText();
};

/// What the library and the parser keep from one operation to the next is given up.
void giveUpKept();

/// One operation that is tried again and again, each time with other allocations failing.
struct ShortageScenario
{
    std::string name;
    /// With memory: makes what the operation works on.
    std::function<void()> prepare = [] {};
    /// The operation, and nothing else.
    std::function<void()> perform;
    /// With memory again: tells what is wrong, or nothing, and frees all that `prepare` and `perform` made. Where no allocation
    /// failed, the outcome has to be complete and the answer has to say so.
    std::function<std::string(bool struck)> judge;
    /// Objects that the operation may lose by rule.
    int mayLose = 0;
    bool losesWithMemory = false; ///< it loses them also where nothing fails
    /// The operation needs no memory; otherwise one that takes none is a mistake of the test.
    bool mayTakeNone = false;
    /// Faults of each kind that are tried, spread over all there are; 0: all.
    std::size_t most = 0;
};

struct ShortageCount
{
    std::size_t faults = 0;
    std::size_t struck = 0;
    std::size_t wrong = 0;
};

/// Tries the operation undisturbed, then with each of its allocations failing once, with each and all behind it failing, and with
/// every block above each of its sizes refused. Adds a failure for each way in which that went wrong, which tells the scenario,
/// the kind of the fault, its number and how many faults ended so.
ShortageCount forEveryFault(ShortageScenario const &scenario);

/// Another text than the answers of a judge for what an operation left half done.
template <typename... Texts> std::string firstOf(Texts const &...texts)
{
    std::string found;
    static_cast<void>(((found = texts, !found.empty()) || ...));
    return found;
}
