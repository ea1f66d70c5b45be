// SPDX-License-Identifier: MIT
#include <tools/okt/commands/arguments.h>

#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <vector>

// Options, operands and -- in the order in which people type them.

namespace
{

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using Words = std::vector<std::string>;

class OktArguments : public testing::Test
{
protected:
    OktArguments()
    {
        m_app.add_option("--module", m_texts)->allow_extra_args(false);
        m_app.add_flag("--no-modules");
        CLI::App *const show = m_app.add_subcommand("show");
        show->add_option("FILE", m_texts);
        show->add_option("-u,--unit", m_text);
        show->add_flag("-l,--long");
        show->add_flag("-x");
        show->add_flag("--ids");
        show->add_flag("--index");
        m_app.add_subcommand("tree")->add_option("FILE", m_text);
    }

    Words arranged(Words words) const
    {
        words.insert(words.begin(), "okt");
        return okt::arranged(m_app, words);
    }

    std::string refusal(Words const &words) const
    {
        try
        {
            arranged(words);
            return "";
        }
        catch (okt::WrongUsage const &wrong)
        {
            return (wrong.command() == nullptr ? "" : wrong.command()->get_name() + ": ") + wrong.what();
        }
    }

    CLI::App m_app;
    std::vector<std::string> m_texts;
    std::string m_text;
};

TEST_F(OktArguments, Arranged_OptionsBehindOperands_InFront)
{
    EXPECT_THAT(arranged({"show", "a", "--unit", "in", "b"}), ElementsAre("okt", "show", "--unit", "in", "--", "a", "b"));
    EXPECT_THAT(arranged({"show", "a", "-l", "b", "--ids"}), ElementsAre("okt", "show", "--long", "--ids", "--", "a", "b"));
    EXPECT_THAT(arranged({"show", "a", "--module", "m.so"}), ElementsAre("okt", "show", "--module", "m.so", "--", "a"));
    EXPECT_THAT(arranged({"--module", "show", "show", "show"}), ElementsAre("okt", "--module", "show", "show", "--", "show"));
    EXPECT_THAT(arranged({"show", "-", "", "a"}), ElementsAre("okt", "show", "--", "-", "", "a"));
    EXPECT_THAT(arranged({"show", "tree"}), ElementsAre("okt", "show", "--", "tree"));
}

TEST_F(OktArguments, Arranged_DoubleDash_EndsTheOptions)
{
    EXPECT_THAT(arranged({"show", "--", "-a", "--ids"}), ElementsAre("okt", "show", "--", "-a", "--ids"));
    EXPECT_THAT(arranged({"show", "a", "--ids", "--", "-b"}), ElementsAre("okt", "show", "--ids", "--", "a", "-b"));
    EXPECT_THAT(arranged({"show", "a", "--", "--", "--help"}), ElementsAre("okt", "show", "--", "a", "--", "--help"));
    EXPECT_THAT(arranged({"show", "a", "--"}), ElementsAre("okt", "show", "--", "a"));
    EXPECT_THAT(arranged({"show", "--unit", "--", "a"}), ElementsAre("okt", "show", "--unit", "--", "--", "a"));
    EXPECT_THAT(arranged({"--", "show", "--ids", "a"}), ElementsAre("okt", "show", "--ids", "--", "a"));
}

TEST_F(OktArguments, Arranged_FormsOfAnOption_OneForm)
{
    for (Words const &words : {Words{"show", "--unit", "in"}, Words{"show", "--unit=in"}, Words{"show", "-u", "in"},
                               Words{"show", "-uin"}, Words{"show", "--un", "in"}, Words{"show", "--u=in"}})
        EXPECT_THAT(arranged(words), ElementsAre("okt", "show", "--unit", "in")) << testing::PrintToString(words);
    EXPECT_THAT(arranged({"show", "-lxuin"}), ElementsAre("okt", "show", "--long", "-x", "--unit", "in"));
    EXPECT_THAT(arranged({"show", "-lu", "-5", "a"}), ElementsAre("okt", "show", "--long", "--unit", "-5", "--", "a"));
    EXPECT_THAT(arranged({"show", "--unit="}), ElementsAre("okt", "show", "--unit", ""));
    EXPECT_THAT(arranged({"show", "--unit=a=b"}), ElementsAre("okt", "show", "--unit", "a=b"));
    EXPECT_THAT(arranged({"show", "--he"}), ElementsAre("okt", "show", "--help"));
    EXPECT_THAT(arranged({"--no", "show", "--id"}), ElementsAre("okt", "--no-modules", "show", "--ids"));
    EXPECT_THAT(arranged({}), ElementsAre("okt"));
}

TEST_F(OktArguments, Arranged_WrongUsage_ReasonAndWhoseHelp)
{
    EXPECT_EQ(refusal({"shwo"}), "there is no command shwo (did you mean show?)");
    EXPECT_EQ(refusal({""}), "there is no command ");
    EXPECT_EQ(refusal({"--ids", "show"}), "there is no option --ids");
    EXPECT_EQ(refusal({"--modul3", "x", "show"}), "there is no option --modul3 (did you mean --module?)");
    EXPECT_EQ(refusal({"show", "--i"}), "show: --i may be short for --ids and for --index");
    EXPECT_EQ(refusal({"show", "--ids=yes"}), "show: --ids takes no value");
    EXPECT_EQ(refusal({"show", "a", "--unit"}), "show: --unit: a value is missing");
    EXPECT_EQ(refusal({"show", "a", "-lu"}), "show: --unit: a value is missing");
    EXPECT_EQ(refusal({"show", "-lq"}), "show: there is no option -q, as in -lq; a name like this stands behind --");
    EXPECT_EQ(refusal({"tree", "a", "b"}), "tree: there is no place for b");
    EXPECT_EQ(refusal({"tree", "--", "a", "-b"}), "tree: there is no place for -b");
    EXPECT_EQ(refusal({"tree", "a", "b", "--help"}), "");
}

TEST(OktNearest, WordsAndNames)
{
    std::vector<std::string> const names = {"show", "tree", "verify", "recover", "report"};
    EXPECT_EQ(okt::nearest("shwo", names), "show");
    EXPECT_EQ(okt::nearest("sho", names), "show");
    EXPECT_EQ(okt::nearest("verfiy", names), "verify");
    EXPECT_EQ(okt::nearest("repport", names), "report");
    EXPECT_EQ(okt::nearest("recovr", names), "recover");
    EXPECT_EQ(okt::nearest("x", names), "");
    EXPECT_EQ(okt::nearest("", names), "");
    EXPECT_EQ(okt::nearest("anything", names), "");
}

/// Stands in a folder of its own, so that names are as short as people type them.
class OktCommandLine : public FolderTest
{
protected:
    OktCommandLine() : m_before(fs::current_path())
    {
        fs::copy_file(golden("stirrup.okt"), path("a.okt"));
        fs::copy_file(golden("stirrup.okt"), path("b.okt"));
        fs::copy_file(golden("stirrup.okt"), path("-odd.okt"));
        fs::copy_file(golden("stirrup.okt"), path("diff"));
        fs::current_path(path(""));
    }
    ~OktCommandLine() override { fs::current_path(m_before); }

    static std::string out(Words const &arguments)
    {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(result.err, "") << testing::PrintToString(arguments);
        return result.out;
    }

private:
    fs::path m_before;
};

TEST_F(OktCommandLine, FilesAndOptionsInAnyOrder)
{
    std::string const both = out({"show", "--unit", "in", "a.okt", "b.okt"});
    EXPECT_THAT(both, HasSubstr("lengths in in"));
    EXPECT_EQ(out({"show", "a.okt", "--unit", "in", "b.okt"}), both);
    EXPECT_EQ(out({"show", "a.okt", "b.okt", "-uin"}), both);
    EXPECT_EQ(out({"show", "--unit", "mm", "a.okt", "--unit", "in", "b.okt"}), both) << "the last one counts";
    EXPECT_EQ(out({"show", "a.okt", "-u", "in", "--", "b.okt"}), both);
    EXPECT_EQ(out({"show", "--ids", "--ids", "a.okt"}), out({"show", "a.okt", "--ids"}));
    EXPECT_EQ(out({"find", "Cover", "a.okt", "--name", "b.okt"}), out({"find", "--name", "Cover", "a.okt", "b.okt"}));
}

TEST_F(OktCommandLine, NamesThatBeginWithADash_BehindTheDoubleDash)
{
    EXPECT_TRUE(out({"show", "--", "-odd.okt"}).starts_with("-odd.okt: 9311 bytes\n"));
    EXPECT_TRUE(out({"show", "a.okt", "--", "-odd.okt"}).starts_with("a.okt: 9311 bytes\n"));
    EXPECT_THAT(out({"show", "a.okt", "--", "-odd.okt"}), HasSubstr("\n-odd.okt: 9311 bytes\n"));
    EXPECT_EQ(out({"diff", "--", "a.okt", "b.okt"}), "");
    EXPECT_EQ(out({"diff", "a.okt", "--", "-odd.okt"}), "");
    EXPECT_EQ(out({"tree", "--ascii", "--", "-odd.okt"}), out({"tree", "a.okt", "--ascii"}));
    EXPECT_THAT(out({"info", "--json", "--", "-odd.okt"}), HasSubstr("{\"file\":\"-odd.okt\","));
    EXPECT_THAT(out({"find", "--name", "--", "Cover", "-odd.okt"}), testing::StartsWith("-odd.okt:byte 6461: "));
    EXPECT_EQ(out({"picture", "-o", "-image", "--", "-odd.okt"}), "-image: no known format, 1399 bytes\n");
    EXPECT_EQ(runOkt({"show", "--", "--help"}).err, "okt: --help: there is no such file\n");
    EXPECT_EQ(runOkt({"find", "--", "-nothing", "a.okt"}).exitCode, 1) << "a pattern, and not in the file";
    EXPECT_EQ(runOkt({"show", "-odd.okt"}).exitCode, 2);
}

TEST_F(OktCommandLine, HelpWinsOverOperands)
{
    std::string const help = out({"tree", "--help"});
    EXPECT_EQ(out({"tree", "a.okt", "b.okt", "-h"}), help);
    EXPECT_EQ(out({"tree", "-h", "--", "a.okt"}), help);
}

TEST_F(OktCommandLine, NamesOfCommands_AreFilesAndPatternsToo)
{
    EXPECT_TRUE(out({"show", "diff"}).starts_with("diff: 9311 bytes\n"));
    EXPECT_EQ(out({"diff", "diff", "a.okt"}), "");
    EXPECT_EQ(runOkt({"find", "diff", "diff"}).exitCode, 1);
}

} // namespace
