// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace CLI
{
class App;
class ParseError;
} // namespace CLI

namespace okt
{

/// A wrong command line. `what()` is the reason. `command` is the command whose help to mention; null: the program.
class WrongUsage : public std::runtime_error
{
public:
    WrongUsage(CLI::App const *command, std::string const &reason) : std::runtime_error(reason), m_command(command) {}

    CLI::App const *command() const { return m_command; }

private:
    CLI::App const *m_command;
};

/// A command line, the name of the program first, as getopt_long reads it: options and operands in any order, `--` ends the
/// options, `--name value` and `--name=value`, `-nvalue` and `-n value`, flags of one letter together, long names shortened where
/// that is unique. Returns an unambiguous form for the parser: options first, with their long names, then
/// `--` and the operands. Own code, because CLI11 shortens no names and says nothing of a near one. Throws WrongUsage.
std::vector<std::string> arranged(CLI::App const &app, std::vector<std::string> const &words);

/// Our message for an error of the parser.
WrongUsage wrongUsage(CLI::App const &app, CLI::ParseError const &error);

WrongUsage noCommand(CLI::App const &app, std::string const &name);

/// The name that was probably meant; empty: none.
std::string nearest(std::string const &word, std::vector<std::string> const &names);

} // namespace okt
