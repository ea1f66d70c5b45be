// SPDX-License-Identifier: MIT
#include <tools/okt/commands/arguments.h>
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/help.h>
#include <tools/okt/terminal/console.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace okt
{

void addHelp(CommandLine &line)
{
    DeclaredCommand const command(line, "help", "Tells how a command is used, as its --help does.");
    std::string names;
    for (CLI::App const *const other : commandsOf(line.app))
        names += (names.empty() ? "{" : ",") + other->get_name();
    auto const name = std::make_shared<std::string>();
    command.option("COMMAND", *name, "a command; without it all of them are listed").valueName(names + "}");
    command.onParsed([&line, name] {
        auto const isMeant = [&name](CLI::App const *other) { return other->check_name(*name); };
        std::vector<CLI::App *> const found = line.app.get_subcommands(isMeant);
        if (found.empty() && !name->empty())
            throw noCommand(line.app, *name);
        line.run = [text = helpText(found.empty() ? line.app : *found.front())] {
            print(text);
            return kDone;
        };
    });
}

} // namespace okt
