// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace okt
{

/// A command line that cannot be carried out. `what()` is the reason, `command` whose help tells more; null: that of the program.
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
/// that leaves one. It is given back in the form that the parser takes in one way only: options in front, by their long names, then
/// `--` and the operands. Throws WrongUsage.
std::vector<std::string> arranged(CLI::App const &app, std::vector<std::string> const &words);

/// What is wrong by the parser's own rules, in our words.
WrongUsage wrongUsage(CLI::App const &app, CLI::ParseError const &error);

WrongUsage noCommand(CLI::App const &app, std::string const &name);

/// The one of some names that was probably meant; empty: none.
std::string nearest(std::string const &word, std::vector<std::string> const &names);

} // namespace okt
