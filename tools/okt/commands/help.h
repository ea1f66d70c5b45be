// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace okt
{

// The help of a command is the source of the man pages and the completions too.
//
// The description of a command says what it does. A footer lists its exit codes if they are not the usual ones. The examples are those
// of its page in the manual.

struct CommandHelp
{
    std::string summary; ///< the list of commands shows its first line
    std::vector<std::string> examples;
    std::string exitCodes; ///< without the words "Exit code: "
};

/// Call it after all commands are declared: it formats their texts.
void finishHelp(CLI::App &app);
/// The output of --help of the program or of a command. Call it after finishHelp.
std::string helpText(CLI::App const &app);
/// "okt set [OPTIONS] FILE|NAME=VALUE ...".
std::string usageOf(CLI::App const &command);
/// The parts of the help of a command. Call it after finishHelp.
CommandHelp const &helpOf(CLI::App const &command);

/// The documented commands, in the order in which they were added.
std::vector<CLI::App const *> commandsOf(CLI::App const &app);
/// The documented options of a command, without its operands.
std::vector<CLI::Option const *> optionsOf(CLI::App const &command);
/// Its operands.
std::vector<CLI::Option const *> positionalsOf(CLI::App const &command);
/// "-u" and "--unit".
std::vector<std::string> namesOf(CLI::Option const &option);
/// "FILE", "mm|cm|m|in|ft"; empty for a flag.
std::string valueNameOf(CLI::Option const &option);
/// The values of an option that accepts only certain ones.
std::vector<std::string> choicesOf(CLI::Option const &option);
/// The value of the option is a file or a folder: it has no other type and no list of values.
bool takesFile(CLI::Option const &option);

std::string firstLine(std::string const &text);

/// For CLI::Option::check: why a text is not a whole number of at least 0; empty: it is one.
std::string wholeNumberFault(std::string const &text);

} // namespace okt
