// SPDX-License-Identifier: MIT
#include <oktcatalog/update.h>

#include "support/files.h"

#include <oktformat/failure.h>
#include <support/sha256.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>

namespace
{

namespace fs = std::filesystem;
using okt::Catalog;
using Kind = okt::CatalogDifference::Kind;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kLongAgo = 1'600'000'000 * kSecond + 5;

/// Files whose times are what the test says.
class CatalogStore : public FolderTest
{
protected:
    void SetUp() override { fs::create_directories(pathOf(path("lib"))); }

    std::string file(std::string const &name) const { return path("lib/" + name); }

    void put(std::string const &name, std::string const &bytes, std::int64_t modified = kLongAgo)
    {
        fs::create_directories(pathOf(file(name)).parent_path());
        FolderTest::put("lib/" + name, bytes);
        m_times[file(name)] = modified;
    }

    okt::UpdateOptions options()
    {
        okt::UpdateOptions options;
        options.digestOf = [this](std::string_view bytes) {
            ++m_digests;
            return sha256Hex(bytes.data(), bytes.size());
        };
        options.stampOf = [this](std::string const &path) { return stamp(path); };
        options.onFault = [this](std::string const &fault) { m_faults.push_back(fault); };
        return options;
    }

    std::optional<okt::FileStamp> stamp(std::string const &path)
    {
        std::error_code error;
        auto const size = fs::file_size(pathOf(path), error);
        if (error)
            return std::nullopt;
        std::lock_guard const lock(m_mutex);
        return okt::FileStamp{static_cast<std::int64_t>(size), m_times[path]};
    }

    okt::FoundFolder found(std::string const &folder = "lib", bool isWhole = true)
    {
        okt::FoundFolder result{path(folder), isWhole, {}};
        if (fs::exists(pathOf(path(folder))))
            for (auto const &entry : fs::recursive_directory_iterator(pathOf(path(folder))))
                if (entry.is_regular_file())
                {
                    std::u8string const name = entry.path().generic_u8string();
                    std::string const path(name.begin(), name.end());
                    result.files.push_back({path, *stamp(path)});
                }
        std::sort(result.files.begin(), result.files.end(),
                  [](okt::FoundFile const &left, okt::FoundFile const &right) { return left.path < right.path; });
        return result;
    }

    okt::UpdateResult update(std::vector<okt::FoundFolder> const &folders)
    {
        m_digests = 0;
        return okt::update(catalog(), folders, options());
    }
    okt::UpdateResult update() { return update({found()}); }

    fs::path catalog() const { return pathOf(path("c.okc")); }

    std::string asked(std::string const &sql)
    {
        Catalog store(catalog(), Catalog::Use::Read);
        std::string text;
        store.query(
            sql, [](auto const &) {},
            [&text](std::vector<okt::CatalogValue> const &row) {
                for (okt::CatalogValue const &value : row)
                {
                    text += text.empty() || text.back() == '\n' ? "" : "|";
                    if (auto const *const whole = std::get_if<std::int64_t>(&value))
                        text += std::to_string(*whole);
                    else if (auto const *const real = std::get_if<double>(&value))
                        text += std::to_string(*real);
                    else if (auto const *const words = std::get_if<std::string>(&value))
                        text += *words;
                    else
                        text += "null";
                }
                text += '\n';
            });
        return text;
    }

    std::string refusal(std::string const &sql)
    {
        try
        {
            asked(sql);
        }
        catch (okt::Failure const &failure)
        {
            return failure.withoutFile();
        }
        return "";
    }

    std::vector<Kind> differences(std::vector<okt::FoundFolder> const &folders)
    {
        Catalog store(catalog(), Catalog::Use::Read);
        EXPECT_EQ(store.fault(), "");
        std::vector<Kind> kinds;
        for (okt::CatalogDifference const &difference : okt::compareRows(store, folders, options()))
            kinds.push_back(difference.kind);
        return kinds;
    }

    std::map<std::string, std::int64_t> m_times;
    std::mutex m_mutex;
    std::atomic<int> m_digests = 0;
    std::vector<std::string> m_faults;
};

TEST_F(CatalogStore, Update_OnlyWhatChanged)
{
    put("a.okt", contents(golden("stirrup.okt")));
    put("b/b.okt", contents(golden("every-class.okt")));
    put("c.okt", contents(golden("pictures.okt")));
    okt::UpdateResult result = update();
    EXPECT_EQ(result.files, 3);
    EXPECT_EQ(result.added, 3);
    EXPECT_EQ(m_digests, 3);
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
    std::string const numbers = asked("SELECT id, path FROM file ORDER BY path");

    result = update();
    EXPECT_EQ(result.added + result.changed + result.removed, 0);
    EXPECT_EQ(m_digests, 0) << "no file is read";

    put("b/b.okt", contents(golden("stirrup.okt")), kLongAgo + 7);
    fs::remove(pathOf(file("c.okt")));
    result = update();
    EXPECT_EQ(result.added, 0);
    EXPECT_EQ(result.changed, 1);
    EXPECT_EQ(result.removed, 1);
    EXPECT_EQ(m_digests, 1);
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
    EXPECT_EQ(asked("SELECT id, path FROM file ORDER BY path"),
              numbers.substr(0, numbers.find("3|"))); // the others keep theirs
    EXPECT_EQ(asked("SELECT count(*) FROM object WHERE file = 3"), "0\n");
    EXPECT_EQ(asked("SELECT count(*) FROM words WHERE rowid = 3"), "0\n");
}

/// Two changes within a tick of the clock have one time, and may have one size.
TEST_F(CatalogStore, Update_TimeNoOlderThanTheLook_DigestTells)
{
    std::string const first = contents(golden("stirrup.okt"));
    std::string second = first;
    std::size_t const at = second.find("H\0o\0o\0k", 0, 7);
    ASSERT_NE(at, std::string::npos);
    second[at] = 'L';
    std::int64_t const now = 4'000'000'000 * kSecond; // behind any look of today
    put("a.okt", first, now);
    update();
    EXPECT_EQ(update().changed, 0);
    EXPECT_EQ(m_digests, 1) << "looked at again";
    put("a.okt", second, now);
    EXPECT_EQ(update().changed, 1);
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
    put("a.okt", second, kLongAgo); // no doubt any more
    update();
    EXPECT_EQ(update().changed, 0);
    EXPECT_EQ(m_digests, 0);
}

TEST_F(CatalogStore, Doubt_ByTheTickOfTheClock)
{
    auto const inDoubt = [](std::int64_t modified, std::int64_t looked) {
        return okt::CatalogFile{1, "a", {10, modified}, looked, true}.isInDoubt();
    };
    std::int64_t const time = 1'700'000'000 * kSecond + 500;
    EXPECT_TRUE(inDoubt(time, time));
    EXPECT_TRUE(inDoubt(time, time + kSecond / 50 - 1));
    EXPECT_FALSE(inDoubt(time, time + kSecond / 50));
    std::int64_t const coarse = 1'700'000'000 * kSecond;
    EXPECT_TRUE(inDoubt(coarse, coarse + 2 * kSecond - 1));
    EXPECT_FALSE(inDoubt(coarse, coarse + 2 * kSecond));
    EXPECT_TRUE(inDoubt(time, 0)) << "it changed while it was read";
}

TEST_F(CatalogStore, OtherFolders_TheirRowsStay)
{
    put("a.okt", contents(golden("stirrup.okt")));
    fs::create_directories(pathOf(path("library"))); // begins as the other does
    FolderTest::put("library/x.okt", contents(golden("stirrup.okt")));
    m_times[path("library/x.okt")] = kLongAgo;
    update({found("lib"), found("library")});
    fs::remove(pathOf(path("library/x.okt")));
    fs::remove(pathOf(file("a.okt")));
    EXPECT_EQ(update().removed, 1);
    EXPECT_EQ(asked("SELECT path FROM file"), path("library/x.okt") + "\n");
    EXPECT_EQ(update({found("lib", false), found("library", false)}).removed, 0) << "what cannot be looked through is not gone";
    EXPECT_EQ(update({found("library")}).removed, 1);
    EXPECT_EQ(asked("SELECT count(*) FROM object"), "0\n");
}

TEST_F(CatalogStore, OneFileInTwoFolders_OneRow)
{
    put("b/b.okt", contents(golden("stirrup.okt")));
    okt::UpdateResult const result = update({found("lib"), found("lib/b"), found("lib")});
    EXPECT_EQ(result.files, 1);
    EXPECT_EQ(result.added, 1);
}

TEST_F(CatalogStore, GoldenFiles_RowsComeBackAsTheyWent)
{
    for (auto const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
            put(entry.path().filename().string(), contents(entry.path()));
    put("empty.okt", "");
    put("text.okt", "no pool");
    okt::UpdateResult const result = update();
    EXPECT_EQ(result.added, result.files);
    EXPECT_GT(result.damaged, 0);
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
    EXPECT_EQ(asked("SELECT state, count(*) > 0 FROM file GROUP BY state ORDER BY state"), "damaged|1\nforeign|1\nwhole|1\n");
    EXPECT_EQ(asked("SELECT count(*) FROM file WHERE plain AND id IN (SELECT file FROM finding)"), "0\n");
}

TEST_F(CatalogStore, Compare_EachKindOfDifference)
{
    for (char const *const name : {"a.okt", "b.okt", "c.okt"})
        put(name, contents(golden("stirrup.okt")));
    update();
    put("a.okt", contents(golden("pictures.okt")));
    fs::remove(pathOf(file("b.okt")));
    {
        Catalog store(catalog(), Catalog::Use::Write);
        okt::PoolRows rows = store.rows(store.file(file("c.okt"))->id);
        ASSERT_FALSE(rows.references.empty());
        rows.references.pop_back();
        store.begin();
        store.put(rows);
        store.commit();
    }
    put("d.okt", contents(golden("stirrup.okt")));
    EXPECT_EQ(differences({found()}), (std::vector<Kind>{Kind::Changed, Kind::Gone, Kind::Rows, Kind::New}));
}

TEST_F(CatalogStore, WithoutCommit_NothingIsLeft)
{
    put("a.okt", contents(golden("stirrup.okt")));
    update();
    {
        Catalog store(catalog(), Catalog::Use::Write);
        store.begin();
        store.remove(store.files().front().id);
        EXPECT_TRUE(store.files().empty());
        Catalog reader(catalog(), Catalog::Use::Read);
        EXPECT_EQ(reader.files().size(), 1u) << "others read what was there before, at once";
    }
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
    EXPECT_FALSE(fs::exists(pathOf(path("c.okc-wal"))));
    EXPECT_FALSE(fs::exists(pathOf(path("c.okc-shm"))));
}

TEST_F(CatalogStore, Find_WordsByTheirRank)
{
    put("a.okt", contents(golden("stirrup.okt")));
    put("b.okt", contents(golden("every-class.okt")));
    update();
    Catalog store(catalog(), Catalog::Use::Read);
    auto const files = [&store](std::vector<std::string> const &words) {
        std::vector<std::string> names;
        for (okt::WordsHit const &hit : store.find(words))
            names.push_back(hit.path);
        return names;
    };
    EXPECT_EQ(files({"HOOK", "length"}), std::vector<std::string>{file("a.okt")});
    EXPECT_EQ(files({"hoo*"}), std::vector<std::string>{file("a.okt")});
    EXPECT_EQ(files({"hoo"}), std::vector<std::string>());
    EXPECT_EQ(files({"hook", "nowhere"}), std::vector<std::string>());
    EXPECT_EQ(files({"\"", "AND", "NEAR("}), std::vector<std::string>()) << "words, not operators";
    std::vector<okt::IdHit> const hits = store.findId("{9B38EB57-18BC-4FFE-8B5E-E30D431643D5}");
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0].path, file("a.okt"));
    EXPECT_EQ(hits[0].name, "Hook length 1");
    EXPECT_EQ(hits[0].className, "OKTDbParameter");
}

TEST_F(CatalogStore, Query_ReadsOnly)
{
    put("a.okt", contents(golden("stirrup.okt")));
    update();
    EXPECT_EQ(asked("SELECT 1, 2.5, NULL, 'x'"), "1|2.500000|null|x\n");
    EXPECT_EQ(asked("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3) SELECT sum(i) FROM n;"),
              "6\n");
    EXPECT_EQ(asked("SELECT count(*) FROM words WHERE words MATCH 'hook'"), "1\n");
    for (char const *const sql : {"DELETE FROM file", "UPDATE file SET size = 0", "DROP TABLE file", "ATTACH 'x.db' AS x",
                                  "PRAGMA user_version = 7", "CREATE TEMP TABLE t (x)", "VACUUM INTO 'x.db'", "BEGIN"})
        EXPECT_EQ(refusal(sql), "a query may only read") << sql;
    EXPECT_EQ(refusal("SELECT 1; SELECT 2"), "this is more than one query");
    EXPECT_EQ(refusal("  "), "this is no query: it is empty");
    EXPECT_EQ(refusal("SELECT x FROM file"), "this is no query: no such column: x");
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
}

TEST_F(CatalogStore, WhatIsNoCatalogue_Refused)
{
    auto const refused = [this](std::string const &name, Catalog::Use use) {
        try
        {
            Catalog const store(pathOf(path(name)), use);
        }
        catch (okt::Failure const &failure)
        {
            return failure.withoutFile();
        }
        return std::string();
    };
    FolderTest::put("text.okc", std::string(5000, 'x'));
    EXPECT_EQ(refused("text.okc", Catalog::Use::Read), "this is no catalogue");
    EXPECT_EQ(refused("text.okc", Catalog::Use::Write), "this is no catalogue");
    EXPECT_EQ(contents(path("text.okc")), std::string(5000, 'x'));
    EXPECT_NE(refused("none.okc", Catalog::Use::Read), "");
    EXPECT_FALSE(fs::exists(pathOf(path("none.okc"))));
    EXPECT_EQ(refused("no/folder.okc", Catalog::Use::Write), "the catalogue cannot be opened");
    FolderTest::put("empty.okc", std::string());
    EXPECT_EQ(refused("empty.okc", Catalog::Use::Write), "");
    EXPECT_EQ(refused("empty.okc", Catalog::Use::Read), "");
}

TEST_F(CatalogStore, FileThatCannotBeRead_ItsRowsStay)
{
    put("a.okt", contents(golden("stirrup.okt")));
    put("b.okt", contents(golden("stirrup.okt")));
    update();
    okt::FoundFolder folder = found();
    folder.files[0].stamp.modifiedNs += 9; // changed
    fs::remove(pathOf(file("a.okt")));
    fs::create_directory(pathOf(file("a.okt"))); // and a folder by now
    okt::UpdateOptions given = options();
    given.stampOf = [&](std::string const &) { return std::optional(folder.files[0].stamp); };
    okt::UpdateResult const result = okt::update(catalog(), {folder}, given);
    EXPECT_EQ(result.unread, 1);
    ASSERT_EQ(m_faults.size(), 1u);
    EXPECT_EQ(m_faults[0].find(file("a.okt") + ": "), 0u);
    EXPECT_EQ(asked("SELECT count(*) FROM file"), "2\n");
}

TEST_F(CatalogStore, Cancelled_WhatWasThereStays)
{
    put("a.okt", contents(golden("stirrup.okt")));
    update();
    put("b.okt", contents(golden("stirrup.okt")));
    okt::UpdateOptions given = options();
    given.onProgress = [](okt::Progress const &progress) { return progress.event != okt::Progress::Event::At; };
    EXPECT_THROW(okt::update(catalog(), {found()}, given), okt::Cancelled);
    EXPECT_EQ(differences({found()}), std::vector<Kind>{Kind::New});
    update();
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
}

TEST_F(CatalogStore, FirstBuildCutShort_IdsAreFoundAndTheNextRunIndexesThem)
{
    std::string const indexes = "SELECT count(*) FROM sqlite_master WHERE name = 'object_by_id'";
    std::string const wanted = "{9B38EB57-18BC-4FFE-8B5E-E30D431643D5}";
    std::string const bytes = contents(golden("stirrup.okt"));
    put("a.okt", bytes);
    okt::PoolRows rows = okt::rowsOf(bytes, options().digestOf);
    okt::addFindings(rows, bytes, options().moduleOf);
    rows.path = file("a.okt");
    rows.modifiedNs = kLongAgo;
    rows.lookedNs = kLongAgo + 1000 * kSecond;
    {
        Catalog store(catalog(), Catalog::Use::Write);
        store.begin();
        store.put(rows);
        store.commit();
        EXPECT_EQ(store.findId(wanted).size(), 1u);
    }
    EXPECT_EQ(asked(indexes), "0\n");

    okt::UpdateResult const result = update();
    EXPECT_EQ(result.added + result.changed, 0);
    EXPECT_EQ(asked(indexes), "1\n");
    EXPECT_EQ(Catalog(catalog(), Catalog::Use::Read).findId(wanted).size(), 1u);
    EXPECT_EQ(differences({found()}), std::vector<Kind>());
}

} // namespace
