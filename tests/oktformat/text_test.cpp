// SPDX-License-Identifier: MIT
#include <oktformat/text.h>

#include <gtest/gtest.h>

#include <limits>

using namespace okt;

namespace
{

TEST(OktText, Printable_TextsOfEveryShape_OneLineThatSteersNothing)
{
    EXPECT_EQ(printable(CString(u"Bügel Ø12 — strzemię")), "Bügel Ø12 — strzemię");
    EXPECT_EQ(printable(CString(u"a\nb\r\tc")), "a\\nb\\r\\tc");
    EXPECT_EQ(printable(CString(u"\x001b[31m\x007f\x009b")), "\\u001B[31m\\u007F\\u009B");
    EXPECT_EQ(printable(CString(u"back\\slash \"quoted\"")), "back\\\\slash \"quoted\"");
    EXPECT_EQ(printable(CString(u"\x202e\x2028\xfeff\x2066")), "\\u202E\\u2028\\uFEFF\\u2066");
    EXPECT_EQ(quoted(CString(u"say \"no\"")), "\"say \\\"no\\\"\"");
    EXPECT_EQ(quoted(CString()), "\"\"");
}

TEST(OktText, Printable_Surrogates_PairsJoinedLoneOnesEscaped)
{
    WCHAR const pair[] = {0xD835, 0xDD31, 0};
    EXPECT_EQ(printable(CString(pair, 2)), "\xF0\x9D\x94\xB1");
    WCHAR const lone[] = {u'a', 0xD800, u'b', 0xDC00, 0xDBFF};
    EXPECT_EQ(printable(CString(lone, 5)), "a\\uD800b\\uDC00\\uDBFF");
    WCHAR const zero[] = {u'a', 0, u'b'};
    EXPECT_EQ(printable(CString(zero, 3)), "a\\u0000b");
}

TEST(OktText, Printable_BytesThatAreNoUtf8_Escaped)
{
    EXPECT_EQ(printable(std::string_view("a\xFFz")), "a\\xFFz");
    EXPECT_EQ(printable(std::string_view("\xC3")), "\\xC3");
    EXPECT_EQ(printable(std::string_view("\xC0\x80")), "\\xC0\\x80");
    EXPECT_EQ(printable(std::string_view("\xED\xA0\x80")), "\\xED\\xA0\\x80");
    EXPECT_EQ(printable(std::string_view("\xF4\x90\x80\x80")), "\\xF4\\x90\\x80\\x80");
    EXPECT_EQ(printable(std::string_view("\xC3\xBC\xE2\x80\x94")), "ü—");
}

TEST(OktText, Excerpt_LongText_CutAtFortyCharacters)
{
    EXPECT_EQ(excerpt("short"), "\"short\"");
    EXPECT_EQ(excerpt(std::string(41, 'x')), "\"" + std::string(40, 'x') + "...\"");
    EXPECT_EQ(excerpt(std::string(40, 'x')), "\"" + std::string(40, 'x') + "\"");
}

TEST(OktText, Plural_OneAndOthers)
{
    EXPECT_EQ(plural(1, "byte"), "1 byte");
    EXPECT_EQ(plural(0, "byte"), "0 bytes");
    EXPECT_EQ(plural(2, "byte"), "2 bytes");
    EXPECT_EQ(plural(-1, "byte"), "-1 bytes");
    EXPECT_EQ(plural(1, "category"), "1 category");
    EXPECT_EQ(plural(3, "category"), "3 categories");
}

TEST(OktText, Padded_TextWithUmlauts_CountedInCharacters)
{
    EXPECT_EQ(width("Bügel"), 5u);
    EXPECT_EQ(padded("Bügel", 7), "Bügel  ");
    EXPECT_EQ(padded("Bügel", 3), "Bügel");
}

TEST(OktText, Number_Doubles_ShortestTextInAnyLocale)
{
    EXPECT_EQ(number(12), "12");
    EXPECT_EQ(number(0.375), "0.375");
    EXPECT_EQ(number(0.1), "0.1");
    EXPECT_EQ(number(-0.5), "-0.5");
    EXPECT_EQ(number(0), "0");
    EXPECT_EQ(number(-0.0), "-0");
    EXPECT_EQ(number(1000000), "1000000");
    EXPECT_EQ(number(0.00025), "0.00025");
    EXPECT_EQ(number(1e-7), "1e-07");
    EXPECT_EQ(number(1.5e300), "1.5e+300");
    EXPECT_EQ(number(1.0 / 0.0254), "39.37007874015748");
    EXPECT_EQ(number(std::numeric_limits<double>::quiet_NaN()), "not a number");
    EXPECT_EQ(number(-std::numeric_limits<double>::infinity()), "-infinity");
    EXPECT_EQ(rounded(1.0000000000000002, 12), "1");
    EXPECT_EQ(rounded(120, 12), "120");
    EXPECT_EQ(rounded(0.1 + 0.2, 12), "0.3");
}

} // namespace
