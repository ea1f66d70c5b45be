// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"

#include <oktformat/failure.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <oktinspect/reportcollector.h>
#include <oktinspect/verifier.h>

#include <oktdatabase/oktcrashhandler.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

// Memory that runs out, and disks that fail, while files are verified and recovered: std::bad_alloc or Failure, or the whole answer.
// What is claimed of a file is never a matter of the memory of who looks at it.

namespace
{
using namespace okt;

constexpr std::size_t kMost = 200;
constexpr int kMayLose = 1000; // quirk 18, once for each object that the library is to read

/// A damaged file: one byte of an object in the middle.
CByteArray damaged(CByteArray const &image)
{
    CByteArray bytes(image);
    bytes.SetAt(bytes.GetSize() / 2, static_cast<BYTE>(bytes.GetAt(bytes.GetSize() / 2) ^ 0xFF));
    return bytes;
}

/// All that verify says.
std::string said(ByteSource &source)
{
    std::string text;
    for (Finding const &finding : verify(source).findings)
        text += std::to_string(finding.offset) + " " + sentenceOf(finding) + "\n";
    return text + "end";
}

/// The new file, and what is said of it.
std::string rescued(ByteSource &source)
{
    std::string bytes;
    Recovered const recovered = recover(source, [&](std::string_view piece) { bytes += piece; });
    return bytes + "\n" + std::to_string(recovered.objects.size()) + " objects, " + std::to_string(recovered.losses.size()) +
           " losses, " + std::to_string(recovered.check.doubts.size()) + " doubts";
}

/// The text of collected reports stays for the next, and is no block that is lost.
void makeRoomForReports()
{
    ReportCollector const collector;
    for (int i = 0; i < 100; ++i)
        OKTCrashHandler(L"\\a source with a name that is rather long", i);
}

template <typename Look> void lookUnderFaults(char const *name, CByteArray const &bytes, Look look)
{
    ScratchFolder const folder;
    std::filesystem::path const path = pathOf(folder.put("pool.okt", bytes));
    std::string const whole = look(*openSource(path));
    ASSERT_EQ(look(*openSource(path)), whole);
    makeRoomForReports();
    std::optional<std::string> found;
    forEveryFault({
        .name = name,
        .prepare = [&] { found.reset(); },
        .perform =
            [&] {
                try
                {
                    found = look(*openSource(path));
                }
                catch (std::bad_alloc const &)
                {
                }
                catch (Failure const &)
                {
                }
            },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (found && *found != whole)
                wrong = "another answer";
            else if (!found && !struck)
                wrong = "refused without cause";
            found.reset();
            return wrong.empty() && look(*openSource(path)) != whole ? "with memory back, another answer" : wrong;
        },
        .mayLose = kMayLose,
        .losesWithMemory = true,
        .usesFiles = true,
        .most = kMost,
    });
}
} // namespace

TEST(ShortageInspect, Verify_SoundFileAndFaultsAllOver_TheSameAnswerOrNone)
{
    AllClassesPool source(PoolSize::Small);
    lookUnderFaults("verify", source.image(), said);
}

TEST(ShortageInspect, Verify_DamagedFileAndFaultsAllOver_TheSameAnswerOrNone)
{
    AllClassesPool source(PoolSize::Small);
    lookUnderFaults("verify of a damaged file", damaged(source.image()), said);
}

TEST(ShortageInspect, Recover_DamagedFileAndFaultsAllOver_TheSameFileOrNone)
{
    AllClassesPool source(PoolSize::Small);
    lookUnderFaults("recover", damaged(source.image()), rescued);
}
