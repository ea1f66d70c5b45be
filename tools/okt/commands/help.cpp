// SPDX-License-Identifier: MIT
#include <tools/okt/commands/help.h>

#include <tools/okt/commands/manual.h>

#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

namespace okt
{

namespace
{

constexpr char kUsualExitCodes[] = "0 done, 1 failed (one line on standard error: file, place, reason), 2 wrong usage.";
constexpr std::string_view kExitCode = "Exit code: ";

std::map<CLI::App const *, CommandHelp> g_help;

/// In the list of commands one line for each is enough.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_subcommand(CLI::App const *command) const override
    {
        std::stringstream text;
        CLI::detail::format_help(text, command->get_display_name(true), firstLine(command->get_description()),
                                 get_column_width());
        return text.str();
    }

    std::string make_option_opts(CLI::Option const *option) const override
    {
        std::string const value = valueNameOf(*option);
        return (value.empty() ? "" : " " + value) + (option->get_required() && option->nonpositional() ? " (required)" : "");
    }

    std::string make_footer(CLI::App const *app) const override
    {
        std::string const footer = app->get_footer();
        return footer.empty() ? "" : footer + "\n";
    }
};

} // namespace

void finishHelp(CLI::App &app)
{
    auto const formatter = std::make_shared<HelpFormatter>();
    app.formatter(formatter);
    app.footer(sentence("okt help COMMAND tells more, with examples.\n"
                        "{}{} okt find, okt get, okt set, okt lint, okt verify, okt edit and okt diff tell their own.",
                        kExitCode, kUsualExitCodes));
    for (CLI::App *const command : app.get_subcommands(nullptr))
    {
        command->formatter(formatter);
        CommandHelp &help = g_help[command];
        help.summary = command->get_description();
        for (ManualExample const &example : manualOf(command->get_name()).commands)
            help.examples.push_back(example.command);
        std::string const codes = command->get_footer();
        help.exitCodes = codes.empty() ? kUsualExitCodes : codes.substr(codes.starts_with(kExitCode) ? kExitCode.size() : 0);
        std::string footer = help.examples.empty() ? "" : "Examples:\n";
        for (std::string const &example : help.examples)
            footer += sentence("  {}\n", example);
        command->footer(footer + (footer.empty() ? "" : "\n") + std::string(kExitCode) + help.exitCodes);
    }
}

std::string helpText(CLI::App const &app)
{
    std::string const name =
        app.get_parent() == nullptr ? app.get_name() : sentence("{} {}", app.get_parent()->get_name(), app.get_name());
    return app.get_formatter()->make_help(&app, name, CLI::AppFormatMode::Normal);
}

std::string usageOf(CLI::App const &command)
{
    std::string text = sentence("okt {} [OPTIONS]", command.get_name());
    for (CLI::Option const *const operand : positionalsOf(command))
        text += sentence(" {}{}", operand->get_name(true), operand->get_expected_max() > 1 ? " ..." : "");
    return text;
}

CommandHelp const &helpOf(CLI::App const &command) { return g_help[&command]; }

std::vector<CLI::App const *> commandsOf(CLI::App const &app)
{
    std::vector<CLI::App const *> commands;
    for (CLI::App const *const command : app.get_subcommands([](CLI::App const *one) { return !one->get_group().empty(); }))
        commands.push_back(command);
    return commands;
}

std::vector<CLI::Option const *> optionsOf(CLI::App const &command)
{
    return command.get_options(
        [](CLI::Option const *option) { return option->nonpositional() && !option->get_group().empty(); });
}

std::vector<CLI::Option const *> positionalsOf(CLI::App const &command)
{
    return command.get_options([](CLI::Option const *option) { return option->get_positional(); });
}

std::vector<std::string> namesOf(CLI::Option const &option)
{
    std::vector<std::string> names;
    for (std::string const &name : option.get_snames())
        names.push_back("-" + name);
    for (std::string const &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::vector<std::string> choicesOf(CLI::Option const &option)
{
    // A check for one of several names itself "{a,b}" behind the type.
    std::string const type = option.get_type_name();
    std::size_t const begin = type.find('{');
    std::size_t const end = type.find('}', begin == std::string::npos ? 0 : begin);
    std::vector<std::string> choices;
    if (begin == std::string::npos || end == std::string::npos)
        return choices;
    std::istringstream list(type.substr(begin + 1, end - begin - 1));
    for (std::string choice; std::getline(list, choice, ',');)
        choices.push_back(choice);
    return choices;
}

std::string valueNameOf(CLI::Option const &option)
{
    if (option.get_expected_max() == 0 || option.get_type_size() == 0 || option.get_positional())
        return "";
    std::string name;
    for (std::string const &choice : choicesOf(option))
        name += (name.empty() ? "" : "|") + choice;
    if (!name.empty())
        return name;
    std::string const type = option.get_type_name();
    if (type.starts_with("TEXT"))
        return "FILE";
    if (type.starts_with("INT") || type.starts_with("UINT") || type.starts_with("NONNEGATIVE") || type.starts_with("FLOAT"))
        return "N";
    return type.substr(0, type.find(':'));
}

bool takesFile(CLI::Option const &option)
{
    std::string const name = valueNameOf(option);
    return option.get_positional() ? choicesOf(option).empty() : name == "FILE" || name == "DIR";
}

std::string firstLine(std::string const &text) { return text.substr(0, text.find('\n')); }

std::string wholeNumberFault(std::string const &text)
{
    bool const isOne = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return isOne ? "" : text + " is no whole number from 0 on";
}

} // namespace okt
