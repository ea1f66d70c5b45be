// SPDX-License-Identifier: MIT
#include <oktplatform/oktcodepage.h>

#include "support/printers.h"
#include "support/units.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace std::string_view_literals;

namespace
{
/// Sets the code page of the thread for a scope.
class ThreadPage
{
public:
    explicit ThreadPage(unsigned int page) : m_before(OktThreadCodePage()) { OktSetThreadCodePage(page); }
    ThreadPage(ThreadPage const &) = delete;
    ThreadPage &operator=(ThreadPage const &) = delete;
    ~ThreadPage() { OktSetThreadCodePage(m_before); }

private:
    unsigned int m_before;
};

/// Asks for the size, converts, and holds the two against each other.
std::string toBytes(UINT page, std::u16string_view text, BOOL *used = nullptr, char const *substitute = nullptr)
{
    auto const length = static_cast<int>(text.size());
    int const needed = WideCharToMultiByte(page, 0, text.data(), length, nullptr, 0, substitute, used);
    std::string bytes(static_cast<std::size_t>(needed), '#');
    EXPECT_EQ(WideCharToMultiByte(page, 0, text.data(), length, bytes.data(), needed, substitute, used), needed);
    return bytes;
}

std::u16string toUnits(UINT page, std::string_view text)
{
    auto const length = static_cast<int>(text.size());
    int const needed = MultiByteToWideChar(page, 0, text.data(), length, nullptr, 0);
    std::u16string units(static_cast<std::size_t>(needed), u'#');
    EXPECT_EQ(MultiByteToWideChar(page, 0, text.data(), length, units.data(), needed), needed);
    return units;
}

constexpr std::u16string_view kHighAlone{u"\xD83D", 1};

/// Wine has no tables of these.
bool isKnown(UINT page) { return !runsUnderWine() || (page != 50220 && page != 51932 && page != 54936); }

/// What is expected of a page that the system does not know.
void expectUnknown(UINT page)
{
    ThreadPage const before(1252);
    ThreadPage const unknown(page);
    EXPECT_EQ(OktThreadCodePage(), 1252u) << page;
    EXPECT_EQ(toBytes(page, u"a"), "") << page;
    EXPECT_EQ(toUnits(page, "a"), u"") << page;
}
} // namespace

// --- The page of the thread --------------------------------------------------------------------------------------------------

TEST(CodePage, Thread_StartsWith1252)
{
    unsigned int page = 0;
    bool ascii = false;
    std::thread([&] {
        page = OktThreadCodePage();
        ascii = OktThreadCodePageKeepsAscii();
    }).join();
    EXPECT_EQ(page, 1252u);
    EXPECT_TRUE(ascii);
}

TEST(CodePage, Thread_HasAPageOfItsOwn)
{
    ThreadPage const page(932);
    EXPECT_EQ(OktThreadCodePage(), 932u);
    unsigned int other = 0;
    std::thread([&other] { other = OktThreadCodePage(); }).join();
    EXPECT_EQ(other, 1252u);
}

TEST(CodePage, UnknownNumber_ChangesNothing)
{
    ThreadPage const page(932);
    for (unsigned int const unknown : {7u, 42u, 1200u, 1201u, 12000u, 99999u, 4294967295u})
    {
        OktSetThreadCodePage(unknown);
        EXPECT_EQ(OktThreadCodePage(), 932u) << unknown;
        EXPECT_EQ(WideCharToMultiByte(unknown, 0, u"a", 1, nullptr, 0, nullptr, nullptr), 0) << unknown;
        EXPECT_EQ(MultiByteToWideChar(unknown, 0, "a", 1, nullptr, 0), 0) << unknown;
    }
    OktSetThreadCodePage(0);
    EXPECT_EQ(OktThreadCodePage(), 932u);
    OktSetThreadCodePage(CP_THREAD_ACP);
    EXPECT_EQ(OktThreadCodePage(), 932u);
    EXPECT_EQ(toBytes(CP_THREAD_ACP, u"\u65E5"), "\x93\xFA"); // and its converter still works
}

TEST(CodePage, KeepsAscii_Table)
{
    struct Row
    {
        unsigned int page;
        bool keeps;
    };
    constexpr Row kRows[] = {{1252, true},   {65001, true}, {932, true},   {936, true},   {949, true},   {950, true},
                             {1250, true},   {1251, true},  {437, true},   {850, true},   {20127, true}, {28591, true},
                             {28605, true},  {54936, true}, {20866, true}, {21866, true}, {51932, true}, {50220, false},
                             {65000, false}, {37, false},   {500, false}};
    for (Row const &row : kRows)
    {
        if (!isKnown(row.page))
        {
            expectUnknown(row.page);
            continue;
        }
        ThreadPage const page(row.page);
        EXPECT_EQ(OktThreadCodePage(), row.page);
        EXPECT_EQ(OktThreadCodePageKeepsAscii(), row.keeps) << row.page;
    }
}

// --- Arguments ---------------------------------------------------------------------------------------------------------------

TEST(CodePage, ToBytes_Arguments)
{
    char target[8] = "#######";
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", -1, nullptr, 0, nullptr, nullptr), 4);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", -1, target, 8, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(target, 5), std::string("abc\0#", 5));
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", 2, target, 2, nullptr, nullptr), 2);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", 3, target, 2, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", 0, target, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", -2, target, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, nullptr, 3, target, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", 3, nullptr, 8, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"abc", 3, target, -1, nullptr, nullptr), 0);
    EXPECT_EQ(WideCharToMultiByte(CP_THREAD_ACP, 0, u"a\0b", 3, target, 8, nullptr, nullptr), 3);
    EXPECT_EQ(target[1], '\0');
}

TEST(CodePage, ToUnits_Arguments)
{
    char16_t target[8] = u"#######";
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", -1, target, 8), 4);
    EXPECT_EQ(std::u16string(target, 5), std::u16string(u"abc\0#", 5));
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", 3, target, 2), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", 0, target, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", -2, target, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, nullptr, 3, target, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", 3, nullptr, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "abc", 3, target, -1), 0);
}

TEST(CodePage, TooSmallATarget_IsNeverOverrun)
{
    for (UINT const page : {1252u, 65001u, 932u, 50220u})
    {
        std::u16string const text = u"ab\u65E5\u672Cc";
        std::string const whole = toBytes(page, text);
        for (std::size_t size = 1; size < whole.size(); ++size)
        {
            std::string target(size, '#');
            EXPECT_EQ(WideCharToMultiByte(page, 0, text.data(), static_cast<int>(text.size()), target.data(),
                                          static_cast<int>(size), nullptr, nullptr),
                      0);
        }
        std::u16string const back = toUnits(page, whole);
        for (std::size_t size = 1; size < back.size(); ++size)
        {
            std::u16string target(size, u'#');
            EXPECT_EQ(MultiByteToWideChar(page, 0, whole.data(), static_cast<int>(whole.size()), target.data(),
                                          static_cast<int>(size)),
                      0);
        }
    }
}

TEST(CodePage, AsciiRunsOfEveryLength_EndAtTheFirstOtherCharacter)
{
    for (UINT const page : {1252u, 65001u, 932u})
    {
        ThreadPage const thread(page);
        std::string const other = toBytes(page, u"\u00A7"); // in all three
        for (std::size_t length = 0; length < 40; ++length)
        {
            std::u16string const text = std::u16string(length, u'~') + u"\u00A7" + std::u16string(length % 9, u'a');
            std::string const bytes = std::string(length, '~') + other + std::string(length % 9, 'a');
            for (std::size_t start = 0; start <= length && start < 8; ++start)
            {
                EXPECT_EQ(toBytes(CP_THREAD_ACP, std::u16string_view(text).substr(start)), bytes.substr(start)) << page;
                EXPECT_EQ(toUnits(CP_THREAD_ACP, std::string_view(bytes).substr(start)), text.substr(start)) << page;
                EXPECT_EQ(CString(bytes.c_str() + start), text.c_str() + start) << page;
            }
        }
    }
}

TEST(CodePage, LstrlenW)
{
    EXPECT_EQ(lstrlenW(nullptr), 0);
    EXPECT_EQ(lstrlenW(u""), 0);
    EXPECT_EQ(lstrlenW(u"ab\U0001F600"), 4);
    EXPECT_EQ(lstrlenW(u"a\0b"), 1);
}

// --- windows-1252 ------------------------------------------------------------------------------------------------------------

TEST(CodePage1252, EveryByte_GoesThereAndBack)
{
    constexpr char16_t kHigh[] =
        u"\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
        u"\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178";
    for (int i = 0; i < 256; ++i)
    {
        std::string const byte(1, static_cast<char>(i));
        char16_t const expected = i >= 0x80 && i < 0xA0 ? kHigh[i - 0x80] : static_cast<char16_t>(i);
        EXPECT_EQ(toUnits(1252, byte), std::u16string(1, expected)) << i;
        EXPECT_EQ(toBytes(1252, std::u16string(1, expected)), byte) << i;
    }
}

TEST(CodePage1252, TheFiveOpenBytes_AreControlCharacters)
{
    EXPECT_EQ(toUnits(1252, "\x81\x8D\x8F\x90\x9D"), u"\u0081\u008D\u008F\u0090\u009D");
    EXPECT_EQ(toBytes(1252, u"\u0081\u008D\u008F\u0090\u009D"), "\x81\x8D\x8F\x90\x9D");
}

TEST(CodePage1252, WithoutAByte_BecomesOneQuestionMarkPerUnit)
{
    BOOL used = FALSE;
    EXPECT_EQ(toBytes(1252, u"a\u65E5b", &used), "a?b");
    EXPECT_EQ(used, TRUE);
    EXPECT_EQ(toBytes(1252, u"\U0001F600", &used), "??");
    EXPECT_EQ(used, TRUE);
    EXPECT_EQ(toBytes(1252, kHighAlone, &used), "?");
    EXPECT_EQ(toBytes(1252, u"\u0080\u009F\u0100", &used), "???"); // no best fit, and no control characters but the five
    EXPECT_EQ(toBytes(1252, u"\u65E5", &used, "_"), "_");
    EXPECT_EQ(toBytes(1252, u"plain \u20AC", &used), "plain \x80");
    EXPECT_EQ(used, FALSE);
}

// --- UTF-8 -------------------------------------------------------------------------------------------------------------------

TEST(CodePageUtf8, ThereAndBack)
{
    EXPECT_EQ(toBytes(65001, u"a\u00E4\u20AC\U0001F600"), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(toUnits(65001, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E4\u20AC\U0001F600");
}

TEST(CodePageUtf8, LoneSurrogate_BecomesAQuestionMark)
{
    BOOL used = FALSE;
    EXPECT_EQ(toBytes(65001, std::u16string(u"a") + std::u16string(kHighAlone) + u"b", &used), "a?b");
    EXPECT_EQ(used, TRUE);
    EXPECT_EQ(toBytes(65001, u"\u00E4", &used), "\xC3\xA4");
    EXPECT_EQ(used, FALSE);
}

TEST(CodePageUtf8, InvalidBytes_BecomeReplacements)
{
    EXPECT_EQ(toUnits(65001, "a\x80"
                             "b"),
              u"a\uFFFDb");
    EXPECT_EQ(toUnits(65001, "\xE2\x82"), u"\uFFFD");
    EXPECT_EQ(toUnits(65001, "\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
}

// --- Pages of the system's converter -----------------------------------------------------------------------------------------

TEST(CodePageSystem, ShiftJis)
{
    ThreadPage const page(932);
    for (UINT const number : {932u, 0u, static_cast<UINT>(CP_THREAD_ACP)})
    {
        EXPECT_EQ(toBytes(number, u"bar \u65E5\u672C \uFF71\\~"), "bar \x93\xFA\x96\x7B \xB1\\~");
        EXPECT_EQ(toUnits(number, "bar \x93\xFA\x96\x7B \xB1\\~"), u"bar \u65E5\u672C \uFF71\\~");
    }
    EXPECT_EQ(toUnits(932, "\x83\x5C|"), u"\u30BD|"); // a second byte that is an ASCII character elsewhere
    BOOL used = FALSE;
    EXPECT_EQ(toBytes(932, u"\u65E5\u00E7\u672C\U0001F600x", &used), "\x93\xFA?\x96\x7B??x");
    EXPECT_EQ(used, TRUE);
    EXPECT_EQ(toBytes(932, std::u16string(u"\u65E5") + std::u16string(kHighAlone), &used), "\x93\xFA?");
    EXPECT_EQ(toBytes(932, std::u16string(kHighAlone) + u"\u65E5", &used, "*"), "*\x93\xFA");
    EXPECT_EQ(toBytes(932, u"\u65E5", &used), "\x93\xFA");
    EXPECT_EQ(used, FALSE);
}

TEST(CodePageSystem, ShiftJis_BytesThatAreNoCharacter)
{
    EXPECT_EQ(toUnits(932, "a\x93"), u"a\uFFFD"); // cut inside a character
    EXPECT_EQ(toUnits(932, "\x93\xFA\x93"), u"\u65E5\uFFFD");
    EXPECT_EQ(toUnits(932, "\x81 x"), u"\uFFFD x"); // what follows stays
    EXPECT_EQ(toUnits(932, "\xFF"
                           "a"),
              u"\uFFFD"
              u"a");
}

TEST(CodePageSystem, ZeroUnitsAndBytes_AreConvertedLikeOthers)
{
    EXPECT_EQ(toBytes(932, std::u16string_view(u"\u65E5\0\u672C", 3)), std::string("\x93\xFA\0\x96\x7B", 5));
    EXPECT_EQ(toUnits(932, "\x93\xFA\0\x96\x7B"sv), std::u16string(u"\u65E5\0\u672C", 3));
    EXPECT_EQ(WideCharToMultiByte(932, 0, u"\u65E5", -1, nullptr, 0, nullptr, nullptr), 3);
}

TEST(CodePageSystem, PagesByNumber)
{
    struct Row
    {
        UINT page;
        std::u16string_view text;
        std::string_view bytes;
    };
    constexpr Row kRows[] = {
        {437, u"\u00E4", "\x84"sv},
        {850, u"\u00E4", "\x84"sv},
        {1250, u"\u0159", "\xF8"sv},
        {1251, u"\u0416", "\xC6"sv},
        {1253, u"\u03B1", "\xE1"sv},
        {936, u"\u4E2D", "\xD6\xD0"sv},
        {949, u"\uD55C", "\xC7\xD1"sv},
        {950, u"\u4E2D", "\xA4\xA4"sv},
        {1361, u"\uD55C", "\xD0\x65"sv},
        {20127, u"a", "a"sv},
        {20866, u"\u0416", "\xF6"sv},
        {21866, u"\u0454", "\xA4"sv},
        {28591, u"\u00E4", "\xE4"sv},
        {28592, u"\u0159", "\xF8"sv},
        {28605, u"\u20AC", "\xA4"sv},
        {51932, u"\u65E5", "\xC6\xFC"sv},
        {54936, u"\U0001F600", "\x94\x39\xFC\x36"sv},
        {37, u"a1", "\x81\xF1"sv},
        {500, u"a1", "\x81\xF1"sv},
    };
    for (Row const &row : kRows)
    {
        if (!isKnown(row.page))
        {
            expectUnknown(row.page);
            continue;
        }
        EXPECT_EQ(toBytes(row.page, row.text), row.bytes) << row.page;
        EXPECT_EQ(toUnits(row.page, row.bytes), row.text) << row.page;
    }
    EXPECT_EQ(toBytes(20127, u"\u00E4"), "?");
}

TEST(CodePageSystem, PageWithShifts_ReturnsToItsFirstState)
{
    if (!isKnown(50220))
    {
        expectUnknown(50220);
        return;
    }
    std::string const bytes = toBytes(50220, u"a\u65E5");
    EXPECT_EQ(bytes, "a\x1B$BF|\x1B(B");
    EXPECT_EQ(toUnits(50220, bytes), u"a\u65E5");
    EXPECT_EQ(toBytes(50220, u"\u65E5\U0001F600\u672C"), "\x1B$BF|\x1B(B??\x1B$BK\\\x1B(B");
}

TEST(CodePageSystem, LongText_IsConvertedInPieces)
{
    std::u16string text;
    std::string bytes;
    for (int i = 0; i < 5000; ++i)
    {
        text += i % 3 == 0 ? u"\u65E5" : u"x";
        bytes += i % 3 == 0 ? "\x93\xFA" : "x";
    }
    EXPECT_EQ(toBytes(932, text), bytes);
    EXPECT_EQ(toUnits(932, bytes), text);
}

TEST(CodePageSystem, ManyThreads_HaveConvertersOfTheirOwn)
{
    std::vector<std::thread> threads;
    for (UINT const page : {932u, 936u, 1251u, 850u})
    {
        threads.emplace_back([page] {
            OktSetThreadCodePage(page);
            std::string const expected = toBytes(page, u"\u0416 and more");
            for (int i = 0; i < 500; ++i)
                ASSERT_EQ(toBytes(CP_THREAD_ACP, u"\u0416 and more"), expected);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}
