// SPDX-License-Identifier: MIT
#include <oktdatabase/oktxmlfiler.h>

#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktgexyz.h>

#include "support/hexbytes.h"
#include "support/numericlocale.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/units.h"
#include "support/wine.h"
#include "support/xmldocument.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>

// The XML filer, reading: values by name, frames and sections wherever they stand, maps, and the objects at document level
// with the read cursor.

namespace
{
class OKTXmlFilerReadingTest : public testing::Test
{
protected:
    /// Opens `filer` on a document with these elements below the root.
    void open(OKTXmlFiler &filer, std::string const &elements)
    {
        openDocument(filer, "<?xml version='1.0' encoding='UTF-8'?><Document>" + elements + "</Document>");
    }

    void openDocument(OKTXmlFiler &filer, std::string const &document)
    {
        std::string const name = "read" + std::to_string(m_files++) + ".xml";
        ASSERT_TRUE(filer.NewFiler(putText(m_folder, name, document), false)) << document;
    }

    /// Opens it on what the calls write.
    void openWritten(OKTXmlFiler &filer, std::function<void(OKTXmlFiler &)> const &write)
    {
        CString const path = m_folder.path("written" + std::to_string(m_files++) + ".xml");
        OKTXmlFiler writer;
        ASSERT_TRUE(writer.NewFiler(path, true));
        write(writer);
        ASSERT_TRUE(writer.CloseFiler());
        ASSERT_TRUE(filer.NewFiler(path, false));
    }

    static std::string nextClass(OKTXmlFiler &filer)
    {
        CString className = u"left over";
        bool const found = filer.getDescriptionForNextReadObject(className);
        EXPECT_EQ(found, !className.IsEmpty());
        return className.ToUtf8();
    }

    ScratchFolder m_folder;
    int m_files = 0;
};

tagVARIANT emptyVariant()
{
    tagVARIANT value;
    VariantInit(&value);
    return value;
}

/// What one entry of a map gives: "name VT value", or "" at the end.
std::string nextEntry(OKTXmlFiler &filer)
{
    CString name = u"kept";
    tagVARIANT value = emptyVariant();
    if (!filer.getMapAttribute(name, &value))
    {
        EXPECT_EQ(name, u"kept");
        EXPECT_EQ(value.vt, VT_EMPTY);
        return {};
    }
    std::string text = name.ToUtf8() + " " + std::to_string(value.vt) + " ";
    if (value.vt == VT_I4)
        text += std::to_string(value.lVal);
    else if (value.vt == VT_R8)
        text += std::to_string(value.dblVal);
    else
        text += CString(value.bstrVal).ToUtf8();
    VariantClear(&value);
    return text;
}
} // namespace

// --- Values by name ----------------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, EveryValue_ComesBackAsItWasWritten)
{
    OKTXmlFiler filer;
    openWritten(filer, [](OKTXmlFiler &writer) {
        writer.writeDouble(u"d", -123456.789);
        writer.writeLong(u"ul", 4294967295ul);
        writer.writeLong(u"l", -2147483647l - 1);
        writer.writeString(u"s", u"<a & \"b\"> '\u00E9\u03A9\U0001F600' \t\r\n");
        writer.writeString(u"es", CString());
        writer.writeBool(u"b", true);
        writer.writeBool(u"bi", 9);
        writer.writeInt(u"ui", 4294967295u);
        writer.writeInt(u"i", INT_MIN);
        writer.writeShort(u"us", static_cast<unsigned short>(65535));
        writer.writeShort(u"sh", static_cast<short>(-32768));
        writer.writePoint3d(u"p", OKTGeXYZ(1.5, 0.0, -0.25));
    });
    double d = 0;
    unsigned long ul = 0;
    long l = 0;
    CString s;
    CString es = u"x";
    bool b = false;
    int bi = 0;
    unsigned int ui = 0;
    int i = 0;
    unsigned short us = 0;
    short sh = 0;
    OKTGeXYZ p;
    EXPECT_TRUE(filer.readDouble(u"d", d));
    EXPECT_TRUE(filer.readLong(u"ul", ul));
    EXPECT_TRUE(filer.readLong(u"l", l));
    EXPECT_TRUE(filer.readString(u"s", s));
    EXPECT_TRUE(filer.readString(u"es", es));
    EXPECT_TRUE(filer.readBool(u"b", b));
    EXPECT_TRUE(filer.readBool(u"bi", bi));
    EXPECT_TRUE(filer.readInt(u"ui", ui));
    EXPECT_TRUE(filer.readInt(u"i", i));
    EXPECT_TRUE(filer.readShort(u"us", us));
    EXPECT_TRUE(filer.readShort(u"sh", sh));
    EXPECT_TRUE(filer.readPoint3d(u"p", p));
    EXPECT_EQ(d, -123456.789);
    EXPECT_EQ(ul, 4294967295ul);
    EXPECT_EQ(l, -2147483647l - 1);
    EXPECT_EQ(s, u"<a & \"b\"> '\u00E9\u03A9\U0001F600' \t\r\n");
    EXPECT_EQ(es, u"");
    EXPECT_TRUE(b);
    EXPECT_EQ(bi, 1);
    EXPECT_EQ(ui, 4294967295u);
    EXPECT_EQ(i, INT_MIN);
    EXPECT_EQ(us, 65535);
    EXPECT_EQ(sh, -32768);
    EXPECT_TRUE(p == OKTGeXYZ(1.5, 0.0, -0.25));
    EXPECT_TRUE(filer.CloseFiler());
}

TEST_F(OKTXmlFilerReadingTest, Doubles_NormalRangeComesBackToTheBit)
{
    std::vector<double> const values = {0.1, 1.0 / 3.0, 1e22, 1.7976931348623157e308, 123456789.123456789, -2.5e10, 0.0};
    OKTXmlFiler filer;
    openWritten(filer, [&](OKTXmlFiler &writer) {
        for (std::size_t i = 0; i < values.size(); ++i)
            writer.writeDouble(CString::FromUtf8("v" + std::to_string(i)), values[i]);
        writer.writeDouble(u"tiny", 1.5e-10);
    });
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        double value = -1;
        EXPECT_TRUE(filer.readDouble(CString::FromUtf8("v" + std::to_string(i)), value));
        EXPECT_EQ(value, values[i]);
    }
    double tiny = 0;
    EXPECT_TRUE(filer.readDouble(u"tiny", tiny)); // 17 decimals are all that stands
    EXPECT_EQ(tiny, 0.00000000015);
}

TEST_F(OKTXmlFilerReadingTest, Members_TwiceAndInAnyOrder)
{
    OKTXmlFiler filer;
    open(filer, "<a long='1'/><b long='2'/><c long='3'/>");
    for (char16_t const *const name : {u"c", u"a", u"c", u"b", u"a"})
    {
        int value = 0;
        EXPECT_TRUE(filer.readInt(name, value));
        EXPECT_EQ(value, name[0] - u'a' + 1);
    }
}

TEST_F(OKTXmlFilerReadingTest, Miss_LeavesStringLongAndDouble_Quirk74)
{
    OKTXmlFiler filer;
    open(filer, "<other long='1'/>");
    CString s = u"kept";
    unsigned long ul = 7;
    long l = -7;
    double d = 0.5;
    EXPECT_FALSE(filer.readString(u"n", s));
    EXPECT_FALSE(filer.readLong(u"n", ul));
    EXPECT_FALSE(filer.readLong(u"n", l));
    EXPECT_FALSE(filer.readDouble(u"n", d));
    EXPECT_EQ(s, u"kept");
    EXPECT_EQ(ul, 7u);
    EXPECT_EQ(l, -7);
    EXPECT_EQ(d, 0.5);
}

TEST_F(OKTXmlFilerReadingTest, Miss_MakesBoolIntAndShortZero_Quirk74)
{
    OKTXmlFiler filer;
    open(filer, "<other long='1'/>");
    bool b = true;
    int bi = 1;
    unsigned int ui = 7;
    int i = -7;
    unsigned short us = 7;
    short s = -7;
    EXPECT_FALSE(filer.readBool(u"n", b));
    EXPECT_FALSE(filer.readBool(u"n", bi));
    EXPECT_FALSE(filer.readInt(u"n", ui));
    EXPECT_FALSE(filer.readInt(u"n", i));
    EXPECT_FALSE(filer.readShort(u"n", us));
    EXPECT_FALSE(filer.readShort(u"n", s));
    EXPECT_FALSE(b);
    EXPECT_EQ(bi, 0);
    EXPECT_EQ(ui, 0u);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(us, 0);
    EXPECT_EQ(s, 0);
}

TEST_F(OKTXmlFilerReadingTest, ClosedFilerAndWriter_EveryReadIsAMissWithoutAReport_Quirk82)
{
    ReportCatcher const reports;
    OKTXmlFiler closed;
    OKTXmlFiler writer;
    ASSERT_TRUE(writer.NewFiler(m_folder.path("x.xml"), true));
    writer.writeInt(u"n", 1);
    writer.writeString(u"s", u"text");
    writer.writeDouble(u"d", 1.0);
    for (OKTXmlFiler *const filer : {&closed, &writer})
    {
        CString s = u"kept";
        long l = 5;
        unsigned long ul = 5;
        double d = 5;
        bool b = true;
        int i = 5;
        OKTGeXYZ p(1, 2, 3);
        OKTDbObjectId id;
        CByteArray bytes = hex("01");
        tagVARIANT v = emptyVariant();
        EXPECT_FALSE(filer->readString(u"s", s));
        EXPECT_FALSE(filer->readLong(u"n", l));
        EXPECT_FALSE(filer->readLong(u"n", ul));
        EXPECT_FALSE(filer->readDouble(u"d", d));
        EXPECT_FALSE(filer->readBool(u"n", b));
        EXPECT_FALSE(filer->readInt(u"n", i));
        EXPECT_FALSE(filer->readPoint3d(u"p", p));
        EXPECT_FALSE(filer->readObjectId(u"id", id));
        EXPECT_FALSE(filer->readVariant(u"v", v));
        EXPECT_FALSE(filer->readByteArray(u"b", bytes));
        EXPECT_FALSE(filer->beginReadClass(u"f", u"C"));
        EXPECT_FALSE(filer->beginReadMembers(1));
        EXPECT_FALSE(filer->beginReadMap(u"m"));
        CString name = u"kept";
        EXPECT_FALSE(filer->getMapAttribute(name, &v));
        EXPECT_EQ(name, u"kept");
        CString className = u"emptied";
        EXPECT_FALSE(filer->getDescriptionForNextReadObject(className));
        EXPECT_EQ(className, u"");
        EXPECT_FALSE(filer->skipNextToReadDocumentObject());
        EXPECT_EQ(s, u"kept");
        EXPECT_EQ(l, 5);
        EXPECT_EQ(ul, 5u);
        EXPECT_EQ(d, 5.0);
        EXPECT_FALSE(b);
        EXPECT_EQ(i, 0);
        EXPECT_EQ(bytes, hex("01"));
    }
    EXPECT_FALSE(closed.endReadClass());
    EXPECT_FALSE(closed.endReadMembers());
    EXPECT_FALSE(closed.endReadMap());
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerReadingTest, WrongKindOfValue_IsAMiss)
{
    OKTXmlFiler filer;
    open(filer, "<n long='5'/><s string='5'/><d double='5.0'/>");
    double d = 0.5;
    CString s = u"kept";
    long l = 7;
    EXPECT_FALSE(filer.readDouble(u"n", d));
    EXPECT_FALSE(filer.readString(u"n", s));
    EXPECT_FALSE(filer.readLong(u"d", l));
    EXPECT_FALSE(filer.readLong(u"s", l));
    EXPECT_EQ(d, 0.5);
    EXPECT_EQ(s, u"kept");
    EXPECT_EQ(l, 7);
}

TEST_F(OKTXmlFilerReadingTest, TwoValuesOfOneName_TheFirstWithTheRightAttributeWins_Quirk83)
{
    OKTXmlFiler filer;
    open(filer, "<n string='text'/><n/><n long='1'/><n long='2'/><n double='0.5'/>");
    int i = 0;
    double d = 0;
    CString s;
    for (int round = 0; round < 2; ++round)
    {
        EXPECT_TRUE(filer.readInt(u"n", i));
        EXPECT_EQ(i, 1);
        EXPECT_TRUE(filer.readDouble(u"n", d));
        EXPECT_EQ(d, 0.5);
        EXPECT_TRUE(filer.readString(u"n", s));
        EXPECT_EQ(s, u"text");
    }
}

TEST_F(OKTXmlFilerReadingTest, SeveralAttributesOnOneElement_EachReadTakesItsOwn)
{
    OKTXmlFiler filer;
    open(filer, "<n other='x' double='0.5' string='s' long='1'/>");
    int i = 0;
    double d = 0;
    CString s;
    EXPECT_TRUE(filer.readInt(u"n", i));
    EXPECT_TRUE(filer.readDouble(u"n", d));
    EXPECT_TRUE(filer.readString(u"n", s));
    EXPECT_EQ(i, 1);
    EXPECT_EQ(d, 0.5);
    EXPECT_EQ(s, u"s");
}

TEST_F(OKTXmlFilerReadingTest, NamesAndAttributes_AreCaseSensitiveAndExact)
{
    OKTXmlFiler filer;
    open(filer, "<Name long='1'/><name Long='2'/><names long='3'/><nam long='4'/><name2><name long='5'/></name2>");
    long value = 7;
    EXPECT_FALSE(filer.readLong(u"name", value)); // not in grandchildren either
    EXPECT_FALSE(filer.readLong(u"NAME", value));
    EXPECT_FALSE(filer.readLong(u"", value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(filer.readLong(u"Name", value));
    EXPECT_EQ(value, 1);
}

TEST_F(OKTXmlFilerReadingTest, CommentsInstructionsAndTexts_ArePassedOver)
{
    OKTXmlFiler filer;
    open(filer, "<!-- n --> text <?n long='9'?><![CDATA[<n long='8'/>]]><n long='1'>text</n><!-- end -->");
    long value = 0;
    EXPECT_TRUE(filer.readLong(u"n", value));
    EXPECT_EQ(value, 1);
    for (CString const name : {u"#comment", u"comment", u"#text", u"text", u"#cdata-section", u"cdata-section"})
        EXPECT_FALSE(filer.readLong(name, value)) << name.ToUtf8();
}

TEST_F(OKTXmlFilerReadingTest, NumbersThatAreNone_ZeroAndTrue_Quirk83)
{
    OKTXmlFiler filer;
    open(filer, "<n long='abc' double='abc'/><e long='' double=''/>");
    for (char16_t const *const name : {u"n", u"e"})
    {
        long l = 7;
        unsigned long ul = 7;
        int i = 7;
        bool b = true;
        double d = 7;
        EXPECT_TRUE(filer.readLong(name, l));
        EXPECT_TRUE(filer.readLong(name, ul));
        EXPECT_TRUE(filer.readInt(name, i));
        EXPECT_TRUE(filer.readBool(name, b));
        EXPECT_TRUE(filer.readDouble(name, d));
        EXPECT_EQ(l, 0);
        EXPECT_EQ(ul, 0u);
        EXPECT_EQ(i, 0);
        EXPECT_FALSE(b);
        EXPECT_EQ(d, 0.0);
    }
}

TEST_F(OKTXmlFilerReadingTest, Numbers_AsFarAsTheyGo)
{
    OKTXmlFiler filer;
    open(filer, "<n long=' -12abc' double='1.5e3 m'/><u long='-1'/><p long='+7'/>");
    long l = 0;
    double d = 0;
    unsigned long ul = 0;
    EXPECT_TRUE(filer.readLong(u"n", l));
    EXPECT_EQ(l, -12);
    EXPECT_TRUE(filer.readDouble(u"n", d));
    EXPECT_EQ(d, 1500.0);
    EXPECT_TRUE(filer.readLong(u"u", ul));
    EXPECT_EQ(ul, 4294967295ul);
    EXPECT_TRUE(filer.readLong(u"p", l));
    EXPECT_EQ(l, 7);
}

TEST_F(OKTXmlFilerReadingTest, ReadShort_TakesTheLowSixteenBits)
{
    OKTXmlFiler filer;
    open(filer, "<n long='70000'/><m long='-1'/><h long='40000'/>");
    short s = 0;
    unsigned short us = 0;
    EXPECT_TRUE(filer.readShort(u"n", s));
    EXPECT_EQ(s, 4464);
    EXPECT_TRUE(filer.readShort(u"n", us));
    EXPECT_EQ(us, 4464);
    EXPECT_TRUE(filer.readShort(u"m", us));
    EXPECT_EQ(us, 65535);
    EXPECT_TRUE(filer.readShort(u"h", s));
    EXPECT_EQ(s, -25536);
}

TEST_F(OKTXmlFilerReadingTest, ReadBool_AnyNumberButZeroIsTrue)
{
    OKTXmlFiler filer;
    open(filer, "<n long='-3'/><z long='0'/>");
    bool b = false;
    int bi = 5;
    EXPECT_TRUE(filer.readBool(u"n", b));
    EXPECT_TRUE(b);
    EXPECT_TRUE(filer.readBool(u"n", bi));
    EXPECT_EQ(bi, 1);
    EXPECT_TRUE(filer.readBool(u"z", b));
    EXPECT_FALSE(b);
    bi = 5;
    EXPECT_TRUE(filer.readBool(u"z", bi));
    EXPECT_EQ(bi, 0);
}

TEST_F(OKTXmlFilerReadingTest, ReadByteArray_FalseAndUntouchedInAnyState)
{
    OKTXmlFiler filer;
    CByteArray bytes = hex("01 02");
    EXPECT_FALSE(filer.readByteArray(u"b", bytes));
    open(filer, "<b string='AQI=' long='1' double='1'/>");
    EXPECT_FALSE(filer.readByteArray(u"b", bytes));
    EXPECT_EQ(bytes, hex("01 02"));
}

// --- Points, variants, ids ---------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, Variants_ComeBack)
{
    tagVARIANT real = emptyVariant();
    real.vt = VT_R8;
    real.dblVal = 2.5;
    tagVARIANT text = emptyVariant();
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(u"a\u03A9<");
    tagVARIANT yes = emptyVariant();
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    tagVARIANT small = emptyVariant();
    small.vt = VT_I2;
    small.iVal = -7;
    tagVARIANT whole = emptyVariant();
    whole.vt = VT_I4;
    whole.lVal = -70000;
    OKTXmlFiler filer;
    openWritten(filer, [&](OKTXmlFiler &writer) {
        EXPECT_TRUE(writer.writeVariant(u"real", real));
        EXPECT_TRUE(writer.writeVariant(u"text", text));
        EXPECT_TRUE(writer.writeVariant(u"yes", yes));
        EXPECT_TRUE(writer.writeVariant(u"small", small));
        EXPECT_TRUE(writer.writeVariant(u"whole", whole));
    });
    VariantClear(&text);
    tagVARIANT value = emptyVariant();
    EXPECT_TRUE(filer.readVariant(u"yes", value));
    EXPECT_EQ(value.vt, VT_BOOL);
    EXPECT_EQ(value.boolVal, VARIANT_TRUE);
    EXPECT_TRUE(filer.readVariant(u"real", value));
    EXPECT_EQ(value.vt, VT_R8);
    EXPECT_EQ(value.dblVal, 2.5);
    EXPECT_TRUE(filer.readVariant(u"small", value));
    EXPECT_EQ(value.vt, VT_I2);
    EXPECT_EQ(value.iVal, -7);
    EXPECT_TRUE(filer.readVariant(u"whole", value));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, -70000);
    EXPECT_TRUE(filer.readVariant(u"text", value));
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(CString(value.bstrVal), u"a\u03A9<");
    VariantClear(&value);
}

TEST_F(OKTXmlFilerReadingTest, FloatVariant_ComesBackAsADoubleThatSaysFloat_Quirk39)
{
    tagVARIANT value = emptyVariant();
    value.vt = VT_R4;
    value.fltVal = 1.5f;
    OKTXmlFiler filer;
    openWritten(filer, [&](OKTXmlFiler &writer) { EXPECT_TRUE(writer.writeVariant(u"v", value)); });
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_R4);
    EXPECT_EQ(value.dblVal, 1.5);
}

TEST_F(OKTXmlFilerReadingTest, VariantWithoutAForm_FalseWithItsKind_Quirk40)
{
    tagVARIANT value = emptyVariant();
    value.vt = VT_DATE;
    OKTXmlFiler filer;
    openWritten(filer, [&](OKTXmlFiler &writer) { EXPECT_FALSE(writer.writeVariant(u"v", value)); });
    value.vt = VT_I4;
    EXPECT_FALSE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_DATE);
    EXPECT_FALSE(filer.readVariant(u"missing", value));
    EXPECT_EQ(value.vt, VT_NULL);
}

TEST_F(OKTXmlFilerReadingTest, ReadPoint3d_WithAMissingCoordinate_FalseAndTheOthersAreRead)
{
    OKTXmlFiler filer;
    open(filer, "<p class='OKTGeXYZ'><Members version='1'><m_dfX double='1'/><m_dfZ double='3'/></Members></p>");
    OKTGeXYZ point(7.0, 8.0, 9.0);
    EXPECT_FALSE(filer.readPoint3d(u"p", point));
    EXPECT_EQ(point.X(), 1.0);
    EXPECT_EQ(point.Z(), 3.0);
    EXPECT_FALSE(filer.readPoint3d(u"q", point));
}

TEST_F(OKTXmlFilerReadingTest, ReadObjectId_FalseAlsoWithTheOtherWordsInPlace_Quirk72)
{
    OpenXmlFiler filer;
    open(filer, "<id class='OKTObjectId' version='1'><Members version='1'><Data1 long='1'/><Data long='131073'/>"
                "<nDataA long='1'/><nDataB long='2'/></Members></id>");
    OKTDbObjectId id;
    EXPECT_FALSE(filer.readObjectId(u"id", id));
    EXPECT_EQ(id.getGuid().Data1, 0u); // always missed, and so zero
    EXPECT_EQ(id.getGuid().Data2, 1);  // the others are read all the same
    EXPECT_EQ(id.getGuid().Data3, 2);
    EXPECT_EQ(id.getGuid().Data4[0], 1);
    EXPECT_EQ(id.getGuid().Data4[4], 2);
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_FALSE(filer.readObjectId(u"none", id));
}

TEST_F(OKTXmlFilerReadingTest, ReadObjectId_TakesThePoolOfTheFilerThoughItFails_TranslationOnOrOff_Quirk43_Quirk93)
{
    OKTDbPool pool;
    OKTXmlFiler filer(&pool);
    open(filer, "<id class='OKTObjectId'><Members version='1'/></id>");
    for (bool const translated : {false, true})
    {
        filer.setTranslatedIds(translated);
        for (char16_t const *const name : {u"id", u"none"})
        {
            OKTDbObjectId id;
            EXPECT_FALSE(filer.readObjectId(name, id));
            EXPECT_EQ(id.getPool(), &pool);
        }
    }
    IdMap map;
    EXPECT_TRUE(filer.saveMapTranslatedIds(map));
    EXPECT_TRUE(map.isEmpty());
}

TEST_F(OKTXmlFilerReadingTest, ReadObjectIdArray_EmptyListPasses_AnyOtherFails_Quirk72)
{
    OKTXmlFiler filer;
    IdArray two;
    two.append(OKTDbObjectId::kNull);
    two.append(OKTDbObjectId::kNull);
    openWritten(filer, [&](OKTXmlFiler &writer) {
        EXPECT_TRUE(writer.writeObjectIdArray(u"none", IdArray()));
        EXPECT_FALSE(writer.writeObjectIdArray(u"two", two));
    });
    IdArray ids = two;
    EXPECT_FALSE(filer.readObjectIdArray(u"two", ids));
    EXPECT_EQ(ids.getSize(), 0);
    ids = two;
    EXPECT_TRUE(filer.readObjectIdArray(u"none", ids));
    EXPECT_EQ(ids.getSize(), 0);
    EXPECT_FALSE(filer.readObjectIdArray(u"missing", ids));
}

// --- Frames and sections -----------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, BeginReadClass_AnotherClassIsPassedOver_ALaterSiblingMatches)
{
    OpenXmlFiler filer;
    open(filer, "<f class='A'><n long='1'/></f><f/><g class='B'/><f class='B'><n long='2'/></f><f class='B'><n long='3'/></f>");
    EXPECT_TRUE(filer.beginReadClass(u"f", u"B"));
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_FALSE(filer.beginReadClass(u"f", u"C"));
    EXPECT_FALSE(filer.beginReadClass(u"f", u"b"));
    EXPECT_FALSE(filer.beginReadClass(u"F", u"B"));
    EXPECT_FALSE(filer.beginReadClass(u"f", CString()));
    EXPECT_EQ(filer.working(), "Document");        // the stack is unchanged
    EXPECT_TRUE(filer.beginReadClass(u"f", u"B")); // and the first is found again
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 2);
}

TEST_F(OKTXmlFilerReadingTest, BeginReadClass_EmptyNameMeansObject)
{
    OpenXmlFiler filer;
    open(filer, "<x class='A'/><Object class='A'><n long='1'/></Object>");
    EXPECT_TRUE(filer.beginReadClass(CString(), u"A"));
    EXPECT_EQ(filer.working(), "Object");
}

TEST_F(OKTXmlFilerReadingTest, BeginReadClass_VersionIsNeverLookedAt_Quirk90)
{
    OKTXmlFiler filer;
    open(filer, "<f class='A' version='rubbish'/><g version='1' class='A'/><h class='A'/>");
    for (char16_t const *const name : {u"f", u"g", u"h"})
    {
        EXPECT_TRUE(filer.beginReadClass(name, u"A"));
        EXPECT_TRUE(filer.endReadClass());
    }
}

TEST_F(OKTXmlFilerReadingTest, BeginReadMembers_FindsASectionWhereverItStands)
{
    OpenXmlFiler filer;
    open(filer,
         "<f class='A'><Members version='3'><n long='3'/></Members><n long='9'/><Members version='1'><n long='1'/></Members>"
         "<Members version='2'><n long='2'/></Members><Members version='1'><n long='11'/></Members></f>");
    EXPECT_TRUE(filer.beginReadClass(u"f", u"A"));
    for (int const section : {2, 1, 3, 2})
    {
        int value = 0;
        EXPECT_TRUE(filer.beginReadMembers(section));
        EXPECT_EQ(filer.working(), "Members");
        EXPECT_TRUE(filer.readInt(u"n", value));
        EXPECT_EQ(value, section);
        EXPECT_TRUE(filer.endReadMembers());
    }
    EXPECT_FALSE(filer.beginReadMembers(4));
    EXPECT_EQ(filer.working(), "f");
}

TEST_F(OKTXmlFilerReadingTest, BeginReadMembers_NumberOfTheText_Quirk79)
{
    OKTXmlFiler filer;
    openWritten(filer, [](OKTXmlFiler &writer) {
        writer.beginWriteMembers(40000);
        writer.endWriteMembers();
        writer.beginWriteMembers(65537);
        writer.endWriteMembers();
    });
    EXPECT_FALSE(filer.beginReadMembers(40000));
    EXPECT_TRUE(filer.beginReadMembers(-25536));
    EXPECT_TRUE(filer.endReadMembers());
    EXPECT_FALSE(filer.beginReadMembers(65537));
    EXPECT_TRUE(filer.beginReadMembers(1));
}

TEST_F(OKTXmlFilerReadingTest, BeginReadMembers_TextsThatAreNoNumber)
{
    OKTXmlFiler filer;
    open(filer, "<Members/><members version='1'/><Members version='abc'/><Members version=' 7x'/>");
    EXPECT_FALSE(filer.beginReadMembers(1));
    EXPECT_TRUE(filer.beginReadMembers(0)); // "abc"
    EXPECT_TRUE(filer.endReadMembers());
    EXPECT_TRUE(filer.beginReadMembers(7));
}

TEST_F(OKTXmlFilerReadingTest, OlderStreamAndNewerReader_SectionIsMissingAndNoError)
{
    OpenXmlFiler filer;
    open(filer, "<f class='A' version='1'><Members version='1'><a long='1'/></Members></f>");
    EXPECT_TRUE(filer.beginReadClass(u"f", u"A"));
    EXPECT_TRUE(filer.beginReadMembers(1));
    EXPECT_TRUE(filer.endReadMembers());
    EXPECT_FALSE(filer.beginReadMembers(2));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_EQ(filer.working(), "Document");
}

TEST_F(OKTXmlFilerReadingTest, EndOperations_LookAtNothingButTheStack_Quirk76)
{
    OpenXmlFiler filer;
    open(filer, "<f class='A'><Members version='1'/></f><n long='1'/>");
    EXPECT_TRUE(filer.beginReadClass(u"f", u"A"));
    EXPECT_TRUE(filer.beginReadMembers(1));
    EXPECT_TRUE(filer.endReadMap());
    EXPECT_TRUE(filer.endReadMembers());
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_FALSE(filer.endReadClass());
    EXPECT_FALSE(filer.endReadMembers());
    EXPECT_FALSE(filer.endReadMap());
    long value = 7;
    EXPECT_FALSE(filer.readLong(u"n", value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(filer.CloseFiler());
}

TEST_F(OKTXmlFilerReadingTest, EndOfRead_OnAWriter_PopsWithoutAttaching_Quirk76)
{
    CString const path = m_folder.path("x.xml");
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, true));
    EXPECT_TRUE(filer.beginWriteClass(u"f", u"A", 1));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_TRUE(filer.beginWriteMembers(1));
    EXPECT_TRUE(filer.endReadMembers());
    EXPECT_TRUE(filer.beginWriteMap(u"m"));
    EXPECT_TRUE(filer.endReadMap());
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(textOf(path), documentOf(""));
}

TEST_F(OKTXmlFilerReadingTest, WritingWhileReading_ValuesAreFoundAndNeverSaved_FramesAreRefused_Quirk77)
{
    CString const path = putText(m_folder, "x.xml", "<Document><n long='1'/></Document>");
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, false));
    EXPECT_TRUE(filer.writeInt(u"m", 2));
    EXPECT_TRUE(filer.writeInt(u"n", 3));
    EXPECT_TRUE(filer.writeString(u"s", u"x"));
    EXPECT_TRUE(filer.writeDouble(u"d", 0.5));
    EXPECT_TRUE(filer.writeLong(u"ul", 4294967295ul));
    EXPECT_TRUE(filer.writeBool(u"b", true));
    EXPECT_TRUE(filer.writeShort(u"sh", static_cast<short>(-1)));
    EXPECT_FALSE(filer.writeInt(u"no name", 1));
    EXPECT_FALSE(filer.beginWriteClass(u"f", u"C", 1));
    EXPECT_FALSE(filer.beginWriteMembers(1));
    EXPECT_FALSE(filer.beginWriteMap(u"m"));
    EXPECT_FALSE(filer.endWriteClass());
    EXPECT_FALSE(filer.endWriteMembers());
    EXPECT_FALSE(filer.endWriteMap());
    EXPECT_FALSE(filer.writePoint3d(u"p", OKTGeXYZ()));
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"m", value));
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(textOf(path), "<Document><n long='1'/></Document>");
}

// --- Maps --------------------------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, Map_EntriesInDocumentOrderThenFalse)
{
    OKTXmlFiler filer;
    openWritten(filer, [](OKTXmlFiler &writer) {
        writer.beginWriteMap(u"other");
        writer.writeInt(u"wrong", 1);
        writer.endWriteMap();
        writer.beginWriteMap(u"m");
        writer.writeInt(u"b", -5);
        writer.writeDouble(u"a", 2.5);
        writer.writeString(u"c", u"x & y");
        writer.endWriteMap();
    });
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "b 3 -5");
    EXPECT_EQ(nextEntry(filer), "a 5 2.500000");
    EXPECT_EQ(nextEntry(filer), "c 8 x & y");
    EXPECT_EQ(nextEntry(filer), "");
    EXPECT_EQ(nextEntry(filer), "");
    EXPECT_TRUE(filer.endReadMap());
}

TEST_F(OKTXmlFilerReadingTest, Map_EntriesByNameAreReadToo)
{
    OKTXmlFiler filer;
    open(filer, "<Map name='m'><a long='1'/><b long='2'/></Map>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"b", value));
    EXPECT_EQ(value, 2);
    EXPECT_EQ(nextEntry(filer), "a 3 1"); // look-ups do not move the cursor
}

TEST_F(OKTXmlFilerReadingTest, Map_LaterKindsOverwriteEarlierOnes_Quirk87)
{
    OKTXmlFiler filer;
    open(filer, "<Map name='m'><a string='s' double='0.5' long='1'/><b double='0.5' long='1'/></Map>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 8 s");
    EXPECT_EQ(nextEntry(filer), "b 5 0.500000");
}

TEST_F(OKTXmlFilerReadingTest, Map_ChildrenWithoutAValueArePassedOver)
{
    OKTXmlFiler filer;
    open(filer,
         "<Map name='m'><!--c--><f class='A'><n long='9'/></f><e/> text <?pi long='1'?><a long='1'/><f class='B'/></Map>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 3 1");
    EXPECT_EQ(nextEntry(filer), "");
}

TEST_F(OKTXmlFilerReadingTest, Map_UnsignedLongsAreReadAsSigned_Quirk87)
{
    OKTXmlFiler filer;
    open(filer, "<Map name='m'><a long='4294967295'/><b long='-1'/><c long='x'/></Map>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 3 2147483647"); // beyond the signed range: the runtime's largest
    EXPECT_EQ(nextEntry(filer), "b 3 -1");
    EXPECT_EQ(nextEntry(filer), "c 3 0");
}

TEST_F(OKTXmlFilerReadingTest, Map_CursorAnswersAfterTheEndOfTheMap_Quirk87)
{
    OKTXmlFiler filer;
    open(filer, "<Map name='m'><a long='1'/><b long='2'/></Map><n long='3'/>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 3 1");
    EXPECT_TRUE(filer.endReadMap());
    EXPECT_EQ(nextEntry(filer), "b 3 2");
    EXPECT_EQ(nextEntry(filer), "");
}

TEST_F(OKTXmlFilerReadingTest, Map_NotFound_CursorUnchanged)
{
    OpenXmlFiler filer;
    open(filer, "<Map/><Map name='m'><a long='1'/></Map><map name='n'/><Map name='e'/>");
    EXPECT_EQ(nextEntry(filer), ""); // null at first
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_TRUE(filer.endReadMap());
    EXPECT_FALSE(filer.beginReadMap(u"n"));
    EXPECT_FALSE(filer.beginReadMap(CString()));
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_EQ(nextEntry(filer), "a 3 1");
    EXPECT_TRUE(filer.beginReadMap(u"e")); // an empty map empties the cursor
    EXPECT_EQ(nextEntry(filer), "");
}

TEST_F(OKTXmlFilerReadingTest, Map_OfTwoOfOneNameTheFirst)
{
    OKTXmlFiler filer;
    open(filer, "<Map name='m'><a long='1'/></Map><Map name='m'><b long='2'/></Map>");
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 3 1");
    EXPECT_EQ(nextEntry(filer), "");
}

// --- The objects at document level -------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, Objects_OneAfterTheOther)
{
    OpenXmlFiler filer;
    open(filer, "<Pool class='P'/><Object class='A'><n long='1'/></Object><x long='1'/><Object class='B'><n long='2'/></Object>"
                "<Object class='A'><n long='3'/></Object>");
    int number = 0;
    for (CString const expected : {u"A", u"B", u"A"})
    {
        CString className;
        EXPECT_TRUE(filer.getDescriptionForNextReadObject(className));
        EXPECT_EQ(className, expected);
        EXPECT_TRUE(filer.getDescriptionForNextReadObject(className)); // it does not move the cursor
        EXPECT_EQ(className, expected);
        filer.setIsReadingObjectFromRoot(true);
        EXPECT_TRUE(filer.beginReadClass(u"Object", expected));
        int value = 0;
        EXPECT_TRUE(filer.readInt(u"n", value));
        EXPECT_EQ(value, ++number);
        EXPECT_TRUE(filer.endReadClass());
    }
    EXPECT_EQ(nextClass(filer), "");
}

TEST_F(OKTXmlFilerReadingTest, RootFlag_GoodForOneCallWhateverComesOfIt)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'><n long='1'/></Object><Object class='A'><n long='2'/></Object>");
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(filer.endReadClass());
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_FALSE(filer.beginReadClass(u"Object", u"B"));
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A")); // without the flag from the first child on
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(filer.endReadClass());
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A")); // with it behind the cursor
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(filer.endReadClass());
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_FALSE(filer.beginReadClass(u"Object", u"A"));
}

TEST_F(OKTXmlFilerReadingTest, RootFlag_IsTakenBackAlsoByAClosedFilerAndAWriter)
{
    OKTXmlFiler closed;
    closed.setIsReadingObjectFromRoot(true);
    EXPECT_FALSE(closed.beginReadClass(u"Object", u"A"));
    EXPECT_FALSE(closed.getIsReadingObjectFromRoot());
    OKTXmlFiler writer;
    ASSERT_TRUE(writer.NewFiler(m_folder.path("x.xml"), true));
    writer.setIsReadingObjectFromRoot(true);
    EXPECT_FALSE(writer.beginReadClass(u"Object", u"A"));
    EXPECT_FALSE(writer.getIsReadingObjectFromRoot());
}

TEST_F(OKTXmlFilerReadingTest, NestedFramesMoveTheCursor_TheOutermostEndPutsItBackOnTheObject)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'><Object class='Base'/><Object class='Inner'/></Object><Object class='B'/>");
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"Base"));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_EQ(nextClass(filer), "Inner"); // the cursor is on the nested frame
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_EQ(nextClass(filer), "B");
}

TEST_F(OKTXmlFilerReadingTest, Description_OtherElementsAndEmptyClassesAreInvisible)
{
    OKTXmlFiler filer;
    open(filer,
         "<!--c--><Object/><Object class=''/><object class='x'/><Pool class='P'/><Object version='1'/><Object class='A'/>");
    EXPECT_EQ(nextClass(filer), "A");
}

TEST_F(OKTXmlFilerReadingTest, Description_OfAnEmptyDocument_FalseAndEmpty)
{
    OKTXmlFiler filer;
    openDocument(filer, "<Document/>");
    EXPECT_EQ(nextClass(filer), "");
    EXPECT_FALSE(filer.skipNextToReadDocumentObject());
}

TEST_F(OKTXmlFilerReadingTest, Skip_FirstLandsOnTheFirstChild)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'/><Object class='B'/><Object class='C'/>");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "B");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "C");
}

TEST_F(OKTXmlFilerReadingTest, Skip_OneNodeOfWhateverKind_Quirk75)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'/><!--c--><x/><Object class='B'/><Object class='C'/>");
    EXPECT_EQ(nextClass(filer), "A");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // on A
    EXPECT_EQ(nextClass(filer), "B");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // on the comment
    EXPECT_EQ(nextClass(filer), "B");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // on x
    EXPECT_EQ(nextClass(filer), "B");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // on B
    EXPECT_EQ(nextClass(filer), "C");
}

TEST_F(OKTXmlFilerReadingTest, Skip_BehindAnObjectThatFailedWhole_LosesTheNextOne_Quirk75)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'/><Object class='B'/><Object class='C'/>");
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "C");
}

TEST_F(OKTXmlFilerReadingTest, Skip_AtTheEnd_FalseAndTheScanStartsAgain)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'/><Object class='B'/>");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "");
    EXPECT_FALSE(filer.skipNextToReadDocumentObject()); // the cursor is null as at first
    EXPECT_EQ(nextClass(filer), "A");
}

TEST_F(OKTXmlFilerReadingTest, EarlyReturn_LeavesTheFilerInsideTheFrame_Quirk81)
{
    OpenXmlFiler filer;
    open(filer,
         "<Object class='OKTDbRelation' version='1'><Object class='OKTDbObject' version='1'><Members version='1'/></Object>"
         "<Members version='1'/></Object><Object class='OKTDbRelation'/><n long='1'/>");
    OKTDbRelation relation;
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_EQ(relation.xmlIn(&filer), eFilerMemberFailed);
    EXPECT_EQ(filer.working(), "Object");
    EXPECT_EQ(filer.getWorkingNode()->attributes()->getNamedItem(OktXmlName(u"class"))->text(), u"OKTDbRelation");
    EXPECT_EQ(nextClass(filer), "");                   // behind the base frame stands no further object
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // on the section
    EXPECT_EQ(nextClass(filer), "");
    long value = 0;
    EXPECT_FALSE(filer.readLong(u"n", value));
    // The filer closes, pops once, and so cannot be opened again.
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_FALSE(filer.NewFiler(m_folder.path("x.xml"), true));
}

TEST_F(OKTXmlFilerReadingTest, Cursors_SurviveCloseFilerAndNewFiler_Quirk80)
{
    OKTXmlFiler filer;
    open(filer, "<Object class='A'/><Object class='B'/><Map name='m'><a long='1'/><b long='2'/></Map>");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    EXPECT_EQ(nextEntry(filer), "a 3 1");
    EXPECT_TRUE(filer.endReadMap());
    EXPECT_TRUE(filer.CloseFiler());
    open(filer, "<Object class='C'/><n long='7'/>");
    EXPECT_EQ(nextClass(filer), "B"); // of the old tree
    EXPECT_EQ(nextEntry(filer), "b 3 2");
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value)); // look-ups are in the new one
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"C"));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_EQ(nextClass(filer), "");
}

TEST_F(OKTXmlFilerReadingTest, WritingIntoAnEarlierDocument_ValuesAreFoundThere_Quirk77_Quirk80)
{
    OpenXmlFiler filer;
    open(filer, "<Object class='A'/><Object class='B'><n long='1'/></Object>");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_TRUE(filer.CloseFiler());
    open(filer, "<n long='2'/>");
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.beginReadClass(CString(), u"B")); // in the old tree
    EXPECT_TRUE(filer.writeInt(u"m", 3));               // made in the new one
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(filer.readInt(u"m", value));
    EXPECT_EQ(value, 3);
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 2);
    EXPECT_FALSE(filer.readInt(u"m", value));
}

// --- Documents of other tools ------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, HandWrittenDocument_WithIndentationCommentsAndSingleQuotes)
{
    OKTXmlFiler filer;
    openDocument(filer, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                        "<Document>\n"
                        "    <!-- by hand -->\n"
                        "    <m_strUserName string = 'Cover &amp; depth &#x3A9; \u03A9'></m_strUserName>\n"
                        "\n"
                        "    <Object version='1' class='OKTDbRelation'>\n"
                        "        <Members version='1'>\n"
                        "            <varConverted long='1' />\n"
                        "        </Members>\n"
                        "    </Object>\n"
                        "</Document>\n");
    CString text;
    EXPECT_TRUE(filer.readString(u"m_strUserName", text));
    EXPECT_EQ(text, u"Cover & depth \u03A9 \u03A9");
    EXPECT_EQ(nextClass(filer), "OKTDbRelation");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject()); // white space is no node: the first one is the comment
    EXPECT_EQ(nextClass(filer), "OKTDbRelation");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "OKTDbRelation");
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_EQ(nextClass(filer), "");
    EXPECT_TRUE(filer.beginReadClass(CString(), u"OKTDbRelation"));
    EXPECT_TRUE(filer.beginReadMembers(1));
    bool converted = false;
    EXPECT_TRUE(filer.readBool(u"varConverted", converted));
    EXPECT_TRUE(converted);
}

TEST_F(OKTXmlFilerReadingTest, RootOfAnotherName_IsTaken)
{
    OpenXmlFiler filer;
    openDocument(filer, "<anything><n long='1'/></anything>");
    EXPECT_EQ(filer.working(), "anything");
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 1);
}

TEST_F(OKTXmlFilerReadingTest, NodeAheadOfTheRoot_OpenWithoutAnElement_Quirk84)
{
    for (std::string const &ahead :
         std::initializer_list<std::string>{"<!-- ahead -->", "<?xml version='1.0'?><!-- ahead -->", "<?target data?>",
                                            "<?xml version='1.0'?>\n<?xml-stylesheet href='a'?>\n", "<!DOCTYPE Document>",
                                            "<!DOCTYPE Document [<!ENTITY e 'x'>]>"})
    {
        OpenXmlFiler filer;
        openDocument(filer, ahead + "<Document><n long='1'/><Object class='A'/></Document>");
        EXPECT_FALSE(filer.getWorkingNode()) << ahead;
        int value = 7;
        EXPECT_FALSE(filer.readInt(u"n", value)) << ahead;
        EXPECT_FALSE(filer.beginReadClass(CString(), u"A")) << ahead;
        EXPECT_EQ(nextClass(filer), "") << ahead;
        EXPECT_FALSE(filer.skipNextToReadDocumentObject()) << ahead;
        EXPECT_TRUE(filer.CloseFiler()) << ahead;
    }
}

TEST_F(OKTXmlFilerReadingTest, RootNamedLikeTheInstruction_IsTakenForItWhereThereIsNone_Quirk84)
{
    // One node named "xml" is stepped over, whatever it is, and no other one.
    std::string const root = "<xml><n long='1'/></xml>";
    for (std::string const &ahead : std::initializer_list<std::string>{
             "<?xml version='1.0'?>", "<?xml version='1.0' encoding='UTF-8' standalone='yes'?>\n",
             "\xEF\xBB\xBF<?xml version='1.0'?>", "<!DOCTYPE xml>"})
    {
        OpenXmlFiler filer;
        openDocument(filer, ahead + root);
        EXPECT_EQ(filer.working(), "xml") << ahead;
        int value = 0;
        EXPECT_TRUE(filer.readInt(u"n", value)) << ahead;
        EXPECT_EQ(value, 1) << ahead;
    }
    OpenXmlFiler filer;
    EXPECT_FALSE(filer.NewFiler(putText(m_folder, "alone.xml", root), false));
    EXPECT_FALSE(filer.getWorkingNode());
    openDocument(filer, root + "<!-- behind -->"); // the comment is the node that counts
    EXPECT_EQ(filer.working(), "");
    EXPECT_TRUE(filer.CloseFiler());
    openDocument(filer, "<?xml version='1.0'?><!DOCTYPE xml>" + root);
    EXPECT_EQ(filer.working(), "");
}

TEST_F(OKTXmlFilerReadingTest, NodeBehindTheRoot_ChangesNothing)
{
    OKTXmlFiler filer;
    openDocument(filer, "<Document><n long='1'/></Document><!-- behind --><?target data?>");
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 1);
}

TEST_F(OKTXmlFilerReadingTest, Prefixes_ArePartOfTheName)
{
    OKTXmlFiler filer;
    openDocument(filer, "<Document xmlns='urn:a' xmlns:p='urn:b'><p:n long='1'/><n p:long='2'/><m long='3'/></Document>");
    long value = 7;
    EXPECT_FALSE(filer.readLong(u"n", value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(filer.readLong(u"p:n", value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(filer.readLong(u"m", value)); // a default namespace changes no name
    EXPECT_EQ(value, 3);
}

TEST_F(OKTXmlFilerReadingTest, NamesWithAColon_ComeBackWithoutANamespace)
{
    OKTXmlFiler filer;
    openWritten(filer, [](OKTXmlFiler &writer) {
        EXPECT_TRUE(writer.writeInt(u"p:n", 1));
        EXPECT_TRUE(writer.writeInt(u":n", 2));
        EXPECT_TRUE(writer.writeInt(u"n:", 3));
        EXPECT_TRUE(writer.writeInt(u"a:b:c", 4));
    });
    // Wine's parser drops a prefix that no namespace is declared for.
    int expected = 0;
    for (char16_t const *const name : {runsUnderWine() ? u"n" : u"p:n", u":n", u"n:", runsUnderWine() ? u"b:c" : u"a:b:c"})
    {
        int value = 0;
        EXPECT_TRUE(filer.readInt(name, value)) << CString(name).ToUtf8();
        EXPECT_EQ(value, ++expected);
    }
}

TEST_F(OKTXmlFilerReadingTest, InternalEntities_InAValue)
{
    // A document type is a node ahead of the root; what it declares is looked at through the model.
    OpenXmlFiler filer;
    openDocument(filer, "<!DOCTYPE Document [<!ENTITY e 'a&#38;#38;b'>]><Document><s string='x&e;y&lt;'/></Document>");
    OktXml::IXMLDOMNodePtr node = filer.GetDocumentRealNode();
    while (node && !node->element())
        node = node->nextSibling();
    ASSERT_TRUE(node);
    OktXml::IXMLDOMNodePtr const value = node->firstChild();
    ASSERT_TRUE(value);
    EXPECT_EQ(value->attributes()->getNamedItem(OktXmlName(u"string"))->text(), u"xa&by<");
}

// --- Files that cannot be read -----------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, NewFiler_NoSuchFile_FalseAndOpenAgainAfterwards)
{
    ReportCatcher const reports;
    OpenXmlFiler filer;
    EXPECT_FALSE(filer.NewFiler(m_folder.path("none.xml"), false));
    EXPECT_FALSE(filer.NewFiler(CString(), false));
    EXPECT_FALSE(filer.NewFiler(m_folder.path(""), false));
    EXPECT_FALSE(filer.getWorkingNode());
    CString text = u"kept";
    EXPECT_FALSE(filer.readString(u"n", text));
    EXPECT_EQ(text, u"kept");
    open(filer, "<n long='1'/>");
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerReadingTest, NewFiler_AfterAFailure_PathIsStoredAndCloseFilerIsTrueOnce_Quirk92)
{
    OKTXmlFiler filer;
    EXPECT_FALSE(filer.NewFiler(putText(m_folder, "x.xml", "no document"), false));
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_FALSE(filer.CloseFiler());
    EXPECT_EQ(textOf(m_folder.path("x.xml")), "no document");
}

// --- Numbers and the locale --------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerReadingTest, CommaLocale_BothWaysNothingIsLost)
{
    NumericLocale const comma(NumericLocale::kComma);
    ASSERT_TRUE(comma.isThere());
    OKTXmlFiler filer;
    openWritten(filer, [](OKTXmlFiler &writer) {
        writer.writeDouble(u"d", -1234567.0625);
        writer.writePoint3d(u"p", OKTGeXYZ(1.5, 0.0, -0.25));
        writer.beginWriteMap(u"m");
        writer.writeDouble(u"e", 2.5);
        writer.endWriteMap();
    });
    double value = 0;
    EXPECT_TRUE(filer.readDouble(u"d", value));
    EXPECT_EQ(value, -1234567.0625);
    OKTGeXYZ point;
    EXPECT_TRUE(filer.readPoint3d(u"p", point));
    EXPECT_TRUE(point == OKTGeXYZ(1.5, 0.0, -0.25));
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    CString name;
    tagVARIANT entry = emptyVariant();
    EXPECT_TRUE(filer.getMapAttribute(name, &entry));
    EXPECT_EQ(entry.vt, VT_R8);
    EXPECT_EQ(entry.dblVal, 2.5);
}

TEST_F(OKTXmlFilerReadingTest, AcrossLocales_TheFractionIsLost_Quirk88)
{
    OKTXmlFiler filer;
    {
        NumericLocale const comma(NumericLocale::kComma);
        ASSERT_TRUE(comma.isThere());
        openWritten(filer, [](OKTXmlFiler &writer) {
            writer.writeDouble(u"d", -12.75);
            writer.writeInt(u"n", -12);
        });
    }
    double value = 0;
    EXPECT_TRUE(filer.readDouble(u"d", value));
    EXPECT_EQ(value, -12.0);
    int number = 0;
    EXPECT_TRUE(filer.readInt(u"n", number));
    EXPECT_EQ(number, -12);

    OKTXmlFiler other;
    openWritten(other, [](OKTXmlFiler &writer) { writer.writeDouble(u"d", 12.75); });
    NumericLocale const comma(NumericLocale::kComma);
    EXPECT_TRUE(other.readDouble(u"d", value));
    EXPECT_EQ(value, 12.0);
}
