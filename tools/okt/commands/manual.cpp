// SPDX-License-Identifier: MIT
#include <tools/okt/commands/manual.h>

#include <tools/okt/commands/help.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace okt
{

namespace
{

constexpr std::string_view kBegin =
    "<!-- what okt says of itself, as \"okt pages --manual docs/manual\" renews it: begin -->\n";
constexpr std::string_view kEnd = "<!-- what okt says of itself: end -->\n";
constexpr std::string_view kExamples = "\n## Examples\n";
constexpr std::string_view kFence = "```";

std::vector<std::string> linesOf(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// The page without its heading and without what stands between the marks.
std::string ownText(std::string_view page)
{
    std::size_t const end = page.find(kEnd);
    return end == std::string_view::npos ? std::string() : std::string(page.substr(end + kEnd.size()));
}

std::vector<ManualExample> examplesIn(std::string const &text)
{
    std::vector<ManualExample> examples;
    bool isInBlock = false;
    bool isShown = false; // the output of a command
    for (std::string const &line : linesOf(text))
    {
        if (line.starts_with(kFence))
        {
            isInBlock = !isInBlock;
            isShown = false;
        }
        else if (isInBlock && line.starts_with("$ "))
        {
            examples.push_back({line.substr(2), ""});
            isShown = true;
        }
        else if (isInBlock && isShown)
            examples.back().output += line + "\n";
        else if (isInBlock)
            examples.push_back({line, ""});
    }
    return examples;
}

/// A cell of a table.
std::string cell(std::string const &text)
{
    std::string escaped;
    for (char const c : text)
        escaped += c == '|' ? "\\|" : std::string(1, c == '\n' ? ' ' : c);
    return escaped;
}

std::string code(std::string const &text) { return sentence("`{}`", cell(text)); }

} // namespace

ManualText manualOf(std::string_view command)
{
    std::vector<ManualPage> const &pages = manualPages();
    auto const found =
        std::find_if(pages.begin(), pages.end(), [command](ManualPage const &page) { return page.name == command; });
    if (found == pages.end())
        return {};
    std::string text = ownText(found->text);
    ManualText result;
    if (std::size_t const begin = text.find(kExamples); begin != std::string::npos)
    {
        std::size_t end = text.find("\n## ", begin + 1);
        end = end == std::string::npos ? text.size() : end;
        result.examples = text.substr(begin + kExamples.size(), end - begin - kExamples.size());
        text.erase(begin, end - begin);
    }
    result.description = std::move(text);
    result.commands = examplesIn(result.examples);
    return result;
}

std::string manualHead(CLI::App const &command)
{
    std::string text = sentence("{}\n\n```\n{}\n```\n\n", helpOf(command).summary, usageOf(command));
    std::string rows;
    for (CLI::Option const *const operand : positionalsOf(command))
        rows += sentence("| {} | {} |\n", code(operand->get_name(true)), cell(operand->get_description()));
    for (CLI::Option const *const option : optionsOf(command))
    {
        std::string names;
        for (std::string const &name : namesOf(*option))
            names += (names.empty() ? "" : ", ") + code(name);
        std::string const value = valueNameOf(*option);
        rows += sentence("| {}{} | {}{} |\n", names, value.empty() ? "" : " " + code(value), cell(option->get_description()),
                         option->get_required() ? " (required)" : "");
    }
    if (!rows.empty())
        text += sentence("| | Meaning |\n|---|---|\n{}\n", rows);
    return sentence("{}Exit code: {}\n", text, helpOf(command).exitCodes);
}

std::string renewedPage(CLI::App const &command, std::string const &name, std::string const &text)
{
    std::size_t const begin = text.find(kBegin);
    std::size_t const end = text.find(kEnd);
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        throw Failure(name, "", "the marks of what okt says of itself are missing");
    return text.substr(0, begin + kBegin.size()) + manualHead(command) + text.substr(end);
}

} // namespace okt
