// SPDX-License-Identifier: MIT
#pragma once

#include "support/alloccount.h"
#include "support/expectedleak.h"

#include <oktplatform/oktstring.h>

#include <cstddef>
#include <functional>
#include <string>

class OKTDbPool;

// Operations that run out of memory, or whose calls of the file system fail. What holds for each: no exception leaves it, nothing
// crashes, its answer is false, null or a status, or its outcome is complete; with memory and disk back all can be used on, and no
// block stays behind but of an object that the operation loses by rule.
//
// What is otherwise, all of it:
// - A `writeFile` that answers false may leave a part of a file where the disk failed: it writes in place, which is what it is for.
//   Want of memory leaves the old file.
// - `CloseFiler` of the XML filer has no answer, so a document that could not be saved shows with the next reader alone.
// - A load, `copyFrom` and the readers of parts of a file lose the object at fault (quirk 18), `resetObject` the new object when it
//   fails (quirk 22), `readVariant` what its target held (quirk 41).
// - What okttext, oktformat and oktinspect cannot do they tell by an exception that they declare (okt::Failure) or by std::bad_alloc.

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
    /// The operation works on files: its calls of the file system are made to fail, too.
    bool usesFiles = false;
    /// The pool that the operation worked on, which behind each fault must be fit to be saved, loaded and erased.
    std::function<OKTDbPool *()> pool = {};
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
/// every block above each of its sizes refused; then with each of its calls of the file system failing with ENOSPC, EIO and EDQUOT,
/// or interrupted by a signal, or doing half of what it should, which the operation has to get over. Adds a failure for each way in
/// which that went wrong, which tells the scenario, the kind of the fault, its number and how many faults ended so. The sum over all
/// scenarios is printed at the end of the program.
ShortageCount forEveryFault(ShortageScenario const &scenario);

/// For a judge: whether what failed is a call of the file system.
bool isFileFault();

/// Another text than the answers of a judge for what an operation left half done.
template <typename... Texts> std::string firstOf(Texts const &...texts)
{
    std::string found;
    static_cast<void>(((found = texts, !found.empty()) || ...));
    return found;
}
