// SPDX-License-Identifier: MIT
#include <oktcatalog/ignorerules.h>

#include <gtest/gtest.h>

using namespace okt;

namespace
{

struct Row
{
    char const *rules;
    char const *path;
    bool isFolder;
    bool isIgnored;
};

TEST(IgnoreRules, Table)
{
    Row const rows[] = {
        {"a.okt", "a.okt", false, true},
        {"a.okt", "sub/a.okt", false, true},
        {"/a.okt", "sub/a.okt", false, false},
        {"/a.okt", "a.okt", false, true},
        {"*.okt", "sub/a.okt", false, true},
        {"a*", "abc", false, true},
        {"a*c", "abcbc", false, true},
        {"a?c", "abc", false, true},
        {"a?c", "ac", false, false},
        {"sub/*.okt", "sub/a.okt", false, true},
        {"sub/*.okt", "sub/deep/a.okt", false, false},
        {"sub/**/a.okt", "sub/deep/er/a.okt", false, true},
        {"sub/**/a.okt", "sub/a.okt", false, true},
        {"**/a.okt", "sub/deep/a.okt", false, true},
        {"sub/**", "sub/deep/a.okt", false, true},
        {"old/", "old", true, true},
        {"old/", "old", false, false},
        {"old/", "sub/old", true, true},
        {"d[0-9].okt", "d7.okt", false, true},
        {"d[!0-9].okt", "d7.okt", false, false},
        {"d[!0-9].okt", "dx.okt", false, true},
        {"d[.okt", "d[.okt", false, true},
        {"\\#a", "#a", false, true},
        {"#a", "#a", false, false},
        {"*.okt\n!keep.okt", "keep.okt", false, false},
        {"!keep.okt\n*.okt", "keep.okt", false, true},
        {"\xEF\xBB\xBF"
         "a.okt",
         "a.okt", false, true},
        {"a.okt  ", "a.okt", false, true},
        {"\r\n\n", "a.okt", false, false},
    };
    for (Row const &row : rows)
    {
        IgnoreRules rules;
        rules.add(row.rules, "");
        EXPECT_EQ(rules.isIgnored(row.path, row.isFolder), row.isIgnored) << row.rules << " " << row.path;
    }
}

TEST(IgnoreRules, DeeperFile_CountsBelowItsFolder)
{
    IgnoreRules rules;
    rules.add("*.okt", "");
    rules.add("!a.okt\n/b.okt", "sub/");
    EXPECT_TRUE(rules.isIgnored("a.okt", false));
    EXPECT_FALSE(rules.isIgnored("sub/a.okt", false));
    EXPECT_FALSE(rules.isIgnored("sub/deep/a.okt", false));
    EXPECT_TRUE(rules.isIgnored("subs/a.okt", false));
}

} // namespace
