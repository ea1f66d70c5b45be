// SPDX-License-Identifier: MIT
#include <oktcatalog/rowlines.h>

#include <oktplatform/oktplatform.h>

#include <gtest/gtest.h>

#include <limits>

namespace
{

okt::PoolRows someRows()
{
    okt::PoolRows rows;
    rows.path = "/pools/\"link\".okt";
    rows.size = 10;
    rows.modifiedNs = 1'700'000'000'000'000'001;
    rows.lookedNs = 5;
    rows.sha256 = "ab";
    rows.poolName = "Link";
    rows.unit = "mm";
    rows.classes = "One\nTwo";
    rows.objects.push_back({_GUID{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, "Class", "\x1F\\", 7, 3});
    return rows;
}

TEST(RowLines, FileAndObject_InWords)
{
    okt::RowLines const lines = okt::linesOf(someRows(), 9'000'000'000'000'000'000);
    EXPECT_EQ(lines.text[0],
              R"({"id":9000000000000000000,"path":"/pools/\"link\".okt","size":10,"modified_ns":1700000000000000001,)"
              R"("sha256":"ab","pool_id":null,"pool_name":"Link","objects":1,"state":"whole","plain":0,)"
              R"("unit":"mm","classes":"One\nTwo"})"
              "\n");
    EXPECT_EQ(lines.text[1], R"({"file":9000000000000000000,"number":0,"object_id":"{00000001-0002-0003-0405-060708090A0B}",)"
                             R"("class":"Class","name":"\u001f\\","offset":7,"size":3})"
                             "\n");
    EXPECT_EQ(lines.text[6], R"({"file":9000000000000000000,"name":"","text":"","description":"","expression":""})"
                             "\n");
    EXPECT_EQ(lines.count, (std::array<std::int64_t, 7>{1, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(lines.text[2], "");
}

TEST(RowLines, NumberThatIsNotFinite_Null)
{
    okt::PoolRows rows;
    for (double const value : {0.1, std::numeric_limits<double>::infinity()})
    {
        okt::ParameterRow row;
        row.number = value;
        row.kind = VT_R8;
        rows.parameters.push_back(row);
    }
    std::string const text = okt::linesOf(rows, 1).text[2];
    EXPECT_NE(text.find(R"("number_in_file":0,"object_id":null)"), std::string::npos);
    EXPECT_NE(text.find(R"("kind":"VT_R8","number":0.1,"text":null)"), std::string::npos);
    EXPECT_NE(text.find(R"("kind":"VT_R8","number":null,"text":null)"), std::string::npos);
}

} // namespace
