// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <sstream>

namespace
{

namespace fs = std::filesystem;

#if !defined(_WIN32) // the examples are for a shell

struct Example
{
    std::string command;
    std::string output;
};

/// The lines behind "$ " in the part of docs/okt.md about many templates, and what follows each of them.
std::vector<Example> examples()
{
    std::istringstream text(contents(OKT_EXAMPLES_DIR "/../docs/okt.md"));
    std::vector<Example> found;
    bool isInPart = false;
    bool isInBlock = false;
    for (std::string line; std::getline(text, line);)
    {
        if (line.starts_with("## "))
            isInPart = line == "## Many templates at once" || (isInPart && line != "## Large files");
        if (line.starts_with("```"))
            isInBlock = isInPart && !isInBlock;
        else if (isInBlock && line.starts_with("$ "))
            found.push_back({line.substr(2), ""});
        else if (isInBlock && !found.empty())
            found.back().output += line + "\n";
    }
    return found;
}

/// Run one behind the other in a folder with the example templates, they print what stands there.
TEST(OktDocumented, Examples_OutputAsItStandsThere)
{
    ScratchFolder const folder;
    std::string const root = folder.path("").ToUtf8();
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", root + "templates"}).exitCode, 0);
    fs::create_directory(root + "bin");
    fs::create_symlink(OKT_EXE, root + "bin/okt");
    std::vector<Example> const all = examples();
    EXPECT_GE(all.size(), 15u);
    for (Example const &example : all)
    {
        std::string const script =
            "cd \"$0\"; PATH=\"$PWD/bin:$PATH\"; unset OKT_MODULE_PATH; { " + example.command + "; } 2>&1";
        std::string out = runProgram("/bin/sh", {"-c", script, root}).out;
        std::erase(out, '\r'); // of CSV
        EXPECT_EQ(out, example.output) << example.command;
    }
}

#endif

} // namespace
