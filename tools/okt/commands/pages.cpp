// SPDX-License-Identifier: MIT
#include <tools/okt/commands/pages.h>

#include <tools/okt/commands/help.h>
#include <tools/okt/commands/manual.h>

#include <algorithm>
#include <cctype>

namespace okt
{

namespace
{

std::string bold(std::string_view text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roff(text) + "\\fR"; }

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string heading(std::string const &name)
{
    return ".TH " + upper(name) + " 1 \"\" \"okt " OKT_VERSION "\" \"User commands\"\n";
}

std::string optionsSection(CLI::App const &command)
{
    std::string page = ".SH OPTIONS\n";
    for (CLI::Option const *const option : positionalsOf(command))
        page += ".TP\n" + italic(option->get_name(true)) + "\n" + roff(option->get_description()) + "\n";
    for (CLI::Option const *const option : optionsOf(command))
    {
        page += ".TP\n";
        std::string line;
        for (std::string const &name : namesOf(*option))
            line += (line.empty() ? "" : ", ") + bold(name);
        std::string const value = valueNameOf(*option);
        page += line + (value.empty() ? "" : " " + italic(value)) + "\n" + roff(option->get_description()) +
                (option->get_required() ? " (required)" : "") + "\n";
    }
    return page;
}

std::string exitSection(std::string const &codes) { return ".SH EXIT STATUS\n" + roff(codes) + "\n"; }

constexpr char kUsual[] = "0 done, 1 failed (one line on standard error: file, place, reason), 2 wrong usage. "
                          "okt find: 1 also where nothing is found. okt verify: 1 also where an error is found. "
                          "okt diff: 0 the same, 1 different, 2 trouble. 141: whoever read standard output has gone.";

} // namespace

std::string manPage(CLI::App const &app)
{
    std::string page = heading("okt") + ".SH NAME\nokt \\- " + roff(app.get_description()) + "\n.SH SYNOPSIS\n" + bold("okt") +
                       " [" + italic("OPTIONS") + "] " + italic("COMMAND") + " ...\n.SH COMMANDS\n";
    for (CLI::App const *const command : commandsOf(app))
        page += ".TP\n" + bold("okt-" + command->get_name()) + "(1)\n" + roff(helpOf(*command).summary) + "\n";
    page += optionsSection(app) + exitSection(kUsual);
    page += ".SH ENVIRONMENT\n.TP\n" + bold("OKT_MODULE_PATH") +
            "\nfolders in which client modules are looked for, whole paths with : between them (; on Windows)\n.TP\n" +
            bold("NO_COLOR") + "\nnot empty: no colours, whatever the terminal\n.TP\n" + bold("TERM") +
            "\ndumb: neither colours nor progress\n";
    return page;
}

std::string manPage(CLI::App const &app, CLI::App const &command)
{
    CommandHelp const &help = helpOf(command);
    std::string const name = "okt-" + command.get_name();
    std::string page = heading(name) + ".SH NAME\n" + roff(name) + " \\- " + roff(firstLine(help.summary)) +
                       "\n.SH SYNOPSIS\n" + bold("okt " + command.get_name()) + " [" + italic("OPTIONS") + "]";
    for (CLI::Option const *const option : positionalsOf(command))
        page += " " + italic(option->get_name(true) + (option->get_expected_max() > 1 ? " ..." : ""));
    page += "\n.SH DESCRIPTION\n" + roff(help.summary) + "\n" + optionsSection(command);
    ManualText const manual = manualOf(command.get_name());
    if (std::string const details = roffOfMarkdown(manual.description); !details.empty())
        page += ".SH DETAILS\n" + details;
    if (!manual.examples.empty())
        page += ".SH EXAMPLES\n" + roffOfMarkdown(manual.examples);
    page += exitSection(help.exitCodes) + ".SH SEE ALSO\n" + bold("okt") + "(1)";
    for (CLI::App const *const other : commandsOf(app))
        if (other != &command)
            page += ",\n" + bold("okt-" + other->get_name()) + "(1)";
    return page + "\n";
}

} // namespace okt
