// SPDX-License-Identifier: MIT
#include <okttext/oktnotation.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>

namespace
{

using namespace okttext;

TEST(OktNotation, Narrow_EveryByte_IsACharacterOfItsOwn)
{
    for (int byte = 0; byte < 256; ++byte)
    {
        std::string const text(1, static_cast<char>(static_cast<unsigned char>(byte)));
        std::string json;
        appendNarrow(json, text);
        if (byte >= 0xA0 || byte == 0x80 || byte == 0x9F)
        {
            EXPECT_EQ(parseNarrow(json), text) << byte;
        }
    }
    EXPECT_EQ(parseNarrow("€Ÿ\xC2\x81"), "\x80\x9F\x81");
    EXPECT_EQ(parseNarrow("\xC2\x80"), std::nullopt); // a control character where Windows-1252 has the euro sign
    EXPECT_EQ(parseNarrow("ł"), std::nullopt);
    EXPECT_EQ(parseNarrow("😀"), std::nullopt);
}

TEST(OktNotation, EscapedUnits_BackslashWithoutNotation_IsRefused)
{
    EXPECT_EQ(parseEscapedUnits("\\uD800x"), std::string("\x00\xD8x\x00", 4));
    EXPECT_EQ(parseEscapedUnits("\\\\u"), std::string("\\\0u\0", 4));
    for (char const *const text : {"\\", "\\u", "\\uD80", "\\uD80G", "\\x", "\\n"})
        EXPECT_EQ(parseEscapedUnits(text), std::nullopt) << text;
}

TEST(OktNotation, Guid_TextAndBack_AnyCaseAndNothingElse)
{
    std::string const text = "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}";
    std::string const guid = "\xD3\x9A\x06\x56\x1A\x84\xC4\x4F\xB6\xD9\x6A\x2A\xBE\xC4\xA0\xD8";
    EXPECT_EQ(guidText(guid), text);
    EXPECT_EQ(parseGuid(text), guid);
    EXPECT_EQ(parseGuid("{56069ad3-841a-4fc4-b6d9-6a2abec4a0d8}"), guid);
    for (char const *const wrong : {"", "56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8", "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D}",
                                    "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8)", "{56069AD3-841A-4FC4-B6D9+6A2ABEC4A0D8}",
                                    "{5606-9AD3841A-4FC4-B6D9-6A2ABEC4A0D8}", "{G6069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}"})
        EXPECT_EQ(parseGuid(wrong), std::nullopt) << wrong;
}

TEST(OktNotation, ParseDouble_WordsAloneAndNansWithTheirBits)
{
    EXPECT_TRUE(std::signbit(*parseDouble("-0")));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(*parseDouble("nan:7ff4000000000009")), 0x7FF4000000000009u);
    for (char const *const wrong :
         {"", "0", "nan", "nan:", "nan:7FF0000000000000", "nan:3FF0000000000000", "nan:7FF800000000000", "inf", "1.5"})
        EXPECT_EQ(parseDouble(wrong), std::nullopt) << wrong;
}

TEST(OktNotation, Readable_LongOrOdd_IsShortenedAscii)
{
    EXPECT_EQ(readable("a\nb\x80"), "a?b?");
    EXPECT_EQ(readable(std::string(41, 'x')), std::string(40, 'x') + "...");
}

} // namespace
