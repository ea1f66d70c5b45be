// SPDX-License-Identifier: MIT
#include <oktformat/escape.h>
#include <oktformat/utf8.h>

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

TEST(OktUtf8, AppendUtf8_EveryLength_ReadBackAsTheSameCharacter)
{
    struct Row
    {
        char32_t character;
        char const *utf8;
    };
    Row const rows[] = {{U'A', "A"},
                        {0x7F, "\x7F"},
                        {0x80, "\xC2\x80"},
                        {0x7FF, "\xDF\xBF"},
                        {0x800, "\xE0\xA0\x80"},
                        {0xFFFF, "\xEF\xBF\xBF"},
                        {0x10000, "\xF0\x90\x80\x80"},
                        {0x10FFFF, "\xF4\x8F\xBF\xBF"}};
    for (Row const &row : rows)
    {
        std::string utf8;
        appendUtf8(utf8, row.character);
        EXPECT_EQ(utf8, row.utf8);
        Utf8Character const first = firstCharacter(utf8 + "x");
        EXPECT_EQ(first.character, row.character);
        EXPECT_EQ(first.size, utf8.size());
    }
}

TEST(OktUtf8, FirstCharacter_BytesThatAreNone_OneByteOfNoCharacter)
{
    for (char const *const bytes : {"\x80", "\xC3", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                                    "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82x", "\xFF"})
    {
        EXPECT_EQ(firstCharacter(bytes).character, kNoCharacter) << bytes;
        EXPECT_EQ(firstCharacter(bytes).size, 1u) << bytes;
    }
}

TEST(OktUtf8, Surrogates_OfACharacterBeyondU_FFFF_JoinToIt)
{
    EXPECT_EQ(highSurrogate(0x1D531), 0xD835u);
    EXPECT_EQ(lowSurrogate(0x1D531), 0xDD31u);
    EXPECT_EQ(joined(0xD835, 0xDD31), 0x1D531u);
}

TEST(OktUtf8, AppendEscaped_WhatSteersATerminal_EscapesAndTheRestAsItIs)
{
    std::string text;
    for (char32_t const c : {U'a', U'"', U'\\', U'\n', U'\t', U'\r', char32_t(0), char32_t(0x9B), char32_t(0x202E),
                             char32_t(0xD800), char32_t(0xFEFF), char32_t(0xFC), char32_t(0x1F600)})
        appendEscaped(text, c, true);
    EXPECT_EQ(text, R"(a\"\\\n\t\r\u0000\u009B\u202E\uD800\uFEFF)"
                    "\xC3\xBC\xF0\x9F\x98\x80");
    std::string quote;
    appendEscaped(quote, U'"', false);
    EXPECT_EQ(quote, "\"");
}

} // namespace
