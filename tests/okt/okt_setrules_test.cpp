// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

/// What okt set does with expressions, pictures and files that no template of the examples has.
class OktSetRules : public LibraryTest
{
protected:
    /// The expression of the parameter that has none and this name.
    static std::string expressionOf(std::string const &json, std::string const &name)
    {
        std::size_t const begin = json.find("\"m_strUserName\", \"string16\": \"" + name + "\"");
        std::size_t const end = json.find("\"m_strExpression\", \"string16\": \"\"", begin);
        return json.substr(begin, end - begin) + "\"m_strExpression\", \"string16\": \"";
    }

    /// A copy of the link of 12 mm with expressions for some of its parameters.
    std::string takeExpressions(std::string const &as, std::vector<std::pair<std::string, std::string>> const &expressions)
    {
        std::string const file = take("link-d12.okt", as);
        std::string text = done({"export", file});
        for (auto const &[name, expression] : expressions)
        {
            std::string const part = expressionOf(text, name);
            std::size_t const at = text.find(part);
            text.replace(at, part.size(), part + expression);
        }
        done({"import", put("text.json", text), "-o", file, "--force"});
        return file;
    }
};

TEST_F(OktSetRules, Cycle_RefusedWithItsNamesAndNothingWritten)
{
    std::string const file = takeExpressions("cycle.okt", {{"Leg A", "LegB*1.6"}, {"Leg B", "LegC+90"}, {"Leg C", "LegA-240"}});
    std::string const other = take("link-d8.okt");
    EXPECT_EQ(done({"set", file, "Leg A=400 mm", "Leg B=260 mm", "-q"}), "1 template: 1 changed\n")
        << "a value that is given opens the circle";
    std::string const again =
        takeExpressions("again.okt", {{"Leg A", "LegB*1.6"}, {"Leg B", "LegC+90+0*Cover"}, {"Leg C", "LegA-240"}});
    std::string const old = contents(pathOf(again));
    std::string const otherOld = contents(pathOf(other));
    ProcessResult const refused = runOkt({"set", other, again, "Cover=35 mm"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_THAT(
        shortened(refused.err),
        testing::AnyOf(testing::StartsWith("okt: lib/again.okt: the expressions go round in a circle: \"Leg A\" -> \"Leg B\" "
                                           "-> \"Leg C\" -> \"Leg A\"\n"),
                       testing::StartsWith("okt: lib/again.okt: the expressions go round in a circle: \"Leg B\" -> \"Leg C\" "
                                           "-> \"Leg A\" -> \"Leg B\"\n"),
                       testing::StartsWith("okt: lib/again.okt: the expressions go round in a circle: \"Leg C\" -> \"Leg A\" "
                                           "-> \"Leg B\" -> \"Leg C\"\n")));
    EXPECT_THAT(refused.err, testing::EndsWith("okt: nothing is changed\n"));
    EXPECT_EQ(contents(pathOf(again)), old);
    EXPECT_EQ(contents(pathOf(other)), otherOld);
}

/// Each is calculated behind what it depends on, wherever they stand in the file.
TEST_F(OktSetRules, Chain_CalculatedInTheOrderOfDependence)
{
    std::string const file = takeExpressions("chain.okt", {{"Leg A", "LegB+150"}, {"Leg B", "LegC+90"}});
    EXPECT_EQ(shortened(done({"set", file, "Leg C=200 mm"})), "lib/chain.okt:\n"
                                                              "  Leg C: 160 mm -> 200 mm\n"
                                                              "  Leg B: 250 mm -> 290 mm, calculated\n"
                                                              "  Leg A: 400 mm -> 440 mm, calculated\n"
                                                              "  Cutting length: 1492 mm -> 1652 mm, calculated\n"
                                                              "  picture: drawn anew\n"
                                                              "1 template: 1 changed\n");
}

TEST_F(OktSetRules, WhatCannotBeCalculated_LeftAndListed)
{
    std::string const file = takeExpressions(
        "left.okt", {{"Leg A", "LegB+150+0*Nowhere"}, {"Leg C", "LegB+"}, {"Spacing A", "LegB"}, {"Hook length 1", "LegB-90"}});
    std::string const out = shortened(done({"set", file, "Leg B=260 mm"}));
    EXPECT_THAT(out, HasSubstr("  Leg A: left as it was: its expression names Nowhere, which is not there\n"));
    EXPECT_THAT(out, HasSubstr("  Leg C: left as it was: its expression cannot be read: the formula ends too early\n"));
    EXPECT_THAT(out, HasSubstr("  Spacing A: left as it was: its value was not what its expression gives\n"));
    EXPECT_THAT(out, HasSubstr("  Hook length 1: 160 mm -> 170 mm, calculated\n"));
    EXPECT_EQ(done({"get", file, "Leg A"}), "400 mm\n");
    EXPECT_THAT(done({"set", file, "Leg B=270 mm", "--json"}), HasSubstr("{\"name\":\"Leg A\","));
}

/// A picture that another program made stays to the byte, and is told.
TEST_F(OktSetRules, PictureOfSomebodyElse_KeptAndNamedOutOfDate)
{
    std::string const file = take("link-d12.okt", "own.okt");
    done({"export", file, "-o", path("own.json"), "--pictures", path("pictures")});
    std::vector<std::string> pictures;
    for (fs::directory_entry const &entry : fs::directory_iterator(pathOf(path("pictures"))))
        pictures.push_back(entry.path().string());
    ASSERT_EQ(pictures.size(), 1u);
    done({"picture", take("mesh-d8.okt"), "-o", pictures.front(), "--force"});
    done({"import", path("own.json"), "--pictures", path("pictures"), "-o", file, "--force"});
    std::string const picture = contents(pathOf(pictures.front()));
    EXPECT_THAT(done({"set", file, "Leg A=430 mm"}), HasSubstr("}: kept, and out of date: it is not the one that okt draws\n"));
    done({"picture", file, "-o", path("after.png")});
    EXPECT_EQ(contents(pathOf(path("after.png"))), picture);
    EXPECT_THAT(done({"set", file, "Leg A=440 mm", "--json"}), HasSubstr("\"picture\":\"out of date\""));
    EXPECT_THAT(done({"set", file, "Cover=35 mm", "--json"}), HasSubstr("\"picture\":\"same\"")) << "it does not show";
}

/// What --backup leaves is no template of the folder: it stays when the next rule is set.
TEST_F(OktSetRules, BackupInAFolder_NotMeantWithIt)
{
    std::string const file = take("link-d12.okt");
    std::string const old = contents(pathOf(file));
    done({"set", path("lib"), "Cover=35 mm", "--backup"});
    EXPECT_EQ(done({"set", path("lib"), "Cover=40 mm", "-q"}), "1 template: 1 changed\n");
    EXPECT_EQ(contents(pathOf(file + ".bak")), old);
    EXPECT_EQ(done({"find", "--where", "Cover=30 mm", file + ".bak"}), file + ".bak\n") << "named itself it is taken";
    fs::copy_file(pathOf(file), pathOf(path("lib/.link-d8.okt.saving.part")));
    EXPECT_EQ(done({"table", "-q", "Cover", path("lib")}), "1 template, 0 empty fields\n");
}

/// Forty files of which some cannot be written: each is old or new, and which is told.
TEST_F(OktSetRules, FortyFiles_EachOldOrNewAndTold)
{
    std::map<std::string, std::string> old;
    for (int i = 0; i < 40; ++i)
    {
        std::string const file = take("link-d12.okt", "f" + std::to_string(i) + ".okt");
        old[file] = contents(pathOf(file));
        if (i % 10 == 3)
            fs::permissions(pathOf(file), fs::perms::owner_read);
    }
    ProcessResult const result = runOkt({"set", path("lib"), "Cover=35 mm"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, testing::EndsWith("40 templates: 36 changed, 4 not changed\n"));
    std::string const made = contents(pathOf(path("lib/f0.okt")));
    for (auto const &[file, bytes] : old)
    {
        bool const isOld = contents(pathOf(file)) == bytes;
        EXPECT_TRUE(isOld || contents(pathOf(file)) == made) << file;
        EXPECT_EQ(result.err.find("okt: " + file + ": the file is write-protected\n") != std::string::npos, isOld) << file;
        EXPECT_EQ(result.out.find(file + ":\n  Cover: 30 mm -> 35 mm\n") != std::string::npos, !isOld) << file;
        fs::permissions(pathOf(file), fs::perms::owner_read | fs::perms::owner_write);
    }
}

#if !defined(_WIN32) // a shell kills it

/// Killed in the midst of its files each is old or new, and the next run does the rest.
TEST_F(OktSetRules, Killed_EachFileOldOrNewAndTheNextRunGoesOn)
{
    std::vector<std::string> files;
    for (int i = 0; i < 20; ++i)
        files.push_back(take("link-d12.okt", "f" + std::to_string(i) + ".okt"));
    std::string const old = contents(pathOf(files.front()));
    std::string const model = take("link-d12.okt", "../model.okt");
    done({"set", model, "Cover=35 mm", "-q"});
    std::string const made = contents(pathOf(model));
    std::set<std::size_t> counts;
    for (int turn = 0; turn < 8; ++turn)
    {
        for (std::string const &file : files)
            put("lib/" + pathOf(file).filename().string(), old);
        // Killed as soon as so many files are new.
        std::string const script =
            ": >\"$1/../out\"; \"$0\" set \"$1\" 'Cover=35 mm' >\"$1/../out\" & pid=$!; while kill -0 $pid 2>/dev/null && "
            "[ $(grep -c Cover \"$1/../out\") -lt " +
            std::to_string(2 * turn + 1) + " ]; do :; done; kill -9 $pid 2>/dev/null; wait $pid; true";
        runProgram("/bin/sh", {"-c", script, OKT_EXE, path("lib")});
        std::size_t changed = 0;
        for (std::string const &file : files)
        {
            std::string const bytes = contents(pathOf(file));
            EXPECT_TRUE(bytes == old || bytes == made) << file;
            changed += bytes == made ? 1 : 0;
        }
        counts.insert(changed);
        ProcessResult const next = runOkt({"set", path("lib"), "Cover=35 mm", "-q"});
        EXPECT_EQ(next.exitCode, 0) << next.err;
        EXPECT_EQ(next.out, "20 templates: " + std::to_string(20 - changed) + " changed" +
                                (changed == 0 ? "" : ", " + std::to_string(changed) + " so already") + "\n");
        for (std::string const &file : files)
            EXPECT_EQ(contents(pathOf(file)), made) << file;
    }
    EXPECT_GT(counts.size(), 1u);
}

#endif

/// Bytes of an object whose class nobody knows here, and all others.
TEST_F(OktSetRules, UnknownClass_OnlyTheBytesOfTheValueDiffer)
{
    std::string const file = path("x.okt");
    fs::copy_file(golden("unknown-class.okt"), pathOf(file));
    std::string const before = contents(pathOf(file));
    ASSERT_NE(before.find("OKTDbNobody"), std::string::npos);
    done({"set", file, "type:37=1.25 m", "-q"});
    std::string const after = contents(pathOf(file));
    ASSERT_EQ(after.size(), before.size());
    std::size_t first = before.size();
    std::size_t last = 0;
    for (std::size_t i = 0; i < before.size(); ++i)
        if (before[i] != after[i])
        {
            first = std::min(first, i);
            last = i;
        }
    EXPECT_LT(last - first, 8u);
}

} // namespace
