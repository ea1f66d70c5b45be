// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace
{

namespace fs = std::filesystem;

TEST(OktFind, NamesTextsValuesIdsClasses)
{
    EXPECT_EQ(runOkt({"find", "hook", golden("stirrup.okt")}).out,
              golden("stirrup.okt") +
                  ":byte 2284: OKTDbParameter {9B38EB57-18BC-4FFE-8B5E-E30D431643D5} \"Hook length 1\": name "
                  "\"Hook length 1\"\n" +
                  golden("stirrup.okt") +
                  ":byte 7216: OKTDbParameter {915033D3-D6CA-4D35-914D-53F8E62853E7} \"Hook angle 1\": name "
                  "\"Hook angle 1\"\n" +
                  golden("stirrup.okt") +
                  ":byte 8130: OKTDbParameter {AB590DF0-295F-4FB3-8E7F-D0BF4183D9A3} \"Hook 1\": name \"Hook 1\"\n");
    EXPECT_EQ(runOkt({"find", "HOOK*", golden("stirrup.okt"), "--name"}).out,
              golden("stirrup.okt") +
                  ":byte 2284: OKTDbParameter {9B38EB57-18BC-4FFE-8B5E-E30D431643D5} \"Hook length 1\": name "
                  "\"Hook length 1\"\n" +
                  golden("stirrup.okt") +
                  ":byte 7216: OKTDbParameter {915033D3-D6CA-4D35-914D-53F8E62853E7} \"Hook angle 1\": name "
                  "\"Hook angle 1\"\n" +
                  golden("stirrup.okt") +
                  ":byte 8130: OKTDbParameter {AB590DF0-295F-4FB3-8E7F-D0BF4183D9A3} \"Hook 1\": name \"Hook 1\"\n");
    EXPECT_EQ(runOkt({"find", "120", golden("stirrup.okt"), "--value"}).out,
              golden("stirrup.okt") +
                  ":byte 2318: OKTDbParameter {9B38EB57-18BC-4FFE-8B5E-E30D431643D5} \"Hook length 1\": value "
                  "120\n");
    EXPECT_EQ(runOkt({"find", "5fcbf09c1daf", golden("stirrup.okt")}).out,
              golden("stirrup.okt") + ":byte 2612: OKTDbRelation {CD9D555D-99DF-446C-8760-5FCBF09C1DAF}: id\n");
    EXPECT_EQ(runOkt({"find", "groupcat", golden("stirrup.okt")}).out,
              golden("stirrup.okt") + ":byte 1026: OKTDbGroupCategory {FD73AB2E-1A82-49FF-8881-F7D70F960A36}: class\n");
    EXPECT_EQ(runOkt({"find", "closed", golden("stirrup.okt")}).out,
              golden("stirrup.okt") +
                  ":byte 251: OKTDbPool {ED7D40B5-8AF9-4025-8681-00D526EDB9C2} \"Stirrup, closed, 135 degrees\": "
                  "name\n");
    EXPECT_EQ(runOkt({"find", "Diameter", golden("stirrup.okt"), "--class", "OKTDbCategory"}).exitCode, 1);
    EXPECT_EQ(runOkt({"find", "b\xC3\x9CGEL", golden("stirrup.okt"), "-l"}).out, golden("stirrup.okt") + "\n");
}

TEST(OktFind, FoldersWithAllBelowThem)
{
    ScratchFolder const folder;
    std::string const root = folder.path("").ToUtf8();
    fs::create_directories(root + "/a/b");
    fs::copy_file(golden("stirrup.okt"), root + "/a/b/x.OKT");
    fs::copy_file(golden("stirrup.okt"), root + "/a/pool"); // known by how it begins
    std::ofstream(root + "/a/hook.txt") << "hook";          // no pool file
    fs::copy_file(golden("truncated.okt"), root + "/broken.okt");
    ProcessResult const result = runOkt({"find", "hook", root, "--files"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, root + "a/b/x.OKT\n" + root + "a/pool\n");
    EXPECT_EQ(result.err,
              "okt: " + root + "broken.okt:byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
}

TEST(OktFind, ExitCodes)
{
    EXPECT_EQ(runOkt({"find", "hook", golden("stirrup.okt")}).exitCode, 0);
    ProcessResult const nothing = runOkt({"find", "no such text", golden("stirrup.okt")});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_EQ(nothing.out + nothing.err, "");
    ProcessResult const unread = runOkt({"find", "no such text", "none.okt", golden("stirrup.okt")});
    EXPECT_EQ(unread.exitCode, 2);
    EXPECT_EQ(unread.err, "okt: none.okt: there is no such file\n");
    EXPECT_EQ(runOkt({"find", "hook", "none.okt", golden("stirrup.okt")}).exitCode, 0);
    EXPECT_EQ(runOkt({"find", "hook"}).exitCode, 2);
    EXPECT_EQ(runOkt({"find", "hook", golden("stirrup.okt"), "--name", "--value"}).exitCode, 2);
}

} // namespace
