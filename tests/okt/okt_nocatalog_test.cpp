// SPDX-License-Identifier: MIT
#include "librarytest.h"

namespace
{

/// Of a build without SQLite: see okt_catalog_test for the others.
class OktNoCatalog : public LibraryTest
{
};

TEST_F(OktNoCatalog, EveryUse_OneLine)
{
    take("link-d12.okt");
    std::string const catalog = path("c.okc");
    std::string const line = "okt: " + catalog + ": this build of okt has no catalogue: it was made without SQLite\n";
    for (std::vector<std::string> const &arguments :
         std::vector<std::vector<std::string>>{{"catalog", "update", catalog, path("lib")},
                                               {"catalog", "find", catalog, "cover"},
                                               {"catalog", "sql", catalog, "SELECT 1"},
                                               {"catalog", "verify", catalog},
                                               {"table", "Cover", path("lib"), "--index", catalog},
                                               {"report", "--index", catalog, "-o", path("a.html")}})
    {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, line);
    }
    EXPECT_FALSE(std::filesystem::exists(pathOf(catalog)));
    ProcessResult const find = runOkt({"find", "cover", path("lib"), "--index", catalog});
    EXPECT_EQ(find.exitCode, 2);
    EXPECT_EQ(find.err, line);
}

} // namespace
