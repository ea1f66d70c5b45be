// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;

/// What the help lists.
std::vector<std::string> commands()
{
    std::istringstream help(runOkt({"--help"}).out);
    std::vector<std::string> names;
    bool isList = false;
    for (std::string line; std::getline(help, line);)
    {
        if (isList && line.empty())
            break;
        if (isList && line.starts_with("  ") && line[2] != ' ')
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        isList = isList || line == "Subcommands:";
    }
    return names;
}

TEST(OktHelp, Help_EveryCommand_ExampleAndExitCodes)
{
    ASSERT_GE(commands().size(), 7u);
    EXPECT_THAT(commands(), Contains("diff"));
    for (std::string const &command : commands())
    {
        ProcessResult const help = runOkt({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.err, "");
        std::size_t const examples = help.out.find("\nExamples:\n");
        ASSERT_NE(examples, std::string::npos) << command;
        EXPECT_THAT(help.out.substr(examples), testing::ContainsRegex("okt[^\n]* " + command + "[ \n]")) << command;
        EXPECT_NE(help.out.find("\nExit code: 0 ", examples), std::string::npos) << command;
        EXPECT_THAT(help.out.substr(examples), HasSubstr(" 2 ")) << command;
        // Wrong usage is one line and the same code everywhere.
        ProcessResult const wrong = runOkt({command, "--no-such-option"});
        EXPECT_EQ(wrong.exitCode, 2) << command;
        EXPECT_EQ(wrong.out, "") << command;
        EXPECT_EQ(std::count(wrong.err.begin(), wrong.err.end(), '\n'), 1) << wrong.err;
    }
    EXPECT_THAT(runOkt({"--help"}).out, HasSubstr("\nExit code: 0 done, 1 failed"));
}

TEST(OktHelp, WrongUsage_LineThatHelps)
{
    auto const told = [](std::vector<std::string> const &arguments) {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    std::string const program = "; see \"okt --help\"\n";
    std::string const show = "; see \"okt show --help\"\n";
    EXPECT_EQ(told({}), "okt: a command is missing" + program);
    EXPECT_EQ(told({"shwo", "link.okt"}), "okt: there is no command shwo (did you mean show?)" + program);
    EXPECT_EQ(told({"verfy"}), "okt: there is no command verfy (did you mean verify?)" + program);
    EXPECT_EQ(told({"nothing"}), "okt: there is no command nothing" + program);
    EXPECT_EQ(told({"a\nb"}), "okt: there is no command a\\nb" + program);
    EXPECT_EQ(told({"--no-such"}), "okt: there is no option --no-such" + program);
    EXPECT_EQ(told({"--no-such", "show", "link.okt"}), "okt: there is no option --no-such" + program);
    EXPECT_EQ(told({"--module"}), "okt: --module: a value is missing" + program);
    EXPECT_EQ(told({"show"}), "okt: FILE is missing" + show);
    EXPECT_EQ(told({"show", "--unti", "in", "link.okt"}), "okt: there is no option --unti (did you mean --unit?)" + show);
    EXPECT_EQ(told({"show", "link.okt", "--unit"}), "okt: --unit: a value is missing" + show);
    EXPECT_EQ(told({"show", "link.okt", "--unit", "yd"}), "okt: --unit: yd is none of mm, cm, m, in, ft" + show);
    EXPECT_EQ(told({"show", "link.okt", "--ids=1"}), "okt: --ids takes no value" + show);
    EXPECT_EQ(told({"show", "link.okt", "--i"}), "okt: --i may be short for --ids and for --index" + show);
    EXPECT_EQ(told({"show", "-x"}), "okt: there is no option -x" + show);
    EXPECT_EQ(told({"show", "-link.okt"}),
              "okt: there is no option -l, as in -link.okt; a name like this stands behind --" + show);
    EXPECT_EQ(told({"show", "--index", "--preview", "link.okt"}), "okt: --index excludes --preview" + show);
    EXPECT_EQ(told({"tree", "a.okt", "b.okt"}), "okt: there is no place for b.okt; see \"okt tree --help\"\n");
    EXPECT_EQ(told({"report", "a.okt"}), "okt: --output is missing; see \"okt report --help\"\n");
    EXPECT_EQ(told({"export", "--format", "bf2d", "--pictures", "p", "a.okt"}),
              "okt: --pictures: a bar record has no pictures; see \"okt export --help\"\n");
    EXPECT_EQ(told({"picture", "link.okt", "-o", "-", "--index", "-1"}),
              "okt: --index: -1 is no whole number from 0 on; see \"okt picture --help\"\n");
    EXPECT_EQ(told({"picture", "link.okt", "-o", "-", "--index", "99999999999"}),
              "okt: --index: 99999999999 is too large; see \"okt picture --help\"\n");
    EXPECT_EQ(told({"dump", "link.okt", "--at", "x"}), "okt: --at: x is no whole number from 0 on; see \"okt dump --help\"\n");
    EXPECT_EQ(told({"help", "shwo"}), "okt: there is no command shwo (did you mean show?)" + program);
    EXPECT_EQ(told({"help", "show", "tree"}), "okt: there is no place for tree; see \"okt help --help\"\n");
}

TEST(OktHelp, HelpCommand_WhatTheOptionPrints)
{
    for (std::string const &command : commands())
    {
        ProcessResult const help = runOkt({"help", command});
        EXPECT_EQ(help.exitCode, 0) << command;
        EXPECT_EQ(help.err, "") << command;
        EXPECT_EQ(help.out, runOkt({command, "--help"}).out) << command;
        EXPECT_THAT(help.out, HasSubstr("\nUsage: okt " + command)) << command;
    }
    ProcessResult const help = runOkt({"help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out, runOkt({"--help"}).out);
    EXPECT_THAT(help.out, HasSubstr("\nokt help COMMAND tells more, with examples.\n"));
}

class OktPages : public FolderTest
{
protected:
    static ProcessResult shell(std::string const &script, std::string const &argument = "")
    {
        return runProgram("/bin/bash", {"-c", script, OKT_EXE, argument});
    }
};

TEST_F(OktPages, ManPages_EveryCommand_FormattedWithoutAWarning)
{
    ASSERT_EQ(runOkt({"pages", "-o", path("share")}).exitCode, 0);
    std::vector<std::string> pages = {"okt"};
    for (std::string const &command : commands())
        pages.push_back("okt-" + command);
    for (std::string const &page : pages)
    {
        std::string const file = path("share/man/man1/" + page + ".1");
        ASSERT_TRUE(fs::exists(file)) << file;
        ProcessResult const shown = shell("groff -man -Tascii -ww -P-c -P-b -P-o -P-u \"$1\"", file);
        EXPECT_EQ(shown.exitCode, 0) << file;
        EXPECT_EQ(shown.err, "") << file;
        for (char const *const part : {"NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS"})
            EXPECT_THAT(shown.out, HasSubstr(part)) << file;
    }
    EXPECT_THAT(shell("groff -man -Tascii -P-c -P-b -P-o -P-u \"$1\"", path("share/man/man1/okt-diff.1")).out,
                HasSubstr("okt diff --by-name link.okt clone.okt\n"));
    std::string const program = shell("groff -man -Tascii -P-c -P-b -P-o -P-u \"$1\"", path("share/man/man1/okt.1")).out;
    EXPECT_THAT(program, HasSubstr("--no-modules\n"));
    EXPECT_THAT(program, HasSubstr("OKT_MODULE_PATH\n"));
}

TEST_F(OktPages, Pages_Completions_ThoseThatTheCommandWrites)
{
    ASSERT_EQ(runOkt({"pages", "-o", path("share")}).exitCode, 0);
    EXPECT_EQ(contents(path("share/bash-completion/completions/okt")), runOkt({"completion", "bash"}).out);
    EXPECT_EQ(contents(path("share/zsh/site-functions/_okt")), runOkt({"completion", "zsh"}).out);
    EXPECT_EQ(contents(path("share/fish/vendor_completions.d/okt.fish")), runOkt({"completion", "fish"}).out);
    EXPECT_EQ(runOkt({"completion", "cmd"}).exitCode, 2);
}

/// What okt answers a shell that completes these words.
std::string candidates(std::vector<std::string> words)
{
    words.insert(words.begin(), {"__complete", "--"});
    ProcessResult const result = runOkt(words);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

TEST(OktComplete, Words_CandidatesOfThatPlace)
{
    EXPECT_EQ(candidates({"completion", ""}), "bash\nzsh\nfish\n");
    EXPECT_EQ(candidates({"show", "--unit", ""}), "mm\ncm\nm\nin\nft\n");
    EXPECT_EQ(candidates({"show", "-u", "x"}), "mm\ncm\nm\nin\nft\n") << "the shell picks";
    EXPECT_EQ(candidates({"show", "--uni", ""}), "mm\ncm\nm\nin\nft\n") << "a shortened name";
    EXPECT_EQ(candidates({"show", "--unit=c"}), "--unit=mm\n--unit=cm\n--unit=m\n--unit=in\n--unit=ft\n");
    EXPECT_EQ(candidates({"show", "--unit", "=", "c"}), "mm\ncm\nm\nin\nft\n") << "as bash parts it";
    EXPECT_EQ(candidates({"show", "--unit", "="}), "mm\ncm\nm\nin\nft\n");
    EXPECT_EQ(candidates({"show", "--unit", "mm", ""}), ":file\n");
    EXPECT_EQ(candidates({"show", "-umm", ""}), ":file\n");
    EXPECT_EQ(candidates({"show", "my file.okt", ""}), ":file\n");
    EXPECT_EQ(candidates({"build", "-o", ""}), ":folder\n");
    EXPECT_EQ(candidates({"report", "--output=x"}), ":file\n");
    EXPECT_EQ(candidates({"report", "--title", ""}), "");
    EXPECT_EQ(candidates({"modules", ""}), "") << "it takes no operand";
    EXPECT_EQ(candidates({"nothing", "--un"}), "");
    EXPECT_EQ(candidates({"--module", ""}), ":file\n");
    EXPECT_EQ(candidates({"show", "--", "--un"}), ":file\n") << "no option behind --";
    EXPECT_EQ(candidates({"show", "--unit", "--", ""}), ":file\n") << "here -- is the value";
    EXPECT_THAT(candidates({""}), HasSubstr("show\t"));
    EXPECT_THAT(candidates({"show", "-"}), HasSubstr("\n--unit\tthe unit that lengths are shown in"));
    EXPECT_THAT(candidates({"show", "-"}), HasSubstr("\n--no-modules\t"));
    EXPECT_EQ(candidates({}), candidates({""}));
}

TEST(OktComplete, Command_NowhereTold)
{
    for (char const *const shown : {"--help", "help"})
        EXPECT_THAT(runOkt({shown}).out, testing::Not(HasSubstr("__complete")));
    EXPECT_THAT(candidates({""}), testing::Not(HasSubstr("__complete")));
    EXPECT_EQ(runOkt({"__complete"}).err, "okt: there is no command __complete; see \"okt --help\"\n");
}

/// For the beginning of a set-up: okt is found.
std::string pathToOkt() { return "PATH='" + fs::path(OKT_EXE).parent_path().string() + "':$PATH; "; }

/// What an interactive shell makes of the beginnings of command lines when Tab is pressed behind each; a line each.
std::string completedBy(std::string const &shell, std::string const &setUp, std::vector<std::string> const &lines)
{
    std::vector<std::string> arguments = {"-f", OKT_TEST_DATA_DIR "/okt/complete.zsh", shell, pathToOkt() + setUp};
    arguments.insert(arguments.end(), lines.begin(), lines.end());
    ProcessResult const result = runProgram("/usr/bin/zsh", arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
}

/// What bash offers at the end of a command line.
std::string offered(std::string const &words, int current)
{
    return runProgram("/bin/bash", {"-c",
                                    "PATH=$(dirname \"$0\"):$PATH; source <(okt completion bash); COMP_WORDS=(" + words +
                                        "); COMP_CWORD=" + std::to_string(current) + "; _okt; echo \"${COMPREPLY[*]}\"",
                                    OKT_EXE})
        .out;
}

TEST_F(OktPages, BashCompletion_CommandsOptionsValuesFiles)
{
    EXPECT_EQ(offered("okt sh", 1), "show\n");
    EXPECT_EQ(offered("okt ex", 1), "export\n");
    EXPECT_EQ(offered("okt show --un", 2), "--unit\n");
    EXPECT_EQ(offered("okt show --unit ''", 3), "mm cm m in ft\n");
    EXPECT_EQ(offered("okt show --unit m", 3), "mm m\n");
    EXPECT_EQ(offered("okt --module x.so show --un", 4), "--unit\n");
    EXPECT_EQ(offered("okt completion ''", 2), "bash zsh fish\n");
    EXPECT_EQ(offered("okt export --format b", 3), "bf2d\n");
    EXPECT_EQ(offered("okt --ver", 1), "--version\n");
    EXPECT_EQ(offered("okt --no-m", 1), "--no-modules\n");
    EXPECT_EQ(offered("okt mod", 1), "modules\n");
    EXPECT_EQ(offered("okt help sh", 2), "show\n");
    EXPECT_EQ(offered("okt --no-modules help mod", 3), "modules\n");
    std::string const data = OKT_EXAMPLES_DIR "/data/bar-rec";
    EXPECT_EQ(offered("okt build " + data, 2), data + "ords.bf2d\n");
    EXPECT_EQ(offered("okt show --unit = i", 4), "in\n") << "bash parts --unit=i so";
    EXPECT_EQ(offered("okt show --unit =", 3), "mm cm m in ft\n");
    put("my link.okt", std::string("x"));
    std::string const shown = path("my link.okt");
    EXPECT_EQ(offered("okt show '" + shown + "' --un", 3), "--unit\n");
    EXPECT_EQ(offered("okt report --output = '" + path("my") + "'", 4), shown + "\n");
    EXPECT_EQ(offered("okt show -- --un", 3), "\n");
    EXPECT_EQ(offered(OKT_EXE " sh", 1), "show\n");
    EXPECT_EQ(offered("/nowhere/okt sh", 1), "show\n") << "that of the path answers";
    for (char const *const option : {"report --title", "picture --index", "dump --at", "find --class", "ls --name"})
        EXPECT_EQ(offered("okt " + std::string(option) + " ''", 3), "\n") << option << ": no file";
    EXPECT_EQ(shell("source <(\"$0\" completion bash); complete -p okt").out, "complete -F _okt okt\n");
}

TEST_F(OktPages, BashCompletion_AtTheKeyboard_BlanksInNames)
{
    put("my link.okt", std::string("x"));
    std::string const my = path("my");
    EXPECT_EQ(
        completedBy("bash", "source <(okt completion bash)",
                    {"okt ex", "okt show --unit=i", "okt show " + my, "okt show " + my + "\\ l", "okt show \"" + my + " l",
                     "okt report --output=" + my, "okt report --title " + my, "okt show my\\ link.okt --un"}),
        "okt export \nokt show --unit=in \nokt show " + my + "\\ link.okt \nokt show " + my + "\\ link.okt \nokt show \"" + my +
            " link.okt\" \nokt report --output=" + my + "\\ link.okt \nokt report --title " + my +
            "\nokt show my\\ link.okt --unit \n");
}

/// What fish offers at the end of a command line, without the descriptions; a line each.
std::string offeredByFish(std::string const &line)
{
    ProcessResult const result = runProgram("/usr/bin/fish", {"--no-config", "-c",
                                                              "set -x PATH (dirname $argv[1]) $PATH; okt completion fish | "
                                                              "source; complete -C $argv[2] | string replace -r '\\t.*' ''",
                                                              OKT_EXE, line});
    EXPECT_EQ(result.err, "") << line;
    return result.out;
}

TEST_F(OktPages, FishCompletion_CommandsOptionsValuesFiles)
{
    std::string all;
    std::vector<std::string> names = commands();
    std::sort(names.begin(), names.end());
    for (std::string const &name : names)
        all += name + "\n";
    EXPECT_EQ(offeredByFish("okt "), all);
    EXPECT_EQ(offeredByFish("okt ex"), "export\n");
    EXPECT_EQ(offeredByFish("okt show --un"), "--unit\n");
    EXPECT_EQ(offeredByFish("okt show --unit "), "cm\nft\nin\nm\nmm\n");
    EXPECT_EQ(offeredByFish("okt --module x.so ex"), "export\n");
    EXPECT_EQ(offeredByFish("okt --module x.so show --un"), "--unit\n");
    EXPECT_EQ(offeredByFish("okt find diff --by"), "") << "diff is a pattern here";
    EXPECT_EQ(offeredByFish("okt completion "), "bash\nfish\nzsh\n");
    EXPECT_EQ(offeredByFish("okt export --format b"), "bf2d\n");
    EXPECT_EQ(offeredByFish("okt report --title "), "") << "no file";
    EXPECT_EQ(offeredByFish("okt --ver"), "--version\n");
    EXPECT_EQ(offeredByFish("okt show --no-m"), "--no-modules\n");
    EXPECT_EQ(offeredByFish("okt help sh"), "show\n");
    std::string const data = OKT_EXAMPLES_DIR "/data/bar-rec";
    EXPECT_EQ(offeredByFish("okt build " + data), data + "ords.bf2d\n");
    EXPECT_EQ(offeredByFish("okt show --unit=i"), "--unit=in\n");
    EXPECT_EQ(offeredByFish("okt show -- --un"), "");
    put("my link.okt", std::string("x"));
    EXPECT_EQ(offeredByFish("okt show " + path("my")), path("my link.okt") + "\n");
    EXPECT_EQ(offeredByFish("okt show '" + path("my link.okt") + "' --un"), "--unit\n");
    EXPECT_EQ(offeredByFish("okt report --output=" + path("my")), "--output=" + path("my link.okt") + "\n");
    EXPECT_EQ(offeredByFish(OKT_EXE " sh"), "show\n");
}

TEST_F(OktPages, ZshCompletion_CommandsOptionsValuesFiles)
{
    std::string const data = OKT_EXAMPLES_DIR "/data/bar-rec";
    put("my link.okt", std::string("x"));
    EXPECT_EQ(
        completedBy("zsh", "source <(okt completion zsh)",
                    {"okt ex",
                     "okt show --un",
                     "okt show --unit i",
                     "okt show --ids --unit i",
                     "okt --module x.so ex",
                     "okt --module x.so show --un",
                     "okt completion z",
                     "okt export --format b",
                     "okt --ver",
                     "okt build " + data,
                     "okt diff a.okt " + data,
                     "okt nothing --un",
                     "okt help sho",
                     "okt show --no-m",
                     "okt show --unit=i",
                     "okt show -- --un",
                     "okt show " + path("my"),
                     "okt show my\\ link.okt --un",
                     "okt report --output=" + path("my"),
                     OKT_EXE " ex"}),
        "okt export \nokt show --unit \nokt show --unit in \nokt show --ids --unit in \nokt --module x.so export \n"
        "okt --module x.so show --unit \nokt completion zsh \nokt export --format bf2d \nokt --version \nokt build " +
            data + "ords.bf2d \nokt diff a.okt " + data +
            "ords.bf2d \nokt nothing --un\nokt help show \nokt show --no-modules \nokt show --unit=in \nokt show -- --un\n"
            "okt show " +
            path("my") + "\\ link.okt \nokt show my\\ link.okt --unit \nokt report --output=" + path("my") +
            "\\ link.okt \n" OKT_EXE " export \n");
}

TEST_F(OktPages, ZshCompletion_FromAFolderOfFunctions)
{
    ASSERT_EQ(runOkt({"pages", "-o", path("share")}).exitCode, 0);
    EXPECT_EQ(completedBy("zsh", "fpath=('" + path("share/zsh/site-functions") + "' $fpath); compinit -u -D",
                          {"okt ex", "okt show --un"}),
              "okt export \nokt show --unit \n");
}

} // namespace
