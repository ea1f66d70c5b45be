// SPDX-License-Identifier: MIT
#include <oktformat/sentence.h>

#include <oktformat/text.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

using namespace okt;

namespace
{

TEST(Sentence, Pieces_StandInTheirPlaces)
{
    std::string const name = "a.okt";
    EXPECT_EQ(sentence("{}: {} of {}", name, plural(1, "object"), "three"), "a.okt: 1 object of three");
    EXPECT_EQ(sentence("{1} before {0}", std::string_view("last"), 'f'), "f before last");
    EXPECT_EQ(sentence("nothing in it"), "nothing in it");
    EXPECT_EQ(sentence("{{{}}}", ""), "{}");
}

TEST(Sentence, WholeNumbers_AsToStringWritesThem)
{
    EXPECT_EQ(sentence("{} {}", std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::uint64_t>::max()),
              "-9223372036854775808 18446744073709551615");
    EXPECT_EQ(sentence("{}", std::size_t{1234567}), "1234567"); // no separators, whatever the locale
}

TEST(Sentence, ZeroBytesInAPiece_AreKept) { EXPECT_EQ(sentence("<{}>", std::string("a\0b", 3)), std::string("<a\0b>", 5)); }

TEST(Sentence, BracesInAPiece_AreText) { EXPECT_EQ(sentence("{}", "{} {0} }"), "{} {0} }"); }

} // namespace
