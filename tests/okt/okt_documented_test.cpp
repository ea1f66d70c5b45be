// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

fs::path const kDocs = OKT_EXAMPLES_DIR "/../docs";

std::vector<fs::path> pages()
{
    std::vector<fs::path> found;
    for (fs::directory_entry const &entry : fs::directory_iterator(kDocs / "manual"))
        found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> commands()
{
    std::vector<std::string> names;
    std::istringstream help(runOkt({"--help"}).out);
    bool isInList = false;
    for (std::string line; std::getline(help, line) && !(isInList && line.empty());
         isInList = isInList || line == "Subcommands:")
        if (isInList && line.starts_with("  ") && line[2] != ' ')
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
    return names;
}

TEST(OktManual, EveryCommand_OnePage)
{
    std::vector<std::string> names = commands();
    std::sort(names.begin(), names.end());
    std::vector<std::string> found;
    for (fs::path const &page : pages())
    {
        found.push_back(page.stem().string());
        EXPECT_EQ(page.extension(), ".md");
        std::string const text = contents(page);
        EXPECT_TRUE(text.starts_with("# okt " + found.back() + "\n")) << page;
        EXPECT_THAT(text, HasSubstr("\n## Examples\n")) << page;
        EXPECT_THAT(text, HasSubstr("\n$ ")) << page << ": none is checked";
        // Man pages are read where nothing else is sure.
        EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) > 0; })) << page;
    }
    EXPECT_EQ(found, names);
    EXPECT_GT(names.size(), 20u);
}

/// What the parser knows stands in the pages as okt writes it: "okt pages --manual docs/manual" renews it.
TEST(OktManual, Heads_WhatOktSays)
{
    ScratchFolder const folder;
    fs::path const copy = pathOf(folder.path("manual"));
    fs::copy(kDocs / "manual", copy);
    ProcessResult const result = runOkt({"pages", "--manual", folder.path("manual").ToUtf8()});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    for (fs::path const &page : pages())
        EXPECT_EQ(contents(copy / page.filename()), contents(page)) << page;
    EXPECT_EQ(runOkt({"pages"}).exitCode, 2);
    fs::remove(copy / "set.md");
    EXPECT_EQ(runOkt({"pages", "--manual", folder.path("manual").ToUtf8()}).exitCode, 1);
}

#if !defined(_WIN32) // the examples are for a shell

struct Example
{
    std::string command;
    std::string output;
};

/// The lines behind "$ " in the blocks of a text, and what follows each of them there.
std::vector<Example> examplesIn(fs::path const &file)
{
    std::istringstream text(contents(file));
    std::vector<Example> found;
    bool isInBlock = false;
    bool isOutput = false;
    for (std::string line; std::getline(text, line);)
    {
        if (line.starts_with("```"))
        {
            isInBlock = !isInBlock;
            isOutput = false;
        }
        else if (isInBlock && line.starts_with("$ "))
        {
            found.push_back({line.substr(2), ""});
            isOutput = true;
        }
        else if (isOutput)
            found.back().output += line + "\n";
    }
    return found;
}

/// Ids are drawn when a template is made, and objects stand in their order.
std::string withoutIds(std::string const &text)
{
    std::string const result = std::regex_replace(text, std::regex(R"(\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\})"), "{ID}");
    return std::regex_replace(result, std::regex("byte [0-9]+"), "byte N");
}

class OktDocumented : public LibraryTest
{
protected:
    /// A folder as the examples have it: templates, the tables of which they are made, a golden file and a damaged one.
    std::string prepared(std::string const &name) const
    {
        fs::path const root = pathOf(path(name));
        fs::create_directories(root / "bin");
        fs::copy(built(), root / "templates");
        fs::copy(OKT_EXAMPLES_DIR "/data", root / "data");
        fs::copy_file(golden("stirrup.okt"), root / "stirrup.okt");
        fs::copy_file(golden("truncated.okt"), root / "damaged.okt");
        fs::create_symlink(OKT_EXE, root / "bin/okt");
        return path(name);
    }

    /// Typed one behind the other they print what stands there.
    static void type(fs::path const &document, std::string const &folder)
    {
        std::vector<Example> const all = examplesIn(document);
        EXPECT_FALSE(all.empty()) << document;
        for (Example const &example : all)
        {
            std::string const script =
                "cd \"$0\"; PATH=\"$PWD/bin:$PATH\"; unset OKT_MODULE_PATH VISUAL; { " + example.command + "; } 2>&1";
            std::string out = runProgram("/bin/sh", {"-c", script, folder}).out;
            std::erase(out, '\r'); // of CSV
            EXPECT_EQ(withoutIds(out), withoutIds(example.output)) << document << ": " << example.command;
        }
    }
};

TEST_F(OktDocumented, ExamplesOfEachPage_OutputAsItStandsThere)
{
    for (fs::path const &page : pages())
        type(page, prepared(page.stem().string()));
    type(kDocs / "okt.md", prepared("okt"));
    type(kDocs / "catalog.md", prepared("catalogue"));
}

/// With the templates of the demo, which have a construct and an index of the example module.
TEST_F(OktDocumented, DayOfALibrarian_PassesAsTyped)
{
    std::string const folder = prepared("day");
    fs::remove_all(pathOf(path("day/templates")));
    ASSERT_EQ(runOkt({"--module", OKT_OWN_MODULES "/" OKT_EXAMPLE_MODULE_NAME, "build", OKT_EXAMPLES_DIR "/data", "-o",
                      path("day/templates")})
                  .exitCode,
              0);
    type(kDocs / "librarian.md", folder);
}

/// Help, man page and manual tell the same examples.
TEST(OktManual, HelpAndManPage_ExamplesOfThePage)
{
    ScratchFolder const folder;
    ASSERT_EQ(runOkt({"pages", "-o", folder.path("share").ToUtf8()}).exitCode, 0);
    for (fs::path const &page : pages())
    {
        std::string const command = page.stem().string();
        std::string const help = runOkt({"help", command}).out;
        for (Example const &example : examplesIn(page))
            EXPECT_THAT(help, HasSubstr("\n  " + example.command + "\n")) << command;
    }
    std::string const man = contents(folder.path("share/man/man1/okt-get.1").ToUtf8());
    EXPECT_THAT(man, HasSubstr("$ okt get templates/link\\-no4.okt Diameter \\-\\-unit in\n0.5 in\n"));
    EXPECT_THAT(contents(folder.path("share/man/man1/okt-set.1").ToUtf8()),
                HasSubstr(".IP \\- 2\n\\fBValues\\fR keep the kind"));
}

#endif

} // namespace
