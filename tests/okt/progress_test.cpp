// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/progress.h>

#include <gtest/gtest.h>

namespace
{

using namespace okt;

TEST(OktProgress, BytesText_Sizes_PowersOfThousand)
{
    EXPECT_EQ(bytesText(0), "0 bytes");
    EXPECT_EQ(bytesText(1), "1 byte");
    EXPECT_EQ(bytesText(999), "999 bytes");
    EXPECT_EQ(bytesText(1500), "1.5 kB");
    EXPECT_EQ(bytesText(34'000'000), "34 MB");
    EXPECT_EQ(bytesText(340'000'000), "340 MB");
    EXPECT_EQ(bytesText(999'499), "999 kB");
    EXPECT_EQ(bytesText(999'500), "1 MB");
    EXPECT_EQ(bytesText(1'200'000'000), "1.2 GB");
}

TEST(OktProgress, ProgressLine_PartOfBytes_PartObjectsAndTimeLeft)
{
    EXPECT_EQ(progressLine("link.okt", 250'000'000, 1'000'000'000, "", 12345, 4),
              "link.okt: 25 % of 1 GB, 12345 objects, 12 s left");
    EXPECT_EQ(progressLine("link.okt", 10, 1000, "", 0, 2), "link.okt: 1 % of 1 kB, 3 min 18 s left");
    EXPECT_EQ(progressLine("link.okt", 1, 10000, "", 0, 2), "link.okt: 0 % of 10 kB, 5 h 33 min left");
}

TEST(OktProgress, ProgressLine_NothingDoneYet_NoTime)
{
    EXPECT_EQ(progressLine("link.okt", 0, 1000, "", 0, 2), "link.okt: 0 % of 1 kB");
}

TEST(OktProgress, ProgressLine_TotalNotKnown_WhatIsDone)
{
    EXPECT_EQ(progressLine("standard input", 2000, 0, "", 7, 2), "standard input: 2 kB, 7 objects");
}

TEST(OktProgress, ProgressLine_MoreThanTheTotal_TakenAsAll)
{
    EXPECT_EQ(progressLine("link.okt", 2000, 1000, "", 0, 2), "link.okt: 100 % of 1 kB, 1 s left");
}

TEST(OktProgress, ProgressLine_SeveralPasses_BytesOfTheFileAndTimeOfAllPasses)
{
    EXPECT_EQ(progressLine("link.okt", 500, 1000, "", 7, 2, {1, 2}),
              "link.okt: 50 % of 1 kB, pass 1 of 2, 7 objects, 6 s left");
    EXPECT_EQ(progressLine("link.okt", 0, 1000, "", 0, 4, {2, 2}), "link.okt: 0 % of 1 kB, pass 2 of 2, 4 s left");
    EXPECT_EQ(progressLine("link.okt", 500, 1000, "", 1, 6, {2, 2}), "link.okt: 50 % of 1 kB, pass 2 of 2, 1 object, 2 s left");
    EXPECT_EQ(progressLine("link.okt", 1000, 1000, "", 0, 6, {2, 2}), "link.okt: 100 % of 1 kB, pass 2 of 2, 1 s left");
}

TEST(OktProgress, ProgressLine_OtherPieces_Counted)
{
    EXPECT_EQ(progressLine("out", 23, 46, "template", 0, 3), "out: 50 % of 46 templates, 3 s left");
    EXPECT_EQ(progressLine("out", 0, 1, "template", 0, 3), "out: 0 % of 1 template");
    EXPECT_EQ(progressLine("out", 1, 0, "template", 0, 3), "out: 1 template");
}

TEST(OktProgress, WaitingLine_SizeAndTime)
{
    EXPECT_EQ(waitingLine("link.okt", 1'200'000'000, 12), "link.okt: 1.2 GB, 12 s so far");
    EXPECT_EQ(waitingLine("report", 0, 62), "report: 1 min 2 s so far");
}

} // namespace
