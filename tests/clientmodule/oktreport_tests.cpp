// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/printers.h"
#include "support/process.h"
#include "support/scratchfolder.h"

#include "oktdbindexdata.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

// What the page of okt report takes from the objects of a client module.

namespace
{

using testing::HasSubstr;
using testing::Not;

class OktReportModules : public FolderTest
{
protected:
    /// A bar whose diameter has a description, and an index that names the unit of the template.
    std::string writeBar(CString const &unit, CString const &description)
    {
        OKTDbPool pool;
        auto *const index = new OKTDbIndexData;
        EXPECT_TRUE(pool.appendObject(index));
        pool.setIndexId(index->objectId());
        index->setUnit(unit);
        auto *const diameter = new OKTDbParameter(5, OKTDbObjectId());
        EXPECT_TRUE(pool.appendObject(diameter));
        diameter->setValue(12.0, 0);
        diameter->setDescription(description);
        EXPECT_TRUE(pool.writeFile(m_folder.path("bar.okt")));
        return path("bar.okt");
    }

    static std::string page(std::string const &file)
    {
        return runOkt({"--module", OKT_EXAMPLE_MODULE, "report", file, "-o", "-"}).out;
    }
};

TEST_F(OktReportModules, Report_DiameterWithoutUnit_ThatOfTheIndex)
{
    std::string const text = page(writeBar(u"mm", u"Nominal diameter"));
    EXPECT_THAT(text, HasSubstr("<dt>Diameter</dt><dd>12\u00A0mm</dd>\n"));
    EXPECT_THAT(text, HasSubstr(">Diameter</th><td class=\"num\">12</td><td>mm</td>"));
}

TEST_F(OktReportModules, Report_DiameterThatNamesItsUnit_NotThatOfTheIndex)
{
    EXPECT_THAT(page(writeBar(u"mm", u"Nominal diameter in inches")), HasSubstr("<dt>Diameter</dt><dd>12\u00A0in</dd>\n"));
}

TEST_F(OktReportModules, Report_IndexInInches_TheSame)
{
    EXPECT_THAT(page(writeBar(u"in", u"Nominal diameter")), HasSubstr("<dt>Diameter</dt><dd>12\u00A0in</dd>\n"));
}

TEST_F(OktReportModules, Report_IndexWithoutUnit_NotTold)
{
    EXPECT_THAT(page(writeBar(u"", u"")),
                HasSubstr("<dt>Diameter</dt><dd>12 <span class=\"note\">unit not told</span></dd>\n"));
}

// Its class is not known then, and nobody looks into it.
TEST_F(OktReportModules, Report_WithoutTheModule_NotTold)
{
    std::string const file = writeBar(u"mm", u"Nominal diameter");
    std::string const text = runOkt({"--no-modules", "report", file, "-o", "-"}).out;
    EXPECT_THAT(text, HasSubstr("<dt>Diameter</dt><dd>12 <span class=\"note\">unit not told</span></dd>\n"));
    EXPECT_THAT(text, Not(HasSubstr("<dd>12\u00A0mm")));
}

} // namespace
