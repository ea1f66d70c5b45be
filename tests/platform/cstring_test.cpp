// SPDX-License-Identifier: MIT
#include <oktplatform/oktstring.h>

#include <oktplatform/oktcodepage.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktvariant.h>

#include "support/alloccount.h"
#include "support/printers.h"
#include "support/units.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace std::string_view_literals;

namespace
{
std::u16string unitsOf(CString const &text)
{
    OktTextView const view = text.View();
    return {view.begin(), view.end()};
}

/// A text with a buffer of its own.
CString owned(char16_t const *text) { return CString(text); }

constexpr char16_t kHighAlone[] = {0xD800, 0};
constexpr char16_t kLowAlone[] = {0xDC00, 0};
constexpr char16_t kReversedPair[] = {0xDC00, 0xD800, 0};
} // namespace

// --- Life and death ----------------------------------------------------------------------------------------------------------

TEST(CString, Default_IsEmptyAndTerminated)
{
    CString const text;
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetString()[0], 0);
    EXPECT_EQ(text.ToUtf8(), "");
}

TEST(CString, NullPointers_GiveTheEmptyText)
{
    EXPECT_TRUE(CString(nullptr).IsEmpty());
    EXPECT_TRUE(CString(static_cast<char const *>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<char16_t const *>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<wchar_t const *>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<WCHAR const *>(nullptr), 5).IsEmpty());
    EXPECT_TRUE(CString(&u"abc"[0], 0).IsEmpty());
    EXPECT_TRUE(CString(&u"abc"[0], -1).IsEmpty());
}

TEST(CString, EveryKindOfLiteral_GivesTheSameText)
{
    EXPECT_EQ(CString(u"cover"), CString(L"cover"));
    EXPECT_EQ(CString(u"cover"), CString("cover"));
    EXPECT_EQ(unitsOf(CString(L"\u00E4\u20AC\U0001F600")), u"\u00E4\u20AC\U0001F600");
    EXPECT_EQ(unitsOf(CString(u"\u00E4\u20AC\U0001F600")), u"\u00E4\u20AC\U0001F600");
}

TEST(CString, WideCharacterAboveFFFF_BecomesASurrogatePair)
{
    std::wstring const wide = L"a\U0001F600b";
    CString const text(wide.c_str());
    EXPECT_EQ(text.GetLength(), 4);
    EXPECT_EQ(text.GetAt(1), 0xD83D);
    EXPECT_EQ(text.GetAt(2), 0xDE00);
    EXPECT_EQ(text.GetAt(3), u'b');
}

#if !defined(_WIN32) // where a wide character holds no more than a unit
TEST(CString, WideCharacterBeyondUnicode_BecomesTheReplacement)
{
    wchar_t const wide[] = {static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1), static_cast<wchar_t>(0xD800), 0};
    EXPECT_EQ(unitsOf(CString(static_cast<wchar_t const *>(wide))), (std::u16string{0xFFFD, 0xFFFD, 0xD800}));
}
#endif

TEST(CString, UnitsAndLength_KeepZeroUnits)
{
    constexpr char16_t kUnits[] = u"a\0b";
    CString const text(static_cast<char16_t const *>(kUnits), 3);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text.GetAt(1), 0);
    EXPECT_EQ(text.GetAt(2), u'b');
    EXPECT_EQ(text.GetString()[3], 0);
    EXPECT_EQ(CString(text).GetLength(), 3);
    EXPECT_EQ((text + text).GetLength(), 6);
    EXPECT_EQ(CString(viewOf({kUnits, 3})), text);
}

TEST(CString, ZeroTerminatedInput_EndsAtItsZero)
{
    EXPECT_EQ(CString(u"a\0b").GetLength(), 1);
    EXPECT_EQ(CString(L"a\0b").GetLength(), 1);
    EXPECT_EQ(CString("a\0b").GetLength(), 1);
}

TEST(CString, ArrayOnTheStack_IsCopied)
{
    char16_t const units[] = u"ab";
    char16_t changing[] = u"ab";
    wchar_t wide[] = L"ab";
    CString const first(units);
    CString const second(changing);
    CString const third(wide);
    changing[0] = u'x';
    wide[0] = L'x';
    EXPECT_EQ(first, u"ab");
    EXPECT_EQ(second, u"ab");
    EXPECT_EQ(third, u"ab");
    EXPECT_NE(static_cast<void const *>(first.GetString()), static_cast<void const *>(units));
}

TEST(CString, EightBitText_FollowsTheCodePageOfTheThread)
{
    EXPECT_EQ(CString("\x80\xE4"), u"\u20AC\u00E4");
    OktSetThreadCodePage(CP_UTF8);
    CString const text("\xC3\xA4");
    OktSetThreadCodePage(1252);
    EXPECT_EQ(text, u"\u00E4");
}

// --- Sharing and wrapping ----------------------------------------------------------------------------------------------------

TEST(CString, Literal_IsWrappedWithoutAnAllocation)
{
    AllocationCount const allocations;
    CString const units(u"a name that is long enough for any small buffer");
    CString const copy(units);
    CString moved(copy);
    CString const last(std::move(moved));
    CString const wide(L"a name that is long enough for any small buffer");
    CString const copyOfWide(wide);
    auto const byValue = [](CString text) { return text; };
    CString const passed = byValue(last);
    EXPECT_EQ(passed.GetLength(), 47);
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(copyOfWide.GetLength(), 47);
#if !defined(_WIN32)
    EXPECT_EQ(allocations.count(), 1u); // 32-bit characters are converted once somebody looks
#endif
    EXPECT_EQ(copyOfWide, passed);
}

TEST(CString, Literal_OnEveryEvenAddress_IsWrapped)
{
    struct Placed
    {
        char16_t ahead[1];
        char16_t second[2];
        char16_t third[2];
        char16_t behind[1];
    };
    alignas(8) static constexpr Placed kPlaced{{u'x'}, {u'a', 0}, {u'b', 0}, {u'y'}};
    AllocationCount const allocations;
    CString const second(kPlaced.second);
    CString const third(kPlaced.third);
    EXPECT_EQ(static_cast<void const *>(second.GetString()), static_cast<void const *>(kPlaced.second));
    EXPECT_EQ(static_cast<void const *>(third.GetString()), static_cast<void const *>(kPlaced.third));
    EXPECT_EQ(second, u"a");
    EXPECT_EQ(third, u"b");
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CString, WideLiteral_IsConvertedOnceAndSharedFromThenOn)
{
    CString const text(L"Spacing");
    EXPECT_EQ(text.GetLength(), 7);
    AllocationCount const allocations;
    CString const copy(text);
    EXPECT_EQ(copy.GetString(), text.GetString());
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CString, EmptyLiterals_AllocateNothing)
{
    AllocationCount const allocations;
    CString const units(u"");
    CString const wide(L"");
    EXPECT_TRUE(units.IsEmpty());
    EXPECT_TRUE(wide.IsEmpty());
    EXPECT_EQ(wide.GetString()[0], 0);
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CString, Copy_SharesTheBufferAndAllocatesNothing)
{
    CString const text = owned(u"Quantity expression");
    AllocationCount const allocations;
    CString const copy(text);
    CString assigned;
    assigned = copy;
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(copy.GetString(), text.GetString());
    EXPECT_EQ(assigned.GetString(), text.GetString());
}

TEST(CString, ChangeOfACopy_LeavesTheOther)
{
    CString const text = owned(u"abc");
    CString copy(text);
    copy.SetAt(0, u'x');
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(copy, u"xbc");
    copy = text;
    copy += u"d";
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(copy, u"abcd");
    copy = text;
    copy.TrimLeft(u'a');
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(copy, u"bc");
    copy = text;
    copy.TrimRight(u'c');
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(copy, u"ab");
    copy = text;
    EXPECT_EQ(copy.Replace(u'b', u'-'), 1);
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(copy, u"a-c");
    copy = text;
    copy.Empty();
    EXPECT_EQ(text, u"abc");
    EXPECT_TRUE(copy.IsEmpty());
}

TEST(CString, ChangeOfALiteral_LeavesTheLiteral)
{
    static constexpr char16_t kLiteral[] = u"literal";
    CString text(kLiteral);
    EXPECT_EQ(static_cast<void const *>(text.GetString()), static_cast<void const *>(kLiteral));
    text.SetAt(0, u'L');
    text += u'!';
    EXPECT_EQ(text, u"Literal!");
    EXPECT_EQ(std::u16string_view(kLiteral), u"literal");
}

TEST(CString, Move_LeavesTheSourceEmpty)
{
    CString source = owned(u"abc");
    WCHAR const *const units = source.GetString();
    CString target(std::move(source));
    EXPECT_EQ(target.GetString(), units);
    EXPECT_TRUE(source.IsEmpty()); // NOLINT(bugprone-use-after-move): the emptiness is promised
    CString assigned = owned(u"old");
    assigned = std::move(target);
    EXPECT_EQ(assigned.GetString(), units);
}

TEST(CString, SelfAssignment_ChangesNothing)
{
    CString text = owned(u"abc");
    CString &same = text;
    text = same;
    EXPECT_EQ(text, u"abc");
    text = std::move(same);
    EXPECT_EQ(text, u"abc");
}

TEST(CString, WideLiteral_FirstLookOfManyThreads_GivesOneText)
{
    for (int round = 0; round < 200; ++round)
    {
        CString const text(L"the same wide literal");
        std::vector<std::u16string> seen(4);
        std::vector<std::thread> threads;
        for (std::u16string &target : seen)
            threads.emplace_back([&text, &target] { target = unitsOf(text); });
        for (std::thread &thread : threads)
            thread.join();
        for (std::u16string const &units : seen)
            ASSERT_EQ(units, u"the same wide literal");
    }
}

TEST(CString, SharedBuffer_CopiedAndDroppedByManyThreads_Stays)
{
    CString const text = owned(u"shared");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&text] {
            for (int round = 0; round < 5000; ++round)
            {
                CString copy(text);
                copy += u'x';
                ASSERT_EQ(copy.GetLength(), 7);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(text, u"shared");
}

// --- UTF-8 -------------------------------------------------------------------------------------------------------------------

TEST(CString, Utf8_GoesThereAndBack)
{
    for (std::string_view const text :
         {""sv, "plain"sv, "\0a\0"sv, "\xC3\xA4\xE2\x82\xAC"sv, "\xF0\x9F\x98\x80"sv, "\xEF\xBF\xBF"sv, "\xF4\x8F\xBF\xBF"sv,
          "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xF0\x90\x80\x80"sv})
        EXPECT_EQ(CString::FromUtf8(text).ToUtf8(), text);
}

TEST(CString, FromUtf8_MalformedParts_BecomeReplacements)
{
    struct Row
    {
        std::string_view bytes;
        std::u16string_view units;
    };
    constexpr Row kRows[] = {
        {"a\x80z"sv, u"a\uFFFDz"},                           // a tail without a head
        {"\xC3"sv, u"\uFFFD"},                               // cut after the head
        {"\xE2\x82"sv, u"\uFFFD"},                           // cut before the last tail: one part
        {"\xF0\x9F\x98"sv, u"\uFFFD"},                       // the same for four bytes
        {"\xE2\x82z"sv, u"\uFFFDz"},                         // what follows stays
        {"\xC0\xAF"sv, u"\uFFFD\uFFFD"},                     // longer than needed
        {"\xE0\x9F\xBF"sv, u"\uFFFD\uFFFD\uFFFD"},           // longer than needed
        {"\xED\xA0\x80"sv, u"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond U+10FFFF
        {"\xF5\xFF"sv, u"\uFFFD\uFFFD"},                     // bytes that never occur
        {"\xC3\xC3\xA4"sv, u"\uFFFD\u00E4"},                 // a head in place of a tail
    };
    for (Row const &row : kRows)
        EXPECT_EQ(unitsOf(CString::FromUtf8(row.bytes)), row.units) << ::testing::PrintToString(std::string(row.bytes));
}

TEST(CString, ToUtf8_LoneSurrogates_BecomeReplacements)
{
    EXPECT_EQ(CString(kHighAlone).ToUtf8(), "\xEF\xBF\xBD");
    EXPECT_EQ(CString(kLowAlone).ToUtf8(), "\xEF\xBF\xBD");
    EXPECT_EQ(CString(kReversedPair).ToUtf8(), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ((CString(kHighAlone) + u"a").ToUtf8(), "\xEF\xBF\xBD"
                                                     "a");
}

TEST(CString, LoneSurrogates_AreKept)
{
    CString text(kHighAlone);
    EXPECT_EQ(text.GetLength(), 1);
    text += kLowAlone;
    EXPECT_EQ(text, u"\U00010000");
    EXPECT_EQ(text.Left(1), kHighAlone);
    EXPECT_EQ(text.Mid(1), kLowAlone);
    EXPECT_EQ(text.Find(static_cast<WCHAR>(0xDC00)), 1);
}

// --- Access ------------------------------------------------------------------------------------------------------------------

TEST(CString, GetAt_OutsideTheText_Throws)
{
    CString const text(u"ab");
    EXPECT_EQ(text.GetAt(0), u'a');
    EXPECT_EQ(text[1], u'b');
    EXPECT_EQ(text.GetAt(2), 0);
    EXPECT_THROW(text.GetAt(3), std::out_of_range);
    EXPECT_THROW(text.GetAt(-1), std::out_of_range);
    EXPECT_EQ(CString().GetAt(0), 0);
    EXPECT_THROW(CString().GetAt(1), std::out_of_range);
}

TEST(CString, SetAt_OutsideTheText_ThrowsAndChangesNothing)
{
    CString text(u"ab");
    EXPECT_THROW(text.SetAt(2, u'x'), std::out_of_range);
    EXPECT_THROW(text.SetAt(-1, u'x'), std::out_of_range);
    EXPECT_EQ(text, u"ab");
    text.SetAt(0, 0);
    EXPECT_EQ(text.GetLength(), 2);
    EXPECT_THROW(CString().SetAt(0, u'x'), std::out_of_range);
}

TEST(CString, LeftRightMid_AtEveryEdge)
{
    CString const text(u"abcde");
    EXPECT_EQ(text.Left(2), u"ab");
    EXPECT_EQ(text.Left(0), u"");
    EXPECT_EQ(text.Left(-3), u"");
    EXPECT_EQ(text.Left(99), u"abcde");
    EXPECT_EQ(text.Right(2), u"de");
    EXPECT_EQ(text.Right(0), u"");
    EXPECT_EQ(text.Right(-3), u"");
    EXPECT_EQ(text.Right(99), u"abcde");
    EXPECT_EQ(text.Mid(2), u"cde");
    EXPECT_EQ(text.Mid(-2), u"abcde");
    EXPECT_EQ(text.Mid(5), u"");
    EXPECT_EQ(text.Mid(99), u"");
    EXPECT_EQ(text.Mid(1, 3), u"bcd");
    EXPECT_EQ(text.Mid(-1, 3), u"abc");
    EXPECT_EQ(text.Mid(3, 99), u"de");
    EXPECT_EQ(text.Mid(3, -1), u"");
    EXPECT_EQ(text.Mid(2147483647, 2147483647), u"");
    EXPECT_EQ(CString().Left(1), u"");
    EXPECT_EQ(CString().Mid(1, 1), u"");
}

TEST(CString, WholeText_AsAPart_IsShared)
{
    CString const text = owned(u"abc");
    AllocationCount const allocations;
    CString const left = text.Left(3);
    CString const right = text.Right(7);
    CString const mid = text.Mid(0);
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(left.GetString(), text.GetString());
    EXPECT_EQ(right.GetString(), text.GetString());
    EXPECT_EQ(mid.GetString(), text.GetString());
}

// --- Search ------------------------------------------------------------------------------------------------------------------

TEST(CString, Find_Table)
{
    CString const text(u"abcabc");
    EXPECT_EQ(text.Find(u"bc"), 1);
    EXPECT_EQ(text.Find(L"bc", 2), 4);
    EXPECT_EQ(text.Find(u"bc", 5), -1);
    EXPECT_EQ(text.Find(u"abcabcd"), -1);
    EXPECT_EQ(text.Find(u"a", -1), -1);
    EXPECT_EQ(text.Find(u"a", 6), -1);
    EXPECT_EQ(text.Find(u"a", 7), -1);
    EXPECT_EQ(text.Find(u""), 0);
    EXPECT_EQ(text.Find(u"", 6), 6);
    EXPECT_EQ(text.Find(u"", 7), -1);
    EXPECT_EQ(text.Find(u'c'), 2);
    EXPECT_EQ(text.Find(L'c', 3), 5);
    EXPECT_EQ(text.Find(u'c', 6), -1);
    EXPECT_EQ(text.Find(u'a', -1), -1);
    EXPECT_EQ(text.ReverseFind(u'a'), 3);
    EXPECT_EQ(text.ReverseFind(L'c'), 5);
    EXPECT_EQ(text.ReverseFind(u'x'), -1);
    EXPECT_EQ(CString().ReverseFind(u'x'), -1);
    EXPECT_EQ(CString().Find(u"x"), -1);
    EXPECT_EQ(CString(u"C:\\a\\b").ReverseFind(L'\\'), 4);
}

TEST(CString, Find_WideCharacterAboveFFFF_FindsThePair)
{
    CString const text(u"ab\U0001F600");
#if !defined(_WIN32)
    EXPECT_EQ(text.Find(L'\U0001F600'), 2);
#endif
    EXPECT_EQ(text.Find(L"\U0001F600"), 2);
}

// --- Change ------------------------------------------------------------------------------------------------------------------

TEST(CString, TrimWhiteSpace_TakesEveryKind)
{
    CString text(u"\t\r\n\v\f \u0085\u00A0\u2003\u3000a b\u3000\u2028 \t");
    EXPECT_EQ(&text.TrimLeft(), &text);
    EXPECT_EQ(text, u"a b\u3000\u2028 \t");
    EXPECT_EQ(text.TrimRight(), u"a b");
    CString blanks(u"  \t ");
    EXPECT_TRUE(blanks.TrimRight().IsEmpty());
    blanks = owned(u"    ");
    EXPECT_TRUE(blanks.TrimLeft().IsEmpty());
    EXPECT_EQ(CString(u"\u200Ba").TrimLeft(), u"\u200Ba"); // no white space
}

TEST(CString, TrimUnitAndSet_Table)
{
    EXPECT_EQ(CString(u"100.000").TrimRight(u'0').TrimRight(u'.'), u"100");
    EXPECT_EQ(CString(u"0.000").TrimRight(L'0').TrimRight(L'.'), u"0");
    EXPECT_EQ(CString(u"{a}").TrimLeft(u'{').TrimRight(u'}'), u"a");
    EXPECT_EQ(CString(u"{{a").TrimLeft(L'{'), u"a");
    EXPECT_EQ(CString(u"xyxaxy").TrimLeft(u"yx"), u"axy");
    EXPECT_EQ(CString(u"xyxaxy").TrimRight(L"yx"), u"xyxa");
    EXPECT_EQ(CString(u"xyx").TrimLeft(u"yx"), u"");
    EXPECT_EQ(CString(u"xyx").TrimRight(u""), u"xyx");
    EXPECT_EQ(CString().TrimLeft(u'x'), u"");
}

TEST(CString, TrimOfAnOwnText_AllocatesNothing)
{
    CString text = owned(u"  trimmed  ");
    AllocationCount const allocations;
    text.TrimLeft().TrimRight();
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(text, u"trimmed");
    EXPECT_EQ(text.GetString()[7], 0);
}

TEST(CString, Replace_Table)
{
    struct Row
    {
        char16_t const *text;
        char16_t const *from;
        char16_t const *to;
        int places;
        char16_t const *result;
    };
    constexpr Row kRows[] = {
        {u"abcabc", u"b", u"xy", 2, u"axycaxyc"},
        {u"abcabc", u"bc", u"", 2, u"aa"},
        {u"aaa", u"aa", u"b", 1, u"ba"},
        {u"abc", u"", u"x", 0, u"abc"},
        {u"", u"a", u"x", 0, u""},
        {u"abc", u"abcd", u"x", 0, u"abc"},
        {u"abc", u"abc", u"", 1, u""},
        {u"aaaa", u"a", u"a", 4, u"aaaa"},
        {u"abc", u"c", u"cc", 1, u"abcc"},
        {u"aXbX", u"X", u"*", 2, u"a*b*"},
        {u"ab", u"ab", u"abab", 1, u"abab"},
    };
    for (Row const &row : kRows)
    {
        CString text(row.text);
        EXPECT_EQ(text.Replace(row.from, row.to), row.places) << CString(row.text).ToUtf8();
        EXPECT_EQ(text, row.result);
    }
    CString text(u"2X3x4");
    EXPECT_EQ(text.Replace(u'x', u'*'), 1);
    EXPECT_EQ(text.Replace(L'X', L'*'), 1);
    EXPECT_EQ(text.Replace(u'?', u'*'), 0);
    EXPECT_EQ(text, u"2*3*4");
}

TEST(CString, TextOfItself_InEveryOperation)
{
    CString text = owned(u"ab");
    text += text;
    EXPECT_EQ(text, u"abab");
    for (int i = 0; i < 6; ++i)
        text += text;
    EXPECT_EQ(text.GetLength(), 256);
    EXPECT_EQ(text.Replace(text, text), 1);
    EXPECT_EQ(text.GetLength(), 256);
    text = text.Mid(1, 4);
    EXPECT_EQ(text, u"baba");
    EXPECT_EQ(text.Replace(u"a", text), 2);
    EXPECT_EQ(text, u"bbabab"
                    u"baba");
    EXPECT_TRUE(CString(text).TrimLeft(text).IsEmpty());
    text.TrimRight(text);
    EXPECT_TRUE(text.IsEmpty());
    text = u"%s-%s";
    text.Format(text, text, text);
    EXPECT_EQ(text, u"%s-%s-%s-%s");
    text = text + text;
    EXPECT_EQ(text, u"%s-%s-%s-%s%s-%s-%s-%s");
}

TEST(CString, AppendInALoop_AllocatesSeldom)
{
    CString text;
    AllocationCount const allocations;
    for (int i = 0; i < 100000; ++i)
        text += static_cast<WCHAR>(u'a' + i % 26);
    EXPECT_EQ(text.GetLength(), 100000);
    EXPECT_LT(allocations.count(), 40u);
    EXPECT_EQ(text.GetAt(99999), u'a' + 99999 % 26);
}

TEST(CString, Append_EveryKind)
{
    CString text;
    text += u"a";
    text += L"b";
    text += "c";
    text += u'd';
    text += L'e';
    text += CString(u"f");
    text += static_cast<WCHAR>(0);
    text += CString();
    EXPECT_EQ(unitsOf(text), (std::u16string{u'a', u'b', u'c', u'd', u'e', u'f', 0}));
    EXPECT_EQ(unitsOf(L"x" + CString(u"y") + u"z"), u"xyz");
    CString const right = owned(u"kept");
    EXPECT_EQ((CString() + right).GetString(), right.GetString());
    EXPECT_EQ((right + CString()).GetString(), right.GetString());
#if !defined(_WIN32)
    CString pair;
    pair += L'\U0001F600';
    EXPECT_EQ(pair, u"\U0001F600");
#endif
}

TEST(CString, AllocationFails_TextStaysAsItWas)
{
    CString const added(u" and something that does not fit any longer");
    CString shared = owned(u"before");
    CString const other(shared);
    CString text = owned(u"before");
    {
        AllocationFault const fault(0);
        EXPECT_THROW(text += added, std::bad_alloc);
    }
    EXPECT_EQ(text, u"before");
    {
        AllocationFault const fault(0);
        EXPECT_THROW(shared.SetAt(0, u'B'), std::bad_alloc);
    }
    EXPECT_EQ(shared, u"before");
    {
        AllocationFault const fault(0);
        EXPECT_THROW(text.Replace(u"e", u"eee"), std::bad_alloc);
    }
    EXPECT_EQ(text, u"before");
    {
        AllocationFault const fault(0);
        EXPECT_THROW(shared.TrimRight(u'e'), std::bad_alloc);
    }
    EXPECT_EQ(shared, u"before");
    {
        AllocationFault const fault(0);
        EXPECT_THROW(text.Format(u"%s%s", text, added), std::bad_alloc);
    }
    EXPECT_EQ(text, u"before");
    CString const wide(L"looked at for the first time");
    {
        AllocationFault const fault(0);
#if !defined(_WIN32)
        EXPECT_THROW(wide.GetLength(), std::bad_alloc);
#endif
    }
    EXPECT_EQ(wide.GetLength(), 28);
    EXPECT_EQ(other, u"before");
}

// --- Comparison --------------------------------------------------------------------------------------------------------------

TEST(CString, Compare_CountsUnits)
{
    EXPECT_EQ(CString(u"a").Compare(u"a"), 0);
    EXPECT_LT(CString(u"a").Compare(u"b"), 0);
    EXPECT_GT(CString(u"b").Compare(u"a"), 0);
    EXPECT_LT(CString(u"a").Compare(u"aa"), 0);
    EXPECT_GT(CString(u"a").Compare(u""), 0);
    EXPECT_LT(CString(u"Z").Compare(u"a"), 0);
    EXPECT_GT(CString(u"\uFFFD").Compare(u"\U0001F600"), 0); // units, not characters
    EXPECT_LT(CString(u"a").Compare(CString(&u"a\0"[0], 2)), 0);
}

TEST(CString, Operators_OnEveryKindOfText)
{
    CString const text(u"b");
    wchar_t const *const wide = L"b";
    EXPECT_TRUE(text == wide && text == L"b" && text == u"b" && text == CString(u"b"));
    EXPECT_TRUE(text != L"c" && text != u"c" && text != CString(u"c"));
    EXPECT_TRUE(text < L"c" && text <= L"b" && text > L"a" && text >= L"b");
    EXPECT_TRUE(text < CString(u"c") && text <= CString(u"b") && text > CString(u"a") && text >= CString(u"b"));
    EXPECT_TRUE(L"a" < text && wide == text && L"c" > text && L"c" != text);
    EXPECT_TRUE(text > static_cast<wchar_t const *>(nullptr));
    EXPECT_TRUE(CString() == static_cast<char16_t const *>(nullptr));
    EXPECT_TRUE(CString(u"\U0001F600") == L"\U0001F600");
    EXPECT_TRUE(CString(u"\U0001F600").Left(1) < L"\U0001F600");
    EXPECT_TRUE(CString(u"\U0001F600x") > L"\U0001F600");
    EXPECT_TRUE(CString(&u"a\0"[0], 2) > L"a");
    EXPECT_TRUE(CString(&u"a\0"[0], 2) != u"a");
}

TEST(CString, CompareWithWide_AllocatesNothing)
{
    CString const text(u"cover");
    wchar_t const *const wide = L"cover";
    AllocationCount const allocations;
    EXPECT_TRUE(text == wide);
    EXPECT_EQ(allocations.count(), 0u);
}

TEST(CString, CompareNoCase_Table)
{
    struct Row
    {
        char16_t const *left;
        char16_t const *right;
        int order;
    };
    constexpr char16_t kHighThenA[] = {0xD801, u'A', 0};
    constexpr char16_t kHighThenSmallA[] = {0xD801, u'a', 0};
    Row const rows[] = {
        {u"", u"", 0},
        {u"a", u"A", 0},
        {u"Spacing Z", u"sPACING z", 0},
        {u"a", u"B", -1},
        {u"B", u"a", 1},
        {u"a", u"AA", -1},
        {u"_", u"A", -1}, // '_' lies below the small letters
        {u"_", u"a", -1},
        {u"Z", u"[", 1}, // and '[' too
        {u"\u00C4\u00D6\u00DC", u"\u00E4\u00F6\u00FC", 0},
        {u"\u00DF", u"SS", 1},             // simple mapping: one character for one
        {u"\u0416", u"\u0436", 0},         // Cyrillic
        {u"\u03A3", u"\u03C3", 0},         // Greek
        {u"\u03A3", u"\u03C2", 1},         // the final form is a small letter of its own
        {u"\U00010400", u"\U00010428", 0}, // beyond U+FFFF
        {u"\U00010400", u"\U00010427", -1},
        {u"\u20AC", u"\u20AC", 0},
        {kHighThenA, kHighThenSmallA, 0}, // a lone surrogate stands for itself
        {kHighAlone, kLowAlone, -1},
        {kHighAlone, u"\U00010000", -1},
    };
    for (Row const &row : rows)
    {
        EXPECT_EQ(CString(row.left).CompareNoCase(row.right), row.order) << CString(row.left).ToUtf8();
        EXPECT_EQ(CString(row.right).CompareNoCase(row.left), -row.order) << CString(row.left).ToUtf8();
    }
}

TEST(CaseFold, SmallLetters_StayAsTheyAre)
{
    int capitals = 0;
    for (char32_t character = 0; character < 0x110000; ++character)
    {
        char32_t const folded = OktText::foldCase(character);
        capitals += folded != character ? 1 : 0;
        ASSERT_EQ(OktText::foldCase(folded), folded) << static_cast<std::uint32_t>(character);
    }
    EXPECT_EQ(capitals, 1433); // of Unicode 14
}

TEST(CaseFold, Table)
{
    struct Row
    {
        char32_t from;
        char32_t to;
    };
    constexpr Row kRows[] = {
        {U'A', U'a'},       {U'Z', U'z'},       {U'@', U'@'},       {U'[', U'['},       {0x00C0, 0x00E0},     {0x00D7, 0x00D7},
        {0x00DE, 0x00FE},   {0x00DF, 0x00DF},   {0x0100, 0x0101},   {0x0101, 0x0101},   {0x0130, U'i'},       {0x0131, 0x0131},
        {0x0178, 0x00FF},   {0x01C4, 0x01C6},   {0x01C5, 0x01C6},   {0x0391, 0x03B1},   {0x03A2, 0x03A2},     {0x0410, 0x0430},
        {0x1E9E, 0x00DF},   {0x2126, 0x03C9},   {0x212A, U'k'},     {0x2160, 0x2170},   {0xA64A, 0xA64B},     {0xFF21, 0xFF41},
        {0x10400, 0x10428}, {0x1E900, 0x1E922}, {0x1E921, 0x1E943}, {0x1E922, 0x1E922}, {0x10FFFF, 0x10FFFF},
    };
    for (Row const &row : kRows)
        EXPECT_EQ(static_cast<std::uint32_t>(OktText::foldCase(row.from)), static_cast<std::uint32_t>(row.to));
}

// --- System strings ----------------------------------------------------------------------------------------------------------

TEST(CString, AllocSysString_KeepsZeroUnits)
{
    CString const text(&u"a\0b"[0], 3);
    BSTR const made = text.AllocSysString();
    EXPECT_EQ(SysStringLen(made), 3u);
    EXPECT_EQ(u16({made, 4}), (std::u16string{u'a', 0, u'b', 0}));
    SysFreeString(made);
    BSTR const empty = CString().AllocSysString();
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(SysStringLen(empty), 0u);
    SysFreeString(empty);
}

// --- Arrays, characters, ownership -------------------------------------------------------------------------------------------

namespace
{
char16_t g_changingUnits[] = u"changing";
wchar_t g_changingWide[] = L"changing";
char16_t g_unsetUnits[8];
constexpr char16_t kConstantUnits[] = u"a constant array that is long enough for any small buffer";
constexpr wchar_t kConstantWide[] = L"a constant array that is long enough for any small buffer";

template <typename C, std::size_t N> CString madeOf(C const (&array)[N]) { return CString(array); }
} // namespace

TEST(CString, MutableStaticArray_ThroughAConstantReference_IsCopied)
{
    static char16_t localUnits[] = u"changing";
    static wchar_t localWide[] = L"changing";
    CString const units = madeOf(g_changingUnits);
    CString const wide = madeOf(g_changingWide);
    CString const unset = madeOf(g_unsetUnits);
    CString const local = madeOf(localUnits);
    CString const wideLocal = madeOf(localWide);
    g_changingUnits[0] = u'C';
    g_changingWide[0] = L'C';
    g_unsetUnits[0] = u'C';
    localUnits[0] = u'C';
    localWide[0] = L'C';
    EXPECT_EQ(units, u"changing");
    EXPECT_EQ(wide, u"changing");
    EXPECT_TRUE(unset.IsEmpty());
    EXPECT_EQ(local, u"changing");
    EXPECT_EQ(wideLocal, u"changing");
    g_changingUnits[0] = u'c';
    g_changingWide[0] = L'c';
    g_unsetUnits[0] = 0;
    localUnits[0] = u'c';
    localWide[0] = L'c';
}

TEST(CString, ConstantArray_IsWrappedWithoutAnAllocation)
{
    static constexpr char16_t kLocal[] = u"a constant array of a function, long enough for any small buffer";
    AllocationCount const allocations;
    CString const units(kConstantUnits);
    CString const wide(kConstantWide);
    CString const local(kLocal);
    CString const passed = madeOf(kConstantUnits);
    EXPECT_EQ(units.GetLength(), 57);
    EXPECT_EQ(units.GetString(), unitsAt(kConstantUnits));
    EXPECT_EQ(passed.GetString(), unitsAt(kConstantUnits));
    EXPECT_EQ(local.GetString(), unitsAt(kLocal));
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(wide, units);
}

TEST(CString, Find_CharactersOfEveryWidth)
{
    CString const text(u"a/b/\u00E9");
    EXPECT_EQ(text.Find(u'/'), 1);
    EXPECT_EQ(text.Find(L'/'), 1);
    EXPECT_EQ(text.Find('/'), 1);
    EXPECT_EQ(text.Find(u'/', 2), 3);
    EXPECT_EQ(text.Find(L'/', 2), 3);
    EXPECT_EQ(text.Find('/', 2), 3);
    EXPECT_EQ(text.Find('/', 4), -1);
    EXPECT_EQ(text.Find(L'\u00E9'), 4);
    EXPECT_EQ(text.Find('\xE9'), 4); // by the code page, and no negative number
    EXPECT_EQ(text.ReverseFind(u'/'), 3);
    EXPECT_EQ(text.ReverseFind(L'/'), 3);
    EXPECT_EQ(text.ReverseFind('/'), 3);
    EXPECT_EQ(text.ReverseFind('\xE9'), 4);
    EXPECT_EQ(text.ReverseFind('x'), -1);
    EXPECT_EQ(text.ReverseFind(u"/b"), 1);
    EXPECT_EQ(text.ReverseFind(L"a"), 0);
    EXPECT_EQ(text.ReverseFind(CString(u"ab")), -1);
    EXPECT_EQ(CString().ReverseFind('a'), -1);
#if !defined(_WIN32)
    EXPECT_EQ(CString(u"\U0001F600x\U0001F600").ReverseFind(L'\U0001F600'), 3);
    EXPECT_EQ(CString(kHighAlone).Find(L'\U00010000'), -1); // half of it alone
#endif
}

TEST(CString, Trim_CharactersOfEveryWidth)
{
    EXPECT_EQ(CString(u"--a-").TrimLeft(u'-'), u"a-");
    EXPECT_EQ(CString(u"--a-").TrimLeft(L'-'), u"a-");
    EXPECT_EQ(CString(u"--a-").TrimLeft('-'), u"a-");
    EXPECT_EQ(CString(u"-a--").TrimRight(u'-'), u"-a");
    EXPECT_EQ(CString(u"-a--").TrimRight(L'-'), u"-a");
    EXPECT_EQ(CString(u"-a--").TrimRight('-'), u"-a");
    EXPECT_EQ(CString(u"\u00E9a\u00E9").TrimLeft('\xE9').TrimRight('\xE9'), u"a");
    EXPECT_EQ(CString(u"---").TrimLeft('-'), u"");
    EXPECT_EQ(CString(u"---").TrimRight(L'-'), u"");
}

TEST(CString, Replace_CharactersOfEveryWidth)
{
    CString text(u"1,5;2,5");
    EXPECT_EQ(text.Replace(u',', u'.'), 2);
    EXPECT_EQ(text, u"1.5;2.5");
    EXPECT_EQ(text.Replace(L'.', L','), 2);
    EXPECT_EQ(text, u"1,5;2,5");
    EXPECT_EQ(text.Replace(',', '.'), 2);
    EXPECT_EQ(text, u"1.5;2.5");
    EXPECT_EQ(text.Replace(';', '\xE9'), 1);
    EXPECT_EQ(text, u"1.5\u00E9"
                    u"2.5");
    EXPECT_EQ(text.Replace('x', 'y'), 0);
#if !defined(_WIN32)
    EXPECT_EQ(text.Replace(L'\u00E9', L'\U0001F600'), 1);
    EXPECT_EQ(text, u"1.5\U0001F600"
                    u"2.5");
#endif
}

TEST(CString, AppendAndJoin_CharactersOfEveryWidth)
{
    CString text(u"a");
    text += u'b';
    text += L'c';
    text += 'd';
    text += '\x80';
    EXPECT_EQ(text, u"abcd\u20AC");
    CString const middle(u"-");
    EXPECT_EQ(middle + u'x', u"-x");
    EXPECT_EQ(middle + L'x', u"-x");
    EXPECT_EQ(middle + 'x', u"-x");
    EXPECT_EQ(u'x' + middle, u"x-");
    EXPECT_EQ(L'x' + middle, u"x-");
    EXPECT_EQ('x' + middle, u"x-");
    EXPECT_EQ(middle + '\xE9', u"-\u00E9");
    EXPECT_EQ('\xE9' + middle, u"\u00E9-");
    EXPECT_EQ(middle, u"-");
    CString none;
    none += '\0';
    EXPECT_EQ((CString(u"a") + u'\0').GetLength(), 2); // a zero unit is a unit
#if !defined(_WIN32)
    EXPECT_EQ(middle + L'\U0001F600' + middle, u"-\U0001F600-");
#endif
}

TEST(CString, Owned_Literal_BufferOfItsOwn)
{
    for (CString const &literal : {CString(u"a name"), CString(L"a name")})
    {
        CString const owned = literal.Owned();
        EXPECT_EQ(owned, u"a name");
        EXPECT_NE(static_cast<void const *>(owned.GetString()), static_cast<void const *>(&u"a name"[0]));
        EXPECT_EQ(literal, u"a name");
    }
    CString const units(kConstantUnits);
    EXPECT_EQ(units.GetString(), unitsAt(kConstantUnits));
    EXPECT_NE(units.Owned().GetString(), unitsAt(kConstantUnits));
    EXPECT_EQ(units.Owned(), units);
}

TEST(CString, Owned_Buffer_SharedWithoutAnAllocation)
{
    CString const text = owned(static_cast<char16_t const *>(kConstantUnits));
    AllocationCount const allocations;
    CString const same = text.Owned();
    EXPECT_EQ(same.GetString(), text.GetString());
    EXPECT_TRUE(CString().Owned().IsEmpty());
    EXPECT_TRUE(CString(u"").Owned().IsEmpty());
    EXPECT_EQ(allocations.count(), 0u);
    CString const zeros = CString(&u"a\0b"[0], 3).Owned();
    EXPECT_EQ(unitsOf(zeros), (std::u16string{u'a', 0, u'b'}));
}

TEST(CString, WideTextAndLength_ThatManyCharacters)
{
    EXPECT_EQ(CString(L"abc", 2), u"ab");
    EXPECT_EQ(CString(L"abc", 3), u"abc");
    EXPECT_TRUE(CString(L"abc", 0).IsEmpty());
    EXPECT_TRUE(CString(L"abc", -1).IsEmpty());
    EXPECT_TRUE(CString(static_cast<wchar_t const *>(nullptr), 2).IsEmpty());
    EXPECT_EQ(unitsOf(CString(L"a\0b", 3)), (std::u16string{u'a', 0, u'b'}));
#if !defined(_WIN32)
    EXPECT_EQ(CString(L"a\U0001F600z", 2), u"a\U0001F600"); // characters count, not units
#endif
}
