// SPDX-License-Identifier: MIT
// What reads real numbers where the standard library cannot, held against what each case must give.

#include <oktformat/readnumber.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace
{
struct Read
{
    double value = -1;
    std::ptrdiff_t length = 0;
    std::errc error = std::errc();
};

Read byStream(std::string_view text, std::chars_format format = std::chars_format::general)
{
    Read read;
    std::from_chars_result const result = okt::readRealByStream(text.data(), text.data() + text.size(), read.value, format);
    read.length = result.ptr - text.data();
    read.error = result.ec;
    return read;
}

TEST(ReadNumber, NumberByStream_LongestOneFromTheStart)
{
    struct Case
    {
        std::string_view text;
        double value;
        std::ptrdiff_t length;
    };
    for (Case const &one :
         {Case{"0", 0, 1}, Case{"12.5", 12.5, 4}, Case{"-0.1x", -0.1, 4}, Case{".5", 0.5, 2}, Case{"5.", 5, 2},
          Case{"1e3", 1000, 3}, Case{"1E-2,", 0.01, 4}, Case{"1e", 1, 1}, Case{"2e+", 2, 1}, Case{"1,5", 1, 1},
          Case{"0.30000000000000004", 0.30000000000000004, 19}, Case{"1.7976931348623157e308", 1.7976931348623157e308, 22}})
    {
        Read const read = byStream(one.text);
        EXPECT_EQ(read.error, std::errc()) << one.text;
        EXPECT_EQ(read.value, one.value) << one.text;
        EXPECT_EQ(read.length, one.length) << one.text;
    }
}

TEST(ReadNumber, FixedFormByStream_NoExponent)
{
    Read const read = byStream("2E5", std::chars_format::fixed);
    EXPECT_EQ(read.value, 2);
    EXPECT_EQ(read.length, 1);
}

TEST(ReadNumber, WordsByStream_InfinityAndNoNumber)
{
    EXPECT_EQ(byStream("-INF").value, -HUGE_VAL);
    EXPECT_EQ(byStream("infinity").length, 8);
    EXPECT_TRUE(std::isnan(byStream("NaN").value));
}

TEST(ReadNumber, NoNumberByStream_InvalidAndValueKept)
{
    for (std::string_view const text : {"", "-", ".", "+1", " 1", "e5", "x"})
    {
        Read const read = byStream(text);
        EXPECT_EQ(read.error, std::errc::invalid_argument) << text;
        EXPECT_EQ(read.value, -1) << text;
        EXPECT_EQ(read.length, 0) << text;
    }
}

TEST(ReadNumber, TooLargeByStream_OutOfRangeBehindTheNumber)
{
    Read const read = byStream("1e999;");
    EXPECT_EQ(read.error, std::errc::result_out_of_range);
    EXPECT_EQ(read.value, -1);
    EXPECT_EQ(read.length, 5);
}
} // namespace
