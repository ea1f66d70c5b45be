// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/files.h"
#include "support/process.h"

#include "support/countof.h"
#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktreport/html.h>
#include <oktreport/layeredlayout.h>
#include <oktreport/naturalorder.h>
#include <oktreport/pageparts.h>
#include <oktreport/pagevalue.h>
#include <oktreport/relationgraph.h>

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
    static std::string textOf(std::string const &path) { return ::textOf(contentsOf(CString::FromUtf8(path))); }

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

TEST_F(OktReport, Report_Stirrup_ParametersRelationsStretches)
{
    std::string const text = page({golden("stirrup.okt")});
    EXPECT_TRUE(text.starts_with("<!DOCTYPE html>\n<html lang=\"en\" data-unit=\"mm\">\n<head>\n<meta charset=\"utf-8\"/>\n"));
    EXPECT_THAT(text, HasSubstr("<title>Stirrup, closed, 135 degrees</title>\n<style></style>\n<script></script>\n</head>\n"));
    EXPECT_THAT(text, HasSubstr("<h1 id=\"t1-title\">Stirrup, closed, 135 degrees</h1>\n<p class=\"file\">stirrup.okt</p>\n"
                                "</header>\n"));
    EXPECT_THAT(text, HasSubstr("<figure><p class=\"note\">Picture 0: in no format that browsers show</p></figure>\n"));
    EXPECT_THAT(text, HasSubstr("<tr class=\"category\"><th scope=\"rowgroup\" colspan=\"6\">Bar</th></tr>\n"));
    EXPECT_THAT(text,
                HasSubstr("<tr id=\"t1-2\"><th scope=\"row\">Steelgrade</th><td class=\"num\">B500B</td><td></td><td></td>"
                          "<td class=\"description\">Grade of the bar</td><td class=\"kind\">text</td></tr>\n"));
    EXPECT_THAT(text, HasSubstr("<code>10*<wbr/>Diameter</code>"));
    EXPECT_THAT(text, HasSubstr("<span class=\"uses\">uses Spacing A, Spacing B</span>"));
    EXPECT_THAT(text, HasSubstr("<li><code>OKTDbParamRelation</code> ties Diameter, Hook length 1, Bending radius</li>\n"));
    EXPECT_THAT(text, HasSubstr(",\"Bügel Ø12 — strzemię\"]"));
    EXPECT_THAT(text, HasSubstr("[2,17,14]")); // the quantity expression uses a spacing
    EXPECT_THAT(text, HasSubstr("[3,7,3]"));   // the expression of a hook length names the diameter
    EXPECT_TRUE(text.ends_with("</main>\n</div>\n</body>\n</html>\n"));
}

// Ids and bytes stand behind all that an engineer asks for, folded away.
TEST_F(OktReport, Report_Stirrup_IdsAndBytesInTheFoldedPart)
{
    std::string const text = page({golden("stirrup.okt")});
    std::size_t const folded =
        text.find("<details class=\"part\" id=\"t1-inside\"><summary>Inside the file</summary>\n<noscript>\n");
    ASSERT_NE(folded, std::string::npos);
    std::string const shown = text.substr(0, folded);
    for (char const *const id : {"{ED7D40B5-", "{727EC297-", "{FBC03831-", "{8B87DAE8-"}) // pool, picture, category, relation
        EXPECT_THAT(shown, Not(HasSubstr(id)));
    EXPECT_THAT(shown, Not(HasSubstr("byte")));
    EXPECT_THAT(shown, Not(HasSubstr("VT_")));
    std::string const inside = text.substr(folded);
    EXPECT_THAT(inside, HasSubstr("<p>21\u00A0objects · 9\u202F311\u00A0bytes</p>\n"));
    EXPECT_THAT(inside, HasSubstr("<dt>Pool</dt><dd>{ED7D40B5-8AF9-4025-8681-00D526EDB9C2}</dd>\n"));
    EXPECT_THAT(inside, HasSubstr("<dt>Picture 0</dt><dd>{727EC297-1483-468D-812D-A07952424387}, OKTDbPicture</dd>\n"));
    EXPECT_THAT(inside, HasSubstr("<li>Picture 0 · no known format · 1\u202F399\u00A0bytes · "
                                  "{727EC297-1483-468D-812D-A07952424387}<br/>Camera (1250, -800, 950.5), target (0, 0, "
                                  "120.25), up (0, 0, 1)</li>\n"));
    EXPECT_THAT(inside,
                HasSubstr("<tr class=\"header\"><td>Header</td><td></td><td></td><td></td><td>0</td><td>563</td></tr>\n"));
    EXPECT_THAT(inside, HasSubstr("<tr><td>OKTDbCategory</td><td>Bar</td><td></td><td>{FBC03831-907F-4EE3-8692-9454586D785D}"
                                  "</td><td>"));
    EXPECT_THAT(inside, HasSubstr("<tr><td>OKTDbParameter</td><td>Hook angle 1</td><td>9 VT_R8</td><td>"));
    EXPECT_THAT(inside, HasSubstr("</td><td>7111</td><td>299</td></tr>\n"));
    EXPECT_THAT(inside,
                HasSubstr("<tr><th scope=\"row\">OKTDbParameter</th><td class=\"num\">15</td><td class=\"num\">4\u202F929"
                          "</td><td class=\"num\">52.9&#8239;%</td></tr>\n"));
}

// ---- What an engineer asks for first ----------------------------------------------------------------------------------------

TEST_F(OktReport, Report_Link_FactsBesideThePicture)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-d12.okt")});
    std::size_t const at = text.find("</noscript>\n<noscript class=\"sheet\">\n<dl class=\"facts\">\n");
    ASSERT_NE(at, std::string::npos); // right behind the pictures
    EXPECT_LT(at, text.find("<table"));
    EXPECT_THAT(
        text,
        HasSubstr("<dt>Grade</dt><dd>B500B</dd>\n<dt>Diameter</dt><dd>12\u00A0mm</dd>\n"
                  "<dt>Shape</dt><dd>51 <span class=\"note\">Closed link, BS 8666:2005</span></dd>\n"
                  "<dt>Legs</dt><dd>A\u00A0<span data-mm=\"400\u00A0mm\" data-cm=\"40\u00A0cm\" "
                  "data-m=\"0.4\u00A0m\" data-in=\"15.748\u00A0in\" data-ft=\"1.312\u00A0ft\">400\u00A0mm</span> · B\u00A0"));
    EXPECT_THAT(text, HasSubstr("<dt>Cutting length</dt><dd><span data-mm=\"1492\u00A0mm\""));
    EXPECT_THAT(text, HasSubstr("<dt>Spacing</dt><dd>A\u00A0<span data-mm=\"150\u00A0mm\""));
    // 0.012^2 pi/4 * 7850 * 1.492 = 1.3246
    EXPECT_THAT(text,
                HasSubstr("<dt>Number</dt><dd>7</dd>\n<dt>Mass of a bar</dt><dd class=\"made\"><span data-mm=\"1.32\u00A0kg\" "
                          "data-cm=\"1.32\u00A0kg\" data-m=\"1.32\u00A0kg\" data-in=\"2.92\u00A0lb\" data-ft=\"2.92\u00A0lb\">"
                          "1.32\u00A0kg</span> <span class=\"note\">by 7850\u00A0kg/m³</span></dd>\n"
                          "<dt>Mass of 7\u00A0bars</dt><dd class=\"made\"><span data-mm=\"9.27\u00A0kg\""));
}

TEST_F(OktReport, Report_InchLink_DiameterInInchesAndMassByIt)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-no4.okt")});
    EXPECT_THAT(text, HasSubstr("<dt>Diameter</dt><dd>0.5\u00A0in</dd>\n"));
    // 12.7 mm: 0.99441 kg/m; 1.46764 m
    EXPECT_THAT(text, HasSubstr("data-m=\"1.46\u00A0kg\" data-in=\"3.22\u00A0lb\""));
}

TEST_F(OktReport, Report_Mesh_FiguresOfBothDirections)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/mesh-d8.okt")});
    EXPECT_THAT(text, HasSubstr("<dt>Length</dt><dd><span data-mm=\"4800\u00A0mm\""));
    EXPECT_THAT(text, HasSubstr("<dt>Width</dt><dd><span data-mm=\"2400\u00A0mm\""));
    EXPECT_THAT(text, HasSubstr("<dt>Number</dt><dd>A\u00A012 · B\u00A024</dd>\n"));
    // 0.39458 kg/m; 4.8 m and 2.4 m; 12 of one and 24 of the other
    EXPECT_THAT(text, HasSubstr("<dt>Mass of a bar</dt><dd class=\"made\">A\u00A0<span data-mm=\"1.89\u00A0kg\""));
    EXPECT_THAT(text, HasSubstr("· B\u00A0<span data-mm=\"0.947\u00A0kg\""));
    EXPECT_THAT(text, HasSubstr("<dt>Mass of 36\u00A0bars</dt><dd class=\"made\"><span data-mm=\"45.5\u00A0kg\""));
}

// A bar record tells the mass itself.
TEST_F(OktReport, Report_BarRecord_MassAsTheTemplateTells)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bar-records.bf2d", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/bar-records-1.okt")});
    EXPECT_THAT(text, HasSubstr("<dt>Legs</dt><dd>1\u00A0<span data-mm=\"400\u00A0mm\""));
    EXPECT_THAT(text, HasSubstr("<dt>Length</dt><dd><span data-mm=\"1000\u00A0mm\""));
    EXPECT_THAT(text,
                HasSubstr("<dt>Mass of a bar</dt><dd>0.888\u00A0kg <span class=\"note\">as the template tells</span></dd>\n"
                          "<dt>Mass of 10\u00A0bars</dt><dd class=\"made\"><span data-mm=\"8.88\u00A0kg\""));
    EXPECT_THAT(text, HasSubstr(">Mass</th><td class=\"num\">0.888</td><td>kg</td>"));
}

// Nothing is claimed of a diameter whose unit nobody told: neither a unit nor a mass.
TEST_F(OktReport, Report_DiameterWithoutUnit_ToldAsSuch)
{
    OKTDbPool pool;
    auto const add = [&pool](int type, char16_t const *name, double value) {
        auto *const parameter = new OKTDbParameter(type, OKTDbObjectId());
        ASSERT_TRUE(pool.appendObject(parameter));
        parameter->setUserName(name, false);
        parameter->setValue(value, 0);
    };
    add(5, u"Diameter", 12);
    add(54, u"Cutting length", 1492);
    ASSERT_TRUE(pool.writeFile(m_folder.path("bar.okt")));
    std::string const text = page({path("bar.okt")});
    EXPECT_THAT(text, HasSubstr("<dt>Diameter</dt><dd>12 <span class=\"note\">unit not told</span></dd>\n"));
    EXPECT_THAT(text, HasSubstr(">Diameter</th><td class=\"num\">12</td><td class=\"note\">unit not told</td>"));
    EXPECT_THAT(text, HasSubstr("<dt>Cutting length</dt>"));
    EXPECT_THAT(text, Not(HasSubstr("Mass")));
}

TEST_F(OktReport, Report_NamesOfAnotherLanguage_LegsByTheirList)
{
    OKTDbPool pool;
    for (int i = 1; i <= 2; ++i)
    {
        auto *const leg = new OKTDbParameter(54, OKTDbObjectId());
        ASSERT_TRUE(pool.appendObject(leg));
        leg->setValue(i * 0.5, i);
        leg->setUserName(u"Schenkel", true);
    }
    ASSERT_TRUE(pool.writeFile(m_folder.path("legs.okt")));
    std::string const text = page({path("legs.okt"), "--unit", "m"});
    EXPECT_THAT(text, HasSubstr("<dt>Legs</dt><dd>Schenkel "));
    EXPECT_THAT(text, HasSubstr("Schenkel A\u00A0<span data-mm="));
    EXPECT_THAT(text, HasSubstr("Schenkel B\u00A0<span data-mm="));
    EXPECT_THAT(text, HasSubstr("</span> · Schenkel "));
}

TEST_F(OktReport, Report_Lengths_EveryUnitRoundedAndExact)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-no4.okt")});
    EXPECT_THAT(text,
                HasSubstr(">Cover</th><td class=\"num\" data-mm=\"38.1\" data-cm=\"3.81\" data-m=\"0.0381\" data-in=\"1.5\" "
                          "data-ft=\"0.125\">38.1</td><td class=\"unit\">mm</td>"));
    EXPECT_THAT(text,
                HasSubstr(">Cutting length</th><td class=\"num\" data-mm=\"1467.6\" data-mm-exact=\"1467.63670025\" "
                          "data-cm=\"146.76\" data-cm-exact=\"146.763670025\" data-m=\"1.4676\" data-m-exact=\"1.46763670025\" "
                          "data-in=\"57.781\" data-in-exact=\"57.780972451\" data-ft=\"4.815\" data-ft-exact=\"4.81508103758\" "
                          "title=\"1467.63670025\u00A0mm\">1467.6</td>"));
    EXPECT_THAT(text,
                HasSubstr(">Quantity expression</th><td class=\"num\" data-mm=\"4x254 2x127 \" data-cm=\"4x25.4 2x12.7 \" "
                          "data-m=\"4x0.254 2x0.127 \" data-in=\"4x10 2x5 \" data-ft=\"4x0.833 2x0.417 \">4x254 2x127 </td>"
                          "<td class=\"unit\">mm</td>"));
    // Neither is converted: each has the unit that its description names.
    EXPECT_THAT(text, HasSubstr(">Diameter</th><td class=\"num\">0.5</td><td>in</td>"));
    EXPECT_THAT(text, HasSubstr(">Hook angle 1</th><td class=\"num\">135</td><td>°</td>"));
}

TEST_F(OktReport, Report_Unit_ShownAtFirst)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    std::string const text = page({path("out/link-no4.okt"), "--unit", "in"});
    EXPECT_THAT(text, HasSubstr("<html lang=\"en\" data-unit=\"in\">"));
    EXPECT_THAT(text, HasSubstr("value=\"in\" checked=\"\"/>"));
    EXPECT_THAT(text, HasSubstr("title=\"57.780972451\u00A0in\">57.781</td><td class=\"unit\">in</td>"));
    EXPECT_THAT(text, HasSubstr(">3.22\u00A0lb</span>"));
    EXPECT_THAT(text, Not(HasSubstr("<td class=\"unit\">mm</td>")));
}

TEST_F(OktReport, Report_ValueKinds_EachInWords)
{
    std::string const text = page({golden("value-kinds.okt"), "--unit", "m"});
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">32767</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">-2147483648</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">infinity</td>"));
    EXPECT_THAT(text, HasSubstr("data-m=\"yes\""));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\">no</td>"));
    EXPECT_THAT(text, HasSubstr("<td class=\"num\"><span class=\"note\">empty</span></td>"));
    for (char const *const kind : {"whole number", "number", "text", "yes or no"})
        EXPECT_THAT(text, HasSubstr(", " + std::string(kind) + "</td></tr>"));
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

TEST_F(OktReport, Report_SamePictureInTwoFiles_OnceAndReferredTo)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    fs::copy_file(fs::path(CString::FromUtf8(path("out/link-d12.okt")).GetString()),
                  fs::path(CString::FromUtf8(path("again.okt")).GetString()));
    std::string const text = page({path("out/link-d12.okt"), path("again.okt")});
    std::size_t const first = text.find("data:image");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(text.find("data:image", first + 1), std::string::npos);
    EXPECT_THAT(text, HasSubstr("<figure><p data-picture=\"t1-picture0\" data-alt=\"Picture 0 of Closed link, 12 mm, EN 1992 / "
                                "BS 8666\">Picture 0 is the same as that of <a href=\"#t1\">Closed link, 12 mm, EN 1992 / BS "
                                "8666</a>.</p></figure>\n"));
    EXPECT_THAT(text, HasSubstr("href=\"#t2\"><span class=\"thumb\" data-picture=\"t1-picture0\"></span>"));
}

TEST_F(OktReport, Report_PictureFormats_ShownWhereBrowsersDo)
{
    struct Row
    {
        std::string bytes;
        char const *source;
        char const *listed;
        char const *told = "";
    };
    Row const rows[] = {
        {"\xFF\xD8\xFF\xD9", "src=\"data:image/jpeg;base64,/9j/2Q==\"", "JPEG · 4\u00A0bytes"},
        {"GIF89a\x02", "src=\"data:image/gif;base64,R0lGODlhAg==\"", "GIF · 7\u00A0bytes"},
        {"<svg xmlns='x'/>", "src=\"data:image/svg+xml;base64,PHN2ZyB4bWxucz0neCcvPg==\"", "SVG · 16\u00A0bytes"},
        {"%PDF-1.7", nullptr, "PDF · 8\u00A0bytes", "Picture 0: PDF, which browsers do not show"},
        {std::string("II*\0", 4), nullptr, "TIFF · 4\u00A0bytes", "Picture 0: TIFF, which browsers do not show"},
        {"<html>", nullptr, "no known format · 6\u00A0bytes", "Picture 0: in no format that browsers show"},
        {"", nullptr, "empty · 0\u00A0bytes", "Picture 0: empty"},
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
        EXPECT_THAT(text, HasSubstr("<li>Picture 0 · " + std::string(row.listed) + " · {"));
        if (row.source != nullptr)
            EXPECT_THAT(text, HasSubstr(row.source));
        else
            EXPECT_THAT(text, AllOf(Not(HasSubstr("<img")), HasSubstr("<p class=\"note\">" + std::string(row.told) + "</p>")));
    }
}

TEST_F(OktReport, Report_SeveralFiles_OverviewAndArticles)
{
    std::string const text = page({golden("stirrup.okt"), golden("quantities.okt"), "--title", "Bars & \"links\""});
    EXPECT_THAT(text, HasSubstr("<h1 id=\"top\">Bars &amp; &quot;links&quot;</h1>"));
    EXPECT_THAT(text, HasSubstr("<title>Bars &amp; &quot;links&quot;</title>"));
    EXPECT_THAT(text, HasSubstr("<p class=\"sum\">2\u00A0templates · "));
    EXPECT_THAT(text, HasSubstr("<nav class=\"side\" aria-label=\"Templates\">"));
    EXPECT_THAT(
        text, HasSubstr("<li data-of=\"t2\"><a class=\"card\" href=\"#t2\"><span class=\"thumb\"></span><span class=\"name\">"
                        "Stirrup, closed, 135 degrees</span><span class=\"file\">stirrup.okt</span><span class=\"note\">"
                        "<span>B500B</span> <span>⌀\u00A012 <span class=\"note\">unit not told</span></span></span></a></li>"));
    EXPECT_THAT(text,
                HasSubstr("<article class=\"template\" id=\"t2\" aria-labelledby=\"t2-title\">\n<header>\n<h2 id=\"t2-title\">"
                          "Stirrup, closed, 135 degrees</h2>\n"));
}

TEST_F(OktReport, Report_Sizes_InTheirOrderWhateverThatOfTheFiles)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-en10080.csv", "-o", path("out")}).exitCode, 0);
    std::string const sorted = page({path("out/link-d6.okt"), path("out/link-d8.okt"), path("out/link-d10.okt")});
    EXPECT_THAT(sorted, HasSubstr("<h2 id=\"t1-title\">Closed link, 6 mm, EN 1992 / BS 8666</h2>"));
    EXPECT_THAT(sorted, HasSubstr("<h2 id=\"t2-title\">Closed link, 8 mm, EN 1992 / BS 8666</h2>"));
    EXPECT_THAT(sorted, HasSubstr("<h2 id=\"t3-title\">Closed link, 10 mm, EN 1992 / BS 8666</h2>"));
    EXPECT_EQ(page({path("out/link-d10.okt"), path("out/link-d6.okt"), path("out/link-d8.okt")}), sorted);
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
    EXPECT_THAT(text, HasSubstr(R"(,"\u003c/svg\u003e\u003ca href=\"javascript:alert(1)\"\u003e"])"));
    EXPECT_THAT(text, HasSubstr(R"(,"a\\uD800\\nb\\u202E\\uFFFE\\uFFFF\\u2028c"])"));
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
    EXPECT_THAT(text, HasSubstr("<dt>Name</dt><dd>" + folded + "</dd>\n"));
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
    EXPECT_THAT(text, HasSubstr("[2,3,2")); // the second uses the first
    EXPECT_THAT(text, HasSubstr("[3,2,3")); // the first names the second
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
    EXPECT_EQ(countOf("fault", text), countOf("default", text));
}

TEST_F(OktReport, Report_Truncated_WhatCouldBeReadAndTheFault)
{
    std::string const text = page({golden("truncated.okt")}, 1);
    EXPECT_THAT(text,
                HasSubstr("<p class=\"alarm\"><strong>This file has a fault; what could be read of it is shown.</strong> "
                          "truncated.okt:byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358</p>\n"));
    EXPECT_THAT(text, HasSubstr("<li>OKTDbParameter {31882FDD-D649-4893-A02B-DECFCDD39355} <span class=\"note\">"
                                "230\u00A0bytes from byte 1358: cut off</span></li>\n"));
    EXPECT_THAT(text, HasSubstr("<tr class=\"damaged\"><td>OKTDbParameter, cut or damaged</td>"));
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

TEST(OktReportHtml, EscapedLine_WhatNoDocumentMayHold_Escaped)
{
    EXPECT_EQ(okt::escapedLine("a\xEF\xBF\xBE"
                               "b\xEF\xBF\xBF"
                               "c"),
              "a\\uFFFEb\\uFFFFc");
    EXPECT_EQ(okt::escapedLine("\xEF\xB7\x90\xEF\xB7\xAF\xEF\xB7\xB0"), "\\uFDD0\\uFDEF\xEF\xB7\xB0");
    EXPECT_EQ(okt::escapedLine("\xF0\x9F\xBF\xBE\xF4\x8F\xBF\xBF\xF0\x9F\x94\xA9"),
              "\\uD83F\\uDFFE\\uDBFF\\uDFFF\xF0\x9F\x94\xA9");
}

TEST(OktReportHtml, JsonText_NoTagAndNoQuotationMark)
{
    EXPECT_EQ(okt::jsonText(R"(</script>&"\n)"), R"(\u003c/script\u003e\u0026\"\\n)");
    EXPECT_EQ(okt::jsonText("\xEF\xBF\xBE"), "\\\\uFFFE");
}

TEST(OktReportValue, Lengths_AsADrawingNeedsThem)
{
    enum : std::size_t
    {
        mm,
        cm,
        m,
        in,
        ft
    };
    struct Row
    {
        double value;
        std::size_t unit;
        char const *text;
    };
    Row const rows[] = {{1467.63670025, mm, "1467.6"},
                        {146.763670025, cm, "146.76"},
                        {1.46763670025, m, "1.4676"},
                        {57.780972451, in, "57.781"},
                        {4.81508103758, ft, "4.815"},
                        {95.25, mm, "95.3"},
                        {-95.25, mm, "-95.3"},
                        {31.75, mm, "31.8"},
                        {150, mm, "150"},
                        {9.525, mm, "9.53"},
                        {0.125, mm, "0.125"},
                        {0.0001234, m, "0.000123"},
                        {0, mm, "0"},
                        {1e15, mm, "1e+15"},
                        {87.5, mm, "87.5"}};
    for (Row const &row : rows)
        EXPECT_EQ(okt::lengthText(row.value, row.unit), row.text) << row.value;
}

TEST(OktReportValue, Figures_AtMostFourDecimals)
{
    EXPECT_EQ(okt::figureText(0.1 + 0.2), "0.3");
    EXPECT_EQ(okt::figureText(1.128), "1.128");
    EXPECT_EQ(okt::figureText(2.0 / 3), "0.6667");
    EXPECT_EQ(okt::figureText(135), "135");
    EXPECT_EQ(okt::figureText(0.00123456), "0.00123");
}

TEST(OktReportValue, UnitsInDescriptions)
{
    EXPECT_EQ(okt::lengthUnitIn("Nominal diameter in millimetres; area 113.1 mm2, mass 0.888 kg/m"), "mm");
    EXPECT_EQ(okt::lengthUnitIn("Nominal diameter of No. 4 in inches; area 0.2 in2, mass 0.668 lb/ft"), "in");
    EXPECT_EQ(okt::lengthUnitIn("Diameter, mm"), "mm");
    EXPECT_EQ(okt::lengthUnitIn("Nominal diameter"), "");
    EXPECT_EQ(okt::lengthUnitIn(""), "");
    EXPECT_EQ(okt::unitIn("Degrees, positive to the left"), "°");
    EXPECT_EQ(okt::unitIn("Of one bar, in kilograms"), "kg");
    // A unit that only happens to be named is none.
    EXPECT_EQ(okt::unitIn("Factor for bars above 25 mm"), "");
}

TEST(OktReportValue, KindWords)
{
    EXPECT_EQ(okt::kindWord(VT_R8), "number");
    EXPECT_EQ(okt::kindWord(VT_R4), "number");
    EXPECT_EQ(okt::kindWord(VT_I4), "whole number");
    EXPECT_EQ(okt::kindWord(VT_I2), "whole number");
    EXPECT_EQ(okt::kindWord(VT_BSTR), "text");
    EXPECT_EQ(okt::kindWord(VT_BOOL), "yes or no");
    EXPECT_EQ(okt::kindWord(VT_EMPTY), "no value");
}

TEST(OktReportOrder, NaturalLess_NumbersAsNumbers)
{
    std::vector<std::string> titles = {"Link, 10 mm", "link, 6 mm", "Link, 8 mm", "Link, 08 mm", "Bar",    "Bar 2",  "Bar 10",
                                       "0.5 in",      "0.375 in",   "1.10",       "1.9",         "Link, ", "No. 18", "No. 3"};
    std::sort(titles.begin(), titles.end(), okt::naturalLess);
    EXPECT_THAT(titles, ElementsAre("0.375 in", "0.5 in", "1.9", "1.10", "Bar", "Bar 2", "Bar 10", "Link, ", "link, 6 mm",
                                    "Link, 08 mm", "Link, 8 mm", "Link, 10 mm", "No. 3", "No. 18"));
    EXPECT_FALSE(okt::naturalLess("a", "a"));
    EXPECT_TRUE(okt::naturalLess("A", "a"));
    EXPECT_TRUE(okt::naturalLess("99999999999999999999", "100000000000000000000"));
}

TEST(OktReportOrder, NaturalPathLess_StemBeforeEndingAndDecimals)
{
    std::vector<std::string> const sorted = {"a/d0.375.okt", "a/d0.5.okt",    "a/d8.okt",   "a/d8-b.okt",
                                             "a/d8x.okt",    "a/d8.25.okt",   "a/d8.5.okt", "a/d10.okt",
                                             "a/v1.2.9.okt", "a/v1.2.10.okt", "b/D8.OKT",   "b/d8.okt"};
    std::vector<std::string> paths(sorted.rbegin(), sorted.rend());
    std::sort(paths.begin(), paths.end(), okt::naturalPathLess);
    EXPECT_EQ(paths, sorted);
    EXPECT_FALSE(okt::naturalPathLess("d8.5.okt", "d8.5.okt"));
}

TEST(OktReportGraph, GraphData_BoxesAndTies)
{
    using Kind = okt::RelationGraph::NodeKind;
    using Tie = okt::RelationGraph::EdgeKind;
    okt::RelationGraph graph;
    graph.nodes = {{Kind::Category, "Bar"}, {Kind::Parameter, "A \"b\""}, {Kind::Parameter, "C"}};
    graph.edges = {{Tie::Lists, 0, 1}, {Tie::Lists, 0, 2}, {Tie::Named, 2, 1}};
    EXPECT_EQ(okt::graphData(graph),
              R"({"size":[280,48],"boxes":[[1,4,24,42,"Bar"],[2,225,24,51,"A \"b\""],[2,110,16,51,"C"]],)"
              R"("ties":[[0,0,1,46,24,110,32,161,32,225,24],[0,0,2],[3,2,1]]})");
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
