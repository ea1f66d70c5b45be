// SPDX-License-Identifier: MIT
#include <oktcatalog/poolsearch.h>

#include "support/files.h"

#include <oktformat/fileread.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace
{

namespace fs = std::filesystem;

class PoolSearchTest : public FolderTest
{
protected:
    void add(std::string const &name, std::string const &bytes = "")
    {
        fs::create_directories(okt::utf8Path(path(name)).parent_path());
        put(name, bytes);
    }

    /// From the folder on, with slashes.
    std::vector<std::string> found()
    {
        std::vector<std::string> names;
        fs::path const root = okt::utf8Path(path("."));
        okt::PoolSearch search(root, [this](std::string const &fault) { faults.push_back(fault); });
        while (std::optional<fs::path> const file = search.next())
            names.push_back(file->lexically_relative(root).generic_string());
        return names;
    }

    std::vector<std::string> faults;
};

TEST_F(PoolSearchTest, FilesAndFolders_ByTheirNamesInEachFolder)
{
    for (char const *const name : {"b.okt", "a/z.okt", "a.okt", "a/a.okt", "a-b/c.okt", "d10.okt", "d8.okt"})
        add(name);
    EXPECT_EQ(found(), (std::vector<std::string>{"a/a.okt", "a/z.okt", "a-b/c.okt", "a.okt", "b.okt", "d10.okt", "d8.okt"}));
    EXPECT_TRUE(faults.empty());
}

TEST_F(PoolSearchTest, WhatNobodyMeans_LeftOut)
{
    add("whole.okt");
    add("kept.OKT");
    add("named-otherwise", contents(golden("stirrup.okt")));
    add("no-pool", "text");
    add("old.okt.bak", contents(golden("stirrup.okt")));
    add(".whole.okt.saving.1", contents(golden("stirrup.okt")));
    add("drafts/one.okt");
    add("drafts/two.okt");
    add("drafts/.oktignore", "two.okt\n");
    add("gone/three.okt");
    add(".oktignore", "gone/\n");
    EXPECT_EQ(found(), (std::vector<std::string>{"drafts/one.okt", "kept.OKT", "named-otherwise", "whole.okt"}));
}

TEST_F(PoolSearchTest, FolderThatIsNotThere_OneFault)
{
    okt::PoolSearch search(okt::utf8Path(path("missing")), [this](std::string const &fault) { faults.push_back(fault); });
    EXPECT_FALSE(search.next());
    EXPECT_FALSE(search.next());
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_NE(faults[0].find("missing: the folder cannot be read: "), std::string::npos);
}

} // namespace
