// SPDX-License-Identifier: MIT
#include <tools/okt/commands/pages.h>

#include <tools/okt/commands/help.h>
#include <tools/okt/commands/manual.h>

#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>

namespace okt
{

namespace
{

std::string bold(std::string_view text) { return sentence("\\fB{}\\fR", roff(text)); }
std::string italic(std::string_view text) { return sentence("\\fI{}\\fR", roff(text)); }

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string heading(std::string const &name)
{
    return sentence(".TH {} 1 \"\" \"okt " OKT_VERSION "\" \"User commands\"\n", upper(name));
}

std::string optionsSection(CLI::App const &command)
{
    std::string page = ".SH OPTIONS\n";
    for (CLI::Option const *const option : positionalsOf(command))
        page += sentence(".TP\n{}\n{}\n", italic(option->get_name(true)), roff(option->get_description()));
    for (CLI::Option const *const option : optionsOf(command))
    {
        page += ".TP\n";
        std::string line;
        for (std::string const &name : namesOf(*option))
            line += (line.empty() ? "" : ", ") + bold(name);
        std::string const value = valueNameOf(*option);
        page += sentence("{}{}\n{}{}\n", line, value.empty() ? "" : " " + italic(value), roff(option->get_description()),
                         option->get_required() ? " (required)" : "");
    }
    return page;
}

std::string exitSection(std::string const &codes) { return sentence(".SH EXIT STATUS\n{}\n", roff(codes)); }

constexpr char kUsual[] = "0 done, 1 failed (one line on standard error: file, place, reason), 2 wrong usage. "
                          "okt find: 1 also where nothing is found. okt verify: 1 also where an error is found. "
                          "okt diff: 0 the same, 1 different, 2 trouble. 141: whoever read standard output has gone.";

} // namespace

std::string manPage(CLI::App const &app)
{
    std::string page = sentence("{}.SH NAME\nokt \\- {}\n.SH SYNOPSIS\n{} [{}] {} ...\n.SH COMMANDS\n", heading("okt"),
                                roff(app.get_description()), bold("okt"), italic("OPTIONS"), italic("COMMAND"));
    for (CLI::App const *const command : commandsOf(app))
        page += sentence(".TP\n{}(1)\n{}\n", bold("okt-" + command->get_name()), roff(helpOf(*command).summary));
    page += optionsSection(app) + exitSection(kUsual);
    page += sentence(".SH ENVIRONMENT\n"
                     ".TP\n"
                     "{}\n"
                     "folders in which client modules are looked for, whole paths with : between them (; on Windows)\n"
                     ".TP\n"
                     "{}\n"
                     "not empty: no colours, whatever the terminal\n"
                     ".TP\n"
                     "{}\n"
                     "dumb: neither colours nor progress\n",
                     bold("OKT_MODULE_PATH"), bold("NO_COLOR"), bold("TERM"));
    return page;
}

std::string manPage(CLI::App const &app, CLI::App const &command)
{
    CommandHelp const &help = helpOf(command);
    std::string const name = "okt-" + command.get_name();
    std::string page = sentence("{}.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n{} [{}]", heading(name), roff(name),
                                roff(firstLine(help.summary)), bold("okt " + command.get_name()), italic("OPTIONS"));
    for (CLI::Option const *const option : positionalsOf(command))
        page += " " + italic(option->get_name(true) + (option->get_expected_max() > 1 ? " ..." : ""));
    page += sentence("\n.SH DESCRIPTION\n{}\n{}", roff(help.summary), optionsSection(command));
    ManualText const manual = manualOf(command.get_name());
    if (std::string const details = roffOfMarkdown(manual.description); !details.empty())
        page += ".SH DETAILS\n" + details;
    if (!manual.examples.empty())
        page += ".SH EXAMPLES\n" + roffOfMarkdown(manual.examples);
    page += sentence("{}.SH SEE ALSO\n{}(1)", exitSection(help.exitCodes), bold("okt"));
    for (CLI::App const *const other : commandsOf(app))
        if (other != &command)
            page += sentence(",\n{}(1)", bold("okt-" + other->get_name()));
    return page + "\n";
}

} // namespace okt
