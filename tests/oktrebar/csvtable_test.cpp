// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/csvtable.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

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
        {"a,b\n\"1,2\n", "t.csv:2:1: the quotation mark is not closed"},
        {"a,b\n1,2\n\"1,2\n3,4\n", "t.csv:3:1: the quotation mark is not closed"},
        {"a,b\n\"1\"2,3\n", "t.csv:2:4: a comma is missing behind the quotation mark"},
        {"a;b\n\"1\"2;3\n", "t.csv:2:4: a semicolon is missing behind the quotation mark"},
        {"a\tb\n\"1\" 2\t3\n", "t.csv:2:5: a tab is missing behind the quotation mark"},
        {"a,b\n\"1,2\n3,4\n5\"6,7\n", "t.csv:4:3: a comma is missing behind the quotation mark that closes the one in line 2"},
        {"a\n1,2,3\n", "t.csv:2:3: the line has 3 values for 1 column"},
        {"a,b\n1,2,,4\n", "t.csv:2:6: the line has 4 values for 2 columns"},
        {"a,b,,\n1,2,3,\n", "t.csv:2:5: the value \"3\" stands in a column without a name"},
        {"a,b,,\n1,2,,,5\n", "t.csv:2:7: the line has 5 values for 4 columns"},
        {"a,,b\n1,2,3\n", "t.csv:1:3: the column has no name"},
        {";a;b\n;2;3\n", "t.csv:1:1: the column has no name"},
        {";;\n;\n", "t.csv:2:1: the file has no line with the names of the columns"},
        {"a;b\n;\n", "t.csv:1:1: there is no line behind the names of the columns"},
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
    EXPECT_EQ(expect("size|area\n1|2\n"), "t.csv:1:1: unknown column \"size|area\"; neither comma nor semicolon nor tab "
                                          "separates names in this line");
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
        {"\"1,2\"", "t.csv:2:3: \"1,2\" in the column \"size\" has a comma; where commas separate the values, numbers have a "
                    "decimal point"},
        {"\"1,2mm\"", "t.csv:2:3: \"1,2mm\" in the column \"size\" is not a number"},
        {"\"1,234.5\"",
         "t.csv:2:3: \"1,234.5\" in the column \"size\" has commas and points: they do not tell which of them is "
         "the decimal one"},
        {"1.234.567", "t.csv:2:3: \"1.234.567\" in the column \"size\" has several points"},
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

// ---- As spreadsheets write them ----------------------------------------------------------------------------------------------

/// The text as UTF-16 without a byte order mark.
std::string utf16(std::string_view ascii, bool isLittle)
{
    std::string bytes;
    for (char const c : ascii)
        bytes += isLittle ? std::string{c, '\0'} : std::string{'\0', c};
    return bytes;
}

/// The one row of a table with the columns "size" and "name".
void expectRow(std::string_view bytes, double size, std::string const &name)
{
    CsvTable const table = CsvTable::parse("t.csv", bytes);
    ASSERT_EQ(table.rows().size(), 1u) << bytes;
    table.expectColumns({"size", "name"});
    EXPECT_EQ(table.positive(table.rows()[0], "size", 10000), size) << bytes;
    EXPECT_EQ(table.field(table.rows()[0], "name").text, name) << bytes;
}

TEST(OktCsvTable, Parse_Separators_FoundInTheHeader)
{
    expectRow("size,name\n1.5,a\n", 1.5, "a");
    expectRow("size;name\n1.5;a\n", 1.5, "a");
    expectRow("size\tname\n1.5\ta\n", 1.5, "a");
    expectRow("size;name\r\n1,5;a\r\n", 1.5, "a");
    expectRow("size\tname\r1,5\t\r", 1.5, "");
    expectRow("\"size\";\"name\"\n\"1,5\";\"a;b, c\"\n", 1.5, "a;b, c");
    expectRow(" size ;  name \n 1,5\t;  a \n", 1.5, "a");
    expectRow("# a, comment; here\n\n;;\nsize;name\n;\n12;a,b\n;;\n", 12, "a,b");
    expectRow("size,name\t\n12,a\n", 12, "a");
    expectRow("name\tsize\n\t12\n", 12, "");
}

TEST(OktCsvTable, Parse_SeparatorLine_Accepted)
{
    expectRow("sep=;\nsize;name\n1,5;a\n", 1.5, "a");
    expectRow("sep=,\r\nsize,name\r\n1.5,a\r\n", 1.5, "a");
    expectRow("SEP=\t\nsize\tname\n1.5\ta;b\n", 1.5, "a;b");
    expectRow("\xEF\xBB\xBF\"sep=;\"\nsize;\"name\"\n1,5;a\n", 1.5, "a");
    expectRow("sep=;\n# a comment\n\nname;size\na;1,5\n", 1.5, "a");
    EXPECT_EQ(failureOf([] { CsvTable::parse("t.csv", "sep=|\nsize|name\n1|a\n"); }),
              "t.csv:1:5: \"|\" is no separator: that is a comma, a semicolon or a tab");
    EXPECT_EQ(failureOf([] { CsvTable::parse("t.csv", "sep=\nsize;name\n1;a\n"); }),
              "t.csv:1:5: \"\" is no separator: that is a comma, a semicolon or a tab");
    // It says that a semicolon in the header is no sign of a separator.
    EXPECT_EQ(failureOf([] {
                  CsvTable::parse("t.csv", "sep=,\nsize,na;me\n1,a\n").expectColumns({"size", "name"});
              }),
              "t.csv:2:6: unknown column \"na;me\"");
}

TEST(OktCsvTable, Parse_HeaderWithSeveralSeparators_Failure)
{
    auto const parse = [](char const *text) { return failureOf([text] { CsvTable::parse("t.csv", text); }); };
    EXPECT_EQ(
        parse("# x\nsize,name;area\n1,2;3\n"),
        "t.csv:2:10: here is a semicolon, in front of it a comma: the line does not tell which of them separates the columns");
    EXPECT_EQ(
        parse("size;name\tarea\n1;2\t3\n"),
        "t.csv:1:10: here is a tab, in front of it a semicolon: the line does not tell which of them separates the columns");
    EXPECT_EQ(parse("size;\"name, area\"\n1;2\n"), "no failure");
}

TEST(OktCsvTable, Parse_ValuesWithLineBreaks_OneRowAndPlacesBehindIt)
{
    CsvTable const table =
        CsvTable::parse("t.csv", "\"# a comment; with\r\n\"\"two\"\" lines\";;\r\nname;size\r\n\"a\r\nb\";12\r\nc;x\r\n");
    ASSERT_EQ(table.rows().size(), 2u);
    EXPECT_EQ(table.text(table.rows()[0], "name"), "a\nb");
    EXPECT_EQ(table.field(table.rows()[0], "name").line, 4u);
    EXPECT_EQ(table.field(table.rows()[0], "size").line, 5u);
    EXPECT_EQ(table.field(table.rows()[0], "size").column, 4u);
    EXPECT_EQ(failureOf([&] { table.positive(table.rows()[1], "size", 10); }),
              "t.csv:6:3: \"x\" in the column \"size\" is not a number");
    expectRow("\"# one\n# another with a mark \" in it\nsize,name\n1,a\n", 1, "a");
}

TEST(OktCsvTable, Parse_EmptyColumnsAndRowsAtTheEnd_DoNotCount)
{
    expectRow("size;name;;\n1,5;a;;\n;;;\n;;;\n", 1.5, "a");
    expectRow("size,name,,\n1.5,a\n,,,,,\n  \n", 1.5, "a");
    expectRow("size,name\n1.5,a,,,\n", 1.5, "a");
    expectRow("size\tname\t\n1.5\ta\t\n\t\t\n", 1.5, "a");
    expectRow("size;name\n\"\";\"\"\n1,5;a\n", 1.5, "a");
}

TEST(OktCsvTable, Parse_Utf16WithAMark_Read)
{
    std::string const text = "size\tname\r\n1,5\ta\r\n";
    expectRow("\xFF\xFE" + utf16(text, true), 1.5, "a");
    expectRow("\xFE\xFF" + utf16(text, false), 1.5, "a");
    // U+00E4 and, as two units, U+1F600.
    expectRow("\xFF\xFE" + utf16("size;name\n2;", true) + "\xE4" + std::string(1, '\0') + "\x3D\xD8" + std::string(1, '\0') +
                  "\xDE",
              2, "\xC3\xA4\xF0\x9F\x98\x80");
    expectRow("\xEF\xBB\xBFsize;name\n2;\xC3\xA4\n", 2, "\xC3\xA4");
}

TEST(OktCsvTable, Parse_OtherEncodings_FailureThatTellsThem)
{
    auto const parse = [](std::string const &bytes) { return failureOf([&] { CsvTable::parse("t.csv", bytes); }); };
    std::string const text = "size;name\r\n1,5;a\r\n";
    std::string const wanted = "tables are UTF-8, or UTF-16 with a byte order mark";
    EXPECT_EQ(parse(utf16(text, true)), "t.csv: this looks like UTF-16 without a byte order mark; " + wanted);
    EXPECT_EQ(parse(utf16(text, false)), "t.csv: this looks like UTF-16 without a byte order mark; " + wanted);
    EXPECT_EQ(parse(std::string("\xFF\xFE\0\0s\0\0\0", 8)), "t.csv: this is UTF-32; " + wanted);
    EXPECT_EQ(parse(std::string("\0\0\xFE\xFF\0\0\0s", 8)), "t.csv: this is UTF-32; " + wanted);
    EXPECT_EQ(parse("size;name\r\n1,5;Fl\xE4"
                    "che\r\n"),
              "t.csv:2:7: the byte 0xE4 here is no UTF-8, perhaps Windows-1252 or Latin-1; " + wanted);
    EXPECT_EQ(parse("# mm\xB2\nsize;name\n1;a\n"),
              "t.csv:1:5: the byte 0xB2 here is no UTF-8, perhaps Windows-1252 or Latin-1; " + wanted);
    EXPECT_EQ(parse("size;name\n1;\xC3"),
              "t.csv:2:3: the byte 0xC3 here is no UTF-8, perhaps Windows-1252 or Latin-1; " + wanted);
    EXPECT_EQ(parse(std::string("size;na\0me\n1;a\n", 15)), "t.csv:1:8: a byte 0 is here: this is no text");
    EXPECT_EQ(parse("\xFF\xFE" + utf16("a;b\n1;2\n", true) + "x"),
              "t.csv:3: the file ends in the middle of a character of UTF-16");
    EXPECT_EQ(parse("\xFF\xFE" + utf16("a;b\n1;", true) + "\x3D\xD8" + utf16("\n", true)),
              "t.csv:2: half a character of UTF-16 stands alone here");
    EXPECT_EQ(parse("\xFF\xFE"), "t.csv: the file is empty");
}

TEST(OktCsvTable, Parse_EveryPrefixAndByteChanged_TableOrOneLine)
{
    std::string const text =
        "sep=;\r\n\"# a \"\"b\"\"\r\n c\";;\r\n size ;\"na\"\"me\";;\r\n1,5;\"a\r\nb\";;\r\n;;;\n2;\xC3\xA4\r";
    std::vector<std::string> cases;
    for (std::string const &whole : {text, "\xFF\xFE" + utf16(text, true), "\xFE\xFF" + utf16(text, false)})
        for (std::size_t i = 0; i < whole.size(); ++i)
        {
            cases.push_back(whole.substr(0, i));
            for (char const c : {'"', ';', ',', '\t', '\n', '\r', '#', '\0', '\xFF'})
                cases.push_back(whole.substr(0, i) + c + whole.substr(i + 1));
        }
    for (std::string const &bytes : cases)
    {
        std::string const failure = failureOf([&] {
            CsvTable const table = CsvTable::parse("t.csv", bytes);
            for (CsvRow const &row : table.rows())
                EXPECT_FALSE(row.empty());
        });
        EXPECT_TRUE(failure == "no failure" || failure.starts_with("t.csv:")) << failure;
        EXPECT_EQ(failure.find('\n'), std::string::npos) << failure;
    }
}

TEST(OktCsvTable, Positive_DecimalComma_WhereNoCommaSeparates)
{
    CsvTable const table = CsvTable::parse("t.csv", "a;b;c;d;e\n1,5;0,375;,5;1,5E+01;12\n");
    EXPECT_EQ(table.positive(table.rows()[0], "a", 1000), 1.5);
    EXPECT_EQ(table.positive(table.rows()[0], "b", 1000), 0.375);
    EXPECT_EQ(table.positive(table.rows()[0], "c", 1000), 0.5);
    EXPECT_EQ(table.positive(table.rows()[0], "d", 1000), 15);
    EXPECT_EQ(table.positive(table.rows()[0], "e", 1000), 12);
    CsvTable const points = CsvTable::parse("t.csv", "a\tb\n1.5\t.25\n");
    EXPECT_EQ(points.positive(points.rows()[0], "a", 1000), 1.5);
    EXPECT_EQ(points.positive(points.rows()[0], "b", 1000), 0.25);
}

TEST(OktCsvTable, Positive_ThousandsSigns_FailureWithPlace)
{
    auto const second = [](char const *text) {
        CsvTable const table = CsvTable::parse("t.csv", "size;name\n0,5;a\n" + std::string(text) + ";b\n");
        return failureOf([&] {
            table.positive(table.rows()[0], "size", 10000);
            table.positive(table.rows()[1], "size", 10000);
        });
    };
    EXPECT_EQ(second("1963,5"), "no failure");
    EXPECT_EQ(second("1.963,5"),
              "t.csv:3:1: \"1.963,5\" in the column \"size\" has commas and points: they do not tell which of "
              "them is the decimal one");
    EXPECT_EQ(second("1,963.5"),
              "t.csv:3:1: \"1,963.5\" in the column \"size\" has commas and points: they do not tell which of "
              "them is the decimal one");
    EXPECT_EQ(second("1,234,567"), "t.csv:3:1: \"1,234,567\" in the column \"size\" has several commas");
    EXPECT_EQ(second("1.963"),
              "t.csv:3:1: \"1.963\" in the column \"size\" has a decimal point, a number in line 2 has a decimal "
              "comma: one of them may separate thousands");
    EXPECT_EQ(second("1 963,5"), "t.csv:3:1: \"1 963,5\" in the column \"size\" is not a number");
    CsvTable const table = CsvTable::parse("t.csv", "size;name\n0.5;a\n1,963;b\n");
    EXPECT_EQ(
        failureOf([&] {
            table.positive(table.rows()[0], "size", 10000);
            table.positive(table.rows()[1], "size", 10000);
        }),
        "t.csv:3:1: \"1,963\" in the column \"size\" has a decimal comma, a number in line 2 has a decimal point: one of them "
        "may separate thousands");
}

TEST(OktCsvTable, Refuse_PlaceInAValue_BehindItsQuotationMark)
{
    CsvTable const table = CsvTable::parse("t.csv", "a;b\n12;\"3;4\"\n");
    EXPECT_EQ(failureOf([&] { table.refuse(table.field(table.rows()[0], "a"), "here", 1); }), "t.csv:2:2: here");
    EXPECT_EQ(failureOf([&] { table.refuse(table.field(table.rows()[0], "b"), "here", 1); }), "t.csv:2:6: here");
    EXPECT_EQ(failureOf([&] { table.refuse(table.field(table.rows()[0], "b"), "here"); }), "t.csv:2:4: here");
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
