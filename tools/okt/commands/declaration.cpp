// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <CLI/CLI.hpp>

namespace okt
{

DeclaredOption DeclaredOption::required() const
{
    m_option->required();
    return *this;
}

DeclaredOption DeclaredOption::valueName(std::string const &name) const
{
    m_option->type_name(name);
    return *this;
}

DeclaredOption DeclaredOption::oneOf(std::vector<std::string> const &values) const
{
    m_option->check(CLI::IsMember(values));
    return *this;
}

DeclaredOption DeclaredOption::checkedBy(std::function<std::string(std::string const &)> const &fault) const
{
    m_option->check(fault);
    return *this;
}

DeclaredOption DeclaredOption::excludes(DeclaredOption const &other) const
{
    m_option->excludes(other.m_option);
    return *this;
}

DeclaredOption DeclaredOption::oneValueEach() const
{
    m_option->allow_extra_args(false);
    return *this;
}

bool DeclaredOption::isGiven() const { return m_option->count() != 0; }

DeclaredCommand::DeclaredCommand(CommandLine &line, std::string const &name, std::string const &description)
    : m_command(line.app.add_subcommand(name, description))
{
}

DeclaredOption DeclaredCommand::option(std::string const &name, std::string &value, std::string const &description) const
{
    return DeclaredOption(*m_command->add_option(name, value, description));
}

DeclaredOption DeclaredCommand::option(std::string const &name, std::vector<std::string> &values,
                                       std::string const &description) const
{
    return DeclaredOption(*m_command->add_option(name, values, description));
}

DeclaredOption DeclaredCommand::option(std::string const &name, int &value, std::string const &description) const
{
    return DeclaredOption(*m_command->add_option(name, value, description));
}

DeclaredOption DeclaredCommand::option(std::string const &name, std::int64_t &value, std::string const &description) const
{
    return DeclaredOption(*m_command->add_option(name, value, description));
}

DeclaredOption DeclaredCommand::flag(std::string const &name, bool &value, std::string const &description) const
{
    return DeclaredOption(*m_command->add_flag(name, value, description));
}

void DeclaredCommand::footer(std::string const &text) const { m_command->footer(text); }

void DeclaredCommand::hide() const { m_command->group(""); }

void DeclaredCommand::onParsed(std::function<void()> const &function) const { m_command->callback(function); }

void refuse(std::string const &name, std::string const &reason) { throw CLI::ValidationError(name, reason); }

void refuseMissing(std::string const &name) { throw CLI::RequiredError(name); }

} // namespace okt
