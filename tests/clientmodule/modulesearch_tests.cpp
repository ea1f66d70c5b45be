// SPDX-License-Identifier: MIT
#include "support/countof.h"
#include "support/files.h"
#include "support/process.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

// How okt finds client modules that nobody named.

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

#if defined(_WIN32)
constexpr char kSeparator[] = ";";
constexpr char kEnding[] = ".dll";
#else
constexpr char kSeparator[] = ":";
constexpr char kEnding[] = ".so";
#endif

std::string lib(char const *name) { return name + std::string(kEnding); }

class OktModuleSearch : public FolderTest
{
protected:
    OktModuleSearch()
    {
        EXPECT_EQ(runProgram(OKT_BARMARKTOOL1, {"write", path("bars.okt")}).exitCode, 0);
        bars = path("bars.okt");
        modulePath("");
    }
    ~OktModuleSearch() override { modulePath(""); }

    static void modulePath(std::string const &folders)
    {
#if defined(_WIN32)
        _putenv_s("OKT_MODULE_PATH", folders.c_str());
#else
        setenv("OKT_MODULE_PATH", folders.c_str(), 1);
#endif
    }

    /// A folder with copies of modules under these names.
    std::string folder(std::string const &name, std::vector<std::pair<std::string, std::string>> const &modules) const
    {
        fs::create_directories(path(name));
        for (auto const &[module, file] : modules)
            fs::copy_file(module, path(name + "/" + file));
        return path(name);
    }

    /// The templates of the demo, which have a construct and an index.
    std::string templates() const
    {
        EXPECT_EQ(runOkt({"--module", OKT_EXAMPLE_MODULE, "build", OKT_EXAMPLES_DIR "/data", "-o", path("templates")}).exitCode,
                  0);
        return path("templates");
    }

    static std::string out(std::vector<std::string> const &arguments)
    {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.err, "") << testing::PrintToString(arguments);
        return result.out;
    }

    /// "  Module          FILE: BarMark", in the head of what okt show prints.
    static std::string moduleLine(std::string const &file) { return "\n  Module          " + file + ": BarMark\n"; }
    static std::string needs(std::string const &why)
    {
        return "\n\nClasses that need a client module\n  BarMark, 1 object: " + why + "\n";
    }

    std::string bars;
};

// ---- The folder that belongs to okt -----------------------------------------------------------------------------------------

TEST_F(OktModuleSearch, OwnFolder_TemplatesOfTheDemo_OpenWithNothingNamed)
{
    std::string const folder = templates();
    std::string const link = folder + "/link-d12.okt";
    std::string const module = ownModule() + ": OKTDbConstruct, OKTDbIndexData";
    std::string const shown = out({"show", link});
    EXPECT_THAT(shown, HasSubstr("\n  Module          " + module + "\n"));
    EXPECT_THAT(shown, Not(HasSubstr("client module")));
    EXPECT_THAT(out({"show", "--index", link}),
                HasSubstr("    m_strUnit             \"mm\"\n  Module          " + ownModule() + ": OKTDbIndexData\n"));
    EXPECT_THAT(out({"show", "--preview", link}), Not(HasSubstr("Module")));
    std::string const tree = out({"tree", "--ascii", link});
    EXPECT_THAT(tree, HasSubstr("\n`- Client modules\n   `- " + module + "\n"));
    std::string const listed = out({"ls", link});

    std::vector<std::string> report = {"report", "-o", path("report.html")};
    for (fs::directory_entry const &entry : fs::directory_iterator(folder))
        report.push_back(entry.path().generic_string());
    ASSERT_EQ(report.size(), 51u);
    EXPECT_EQ(out(report), "");
    std::string const page = contents(path("report.html"));
    EXPECT_EQ(countOf("<dt>Module</dt><dd>" OKT_EXAMPLE_MODULE_NAME
                      " from okt&#39;s own modules: OKTDbConstruct, OKTDbIndexData</dd>",
                      page),
              48u);
    EXPECT_EQ(countOf("<th scope=\"row\">m_strTitle</th>", page), 48u) << "the members of the index";
    EXPECT_EQ(countOf("client module", page), 0u);
    EXPECT_EQ(countOf("fault", page), countOf("Default", page) + countOf("default", page)) << "the style included";
    for (std::string const &text : {shown, tree, listed})
        EXPECT_EQ(countOf("fault", text) + countOf("Fault", text), 0u);
}

// ---- OKT_MODULE_PATH --------------------------------------------------------------------------------------------------------

TEST_F(OktModuleSearch, Variable_FolderWithTheModule_FoundAndTold)
{
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("anything")}});
    EXPECT_THAT(out({"show", bars}),
                HasSubstr(needs("no module that okt finds names it; --module FILE gives one, okt modules tells "
                                "where okt looks")));
    modulePath(mods);
    std::string const shown = out({"show", bars});
    EXPECT_THAT(shown, HasSubstr(moduleLine(mods + "/" + lib("anything"))));
    EXPECT_THAT(shown, Not(HasSubstr("client module")));
    EXPECT_THAT(out({"tree", "--ascii", bars}),
                HasSubstr("\n`- Client modules\n   `- " + mods + "/" + lib("anything") + ": BarMark\n"));
    EXPECT_THAT(out({"report", bars, "-o", "-"}),
                HasSubstr("<dt>Module</dt><dd>" + lib("anything") + " from OKT_MODULE_PATH: BarMark</dd>"));
    EXPECT_THAT(out({"--module", OKT_BARMARK1, "show", bars}), Not(HasSubstr("Module  ")));
}

TEST_F(OktModuleSearch, Variable_SeveralModules_FirstFolderThenFirstName)
{
    std::string const first = folder("first", {{OKT_BARMARK2, lib("b")}, {OKT_BARMARK1, lib("c")}, {OKT_NO_MODULE, lib("a")}});
    std::string const second = folder("second", {{OKT_BARMARK1, lib("a")}});
    std::string const none = folder("none", {});
    modulePath(path("missing") + kSeparator + none + kSeparator + first + kSeparator + second);
    EXPECT_THAT(out({"show", bars}), HasSubstr(moduleLine(first + "/" + lib("b"))));
    modulePath(second + kSeparator + kSeparator + first + kSeparator);
    EXPECT_THAT(out({"show", bars}), HasSubstr(moduleLine(second + "/" + lib("a"))));
}

TEST_F(OktModuleSearch, NoModules_NothingIsLoaded_TheOneThatHelpsIsTold)
{
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("bars")}});
    modulePath(mods);
    for (std::vector<std::string> const &arguments :
         std::vector<std::vector<std::string>>{{"--no-modules", "show", bars}, {"show", bars, "--no-modules"}})
        EXPECT_THAT(out(arguments), HasSubstr(needs(mods + "/" + lib("bars") + " names it, which --no-modules leaves out")));
    EXPECT_THAT(out({"--no-modules", "--module", OKT_BARMARK1, "show", bars}), Not(HasSubstr("client module")));
    EXPECT_THAT(out({"report", bars, "-o", "-", "--no-modules"}),
                HasSubstr("<dt>Needs a client module</dt><dd>BarMark, 1 object: " + lib("bars") +
                          " from OKT_MODULE_PATH names it, which --no-modules leaves out</dd>"));
}

TEST_F(OktModuleSearch, Refused_RelativeFolder_NotLookedInto)
{
    fs::path const before = fs::current_path();
    folder("mods", {{OKT_BARMARK1, lib("bars")}});
    fs::current_path(path(""));
    modulePath(std::string("mods") + kSeparator + ".");
    std::string const shown = out({"show", bars});
    std::string const listed = out({"modules"});
    fs::current_path(before);
    EXPECT_THAT(shown, HasSubstr(needs(
                           "no module that okt finds names it; --module FILE gives one, okt modules tells where okt looks")));
    EXPECT_TRUE(listed.starts_with("mods, from OKT_MODULE_PATH: not looked into: the path is not absolute\n"
                                   "., from OKT_MODULE_PATH: not looked into: the path is not absolute\n"))
        << listed;
}

#if !defined(_WIN32) // where the system tells in a number who may write
TEST_F(OktModuleSearch, Refused_WhatEverybodyMayChange)
{
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("bars")}});
    modulePath(mods);
    fs::permissions(mods, fs::perms::others_write, fs::perm_options::add);
    EXPECT_THAT(out({"show", bars}),
                HasSubstr(needs("no module that okt finds names it; --module FILE gives one, okt modules tells "
                                "where okt looks")));
    EXPECT_TRUE(out({"modules"}).starts_with(mods + ", from OKT_MODULE_PATH: not looked into: everybody may write there\n"));
    fs::permissions(mods, fs::perms::others_write, fs::perm_options::remove);
    fs::permissions(mods + "/bars.so", fs::perms::others_write, fs::perm_options::add);
    EXPECT_THAT(out({"show", bars}), HasSubstr(needs(mods + "/bars.so names it: everybody may write to the file")));
    EXPECT_TRUE(
        out({"modules"}).starts_with(mods + ", from OKT_MODULE_PATH\n  bars.so: not used: everybody may write to the file\n"));
}

TEST_F(OktModuleSearch, Unusable_InformationAndTheNextIsTaken)
{
    std::string const mods = folder("mods", {{OKT_NO_MODULE, "b.so"}});
    put("mods/a.so", std::string("text of BarMark\0", 16));
    std::string noModule = contents(mods + "/b.so");
    put("mods/b.so", noModule + std::string("BarMark\0", 8)); // names the class, brings none
    modulePath(mods);
    EXPECT_THAT(out({"show", bars}), HasSubstr(needs(mods + "/a.so names it: the module cannot be loaded: file too short")));
    EXPECT_TRUE(out({"modules"})
                    .starts_with(mods + ", from OKT_MODULE_PATH\n"
                                        "  a.so: not used: the module cannot be loaded: file too short\n"
                                        "  b.so: not used: this is no client module: it registers no class\n"));
    EXPECT_THAT(
        out({"report", bars, "-o", "-"}),
        HasSubstr("<dt>Needs a client module</dt><dd>BarMark, 1 object: a.so from OKT_MODULE_PATH names it, and cannot be "
                  "used</dd>"));
    fs::remove(mods + "/a.so");
    EXPECT_THAT(out({"show", bars}),
                HasSubstr(needs(mods + "/b.so names it: this is no client module: it registers no class")));
    fs::copy_file(OKT_BARMARK1, mods + "/c.so");
    EXPECT_THAT(out({"show", bars}), HasSubstr(moduleLine(mods + "/c.so")));
}
#endif

// ---- What a file says -------------------------------------------------------------------------------------------------------

// The golden file has classes of these names with members of its own.
TEST_F(OktModuleSearch, ModuleWithOtherMembers_StandInsForThatFileAlone)
{
    std::string const link = templates() + "/link-d12.okt";
    std::string const other = ownModule() + " brings a class of this name with other members; --module FILE gives another\n";
    std::string const strange = golden("every-class.okt");
    std::string const shown = out({"show", strange, link, strange});
    EXPECT_EQ(countOf("  OKTDbConstruct, 1 object: " + other, shown), 2u);
    EXPECT_EQ(countOf("  OKTDbIndexData, 1 object: " + other, shown), 2u);
    EXPECT_EQ(countOf("\n  Module          " + ownModule() + ": OKTDbConstruct, OKTDbIndexData\n", shown), 1u);
    EXPECT_EQ(countOf("\nObjects: 10 read, 10 in the file\n", shown), 2u);
    EXPECT_EQ(countOf("\nObjects: 34 read, 34 in the file\n", shown), 1u);
}

TEST_F(OktModuleSearch, ClassNameLikeAPath_LoadsNothing)
{
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("bars")}});
    modulePath(mods);
    for (std::string const &name : {mods + "/" + lib("bars"), std::string("../mods/bars"), std::string("bars")})
    {
        StreamBuilder objects;
        objects.beginClass(name).objectBase("{00000001-1111-1111-1111-111111111111}").endClass();
        std::string const shown = out({"show", put("a.okt", poolImage(HeaderFields(), objects))});
        EXPECT_THAT(shown, HasSubstr("\n  " + name + ", 1 object: no module that okt finds names it; ")) << name;
        EXPECT_THAT(shown, Not(HasSubstr("\n  Module ")));
    }
}

// A file can name any number of classes, and the modules are looked through for each.
TEST_F(OktModuleSearch, ManyClassNames_SearchEnds)
{
    modulePath(folder("mods", {{OKT_BARMARK1, lib("bars")}}));
    auto const fileWith = [this](int names) {
        StreamBuilder objects;
        char id[] = "{00000001-1111-1111-1111-111111111111}";
        for (int i = 0; i <= names; ++i)
        {
            std::string const digits = std::to_string(100000 + i);
            std::copy(digits.begin(), digits.end(), id + 2);
            objects.beginClass(i == names ? "BarMark" : "Class" + digits).objectBase(id).endClass();
        }
        return put("many.okt", poolImage(HeaderFields(), objects));
    };
    EXPECT_THAT(out({"show", fileWith(255)}), Not(HasSubstr("\n  BarMark, 1 object: no module")));
    EXPECT_THAT(out({"show", fileWith(256)}), HasSubstr("\n  BarMark, 1 object: no module that okt finds names it; "));
}

// What is written or judged depends on the file and on what the command names.
TEST_F(OktModuleSearch, CommandsThatWriteOrJudge_DoNotSearch)
{
    std::string const exported = out({"export", bars});
    std::string const verified = out({"verify", bars});
    EXPECT_THAT(verified, HasSubstr("; a client module that brings the class is loaded with --module FILE\n"));
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("bars")}});
    modulePath(mods);
    EXPECT_EQ(out({"export", bars}), exported);
    // It tells what would help, and judges as before.
    std::string const advised = out({"verify", bars});
    EXPECT_THAT(advised, HasSubstr("; " + mods + "/" + lib("bars") + " names it; --module loads it\n"));
    EXPECT_THAT(advised, testing::EndsWith(verified.substr(verified.rfind(bars))));
    EXPECT_NE(out({"--module", OKT_BARMARK1, "export", bars}), exported);
}

// ---- okt modules ------------------------------------------------------------------------------------------------------------

TEST_F(OktModuleSearch, ModulesCommand_FoldersFilesClasses)
{
    std::string const own =
        fs::path(ownModule()).parent_path().generic_string() + ", okt's own\n  " OKT_EXAMPLE_MODULE_NAME ": ";
    std::string const classes = "OKTDbAngleParameter, OKTDbConstruct, OKTDbIndexData\n";
    EXPECT_EQ(out({"modules"}), own + classes);
    std::string const mods = folder("mods", {{OKT_BARMARK1, lib("bars")}, {OKT_EXAMPLE_MODULE, lib("example")}});
    modulePath(mods + kSeparator + path("none"));
    EXPECT_EQ(out({"modules"}),
              mods + ", from OKT_MODULE_PATH\n  " + lib("bars") + ": BarMark\n  " + lib("example") + ": " + classes +
                  path("none") + ", from OKT_MODULE_PATH: not looked into: there is no such folder\n" + own +
                  "not used: the module brings the class \"OKTDbAngleParameter\", which is known already, from " + mods + "/" +
                  lib("example") + "\n");
    modulePath("");
    EXPECT_EQ(out({"--module", OKT_BARMARK2, "modules"}), OKT_BARMARK2 ", from --module: BarMark\n" + own + classes);
    EXPECT_EQ(runOkt({"modules", "extra"}).exitCode, 2);
}

} // namespace
