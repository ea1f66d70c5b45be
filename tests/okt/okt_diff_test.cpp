// SPDX-License-Identifier: MIT
#include "difftest.h"

#include "support/clientclasses.h"
#include "support/poolmaker.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class OktDiff : public DiffTest
{
};

// ---- By id -------------------------------------------------------------------------------------------------------------------

TEST_F(OktDiff, Diff_SameFile_NothingAndZero)
{
    std::string const file = write("a.okt");
    expectSame(runOkt({"diff", file, file}));
    fs::copy(file, path("b.okt"));
    expectSame(runOkt({"diff", file, path("b.okt")}));
}

TEST_F(OktDiff, Diff_ChangedMembers_OldAndNew)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    m_parameters[1]->setDescription(u"changed\n\u202E");
    m_pool.setPoolName(u"Other link");
    ProcessResult const result = runOkt({"diff", "--members", before, write("b.okt")});
    EXPECT_THAT(result.out, StartsWith("--- " + before + "\n+++ " + path("b.okt") + "\n"));
    expectDifferent(result, "~ header\n"
                            "    m_strPoolName: \"Link\" -> \"Other link\"\n"
                            "~ OKTDbParameter " +
                                textOf(m_parameters[1]) +
                                " \"Leg A\"\n"
                                "    varConverted: 0.25 -> 0.5\n"
                                "    m_strDescription: \"\" -> \"changed\\n\\u202E\"\n"
                                "0 removed, 0 added, 1 changed, 5 the same\n");
}

TEST_F(OktDiff, Diff_ChangedKindOfValue_KindsTold)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(CString(u"long"), 1);
    ProcessResult const result = runOkt({"diff", "--members", before, write("b.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr(": VT_R8 0.25 -> VT_BSTR \"long\"\n"));
}

TEST_F(OktDiff, Diff_AddedAndRemoved_ObjectsAndTheListsTheyStandIn)
{
    std::string const full = write("full.okt");
    OKTDbParameter *const last = m_parameters.back();
    std::string const id = textOf(last);
    m_category->removeParameter(last->objectId());
    m_pool.removeObject(last->objectId());
    delete last;
    std::string const less = write("less.okt");
    std::string const category = "~ OKTDbCategory " + textOf(m_category) + " \"Bar\"\n";
    expectDifferent(runOkt({"diff", "--members", full, less}), "- OKTDbParameter " + id + " \"Leg C\"\n" + category +
                                                                   "    m_tabParameters: 4 ids -> 3 ids\n      - " + id +
                                                                   " \"Leg C\"\n1 removed, 0 added, 1 changed, 4 the same\n");
    expectDifferent(runOkt({"diff", "--members", less, full}), "+ OKTDbParameter " + id + " \"Leg C\"\n" + category +
                                                                   "    m_tabParameters: 3 ids -> 4 ids\n      + " + id +
                                                                   " \"Leg C\"\n0 removed, 1 added, 1 changed, 4 the same\n");
}

TEST_F(OktDiff, Diff_Picture_FormatAndSize)
{
    auto *const picture = new OKTDbPicture;
    m_pool.appendObject(picture);
    CByteArray image;
    image.SetSize(100);
    picture->setPictureData(image);
    std::string const before = write("a.okt");
    image[50] = 1;
    picture->setPictureData(image);
    ProcessResult const result = runOkt({"diff", "--members", before, write("b.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("    picture: no known format, 100 bytes -> no known format, 100 bytes, another\n"));
}

TEST_F(OktDiff, Diff_ObjectsInAnotherOrder_Told)
{
    std::string const before = write("a.okt");
    ASSERT_EQ(runOkt({"export", before, "-o", path("a.json")}).exitCode, 0);
    std::ifstream stream(path("a.json"));
    nlohmann::ordered_json text = nlohmann::ordered_json::parse(stream);
    std::swap(text["objects"][0], text["objects"][1]);
    put("b.json", text.dump());
    ASSERT_EQ(runOkt({"import", path("b.json"), "-o", path("b.okt")}).exitCode, 0);
    expectDifferent(runOkt({"diff", before, path("b.okt")}),
                    "the same objects in another order, or behind a header of another size\n");
    expectSame(runOkt({"diff", "--by-name", before, path("b.okt")}));
}

TEST_F(OktDiff, Diff_ClassThatIsNotKnown_RecordByRecord)
{
    std::string const before = write("a.okt");
    ASSERT_EQ(runOkt({"export", before, "-o", path("a.json")}).exitCode, 0);
    std::ifstream stream(path("a.json"));
    nlohmann::ordered_json text = nlohmann::ordered_json::parse(stream);
    auto const withObject = [&](int number, std::string const &word) {
        nlohmann::ordered_json changed = text;
        nlohmann::ordered_json const id = {{"id", "{11111111-2222-3333-4444-555555555555}"}};
        changed["objects"].push_back(
            {{"class", "Nobody"},
             {"version", 1},
             {"content",
              {{{"class", "OKTDbObject"}, {"version", 1}, {"content", {{{"section", 1}, {"content", {id}}}}}},
               {{"section", 3}, {"content", {{{"long", 7}}, {{"string16", word}}, {{"double", number}}}}}}}});
        put("x.json", changed.dump());
        EXPECT_EQ(runOkt({"import", path("x.json"), "-o", path("x" + word + ".okt")}).exitCode, 0);
        return path("x" + word + ".okt");
    };
    std::string const one = withObject(1, "one");
    std::string const two = withObject(2, "two");
    expectDifferent(runOkt({"diff", one, two}), "~ Nobody {11111111-2222-3333-4444-555555555555} \"two\"\n"
                                                "    section 3, record 2: \"one\" -> \"two\"\n"
                                                "    section 3, record 3: 1 -> 2\n"
                                                "0 removed, 0 added, 1 changed, 6 the same\n");
    expectDifferent(runOkt({"diff", before, one}), "+ Nobody {11111111-2222-3333-4444-555555555555} \"one\"\n"
                                                   "0 removed, 1 added, 0 changed, 6 the same\n");
}

TEST_F(OktDiff, Diff_OneIdAndSeveral_Counted)
{
    m_category->removeAllParameters();
    m_category->appendParameter(m_parameters[0]->objectId());
    std::string const before = write("a.okt");
    m_category->appendParameter(m_parameters[1]->objectId());
    expectDifferent(runOkt({"diff", "--members", before, write("b.okt")}),
                    "~ OKTDbCategory " + textOf(m_category) + " \"Bar\"\n    m_tabParameters: 1 id -> 2 ids\n      + " +
                        textOf(m_parameters[1]) + " \"Leg A\"\n0 removed, 0 added, 1 changed, 5 the same\n");
}

// ---- By name -----------------------------------------------------------------------------------------------------------------

TEST_F(OktDiff, ByName_Clone_DiffersInNothing)
{
    std::string const original = write("a.okt");
    std::string const clone = writeClone("b.okt");
    EXPECT_EQ(runOkt({"diff", original, clone}).exitCode, 1);
    expectSame(runOkt({"diff", "--by-name", original, clone}));
    expectSame(runOkt({"diff", "--by-name", clone, original}));
}

TEST_F(OktDiff, ByName_ChangedClone_OnlyTheChange)
{
    std::string const original = write("a.okt");
    m_parameters[2]->setValue(0.75, 2);
    m_parameters[3]->setUserName(u"Leg Z", false);
    ProcessResult const result = runOkt({"diff", "--by-name", "--members", original, writeClone("b.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("\"Leg B\"\n    varConverted: 0.5 -> 0.75\n"));
    EXPECT_THAT(result.out, HasSubstr("    m_strUserName: \"Leg C\" -> \"Leg Z\"\n"));
    EXPECT_TRUE(result.out.ends_with("\n0 removed, 0 added, 2 changed, 4 the same\n")) << result.out;
}

TEST_F(OktDiff, ByName_CloneWithOneMore_AddedAndListed)
{
    std::string const original = write("a.okt");
    OKTDbObjectId const owner = m_parameters[0]->OwnerId();
    addParameter(owner, 1)->setUserName(u"Leg E", false);
    ProcessResult const result = runOkt({"diff", "--by-name", "--members", original, writeClone("b.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("    m_tabParameters: 4 ids -> 5 ids\n      + "));
    EXPECT_TRUE(result.out.ends_with("\n0 removed, 1 added, 1 changed, 5 the same\n")) << result.out;
}

TEST_F(OktDiff, ByName_ObjectsThatHoldTheSame_StillNothing)
{
    OKTDbObjectId const owner = m_parameters[0]->OwnerId();
    for (int i = 0; i < 20; ++i)
        addParameter(owner, 3);
    for (int i = 0; i < 5; ++i)
        m_pool.appendObject(new OKTDbRelation);
    std::string const original = write("a.okt");
    for (int i = 0; i < 5; ++i)
        expectSame(runOkt({"diff", "--by-name", original, writeClone("b" + std::to_string(i) + ".okt")}));
}

TEST_F(OktDiff, ByName_ExampleTemplatesAndTheirClones_DifferInNothing)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", path("t")}).exitCode, 0);
    for (char const *const name : {"link-d12", "hooked-no4", "mesh-d8"})
    {
        std::string const file = path("t/" + std::string(name) + ".okt");
        OKTDbPool pool;
        ASSERT_TRUE(pool.readFile(CString::FromUtf8(file)));
        pool.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(pool.clone());
        expectSame(runOkt({"diff", "--by-name", file, write(std::string(name) + ".okt", *clone)}));
    }
}

TEST_F(OktDiff, ByName_RandomPoolsAndTheirClones_ObjectsDifferInNothing)
{
    ClientClasses const classes;
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        auto const pool = std::make_unique<OKTDbPool>();
        fillRandomly(*pool, seed, 1.0);
        std::string const original = write("r.okt", *pool);
        pool->setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(pool->clone());
        ProcessResult const result = runOkt({"diff", "--by-name", original, write("s.okt", *clone)});
        // A pool with several constructs names the one that came last, and a clone comes in another order.
        EXPECT_EQ(result.err, "") << seed;
        EXPECT_TRUE(result.exitCode == 0 || result.out.find("\n0 removed, 0 added, 0 changed, ") != std::string::npos) << seed;
        EXPECT_EQ(result.out.find("\n~ OKT"), std::string::npos) << seed;
    }
}

// ---- Trouble, streams, programs ----------------------------------------------------------------------------------------------

TEST_F(OktDiff, Diff_Trouble_ExitCodeTwo)
{
    std::string const file = write("a.okt");
    expectTrouble(runOkt({"diff", file, path("none.okt")}), path("none.okt") + ": there is no such file\n");
    expectTrouble(runOkt({"diff", path("none.okt"), file}), path("none.okt") + ": there is no such file\n");
    expectTrouble(runOkt({"diff", file, put("text.okt", "no pool")}), path("text.okt") + ":byte 0: this is no pool file");
    expectTrouble(runOkt({"diff", file, put("empty.okt", "")}), path("empty.okt") + ": the file is empty\n");
    expectTrouble(runOkt({"diff", file}), "FILE: two files are compared, only one is given");
    expectTrouble(runOkt({"diff", "-", "-"}), "FILE: only one of the two files can be standard input");
    expectTrouble(runOkt({"diff", "--git", file, file}), "--git: git gives 1, 7, 8 or 9 arguments, 2 are given");
    expectTrouble(runOkt({"--module", path("none.so"), "diff", file, file}), path("none.so") + ": there is no such file\n");
}

/// Bytes come first: what the files are does not matter then.
TEST_F(OktDiff, Diff_EqualBytes_TheSameWhateverTheyAre)
{
    std::string const whole = contents(write("a.okt"));
    for (std::string const &bytes : {whole.substr(0, whole.size() / 2), std::string("no pool"), std::string()})
    {
        std::string const first = put("first.okt", bytes);
        std::string const second = put("second.okt", bytes);
        expectSame(runOkt({"diff", first, second}));
        expectSame(runOkt({"diff", first, first}));
        expectSame(runOkt({"diff", "--by-name", "--members", first, second}));
        ProcessResult const json = runOkt({"diff", "--json", first, second});
        EXPECT_EQ(json.exitCode, 0);
        EXPECT_EQ(nlohmann::json::parse(json.out)["same"], true);
    }
    std::string const cut = put("cut.okt", whole.substr(0, whole.size() / 2));
    expectTrouble(runOkt({"diff", path("a.okt"), cut}), cut + ":byte " + std::to_string(whole.size() / 2) + ": the file ends ");
    expectTrouble(runOkt({"diff", cut, path("a.okt")}), cut + ":byte ");
    // Of the same length, and different in the last byte.
    std::string other = whole;
    other.back() = '\x63';
    expectTrouble(runOkt({"diff", path("a.okt"), put("other.okt", other)}), path("other.okt") + ":byte ");
}

TEST_F(OktDiff, Diff_LargeFiles_DifferentInTheLastByteAlone)
{
    std::string bytes(3'000'000, 'x');
    std::string const first = put("first.okt", bytes);
    expectSame(runOkt({"diff", first, put("second.okt", bytes)}));
    bytes.back() = 'y';
    expectTrouble(runOkt({"diff", first, put("second.okt", bytes)}), first + ":byte 0: this is no pool file");
}

TEST_F(OktDiff, Diff_OptionsAndFiles_InAnyOrder)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    std::string const after = write("b.okt");
    for (std::vector<std::string> const &words :
         std::vector<std::vector<std::string>>{{"diff", before, "--members", after},
                                               {"diff", before, after, "--members"},
                                               {"diff", "--members", "--", before, after},
                                               {"diff", "--members", before, "--", after}})
        EXPECT_THAT(runOkt(words).out, HasSubstr("    varConverted: 0.25 -> 0.5\n"));
    EXPECT_THAT(runOkt({"diff", before, "-u", "cm", after}).out, HasSubstr("~ Leg A: 25 cm -> 50 cm\n"));
    expectTrouble(runOkt({"diff", before, after, before}), "FILE: two files are compared, 3 are given");
    expectTrouble(runOkt({"diff", before, "--", after, "--members"}), "FILE: two files are compared, 3 are given");
}

#if !defined(_WIN32) // pipes with names, and a shell that makes them

TEST_F(OktDiff, Diff_NamesThatBeginWithADash_BehindTwoDashes)
{
    write("-a.okt");
    m_parameters[1]->setValue(0.5, 1);
    write("--json");
    ProcessResult const result = runProgram("/bin/sh", {"-c", "cd \"$1\" && \"$0\" diff -- -a.okt --json", OKT_EXE, path("")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, StartsWith("--- -a.okt\n+++ --json\n~ Leg A: 250 mm -> 500 mm\n"));
}

TEST_F(OktDiff, Diff_Pipes_Read)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    std::string const after = write("b.okt");
    auto const inShell = [&](std::string const &script) {
        return runProgram("/bin/bash", {"-c", script, OKT_EXE, before, after});
    };
    char const *const change = "~ Leg A: 250 mm -> 500 mm\n0 removed, 0 added, 1 changed, 5 the same\n";
    expectDifferent(inShell("\"$0\" diff <(cat \"$1\") <(cat \"$2\")"), change);
    expectDifferent(inShell("\"$0\" diff \"$1\" <(cat \"$2\")"), change);
    expectDifferent(inShell("\"$0\" diff <(cat \"$1\") - <\"$2\""), change);
    expectDifferent(inShell("cat \"$1\" | \"$0\" diff /dev/stdin \"$2\""), change);
    expectDifferent(inShell("mkfifo \"$1.pipe\"; cat \"$1\" >\"$1.pipe\" & \"$0\" diff \"$1.pipe\" \"$2\""), change);
    expectSame(inShell("\"$0\" diff <(cat \"$1\") <(cat \"$1\")"));
    expectSame(inShell("\"$0\" diff <(cat \"$1\") \"$1\""));
    expectSame(inShell("\"$0\" diff <(true) <(true)"));
    ProcessResult const json = inShell("\"$0\" diff --json <(cat \"$1\") <(cat \"$1\")");
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(json.out)["unchanged"], 6);
    ProcessResult const empty = inShell("\"$0\" diff <(true) \"$1\"");
    EXPECT_EQ(empty.exitCode, 2);
    EXPECT_THAT(empty.err, HasSubstr(": the file is empty\n"));
}

#endif

TEST_F(OktDiff, Diff_GoldenFilesWithEachOther_NoCrashAndAnAnswer)
{
    std::vector<std::string> files;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
            files.push_back(entry.path().generic_string());
    ASSERT_GT(files.size(), 10u);
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        std::string const &other = files[(i + 1) % files.size()];
        for (char const *const by : {"--by-name", "--json", "--members", "--unit=ft"})
        {
            ProcessResult const self = runOkt({"diff", by, files[i], files[i]});
            ProcessResult const result = runOkt({"diff", by, files[i], other});
            EXPECT_TRUE(self.exitCode == 0 || self.exitCode == 2) << files[i] << self.out;
            EXPECT_TRUE(result.exitCode == 1 || result.exitCode == 2) << files[i] << ' ' << other << result.out;
            EXPECT_EQ(result.exitCode == 2, !result.err.empty()) << files[i];
        }
    }
}

TEST_F(OktDiff, Diff_StandardInput_OneOfTheTwo)
{
    std::string const file = write("a.okt");
    EXPECT_EQ(runOktOn(file, {"diff", "-", file}).exitCode, 0);
    m_parameters[1]->setValue(0.5, 1);
    ProcessResult const result = runOktOn(write("b.okt"), {"diff", file, "-"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("+++ standard input\n"));
}

TEST_F(OktDiff, Json_Changes_AsTheTextFormHasThem)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    ProcessResult const result = runOkt({"diff", "--json", before, write("b.okt")});
    EXPECT_EQ(result.exitCode, 1);
    nlohmann::json const json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["same"], false);
    EXPECT_EQ(json["unchanged"], 5);
    ASSERT_EQ(json["changed"].size(), 1u);
    EXPECT_EQ(json["changed"][0]["after"]["name"], "Leg A");
    EXPECT_EQ(json["changed"][0]["after"]["id"], textOf(m_parameters[1]));
    EXPECT_EQ(json["changed"][0]["members"][0]["before"], (nlohmann::json{{"variant", "VT_R8"}, {"double", 0.25}}));

    ProcessResult const same = runOkt({"diff", "--json", before, before});
    EXPECT_EQ(same.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(same.out)["same"], true);
}

TEST_F(OktDiff, Colours_NoTerminal_None)
{
#if defined(_WIN32)
    SetEnvironmentVariableW(L"TERM", L"xterm");
#else
    setenv("TERM", "xterm", 1);
#endif
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    EXPECT_THAT(runOkt({"diff", before, write("b.okt")}).out, Not(HasSubstr("\x1b")));
}

} // namespace
