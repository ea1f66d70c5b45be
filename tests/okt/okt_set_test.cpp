// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <tools/okt/files/editlock.h>

#include <oktformat/failure.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

class OktSet : public LibraryTest
{
protected:
    /// What a command that must be refused says; no file in "lib" changes.
    std::string refused(std::vector<std::string> arguments, int exitCode = 1) const
    {
        std::map<std::string, std::string> before;
        for (fs::directory_entry const &entry : fs::directory_iterator(pathOf(path("lib"))))
            before[entry.path().string()] = contents(entry.path());
        arguments.insert(arguments.begin(), "set");
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.out;
        EXPECT_EQ(result.out, "");
        std::size_t files = 0;
        for (fs::directory_entry const &entry : fs::directory_iterator(pathOf(path("lib"))))
        {
            EXPECT_EQ(contents(entry.path()), before[entry.path().string()]);
            ++files;
        }
        EXPECT_EQ(files, before.size());
        return shortened(result.err);
    }
};

TEST_F(OktSet, CoverOfAFolder_ThatAndNothingElse)
{
    std::string const link = take("link-d12.okt");
    take("link-d8.okt", "sub/link-d8.okt");
    std::string const before = contents(pathOf(link));
    EXPECT_EQ(shortened(done({"set", path("lib"), "Cover=35 mm", "Steelgrade = B500C"})),
              "lib/link-d12.okt:\n"
              "  Steelgrade: \"B500B\" -> \"B500C\"\n"
              "  Cover: 30 mm -> 35 mm\n"
              "lib/sub/link-d8.okt:\n"
              "  Steelgrade: \"B500B\" -> \"B500C\"\n"
              "  Cover: 30 mm -> 35 mm\n"
              "2 templates: 2 changed\n");
    EXPECT_EQ(done({"get", link, "Cover"}), "35 mm\n");
    std::string const after = contents(pathOf(link));
    ASSERT_EQ(after.size(), before.size());
    std::size_t differing = 0;
    for (std::size_t i = 0; i < after.size(); ++i)
        differing += after[i] != before[i] ? 1 : 0;
    EXPECT_LE(differing, 9u); // eight bytes of a number, one letter
    EXPECT_EQ(done({"verify", link}).substr(done({"verify", link}).find(": ")), ": 32 objects, 0 errors, 0 warnings\n");
    EXPECT_EQ(shortened(done({"set", path("lib"), "Cover=3.5 cm"})), "lib/link-d12.okt: is so already\n"
                                                                     "lib/sub/link-d8.okt: is so already\n"
                                                                     "2 templates: 0 changed, 2 so already\n");
}

TEST_F(OktSet, Expressions_CalculatedInTheirOrderAndPictureDrawn)
{
    std::string const link = take("link-d12.okt");
    EXPECT_EQ(shortened(done({"set", link, "Leg A=430 mm"})), "lib/link-d12.okt:\n"
                                                              "  Leg A: 400 mm -> 430 mm\n"
                                                              "  Cutting length: 1492 mm -> 1552 mm, calculated\n"
                                                              "  picture: drawn anew\n"
                                                              "1 template: 1 changed\n");
    EXPECT_EQ(done({"lint", link}), ""); // the picture is that of the new values
    EXPECT_EQ(shortened(done({"set", link, "Spacing A=0.2 m", "-q"})), "1 template: 1 changed\n");
    EXPECT_THAT(shortened(done({"set", link, "Spacing A=150 mm"})),
                HasSubstr("  Quantity expression: left as it was: it has no expression\n"));
}

TEST_F(OktSet, OtherPicture_KeptAndNamed)
{
    std::string const file = path("lib/pictures.okt");
    fs::create_directories(pathOf(path("lib")));
    fs::copy_file(golden("stirrup.okt"), pathOf(file));
    ProcessResult const result = runOkt({"set", file, "Hook length 1=130 mm"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(done({"get", file, "Hook length 1"}), "130 mm\n");
}

TEST_F(OktSet, Where_OnlyThoseThatFulfilIt)
{
    take("link-d12.okt");
    take("link-d16.okt");
    take("hooked-d20.okt");
    EXPECT_EQ(shortened(done({"set", path("lib"), "--where", "Diameter>=16 mm and \"Shape code\"=51", "Cover=40 mm"})),
              "lib/link-d16.okt:\n"
              "  Cover: 30 mm -> 40 mm\n"
              "1 template: 1 changed\n");
    EXPECT_EQ(refused({path("lib"), "--where", "Diameter>50 mm", "Cover=40 mm"}),
              "okt: no template fulfils \"Diameter>50 mm\": nothing is changed\n");
    EXPECT_EQ(refused({path("lib"), "--where", "Diameter>", "Cover=40 mm"}, 2),
              "okt: --where: column 10: a value is missing behind the comparison; see \"okt set --help\"\n");
    // As a script has it whose variable is empty: it means no template, and not all of them.
    EXPECT_EQ(refused({path("lib"), "--where", "", "Cover=40 mm"}, 2),
              "okt: --where: the condition is empty; see \"okt set --help\"\n");
    EXPECT_EQ(refused({path("lib"), "--where", " ", "Cover=40 mm"}, 2),
              "okt: --where: the condition is empty; see \"okt set --help\"\n");
    EXPECT_EQ(refused({path("lib"), "--where", "Number>3 mm", "Cover=40 mm"}),
              "okt: lib/hooked-d20.okt: --where, column 8: \"Number\" is a plain number, and \"3 mm\" is none\n"
              "okt: lib/link-d12.okt: --where, column 8: \"Number\" is a plain number, and \"3 mm\" is none\n"
              "okt: lib/link-d16.okt: --where, column 8: \"Number\" is a plain number, and \"3 mm\" is none\n"
              "okt: nothing is changed\n");
}

TEST_F(OktSet, WrongValues_RefusedBeforeAnythingIsWritten)
{
    std::string const link = take("link-d12.okt");
    std::string const first = "okt: lib/link-d12.okt: ";
    std::string const last = "\nokt: nothing is changed\n";
    EXPECT_EQ(refused({link, "Cover=35"}), first + "\"Cover\": a length needs its unit, such as \"35 mm\"" + last);
    EXPECT_EQ(refused({link, "Cover=35 kg"}),
              first + "\"Cover\": \"kg\" is no unit of length; there are mm, cm, m, in, ft" + last);
    EXPECT_EQ(refused({link, "Number=x"}), first + "\"Number\": a number is wanted, and \"x\" is none" + last);
    EXPECT_EQ(refused({link, "Steelgrade=B500C", "Hook 1=maybe"}),
              first + "\"Hook 1\": true or false is wanted, and \"maybe\" is neither" + last);
    EXPECT_EQ(refused({link, "Covre=35 mm"}), first + "there is no parameter \"Covre\"" + last);
    EXPECT_EQ(refused({link, "type:54=35 mm"}),
              first + "\"type:54\" stands there 4 times; an id tells which one is meant" + last);
    EXPECT_EQ(refused({link, "Cover=35 mm", "type:6=40 mm"}), first + "\"type:6\": it is given twice" + last);
    EXPECT_EQ(refused({link, "none.okt", "Cover=35 mm"}), "okt: none.okt: there is no such file" + last);
    EXPECT_EQ(refused({link}, 2), "okt: NAME=VALUE is missing; see \"okt set --help\"\n");
    EXPECT_EQ(refused({"Cover=35 mm"}, 2), "okt: FILE is missing; see \"okt set --help\"\n");
    EXPECT_EQ(refused({link, "--value", "Cover"}, 2), "okt: --value: \"Cover\" is no NAME=VALUE; see \"okt set --help\"\n");
    EXPECT_EQ(refused({golden("truncated.okt"), link, "Cover=35 mm"}),
              "okt: " + golden("truncated.okt") +
                  ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358" + last);
    EXPECT_EQ(done({"set", link, "Cover=35", "--unit", "mm", "-q"}), "1 template: 1 changed\n");
}

TEST_F(OktSet, DiameterThatTellsAnotherUnit_Refused)
{
    std::string const bar = take("bar-records-1.okt");
    EXPECT_EQ(refused({bar, "Diameter=2.5 mm"}),
              "okt: lib/bar-records-1.okt: with these values the template would be read as one in in, and it is one in mm\n"
              "okt: nothing is changed\n");
    done({"set", bar, "Diameter=0 mm"});
    EXPECT_EQ(done({"get", bar, "Diameter"}), "0 mm\n");
    done({"set", bar, "Diameter=16 mm"});
    EXPECT_EQ(done({"get", bar, "Diameter"}), "16 mm\n");
    EXPECT_EQ(done({"get", bar, "Diameter", "--unit", "in"}), "0.629921259843 in\n");
}

TEST_F(OktSet, FiguresThatNobodyDraws_PictureKeptAtOnce)
{
    std::string const kept = ": kept, and perhaps out of date: okt does not draw such a template\n";
    std::string const link = take("link-d12.okt");
    EXPECT_THAT(done({"set", link, "Quantity expression=2000000000x1 mm"}), HasSubstr(kept));
    EXPECT_THAT(done({"set", take("link-d16.okt"), "Hook angle 1=1000000000"}), HasSubstr(kept));
    EXPECT_THAT(done({"set", take("hooked-d8.okt"), "Hook angle 2=-1000000000"}), HasSubstr(kept));
    EXPECT_THAT(done({"set", take("mesh-d6.okt"), "Number A=2000000000"}), HasSubstr(kept));
    EXPECT_THAT(done({"set", take("bar-records-1.okt"), "Bend 1=1000000000"}), HasSubstr(kept));
    EXPECT_THAT(done({"set", link, "Diameter=14 mm"}), HasSubstr("Diameter: 12 mm -> 14 mm\n")) << "from there on, too";
    runOkt({"lint", "--pictures", path("lib")});
}

TEST_F(OktSet, DryRun_DiffAndNothingWritten)
{
    std::string const link = take("link-d12.okt");
    std::string const before = contents(pathOf(link));
    std::string const out = shortened(done({"set", link, "Leg A=430 mm", "--dry-run"}));
    EXPECT_THAT(out, HasSubstr("lib/link-d12.okt:\n  Leg A: 400 mm -> 430 mm\n"));
    EXPECT_THAT(out, HasSubstr("--- lib/link-d12.okt\n+++ lib/link-d12.okt\n"));
    EXPECT_THAT(out, HasSubstr("Leg A: 400 mm -> 430 mm\n"));
    EXPECT_TRUE(out.ends_with("1 template: 1 would change\n")) << out;
    EXPECT_EQ(contents(pathOf(link)), before);
}

TEST_F(OktSet, Backup_TheFileAsItWas)
{
    std::string const link = take("link-d12.okt");
    std::string const before = contents(pathOf(link));
    done({"set", link, "Cover=35 mm", "--backup"});
    EXPECT_EQ(contents(pathOf(link + ".bak")), before);
    EXPECT_NE(contents(pathOf(link)), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(pathOf(path("lib"))), {}), 2); // no lock, nothing half-written
}

TEST_F(OktSet, BackupOfAFileThatCannotBeWritten_TheOlderStays)
{
    std::string const link = take("link-d12.okt");
    std::string const before = contents(pathOf(link));
    done({"set", link, "Cover=35 mm", "--backup"});
    done({"set", link, "Cover=36 mm"});
    fs::permissions(pathOf(link), fs::perms::owner_read);
    ProcessResult const result = runOkt({"set", link, "Cover=37 mm", "--backup", "-q"});
    EXPECT_EQ(shortened(result.err), "okt: lib/link-d12.okt: the file is write-protected\n");
    fs::permissions(pathOf(link), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(contents(pathOf(link + ".bak")), before);
}

TEST_F(OktSet, Json_WhatChanged)
{
    std::string const link = take("link-d12.okt");
    std::string const json = shortened(done({"set", link, "Cover=35 mm", "--json"}));
    EXPECT_EQ(json.substr(0, 67), "{\"file\":\"lib/link-d12.okt\",\"state\":\"changed\",\"values\":[{\"name\":\"Cov");
    EXPECT_THAT(json, HasSubstr("\"before\":30.0,\"after\":35.0,\"unit\":\"mm\",\"calculated\":false}],\"left\":[],"
                                "\"picture\":\"same\"}\n"));
}

TEST_F(OktSet, TwoAtOnce_NeitherChangeIsLost)
{
    std::string const link = take("link-d12.okt");
    {
        okt::EditLock const lock(pathOf(link)); // as another run holds it
        ProcessResult const result = runOkt({"set", link, "Cover=35 mm"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(shortened(result.err), "okt: lib/link-d12.okt: another okt is changing the file\n");
        EXPECT_EQ(shortened(result.out), "1 template: 0 changed, 1 not changed\n");
        EXPECT_THROW(okt::EditLock(pathOf(link)), okt::Failure);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(pathOf(path("lib"))), {}), 1);

    // Each of two sets another value; one that is refused is tried again.
    auto const insist = [&link](std::string const &name) {
        for (int value = 50; value < 56; ++value)
            for (int i = 0; i < 500 && runOkt({"set", link, name + "=" + std::to_string(value) + " mm"}).exitCode != 0; ++i)
                ;
    };
    std::thread other(insist, "Cover");
    insist("Spacing A");
    other.join();
    EXPECT_EQ(done({"get", link, "Cover"}), "55 mm\n");
    EXPECT_EQ(done({"get", link, "Spacing A"}), "55 mm\n");
}

TEST_F(OktSet, LockLeftByACrash_IsNone)
{
    std::string const link = take("link-d12.okt");
    std::ofstream(pathOf(path("lib/.link-d12.okt.okt-lock"))) << "left";
    EXPECT_EQ(done({"set", link, "Cover=35 mm", "-q"}), "1 template: 1 changed\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(pathOf(path("lib"))), {}), 1);
}

TEST_F(OktSet, OneThatCannotBeWritten_NamedAndTheOthersChanged)
{
    std::string const a = take("link-d12.okt", "a.okt");
    std::string const b = take("link-d12.okt", "b.okt");
    std::string const before = contents(pathOf(a));
    fs::permissions(pathOf(a), fs::perms::owner_read);
    ProcessResult const result = runOkt({"set", a, b, "Cover=35 mm"});
    fs::permissions(pathOf(a), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(shortened(result.err), "okt: lib/a.okt: the file is write-protected\n");
    EXPECT_EQ(shortened(result.out), "lib/b.okt:\n  Cover: 30 mm -> 35 mm\n2 templates: 1 changed, 1 not changed\n");
    EXPECT_EQ(contents(pathOf(a)), before);
    EXPECT_EQ(done({"get", b, "Cover"}), "35 mm\n");
}

TEST_F(OktSet, DryRunOfAPicture_ToldAsItWouldBe)
{
    std::string const link = take("link-d12.okt");
    EXPECT_THAT(done({"set", link, "Leg A=430 mm", "--dry-run"}), HasSubstr("  picture: drawn anew\n"));
    EXPECT_THAT(done({"set", link, "Leg A=430 mm", "--json"}), HasSubstr("\"picture\":\"drawn\"}\n"));
    EXPECT_THAT(done({"set", link, "Cover=35 mm", "--dry-run", "--json"}), HasSubstr("\"picture\":\"same\"}\n"));
}

TEST_F(OktSet, JsonOfAFileThatCannotBeChanged_Failed)
{
    std::string const link = take("link-d12.okt");
    okt::EditLock const lock(pathOf(link));
    ProcessResult const result = runOkt({"set", link, "Cover=35 mm", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(shortened(result.out), "{\"file\":\"lib/link-d12.okt\",\"state\":\"failed\",\"values\":[],\"left\":[]}\n");
    EXPECT_EQ(shortened(result.err), "okt: lib/link-d12.okt: another okt is changing the file\n");
}

TEST_F(OktSet, FileNamedTwice_ChangedOnce)
{
    std::string const link = take("link-d12.okt");
    EXPECT_EQ(done({"set", link, path("lib/../lib/link-d12.okt"), "Cover=35 mm", "-q"}), "1 template: 1 changed\n");
}

class OktFindWhere : public LibraryTest
{
};

TEST_F(OktFindWhere, FilesThatFulfilACondition)
{
    take("link-d12.okt");
    take("link-d8.okt");
    take("mesh-d8.okt");
    EXPECT_EQ(shortened(done({"find", "--where", "\"Shape code\"=51 and Diameter<=8 mm", path("lib")})), "lib/link-d8.okt\n");
    EXPECT_EQ(shortened(done({"find", "--where", "Cover>=1", "--unit", "cm", path("lib"), "--json"})),
              "{\"file\":\"lib/link-d8.okt\"}\n{\"file\":\"lib/link-d12.okt\"}\n{\"file\":\"lib/mesh-d8.okt\"}\n");
    EXPECT_EQ(done({"find", "--where", "Steelgrade and not Width", path("lib"), "-q"}), "2 of 3 files\n");
    ProcessResult const none = runOkt({"find", "--where", "Cover<30 mm", path("lib")});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "okt: no template fulfils \"Cover<30 mm\"\n");
    EXPECT_EQ(runOkt({"find", "--where", "Cover<30 mm", path("lib"), "none.okt"}).exitCode, 2);
    EXPECT_EQ(runOkt({"find", "--where", "Cover<", path("lib")}).err,
              "okt: --where: column 7: a value is missing behind the comparison; see \"okt find --help\"\n");
    EXPECT_EQ(runOkt({"find", "--where", "Cover", "--name", path("lib")}).exitCode, 2);
}

TEST_F(OktFindWhere, PatternAsJson)
{
    EXPECT_EQ(
        done({"find", "hook length*", golden("stirrup.okt"), "--name", "--json"}),
        "{\"file\":\"" + golden("stirrup.okt") +
            "\",\"offset\":2284,\"class\":\"OKTDbParameter\",\"id\":\"{9B38EB57-18BC-4FFE-8B5E-E30D431643D5}\",\"name\":\"Hook "
            "length 1\",\"match\":\"name\",\"text\":\"Hook length 1\"}\n");
}

} // namespace
