// SPDX-License-Identifier: MIT
#include "oktc/answers.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Checks and recovery through the C interface.

namespace
{
class CRecover : public FolderTest
{
protected:
    std::string damaged()
    {
        std::string bytes = contents(golden("stirrup.okt"));
        bytes[581] = 11; // no record
        return put("damaged.okt", bytes);
    }
};

std::int64_t sum(OktcReport report, std::int32_t which)
{
    std::int64_t number = -1;
    EXPECT_OK(oktcReportSum(report, which, &number));
    return number;
}

/// "role severity code offset message", one a line.
std::string outline(OktcReport report)
{
    std::uint64_t count = 0;
    EXPECT_OK(oktcReportCount(report, &count));
    std::string text;
    for (std::uint64_t i = 0; i < count; ++i)
    {
        std::int32_t role = -1;
        std::int32_t severity = -1;
        std::int64_t offset = -1;
        EXPECT_OK(oktcFindingRole(report, i, &role));
        EXPECT_OK(oktcFindingSeverity(report, i, &severity));
        EXPECT_OK(oktcFindingOffset(report, i, &offset));
        auto const code = [&](char **out, std::uint64_t *length) { return oktcFindingCode(report, i, out, length); };
        auto const message = [&](char **out, std::uint64_t *length) { return oktcFindingMessage(report, i, out, length); };
        text += std::to_string(role) + " " + std::to_string(severity) + " " + textOf(code) + " " + std::to_string(offset) +
                " " + textOf(message) + "\n";
    }
    return text;
}

std::int32_t OKTC_CALL endsAtOnce(void *context, std::uint64_t, std::uint64_t)
{
    ++*static_cast<int *>(context);
    return 1;
}

struct Told
{
    std::uint64_t last = 0;
    std::uint64_t total = 0;
    bool isGrowing = true;
};

std::int32_t OKTC_CALL notes(void *context, std::uint64_t done, std::uint64_t total)
{
    auto &told = *static_cast<Told *>(context);
    told.isGrowing = told.isGrowing && done >= told.last && done <= total;
    told.last = done;
    told.total = total;
    return 0;
}
} // namespace

TEST(CVerify, GoldenFile_FindingsAndSums)
{
    OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    EXPECT_EQ(
        outline(report),
        "0 1 missing 388 the header names {5926E432-8963-4BA0-9B8A-63BD13355F3E} for the sketch, which is not in the file\n"
        "0 2 image-not-judged 3571 the image of this picture is not judged: it has no known format\n");
    EXPECT_EQ(sum(report, OKTC_OBJECTS), 21);
    EXPECT_EQ(sum(report, OKTC_ERRORS), 0);
    EXPECT_EQ(sum(report, OKTC_WARNINGS), 1);
    EXPECT_EQ(sum(report, OKTC_INFOS), 1);
    TestId id;
    EXPECT_OK(oktcFindingNamed(report, 0, id.bytes));
    EXPECT_EQ(id.text(), "{5926E432-8963-4BA0-9B8A-63BD13355F3E}");
    EXPECT_EQ(oktcFindingObject(report, 0, id.bytes), OKTC_NOT_FOUND);
    EXPECT_EQ(oktcFindingNamed(report, 1, id.bytes), OKTC_NOT_FOUND);
    EXPECT_OK(oktcFindingObject(report, 1, id.bytes));
    EXPECT_EQ(id.text(), "{727EC297-1483-468D-812D-A07952424387}");
    std::int64_t number = 0;
    EXPECT_EQ(oktcReportSum(report, OKTC_LOST, &number), OKTC_NOT_FOUND);
    EXPECT_EQ(oktcReportSum(report, 0, &number), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcReportSum(report, 12, &number), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcFindingOffset(report, 2, &number), OKTC_BAD_ARGUMENT);
    EXPECT_OK(oktcReportClose(report));
}

TEST(CVerify, BytesAndFile_TheSame)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    OktcReport ofFile = 0;
    OktcReport ofBytes = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &ofFile));
    ASSERT_OK(oktcVerifyImage(bytes.data(), bytes.size(), nullptr, nullptr, &ofBytes));
    EXPECT_EQ(outline(ofBytes), outline(ofFile));
    EXPECT_OK(oktcReportClose(ofFile));
    EXPECT_OK(oktcReportClose(ofBytes));
    EXPECT_EQ(oktcVerifyImage("", 0x80000000, nullptr, nullptr, &ofBytes), OKTC_TOO_LARGE);
    EXPECT_EQ(oktcVerify(golden("none").c_str(), nullptr, nullptr, &ofBytes), OKTC_FILE);
    EXPECT_EQ(ofBytes, 0u);
}

TEST(CVerify, Progress_GrowsToTheEndOrEndsIt)
{
    Told told;
    OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("pictures.okt").c_str(), notes, &told, &report));
    EXPECT_OK(oktcReportClose(report));
    EXPECT_TRUE(told.isGrowing);
    EXPECT_EQ(told.total, 2u * 399379);
    int calls = 0;
    EXPECT_EQ(oktcVerify(golden("pictures.okt").c_str(), endsAtOnce, &calls, &report), OKTC_CANCELLED);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(report, 0u);
}

TEST_F(CRecover, OneObjectDamaged_TheOthersInANewFile)
{
    OktcReport report = 0;
    ASSERT_OK(oktcRecover(damaged().c_str(), path("good.okt").c_str(), nullptr, nullptr, &report));
    EXPECT_EQ(sum(report, OKTC_RESCUED), 20);
    EXPECT_EQ(sum(report, OKTC_DOUBTFUL), 0);
    EXPECT_EQ(sum(report, OKTC_LOST), 1);
    EXPECT_EQ(sum(report, OKTC_MISSING_IDS), 2);
    EXPECT_EQ(sum(report, OKTC_LEFT_OUT), 0);
    EXPECT_EQ(sum(report, OKTC_UNKNOWN_OBJECTS), 0);
    EXPECT_EQ(sum(report, OKTC_CLEAN), 0);
    EXPECT_EQ(sum(report, OKTC_OBJECTS), 20);
    std::string const told = outline(report);
    EXPECT_EQ(told.substr(0, told.find('\n')), "1 0 object 581 damaged inside an OKTDbParameter that begins at byte 563");
    EXPECT_NE(told.find("\n5 "), std::string::npos) << told;
    EXPECT_OK(oktcReportClose(report));
    EXPECT_EQ(contents(path("good.okt")).size(), contents(golden("stirrup.okt")).size() - 463);
    TestPool pool(opened(path("good.okt")));
    EXPECT_EQ(pool.count(), 20u);
}

TEST_F(CRecover, Refusals_NoFileAndNoReport)
{
    OktcReport report = 4;
    std::string const file = damaged();
    EXPECT_EQ(oktcRecover(file.c_str(), file.c_str(), nullptr, nullptr, &report), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(report, 0u);
    EXPECT_EQ(contents(file).size(), 9311u);
    EXPECT_EQ(oktcRecover(path("none").c_str(), path("new").c_str(), nullptr, nullptr, &report), OKTC_FILE);
    EXPECT_EQ(
        oktcRecover(put("text", std::string("no pool file at all")).c_str(), path("new").c_str(), nullptr, nullptr, &report),
        OKTC_NOTHING);
    int calls = 0;
    EXPECT_EQ(oktcRecover(file.c_str(), path("new").c_str(), endsAtOnce, &calls, &report), OKTC_CANCELLED);
    EXPECT_EQ(oktcRecover(file.c_str(), path("no/folder").c_str(), nullptr, nullptr, &report), OKTC_FILE);
    EXPECT_FALSE(fileExists(CString::FromUtf8(path("new"))));
    EXPECT_EQ(report, 0u);
    // A file of that name is replaced only by a whole one.
    put("old", std::string("old"));
    EXPECT_EQ(oktcRecover(path("text").c_str(), path("old").c_str(), nullptr, nullptr, &report), OKTC_NOTHING);
    EXPECT_EQ(contents(path("old")), "old");
    EXPECT_OK(oktcRecover(file.c_str(), path("old").c_str(), nullptr, nullptr, &report));
    EXPECT_EQ(contents(path("old")).size(), 8848u);
    EXPECT_OK(oktcReportClose(report));
}
