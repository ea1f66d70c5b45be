// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <oktdatabase/oktbytefiler.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

class OktDump : public FolderTest
{
};

/// Where the records of a sound file begin. The name and version behind a frame's begin, and the number behind a section's, stand
/// with it.
std::vector<long> recordsOf(std::string const &bytes)
{
    auto const number = [&bytes](std::size_t at, int size) {
        std::size_t value = 0;
        for (int i = size - 1; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + static_cast<std::size_t>(i)));
        return value;
    };
    std::vector<long> begins;
    for (std::size_t at = 0; at < bytes.size();)
    {
        begins.push_back(static_cast<long>(at));
        switch (bytes[at])
        {
        case VarBool: at += 2; break;
        case VarShort: at += 3; break;
        case VarLong: at += 5; break;
        case VarDouble: at += 9; break;
        case VarWideString: at += 3 + 2 * number(at + 1, 2); break;
        case VarAnsiString: at += 3 + number(at + 1, 2); break;
        case VarClassBegin: at += 4 + number(at + 2, 2) + 5; break;
        case VarMembersBegin: at += 6; break;
        case VarByteArray: at += 5 + number(at + 1, 4); break;
        default: at += 1; break;
        }
    }
    return begins;
}

TEST_F(OktDump, WholeFile_ALineForEveryRecord)
{
    for (char const *const name : {"every-class.okt", "long-strings.okt", "newer-sections.okt", "pictures.okt", "stirrup.okt"})
    {
        ProcessResult const result = runOkt({"dump", golden(name)});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        std::vector<long> offsets;
        for (std::size_t at = 0; at < result.out.size(); at = result.out.find('\n', at) + 1)
            offsets.push_back(std::stol(result.out.substr(at, 10)));
        EXPECT_EQ(offsets, recordsOf(contents(golden(name)))) << name;
    }
}

TEST_F(OktDump, OneObject)
{
    ProcessResult const result =
        runOkt({"dump", golden("every-class.okt"), "--object", "{0697ab9e-59af-4b24-90a9-1e82488ce471}"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "      1429  06 05 0D 00 4F 4B 54 44 62 52 65 6C ...  class \"OKTDbRelation\" version 1\n"
                          "      1451  06 05 0B 00 4F 4B 54 44 62 4F 62 6A ...    class \"OKTDbObject\" version 1\n"
                          "      1471  08 02 01 00 00 00                            section 1\n"
                          "      1477  06 05 0B 00 4F 4B 54 4F 62 6A 65 63 ...        class \"OKTObjectId\" version 1 "
                          "{0697AB9E-59AF-4B24-90A9-1E82488CE471}\n"
                          "      1497  08 02 01 00 00 00                                section 1\n"
                          "      1503  02 9E AB 97 06                                     long 110603166\n"
                          "      1508  02 AF 59 24 4B                                     long 1260673455\n"
                          "      1513  02 90 A9 1E 82                                     long -2111919728\n"
                          "      1518  02 48 8C E4 71                                     long 1910803528\n"
                          "      1523  09                                               end of section\n"
                          "      1524  07                                             end of class\n"
                          "      1525  09                                           end of section\n"
                          "      1526  07                                         end of class\n"
                          "      1527  08 02 01 00 00 00                          section 1\n"
                          "      1533  09                                         end of section\n"
                          "      1534  07                                       end of class\n");
}

TEST_F(OktDump, At_AFrameOrTheRestOfASection)
{
    EXPECT_EQ(runOkt({"dump", golden("truncated.okt"), "--at", "602"}).out,
              "       602  06 05 0A 00 4F 4B 54 56 61 72 69 61 ...  class \"OKTVariant\" version 1\n"
              "       621  08 02 01 00 00 00                          section 1\n"
              "       627  02 05 00 00 00                               long 5\n"
              "       632  03 00 00 00 00 00 00 69 40                   double 200\n"
              "       641  09                                         end of section\n"
              "       642  07                                       end of class\n");
    EXPECT_EQ(runOkt({"dump", golden("truncated.okt"), "--at", "744"}).out,
              "       744  02 00 00 00 00                           long 0\n"
              "       749  04 00 00                                 string16 \"\"\n"
              "       752  09                                       end of section\n");
    ProcessResult const result = runOkt({"dump", golden("stirrup.okt"), "--at", "600"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + golden("stirrup.okt") + ":byte 600: no record is here\n");
    EXPECT_EQ(runOkt({"dump", golden("stirrup.okt"), "--at", "99999"}).err,
              "okt: " + golden("stirrup.okt") + ":byte 99999: the file ends at byte 9311\n");
}

TEST_F(OktDump, Damaged_ToldAndGoneOnAtTheNextObject)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    std::string const damaged = put("damaged.okt", bytes);
    ProcessResult const result = runOkt({"dump", damaged});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + damaged + ":byte 581: damaged inside an OKTDbParameter that begins at byte 563\n");
    EXPECT_NE(result.out.find("       581  ---- damaged inside an OKTDbParameter that begins at byte 563\n"
                              "       563  06 05 0E 00 4F 4B 54 44 62 50 61 72 ...  463 bytes passed over\n"
                              "      1026  06 05 12 00 4F 4B 54 44 62 47 72 6F ...  class \"OKTDbGroupCategory\" version 1\n"),
              std::string::npos);
    bytes = contents(golden("stirrup.okt"));
    bytes[30] = 11;
    ProcessResult const header = runOkt({"dump", put("header.okt", bytes)});
    EXPECT_NE(header.out.find("        30  ---- the header is damaged here\n"
                              "        29  06 0B 0B 00 4F 4B 54 4F 62 6A 65 63 ...  534 bytes passed over\n"
                              "       563  06 05 0E 00 4F 4B 54 44 62 50 61 72 ...  class \"OKTDbParameter\" version 2\n"),
              std::string::npos);
}

TEST_F(OktDump, Refused)
{
    EXPECT_EQ(runOkt({"dump", golden("stirrup.okt"), "--object", "12"}).exitCode, 2);
    EXPECT_EQ(runOkt({"dump", golden("stirrup.okt"), "--at", "-5"}).exitCode, 2);
    EXPECT_EQ(
        runOkt({"dump", golden("stirrup.okt"), "--at", "5", "--object", "{0697ab9e-59af-4b24-90a9-1e82488ce471}"}).exitCode, 2);
    ProcessResult const result = runOkt({"dump", golden("stirrup.okt"), "--object", "{0697ab9e-59af-4b24-90a9-1e82488ce471}"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + golden("stirrup.okt") + ": there is no object {0697AB9E-59AF-4B24-90A9-1E82488CE471}\n");
}

} // namespace
