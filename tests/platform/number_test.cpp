// SPDX-License-Identifier: MIT
#include <oktplatform/oktnumber.h>

#include "support/numericlocale.h"
#include "support/units.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <string>

TEST(Wtof, Table)
{
    struct Row
    {
        char16_t const *text;
        double value;
    };
    constexpr Row kRows[] = {
        {u"", 0.0},
        {u"?", 0.0},
        {u".", 0.0},
        {u"1.2.3", 1.2},
        {u"2?", 2.0},
        {u"100", 100.0},
        {u"-1.5", -1.5},
        {u"+1.5", 1.5},
        {u".5", 0.5},
        {u"5.", 5.0},
        {u"-.5x", -0.5},
        {u"1e3", 1000.0},
        {u"1E-2", 0.01},
        {u"1e+2z", 100.0},
        {u"1e", 1.0},
        {u"1e+", 1.0},
        {u"1ex", 1.0},
        {u"e3", 0.0},
        {u".e3", 0.0},
        {u"  \t\n7", 7.0},
        {u"\u00A0\u20037", 7.0},
        {u"- 1", 0.0},
        {u"--1", 0.0},
        {u"+", 0.0},
        {u"0x10", 0.0},
        {u"inf", 0.0},
        {u"-infinity", 0.0},
        {u"nan", 0.0},
        {u"1,5", 1.0},
        {u"1 000", 1.0},
        {u"0.1", 0.1},
        {u"0.10000000000000001", 0.1},
        {u"9007199254740993", 9007199254740992.0},
        {u"4.9406564584124654e-324", 4.9406564584124654e-324},
        {u"1e-400", 0.0},
        {u"1.7976931348623157e308", DBL_MAX},
        {u"1e400", HUGE_VAL},
        {u"-1e400", -HUGE_VAL},
        {u"\u0661", 0.0}, // digits of another script are none
        {u"1\uFFFF", 1.0},
        {u"1p3", 1.0},
#if defined(_WIN32) // the runtime library takes this letter for an exponent too
        {u"1d3", 1000.0},
#else
        {u"1d3", 1.0},
#endif
    };
    for (Row const &row : kRows)
        EXPECT_EQ(_wtof(row.text), row.value) << CString(row.text).ToUtf8();
    EXPECT_TRUE(std::signbit(_wtof(u"-0")));
    EXPECT_EQ(_wtof(nullptr), 0.0);
}

TEST(Wtof, LongText_IsReadToItsEnd)
{
    std::u16string const zeros(5000, u'0');
    EXPECT_EQ(_wtof((zeros + u"12.5").c_str()), 12.5);
    EXPECT_EQ(_wtof((u"0." + zeros + u"1e5001").c_str()), 1.0);
    EXPECT_EQ(_wtof((u"1." + zeros + u"x").c_str()), 1.0);
    std::u16string const nines(400, u'9');
    EXPECT_EQ(_wtof(nines.c_str()), HUGE_VAL);
}

TEST(Wtof, CommaLocale_ReadsTheComma)
{
    NumericLocale const locale(NumericLocale::kComma);
    ASSERT_TRUE(locale.isThere());
    EXPECT_EQ(_wtof(u"1,5"), 1.5);
    EXPECT_EQ(_wtof(u"-,5"), -0.5);
    EXPECT_EQ(_wtof(u"1.5"), 1.0);
    EXPECT_EQ(_wtof(u"1.000,5"), 1.0);
    EXPECT_EQ(_wtof(u"1,2,3"), 1.2);
    EXPECT_EQ(_wtof(u","), 0.0);
}

TEST(Wtof, WhatFormatWrote_ComesBack)
{
    for (char const *const name : {"C", NumericLocale::kComma})
    {
        NumericLocale const locale(name);
        ASSERT_TRUE(locale.isThere()) << name;
        for (double const value : {0.1, 1.0 / 3, -2.5e-7, 123456.789, 1e15})
        {
            CString text;
            text.Format(u"%.25f", value);
            EXPECT_EQ(_wtof(text.GetString()), value) << text.ToUtf8();
        }
    }
}

TEST(Wtol, Table)
{
    struct Row
    {
        char16_t const *text;
        long value;
    };
    constexpr Row kRows[] = {
        {u"", 0},
        {u"0", 0},
        {u"12", 12},
        {u"-12", -12},
        {u"+12", 12},
        {u" \t12x", 12},
        {u"1.9", 1},
        {u"x1", 0},
        {u"- 1", 0},
        {u"007", 7},
        {u"0x10", 0},
        {u"2147483647", 2147483647},
        {u"2147483648", 2147483647},
        {u"-2147483648", -2147483647L - 1},
        {u"-2147483649", -2147483647L - 1},
        {u"99999999999999999999999", 2147483647},
        {u"-99999999999999999999999", -2147483647L - 1},
    };
    for (Row const &row : kRows)
        EXPECT_EQ(_wtol(row.text), row.value) << CString(row.text).ToUtf8();
    EXPECT_EQ(_wtol(nullptr), 0);
}

#if !defined(_WIN32)
TEST(Wcstoul, Table)
{
    struct Row
    {
        char16_t const *text;
        unsigned long value;
        int used;
    };
    constexpr Row kRows[] = {
        {u"", 0, 0},
        {u"x", 0, 0},
        {u"  +", 0, 0},
        {u"12", 12, 2},
        {u" +12x", 12, 4},
        {u"4294967295", 4294967295u, 10},
        {u"4294967296", 4294967295u, 10},
        {u"99999999999999999999999", 4294967295u, 23},
        {u"-1", 4294967295u, 2},
        {u"-4294967295", 1, 11},
        {u"-4294967296", 4294967295u, 11},
    };
    for (Row const &row : kRows)
    {
        char16_t *end = nullptr;
        EXPECT_EQ(wcstoul(row.text, &end, 10), row.value) << CString(row.text).ToUtf8();
        EXPECT_EQ(end - row.text, row.used) << CString(row.text).ToUtf8();
        EXPECT_EQ(wcstoul(row.text, nullptr, 10), row.value);
    }
}
#endif
