// SPDX-License-Identifier: MIT
#include "support/shortage.h"

#include "support/bytetext.h"
#include "support/filefaults.h"
#include "support/spareblock.h"

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktframe.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/oktwarning.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <numeric>
#include <set>
#include <vector>

#if !defined(_WIN32)
#include <libxml/xmlerror.h>
#endif

namespace
{
// --- Reports -----------------------------------------------------------------------------------------------------------------

constexpr std::size_t kReportRoom = 256;
std::size_t g_reports = 0;
WCHAR g_report[kReportRoom];
std::size_t g_reportLength = 0;

void countReport(CString const &text)
{
    ++g_reports;
    OktTextView const units = text.View();
    g_reportLength = std::min(units.size(), kReportRoom);
    std::copy_n(units.data(), g_reportLength, g_report);
}

// --- What is tried -----------------------------------------------------------------------------------------------------------

char g_tried[200]; // for the message of a process that ends in the middle of it

void tellAndEnd(int signal)
{
    std::fputs(g_tried, stderr);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

char const *nameOf(FaultKind kind)
{
    switch (kind)
    {
    case FaultKind::Once: return "the n-th allocation fails once";
    case FaultKind::FromThere: return "the n-th allocation and all behind it fail";
    default: return "all blocks of n bytes and more fail";
    }
}

/// Names what is tried in case that the process ends.
class Trial
{
public:
    Trial(ShortageScenario const &scenario, std::string const &kind, std::size_t number)
    {
        std::snprintf(g_tried, sizeof g_tried, "\nthe process ended in %s, %s, n = %zu\n", scenario.name.c_str(), kind.c_str(),
                      number);
        m_before = std::signal(SIGABRT, tellAndEnd);
#if !defined(OKT_TESTS_UNDER_LEAK_CHECK)
        m_beforeFault = std::signal(SIGSEGV, tellAndEnd);
#endif
    }
    Trial(Trial const &) = delete;
    Trial &operator=(Trial const &) = delete;
    ~Trial()
    {
        std::signal(SIGABRT, m_before);
#if !defined(OKT_TESTS_UNDER_LEAK_CHECK)
        std::signal(SIGSEGV, m_beforeFault);
#endif
    }

private:
    void (*m_before)(int);
#if !defined(OKT_TESTS_UNDER_LEAK_CHECK)
    void (*m_beforeFault)(int);
#endif
};

// --- What stays behind -------------------------------------------------------------------------------------------------------

// The first report of a process makes what stays.
void makeFirstReport()
{
    ReportCounter const reports;
    try
    {
        throw std::bad_alloc();
    }
    OKT_ANSWER_NOTHING
}

void const *tableOf(void const *object)
{
    void const *table = nullptr;
    std::memcpy(&table, object, sizeof table);
    return table;
}

std::set<void const *> g_objectTables;

// An object is known by the pointer to its virtual table.
void noteObjectTables()
{
    g_objectTables.clear();
    for (auto const &[name, descriptor] : g_RuntimeClass)
    {
        if (descriptor == nullptr)
            continue;
        OKTDbObject const *const object = descriptor->CreateObject();
        if (object != nullptr)
            g_objectTables.insert(tableOf(object));
        delete object;
    }
}

bool isObject(LiveBlocks::Block const &block)
{
    return block.size >= sizeof(OKTDbObject) && g_objectTables.contains(tableOf(block.memory));
}

// Deletes the objects that were lost by rule, and tells what is left beside them.
std::string takeLost(LiveBlocks const &blocks, int mayLose)
{
    int lost = 0;
    for (LiveBlocks::Block block = blocks.find(isObject); block.memory != nullptr; block = blocks.find(isObject))
    {
        delete static_cast<OKTDbObject *>(block.memory);
        ++lost;
    }
    if (lost > 0)
        giveUpKept(); // the data of a picture are a block that is kept for the next
    if (!blocks.isComplete())
        return "more blocks are in use than the test can watch";
    if (blocks.count() > 0)
        return std::to_string(blocks.count()) + " blocks are lost, one of them of " +
               std::to_string(blocks.find([](LiveBlocks::Block const &) { return true; }).size) + " bytes";
    return lost <= mayLose ? "" : std::to_string(lost) + " objects are lost";
}

// --- One fault ---------------------------------------------------------------------------------------------------------------

struct Outcome
{
    bool struck = false;
    std::string wrong;
};

/// How a fault ended for the operation.
enum class Blow
{
    None,     ///< nothing failed
    Survived, ///< something did, and is no excuse
    Struck
};

bool g_isFileFault = false;

/// What is wrong with a pool that is used on, or nothing.
std::string usedOn(OKTDbPool const &pool)
{
    CByteArray image;
    CByteArray again;
    IdMap translated;
    if (!pool.saveFiler(image, translated))
        return "behind it, the pool cannot be saved";
    OKTDbPool other;
    if (!other.loadFiler(image) || !other.saveFiler(again, translated))
        return "behind it, what the pool saves cannot be loaded";
    if (textOf(image) != textOf(again))
        return "behind it, what the pool saves is loaded as something else";
    return other.eraseAllObjects() && other.objectCount() == 0 ? "" : "behind it, a pool cannot be emptied";
}

/// Runs the scenario once. `disturb` calls what it is given while its fault lives, and answers how that ended.
template <typename Disturb> Outcome run(ShortageScenario const &scenario, Disturb disturb)
{
    giveUpKept();
    Outcome outcome;
    LiveBlocks const blocks;
    scenario.prepare();
    bool escaped = false;
    Blow blow = Blow::None;
    {
        ReportCounter const reports;
        blow = disturb([&] {
            try
            {
                scenario.perform();
            }
            catch (...)
            {
                escaped = true;
            }
        });
    }
    outcome.struck = blow != Blow::None;
    if (OKTDbPool const *const pool = scenario.pool ? scenario.pool() : nullptr)
        outcome.wrong = usedOn(*pool);
    outcome.wrong = firstOf(scenario.judge(blow == Blow::Struck), outcome.wrong);
    giveUpKept();
    if (outcome.wrong.empty())
        outcome.wrong = takeLost(blocks, blow == Blow::Struck || scenario.losesWithMemory ? scenario.mayLose : 0);
    if (escaped)
        outcome.wrong = "an exception leaves it; " + outcome.wrong;
    return outcome;
}

// --- All faults --------------------------------------------------------------------------------------------------------------

/// What went wrong in the same way.
struct Wrong
{
    std::size_t count = 0;
    std::vector<std::size_t> first;
    std::string text;
    std::string place;
};

// Without its numbers.
std::string shapeOf(std::string const &text)
{
    std::string shape;
    std::copy_if(text.begin(), text.end(), std::back_inserter(shape), [](char c) { return c < '0' || c > '9'; });
    return shape;
}

/// Which of `count` faults are tried: all, or the first and the last few and some between.
bool isChosen(std::size_t number, std::size_t count, std::size_t most)
{
    constexpr std::size_t kEnds = 6;
    if (most == 0 || count <= most || number < kEnds || number + kEnds >= count)
        return true;
    return number % (count / most + 1) == 0;
}

class Tries
{
public:
    explicit Tries(ShortageScenario const &scenario) : m_scenario(scenario) {}

    void all()
    {
        if (!isRightUndisturbed())
            return;
        std::vector<std::size_t> numbers(m_allocations);
        std::iota(numbers.begin(), numbers.end(), std::size_t{0});
        kind(FaultKind::Once, numbers);
        kind(FaultKind::FromThere, numbers);
        kind(FaultKind::Large, m_sizes);
#if defined(OKT_TEST_FILE_FAULTS)
        if (m_scenario.usesFiles)
            files();
#endif
    }

    ShortageCount const &count() const { return m_count; }

private:
    // The first run makes what a process makes once, the second tells how many allocations there are.
    bool isRightUndisturbed()
    {
        auto const undisturbed = [](auto const &perform) {
            perform();
            return Blow::None;
        };
        run(m_scenario, undisturbed);
        Outcome const outcome = run(m_scenario, undisturbed);
        EXPECT_EQ(outcome.wrong, "") << m_scenario.name << ", undisturbed";
        static AllocationSizes sizes;
        run(m_scenario, [&](auto const &perform) {
            sizes.start();
            perform();
            sizes.stop();
            return Blow::None;
        });
        m_allocations = sizes.count();
        m_sizes.assign(sizes.begin(), sizes.end());
        return outcome.wrong.empty();
    }

    void kind(FaultKind kind, std::vector<std::size_t> const &numbers)
    {
        tryAll(nameOf(kind), numbers, [&](std::size_t number, auto const &perform) {
            AllocationFault const fault(kind, number);
            perform();
            return fault.struck() ? Blow::Struck : Blow::None;
        });
    }

#if defined(OKT_TEST_FILE_FAULTS)
    void files()
    {
        std::size_t calls = 0;
        run(m_scenario, [&](auto const &perform) {
            FileCallCount const count;
            perform();
            calls = count.calls();
            return Blow::None;
        });
        EXPECT_GT(calls, 0u) << m_scenario.name << " calls no file system";
        std::vector<std::size_t> numbers(calls);
        std::iota(numbers.begin(), numbers.end(), std::size_t{0});
        struct Row
        {
            char const *name;
            FileFaultKind kind;
            int error;
        };
        g_isFileFault = true;
        for (Row const &row : {Row{"the n-th call of the file system: ENOSPC", FileFaultKind::Error, ENOSPC},
                               Row{"the n-th call of the file system: EIO", FileFaultKind::Error, EIO},
                               Row{"the n-th call of the file system: EDQUOT", FileFaultKind::Error, EDQUOT},
                               Row{"the n-th call of the file system is interrupted", FileFaultKind::Interrupted, EINTR},
                               Row{"the n-th call of the file system does half", FileFaultKind::Short, 0}})
            tryAll(row.name, numbers, [&](std::size_t number, auto const &perform) {
                FileFault const fault(row.kind, row.error, number);
                perform();
                return !fault.struck() ? Blow::None : row.kind == FileFaultKind::Error ? Blow::Struck : Blow::Survived;
            });
        g_isFileFault = false;
    }
#endif

    template <typename Disturb> void tryAll(std::string const &kind, std::vector<std::size_t> const &numbers, Disturb disturb)
    {
        std::map<std::string, Wrong> wrongs;
        std::size_t faults = 0;
        for (std::size_t i = 0; i < numbers.size(); ++i)
        {
            if (!isChosen(i, numbers.size(), most()))
                continue;
            ++faults;
            Trial const trial(m_scenario, kind, numbers[i]);
            Outcome const outcome = run(m_scenario, [&](auto const &perform) { return disturb(numbers[i], perform); });
            m_count.struck += outcome.struck ? 1 : 0;
            if (!outcome.wrong.empty())
                note(wrongs[shapeOf(outcome.wrong)], numbers[i], outcome.wrong);
        }
        m_count.faults += faults;
        for (auto const &[shape, wrong] : wrongs)
            tell(kind, faults, wrong);
    }

    /// Under the sanitizer an operation on files takes ten times as long: each kind of fault is tried at fewer places there.
    std::size_t most() const
    {
#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
        constexpr std::size_t kMost = 12;
        if (m_scenario.usesFiles && (m_scenario.most == 0 || m_scenario.most > kMost))
            return kMost;
#endif
        return m_scenario.most;
    }

    static void note(Wrong &wrong, std::size_t number, std::string const &text)
    {
        constexpr std::size_t kShown = 8;
        if (wrong.count++ == 0)
        {
            wrong.text = text;
            wrong.place = placeOfFault();
        }
        if (wrong.first.size() < kShown)
            wrong.first.push_back(number);
    }

    static std::string placeOfFault()
    {
#if defined(OKT_TEST_FILE_FAULTS)
        if (g_isFileFault)
            return FileFault::call() == nullptr ? " none" : std::string(" ") + FileFault::call();
#endif
        return AllocationFault::place();
    }

    void tell(std::string const &kind, std::size_t faults, Wrong const &wrong)
    {
        m_count.wrong += wrong.count;
        std::string numbers;
        for (std::size_t const number : wrong.first)
            numbers += " " + std::to_string(number);
        ADD_FAILURE() << m_scenario.name << ", " << kind << ": " << wrong.count << " of " << faults << " faults, n =" << numbers
                      << (wrong.first.size() < wrong.count ? " ..." : "") << "\n  " << wrong.text
                      << "\n  what failed first in the first of them:" << wrong.place;
    }

    ShortageScenario const &m_scenario;
    std::size_t m_allocations = 0;
    std::vector<std::size_t> m_sizes;
    ShortageCount m_count;
};

ShortageCount g_total;

/// Prints how many faults a program has tried.
class Totals : public testing::Environment
{
public:
    void TearDown() override
    {
        if (g_total.faults > 0)
            std::printf("[  FAULTS  ] %zu tried, %zu of them struck, %zu ended wrongly\n", g_total.faults, g_total.struck,
                        g_total.wrong);
    }
};

testing::Environment *const g_totals = testing::AddGlobalTestEnvironment(new Totals);
} // namespace

bool isFileFault() { return g_isFileFault; }

void giveUpKept()
{
    OktArena::forgetSpare();
    giveUpSpareBlock();
#if !defined(_WIN32)
    xmlResetLastError();
#endif
    OKTScratchText text;
    text.text() = CString();
}

ReportCounter::ReportCounter()
{
    g_reports = 0;
    g_reportLength = 0;
    OktSetWarningPresenter(countReport);
}

ReportCounter::~ReportCounter() { OktSetWarningPresenter(nullptr); }

std::size_t ReportCounter::count() { return g_reports; }

std::string ReportCounter::lastText() { return CString(g_report, static_cast<int>(g_reportLength)).ToUtf8(); }

ShortageCount forEveryFault(ShortageScenario const &scenario)
{
    noteObjectTables();
    makeFirstReport();
    Tries tries(scenario);
    tries.all();
    ShortageCount const count = tries.count();
    g_total.faults += count.faults;
    g_total.struck += count.struck;
    g_total.wrong += count.wrong;
    EXPECT_TRUE(count.struck > 0 || scenario.mayTakeNone || !AllocationFault::reachesCAllocator())
        << scenario.name << ": nothing failed";
    return count;
}
