// SPDX-License-Identifier: MIT
#include <oktdatabase/oktxmlfiler.h>

#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktgexyz.h>

#include "support/alloccount.h"
#include "support/hexbytes.h"
#include "support/numericlocale.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"
#include "support/scratchfolder.h"
#include "support/units.h"
#include "support/xmldocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>

// The XML filer, writing: the document, its values and frames, and the life of a filer. Saved files are compared as a whole,
// byte for byte, and handed to parsers of other makers. Reading is tested in oktxmlfilerreading_test.cpp, pools in
// oktdbpoolxml_test.cpp, the model beneath in platform/xmldom_test.cpp.

namespace
{
using nlohmann::json;

class OKTXmlFilerTest : public testing::Test
{
protected:
    /// What a filer saves after these calls. The document is read by two other parsers, too.
    std::string saved(std::function<void(OpenXmlFiler &)> const &write)
    {
        m_path = m_folder.path("saved.xml");
        OpenXmlFiler filer;
        EXPECT_TRUE(filer.NewFiler(m_path, true));
        write(filer);
        EXPECT_TRUE(filer.CloseFiler());
        EXPECT_TRUE(isWellFormedForXmllint(m_path));
        m_tree = readByPython(m_path);
        return textOf(m_path);
    }

    static tagVARIANT variantOf(VARTYPE kind)
    {
        tagVARIANT value;
        VariantInit(&value);
        value.vt = kind;
        return value;
    }

    ScratchFolder m_folder;
    CString m_path;
    json m_tree; ///< of the last saved document, as Python reads it
};

/// Every operation that writes a value, under the given name.
std::vector<std::pair<std::string, std::function<bool(OKTXmlFiler &, CString const &)>>> const &valueWriters()
{
    static std::vector<std::pair<std::string, std::function<bool(OKTXmlFiler &, CString const &)>>> const writers = {
        {"writeDouble", [](OKTXmlFiler &filer, CString const &name) { return filer.writeDouble(name, 1.0); }},
        {"writeUnsignedLong", [](OKTXmlFiler &filer, CString const &name) { return filer.writeLong(name, 1ul); }},
        {"writeLong", [](OKTXmlFiler &filer, CString const &name) { return filer.writeLong(name, 1l); }},
        {"writeString", [](OKTXmlFiler &filer, CString const &name) { return filer.writeString(name, u"a"); }},
        {"writeBool", [](OKTXmlFiler &filer, CString const &name) { return filer.writeBool(name, true); }},
        {"writeBoolInt", [](OKTXmlFiler &filer, CString const &name) { return filer.writeBool(name, 1); }},
        {"writeUnsignedInt", [](OKTXmlFiler &filer, CString const &name) { return filer.writeInt(name, 1u); }},
        {"writeInt", [](OKTXmlFiler &filer, CString const &name) { return filer.writeInt(name, 1); }},
        {"writeUnsignedShort",
         [](OKTXmlFiler &filer, CString const &name) { return filer.writeShort(name, static_cast<unsigned short>(1)); }},
        {"writeShort", [](OKTXmlFiler &filer, CString const &name) { return filer.writeShort(name, static_cast<short>(1)); }},
    };
    return writers;
}
} // namespace

// --- The document ------------------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, WorkedDocument_WholeFile)
{
    tagVARIANT value = variantOf(VT_R8);
    value.dblVal = 2.5;
    std::string const text = saved([&](OpenXmlFiler &filer) {
        EXPECT_TRUE(filer.writeString(u"m_strUserName", u"Cover & depth"));
        EXPECT_TRUE(filer.writeInt(u"m_nParamType", 3));
        EXPECT_TRUE(filer.writePoint3d(u"m_pntCamera", OKTGeXYZ(1.5, 0.0, -0.25)));
        EXPECT_TRUE(filer.writeVariant(u"m_varValue", value));
        EXPECT_TRUE(filer.beginWriteMap(u"m_tabParameters"));
        EXPECT_TRUE(filer.writeDouble(u"m_dfX", 2.5));
        EXPECT_TRUE(filer.endWriteMap());
        EXPECT_TRUE(filer.beginWriteClass(u"Object", u"OKTDbRelation", 1));
        EXPECT_TRUE(filer.beginWriteMembers(1));
        EXPECT_TRUE(filer.writeBool(u"varConverted", true));
        EXPECT_TRUE(filer.endWriteMembers());
        EXPECT_TRUE(filer.endWriteClass());
    });
    EXPECT_EQ(text, "<?xml version='1.0' encoding='ISO-8859-1'?>\n"
                    "<Document>"
                    "<m_strUserName string=\"Cover &amp; depth\"/>"
                    "<m_nParamType long=\"3\"/>"
                    "<m_pntCamera class=\"OKTGeXYZ\" version=\"1\">"
                    "<Members version=\"1\">"
                    "<m_dfX double=\"1.50000000000000000\"/>"
                    "<m_dfY double=\"0.00000000000000000\"/>"
                    "<m_dfZ double=\"-0.25000000000000000\"/>"
                    "</Members>"
                    "</m_pntCamera>"
                    "<m_varValue class=\"OKTVariant\" version=\"1\">"
                    "<Members version=\"1\">"
                    "<vartype long=\"5\"/>"
                    "<varvalue double=\"2.50000000000000000\"/>"
                    "</Members>"
                    "</m_varValue>"
                    "<Map name=\"m_tabParameters\">"
                    "<m_dfX double=\"2.50000000000000000\"/>"
                    "</Map>"
                    "<Object class=\"OKTDbRelation\" version=\"1\">"
                    "<Members version=\"1\">"
                    "<varConverted long=\"1\"/>"
                    "</Members>"
                    "</Object>"
                    "</Document>\n");
    EXPECT_EQ(m_tree, json::parse(R"(["Document", [], "", [
        ["m_strUserName", [["string", "Cover & depth"]], "", []],
        ["m_nParamType", [["long", "3"]], "", []],
        ["m_pntCamera", [["class", "OKTGeXYZ"], ["version", "1"]], "", [
            ["Members", [["version", "1"]], "", [
                ["m_dfX", [["double", "1.50000000000000000"]], "", []],
                ["m_dfY", [["double", "0.00000000000000000"]], "", []],
                ["m_dfZ", [["double", "-0.25000000000000000"]], "", []]]]]],
        ["m_varValue", [["class", "OKTVariant"], ["version", "1"]], "", [
            ["Members", [["version", "1"]], "", [
                ["vartype", [["long", "5"]], "", []],
                ["varvalue", [["double", "2.50000000000000000"]], "", []]]]]],
        ["Map", [["name", "m_tabParameters"]], "", [
            ["m_dfX", [["double", "2.50000000000000000"]], "", []]]],
        ["Object", [["class", "OKTDbRelation"], ["version", "1"]], "", [
            ["Members", [["version", "1"]], "", [
                ["varConverted", [["long", "1"]], "", []]]]]]]])"));
}

TEST_F(OKTXmlFilerTest, WorkedDocument_InTheCanonicalFormOfAnotherTool)
{
    saved([](OpenXmlFiler &filer) {
        filer.writeString(u"m_strUserName", u"Cover & depth");
        filer.beginWriteClass(u"Object", u"OKTDbRelation", 1);
        filer.endWriteClass();
    });
#if !defined(_WIN32)
    EXPECT_EQ(canonicalByXmllint(m_path), "<Document><m_strUserName string=\"Cover &amp; depth\"></m_strUserName>"
                                          "<Object class=\"OKTDbRelation\" version=\"1\"></Object></Document>");
#endif
}

TEST_F(OKTXmlFilerTest, NewFilerAndCloseFiler_WithoutValues_InstructionAndAnEmptyRoot)
{
    EXPECT_EQ(saved([](OpenXmlFiler &) {}), "<?xml version='1.0' encoding='ISO-8859-1'?>\n<Document/>\n");
    EXPECT_EQ(m_tree, json::parse(R"(["Document", [], "", []])"));
}

TEST_F(OKTXmlFilerTest, Children_StandInTheOrderInWhichTheyWereFinished)
{
    // The value goes in at once, the frame around it at its end, behind the value that was written meanwhile by nobody but it.
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  filer.beginWriteClass(u"outer", u"A", 1);
                  filer.writeInt(u"first", 1);
                  filer.beginWriteClass(u"inner", u"B", 2);
                  filer.endWriteClass();
                  filer.writeInt(u"second", 2);
                  filer.beginWriteMembers(3);
                  filer.endWriteMembers();
                  filer.endWriteClass();
                  filer.writeInt(u"third", 3);
              }),
              documentOf("<outer class=\"A\" version=\"1\"><first long=\"1\"/><inner class=\"B\" version=\"2\"/>"
                         "<second long=\"2\"/><Members version=\"3\"/></outer><third long=\"3\"/>"));
}

TEST_F(OKTXmlFilerTest, OpenFrame_IsOutsideTheTreeUntilItsEnd)
{
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(m_folder.path("x.xml"), true));
    OktXml::IXMLDOMElementPtr const root = filer.getWorkingNode();
    EXPECT_TRUE(filer.beginWriteClass(u"frame", u"A", 1));
    EXPECT_TRUE(filer.writeInt(u"n", 1));
    EXPECT_FALSE(root->firstChild());
    EXPECT_TRUE(filer.endWriteClass());
    EXPECT_TRUE(root->firstChild());
}

TEST_F(OKTXmlFilerTest, TwoValuesOfOneName_BothStand_Quirk83)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  filer.writeInt(u"n", 1);
                  filer.writeInt(u"n", 2);
                  filer.writeString(u"n", u"three");
              }),
              documentOf("<n long=\"1\"/><n long=\"2\"/><n string=\"three\"/>"));
}

// --- Texts of the attributes -------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, WriteDouble_FixedNotationWith17Decimals)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  filer.writeDouble(u"a", 1.5);
                  filer.writeDouble(u"b", 0.1);
                  filer.writeDouble(u"c", 1e22);
                  filer.writeDouble(u"d", -0.0);
                  filer.writeDouble(u"e", 1e-300);
                  filer.writeDouble(u"f", 123456.789);
              }),
              documentOf("<a double=\"1.50000000000000000\"/><b double=\"0.10000000000000001\"/>"
                         "<c double=\"10000000000000000000000.00000000000000000\"/><d double=\"-0.00000000000000000\"/>"
                         "<e double=\"0.00000000000000000\"/><f double=\"123456.78900000000430737\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteDouble_LargestDouble_AllItsDigits)
{
    saved([](OpenXmlFiler &filer) { filer.writeDouble(u"a", std::numeric_limits<double>::max()); });
    std::string const text = m_tree[3][0][1][0][1].get<std::string>();
    EXPECT_EQ(text.size(), 309u + 1 + 17);
    EXPECT_EQ(text.substr(0, 17), "17976931348623157");
    EXPECT_EQ(text.substr(309), ".00000000000000000");
}

TEST_F(OKTXmlFilerTest, WriteDouble_NotFinite_WhateverTextTheFormatterGives)
{
    OpenXmlFiler filer;
    CString const path = m_folder.path("x.xml");
    ASSERT_TRUE(filer.NewFiler(path, true));
    EXPECT_TRUE(filer.writeDouble(u"a", std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(filer.writeDouble(u"b", -std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(filer.writeDouble(u"c", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(filer.CloseFiler());
    CString inf;
    CString minus;
    CString nan;
    inf.Format(u"%.*f", 17, std::numeric_limits<double>::infinity());
    minus.Format(u"%.*f", 17, -std::numeric_limits<double>::infinity());
    nan.Format(u"%.*f", 17, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(textOf(path), documentOf("<a double=\"" + inf.ToUtf8() + "\"/><b double=\"" + minus.ToUtf8() +
                                       "\"/><c double=\"" + nan.ToUtf8() + "\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteLong_SignedDecimal)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_TRUE(filer.writeLong(u"a", -1l));
                  EXPECT_TRUE(filer.writeLong(u"b", 2147483647l));
                  EXPECT_TRUE(filer.writeLong(u"c", -2147483647l - 1));
                  EXPECT_TRUE(filer.writeLong(u"d", 0l));
                  EXPECT_TRUE(filer.writeLong(u"e", 1234567l));
              }),
              documentOf("<a long=\"-1\"/><b long=\"2147483647\"/><c long=\"-2147483648\"/><d long=\"0\"/>"
                         "<e long=\"1234567\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteLong_UnsignedDecimal_UpToTenDigits)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_TRUE(filer.writeLong(u"a", 4294967295ul));
                  EXPECT_TRUE(filer.writeLong(u"b", 0ul));
                  EXPECT_TRUE(filer.writeLong(u"c", 2147483648ul));
              }),
              documentOf("<a long=\"4294967295\"/><b long=\"0\"/><c long=\"2147483648\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteLong_BeyondThe32BitsOfTheStream_RefusedAndNothingWritten)
{
    if constexpr (sizeof(long) > 4)
    {
        EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                      EXPECT_FALSE(filer.writeLong(u"a", static_cast<long>(2147483648ll)));
                      EXPECT_FALSE(filer.writeLong(u"b", static_cast<long>(-2147483649ll)));
                      EXPECT_FALSE(filer.writeLong(u"c", static_cast<unsigned long>(4294967296ull)));
                  }),
                  documentOf(""));
    }
    else
        EXPECT_EQ(sizeof(long), 4u);
}

TEST_F(OKTXmlFilerTest, BoolsShortsAndInts_AllStandAsLong)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_TRUE(filer.writeBool(u"a", true));
                  EXPECT_TRUE(filer.writeBool(u"b", false));
                  EXPECT_TRUE(filer.writeBool(u"c", 7));
                  EXPECT_TRUE(filer.writeBool(u"d", -1));
                  EXPECT_TRUE(filer.writeBool(u"e", 0));
                  EXPECT_TRUE(filer.writeInt(u"f", 4294967295u));
                  EXPECT_TRUE(filer.writeInt(u"g", INT_MIN));
                  EXPECT_TRUE(filer.writeShort(u"h", static_cast<unsigned short>(65535)));
                  EXPECT_TRUE(filer.writeShort(u"i", static_cast<short>(-32768)));
              }),
              documentOf("<a long=\"1\"/><b long=\"0\"/><c long=\"1\"/><d long=\"1\"/><e long=\"0\"/><f long=\"4294967295\"/>"
                         "<g long=\"-2147483648\"/><h long=\"65535\"/><i long=\"-32768\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteString_MarkupCharacters_EscapedByTheModelAlone)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) { EXPECT_TRUE(filer.writeString(u"a", u"<a href=\"x\">&amp;'</a>")); }),
              documentOf("<a string=\"&lt;a href=&quot;x&quot;&gt;&amp;amp;'&lt;/a&gt;\"/>"));
    EXPECT_EQ(m_tree[3][0][1][0][1], "<a href=\"x\">&amp;'</a>");
}

TEST_F(OKTXmlFilerTest, WriteString_Latin1AsOneByte_OthersAsCharacterReferences)
{
    // é ÿ stand in ISO-8859-1; Ω, € and a character beyond the basic plane do not.
    EXPECT_EQ(saved([](OpenXmlFiler &filer) { EXPECT_TRUE(filer.writeString(u"a", u"\u00E9\u00FF\u03A9\u20AC\U0001F600")); }),
              documentOf("<a string=\"\xE9\xFF&#937;&#8364;&#128512;\"/>"));
    EXPECT_EQ(m_tree[3][0][1][0][1], "\u00E9\u00FF\u03A9\u20AC\U0001F600");
}

TEST_F(OKTXmlFilerTest, WriteString_TabAndLineEnds_StayWhatTheyAre)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) { EXPECT_TRUE(filer.writeString(u"a", u"1\t2\n3\r4\r\n5")); }),
              documentOf("<a string=\"1&#9;2&#10;3&#13;4&#13;&#10;5\"/>"));
    EXPECT_EQ(m_tree[3][0][1][0][1], "1\t2\n3\r4\r\n5");
}

TEST_F(OKTXmlFilerTest, WriteString_Empty_AnEmptyAttribute)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) { EXPECT_TRUE(filer.writeString(u"a", CString())); }),
              documentOf("<a string=\"\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteString_WithAnsiStringsOn_NoDifference_Quirk93)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  filer.setIsAnsiString(true);
                  EXPECT_TRUE(filer.writeString(u"a", u"\u03A9"));
              }),
              documentOf("<a string=\"&#937;\"/>"));
}

// --- Frames, sections, maps --------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, VersionsAndSections_LowSixteenBitsSigned_Quirk79)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  for (int const number : {65537, 40000, 32767, -1, 0, 65536})
                  {
                      EXPECT_TRUE(filer.beginWriteClass(u"f", u"C", number));
                      EXPECT_TRUE(filer.beginWriteMembers(number));
                      EXPECT_TRUE(filer.endWriteMembers());
                      EXPECT_TRUE(filer.endWriteClass());
                  }
              }),
              documentOf("<f class=\"C\" version=\"1\"><Members version=\"1\"/></f>"
                         "<f class=\"C\" version=\"-25536\"><Members version=\"-25536\"/></f>"
                         "<f class=\"C\" version=\"32767\"><Members version=\"32767\"/></f>"
                         "<f class=\"C\" version=\"-1\"><Members version=\"-1\"/></f>"
                         "<f class=\"C\" version=\"0\"><Members version=\"0\"/></f>"
                         "<f class=\"C\" version=\"0\"><Members version=\"0\"/></f>"));
}

TEST_F(OKTXmlFilerTest, ClassNamesAndMapNames_AreTexts_NotNames)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_TRUE(filer.beginWriteClass(u"f", u"a <class>", 1));
                  EXPECT_TRUE(filer.endWriteClass());
                  EXPECT_TRUE(filer.beginWriteClass(u"f", CString(), 1));
                  EXPECT_TRUE(filer.endWriteClass());
                  EXPECT_TRUE(filer.beginWriteMap(u"arr[0]"));
                  EXPECT_TRUE(filer.endWriteMap());
                  EXPECT_TRUE(filer.beginWriteMap(CString()));
                  EXPECT_TRUE(filer.endWriteMap());
              }),
              documentOf("<f class=\"a &lt;class&gt;\" version=\"1\"/><f class=\"\" version=\"1\"/><Map name=\"arr[0]\"/>"
                         "<Map name=\"\"/>"));
}

TEST_F(OKTXmlFilerTest, EndOperations_AreOneAndTheSame_Quirk76)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  filer.beginWriteClass(u"f", u"C", 1);
                  filer.beginWriteMembers(1);
                  filer.beginWriteMap(u"m");
                  EXPECT_TRUE(filer.endWriteClass());
                  EXPECT_TRUE(filer.endWriteMap());
                  EXPECT_TRUE(filer.endWriteMembers());
              }),
              documentOf("<f class=\"C\" version=\"1\"><Members version=\"1\"><Map name=\"m\"/></Members></f>"));
}

TEST_F(OKTXmlFilerTest, EndOneTooMany_DropsTheRoot_ValuesAreRefusedFromThenOn_Quirk76)
{
    ReportCatcher const reports;
    OpenXmlFiler filer;
    CString const path = m_folder.path("x.xml");
    ASSERT_TRUE(filer.NewFiler(path, true));
    EXPECT_TRUE(filer.writeInt(u"before", 1));
    EXPECT_TRUE(filer.endWriteClass());
    EXPECT_FALSE(filer.getWorkingNode());
    for (auto const &[what, write] : valueWriters())
        EXPECT_FALSE(write(filer, u"name")) << what;
    EXPECT_FALSE(filer.endWriteClass());
    EXPECT_FALSE(filer.endWriteMembers());
    EXPECT_FALSE(filer.endWriteMap());
    // A frame still opens, and its end drops it, too: there is nothing to attach it to.
    EXPECT_TRUE(filer.beginWriteClass(u"f", u"C", 1));
    EXPECT_TRUE(filer.writeInt(u"within", 1));
    EXPECT_TRUE(filer.endWriteClass());
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(textOf(path), documentOf("<before long=\"1\"/>")); // the root stands in the document all the same
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, NewFiler_AfterTheRootWasDropped_TheEarlierDocumentIsNeverSaved_Quirk76)
{
    // The stack is empty, though nobody closed the filer.
    CString const first = m_folder.path("first.xml");
    CString const second = m_folder.path("second.xml");
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(first, true));
        EXPECT_TRUE(filer.writeInt(u"n", 1));
        EXPECT_TRUE(filer.endWriteMap());
        EXPECT_TRUE(filer.NewFiler(second, true));
        EXPECT_TRUE(filer.writeInt(u"m", 2));
    }
    EXPECT_FALSE(fileExists(first));
    EXPECT_EQ(textOf(second), documentOf("<m long=\"2\"/>"));
}

TEST_F(OKTXmlFilerTest, Stack_PushIgnoresNull_PopGivesAndLeaves)
{
    OpenXmlFiler filer;
    EXPECT_FALSE(filer.getWorkingNode());
    EXPECT_FALSE(filer.popWorkingNode());
    ASSERT_TRUE(filer.NewFiler(m_folder.path("x.xml"), true));
    OktXml::IXMLDOMElementPtr const root = filer.getWorkingNode();
    ASSERT_TRUE(root);
    EXPECT_EQ(root->nodeName(), u"Document");
    filer.pushWorkingNode(OktXml::IXMLDOMElementPtr());
    EXPECT_TRUE(filer.getWorkingNode() == root);
    filer.pushWorkingNode(root);
    EXPECT_TRUE(filer.popWorkingNode() == root);
    EXPECT_TRUE(filer.popWorkingNode() == root);
    EXPECT_FALSE(filer.popWorkingNode());
}

TEST_F(OKTXmlFilerTest, GetDocumentRealNode_StepsOverTheInstruction)
{
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(m_folder.path("x.xml"), true));
    OktXml::IXMLDOMNodePtr const node = filer.GetDocumentRealNode();
    ASSERT_TRUE(node);
    EXPECT_EQ(node->nodeName(), u"Document");
}

TEST_F(OKTXmlFilerTest, GetDocumentRealNode_OfAClosedFiler_ReportAndNull)
{
    ReportCatcher const reports;
    OpenXmlFiler filer;
    EXPECT_FALSE(filer.GetDocumentRealNode());
    EXPECT_EQ(reports.count(), 1u);
}

// --- Points and variants -----------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, WriteVariant_KindsWithAForm)
{
    std::vector<std::pair<tagVARIANT, std::string>> cases;
    auto const add = [&](VARTYPE kind, auto set, std::string const &kindText, std::string const &value) {
        tagVARIANT variant = variantOf(kind);
        set(variant);
        cases.emplace_back(variant, "<v class=\"OKTVariant\" version=\"1\"><Members version=\"1\"><vartype long=\"" + kindText +
                                        "\"/><varvalue " + value + "/></Members></v>");
    };
    add(
        VT_I2, [](tagVARIANT &v) { v.iVal = -5; }, "2", "long=\"-5\"");
    add(
        VT_I4, [](tagVARIANT &v) { v.lVal = 70000; }, "3", "long=\"70000\"");
    add(
        VT_R4, [](tagVARIANT &v) { v.fltVal = 1.5f; }, "4", "double=\"1.50000000000000000\"");
    add(
        VT_R8, [](tagVARIANT &v) { v.dblVal = 2.5; }, "5", "double=\"2.50000000000000000\"");
    add(
        VT_BSTR, [](tagVARIANT &v) { v.bstrVal = SysAllocString(u"a<b"); }, "8", "string=\"a&lt;b\"");
    add(
        VT_BOOL, [](tagVARIANT &v) { v.boolVal = VARIANT_TRUE; }, "11", "long=\"-1\"");
    std::string expected;
    for (auto const &[variant, text] : cases)
        expected += text;
    EXPECT_EQ(saved([&](OpenXmlFiler &filer) {
                  for (auto const &[variant, text] : cases)
                      EXPECT_TRUE(filer.writeVariant(u"v", variant)) << text;
              }),
              documentOf(expected));
    for (auto &[variant, text] : cases)
        VariantClear(&variant);
}

TEST_F(OKTXmlFilerTest, WriteVariant_KindWithoutAForm_FalseAndAFrameWithoutValue_Quirk40)
{
    EXPECT_EQ(
        saved([](OpenXmlFiler &filer) {
            EXPECT_FALSE(filer.writeVariant(u"v", variantOf(VT_EMPTY)));
            EXPECT_FALSE(filer.writeVariant(u"v", variantOf(VT_DATE)));
            EXPECT_FALSE(filer.writeVariant(u"v", variantOf(VT_ARRAY | VT_R8)));
        }),
        documentOf("<v class=\"OKTVariant\" version=\"1\"><Members version=\"1\"><vartype long=\"0\"/></Members></v>"
                   "<v class=\"OKTVariant\" version=\"1\"><Members version=\"1\"><vartype long=\"7\"/></Members></v>"
                   "<v class=\"OKTVariant\" version=\"1\"><Members version=\"1\"><vartype long=\"8197\"/></Members></v>"));
}

// --- Names that are refused --------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, NamesThatAreNoXmlNames_RefusedWithoutAReport_TheFilerStaysUsable)
{
    ReportCatcher const reports;
    EXPECT_EQ(
        saved([](OpenXmlFiler &filer) {
            for (CString const name : {u"", u" ", u"a b", u"1a", u"-a", u".a", u"arr[0]", u"(int) n", u"a&b", u"<a>", u"a\n"})
            {
                for (auto const &[what, write] : valueWriters())
                    EXPECT_FALSE(write(filer, name)) << what << " " << name.ToUtf8();
                EXPECT_FALSE(filer.beginWriteClass(name, u"C", 1)) << name.ToUtf8();
                EXPECT_FALSE(filer.writePoint3d(name, OKTGeXYZ())) << name.ToUtf8();
                EXPECT_FALSE(filer.writeVariant(name, variantOf(VT_I4))) << name.ToUtf8();
                EXPECT_FALSE(filer.writeObjectId(name, OKTDbObjectId::kNull)) << name.ToUtf8();
            }
            EXPECT_EQ(filer.working(), "Document");
            EXPECT_TRUE(filer.writeInt(u"usable", 1));
        }),
        documentOf("<usable long=\"1\"/>"));
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, NamesThatAreXmlNames_BecomeTagsAsTheyStand)
{
    // The lists of the stored classes have a dot in their names, which is one of the characters of a name.
    EXPECT_EQ(
        saved([](OpenXmlFiler &filer) {
            for (CString const name : {u"m_tabPictures.Length", u"m_tabPictures.0", u"_a-b", u"A", u"a", u"\u00E9t\u00E9"})
                EXPECT_TRUE(filer.writeInt(name, 1)) << name.ToUtf8();
        }),
        documentOf("<m_tabPictures.Length long=\"1\"/><m_tabPictures.0 long=\"1\"/><_a-b long=\"1\"/><A long=\"1\"/>"
                   "<a long=\"1\"/><\xE9t\xE9 long=\"1\"/>"));
}

TEST_F(OKTXmlFilerTest, WriteObjectId_FalseAndAnEmptySection_Quirk72)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_FALSE(filer.writeObjectId(u"m_idOwner", OKTDbObjectId::kNull));
                  EXPECT_FALSE(filer.writeObjectId(u"m_idOther", OKTDbObjectId::createObjectId(nullptr)));
              }),
              documentOf("<m_idOwner class=\"OKTObjectId\" version=\"1\"><Members version=\"1\"/></m_idOwner>"
                         "<m_idOther class=\"OKTObjectId\" version=\"1\"><Members version=\"1\"/></m_idOther>"));
}

TEST_F(OKTXmlFilerTest, WriteObjectIdArray_StopsAtTheFirstId_Quirk72)
{
    IdArray ids;
    EXPECT_EQ(saved([&](OpenXmlFiler &filer) {
                  EXPECT_TRUE(filer.writeObjectIdArray(u"none", ids));
                  ids.append(OKTDbObjectId::kNull);
                  ids.append(OKTDbObjectId::kNull);
                  EXPECT_FALSE(filer.writeObjectIdArray(u"two", ids));
              }),
              documentOf("<Lengthnone long=\"0\"/><Lengthtwo long=\"2\"/>"
                         "<two.0 class=\"OKTObjectId\" version=\"1\"><Members version=\"1\"/></two.0>"));
}

TEST_F(OKTXmlFilerTest, WriteObjectId_WithTranslationOn_NotTranslatedAndNothingNoted_Quirk93)
{
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(m_folder.path("x.xml"), true));
    filer.setTranslatedIds(true);
    OKTDbPool pool;
    auto *const object = new OKTDbRelation;
    ASSERT_TRUE(pool.appendObject(object));
    EXPECT_FALSE(filer.writeObjectId(u"id", object->objectId()));
    IdMap map;
    EXPECT_TRUE(filer.saveMapTranslatedIds(map));
    EXPECT_TRUE(map.isEmpty());
}

TEST_F(OKTXmlFilerTest, StoredObject_Status1_ItsFrameIsNeverAttached_Quirk72)
{
    OKTDbRelation const relation;
    EXPECT_EQ(saved([&](OpenXmlFiler &filer) {
                  EXPECT_EQ(relation.xmlOut(&filer), eFilerMemberFailed);
                  // The frame of the derived class stays open, and that of the base class stands in it.
                  EXPECT_EQ(filer.working(), "Object");
                  OktXml::IXMLDOMNodePtr const base = filer.getWorkingNode()->firstChild();
                  ASSERT_TRUE(base);
                  EXPECT_EQ(base->nodeName(), u"Object");
                  EXPECT_EQ(base->attributes()->getNamedItem(OktXmlName(u"class"))->text(), u"OKTDbObject");
                  EXPECT_FALSE(base->nextSibling());
              }),
              documentOf(""));
}

TEST_F(OKTXmlFilerTest, ObjectBase_ItsFrameStandsWithAnEmptyId_Quirk72)
{
    class Plain : public OKTDbRelation
    {
    public:
        // NOLINTNEXTLINE(bugprone-parent-virtual-call): the frame of the base alone
        FilerStatusDb baseOut(OKTFiler *filer) const { return OKTDbObject::xmlOut(filer); }
    };
    Plain const object;
    EXPECT_EQ(saved([&](OpenXmlFiler &filer) { EXPECT_EQ(object.baseOut(&filer), eFilerMemberFailed); }),
              documentOf("<Object class=\"OKTDbObject\" version=\"1\"><Members version=\"1\">"
                         "<m_objectId class=\"OKTObjectId\" version=\"1\"><Members version=\"1\"/></m_objectId>"
                         "</Members></Object>"));
}

TEST_F(OKTXmlFilerTest, NamesOfAPicturesText_Refused_Quirk72)
{
    EXPECT_EQ(saved([](OpenXmlFiler &filer) {
                  EXPECT_FALSE(filer.writeString(u"arrStrBase64[0]", u"a"));
                  EXPECT_FALSE(filer.writeInt(u"(int)arrStrBase64.GetSize() - 1", 1));
                  EXPECT_FALSE(filer.writeString(u"arrStrBase64[ (int)nIter ]", u"a"));
                  EXPECT_FALSE(filer.writeInt(u"(int) m_Guid.Data1", 1));
                  EXPECT_FALSE(filer.writeInt(u"( (int) m_Guid.Data2 ) | ( ( (int) m_Guid.Data3 ) << 16 )", 1));
                  EXPECT_FALSE(filer.writeInt(u"*( (int*) m_Guid.Data4 )", 1));
                  EXPECT_FALSE(filer.writeInt(u"*( (int*) ( m_Guid.Data4 + 4 ) )", 1));
              }),
              documentOf(""));
}

TEST_F(OKTXmlFilerTest, WriteByteArray_FalseInAnyState)
{
    CByteArray const bytes = hex("01 02");
    OKTXmlFiler closed;
    EXPECT_FALSE(closed.writeByteArray(u"a", bytes));
    EXPECT_EQ(saved([&](OpenXmlFiler &filer) {
                  EXPECT_FALSE(filer.writeByteArray(u"a", bytes));
                  EXPECT_FALSE(filer.writeByteArray(u"a", CByteArray()));
              }),
              documentOf(""));
    OKTXmlFiler reading;
    ASSERT_TRUE(reading.NewFiler(m_path, false));
    EXPECT_FALSE(reading.writeByteArray(u"a", bytes));
}

// --- Numbers and the locale --------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, WriteDouble_UnderACommaLocale_StandsWithAComma)
{
    NumericLocale const comma(NumericLocale::kComma);
    ASSERT_TRUE(comma.isThere());
    EXPECT_EQ(
        saved([](OpenXmlFiler &filer) {
            filer.writeDouble(u"a", 1.5);
            filer.writeInt(u"b", 1234567);
            filer.writeString(u"c", u"1.5");
            filer.writePoint3d(u"p", OKTGeXYZ(0.5, -1.0, 1e6));
        }),
        documentOf("<a double=\"1,50000000000000000\"/><b long=\"1234567\"/><c string=\"1.5\"/>"
                   "<p class=\"OKTGeXYZ\" version=\"1\"><Members version=\"1\"><m_dfX double=\"0,50000000000000000\"/>"
                   "<m_dfY double=\"-1,00000000000000000\"/><m_dfZ double=\"1000000,00000000000000000\"/></Members></p>"));
}

// --- Life --------------------------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, Construct_ClosedWithoutFlags)
{
    OpenXmlFiler filer;
    EXPECT_FALSE(filer.getIsWriteEnabled());
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    EXPECT_FALSE(filer.getTranslatedIds());
    EXPECT_FALSE(filer.getIsAnsiString());
    EXPECT_FALSE(filer.getWorkingNode());
    EXPECT_FALSE(filer.CloseFiler());
}

TEST_F(OKTXmlFilerTest, ClosedFiler_ValuesAreReportedAndFalse_FramesAreFalse_Quirk89)
{
    ReportCatcher reports;
    OKTXmlFiler filer;
    for (auto const &[what, write] : valueWriters())
    {
        reports.clear();
        EXPECT_FALSE(write(filer, u"name")) << what;
        ASSERT_EQ(reports.count(), 1u) << what;
        EXPECT_THAT(reports.texts().front(), IsReportOf("oktxmlfiler")) << what;
    }
    reports.clear();
    EXPECT_FALSE(filer.beginWriteClass(u"f", u"C", 1));
    EXPECT_FALSE(filer.beginWriteMembers(1));
    EXPECT_FALSE(filer.beginWriteMap(u"m"));
    EXPECT_FALSE(filer.endWriteClass());
    EXPECT_FALSE(filer.endWriteMembers());
    EXPECT_FALSE(filer.endWriteMap());
    EXPECT_FALSE(filer.writePoint3d(u"p", OKTGeXYZ()));
    EXPECT_FALSE(filer.writeVariant(u"v", variantOf(VT_I4)));
    EXPECT_FALSE(filer.writeObjectId(u"i", OKTDbObjectId::kNull));
    EXPECT_FALSE(filer.writeByteArray(u"b", CByteArray()));
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, NewFiler_Writing_TouchesNoFileBeforeTheEnd)
{
    CString const path = putText(m_folder, "x.xml", "what was there");
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, true));
    filer.writeInt(u"n", 1);
    EXPECT_EQ(textOf(path), "what was there");
    CString const none = m_folder.path("none.xml");
    OKTXmlFiler other;
    ASSERT_TRUE(other.NewFiler(none, true));
    EXPECT_FALSE(fileExists(none));
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(textOf(path), documentOf("<n long=\"1\"/>"));
}

TEST_F(OKTXmlFilerTest, NewFiler_WhileOpen_FalseAndNothingChanges)
{
    CString const first = m_folder.path("first.xml");
    CString const second = m_folder.path("second.xml");
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(first, true));
    filer.writeInt(u"n", 1);
    EXPECT_FALSE(filer.NewFiler(second, true));
    EXPECT_FALSE(filer.NewFiler(second, false));
    EXPECT_TRUE(filer.getIsWriteEnabled());
    EXPECT_TRUE(filer.writeInt(u"m", 2));
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_FALSE(fileExists(second));
    EXPECT_EQ(textOf(first), documentOf("<n long=\"1\"/><m long=\"2\"/>"));
}

TEST_F(OKTXmlFilerTest, NewFiler_WithoutAPath_OpensAndCannotBeClosed_Quirk92)
{
    OpenXmlFiler filer;
    EXPECT_TRUE(filer.NewFiler(CString(), true));
    EXPECT_TRUE(filer.writeInt(u"n", 1));
    EXPECT_FALSE(filer.CloseFiler());
    EXPECT_EQ(filer.working(), "Document");
    EXPECT_FALSE(filer.NewFiler(m_folder.path("x.xml"), true));
}

TEST_F(OKTXmlFilerTest, OpenedClosedAndOpenedAgain)
{
    OKTXmlFiler filer;
    CString const first = m_folder.path("first.xml");
    CString const second = m_folder.path("second.xml");
    for (CString const &path : {first, second, first})
    {
        ASSERT_TRUE(filer.NewFiler(path, true));
        EXPECT_TRUE(filer.writeString(u"s", path == first ? u"1" : u"2"));
        EXPECT_TRUE(filer.CloseFiler());
        EXPECT_FALSE(filer.CloseFiler());
    }
    EXPECT_EQ(textOf(first), documentOf("<s string=\"1\"/>"));
    EXPECT_EQ(textOf(second), documentOf("<s string=\"2\"/>"));
}

TEST_F(OKTXmlFilerTest, CloseFiler_WithAFrameOpen_FrameIsMissingAndTheFilerIsLost_Quirk78)
{
    ReportCatcher const reports;
    CString const path = m_folder.path("x.xml");
    {
        OpenXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, true));
        filer.writeInt(u"before", 1);
        filer.beginWriteClass(u"f", u"C", 1);
        filer.beginWriteMembers(1);
        filer.writeInt(u"within", 2);
        filer.endWriteMembers();
        EXPECT_TRUE(filer.CloseFiler());
        EXPECT_EQ(textOf(path), documentOf("<before long=\"1\"/>"));
        // One element was popped, the root is still there.
        EXPECT_EQ(filer.working(), "Document");
        EXPECT_FALSE(filer.NewFiler(m_folder.path("y.xml"), true));
        EXPECT_FALSE(filer.NewFiler(path, false));
        EXPECT_FALSE(filer.CloseFiler());
    }
    EXPECT_EQ(textOf(path), documentOf("<before long=\"1\"/>"));
    EXPECT_FALSE(fileExists(m_folder.path("y.xml")));
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, CloseFiler_WithManyFramesOpen_PopsOnce_Quirk78)
{
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(m_folder.path("x.xml"), true));
    for (int i = 0; i < 4; ++i)
        filer.beginWriteClass(u"f", u"C", i);
    EXPECT_TRUE(filer.CloseFiler());
    int left = 0;
    while (filer.popWorkingNode())
        ++left;
    EXPECT_EQ(left, 4);
    // With the stack emptied by hand it can be opened again.
    EXPECT_TRUE(filer.NewFiler(m_folder.path("y.xml"), true));
}

TEST_F(OKTXmlFilerTest, AfterWriting_TheFlagStays_ReadingIsRefused_Quirk82)
{
    OpenXmlFiler filer;
    CString const path = m_folder.path("x.xml");
    ASSERT_TRUE(filer.NewFiler(path, true));
    filer.writeInt(u"n", 5);
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_TRUE(filer.getIsWriteEnabled());
    int value = 3;
    EXPECT_FALSE(filer.readInt(u"n", value));
    ASSERT_TRUE(filer.NewFiler(path, false));
    EXPECT_FALSE(filer.getIsWriteEnabled());
    EXPECT_TRUE(filer.readInt(u"n", value));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_FALSE(filer.getIsWriteEnabled());
}

TEST_F(OKTXmlFilerTest, Destruction_SavesWhatNobodyClosed)
{
    CString const path = m_folder.path("x.xml");
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, true));
        filer.writeInt(u"n", 1);
    }
    EXPECT_EQ(textOf(path), documentOf("<n long=\"1\"/>"));
}

TEST_F(OKTXmlFilerTest, Destruction_WithFramesOpen_SavesWhatIsAttached_Quirk78)
{
    ReportCatcher const reports;
    CString const path = m_folder.path("x.xml");
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, true));
        filer.writeInt(u"before", 1);
        filer.beginWriteClass(u"f", u"C", 1);
        filer.beginWriteMembers(1);
        filer.writeInt(u"within", 2);
    }
    EXPECT_EQ(textOf(path), documentOf("<before long=\"1\"/>"));
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, Destruction_OfAReader_LeavesTheFile)
{
    CString const path = putText(m_folder, "x.xml", "<Document><n long='1'/></Document>");
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, false));
        filer.writeInt(u"m", 1);
    }
    EXPECT_EQ(textOf(path), "<Document><n long='1'/></Document>");
}

TEST_F(OKTXmlFilerTest, Copy_SharesDocumentAndNodes)
{
    CString const path = m_folder.path("x.xml");
    OpenXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, true));
    filer.writeInt(u"a", 1);
    {
        OpenXmlFiler copy(filer);
        EXPECT_TRUE(copy.getIsWriteEnabled());
        EXPECT_TRUE(copy.getWorkingNode() == filer.getWorkingNode());
        EXPECT_TRUE(copy.writeInt(u"b", 2));
        OpenXmlFiler assigned;
        assigned = filer;
        EXPECT_TRUE(assigned.writeInt(u"c", 3));
        EXPECT_TRUE(assigned.CloseFiler());
        EXPECT_EQ(textOf(path), documentOf("<a long=\"1\"/><b long=\"2\"/><c long=\"3\"/>"));
        EXPECT_FALSE(assigned.getWorkingNode());
    }
    EXPECT_TRUE(filer.writeInt(u"d", 4));
    EXPECT_TRUE(filer.CloseFiler());
    EXPECT_EQ(textOf(path), documentOf("<a long=\"1\"/><b long=\"2\"/><c long=\"3\"/><d long=\"4\"/>"));
}

TEST_F(OKTXmlFilerTest, Copy_OfAReader_KeepsTheCursors)
{
    CString const path =
        putText(m_folder, "x.xml",
                "<Document><Object class='A'/><Object class='B'/><Map name='m'><e long='1'/><f long='2'/></Map></Document>");
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, false));
    EXPECT_TRUE(filer.skipNextToReadDocumentObject());
    EXPECT_TRUE(filer.beginReadMap(u"m"));
    tagVARIANT value = variantOf(VT_EMPTY);
    CString name;
    EXPECT_TRUE(filer.getMapAttribute(name, &value));
    OKTXmlFiler copy(filer);
    EXPECT_TRUE(copy.getMapAttribute(name, &value));
    EXPECT_EQ(name, u"f");
    EXPECT_TRUE(filer.getMapAttribute(name, &value)); // each has a cursor of its own
    EXPECT_EQ(name, u"f");
    EXPECT_TRUE(copy.endReadMap());
    CString className;
    EXPECT_TRUE(copy.getDescriptionForNextReadObject(className));
    EXPECT_EQ(className, u"B");
}

TEST_F(OKTXmlFilerTest, Copy_OutlivesTheOriginal)
{
    CString const path = m_folder.path("x.xml");
    auto filer = std::make_unique<OKTXmlFiler>();
    ASSERT_TRUE(filer->NewFiler(path, true));
    filer->writeInt(u"a", 1);
    OKTXmlFiler copy(*filer);
    filer.reset();
    EXPECT_TRUE(copy.writeInt(u"b", 2));
    EXPECT_TRUE(copy.CloseFiler());
    EXPECT_EQ(textOf(path), documentOf("<a long=\"1\"/><b long=\"2\"/>"));
}

// --- Saves that fail ---------------------------------------------------------------------------------------------------------

TEST_F(OKTXmlFilerTest, CloseFiler_PathThatCannotBeWritten_TrueWithoutAWord_Quirk73)
{
    ReportCatcher const reports;
    testing::internal::CaptureStderr();
    for (std::string const &path : {m_folder.path("no/such/folder/x.xml").ToUtf8(), std::string("/dev/full"),
                                    m_folder.path("").ToUtf8(), std::string("/proc/version")})
    {
        OKTXmlFiler filer;
        EXPECT_TRUE(filer.NewFiler(CString::FromUtf8(path), true)) << path;
        EXPECT_TRUE(filer.writeString(u"s", repeated(100000, u'x'))) << path;
        EXPECT_TRUE(filer.CloseFiler()) << path;
        EXPECT_FALSE(filer.CloseFiler()) << path;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTXmlFilerTest, CloseFiler_NoMemoryForTheSave_TrueAndClosed_Quirk73)
{
    ReportCatcher const reports;
    bool struck = true;
    for (std::size_t passed = 0; struck; ++passed)
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(m_folder.path("short.xml"), true));
        ASSERT_TRUE(filer.writeString(u"s", u"text"));
        bool closed;
        {
            AllocationFault const fault(passed);
            closed = filer.CloseFiler();
            struck = fault.struck();
        }
        EXPECT_TRUE(closed) << passed;
        EXPECT_FALSE(filer.CloseFiler()) << passed;
    }
    EXPECT_EQ(reports.count(), 0u);
}
