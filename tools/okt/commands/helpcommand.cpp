// SPDX-License-Identifier: MIT
#include <tools/okt/commands/arguments.h>
#include <tools/okt/commands/commands.h>

#include <tools/okt/commands/help.h>
#include <tools/okt/terminal/console.h>

#include <memory>

namespace okt
{

void addHelp(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand("help", "Tells how a command is used, as its --help does.");
    std::string names;
    for (CLI::App const *const other : commandsOf(line.app))
        names += (names.empty() ? "{" : ",") + other->get_name();
    auto const name = std::make_shared<std::string>();
    command->add_option("COMMAND", *name, "a command; without it all of them are listed")->type_name(names + "}");
    command->callback([&line, name] {
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
