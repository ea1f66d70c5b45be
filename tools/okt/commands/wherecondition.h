// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/condition.h>
#include <tools/okt/commands/declaration.h>

#include <string>

namespace okt
{

/// The option --where of commands over many templates.
DeclaredOption addWhere(DeclaredCommand const &command, std::string &where);

/// Throws an error of usage with the column of what is wrong.
Condition whereCondition(std::string const &text, LengthUnit const &plain);

/// Throws Failure about the file where a value is compared with one of another kind.
bool isFulfilled(Condition const &condition, StoredTemplate const &pool, LengthUnit const &drawn, std::string const &file);

} // namespace okt
