#include "files.h"
#include "process.h"

#include "support/printers.h"
#include "support/scratchfolder.h"

#include <tools/okt/report/filemap.h>
#include <tools/okt/report/html.h>
#include <tools/okt/report/layeredlayout.h>
#include <tools/okt/report/pageparts.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// A second process makes pages of pool files; golden ones and those made here.
class OktReport : public FolderTest
{
protected:
    static std::string textOf(std::string const &path)
    {
        CByteArray const bytes = contentsOf(CString::FromUtf8(path));
        return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
    }

    /// The page about some files without its style and script.
    static std::string page(std::vector<std::string> arguments, int exitCode = 0)
    {
        arguments.insert(arguments.begin(), "report");
        arguments.insert(arguments.end(), {"-o", "-"});
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.err;
        std::string text = result.out;
        for (std::string_view const part : {okt::kPageStyle, okt::kPageScript})
        {
            std::size_t const at = text.find(part);
            EXPECT_NE(at, std::string::npos);
            text.erase(at, part.size());
        }
        return text;
    }

    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    }
};

// ---- What the page holds ----------------------------------------------------------------------------------------------------

TEST_F(OktReport, Report_Stirrup_HeaderParametersRelationsMap)
{
    std::string const text = page({golden("stirrup.okt")});
    EXPECT_TRUE(text.starts_with("<!DOCTYPE html>\n<html lang=\"en\" data-unit=\"mm\">\n<head>\n<meta charset=\"utf-8\"/>\n"));
    EXPECT_THAT(text, HasSubstr("<title>Stirrup, closed, 135 degrees</title>\n<style></style>\n<script></script>\n</head>\n"));
    EXPECT_THAT(text, HasSubstr("<h1 id=\"t1-title\">Stirrup, closed, 135 degrees</h1>\n<p class=\"sum\"><span class=\"file\">"
                                "stirrup.okt</span> · 15\u00A0parameters in 2\u00A0categories · 21\u00A0objects · "
                                "9\u202F311\u00A0bytes</p>\n"));
    EXPECT_THAT(text, HasSubstr("<div><dt>Pool</dt><dd>{ED7D40B5-8AF9-4025-8681-00D526EDB9C2}</dd></div>\n"));
    EXPECT_THAT(text, HasSubstr("<div><dt>Picture</dt><dd>{727EC297-1483-468D-812D-A07952424387}, OKTDbPicture, "
                                "2\u202F149\u00A0bytes from byte 3571</dd></div>\n"));
    EXPECT_THAT(text,
                HasSubstr("<figure><figcaption>Picture 0 · no known format · 1\u202F399\u00A0bytes · browsers do not show it"
                          "<span class=\"camera\">Camera (1250, -800, 950.5), target (0, 0, 120.25), up (0, 0, 1)</span>"
                          "</figcaption></figure>\n"));
    EXPECT_THAT(text, HasSubstr("<tr class=\"category\"><th scope=\"rowgroup\" colspan=\"6\" "
                                "title=\"{FBC03831-907F-4EE3-8692-9454586D785D}\">Bar</th></tr>\n"));
    EXPECT_THAT(text,
                HasSubstr(">Steelgrade</th><td class=\"num\">B500B</td><td class=\"unit\"></td><td class=\"expression\"></td>"
                          "<td class=\"description\">Grade of the bar</td><td class=\"type\">4 Steelgrade "
                          "<span class=\"kind\">VT_BSTR</span></td></tr>\n"));
    EXPECT_THAT(text, HasSubstr("<code>10*<wbr/>Diameter</code>"));
    EXPECT_THAT(text, HasSubstr("<span class=\"uses\">uses Spacing A, Spacing B</span>"));
    EXPECT_THAT(text,
                HasSubstr("title=\"{8B87DAE8-0AB5-41BD-BC6D-1853113361DB}\"><code>OKTDbParamRelation</code> ties Diameter, "
                          "Hook length 1, Bending radius</li>\n"));
    EXPECT_THAT(text, HasSubstr("aria-label=\"parameter Bügel Ø12 — strzemię\">"));
    EXPECT_THAT(text, HasSubstr("<path class=\"uses\" data-from=\"17\" data-to=\"14\" marker-end=\"url(#arrow)\" "));
    EXPECT_THAT(text, HasSubstr("<path class=\"named\" data-from=\"7\" data-to=\"3\" marker-end=\"url(#arrow)\" "));
    EXPECT_THAT(text, HasSubstr("<rect class=\"c-header\" data-cell=\"0\" x=\"0\" width=\"563\" height=\"1\"><title>Header: "
                                "563\u00A0bytes, 0 to 562</title></rect>"));
    EXPECT_THAT(text, HasSubstr("<title>OKTDbParameter “Hook angle 1”: 299\u00A0bytes, 7111 to 7409</title>"));
    EXPECT_THAT(text,
                HasSubstr("OKTDbParameter</th><td class=\"num\">15</td><td class=\"num\">4\u202F929</td><td class=\"num\">52.9"
                          "&#8239;%</td></tr>\n"));
    EXPECT_TRUE(text.ends_with("</main>\n</div>\n</body>\n</html>\n"));
}

TEST_F(OktReport, Report_Lengths_EveryUnitRoundedAndExact)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-no4.okt")});
    EXPECT_THAT(text,
                HasSubstr(">Cover</th><td class=\"num\" data-mm=\"38.1\" data-cm=\"3.81\" data-m=\"0.0381\" data-in=\"1.5\" "
                          "data-ft=\"0.125\">38.1</td><td class=\"unit of-length\">mm</td>"));
    EXPECT_THAT(
        text, HasSubstr(">Cutting length</th><td class=\"num\" data-mm=\"1467.64\" data-mm-exact=\"1467.63670025\" "
                        "data-cm=\"146.764\" data-cm-exact=\"146.763670025\" data-m=\"1.46764\" data-m-exact=\"1.46763670025\" "
                        "data-in=\"57.781\" data-in-exact=\"57.780972451\" data-ft=\"4.8151\" data-ft-exact=\"4.81508103758\" "
                        "title=\"1467.63670025 mm\">1467.64</td>"));
    EXPECT_THAT(text,
                HasSubstr(">Quantity expression</th><td class=\"num\" data-mm=\"4x254 2x127 \" data-cm=\"4x25.4 2x12.7 \" "
                          "data-m=\"4x0.254 2x0.127 \" data-in=\"4x10 2x5 \" data-ft=\"4x0.833 2x0.417 \">4x254 2x127 </td>"
                          "<td class=\"unit of-length\">mm</td>"));
    // Neither is a length.
    EXPECT_THAT(text, HasSubstr(">Diameter</th><td class=\"num\">0.5</td><td class=\"unit\"></td>"));
    EXPECT_THAT(text, HasSubstr(">Hook angle 1</th><td class=\"num\">135</td><td class=\"unit\"></td>"));
}

TEST_F(OktReport, Report_Unit_ShownAtFirst)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-no4.okt"), "--unit", "in"});
    EXPECT_THAT(text, HasSubstr("<html lang=\"en\" data-unit=\"in\">"));
    EXPECT_THAT(text, HasSubstr("value=\"in\" checked=\"\"/>"));
    EXPECT_THAT(text, HasSubstr("title=\"57.780972451 in\">57.781</td><td class=\"unit of-length\">in</td>"));
    EXPECT_THAT(text, Not(HasSubstr("<td class=\"unit of-length\">mm</td>")));
}

TEST_F(OktReport, Report_ValueKinds_EachAsItsKind)
{
    std::string const text = page({golden("value-kinds.okt"), "--unit", "m"});
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">32767</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">-2147483648</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">infinity</td>"));
    EXPECT_THAT(text, HasSubstr("data-m=\"yes\""));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">no</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\"><span class=\"note\">empty</span></td>"));
    EXPECT_THAT(text, HasSubstr("In no category</th>"));
    EXPECT_THAT(text, Not(HasSubstr("In no group</th>")));
}

TEST_F(OktReport, Report_Pictures_EmbeddedOnceOrListed)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-d12.okt"), path("out/mesh-d8.okt")});
    EXPECT_THAT(text,
                HasSubstr("<img id=\"t1-picture0\" alt=\"Picture 0 of Closed link, 12 mm, EN 1992 / BS 8666\" width=\"800\" "
                          "height=\"600\" src=\"data:image/png;base64,iVBORw0KGgo"));
    EXPECT_THAT(text, HasSubstr("<span class=\"thumb\" data-picture=\"t2-picture0\"></span>"));
    std::size_t pictures = 0;
    for (std::size_t at = text.find("data:image"); at != std::string::npos; at = text.find("data:image", at + 1))
        ++pictures;
    EXPECT_EQ(pictures, 2u);
    // Not one byte is lost on the way.
    ASSERT_EQ(runOkt({"picture", path("out/link-d12.okt"), "-o", path("link.png")}).exitCode, 0);
    CByteArray const image = contentsOf(m_folder.path("link.png"));
    EXPECT_THAT(text, HasSubstr("src=\"" + okt::dataUri("image/png", image) + "\""));
}

TEST_F(OktReport, Report_PictureFormats_ShownWhereBrowsersDo)
{
    struct Row
    {
        std::string bytes;
        char const *source;
        char const *caption;
    };
    Row const rows[] = {
        {"\xFF\xD8\xFF\xD9", "src=\"data:image/jpeg;base64,/9j/2Q==\"", "JPEG · 4\u00A0bytes<"},
        {"GIF89a\x02", "src=\"data:image/gif;base64,R0lGODlhAg==\"", "GIF · 7\u00A0bytes<"},
        {"<svg xmlns='x'/>", "src=\"data:image/svg+xml;base64,PHN2ZyB4bWxucz0neCcvPg==\"", "SVG · 16\u00A0bytes<"},
        {"%PDF-1.7", nullptr, "PDF · 8\u00A0bytes · browsers do not show it<"},
        {std::string("II*\0", 4), nullptr, "TIFF · 4\u00A0bytes · browsers do not show it<"},
        {"<html>", nullptr, "no known format · 6\u00A0bytes · browsers do not show it<"},
        {"", nullptr, "empty · 0\u00A0bytes<"},
    };
    for (Row const &row : rows)
    {
        OKTDbPool pool;
        auto *const picture = new OKTDbPicture;
        ASSERT_TRUE(pool.appendObject(picture));
        CByteArray image;
        for (char const c : row.bytes)
            image.Add(static_cast<BYTE>(c));
        picture->setPictureData(image);
        ASSERT_TRUE(pool.writeFile(m_folder.path("picture.okt")));
        std::string const text = page({path("picture.okt")});
        EXPECT_THAT(text, HasSubstr("<figcaption>Picture 0 · " + std::string(row.caption)));
        if (row.source != nullptr)
            EXPECT_THAT(text, HasSubstr(row.source));
        else
            EXPECT_THAT(text, Not(HasSubstr("<img")));
    }
}

TEST_F(OktReport, Report_SeveralFiles_OverviewAndArticles)
{
    std::string const text = page({golden("stirrup.okt"), golden("quantities.okt"), "--title", "Bars & \"links\""});
    EXPECT_THAT(text, HasSubstr("<h1 id=\"top\">Bars &amp; &quot;links&quot;</h1>"));
    EXPECT_THAT(text, HasSubstr("<title>Bars &amp; &quot;links&quot;</title>"));
    EXPECT_THAT(text, HasSubstr("<p class=\"sum\">2\u00A0templates · "));
    EXPECT_THAT(text, HasSubstr("<nav class=\"side\" aria-label=\"Templates\">"));
    EXPECT_THAT(text, HasSubstr("<li data-of=\"t2\"><a class=\"card\" href=\"#t2\">"));
    EXPECT_THAT(
        text, HasSubstr("<article class=\"template\" id=\"t2\" aria-labelledby=\"t2-title\">\n<header>\n<h2 id=\"t2-title\">"));
}

TEST_F(OktReport, Report_SameFilesTwice_SameBytes)
{
    EXPECT_EQ(page({golden("stirrup.okt"), golden("pictures.okt")}), page({golden("stirrup.okt"), golden("pictures.okt")}));
}

// The folder of a file is nobody else's business.
TEST_F(OktReport, Report_NoFolderInThePage)
{
    std::string const text = page({golden("truncated.okt"), path("none.okt"), golden("stirrup.okt")}, 1);
    EXPECT_THAT(text, Not(HasSubstr(OKT_TEST_DATA_DIR)));
    EXPECT_THAT(text, Not(HasSubstr(path(""))));
}

// ---- Texts that nobody expects ----------------------------------------------------------------------------------------------

TEST_F(OktReport, Report_HostileTexts_Escaped)
{
    OKTDbPool pool;
    pool.setPoolName(CString(u"</title><script>alert(1)</script>"));
    auto *const category = new OKTDbCategory;
    auto *const parameter = new OKTDbParameter(4, OKTDbObjectId());
    auto *const marked = new OKTDbParameter(4, OKTDbObjectId());
    ASSERT_TRUE(pool.appendObject(category));
    ASSERT_TRUE(pool.appendObject(parameter));
    ASSERT_TRUE(pool.appendObject(marked));
    category->setCategoryName(u"\"><img src=x onerror='alert(1)'>");
    category->appendParameter(parameter->objectId());
    WCHAR const odd[] = {u'a', 0xD800, u'\n', u'b', 0x202E, 0xFFFE, 0xFFFF, 0x2028, u'c'};
    parameter->setUserName(CString(odd, 9), false);
    parameter->setValue(CString(u"' onmouseover='x' \"&amp;<!-- ]]> "), 0);
    parameter->setDescription(CString(u"</td></table></script></style>\x001b[2J\x009b"));
    parameter->setExpression(CString(u"a<b&&c>d"));
    marked->setUserName(CString(u"</svg><a href=\"javascript:alert(1)\">"), false);
    marked->setExpression(CString(u"\"'"));
    marked->setValue(CString(u"x"), 0);
    ASSERT_TRUE(pool.writeFile(m_folder.path("hostile.okt")));
    std::string const text = page({path("hostile.okt")});
    EXPECT_THAT(text, HasSubstr("<title>&lt;/title&gt;&lt;script&gt;alert(1)&lt;/script&gt;</title>"));
    EXPECT_THAT(text, HasSubstr(">&quot;&gt;&lt;img src=x onerror=&#39;alert(1)&#39;&gt;</th>"));
    EXPECT_THAT(text, HasSubstr("In no category</th>"));
    EXPECT_THAT(text, HasSubstr("In no group</th>"));
    EXPECT_THAT(text, HasSubstr("a\\uD800\\nb\\u202E\\uFFFE\\uFFFF\\u2028c"));
    EXPECT_THAT(text, HasSubstr("&#39; onmouseover=&#39;x&#39; &quot;&amp;amp;&lt;!-- ]]&gt; "));
    EXPECT_THAT(text, HasSubstr("&lt;/td&gt;&lt;/table&gt;&lt;/script&gt;&lt;/style&gt;\\u001B[2J\\u009B"));
    EXPECT_THAT(text, HasSubstr("aria-label=\"parameter &lt;/svg&gt;&lt;a href=&quot;javascript:alert(1)&quot;&gt;\">"));
    for (char const *const part : {"<script>alert", "<img src=x", "\x1b", "onmouseover='", "<a href=\"java"})
        EXPECT_THAT(text, Not(HasSubstr(part)));
}

TEST_F(OktReport, Report_FileNameAndTitleOfMarkup_Escaped)
{
#if defined(_WIN32) // no such characters in a name
    std::string const name = "&'.okt";
    std::string const escaped = "&amp;&#39;.okt";
#else
    std::string const name = "<b>&'\".okt";
    std::string const escaped = "&lt;b&gt;&amp;&#39;&quot;.okt";
#endif
    put(name, contentsOf(CString::FromUtf8(golden("empty.okt"))));
    std::string const text = page({path(name), golden("empty.okt"), "--title", "</title><b>"});
    EXPECT_THAT(text, HasSubstr("<span class=\"file\">" + escaped + "</span>"));
    EXPECT_THAT(text, HasSubstr("<title>&lt;/title&gt;&lt;b&gt;</title>"));
    EXPECT_THAT(text, Not(HasSubstr("<b>")));
}

// What is named often must not be told whole each time, and no text may bury the rest of the page.
TEST_F(OktReport, Report_LongTexts_FoldedAndCutInReferences)
{
    std::string const longText(5000, 'x');
    OKTDbPool pool;
    pool.setPoolName(CString::FromUtf8(longText));
    auto *const named = new OKTDbParameter(4, OKTDbObjectId());
    auto *const using_ = new OKTDbParameter(39, OKTDbObjectId());
    ASSERT_TRUE(pool.appendObject(named));
    ASSERT_TRUE(pool.appendObject(using_));
    named->setUserName(CString::FromUtf8(longText), false);
    named->setValue(CString::FromUtf8(longText), 0);
    using_->setUserName(u"Short", false);
    using_->setValue(CString(u"4x0.15"), 0);
    IdArray uses;
    uses.append(named->objectId());
    using_->setTabParams(uses);
    ASSERT_TRUE(pool.writeFile(m_folder.path("long.okt")));
    std::string const text = page({path("long.okt")});
    std::string const folded = "<details class=\"text\"><summary>" + std::string(240, 'x') +
                               "… <span class=\"note\">5\u202F000\u00A0characters</span></summary>" + longText + "</details>";
    EXPECT_THAT(text, HasSubstr("<div><dt>Name</dt><dd>" + folded + "</dd></div>\n"));
    EXPECT_THAT(text, HasSubstr("<td class=\"long\">" + folded + "</td>"));
    EXPECT_THAT(text, HasSubstr("\">" + folded + "</th>"));
    EXPECT_THAT(text, HasSubstr("<title>" + std::string(160, 'x') + "…</title>"));
    EXPECT_THAT(text, HasSubstr("<span class=\"uses\">uses " + std::string(80, 'x') + "…</span>"));
    EXPECT_LT(text.size(), 30000u);
}

TEST_F(OktReport, Report_LoopsAndDanglingIds_ShownAsSuch)
{
    OKTDbPool pool;
    auto *const group = new OKTDbGroupCategory;
    auto *const category = new OKTDbCategory;
    auto *const first = new OKTDbParameter(54, OKTDbObjectId());
    auto *const second = new OKTDbParameter(54, OKTDbObjectId());
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{group, category, first, second})
        ASSERT_TRUE(pool.appendObject(object));
    OKTDbObjectId outside;
    outside.setGuidFromString(u"{00112233-4455-6677-8899-AABBCCDDEEFF}");
    first->setUserName(u"First", false);
    second->setUserName(u"Second", false);
    first->setValue(1.0, 0);
    second->setValue(2.0, 0);
    first->setExpression(u"second+1e5+First");
    IdArray uses;
    uses.append(first->objectId());
    uses.append(outside);
    second->setTabParams(uses);
    group->appendCategory(group->objectId());
    group->appendCategory(outside);
    group->appendCategory(category->objectId());
    category->appendParameter(outside);
    category->appendParameter(first->objectId());
    category->appendParameter(second->objectId());
    ASSERT_TRUE(pool.writeFile(m_folder.path("loops.okt")));
    std::string const text = page({path("loops.okt")});
    EXPECT_THAT(text, HasSubstr("{00112233-4455-6677-8899-AABBCCDDEEFF} (not in this file)</th></tr>\n"));
    EXPECT_THAT(text, HasSubstr("uses First, {00112233-4455-6677-8899-AABBCCDDEEFF} (not in this file)</span>"));
    EXPECT_THAT(text, HasSubstr("<path class=\"uses\""));
    EXPECT_THAT(text, HasSubstr("<path class=\"named\""));
}

// ---- Damaged files ----------------------------------------------------------------------------------------------------------

TEST_F(OktReport, Report_GoldenFilesWithFaults_ToldAsByShow)
{
    for (char const *const name : {"truncated.okt", "duplicate-id.okt", "group-parameter-name.okt"})
    {
        ProcessResult const shown = runOkt({"show", golden(name)});
        ProcessResult const reported = runOkt({"report", golden(name), "-o", path(std::string(name) + ".html")});
        EXPECT_EQ(reported.exitCode, 1) << name;
        EXPECT_EQ(reported.err, shown.err);
        EXPECT_THAT(textOf(path(std::string(name) + ".html")),
                    HasSubstr("This file has a fault; what could be read of it is shown."));
    }
}

TEST_F(OktReport, Report_ClassOfNoModule_Information)
{
    std::string const text = page({golden("unknown-class.okt"), golden("every-class.okt")});
    EXPECT_THAT(text, HasSubstr("<dt>Needs a client module</dt><dd>OKTDbNobody, 1 object: no module that okt finds names it; "
                                "--module FILE gives one, okt modules tells where okt looks</dd>"));
    EXPECT_THAT(text,
                HasSubstr("<dt>Needs a client module</dt><dd>OKTDbIndexData, 1 object: " OKT_EXAMPLE_MODULE_NAME
                          " from okt&#39;s own modules brings a class of this name with other members; --module FILE gives "
                          "another</dd>"));
    EXPECT_THAT(text, HasSubstr(", a class that needs a client module"));
    EXPECT_THAT(text, Not(HasSubstr(ownModule()))) << "folders are not told";
    EXPECT_THAT(text, Not(testing::ContainsRegex("[^e]fault"))) << "but for default";
}

TEST_F(OktReport, Report_Truncated_WhatCouldBeReadAndTheFault)
{
    std::string const text = page({golden("truncated.okt")}, 1);
    EXPECT_THAT(text,
                HasSubstr("<p class=\"alarm\"><strong>This file has a fault; what could be read of it is shown.</strong> "
                          "truncated.okt:byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358</p>\n"));
    EXPECT_THAT(text, HasSubstr("<li class=\"find\">OKTDbParameter {31882FDD-D649-4893-A02B-DECFCDD39355} <span class=\"note\">"
                                "230\u00A0bytes from byte 1358: cut off</span></li>\n"));
    EXPECT_THAT(text, HasSubstr("<rect class=\"c-damaged\""));
}

TEST_F(OktReport, Report_UnreadableAmongOthers_InThePageAndOnStandardError)
{
    ProcessResult const result = runOkt({"report", path("none.okt"), golden("stirrup.okt"), "-o", path("page.html")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + path("none.okt") + ": there is no such file\n");
    std::string const text = textOf(path("page.html"));
    EXPECT_THAT(text, HasSubstr("<strong>This file cannot be read.</strong> none.okt: there is no such file</p>\n"));
    EXPECT_THAT(text, HasSubstr("<strong class=\"mark\">1\u00A0file with a fault</strong>"));
    EXPECT_THAT(text, HasSubstr("Stirrup, closed, 135 degrees</h2>"));
}

TEST_F(OktReport, Report_CutAtManyLengths_PageAndOneLine)
{
    CByteArray const whole = contentsOf(CString::FromUtf8(golden("every-class.okt")));
    for (int length = 1; length < whole.GetSize(); length += 97)
    {
        CByteArray cut(whole);
        cut.SetSize(length);
        std::string const file = put("cut.okt", cut);
        ProcessResult const result = runOkt({"report", file, "-o", path("page.html"), "--force"});
        EXPECT_EQ(result.exitCode, 1) << length;
        EXPECT_TRUE(result.err.starts_with("okt: " + file + ":byte ")) << length << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << length << result.err;
        EXPECT_TRUE(textOf(path("page.html")).ends_with("</html>\n")) << length;
    }
}

// ---- The file for the page --------------------------------------------------------------------------------------------------

TEST_F(OktReport, Report_ExistingFile_KeptUnlessForced)
{
    std::string const output = put("page.html", CByteArray());
    expectFailure(runOkt({"report", golden("empty.okt"), "-o", output}),
                  output + ": the file exists already; --force replaces it");
    EXPECT_EQ(textOf(output), "");
    EXPECT_EQ(runOkt({"report", golden("empty.okt"), "-o", output, "--force"}).exitCode, 0);
    EXPECT_TRUE(textOf(output).ends_with("</html>\n"));
}

TEST_F(OktReport, Report_OutputIsAPoolFile_Refused)
{
    std::string const file = put("pool.okt", contentsOf(CString::FromUtf8(golden("empty.okt"))));
    expectFailure(runOkt({"report", file, "-o", file, "--force"}),
                  file + ": the file cannot be written: this is one of the pool files");
    EXPECT_EQ(textOf(file), textOf(golden("empty.okt")));
}

TEST_F(OktReport, Report_OutputTakesNothing_Failure)
{
    expectFailure(runOkt({"report", golden("empty.okt"), "-o", path("none/page.html")}),
                  path("none/page.html") + ": the file cannot be written: " + systemWords("No such file or directory", 3));
    expectOutputFailure(runOkt({"report", golden("empty.okt"), "-o", "-"}, ProcessOutput::Full), "No space left on device");
}

#if !defined(_WIN32) // where a process can be held to a size of files
TEST_F(OktReport, Report_FullDisk_NothingLeftBehind)
{
    ProcessResult const result = runOkt({"report", golden("stirrup.okt"), "-o", path("page.html")}, ProcessOutput::Kept, 1000);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + path("page.html") + ": the file cannot be written: File too large\n");
    EXPECT_TRUE(fs::is_empty(path("")));
}
#endif

TEST_F(OktReport, Report_WrongUsage_ExitCodeTwo)
{
    EXPECT_EQ(runOkt({"report", golden("empty.okt")}).exitCode, 2);
    EXPECT_EQ(runOkt({"report", "-o", path("page.html")}).exitCode, 2);
    EXPECT_EQ(runOkt({"report", golden("empty.okt"), "-o", path("page.html"), "--unit", "yd"}).exitCode, 2);
}

// ---- Its parts --------------------------------------------------------------------------------------------------------------

TEST(OktReportHtml, Counted_GroupsOfThreeAndPlurals)
{
    EXPECT_EQ(okt::counted(0, "byte"), "0\u00A0bytes");
    EXPECT_EQ(okt::counted(1, "category"), "1\u00A0category");
    EXPECT_EQ(okt::counted(2, "category"), "2\u00A0categories");
    EXPECT_EQ(okt::grouped(999), "999");
    EXPECT_EQ(okt::grouped(1000), "1\u202F000");
    EXPECT_EQ(okt::grouped(1234567), "1\u202F234\u202F567");
}

TEST(OktReportMap, RowLength_AtMostTwelveRowsOfAPowerOfTwo)
{
    EXPECT_EQ(okt::rowLength(0), 512u);
    EXPECT_EQ(okt::rowLength(6144), 512u);
    EXPECT_EQ(okt::rowLength(6145), 1024u);
    EXPECT_EQ(okt::rowLength(1u << 30), 1u << 27);
}

TEST(OktReportMap, FileMap_ManyShortObjects_OneStretch)
{
    okt::TemplateFacts facts;
    facts.size = 1000000;
    for (std::uint64_t offset = 0; offset < facts.size; offset += 100)
        facts.stretches.push_back({okt::PageStretch::Kind::Object, offset, 100, "OKTDbParameter", "x"});
    okt::ClassColours colours;
    std::string const map = okt::fileMap(facts, colours);
    EXPECT_THAT(map, HasSubstr("<title>10\u202F000 × OKTDbParameter: 1\u202F000\u202F000\u00A0bytes, 0 to 999999</title>"));
    EXPECT_LT(map.size(), 4000u);
}

TEST(OktReportMap, FileMap_ManyShortObjectsOfSeveralClasses_FewStretches)
{
    okt::TemplateFacts facts;
    facts.size = 1000000;
    for (std::uint64_t offset = 0; offset < facts.size; offset += 10)
        facts.stretches.push_back({okt::PageStretch::Kind::Object, offset, 10, offset % 20 == 0 ? "A" : "B", ""});
    okt::ClassColours colours;
    std::string const map = okt::fileMap(facts, colours);
    EXPECT_THAT(map, HasSubstr("<rect class=\"c-mixed\""));
    EXPECT_THAT(map, HasSubstr(" × objects of several classes: "));
    EXPECT_LT(map.size(), 1000000u);
}

TEST(OktReportMap, ClassColours_OwnAndInTurns)
{
    okt::ClassColours colours;
    EXPECT_EQ(colours.of("OKTDbPicture"), "c-picture");
    EXPECT_EQ(colours.of("A"), "c-other0");
    EXPECT_EQ(colours.of("B"), "c-other1");
    EXPECT_EQ(colours.of("A"), "c-other0");
}

TEST(OktReportGraph, NamesIn_WordsButNoNumbers)
{
    EXPECT_THAT(okt::namesIn("2*LegA+max(16*Diameter;1e5)-Øx_1"), ElementsAre("LegA", "max", "Diameter", "Øx_1"));
    EXPECT_THAT(okt::namesIn(""), ElementsAre());
    EXPECT_THAT(okt::namesIn("3x200"), ElementsAre());
}

TEST(OktReportLayout, Chain_LayersFromLeftToRight)
{
    okt::Layout const layout = okt::layered({{100, 0}, {50, 0}, {20, 0}}, {{0, 1}, {1, 2}, {0, 2}});
    ASSERT_EQ(layout.nodes.size(), 3u);
    EXPECT_EQ(layout.nodes[0].x, 4);
    EXPECT_EQ(layout.nodes[1].x, 4 + 100 + 64);
    EXPECT_EQ(layout.nodes[2].x, 4 + 100 + 64 + 50 + 64);
    EXPECT_EQ(layout.width, 4 + 100 + 64 + 50 + 64 + 20 + 4);
    // The long arrow passes the box in the middle.
    ASSERT_EQ(layout.edges[2].size(), 4u);
    EXPECT_EQ(layout.edges[2][1].x, layout.nodes[1].x);
    EXPECT_NE(layout.edges[2][1].y, layout.nodes[1].y);
}

TEST(OktReportLayout, CirclesAndLoops_EveryArrowDrawnInItsDirection)
{
    okt::Layout const layout = okt::layered({{10, 0}, {10, 0}, {10, 0}}, {{0, 1}, {1, 2}, {2, 0}, {1, 1}});
    EXPECT_LT(layout.nodes[0].x, layout.nodes[1].x);
    EXPECT_LT(layout.nodes[1].x, layout.nodes[2].x);
    EXPECT_GT(layout.edges[2].front().x, layout.edges[2].back().x);
    EXPECT_TRUE(layout.edges[3].empty());
}

TEST(OktReportLayout, CrossedPairs_Uncrossed)
{
    okt::Layout const layout = okt::layered({{10, 0}, {10, 0}, {10, 1}, {10, 1}}, {{0, 3}, {1, 2}});
    EXPECT_LT(layout.nodes[0].y, layout.nodes[1].y);
    EXPECT_LT(layout.nodes[3].y, layout.nodes[2].y);
}

TEST(OktReportLayout, ManyNodes_NoTwoOverlap)
{
    std::vector<okt::LayoutNode> nodes;
    std::vector<okt::LayoutEdge> edges;
    for (std::size_t i = 0; i < 200; ++i)
    {
        nodes.push_back({80, i == 0 ? 0 : 1});
        if (i > 0)
            edges.push_back({0, i});
        if (i > 10)
            edges.push_back({i, 1 + i * 7 % 10});
    }
    okt::Layout const layout = okt::layered(nodes, edges);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        for (std::size_t j = i + 1; j < nodes.size(); ++j)
        {
            bool const isBeside = layout.nodes[i].x != layout.nodes[j].x;
            EXPECT_TRUE(isBeside || std::abs(layout.nodes[i].y - layout.nodes[j].y) >= 23.99) << i << " " << j;
        }
    EXPECT_LT(layout.height, 200 * 40);
}

TEST(OktReportLayout, NothingAtAll_Empty)
{
    okt::Layout const layout = okt::layered({}, {});
    EXPECT_TRUE(layout.nodes.empty());
    EXPECT_EQ(layout.width, 0);
}

} // namespace
