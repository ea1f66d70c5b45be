// SPDX-License-Identifier: MIT
#include "support/clientclasses.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/streambuilder.h"
#include "support/testobject.h"
#include "support/units.h"

#include <okttext/okttextfiler.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>

namespace
{

/// The lines between the brackets of a document of records, without their indentation and commas.
std::string linesOf(std::string const &text)
{
    std::string const head = "{\n  \"format\": \"OKTDatabase text\",\n  \"version\": 1,\n  \"content\": [\n";
    std::string const tail = "\n  ]\n}\n";
    if (!text.starts_with(head) || !text.ends_with(tail))
        return "no such document: " + text;
    std::istringstream stream(text.substr(head.size(), text.size() - head.size() - tail.size()));
    std::string lines;
    for (std::string line; std::getline(stream, line);)
    {
        line.erase(0, 4);
        if (line.ends_with(','))
            line.pop_back();
        lines += lines.empty() ? line : "\n" + line;
    }
    return lines;
}

class OktTextFilerTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), testing::ElementsAre()); }

    /// What was written gives these lines, and these lines the same records.
    void expectLines(std::string const &lines)
    {
        std::string const text = m_filer.text();
        EXPECT_EQ(linesOf(text), lines);
        CByteArray written;
        ASSERT_TRUE(m_filer.saveFiler(written));
        OKTTextFiler reader;
        OKTTextFault fault;
        ASSERT_TRUE(reader.loadText(text, fault)) << fault.place() << ' ' << fault.reason;
        EXPECT_TRUE(reader.setInternalIsWriteEnabled(true));
        CByteArray read;
        EXPECT_TRUE(reader.saveFiler(read));
        EXPECT_TRUE(read == written);
    }

    void writeDouble(std::uint64_t bits) { EXPECT_TRUE(m_filer.writeDouble(u"d", std::bit_cast<double>(bits))); }

    OKTTextFiler m_filer;
    ReportCatcher m_reports;
};

TEST_F(OktTextFilerTest, Text_OfNothing_IsAnEmptyList)
{
    EXPECT_EQ(m_filer.text(), "{\n  \"format\": \"OKTDatabase text\",\n  \"version\": 1,\n  \"content\": []\n}\n");
}

TEST_F(OktTextFilerTest, Write_EveryNumber_OneLineWithItsKind)
{
    EXPECT_TRUE(m_filer.writeBool(u"b", true));
    EXPECT_TRUE(m_filer.writeBool(u"b", false));
    EXPECT_TRUE(m_filer.writeBool(u"bi", 7));
    EXPECT_TRUE(m_filer.writeShort(u"s", static_cast<short>(-32768)));
    EXPECT_TRUE(m_filer.writeShort(u"us", static_cast<unsigned short>(65535)));
    EXPECT_TRUE(m_filer.writeInt(u"i", -1));
    EXPECT_TRUE(m_filer.writeInt(u"ui", 4294967295u));
    EXPECT_TRUE(m_filer.writeLong(u"l", -2147483647L - 1));
    EXPECT_TRUE(m_filer.writeLong(u"ul", 2147483648UL));
    expectLines("{\"name\": \"b\", \"bool\": true}\n"
                "{\"name\": \"b\", \"bool\": false}\n"
                "{\"name\": \"bi\", \"long\": 7}\n"
                "{\"name\": \"s\", \"short\": -32768}\n"
                "{\"name\": \"us\", \"short\": -1}\n"
                "{\"name\": \"i\", \"long\": -1}\n"
                "{\"name\": \"ui\", \"long\": -1}\n"
                "{\"name\": \"l\", \"long\": -2147483648}\n"
                "{\"name\": \"ul\", \"long\": -2147483648}");
}

TEST_F(OktTextFilerTest, Write_Doubles_ShortestThatComeBackBitForBit)
{
    for (double const value :
         {0.0, 1.0, 0.1, -2.5, 1e21, 5e-324, 1.7976931348623157e308, 123456789012345680.0, 0.30000000000000004})
        EXPECT_TRUE(m_filer.writeDouble(u"d", value));
    writeDouble(0x8000000000000000);
    writeDouble(0x7FF0000000000000);
    writeDouble(0xFFF0000000000000);
    writeDouble(0x7FF8000000000000);
    writeDouble(0xFFF8000000000001);
    writeDouble(0x7FF0000000000001);
    expectLines("{\"name\": \"d\", \"double\": 0}\n"
                "{\"name\": \"d\", \"double\": 1}\n"
                "{\"name\": \"d\", \"double\": 0.1}\n"
                "{\"name\": \"d\", \"double\": -2.5}\n"
                "{\"name\": \"d\", \"double\": 1e+21}\n"
                "{\"name\": \"d\", \"double\": 5e-324}\n"
                "{\"name\": \"d\", \"double\": 1.7976931348623157e+308}\n"
                "{\"name\": \"d\", \"double\": 123456789012345680}\n"
                "{\"name\": \"d\", \"double\": 0.30000000000000004}\n"
                "{\"name\": \"d\", \"double\": \"-0\"}\n"
                "{\"name\": \"d\", \"double\": \"infinity\"}\n"
                "{\"name\": \"d\", \"double\": \"-infinity\"}\n"
                "{\"name\": \"d\", \"double\": \"nan:7FF8000000000000\"}\n"
                "{\"name\": \"d\", \"double\": \"nan:FFF8000000000001\"}\n"
                "{\"name\": \"d\", \"double\": \"nan:7FF0000000000001\"}");
}

TEST_F(OktTextFilerTest, Write_Strings_BothKindsEscapedWhereJsonOrATerminalNeedsIt)
{
    EXPECT_TRUE(m_filer.writeString(u"t", u""));
    EXPECT_TRUE(m_filer.writeString(u"t", u"Bügel Ø12 🔩 \"\\/"));
    EXPECT_TRUE(m_filer.writeString(u"t", u"\t\n\r\u0001\u007F\u0085\u2028\u202E\uFEFF\uFFFF"));
    EXPECT_TRUE(m_filer.writeString(u"t", CString(u"a\0b", 3)));
    m_filer.setIsAnsiString(true);
    EXPECT_TRUE(m_filer.writeString(u"t", u"Ø € \u0081 \u00FF"));
    expectLines("{\"name\": \"t\", \"string16\": \"\"}\n"
                "{\"name\": \"t\", \"string16\": \"Bügel Ø12 🔩 \\\"\\\\/\"}\n"
                "{\"name\": \"t\", \"string16\": \"\\t\\n\\r\\u0001\\u007F\\u0085\\u2028\\u202E\\uFEFF\xEF\xBF\xBF\"}\n"
                "{\"name\": \"t\", \"string16\": \"a\\u0000b\"}\n"
                "{\"name\": \"t\", \"string8\": \"Ø € \\u0081 ÿ\"}");
}

TEST_F(OktTextFilerTest, Write_LoneSurrogates_InANotationOfTheirOwn)
{
    EXPECT_TRUE(m_filer.writeString(u"t", CString(u"\xD800", 1)));
    EXPECT_TRUE(m_filer.writeString(u"t", CString(u"\\\xDC00\xD83D\xDE00\xD800z\n", 7)));
    expectLines("{\"name\": \"t\", \"string16-escaped\": \"\\\\uD800\"}\n"
                "{\"name\": \"t\", \"string16-escaped\": \"\\\\\\\\\\\\uDC00😀\\\\uD800z\\n\"}");
}

TEST_F(OktTextFilerTest, Write_IdsPointsBytes_OneLineEach)
{
    EXPECT_TRUE(m_filer.writeObjectId(u"i", idOf("{01234567-89AB-CDEF-0123-456789ABCDEF}")));
    EXPECT_TRUE(m_filer.writeObjectId(u"null", OKTDbObjectId()));
    EXPECT_TRUE(m_filer.writePoint3d(u"p", OKTGeXYZ(1.0, -0.0, 0.25)));
    EXPECT_TRUE(m_filer.writeByteArray(u"a", bytesOf({0, 255, 7, 6})));
    EXPECT_TRUE(m_filer.writeByteArray(u"a", CByteArray()));
    IdArray ids;
    ids.append(idOf("{01234567-89AB-CDEF-0123-456789ABCDEF}"));
    EXPECT_TRUE(m_filer.writeObjectIdArray(u"Ids", IdArray()));
    // A list of ids is one only among the members of a frame, not loose in a document.
    EXPECT_TRUE(m_filer.writeObjectIdArray(u"Ids", ids));
    expectLines("{\"name\": \"i\", \"id\": \"{01234567-89AB-CDEF-0123-456789ABCDEF}\"}\n"
                "{\"name\": \"null\", \"id\": \"{00000000-0000-0000-0000-000000000000}\"}\n"
                "{\"name\": \"p\", \"point\": [1, \"-0\", 0.25]}\n"
                "{\"name\": \"a\", \"bytes\": \"AP8HBg==\"}\n"
                "{\"name\": \"a\", \"bytes\": \"\"}\n"
                "{\"name\": \"LengthIds\", \"long\": 0}\n"
                "{\"name\": \"LengthIds\", \"long\": 1}\n"
                "{\"name\": \"Ids.0\", \"id\": \"{01234567-89AB-CDEF-0123-456789ABCDEF}\"}");
}

TEST_F(OktTextFilerTest, Write_EveryVariant_KindAndValue)
{
    tagVARIANT value = {};
    auto const write = [&](VARTYPE kind, bool done) {
        value.vt = kind;
        EXPECT_EQ(m_filer.writeVariant(u"v", value), done) << kind;
    };
    value.dblVal = 2.5;
    write(VT_R8, true);
    value.fltVal = 0.5f;
    write(VT_R4, true);
    value.llVal = 0;
    value.iVal = -3;
    write(VT_I2, true);
    value.lVal = 100000;
    write(VT_I4, true);
    value.boolVal = VARIANT_TRUE;
    write(VT_BOOL, true);
    value.boolVal = 2;
    write(VT_BOOL, true);
    value.bstrVal = SysAllocString(u"B500B");
    write(VT_BSTR, true);
    m_filer.setIsAnsiString(true);
    write(VT_BSTR, true);
    VariantClear(&value);
    // These have a kind in a stream and no value.
    value.llVal = 0;
    for (VARTYPE const kind : {VT_EMPTY, VT_NULL, VT_CY, VT_DATE, VT_ERROR, VT_DISPATCH, VT_DECIMAL, VT_I8})
        write(kind, false);
    write(static_cast<VARTYPE>(VT_ARRAY | VT_UI1), false);
    expectLines("{\"name\": \"v\", \"variant\": \"VT_R8\", \"double\": 2.5}\n"
                "{\"name\": \"v\", \"variant\": \"VT_R4\", \"double\": 0.5}\n"
                "{\"name\": \"v\", \"variant\": \"VT_I2\", \"short\": -3}\n"
                "{\"name\": \"v\", \"variant\": \"VT_I4\", \"long\": 100000}\n"
                "{\"name\": \"v\", \"variant\": \"VT_BOOL\", \"long\": -1}\n"
                "{\"name\": \"v\", \"variant\": \"VT_BOOL\", \"long\": 2}\n"
                "{\"name\": \"v\", \"variant\": \"VT_BSTR\", \"string16\": \"B500B\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_BSTR\", \"string8\": \"B500B\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_EMPTY\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_NULL\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_CY\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_DATE\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_ERROR\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_DISPATCH\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_DECIMAL\"}\n"
                "{\"name\": \"v\", \"variant\": \"VT_I8\"}\n"
                "{\"name\": \"v\", \"variant\": 8209}");
}

TEST_F(OktTextFilerTest, WriteObject_ClientClass_FramesSectionsMembersByName)
{
    TestObject object;
    object.m_strText = u"one";
    object.m_nNumber = 5;
    object.m_idOther = idOf("{01234567-89AB-CDEF-0123-456789ABCDEF}");
    ASSERT_EQ(object.xmlOut(&m_filer), eFilerOk);
    expectLines("{\"name\": \"Object\", \"class\": \"TestObject\", \"version\": 1, \"content\": [\n"
                "  {\"name\": \"Object\", \"class\": \"OKTDbObject\", \"version\": 1, \"content\": [\n"
                "    {\"section\": 1, \"content\": [\n"
                "      {\"name\": \"m_objectId\", \"id\": \"{00000000-0000-0000-0000-000000000000}\"}\n"
                "    ]}\n"
                "  ]}\n"
                "  {\"section\": 1, \"content\": [\n"
                "    {\"name\": \"m_strText\", \"string16\": \"one\"}\n"
                "    {\"name\": \"m_nNumber\", \"long\": 5}\n"
                "    {\"name\": \"m_idOther\", \"id\": \"{01234567-89AB-CDEF-0123-456789ABCDEF}\"}\n"
                "  ]}\n"
                "]}");

    OKTTextFiler reader;
    OKTTextFault fault;
    ASSERT_TRUE(reader.loadText(m_filer.text(), fault));
    TestObject read;
    ASSERT_EQ(read.xmlIn(&reader), eFilerOk);
    EXPECT_EQ(read.m_strText, u"one");
    EXPECT_EQ(read.m_nNumber, 5);
    EXPECT_EQ(read.m_idOther, object.m_idOther);
}

TEST_F(OktTextFilerTest, WriteObject_ListOfIds_OneListWithItsName)
{
    OKTDbParamRelation relation;
    relation.appendParameter(idOf("{11111111-2222-3333-4444-555555555555}"));
    relation.appendParameter(idOf("{01234567-89AB-CDEF-0123-456789ABCDEF}"));
    ASSERT_EQ(relation.xmlOut(&m_filer), eFilerOk);
    EXPECT_THAT(m_filer.text(), testing::HasSubstr("        {\"name\": \"m_tabParameters\", \"ids\": [\n"
                                                   "          \"{11111111-2222-3333-4444-555555555555}\",\n"
                                                   "          \"{01234567-89AB-CDEF-0123-456789ABCDEF}\"\n"
                                                   "        ]}\n"));
    OKTTextFiler reader;
    OKTTextFault fault;
    ASSERT_TRUE(reader.loadText(m_filer.text(), fault));
    OKTDbParamRelation read;
    ASSERT_EQ(read.xmlIn(&reader), eFilerOk);
    ASSERT_EQ(read.parameterCount(), 2);
    EXPECT_EQ(read.parameterAt(1), relation.parameterAt(1));
}

TEST_F(OktTextFilerTest, WriteObject_Picture_ImageInOneLine)
{
    OKTDbPicture picture;
    picture.setPictureData(bytesOf({1, 2, 3, 4}));
    ASSERT_EQ(picture.xmlOut(&m_filer), eFilerOk);
    EXPECT_THAT(m_filer.text(),
                testing::HasSubstr("\n      {\"picture\": \"AQIDBA==\"},\n      {\"section\": 3, \"content\": [\n"
                                   "        {\"name\": \"m_pntCamera\", \"point\": [0, 0, 0]},\n"));
}

TEST_F(OktTextFilerTest, Text_FrameLeftOpenOrWhileReading_IsEmpty)
{
    EXPECT_TRUE(m_filer.beginWriteClass(u"Object", u"X", 1));
    EXPECT_EQ(m_filer.text(), "");
    OKTTextFiler reader;
    OKTTextFault fault;
    ASSERT_TRUE(reader.loadText("{\"format\":\"OKTDatabase text\",\"version\":1,\"content\":[{\"long\":1}]}", fault));
    EXPECT_EQ(reader.text(), "");
}

TEST_F(OktTextFilerTest, LoadText_NoDocumentOfRecords_FalseWithPlaceAndTheFilerStaysAsItWas)
{
    EXPECT_TRUE(m_filer.writeInt(u"i", 1));
    OKTTextFault fault;
    EXPECT_FALSE(m_filer.loadText(
        "{\"format\": \"OKTDatabase text\",\n\"version\": 1,\n\"content\": [\n {\"long\": 1},\n {\"long\": \"x\"}]}", fault));
    EXPECT_EQ(fault.place(), "5:2");
    EXPECT_EQ(fault.reason, "\"long\" is no whole number from -2147483648 to 2147483647");
    expectLines("{\"name\": \"i\", \"long\": 1}");
}

TEST_F(OktTextFilerTest, LoadText_WithoutNamesAndInAnotherOrderOfKeys_IsTheSame)
{
    OKTTextFiler reader;
    OKTTextFault fault;
    ASSERT_TRUE(reader.loadText(
        "{\"version\":1,\"content\":[{\"content\":[{\"content\":[{\"double\":1.0},{\"double\":2},{\"double\":3e0}],"
        "\"section\":1}],\"version\":1,\"class\":\"OKTGeXYZ\"}],\"format\":\"OKTDatabase text\"}",
        fault))
        << fault.place() << ' ' << fault.reason;
    OKTGeXYZ point;
    EXPECT_TRUE(reader.readPoint3d(u"p", point));
    EXPECT_EQ(point.Z(), 3.0);
}

TEST_F(OktTextFilerTest, Names_CallThatFails_LeavesNone)
{
    if (sizeof(long) > 4)
    {
        EXPECT_FALSE(m_filer.writeLong(u"wide", std::numeric_limits<long>::max()));
    }
    EXPECT_TRUE(m_filer.writeInt(u"i", 1));
    EXPECT_THAT(m_filer.names(), testing::ElementsAre("i"));
}

} // namespace
