#include "support/xmldocument.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

namespace
{
constexpr int kNotFound = 127; // what a shell says of a program that is not there

std::string quoted(std::string const &text)
{
    std::string word = "'";
    for (char const unit : text)
        word += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    return word + "'";
}
} // namespace

std::string documentOf(std::string const &elements)
{
    return "<?xml version='1.0' encoding='ISO-8859-1'?>\n" +
           (elements.empty() ? "<Document/>" : "<Document>" + elements + "</Document>") + "\n";
}

std::string textOf(CString const &path)
{
    std::ifstream file(path.ToUtf8(), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path.ToUtf8();
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

CString putText(ScratchFolder const &folder, std::string const &name, std::string_view text)
{
    CString const where = folder.path(name);
    std::ofstream file(where.ToUtf8(), std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    EXPECT_TRUE(file.good()) << where.ToUtf8();
    return where;
}

std::string OpenXmlFiler::working()
{
    IXMLDOMElementPtr const node = getWorkingNode();
    return node ? node->nodeName().ToUtf8() : std::string();
}

ProgramRun runProgram(std::string const &commandLine)
{
    ProgramRun run;
    FILE *const pipe = popen(commandLine.c_str(), "r");
    if (pipe == nullptr)
    {
        ADD_FAILURE() << "no process can be made for: " << commandLine;
        return run;
    }
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        run.output.append(buffer, count);
    int const status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (run.exitCode == kNotFound)
        ADD_FAILURE() << "a program that the tests need is missing; scripts/packages names its package: " << commandLine;
    return run;
}

nlohmann::json readByPython(CString const &path)
{
    ProgramRun const run = runProgram("python3 " + quoted(OKT_TEST_DATA_DIR "/support/xmltree.py") + " " + quoted(path.ToUtf8()));
    EXPECT_EQ(run.exitCode, 0) << "python3 with its XML parser cannot read " << path.ToUtf8();
    nlohmann::json document = nlohmann::json::parse(run.output, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << run.output;
    return document;
}

bool isWellFormedForXmllint(CString const &path)
{
    return runProgram("xmllint --noout --nonet " + quoted(path.ToUtf8())).exitCode == 0;
}

std::string canonicalByXmllint(CString const &path)
{
    ProgramRun const run = runProgram("xmllint --nonet --c14n " + quoted(path.ToUtf8()));
    EXPECT_EQ(run.exitCode, 0) << path.ToUtf8();
    return run.output;
}
