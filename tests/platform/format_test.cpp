// SPDX-License-Identifier: MIT
#include <oktplatform/oktstring.h>

#include "support/numericlocale.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

namespace
{
template <typename... A> std::string formatted(CString const &format, A const &...arguments)
{
    CString text;
    text.Format(format, arguments...);
    return text.ToUtf8();
}

enum Plain
{
    kPlainThree = 3
};

enum class Scoped : unsigned char
{
    Seven = 7
};
} // namespace

TEST(Format, Integers)
{
    EXPECT_EQ(formatted(u"%d", 0), "0");
    EXPECT_EQ(formatted(u"%d|%i", -12, 34), "-12|34");
    EXPECT_EQ(formatted(u"%5d|%-5d|%05d", 42, 42, 42), "   42|42   |00042");
    EXPECT_EQ(formatted(u"%+d|% d|%+d", 5, 5, -5), "+5| 5|-5");
    EXPECT_EQ(formatted(u"%.3d|%6.3d|%-6.3d|", 7, 7, -7), "007|   007|-007  |");
    EXPECT_EQ(formatted(u"%06.3d", 7), "   007"); // a precision wins over the zero flag
    EXPECT_EQ(formatted(u"%-05d|", 7), "7    |");
    EXPECT_EQ(formatted(u"[%.0d]", 0), "[]");
    EXPECT_EQ(formatted(u"%05d", -42), "-0042");
    EXPECT_EQ(formatted(u"%u", 42u), "42");
    EXPECT_EQ(formatted(u"%x|%X|%#x|%#X|%o|%#o", 255, 255, 255, 255, 8, 8), "ff|FF|0xff|0XFF|10|010");
    EXPECT_EQ(formatted(u"%#x|%#o|%#.0o", 0, 0, 0), "0|0|0");
    EXPECT_EQ(formatted(u"%#08x|%08X", 255, 255), "0x0000ff|000000FF");
}

TEST(Format, Integers_OfEveryWidth)
{
    EXPECT_EQ(formatted(u"%d", INT_MIN), "-2147483648");
    EXPECT_EQ(formatted(u"%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(formatted(u"%d", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(formatted(u"%d", 4294967295u), "4294967295");
    EXPECT_EQ(formatted(u"%d|%d|%d", static_cast<short>(-1), static_cast<unsigned char>(200), true), "-1|200|1");
    EXPECT_EQ(formatted(u"%hd|%ld|%lld|%I64d|%I32d|%zd", 1, 2L, 3LL, std::int64_t(4), 5, std::size_t(6)), "1|2|3|4|5|6");
    EXPECT_EQ(formatted(u"%x|%u", -1, -1), "ffffffff|4294967295");
    EXPECT_EQ(formatted(u"%llx|%I64x", -1LL, std::int64_t(-1)), "ffffffffffffffff|ffffffffffffffff");
    EXPECT_EQ(formatted(u"%x", std::numeric_limits<std::int64_t>::min()), "8000000000000000");
}

TEST(Format, Enumerations_AreIntegers) { EXPECT_EQ(formatted(u"%d|%d", kPlainThree, Scoped::Seven), "3|7"); }

TEST(Format, Characters)
{
    EXPECT_EQ(formatted(u"%c%c%c", 'a', u'b', L'c'), "abc");
    EXPECT_EQ(formatted(u"[%3c|%-3c]", u'x', u'y'), "[  x|y  ]");
    EXPECT_EQ(formatted(u"%c", 0x1F600), "\xF0\x9F\x98\x80");
    CString text;
    text.Format(u"a%cb", 0);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text.GetAt(1), 0);
}

TEST(Format, TextsOfEveryKind_FitBothConversions)
{
    CString const text(u"text");
    EXPECT_EQ(formatted(u"%s|%s|%s|%s", text, u"units", L"wide", "narrow"), "text|units|wide|narrow");
    EXPECT_EQ(formatted(u"%S|%S|%S|%S", text, u"units", L"wide", "narrow"), "text|units|wide|narrow");
    EXPECT_EQ(formatted(u"%hs|%ls|%ws", "a", L"b", u"c"), "a|b|c");
    EXPECT_EQ(formatted(u"[%6s|%-6s|%.2s|%6.2s]", text, text, text, text), "[  text|text  |te|    te]");
    EXPECT_EQ(formatted(u"%.0s|%.9s", text, text), "|text");
    EXPECT_EQ(formatted(u"%s", "\x80"), "\xE2\x82\xAC"); // windows-1252
    EXPECT_EQ(formatted(L"%s.%d", L"Spacing", 3), "Spacing.3");
}

TEST(Format, Texts_WithZeroUnits_AreKept)
{
    CString const inside(&u"a\0b"[0], 3);
    CString text;
    text.Format(u"<%s>", inside);
    EXPECT_EQ(text.GetLength(), 5);
    text.Format(inside + u"%d", 1);
    EXPECT_EQ(text.GetLength(), 4);
}

TEST(Format, Texts_WithoutAnEnd_AreReadNoFurtherThanThePrecision)
{
    char16_t const *const units = std::u16string_view(u"abcdef").data();
    EXPECT_EQ(formatted(u"%.3s", units), "abc");
    char16_t const unterminated[3] = {u'x', u'y', u'z'};
    EXPECT_EQ(formatted(u"%.3s", static_cast<char16_t const *>(unterminated)), "xyz");
    wchar_t const wide[3] = {L'x', L'y', L'z'};
    EXPECT_EQ(formatted(u"%.3s", static_cast<wchar_t const *>(wide)), "xyz");
}

TEST(Format, NullTexts_AreNamed)
{
    EXPECT_EQ(formatted(u"%s", static_cast<char const *>(nullptr)), "(null)");
    EXPECT_EQ(formatted(u"%s", static_cast<wchar_t const *>(nullptr)), "(null)");
    EXPECT_EQ(formatted(u"%S", static_cast<char16_t const *>(nullptr)), "(null)");
}

TEST(Format, Reals)
{
    EXPECT_EQ(formatted(u"%.17f", 1.5), "1.50000000000000000");
    EXPECT_EQ(formatted(u"%.17f", 0.1), "0.10000000000000001");
    EXPECT_EQ(formatted(u"%.17f", 1e22), "10000000000000000000000.00000000000000000");
    EXPECT_EQ(formatted(u"%f|%e|%E|%g|%G|%a", 1.5, 1.5, 1.5, 1e-10, 1e-10, 1.5),
              "1.500000|1.500000e+00|1.500000E+00|1e-10|1E-10|0x1.8p+0");
    EXPECT_EQ(formatted(u"%8.2f|%-8.2f|%08.2f|%+.1f|% .1f", 1.5, 1.5, -1.5, 1.5, 1.5), "    1.50|1.50    |-0001.50|+1.5| 1.5");
    EXPECT_EQ(formatted(u"%.0f|%#.0f", 2.0, 2.0), "2|2.");
    EXPECT_EQ(formatted(u"%012a|%-12a|", 1.5, -1.5), "0x00001.8p+0|-0x1.8p+0   |");
    EXPECT_EQ(formatted(u"%f|%5.1f", 2, 3u), "2.000000|  3.0");
    EXPECT_EQ(formatted(u"%.1f", 1.5f), "1.5");
}

TEST(Format, Reals_AreRoundedExactlyHalfToEven)
{
    EXPECT_EQ(formatted(u"%.3f|%.3f|%.3f", 0.0625, 0.1875, 0.5), "0.062|0.188|0.500");
    EXPECT_EQ(formatted(u"%.0f|%.0f|%.0f", 0.5, 1.5, 2.5), "0|2|2");
    EXPECT_EQ(formatted(u"%.2f", 1.005), "1.00");   // the double lies below
    EXPECT_EQ(formatted(u"%.3f", 0.0005), "0.001"); // and this one above
}

TEST(Format, Reals_WithoutEnd)
{
    double const infinity = std::numeric_limits<double>::infinity();
    double const nothing = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(formatted(u"%f|%F|%06f|%-6f|", infinity, -infinity, infinity, -infinity), "inf|-INF|   inf|-inf  |");
    EXPECT_EQ(formatted(u"%f|%E", nothing, nothing), "nan|NAN");
    EXPECT_EQ(formatted(u"%06a", infinity), "   inf");
}

TEST(Format, Reals_OfManyDigits)
{
    std::string const large = formatted(u"%.3f", 1e308);
    EXPECT_EQ(large.size(), 309u + 4u);
    EXPECT_EQ(large.substr(0, 17), "10000000000000000");
    EXPECT_EQ(large.substr(large.size() - 4), ".000");
    std::string const precise = formatted(u"%.600f", 0.5);
    EXPECT_EQ(precise, "0.5" + std::string(599, '0'));
}

TEST(Format, StarsTakeIntegers)
{
    EXPECT_EQ(formatted(u"[%*d|%-*d|%*d]", 4, 7, 4, 7, -4, 7), "[   7|7   |7   ]");
    EXPECT_EQ(formatted(u"%.*f|%*.*f", 1, 2.25, 7, 2, 2.5), "2.2|   2.50");
    EXPECT_EQ(formatted(u"%.*f|%.*s", -1, 2.5, -1, u"all"), "2.500000|all"); // a negative precision is none
}

TEST(Format, Pointers_AreSixteenDigits)
{
    EXPECT_EQ(formatted(u"%p", 0xABCDu), "000000000000ABCD");
    EXPECT_EQ(formatted(u"%20p|", static_cast<char const *>(nullptr)), "    0000000000000000|");
}

TEST(Format, Percent)
{
    EXPECT_EQ(formatted(u"100%%"), "100%");
    EXPECT_EQ(formatted(u"%d%%", 5), "5%");
    EXPECT_EQ(formatted(u""), "");
    EXPECT_EQ(formatted(u"no conversion", 1), "no conversion");
}

// --- What makes no sense -----------------------------------------------------------------------------------------------------

TEST(Format, BadOrMissingArgument_LeavesTheConversionAsItStands)
{
    EXPECT_EQ(formatted(u"%d|%s", 1), "1|%s");
    EXPECT_EQ(formatted(u"%d"), "%d");
    EXPECT_EQ(formatted(u"%-08.3lld!"), "%-08.3lld!");
    EXPECT_EQ(formatted(u"%d|%d", u"text", 2), "%d|2");
    EXPECT_EQ(formatted(u"%d", 1.5), "%d");
    EXPECT_EQ(formatted(u"%s|%s", 1, u"text"), "%s|text");
    EXPECT_EQ(formatted(u"%5s", 1.5), "%5s");
    EXPECT_EQ(formatted(u"%f", u"text"), "%f");
    EXPECT_EQ(formatted(u"%c", u"text"), "%c");
    EXPECT_EQ(formatted(u"%c", 65.0), "%c");
    EXPECT_EQ(formatted(u"%p", CString(u"text")), "%p");
    EXPECT_EQ(formatted(u"%*d", u"text", 2), "%*d");
    EXPECT_EQ(formatted(u"%*d", 5), "%*d");
    EXPECT_EQ(formatted(u"%.*f", 1.5, 1.5), "%.*f");
}

TEST(Format, UnknownConversion_StaysAndTakesNoArgument)
{
    EXPECT_EQ(formatted(u"%n|%d", 1), "%n|1");
    EXPECT_EQ(formatted(u"%y|%d", 1), "%y|1");
    EXPECT_EQ(formatted(u"%\u00E4|%d", 1), "%\xC3\xA4|1");
    EXPECT_EQ(formatted(u"%"), "%");
    EXPECT_EQ(formatted(u"a%"), "a%");
    EXPECT_EQ(formatted(u"%-"), "%-");
    EXPECT_EQ(formatted(u"%5"), "%5");
    EXPECT_EQ(formatted(u"%5.", 1), "%5.");
    EXPECT_EQ(formatted(u"%I6", 1), "%I6");
    EXPECT_EQ(formatted(u"%99999999999999999999y"), "%99999999999999999999y");
}

TEST(Format, TextBeyondTheLongestInt_Throws)
{
    CString text(u"before");
    EXPECT_THROW(text.Format(u"ab%2147483647d", 1), std::bad_alloc);
    EXPECT_EQ(text, u"before");
}

TEST(Format, LongText)
{
    std::u16string const model(5000, u'x');
    EXPECT_EQ(formatted(u"<%s|%s>", model.c_str(), model.c_str()).size(), 10003u);
    EXPECT_EQ(formatted(u"%1000d", 1), std::string(999, ' ') + "1");
}

// --- Locales -----------------------------------------------------------------------------------------------------------------

TEST(Format, CommaLocale_GivesACommaInRealsOnly)
{
    NumericLocale const locale(NumericLocale::kComma);
    ASSERT_TRUE(locale.isThere());
    EXPECT_EQ(formatted(u"%.2f|%g|%d|%a", 1.5, 0.5, 1000000, 1.5), "1,50|0,5|1000000|0x1,8p+0");
    EXPECT_EQ(formatted(u"%06.1f", -1.5), "-001,5");
    EXPECT_EQ(formatted(u"%s", u"1.5"), "1.5");
}

#if !defined(_WIN32)
TEST(Format, PointOfSeveralBytes_IsOneUnitAndOneColumn)
{
    // Few machines have a locale with such a point, so that it is made here.
    ScratchFolder const folder;
    std::string const where = folder.path("ps_AF.UTF-8").ToUtf8();
    std::string const order = std::endian::native == std::endian::little ? "--little-endian" : "--big-endian";
    ASSERT_EQ(std::system(("localedef " + order + " -i ps_AF -f UTF-8 '" + where + "' 2> /dev/null").c_str()), 0);
    char const *const before = std::getenv("LOCPATH");
    std::string const saved = before == nullptr ? "" : before;
    setenv("LOCPATH", where.substr(0, where.rfind('/')).c_str(), 1);
    {
        NumericLocale const locale("ps_AF.UTF-8");
        EXPECT_TRUE(locale.isThere());
        EXPECT_EQ(formatted(u"%.2f", 1.5), "1\xD9\xAB"
                                           "50");
        EXPECT_EQ(formatted(u"[%6.2f|%-6.2f|%06.2f]", 1.5, 1.5, 1.5), "[  1\xD9\xAB"
                                                                      "50|1\xD9\xAB"
                                                                      "50  |001\xD9\xAB"
                                                                      "50]");
        CString text;
        text.Format(u"%.17f", 0.1);
        EXPECT_EQ(text.GetLength(), 19);
        EXPECT_EQ(text.GetAt(1), 0x066B);
    }
    if (before == nullptr)
        unsetenv("LOCPATH");
    else
        setenv("LOCPATH", saved.c_str(), 1);
}
#endif

// --- Pointers ----------------------------------------------------------------------------------------------------------------

TEST(Format, PointersOfEveryType_AreHexadecimal)
{
    auto *const untyped = reinterpret_cast<void *>(0x1234ABCDu); // NOLINT: a number for a pointer
    auto const *const typed = reinterpret_cast<double const *>(0x7F00DEADBEE8u);
    EXPECT_EQ(formatted(u"%p", untyped), "000000001234ABCD");
    EXPECT_EQ(formatted(u"%p", static_cast<void const *>(untyped)), "000000001234ABCD");
    EXPECT_EQ(formatted(u"%p|%p", typed, static_cast<int *>(nullptr)), "00007F00DEADBEE8|0000000000000000");
    int const number = 5;
    std::string const text = formatted(u"%p", &number);
    EXPECT_EQ(std::stoull(text, nullptr, 16), reinterpret_cast<std::uintptr_t>(&number));
}
