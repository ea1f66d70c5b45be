// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/condition.h>

#include <CLI/CLI.hpp>

#include <string>

namespace okt
{

/// The option --where of commands over many templates.
CLI::Option *addWhere(CLI::App &command, std::string &where);

/// Throws CLI::ParseError with the column of what is wrong.
Condition whereCondition(std::string const &text, LengthUnit const &plain);

/// Throws Failure about the file where a value is compared with one of another kind.
bool isFulfilled(Condition const &condition, StoredTemplate const &pool, LengthUnit const &drawn, std::string const &file);

} // namespace okt
