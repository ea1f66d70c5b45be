// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/complete.h>
#include <tools/okt/commands/help.h>
#include <tools/okt/commands/manual.h>
#include <tools/okt/commands/pages.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

void writeFile(fs::path const &path, std::string const &text)
{
    MadeFolder const folder(path.parent_path());
    OutputFile file(path, true);
    file.write(text);
    file.close();
    file.commit();
}

/// Writes everything that is installed with the program into a folder.
void writePages(CLI::App const &app, fs::path const &folder)
{
    writeFile(folder / "man" / "man1" / "okt.1", manPage(app));
    for (CLI::App const *const command : commandsOf(app))
        writeFile(folder / "man" / "man1" / sentence("okt-{}.1", command->get_name()), manPage(app, *command));
    writeFile(folder / "bash-completion" / "completions" / "okt", completionScript("bash"));
    writeFile(folder / "zsh" / "site-functions" / "_okt", completionScript("zsh"));
    writeFile(folder / "fish" / "vendor_completions.d" / "okt.fish", completionScript("fish"));
}

/// Writes what okt says of its commands into the pages of the manual that lie in a folder.
void renewManual(CLI::App const &app, fs::path const &folder)
{
    for (CLI::App const *const command : commandsOf(app))
    {
        fs::path const path = folder / (command->get_name() + ".md");
        CByteArray const bytes = readBytes(path);
        std::string const text(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
        if (std::string const renewed = renewedPage(*command, pathName(path), text); renewed != text)
            writeFile(path, renewed);
    }
}

} // namespace

void addCompletion(CommandLine &line)
{
    DeclaredCommand const command(line, "completion", "Writes the script with which a shell completes command lines of okt.");
    auto const shell = std::make_shared<std::string>();
    command.option("SHELL", *shell, "bash, zsh or fish").required().oneOf({"bash", "zsh", "fish"});
    command.onParsed([&line, shell] {
        line.run = [shell] {
            print(completionScript(*shell));
            return kDone;
        };
    });
}

void addPages(CommandLine &line)
{
    DeclaredCommand const command(line, "pages", "Writes man pages and completions into a folder, for the installation.");
    command.hide(); // hidden: only the build uses it, and whoever changes a command
    auto const folder = std::make_shared<std::string>();
    auto const manual = std::make_shared<std::string>();
    DeclaredOption const output =
        command.option("-o,--output", *folder, "the folder, which stands for share/ of an installation").valueName("DIR");
    command.option("--manual", *manual, "a folder with the pages of the manual, in which what okt says is renewed")
        .valueName("DIR")
        .excludes(output);
    command.onParsed([&line, folder, manual] {
        if (folder->empty() && manual->empty())
            refuseMissing("--output");
        line.run = [&line, folder, manual] {
            if (manual->empty())
                writePages(line.app, utf8Path(*folder));
            else
                renewManual(line.app, utf8Path(*manual));
            return kDone;
        };
    });
}

} // namespace okt
