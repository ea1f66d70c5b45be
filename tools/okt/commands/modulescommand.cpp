// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/modules.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>

namespace okt
{

namespace
{

std::string nameOf(std::filesystem::path const &path) { return printable(std::string_view(pathName(path))); }

std::string classesOf(Module const &module)
{
    std::string text;
    for (std::string const &name : module.classes)
        text += (text.empty() ? "" : ", ") + printable(std::string_view(name));
    return text;
}

std::string fileText(ModuleFolder const &folder, std::filesystem::path const &file)
{
    std::string reason = refusalOfModule(folder, file);
    if (reason.empty())
        reason = modules().loadFound(file, folder.origin);
    Module const *const module = modules().loadedFrom(file);
    return sentence("{}: {}", nameOf(file.filename()),
                    reason.empty() && module != nullptr ? classesOf(*module) : "not used: " + reason);
}

int listModules()
{
    std::string text;
    for (std::unique_ptr<Module> const &module : modules().loaded())
        text += sentence("{}, from --module: {}\n", nameOf(module->file), classesOf(*module));
    for (ModuleFolder const &folder : modules().folders())
    {
        text += sentence("{}{}{}\n", nameOf(folder.path),
                         folder.origin == ModuleOrigin::Variable ? ", from OKT_MODULE_PATH" : ", okt's own",
                         folder.refusal.empty() ? "" : ": not looked into: " + folder.refusal);
        for (std::filesystem::path const &file : moduleFilesIn(folder))
            text += sentence("  {}\n", fileText(folder, file));
    }
    print(text);
    return kDone;
}

} // namespace

void addModules(CommandLine &line)
{
    DeclaredCommand const command(
        line, "modules", "Lists the client modules that okt finds, where, and the classes that they bring; each is loaded.");
    command.onParsed([&line] { line.run = listModules; });
}

} // namespace okt
