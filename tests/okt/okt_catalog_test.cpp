// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#if !defined(_WIN32)
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class OktCatalog : public LibraryTest
{
protected:
    std::string catalog() const { return path("c.okc"); }

    std::string update() const { return done({"catalog", "update", catalog(), path("lib")}); }

    std::string sql(std::string const &query) const
    {
        std::string text = shortened(done({"catalog", "sql", catalog(), query}));
        return text.substr(text.find('\n') + 1); // without the names of the columns
    }

    static std::string line(std::string const &text) { return text.substr(0, text.find('\n')); }

    /// The files look as if they were written some time ago.
    void age() const
    {
        for (auto const &entry : fs::recursive_directory_iterator(pathOf(path("lib"))))
            if (entry.is_regular_file())
                fs::last_write_time(entry.path(), fs::last_write_time(entry.path()) - std::chrono::hours(1));
    }

    /// A command with the catalogue says what it says without.
    void expectSame(std::vector<std::string> arguments) const
    {
        ProcessResult const plain = runOkt(arguments);
        arguments.insert(arguments.begin() + 1, {"--index", catalog()});
        ProcessResult const indexed = runOkt(arguments);
        std::string const what = testing::PrintToString(arguments);
        EXPECT_EQ(indexed.out, plain.out) << what;
        EXPECT_EQ(indexed.err, plain.err) << what;
        EXPECT_EQ(indexed.exitCode, plain.exitCode) << what;
    }
};

TEST_F(OktCatalog, Update_NewChangedRemoved)
{
    take("link-d12.okt");
    take("link-d8.okt", "deep/er/link-d8.okt");
    take("link-no4.okt", "old.okt.bak");
    EXPECT_EQ(update(), "2 files: 2 new, 0 changed, 0 removed\n");
    EXPECT_EQ(update(), "2 files: 0 new, 0 changed, 0 removed\n");
    done({"set", path("lib/link-d12.okt"), "Cover=35 mm"});
    fs::remove(pathOf(path("lib/deep/er/link-d8.okt")));
    take("link-no4.okt");
    EXPECT_EQ(update(), "2 files: 1 new, 1 changed, 1 removed\n");
    EXPECT_EQ(sql("SELECT path, state FROM file ORDER BY path"), "lib/link-d12.okt\twhole\nlib/link-no4.okt\twhole\n");
    EXPECT_EQ(sql("SELECT number FROM parameter JOIN file ON file.id = file WHERE name = 'Cover' ORDER BY path"),
              "0.035\n0.0381\n");
    EXPECT_FALSE(fs::exists(pathOf(path(".c.okc.okt-lock"))));
}

TEST_F(OktCatalog, FolderThatIsGone_LeavesTheCatalogue)
{
    take("link-d12.okt");
    fs::create_directory(pathOf(path("more")));
    fs::copy_file(pathOf(path("lib/link-d12.okt")), pathOf(path("more/a.okt")));
    done({"catalog", "update", catalog(), path("lib"), path("more")});
    fs::rename(pathOf(path("more")), pathOf(path("other")));
    EXPECT_EQ(done({"catalog", "update", catalog(), path("more")}), "0 files: 0 new, 0 changed, 1 removed\n");
    EXPECT_EQ(sql("SELECT path FROM file"), "lib/link-d12.okt\n");
    EXPECT_EQ(sql("SELECT count(*) FROM folder"), "1\n");
    ProcessResult const again = runOkt({"catalog", "update", catalog(), path("more")});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(shortened(again.err), "okt: more: this is no folder\n");
    EXPECT_EQ(done({"catalog", "verify", catalog()}), "1 file, 0 differences\n");
}

TEST_F(OktCatalog, Columns_AsTheyArePromised)
{
    take("link-d12.okt");
    update();
    auto const columns = [this](std::string const &table) {
        std::string const text = done({"catalog", "sql", catalog(), "SELECT * FROM " + table + " LIMIT 0"});
        return text.substr(0, text.find('\n')) + "\t";
    };
    std::vector<std::pair<std::string, std::vector<std::string>>> const tables = {
        {"file", {"id", "path", "size", "modified_ns", "sha256", "pool_id", "pool_name", "objects", "state"}},
        {"object", {"file", "object_id", "class", "name", "offset", "size"}},
        {"parameter",
         {"file", "object_id", "category", "owner", "name", "type", "type_name", "list_code", "kind", "number", "text",
          "is_length", "expression", "description"}},
        {"reference", {"file", "from_id", "to_id", "role"}},
        {"picture", {"file", "object_id", "format", "width", "height", "bytes"}},
        {"finding", {"file", "code", "severity", "offset", "object_id", "message"}},
    };
    for (auto const &[table, names] : tables)
        for (std::string const &name : names)
            EXPECT_THAT("\t" + columns(table), HasSubstr("\t" + name + "\t")) << table;
    EXPECT_EQ(sql("SELECT name, type, type_name, kind, number, is_length FROM parameter WHERE name IN ('Cover', 'Diameter') "
                  "ORDER BY name"),
              "Cover\t6\tCover\tVT_R8\t0.03\t1\nDiameter\t5\tDiameter\tVT_R8\t12\t0\n");
    EXPECT_EQ(sql("SELECT format, width, height FROM picture"), "PNG\t800\t600\n");
    EXPECT_EQ(sql("SELECT DISTINCT role FROM reference ORDER BY role"), "category\ngroup\nmember\nowner\nparameter\npicture\n");
    std::string const id = sql("SELECT object_id FROM object WHERE name = 'Cover'");
    EXPECT_EQ(id.size(), 39u);
    EXPECT_EQ(sql("SELECT count(*) FROM reference WHERE to_id NOT IN (SELECT object_id FROM object) "
                  "AND to_id NOT IN (SELECT pool_id FROM file)"),
              "0\n");
    EXPECT_EQ(sql("SELECT size = (SELECT max(offset + size) FROM object) FROM file"), "1\n");
}

TEST_F(OktCatalog, Sql_Forms)
{
    take("link-d12.okt");
    update();
    std::string const query = "SELECT 'a,b' AS text, 1 AS whole, 0.5 AS real, NULL AS empty";
    EXPECT_EQ(done({"catalog", "sql", catalog(), query}), "text\twhole\treal\tempty\na,b\t1\t0.5\t\n");
    EXPECT_EQ(done({"catalog", "sql", "--csv", catalog(), query}), "text,whole,real,empty\r\n\"a,b\",1,0.5,\r\n");
    EXPECT_EQ(done({"catalog", "sql", "--json", catalog(), query}),
              "{\"text\":\"a,b\",\"whole\":1,\"real\":0.5,\"empty\":null}\n");
    std::string const odd = "SELECT x'00FF7A' AS blob, 'a' || char(0) || 'b' AS text, x'' AS none";
    EXPECT_EQ(done({"catalog", "sql", "--csv", catalog(), odd}), "blob,text,none\r\nX'00FF7A',X'610062',X''\r\n");
    EXPECT_EQ(done({"catalog", "sql", "--json", catalog(), odd}),
              "{\"blob\":\"X'00FF7A'\",\"text\":\"X'610062'\",\"none\":\"X''\"}\n");
    EXPECT_EQ(done({"catalog", "sql", "--csv", catalog(), "SELECT 1 AS a, 2 AS a"}), "a,a\r\n1,2\r\n");
    ProcessResult const twice = runOkt({"catalog", "sql", "--json", catalog(), "SELECT 1 AS a, 2 AS a"});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_EQ(twice.out, "");
    EXPECT_EQ(twice.err, "okt: " + catalog() +
                             ": two columns of the query are called \"a\", and --json takes one of a name: give one another "
                             "name, with AS\n");
    ProcessResult const refused = runOkt({"catalog", "sql", catalog(), "DELETE FROM file"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, "okt: " + catalog() + ": a query may only read\n");
    EXPECT_EQ(sql("SELECT count(*) FROM file"), "1\n");
}

TEST_F(OktCatalog, Find_WordsAndIds)
{
    take("link-d12.okt");
    take("link-no4.okt");
    update();
    EXPECT_EQ(shortened(done({"catalog", "find", catalog(), "grade", "60"})),
              "lib/link-no4.okt: \"" + line(sql("SELECT pool_name FROM file WHERE path LIKE '%no4.okt'")) + "\"\n");
    ProcessResult const none = runOkt({"catalog", "find", catalog(), "nowhere"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out + none.err, "");
    std::string const row = line(
        sql("SELECT object_id, offset FROM object JOIN file ON file.id = file WHERE name = 'Cover' AND path LIKE '%d12.okt'"));
    std::string const id = row.substr(0, 38);
    std::string const hit = "lib/link-d12.okt:byte " + row.substr(39) + ": OKTDbParameter " + id + " \"Cover\"\n";
    EXPECT_EQ(shortened(done({"catalog", "find", catalog(), id})), hit);
    std::string bare = id.substr(1, 36);
    std::transform(bare.begin(), bare.end(), bare.begin(),
                   [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; });
    EXPECT_EQ(shortened(done({"catalog", "find", catalog(), bare})), hit);
    std::string const pool = line(sql("SELECT pool_id FROM file WHERE path LIKE '%d12.okt'"));
    EXPECT_THAT(shortened(done({"catalog", "find", catalog(), pool})),
                StartsWith("lib/link-d12.okt: OKTDbPool " + pool + " \""));
}

TEST_F(OktCatalog, DamagedFiles_RowsAndNoFailure)
{
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
        {
            fs::create_directories(pathOf(path("lib")));
            fs::copy_file(entry.path(), pathOf(path("lib")) / entry.path().filename());
        }
    put("lib/page.okt", std::string("<html></html>"));
    put("lib/none.okt", std::string());
    put("lib/.oktignore", std::string("stirrup.okt\n"));
    std::string const total = update();
    EXPECT_THAT(total, HasSubstr(" of them damaged\n"));
    EXPECT_EQ(sql("SELECT count(*) FROM file WHERE path LIKE '%stirrup.okt'"), "0\n");
    EXPECT_EQ(sql("SELECT path FROM file WHERE state = 'foreign' ORDER BY path"), "lib/none.okt\nlib/page.okt\n");
    EXPECT_EQ(sql("SELECT DISTINCT state FROM file WHERE path LIKE '%truncated.okt' OR path LIKE '%duplicate-id.okt'"),
              "damaged\n");
    EXPECT_EQ(sql("SELECT severity FROM finding JOIN file ON file.id = file WHERE path LIKE '%duplicate-id.okt' AND code = "
                  "'duplicate-id'"),
              "error\n");
    EXPECT_EQ(runOkt({"catalog", "verify", catalog()}).exitCode, 0);

    // Whatever its state is, what is asked for with the catalogue is what is there.
    for (std::vector<std::string> const &arguments :
         std::vector<std::vector<std::string>>{{"find", "hook", path("lib")},
                                               {"find", "e", path("lib")},
                                               {"find", "--json", "*1*", path("lib")},
                                               {"find", "0", "-l", path("lib")},
                                               {"find", "OKTDbPicture", path("lib")},
                                               {"find", "{*", path("lib")},
                                               {"find", "--class", "*Param*", "a", path("lib")},
                                               {"find", "-q", "cover", path("lib")},
                                               {"find", "--where", "Diameter>=1 mm", path("lib")},
                                               {"find", "--where", "objectclass=OKTDbPicture", path("lib")},
                                               {"table", "Diameter", "Cover", "type:5", path("lib")},
                                               {"table", "--json", "Name", "Value", path("lib")}})
        expectSame(arguments);
}

TEST_F(OktCatalog, Verify_TellsEachDifference)
{
    take("link-d12.okt");
    take("link-d8.okt");
    update();
    EXPECT_EQ(done({"catalog", "verify", catalog()}), "2 files, 0 differences\n");
    done({"set", path("lib/link-d12.okt"), "Cover=35 mm"});
    fs::remove(pathOf(path("lib/link-d8.okt")));
    take("link-no4.okt");
    ProcessResult const result = runOkt({"catalog", "verify", catalog()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(shortened(result.out),
              "lib/link-d12.okt: changed\nlib/link-d8.okt: gone\nlib/link-no4.okt: new\n2 files, 3 differences\n");
    EXPECT_EQ(runOkt({"catalog", "verify", "-q", catalog()}).out, "2 files, 3 differences\n");
}

TEST_F(OktCatalog, Index_SameOutput_AlsoWhereFilesChangedSince)
{
    for (fs::directory_entry const &entry : fs::directory_iterator(built()))
        take(entry.path().filename().string());
    age();
    update();
    std::string const lib = path("lib");
    auto const expectAllSame = [&] {
        expectSame({"find", "hook length", lib});
        expectSame({"find", "-l", "Grade 60", lib});
        expectSame({"find", "--name", "*12*", lib});
        expectSame({"find", "-q", "0.0*", lib});
        expectSame({"find", "true", lib});
        expectSame({"find", "--where", "Diameter>=16 mm and not Cover<40 mm", lib});
        expectSame({"find", "--where", "Cover=35 mm", lib});
        expectSame({"find", "--where", "objectclass=OKTDbPicture and \"Shape code\"=51", "-q", lib});
        expectSame({"table", "Diameter", "Cover", "Cutting length", "Steelgrade", "Quantity expression", lib});
        expectSame({"table", "--csv", "type:5", "Hook 1", "Nothing", "-u", "in", lib});
    };
    expectAllSame();
    done({"set", path("lib/link-d12.okt"), "Cover=35 mm"});
    done({"set", path("lib/link-d8.okt"), "Steelgrade=Grade 60"});
    fs::remove(pathOf(path("lib/link-d16.okt")));
    take("link-d10.okt", "later.okt");
    expectAllSame();
}

/// That rows are used is seen where they differ from the file.
TEST_F(OktCatalog, Index_RowsInPlaceOfTheFile_WhileItIsAsItWas)
{
    std::string const file = take("link-d12.okt");
    age();
    update();
    fs::file_time_type const time = fs::last_write_time(pathOf(file));
    std::uintmax_t const size = fs::file_size(pathOf(file));
    put("lib/link-d12.okt", std::string(size, 'x'));
    fs::last_write_time(pathOf(file), time);
    EXPECT_THAT(done({"table", "--csv", "Cover", "--index", catalog(), file}), HasSubstr(",30\r\n"));
    EXPECT_EQ(runOkt({"find", "nothing like this", "--index", catalog(), file}).exitCode, 1);
    fs::last_write_time(pathOf(file), time + std::chrono::seconds(1));
    EXPECT_EQ(runOkt({"table", "--csv", "Cover", "--index", catalog(), file}).exitCode, 1);
}

TEST_F(OktCatalog, Index_WithoutFiles_AllThatItKnows)
{
    take("link-d12.okt");
    take("link-d8.okt");
    age();
    update();
    EXPECT_EQ(shortened(done({"table", "--csv", "Diameter", "--index", catalog()})),
              "file,Diameter\r\nlib/link-d8.okt,8\r\nlib/link-d12.okt,12\r\n");
    EXPECT_EQ(shortened(done({"find", "--where", "Diameter>8", "--index", catalog()})), "lib/link-d12.okt\n");
    done({"report", "--index", catalog(), "-o", path("a.html"), "--title", "x"});
    done({"report", path("lib/link-d8.okt"), path("lib/link-d12.okt"), "-o", path("b.html"), "--title", "x"});
    EXPECT_EQ(contents(pathOf(path("a.html"))), contents(pathOf(path("b.html"))));
    done({"report", "--index", catalog(), path("lib"), "-o", path("c.html"), "--title", "x"});
    EXPECT_EQ(contents(pathOf(path("c.html"))), contents(pathOf(path("b.html"))));
}

TEST_F(OktCatalog, WrongUsage_OneLine)
{
    auto const refused = [](std::vector<std::string> const &arguments, int exitCode) {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        return result.err;
    };
    EXPECT_THAT(refused({"catalog"}, 2), HasSubstr("ACTION is missing"));
    EXPECT_THAT(refused({"catalog", "renew", catalog()}, 2), HasSubstr("renew"));
    EXPECT_THAT(refused({"catalog", "update", catalog()}, 2), HasSubstr("FOLDER is missing"));
    EXPECT_THAT(refused({"catalog", "verify", catalog(), "x"}, 2), HasSubstr("a catalogue is verified as a whole"));
    EXPECT_THAT(refused({"catalog", "sql", catalog(), "SELECT", "1"}, 2), HasSubstr("a query is one operand"));
    EXPECT_EQ(refused({"catalog", "update", catalog(), path("none")}, 1), "okt: " + path("none") + ": this is no folder\n");
    EXPECT_FALSE(fs::exists(pathOf(catalog())));
    EXPECT_THAT(refused({"catalog", "find", catalog(), "x"}, 1), StartsWith("okt: " + catalog() + ": "));
    put("text.okc", std::string(1000, 'x'));
    EXPECT_EQ(refused({"catalog", "verify", path("text.okc")}, 1), "okt: " + path("text.okc") + ": this is no catalogue\n");
    take("link-d12.okt");
    EXPECT_EQ(refused({"catalog", "update", path("text.okc"), path("lib")}, 1),
              "okt: " + path("text.okc") + ": this is no catalogue\n");
    EXPECT_EQ(refused({"table", "Cover", "--index", path("text.okc"), path("lib")}, 1),
              "okt: " + path("text.okc") + ": this is no catalogue\n");
}

#if !defined(_WIN32) // processes are killed

pid_t started(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), OKT_EXE);
    std::vector<char *> words;
    for (std::string &argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    pid_t const child = fork();
    if (child == 0)
    {
        int const nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        execv(OKT_EXE, words.data());
        _exit(127);
    }
    return child;
}

/// All that a catalogue says of its files, but when it looked at them and how it numbers them.
class Dump
{
public:
    explicit Dump(std::string const &catalog)
    {
        for (char const *const query :
             {"SELECT path, size, modified_ns, sha256, pool_id, pool_name, objects, state, plain FROM file ORDER BY path",
              "SELECT path, object_id, class, name, offset, object.size FROM object JOIN file ON file.id = file ORDER BY path, "
              "number",
              "SELECT path, parameter.* FROM parameter JOIN file ON file.id = file ORDER BY path, number_in_file",
              "SELECT path, from_id, to_id, role FROM reference JOIN file ON file.id = file ORDER BY path, number",
              "SELECT path, object_id, format, bytes FROM picture JOIN file ON file.id = file ORDER BY path, number",
              "SELECT path, name, text, description, expression FROM words JOIN file ON file.id = words.file ORDER BY path"})
        {
            ProcessResult const result = runOkt({"catalog", "sql", "--json", catalog, query});
            EXPECT_EQ(result.exitCode, 0) << result.err;
            m_text += withoutNumber(result.out);
        }
    }

    std::string const &text() const { return m_text; }

private:
    static std::string withoutNumber(std::string text)
    {
        for (std::size_t at = 0; (at = text.find("\"file\":", at)) != std::string::npos;)
            text.erase(at, text.find(',', at) + 1 - at);
        return text;
    }

    std::string m_text;
};

TEST_F(OktCatalog, KilledAtFiftyMoments_NothingLostOrDoubled)
{
    // More than two batches of files, quick to read.
    constexpr int kFiles = 420;
    std::vector<std::string> templates;
    for (char const *const name : {"quantities.okt", "empty.okt", "oldest-header.okt"})
        templates.push_back(golden(name));
    std::vector<fs::path> files;
    fs::create_directories(pathOf(path("lib")));
    for (int i = 0; i < kFiles; ++i)
    {
        files.push_back(pathOf(path("lib")) / (std::to_string(1000 + i) + ".okt"));
        fs::copy_file(templates[static_cast<std::size_t>(i) % templates.size()], files.back());
    }
    age();
    auto const begin = std::chrono::steady_clock::now();
    done({"catalog", "update", path("first.okc"), path("lib")});
    auto const whole = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin).count();

    std::minstd_rand random(17);
    int killed = 0;
    int inTheMiddle = 0;
    for (int i = 0; killed < 50 && i < 400; ++i) // a run that ended by itself does not count
    {
        pid_t const child = started({"catalog", "update", catalog(), path("lib")});
        std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<unsigned>(whole)));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        killed += WIFSIGNALED(status) ? 1 : 0;
        if (runOkt({"catalog", "sql", catalog(), "SELECT 1"}).exitCode == 0) // its tables are there
        {
            // Every file that is there has all of its rows, once.
            EXPECT_EQ(sql("SELECT count(*) FROM file WHERE objects <> (SELECT count(*) FROM object WHERE object.file = file.id)"
                          " OR 1 <> (SELECT count(*) FROM words WHERE words.rowid = file.id)"),
                      "0\n");
            EXPECT_EQ(sql("SELECT (SELECT count(*) FROM object WHERE file NOT IN (SELECT id FROM file))"
                          " + (SELECT count(*) FROM reference WHERE file NOT IN (SELECT id FROM file))"),
                      "0\n");
            std::string const rows = sql("SELECT count(*) FROM file");
            inTheMiddle += rows != "0\n" && rows != std::to_string(files.size()) + "\n" ? 1 : 0;
            if (rows == std::to_string(files.size()) + "\n" && i % 2 == 0)
                fs::remove(pathOf(catalog())); // from the beginning
        }
        // So that the next run has rows to replace.
        for (int changes = 0; changes < 200; ++changes)
            fs::copy_file(templates[random() % templates.size()], files[random() % files.size()],
                          fs::copy_options::overwrite_existing);
    }
    EXPECT_EQ(killed, 50);
    EXPECT_GT(inTheMiddle, 0);
    age();
    update();
    done({"catalog", "update", path("undisturbed.okc"), path("lib")});
    EXPECT_EQ(Dump(catalog()).text(), Dump(path("undisturbed.okc")).text());
    EXPECT_EQ(done({"catalog", "verify", catalog()}), "420 files, 0 differences\n");
}

TEST_F(OktCatalog, TwoUpdatesAtOnce_OneRefusesWithOneLine)
{
    fs::create_directories(pathOf(path("lib")));
    for (int i = 0; i < 4; ++i)
        fs::copy(built(), pathOf(path("lib/" + std::to_string(i))), fs::copy_options::recursive);
    pid_t const first = started({"catalog", "update", catalog(), path("lib")});
    // As long as the other one runs, it holds the lock.
    ProcessResult second;
    for (int i = 0; i < 1000 && second.exitCode != 1; ++i)
        second = runOkt({"catalog", "update", catalog(), path("lib/0")});
    int status = 0;
    waitpid(first, &status, 0);
    EXPECT_EQ(second.exitCode == 1 ? second.err : "okt: " + catalog() + ": another okt is changing the file\n",
              "okt: " + catalog() + ": another okt is changing the file\n");
    update();
    EXPECT_EQ(done({"catalog", "verify", catalog()}), "192 files, 0 differences\n");
}

TEST_F(OktCatalog, ReadWhileItIsWritten_WhatWasThereBefore)
{
    take("link-d12.okt");
    update();
    for (int i = 0; i < 6; ++i)
        fs::copy(built(), pathOf(path("lib/" + std::to_string(i))), fs::copy_options::recursive);
    pid_t const writer = started({"catalog", "update", catalog(), path("lib")});
    int status = 0;
    int reads = 0;
    long before = 1;
    while (waitpid(writer, &status, WNOHANG) == 0)
    {
        long const rows = std::stol(sql("SELECT count(*) FROM file"));
        EXPECT_GE(rows, before);
        before = rows;
        ++reads;
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(sql("SELECT count(*) FROM file"), "289\n");
}

#endif

} // namespace
