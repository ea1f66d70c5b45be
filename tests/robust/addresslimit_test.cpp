// SPDX-License-Identifier: MIT
#include "support/expectedleak.h"

// A sanitizer takes address space without bound, and other systems tell and bound it in other ways.
#if defined(__linux__) && !defined(OKT_TESTS_UNDER_LEAK_CHECK)

#include "support/allclasses.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <memory>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// A large pool under a real bound on the address space, as a system has it that is short of memory: in a process of its own for each
// bound, from none that is left up to as much as the operation needs.

namespace
{
constexpr int kParameters = 100'000;
constexpr int kSteps = 12;
constexpr std::size_t kMegabyte = 1 << 20;

std::size_t addressSpace()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// The pages of the stack that an operation may come to need are there.
__attribute__((noinline)) void touchStack()
{
    char volatile room[512 * 1024];
    for (std::size_t i = 0; i < sizeof room; i += 1024)
        room[i] = 1;
}

void setLimit(rlim_t soft)
{
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = soft;
    setrlimit(RLIMIT_AS, &limit);
}

/// What a child process comes to: 't' or 'f' for its answer, then what is wrong.
template <typename Perform, typename Judge> std::string inChild(std::size_t room, Perform perform, Judge judge)
{
    int ends[2];
    if (pipe(ends) != 0)
        return "?no pipe";
    pid_t const child = fork();
    if (child == 0)
    {
        ReportCounter const reports;
        touchStack();
        giveUpKept();
        malloc_trim(0);
        setLimit(addressSpace() + room);
        char answer = 'f';
        char const *escaped = "";
        try
        {
            answer = perform() ? 't' : 'f';
        }
        catch (...)
        {
            escaped = "an exception leaves it; ";
        }
        setLimit(RLIM_INFINITY);
        std::string const text = answer + (escaped + judge(answer == 't'));
        ssize_t const sent = write(ends[1], text.data(), text.size());
        _exit(sent == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    char piece[256];
    for (ssize_t got; (got = read(ends[0], piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return "?the process ended by signal " + std::to_string(WTERMSIG(status));
    return text.empty() ? "?the process told nothing" : text;
}

/// `perform` answers true in the end, false below, and `judge` finds nothing wrong with either.
template <typename Perform, typename Judge> void underEveryLimit(char const *name, Perform perform, Judge judge)
{
    std::size_t enough = kMegabyte;
    while (enough < 4096 * kMegabyte && inChild(enough, perform, judge) != "t")
        enough *= 2;
    int refused = 0;
    for (int step = 0; step <= kSteps; ++step)
    {
        std::size_t const room = enough / kSteps * static_cast<std::size_t>(step);
        std::string const text = inChild(room, perform, judge);
        refused += text.front() == 'f' ? 1 : 0;
        EXPECT_EQ(text.substr(1), "") << name << ", RLIMIT_AS of " << room / 1024 << " KB more, answer " << text.front();
    }
    EXPECT_GE(refused, 3) << name << ": the bounds are too wide to be felt";
    EXPECT_LE(refused, kSteps) << name << ": no bound is wide enough";
}

// Both faster than a test of small files needs it.
std::string bytesOf(CString const &path)
{
    std::ifstream file(pathOf(path), std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void putBytes(CString const &path, std::string const &bytes)
{
    std::ofstream(pathOf(path), std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class ShortageLimit : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pool = new OKTDbPool;
        fillWithParameters(*s_pool, kParameters);
        s_image = new CByteArray(imageOf(*s_pool));
    }
    static void TearDownTestSuite()
    {
        delete s_pool;
        delete s_image;
    }

    static inline OKTDbPool *s_pool = nullptr;
    static inline CByteArray *s_image = nullptr;
};
} // namespace

TEST_F(ShortageLimit, SaveFiler_EveryLimit_FalseOrTheWholeImage)
{
    CByteArray image;
    IdMap translated;
    underEveryLimit(
        "saveFiler", [&] { return s_pool->saveFiler(image, translated); },
        [&](bool saved) -> std::string {
            if (saved ? image != *s_image : !image.IsEmpty())
                return "the image is another";
            return imageOf(*s_pool) == *s_image ? "" : "with memory back, another image is saved";
        });
}

TEST_F(ShortageLimit, WriteFile_EveryLimit_FalseOrTheWholeFile)
{
    ScratchFolder const folder;
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(s_pool->writeFile(path));
    std::string const whole = bytesOf(path);
    std::string const before(1000, '7');
    putBytes(path, before);
    underEveryLimit(
        "writeFile", [&] { return s_pool->writeFile(path); },
        [&](bool written) -> std::string {
            std::string const found = bytesOf(path);
            putBytes(path, before);
            if (written)
                return found == whole ? "" : "the file is not the pool's";
            return found == before || found == whole ? "" : "the old file is cut";
        });
}

TEST_F(ShortageLimit, LoadFiler_EveryLimit_FalseOrEveryObject)
{
    OKTDbPool pool;
    underEveryLimit(
        "loadFiler", [&] { return pool.loadFiler(*s_image); },
        [&](bool loaded) -> std::string {
            if (loaded)
                return imageOf(pool) == *s_image ? "" : "not every object is there";
            pool.eraseAllObjects();
            return pool.loadFiler(*s_image) && imageOf(pool) == *s_image ? "" : "with memory back, the image is not loaded";
        });
}

TEST_F(ShortageLimit, Clone_EveryLimit_NullOrTheWholePool)
{
    std::unique_ptr<OKTDbPool> copy;
    for (bool const translates : {false, true})
    {
        s_pool->setBoolTranslatedIds(translates);
        underEveryLimit(
            translates ? "clone, translating" : "clone",
            [&] {
                copy.reset(s_pool->clone());
                return copy != nullptr;
            },
            [&](bool cloned) -> std::string {
                if (!cloned)
                    return "";
                if (copy->objectCount() != kParameters || imageOf(*copy).GetSize() != s_image->GetSize())
                    return "not every object is there";
                return translates || imageOf(*copy) == *s_image ? "" : "the copy is another";
            });
    }
    s_pool->setBoolTranslatedIds(false);
}

#endif
