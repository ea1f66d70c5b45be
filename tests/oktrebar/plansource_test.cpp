// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/plansource.h>

#include "support/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;
using namespace okt;

fs::path const kData = OKT_EXAMPLES_DIR "/data";

class OktPlanSource : public FolderTest
{
protected:
    template <typename F> static std::string failureOf(F const &call)
    {
        try
        {
            call();
        }
        catch (Failure const &failure)
        {
            return failure.what();
        }
        return "";
    }
};

TEST_F(OktPlanSource, PlanSources_Folder_BarTablesAndRecordsByName)
{
    put("bars-b.csv", std::string("x"));
    put("BARS.bf2d", std::string("x"));
    put("a.BF2D", std::string("x"));
    put("bend-rules.csv", std::string("x"));
    put("mybars-a.csv", std::string("x"));
    std::string names;
    for (fs::path const &source : planSources(path("")))
        names += source.filename().string() + " ";
    EXPECT_EQ(names, "BARS.bf2d a.BF2D bars-b.csv ");
    EXPECT_EQ(planSources(path("mybars-a.csv")), std::vector<fs::path>{path("mybars-a.csv")}) << "a file is what is meant";
}

TEST_F(OktPlanSource, PlanSources_NothingToReadFrom_Told)
{
    EXPECT_EQ(failureOf([this] { planSources(path("none")); }), path("none") + ": there is no such file or folder");
    fs::create_directory(path("empty"));
    EXPECT_EQ(failureOf([this] { planSources(path("empty")); }),
              path("empty") + ": the folder has no bar table (bars-*.csv) and no bar records (*.bf2d)");
}

TEST_F(OktPlanSource, PlansFrom_Examples_EachTableAndRecord)
{
    SourcePlans const all = plansFrom(kData);
    EXPECT_EQ(all.templates.size(), 48u);
    EXPECT_TRUE(all.faults.empty());
    EXPECT_EQ(all.skipped.size(), 23u);
    EXPECT_EQ(all.templates.front().fileName, "bar-records-1.okt");
    EXPECT_EQ(plansFrom(kData / "bar-records.bf2d").templates.size(), 2u);
    EXPECT_TRUE(plansFrom(kData / "bars-astm-a615.csv").templates.front().units == Units::Inch);
}

TEST_F(OktPlanSource, PlansFrom_WrongRecord_FaultAndItsNeighbours)
{
    fs::copy(kData / "bars-en10080.csv", path("bars-en10080.csv"));
    std::string const file = put("r.bf2d", "BF2D@\n" + contents(kData / "bar-records.bf2d"));
    SourcePlans const plans = plansFrom(file);
    EXPECT_EQ(plans.templates.size(), 2u);
    EXPECT_EQ(plans.faults,
              std::vector<std::string>{file + ":1:6: here is the end of the line, where the header begins with \"H\""});
}

TEST_F(OktPlanSource, PlansFrom_TwoTablesOfOneSize_Refused)
{
    for (char const *const name : {"bend-rules.csv", "bends-bs8666.csv", "shape-lengths-bs8666.csv", "bars-en10080.csv"})
        fs::copy(kData / name, path(name));
    fs::copy(kData / "bars-en10080.csv", path("bars-more.csv"));
    EXPECT_EQ(failureOf([this] { plansFrom(path("")); }),
              path("") + ": two bar tables hold the same size: link-d6.okt would be made twice");
}

} // namespace
