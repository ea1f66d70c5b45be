// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace okt
{

// A command's help is the one source of its text: the man pages and the completions are made of it.
//
// In the description of a command the first lines tell what it does, and each line that begins with two blanks and "okt" is an
// example. A footer tells its exit codes where they are others than usual.

struct CommandHelp
{
    std::string summary; ///< its first line stands for it in a list
    std::vector<std::string> examples;
    std::string exitCodes; ///< without the words "Exit code: "
};

/// To be called when all commands are declared: brings their texts into the form of the help.
void finishHelp(CLI::App &app);
/// What --help of the program or of a command prints; behind finishHelp.
std::string helpText(CLI::App const &app);
/// Of a command, behind finishHelp.
CommandHelp const &helpOf(CLI::App const &command);

/// The commands that are told of, in the order in which they were added.
std::vector<CLI::App const *> commandsOf(CLI::App const &app);
/// The options of a command that are told of, without its positionals.
std::vector<CLI::Option const *> optionsOf(CLI::App const &command);
/// Its operands.
std::vector<CLI::Option const *> positionalsOf(CLI::App const &command);
/// "-u" and "--unit".
std::vector<std::string> namesOf(CLI::Option const &option);
/// "FILE", "mm|cm|m|in|ft"; empty for a flag.
std::string valueNameOf(CLI::Option const &option);
/// The values that an option takes, where it takes no others.
std::vector<std::string> choicesOf(CLI::Option const &option);
/// The option is given a file or a folder. What has no other kind and no choices is one.
bool takesFile(CLI::Option const &option);

std::string firstLine(std::string const &text);

/// For CLI::Option::check: why a text is no whole number from 0 on; empty: it is one.
std::string wholeNumberFault(std::string const &text);

} // namespace okt
