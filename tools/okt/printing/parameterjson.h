// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/parametervalue.h>

#include <nlohmann/json.hpp>

#include <string>

namespace okt
{

using PlainJson = nlohmann::ordered_json;

/// A number, a text, true or false; null for a value that is none, and for a number that JSON has not.
PlainJson jsonOf(ParameterValue const &value);
/// On a line of its own; what is no character becomes U+FFFD.
std::string lineOf(PlainJson const &json);

/// Name, id, type, value and unit of a parameter, with the list code, the expression and the description where there are such.
PlainJson parameterJson(StoredParameter const &parameter, LengthUnit const &shown, LengthUnit const &drawn);

/// A template as a program wants it: pool, unit, groups, categories, parameters, relations, pictures, other objects.
PlainJson templateJson(StoredTemplate const &pool, LengthUnit const &shown);
/// The same as a tree: groups hold their categories, these their parameters, and these what they use.
PlainJson treeJson(StoredTemplate const &pool, LengthUnit const &shown);

} // namespace okt
