// SPDX-License-Identifier: MIT
#include <oktformat/base64.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace okt;

namespace
{

using Kind = Base64Fault::Kind;

TEST(OktBase64, Base64_EveryLength_ComesBackInBothForms)
{
    std::string bytes;
    for (int i = 0; i < 300; ++i)
    {
        for (Base64Padding const padding : {Base64Padding::With, Base64Padding::Without})
        {
            std::string const text = base64(bytes, padding);
            EXPECT_EQ(text.find('=') != std::string::npos, padding == Base64Padding::With && i % 3 != 0);
            EXPECT_EQ(parseBase64(text, padding), bytes) << i;
        }
        bytes += static_cast<char>(static_cast<unsigned char>(i * 37));
    }
    EXPECT_EQ(base64("Man"), "TWFu");
    EXPECT_EQ(base64("Ma"), "TWE=");
    EXPECT_EQ(base64("M"), "TQ==");
    EXPECT_EQ(base64("\xFB\xEF\xFF"), "++//");
}

struct Wrong
{
    char const *text;
    Kind kind;
    int offset;
};

TEST(OktBase64, ParseBase64_AnyOtherTextForTheBytes_RefusedAtItsPlace)
{
    Wrong const rows[] = {
        {"TQ", Kind::Padding, 2},
        {"TQ=", Kind::Padding, 3},
        {"TQ===", Kind::Padding, 4},
        {"T", Kind::BrokenOff, 1},
        {"T===", Kind::BrokenOff, 4},
        {"TR==", Kind::PartOfByte, 1},
        {"TWF=", Kind::PartOfByte, 2},
        {"TWFu=", Kind::Padding, 4},
        {"TW Fu", Kind::Foreign, 2},
        {"TWFu\n", Kind::Foreign, 4},
        {"T=Fu", Kind::BehindPadding, 2},
        {"=", Kind::Padding, 0},
        {"TQ==TQ==", Kind::BehindPadding, 4},
        {"TWF\xC3\xBC", Kind::Foreign, 3},
    };
    for (Wrong const &row : rows)
    {
        Base64Fault fault;
        EXPECT_EQ(parseBase64(row.text, Base64Padding::With, &fault), std::nullopt) << row.text;
        EXPECT_EQ(fault.kind, row.kind) << row.text;
        EXPECT_EQ(fault.offset, row.offset) << row.text;
    }
    Wrong const unpadded[] = {
        {"TQ==", Kind::Padding, 2}, {"TR", Kind::PartOfByte, 1}, {"T", Kind::BrokenOff, 1}, {"TWFuT", Kind::BrokenOff, 5}};
    for (Wrong const &row : unpadded)
    {
        Base64Fault fault;
        EXPECT_EQ(parseBase64(row.text, Base64Padding::Without, &fault), std::nullopt) << row.text;
        EXPECT_EQ(fault.kind, row.kind) << row.text;
        EXPECT_EQ(fault.offset, row.offset) << row.text;
    }
}

/// The fault of a text that may have line breaks, and what it holds.
std::optional<Base64Fault> lenientFault(std::string const &text, std::string &bytes)
{
    Base64Reader reader(Base64Mode::Lenient, Base64Padding::With, &bytes);
    for (char const c : text)
        reader.take(static_cast<unsigned char>(c));
    return reader.finish();
}

TEST(OktBase64, Lenient_BreaksAndPaddingOrNone_TheBytes)
{
    for (char const *const text : {"TWFuTQ", "TWFuTQ==", "TW\r\nFu\nT\nQ=\r\n=\n"})
    {
        std::string bytes;
        EXPECT_FALSE(lenientFault(text, bytes)) << text;
        EXPECT_EQ(bytes, "ManM") << text;
    }
}

TEST(OktBase64, Lenient_FirstFault_ToldWithItsPlace)
{
    Wrong const rows[] = {
        {"TW*u?", Kind::Foreign, 2},     {"TWF u", Kind::Foreign, 3},     {"TQ==\nTWFu", Kind::BehindPadding, 5},
        {"TWFuT\n", Kind::BrokenOff, 6}, {"T\nR\n", Kind::PartOfByte, 2}, {"TQ=", Kind::Padding, 3}};
    for (Wrong const &row : rows)
    {
        std::string bytes;
        std::optional<Base64Fault> const fault = lenientFault(row.text, bytes);
        ASSERT_TRUE(fault) << row.text;
        EXPECT_EQ(fault->kind, row.kind) << row.text;
        EXPECT_EQ(fault->offset, row.offset) << row.text;
    }
    std::string bytes;
    EXPECT_EQ(lenientFault("TW\xFFu", bytes)->character, U'\xFF');
}

} // namespace
