#include <tools/okt/csvtable.h>
#include <tools/okt/failure.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace okt;

namespace
{

std::string failureOf(std::function<void()> const &action)
{
    try
    {
        action();
    }
    catch (Failure const &failure)
    {
        return failure.what();
    }
    return "no failure";
}

TEST(OktCsvTable, Parse_CommentsBlankLinesAndBlanks_PassedOver)
{
    CsvTable const table = CsvTable::parse("t.csv", "# source\r\n\n size , name \r\n\t\r\n# more\n 12 ,  a b\t\n,c\n");
    ASSERT_EQ(table.rows().size(), 2u);
    EXPECT_EQ(table.text(table.rows()[0], "size"), "12");
    EXPECT_EQ(table.text(table.rows()[0], "name"), "a b");
    EXPECT_EQ(table.field(table.rows()[1], "size").text, "");
    EXPECT_EQ(table.field(table.rows()[0], "name").line, 6u);
    EXPECT_EQ(table.field(table.rows()[0], "name").column, 8u);
}

TEST(OktCsvTable, Parse_QuotationMarks_CommasAndMarksInside)
{
    CsvTable const table = CsvTable::parse("t.csv", "a,b\n\"x, \"\"y\"\"\" , 2\n");
    EXPECT_EQ(table.text(table.rows()[0], "a"), "x, \"y\"");
    EXPECT_EQ(table.text(table.rows()[0], "b"), "2");
}

TEST(OktCsvTable, Parse_ByteOrderMarkAndNoLineEndAtTheEnd_Read)
{
    CsvTable const table = CsvTable::parse("t.csv", "\xEF\xBB\xBF"
                                                    "a,b\n1,2");
    EXPECT_EQ(table.positive(table.rows()[0], "a", 10), 1);
    EXPECT_EQ(table.positive(table.rows()[0], "b", 10), 2);
}

struct BadText
{
    char const *text;
    char const *message;
};

TEST(OktCsvTable, Parse_NoTable_FailureWithPlace)
{
    BadText const rows[] = {
        {"", "t.csv: the file is empty"},
        {"\xEF\xBB\xBF", "t.csv: the file is empty"},
        {"# only\n# comments\n", "t.csv:2:1: the file has no line with the names of the columns"},
        {"a,b\n", "t.csv:1:1: there is no line behind the names of the columns"},
        {"# x\na,b\n# y\n", "t.csv:2:1: there is no line behind the names of the columns"},
        {"a,b,a\n1,2,3\n", "t.csv:1:5: the column \"a\" stands here twice"},
        {"a,b\n1,2,3\n", "t.csv:2:5: the line has 3 values for 2 columns"},
        {"a,b\n1,2\n1\n", "t.csv:3:2: the line ends ahead of the column \"b\""},
        {"a,b\n\"1,2\n", "t.csv:2:1: the quotation mark is not closed on this line"},
        {"a,b\n\"1\"2,3\n", "t.csv:2:4: a comma is missing behind the quotation mark"},
    };
    for (BadText const &row : rows)
        EXPECT_EQ(failureOf([&] { CsvTable::parse("t.csv", row.text); }), row.message) << row.text;
}

TEST(OktCsvTable, ExpectColumns_WrongColumns_FailureThatNamesTheColumn)
{
    auto const expect = [](char const *text) {
        return failureOf([&] { CsvTable::parse("t.csv", text).expectColumns({"size", "area"}); });
    };
    EXPECT_EQ(expect("area,size\n1,2\n"), "no failure");
    EXPECT_EQ(expect("size,aera\n1,2\n"), "t.csv:1:6: unknown column \"aera\"");
    EXPECT_EQ(expect("size\n1\n"), "t.csv:1:1: the column \"area\" is missing");
    EXPECT_EQ(expect("size,area,\n1,2,3\n"), "t.csv:1:11: unknown column \"\"");
}

struct BadNumber
{
    char const *text;
    char const *message;
};

TEST(OktCsvTable, Positive_NoPositiveNumber_FailureWithPlace)
{
    BadNumber const rows[] = {
        {"", "t.csv:2:3: the value of \"size\" is missing"},
        {"twelve", "t.csv:2:3: \"twelve\" in the column \"size\" is not a number"},
        {"12mm", "t.csv:2:3: \"12mm\" in the column \"size\" is not a number"},
        {"1 2", "t.csv:2:3: \"1 2\" in the column \"size\" is not a number"},
        {"\"1,2\"", "t.csv:2:3: \"1,2\" in the column \"size\" is not a number"},
        {"nan", "t.csv:2:3: \"nan\" in the column \"size\" is not a number"},
        {"0x10", "t.csv:2:3: \"0x10\" in the column \"size\" is not a number"},
        {"+1", "t.csv:2:3: \"+1\" in the column \"size\" is not a number"},
        {"-12", "t.csv:2:3: \"-12\" in the column \"size\" is not above 0 and up to 1000"},
        {"0", "t.csv:2:3: \"0\" in the column \"size\" is not above 0 and up to 1000"},
        {"-0.0", "t.csv:2:3: \"-0.0\" in the column \"size\" is not above 0 and up to 1000"},
        {"1000.5", "t.csv:2:3: \"1000.5\" in the column \"size\" is not above 0 and up to 1000"},
        {"inf", "t.csv:2:3: \"inf\" in the column \"size\" is not above 0 and up to 1000"},
        {"1e999", "t.csv:2:3: \"1e999\" in the column \"size\" is not above 0 and up to 1000"},
        {"1e-999", "t.csv:2:3: \"1e-999\" in the column \"size\" is not above 0 and up to 1000"},
        {"\x1b[2J", "t.csv:2:3: \"\\u001B[2J\" in the column \"size\" is not a number"},
    };
    for (BadNumber const &row : rows)
    {
        CsvTable const table = CsvTable::parse("t.csv", "a,size\n1," + std::string(row.text) + "\n");
        EXPECT_EQ(failureOf([&] { table.positive(table.rows()[0], "size", 1000); }), row.message) << row.text;
    }
}

TEST(OktCsvTable, Positive_Numbers_Value)
{
    CsvTable const table = CsvTable::parse("t.csv", "a,b,c,d\n12,0.375,1e2,1000\n");
    EXPECT_EQ(table.positive(table.rows()[0], "a", 1000), 12);
    EXPECT_EQ(table.positive(table.rows()[0], "b", 1000), 0.375);
    EXPECT_EQ(table.positive(table.rows()[0], "c", 1000), 100);
    EXPECT_EQ(table.positive(table.rows()[0], "d", 1000), 1000);
}

TEST(OktCsvTable, OrdinalAndOptional_FractionAndEmpty_FailureAndNothing)
{
    CsvTable const table = CsvTable::parse("t.csv", "a,b,c\n3,3.5,\n");
    EXPECT_EQ(table.ordinal(table.rows()[0], "a", 999), 3);
    EXPECT_EQ(failureOf([&] { table.ordinal(table.rows()[0], "b", 999); }),
              "t.csv:2:3: 3.5 in the column \"b\" is not a whole number");
    EXPECT_FALSE(table.optionalPositive(table.rows()[0], "c", 999).has_value());
    EXPECT_EQ(table.optionalPositive(table.rows()[0], "a", 999), 3.0);
}

TEST(OktCsvTable, Load_MissingFileAndFolder_Failure)
{
    EXPECT_EQ(failureOf([] { CsvTable::load("/nowhere/t.csv"); }), "/nowhere/t.csv: there is no such file");
    EXPECT_EQ(failureOf([] { CsvTable::load("/"); }), "/: this is a folder, not a file");
#if !defined(_WIN32)
    EXPECT_EQ(failureOf([] { CsvTable::load("/dev/null"); }), "/dev/null: this is no plain file");
#endif
}

} // namespace
