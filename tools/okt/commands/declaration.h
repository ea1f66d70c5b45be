// SPDX-License-Identifier: MIT
#pragma once

// What a command says of its command line. The parser's library is large, and only the source of this header and what prints help
// include it.

#include <tools/okt/commands/commands.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI
{
class Option;
}

namespace okt
{

/// An option or operand of a command. Each operation returns the option itself, so that they are written in a row.
class DeclaredOption
{
public:
    explicit DeclaredOption(CLI::Option &option) : m_option(&option) {}

    DeclaredOption required() const;
    /// What stands for its value in the help.
    DeclaredOption valueName(std::string const &name) const;
    DeclaredOption oneOf(std::vector<std::string> const &values) const;
    /// The function returns what is wrong with a value; empty: nothing.
    DeclaredOption checkedBy(std::function<std::string(std::string const &)> const &fault) const;
    DeclaredOption excludes(DeclaredOption const &other) const;
    /// Of an option that may stand more than once: it takes one value each time.
    DeclaredOption oneValueEach() const;
    /// To be asked when the line is parsed.
    bool isGiven() const;

private:
    CLI::Option *m_option;
};

/// A command while it is declared. What it is declared with must live until `onParsed` is called, which a shared structure does that
/// this function holds.
class DeclaredCommand
{
public:
    DeclaredCommand(CommandLine &line, std::string const &name, std::string const &description);

    /// An operand, such as "FILE", or an option, such as "-o,--output".
    DeclaredOption option(std::string const &name, std::string &value, std::string const &description) const;
    DeclaredOption option(std::string const &name, std::vector<std::string> &values, std::string const &description) const;
    DeclaredOption option(std::string const &name, int &value, std::string const &description) const;
    DeclaredOption option(std::string const &name, std::int64_t &value, std::string const &description) const;
    DeclaredOption flag(std::string const &name, bool &value, std::string const &description) const;
    /// The last paragraph of its help: the exit codes.
    void footer(std::string const &text) const;
    /// It stands in no list of commands.
    void hide() const;
    /// Is called when the command was given and its line is parsed. It may call `refuse` and `refuseMissing`.
    void onParsed(std::function<void()> const &function) const;

private:
    CLI::App *m_command;
};

/// The value of an option or operand is wrong.
[[noreturn]] void refuse(std::string const &name, std::string const &reason);
/// An option or operand is not there.
[[noreturn]] void refuseMissing(std::string const &name);

} // namespace okt
