// SPDX-License-Identifier: MIT
#include <oktinspect/contentdigest.h>
#include <oktinspect/manifest.h>

#include "support/files.h"
#include "support/sha256.h"

#include <oktdatabase/oktdatabase.h>
#include <oktformat/failure.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>

using namespace okt;

namespace
{

std::string digest(std::string const &bytes)
{
    ByteSource source{std::string_view(bytes)};
    return contentDigest(source, "a.okt", [](std::string_view text) { return sha256Hex(text.data(), text.size()); });
}

std::string text(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

TEST(ContentDigest, Clone_SameAsItsSource)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFile(CString::FromUtf8(golden("stirrup.okt"))));
    std::set<std::string> images;
    pool.setBoolTranslatedIds(true);
    for (int i = 0; i < 3; ++i)
    {
        std::unique_ptr<OKTDbPool> const clone(pool.clone());
        ASSERT_TRUE(clone);
        CByteArray image;
        IdMap none;
        ASSERT_TRUE(clone->saveFiler(image, none));
        images.insert(text(image));
        EXPECT_EQ(digest(text(image)), digest(bytes));
    }
    EXPECT_EQ(images.size(), 3u);
}

TEST(ContentDigest, GoldenFiles_DifferentContentsDifferentDigests)
{
    std::set<std::string> digests;
    int files = 0;
    for (std::filesystem::directory_entry const &entry : std::filesystem::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
    {
        if (entry.path().extension() != ".okt")
            continue;
        try
        {
            std::string const one = digest(contents(entry.path()));
            EXPECT_EQ(one.size(), 64u);
            EXPECT_EQ(one, digest(contents(entry.path())));
            EXPECT_TRUE(digests.insert(one).second) << entry.path();
            ++files;
        }
        catch (Failure const &failure)
        {
            EXPECT_TRUE(entry.path().filename() == "truncated.okt" || entry.path().filename() == "trailing-bytes.okt")
                << entry.path() << " " << failure.what(); // both end inside a frame
        }
    }
    EXPECT_GT(files, 15);
}

TEST(ContentDigest, ChangedValue_OtherDigest)
{
    std::string bytes = contents(golden("stirrup.okt"));
    std::string const before = digest(bytes);
    std::size_t const at = bytes.find("H\0o\0o\0k\0", 0, 8);
    ASSERT_NE(at, std::string::npos);
    bytes[at] = 'h';
    EXPECT_NE(digest(bytes), before);
}

TEST(ContentDigest, DamagedFile_Failure)
{
    try
    {
        digest(contents(golden("truncated.okt")));
        ADD_FAILURE();
    }
    catch (Failure const &failure)
    {
        EXPECT_STREQ(failure.what(), "a.okt:byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358");
    }
}

std::string const kA(64, 'a');
std::string const kB(64, 'b');
std::string const kC(64, 'c');

TEST(OktManifest, Text_ReadsBack)
{
    Manifest const manifest = {{"a b.okt", {kA, kB}}, {"sub/c.okt", {kC, ""}}};
    std::string const made = manifestText(manifest);
    EXPECT_EQ(made, "# okt manifest 1: SHA-256 of the bytes, of the contents, path\n" + kA + " " + kB + " a b.okt\n" + kC +
                        " - sub/c.okt\n");
    EXPECT_EQ(parseManifest(made), manifest);
}

TEST(OktManifest, Refused_Table)
{
    std::string const head = "# okt manifest 1\n";
    struct Row
    {
        std::string text;
        std::size_t line;
        char const *reason;
    };
    Row const rows[] = {{"", 1, "the manifest names no file"},
                        {"x\n", 1, "this is no manifest that okt hash made"},
                        {head, 1, "the manifest names no file"},
                        {head + kA + " " + kB + "\n", 2, "two digests and a path are wanted here"},
                        {head + kA + " b a.okt\n", 2, "two digests and a path are wanted here"},
                        {head + kA + " - a.okt\r\n\n" + kA + " - a.okt\n", 4, "the path stands here twice"}};
    for (Row const &row : rows)
        try
        {
            parseManifest(row.text);
            ADD_FAILURE() << row.text;
        }
        catch (ManifestError const &error)
        {
            EXPECT_EQ(error.line(), row.line) << row.text;
            EXPECT_STREQ(error.what(), row.reason) << row.text;
        }
}

TEST(OktManifest, Compare_EveryKindOfChange)
{
    using Kind = ManifestChange::Kind;
    Manifest const before = {{"a", {"1", "A"}}, {"b", {"2", "B"}}, {"c", {"3", "C"}}, {"d", {"4", ""}}, {"e", {"5", "E"}}};
    Manifest const now = {{"a", {"1", "A"}}, {"b", {"6", "B"}}, {"c", {"7", "F"}}, {"f", {"8", "E"}}, {"g", {"9", "G"}}};
    std::vector<ManifestChange> const changes = compare(before, now);
    ASSERT_EQ(changes.size(), 5u);
    Kind const kinds[] = {Kind::Rewritten, Kind::Changed, Kind::Missing, Kind::Renamed, Kind::New};
    char const *const paths[] = {"b", "c", "d", "e", "g"};
    for (std::size_t i = 0; i < changes.size(); ++i)
    {
        EXPECT_EQ(changes[i].kind, kinds[i]) << i;
        EXPECT_EQ(changes[i].path, paths[i]);
    }
    EXPECT_EQ(changes[3].other, "f");
}

TEST(OktManifest, Compare_NamesThatWereSwapped)
{
    using Kind = ManifestChange::Kind;
    Manifest const before = {{"a", {"1", "A"}}, {"b", {"2", "B"}}, {"c", {"3", ""}}, {"d", {"4", "D"}}};
    Manifest const now = {{"a", {"2", "B"}}, {"b", {"1", "A"}}, {"c", {"4", "D"}}, {"d", {"3", ""}}};
    std::vector<ManifestChange> const changes = compare(before, now);
    ASSERT_EQ(changes.size(), 4u);
    char const *const paths[] = {"a", "b", "c", "d"};
    char const *const others[] = {"b", "a", "d", "c"};
    for (std::size_t i = 0; i < changes.size(); ++i)
    {
        EXPECT_EQ(changes[i].kind, Kind::Renamed) << i;
        EXPECT_EQ(changes[i].path, paths[i]);
        EXPECT_EQ(changes[i].other, others[i]);
    }
}

} // namespace
