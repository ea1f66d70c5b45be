// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabaseutil.h>

#include "support/numericlocale.h"
#include "support/printers.h"
#include "support/units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace
{
CString converted(CString const &expression, double scale = 1.0)
{
    return OKTDatabaseUtil::convertExpresion(expression, scale);
}
} // namespace

struct ExpressionRow
{
    char const *expression;
    double scale;
    char const *result;
};

static void PrintTo(ExpressionRow const &row, std::ostream *out) { *out << '"' << row.expression << "\" x " << row.scale; }

class QuantityExpression : public ::testing::TestWithParam<ExpressionRow>
{
};

TEST_P(QuantityExpression, ConvertExpresion_Row_Normalised_Quirk65)
{
    EXPECT_EQ(converted(GetParam().expression, GetParam().scale), CString(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(
    Scaled, QuantityExpression,
    ::testing::Values(ExpressionRow{"2x100", 1.0, "2x100 "}, ExpressionRow{"2x100 ", 1.0, "2x100 "},
                      ExpressionRow{"3X150.5", 2.0, "3x301 "}, ExpressionRow{"2*1,5", 1.0, "2x1.5 "},
                      ExpressionRow{"?x200", 0.1, "?x20 "}, ExpressionRow{"2x100 3x200", 10.0, "2x1000 3x2000 "},
                      ExpressionRow{"1x500+2x250", 0.001, "1x0.5 2x0.25 "}, ExpressionRow{"2x0.12345", 1.0, "2x0.123 "},
                      ExpressionRow{"3x200 2x150", 1.0, "3x200 2x150 "}, ExpressionRow{"?x200 4x10", 2.0, "?x400 4x20 "},
                      ExpressionRow{"2x100", 0.0, "2x0 "}, ExpressionRow{"2x100", -1.0, "2x-100 "},
                      ExpressionRow{"2x.5", 1.0, "2x0.5 "}, ExpressionRow{"2x5.", 1.0, "2x5 "},
                      ExpressionRow{"007x0100", 1.0, "7x100 "}, ExpressionRow{"1x999999999999", 1.0, "1x999999999999 "},
                      ExpressionRow{"1x1000000", 1000000.0, "1x1000000000000 "}));

INSTANTIATE_TEST_SUITE_P(Malformed, QuantityExpression,
                         ::testing::Values(ExpressionRow{"12.5", 1.0, ""}, ExpressionRow{"", 1.0, ""},
                                           ExpressionRow{"x100", 1.0, "0x100 "}, ExpressionRow{"2x", 1.0, "2x0 "},
                                           ExpressionRow{"?x?", 1.0, "?x0 "}, ExpressionRow{"?2x10", 1.0, "0x10 "},
                                           ExpressionRow{"2.7x10", 1.0, "2x10 "}, ExpressionRow{"a2x10b", 1.0, "2x10 "},
                                           ExpressionRow{"2 x 100", 1.0, "0x0 "}, ExpressionRow{"2x-100", 1.0, "2x0 "},
                                           ExpressionRow{"2x3x4", 1.0, "2x3 0x4 "}, ExpressionRow{"2x0.0004", 1.0, "2x0 "}));

INSTANTIATE_TEST_SUITE_P(Edges, QuantityExpression,
                         ::testing::Values(ExpressionRow{"x", 1.0, "0x0 "}, ExpressionRow{"xx", 1.0, "0x0 0x0 "},
                                           ExpressionRow{"*X", 1.0, "0x0 0x0 "}, ExpressionRow{"2xx3", 1.0, "2x0 0x3 "},
                                           ExpressionRow{"2x3x4x5", 1.0, "2x3 0x4 0x5 "}, ExpressionRow{"0x200", 1.0, "0x200 "},
                                           ExpressionRow{"??x10", 1.0, "0x10 "}, ExpressionRow{"2?x10", 1.0, "2x10 "},
                                           ExpressionRow{"?.x10", 1.0, "0x10 "}, ExpressionRow{".x10", 1.0, "0x10 "},
                                           ExpressionRow{".9x10", 1.0, "0x10 "}, ExpressionRow{"0.999x10", 1.0, "0x10 "},
                                           ExpressionRow{"1.2.3x4.5.6", 1.0, "1x4.5 "}, ExpressionRow{"2x?5", 1.0, "2x0 "},
                                           ExpressionRow{"2x5?", 1.0, "2x5 "}, ExpressionRow{"2x.", 1.0, "2x0 "},
                                           ExpressionRow{"1,5x2,5", 1.0, "1x2.5 "}, ExpressionRow{"2x1,234,5", 1.0, "2x1.234 "},
                                           ExpressionRow{"-3x10", 1.0, "3x10 "}, ExpressionRow{"1x1e5", 1.0, "1x1 "},
                                           ExpressionRow{"0x1A", 1.0, "0x1 "},
                                           ExpressionRow{"foo2x10bar3x5baz", 1.0, "2x10 3x5 "},
                                           ExpressionRow{" 2x10 ", 1.0, "2x10 "},
                                           ExpressionRow{"2x10\n3x5\t", 1.0, "2x10 3x5 "}, ExpressionRow{"2x10;", 1.0, "2x10 "},
                                           ExpressionRow{"2x103x5", 1.0, "2x103 0x5 "}, ExpressionRow{"2x0", -1.0, "2x-0 "},
                                           ExpressionRow{"10x100", 1.0, "10x100 "}, ExpressionRow{"100x0", 1.0, "100x0 "},
                                           ExpressionRow{"2x100.0001", 1.0, "2x100 "},
                                           ExpressionRow{"2x100.010", 1.0, "2x100.01 "}));

// Three decimals of the exact value, a tie to the even digit: 0.0625 and 0.1875 are exact in binary.
INSTANTIATE_TEST_SUITE_P(Rounding, QuantityExpression,
                         ::testing::Values(ExpressionRow{"2x0.0005", 1.0, "2x0.001 "},
                                           ExpressionRow{"2x0.0625", 1.0, "2x0.062 "},
                                           ExpressionRow{"2x0.1875", 1.0, "2x0.188 "}, ExpressionRow{"2x0.9996", 1.0, "2x1 "},
                                           ExpressionRow{"2x9.9994", 1.0, "2x9.999 "},
                                           ExpressionRow{"2x1", 1.0 / 3.0, "2x0.333 "}));

INSTANTIATE_TEST_SUITE_P(LargeCounts, QuantityExpression,
                         ::testing::Values(ExpressionRow{"2147483647x1", 1.0, "2147483647x1 "},
                                           ExpressionRow{"2147483647.9x1", 1.0, "2147483647x1 "}));

class QuantityExpressionLargeCount : public ::testing::TestWithParam<char const *>
{
};

TEST_P(QuantityExpressionLargeCount, ConvertExpresion_CountBeyond32Bits_SmallestInteger_Quirk66)
{
    EXPECT_EQ(converted(GetParam()), CString(u"-2147483648x1 "));
    EXPECT_EQ(converted(converted(GetParam())), CString(u"-2147483648x1 "));
}

INSTANTIATE_TEST_SUITE_P(Rows, QuantityExpressionLargeCount,
                         ::testing::Values("2147483648x1", "2147483648.5x1", "4294967296x1", "4294967297x1",
                                           "99999999999999999999999999x1"));

TEST(OKTDatabaseUtil, ConvertExpresion_CountAsLongAsDoublesGo_SmallestInteger_Quirk66)
{
    CString expression;
    for (int i = 0; i < 400; ++i)
        expression += u'9';
    EXPECT_EQ(converted(expression + u"x1"), CString(u"-2147483648x1 "));
}

TEST(OKTDatabaseUtil, ConvertExpresion_ThereAndBack_SameText_Quirk61)
{
    EXPECT_EQ(converted(u"2x100", 0.1), CString(u"2x10 "));
    EXPECT_EQ(converted(converted(u"2x100", 0.1), 10.0), CString(u"2x100 "));
}

TEST(OKTDatabaseUtil, ConvertExpresion_ArgumentUnchanged)
{
    CString const expression(u"2X1,5");
    converted(expression, 2.0);
    EXPECT_EQ(expression, CString(u"2X1,5"));
}

TEST(OKTDatabaseUtil, ConvertExpresion_CharactersBeyondAscii_Dropped)
{
    EXPECT_EQ(converted(u"\u00D82x10\u20AC3x5"), CString(u"2x10 3x5 "));
    EXPECT_EQ(converted(u"2\u00D710"), CString()); // U+00D7 is no multiplication sign here
    EXPECT_EQ(converted(u"\u06612x10"), CString(u"2x10 "));
}

TEST(OKTDatabaseUtil, ConvertExpresion_ZeroUnitInside_DroppedLikeAnyOther)
{
    OktTextView const units = viewOf({u"2x10\0"
                                      u"3x5",
                                      8});
    EXPECT_EQ(converted(CString(units)), CString(u"2x10 3x5 "));
}

TEST(OKTDatabaseUtil, ConvertExpresion_ManyTerms_AllOfThem)
{
    CString expression;
    CString expected;
    for (int i = 0; i < 3000; ++i)
    {
        CString term;
        term.Format(u"%dX%d,5;", i, i);
        expression += term;
        term.Format(u"%dx%d.5 ", i, i);
        expected += term;
    }
    EXPECT_EQ(converted(expression), expected);
}

TEST(OKTDatabaseUtil, ConvertExpresion_RandomTexts_SecondTimeChangesNothing)
{
    constexpr char kAlphabet[] = "0123456789.?,xX* +-ae\n";
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i)
    {
        std::string text;
        for (std::size_t n = random() % 24; n > 0; --n)
            text += kAlphabet[random() % (sizeof kAlphabet - 1)];
        CString const once = converted(CString(text.c_str()));
        ASSERT_EQ(converted(once), once) << text;
        std::string const form = once.ToUtf8();
        ASSERT_EQ(std::count(form.begin(), form.end(), ' '), std::count(form.begin(), form.end(), 'x')) << text;
        std::size_t const signs = static_cast<std::size_t>(
            std::count_if(text.begin(), text.end(), [](char c) { return c == 'x' || c == 'X' || c == '*'; }));
        ASSERT_EQ(static_cast<std::size_t>(std::count(form.begin(), form.end(), 'x')), signs) << text;
    }
}

// --- A numeric locale with a decimal comma -----------------------------------------------------------------------------------
// Every comma of the input becomes a point, where such a locale ends a number; and the zeros behind its comma are taken away,
// but not the comma.

class QuantityExpressionCommaLocale : public ::testing::TestWithParam<ExpressionRow>
{
};

TEST_P(QuantityExpressionCommaLocale, ConvertExpresion_Row_NumbersFollowTheLocale_Quirk94)
{
    NumericLocale const comma(NumericLocale::kComma);
    ASSERT_TRUE(comma.isThere());
    EXPECT_EQ(converted(GetParam().expression, GetParam().scale), CString(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(Rows, QuantityExpressionCommaLocale,
                         ::testing::Values(ExpressionRow{"2x100", 1.0, "2x100, "}, ExpressionRow{"2x1.5", 1.0, "2x1, "},
                                           ExpressionRow{"2x1,5", 1.0, "2x1, "}, ExpressionRow{"2x1", 0.5, "2x0,5 "},
                                           ExpressionRow{"2x0", 1.0, "2x0, "}, ExpressionRow{"?x200", 0.001, "?x0,2 "},
                                           ExpressionRow{"2.7x10", 1.0, "2x10, "},
                                           ExpressionRow{"2x100 3x200", 0.125, "2x12,5 3x25, "}));

TEST(OKTDatabaseUtil, ConvertExpresion_AfterCommaLocale_PointAgain)
{
    {
        NumericLocale const comma(NumericLocale::kComma);
        ASSERT_TRUE(comma.isThere());
        EXPECT_EQ(converted(u"1x3", 0.5), CString(u"1x1,5 "));
    }
    EXPECT_EQ(converted(u"1x3", 0.5), CString(u"1x1.5 "));
}
