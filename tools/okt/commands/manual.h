// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI
{
class App;
}

namespace okt
{

// The pages of docs/manual, which are built in. A page tells what a command is for, and shows it at work; what the parser knows (the
// operands, the options, the exit codes) is written into it by okt. Help and man pages are made of both.

/// A page as it lies there.
struct ManualPage
{
    std::string_view name; ///< of the command
    std::string_view text; ///< Markdown
};

/// In the order of their names.
std::vector<ManualPage> const &manualPages();

/// A command that a page shows behind "$ ", and what it prints; or one that stands there without, to be looked at alone.
struct ManualExample
{
    std::string command;
    std::string output;
};

/// The parts of a page.
struct ManualText
{
    std::string description; ///< what stands in front of the examples, and behind them
    std::string examples;
    std::vector<ManualExample> commands; ///< of the examples
};

/// Empty for a command without a page.
ManualText manualOf(std::string_view command);

/// What okt says of a command, as its page has it between two marks.
std::string manualHead(CLI::App const &command);
/// The page with that renewed. Throws Failure where the marks are missing.
std::string renewedPage(CLI::App const &command, std::string const &name, std::string const &text);

/// A man page's lines of a text in Markdown: paragraphs, lists, tables, blocks of code, headings. Own code: man pages are made where okt runs.
std::string roffOfMarkdown(std::string_view text);
/// Escapes a text for a man page: no line is a request, and a hyphen stays a hyphen.
std::string roff(std::string_view text);

} // namespace okt
