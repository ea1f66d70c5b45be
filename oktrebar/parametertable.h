// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/parametervalue.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

// Many templates side by side: one row a template, one column a parameter.

struct TableRow
{
    std::string file;
    std::vector<std::optional<ShownValue>> fields; ///< nothing: the template has no such parameter
    std::vector<std::size_t> several;              ///< columns that more than one parameter would fill: the first does
};

/// `unit` is that of lengths.
TableRow rowOf(StoredTemplate const &pool, std::string file, std::vector<ParameterSelector> const &columns,
               LengthUnit const &unit);
/// The same where the unit in which the template was made is known: finding it takes longer than all else.
TableRow rowOf(StoredTemplate const &pool, std::string file, std::vector<ParameterSelector> const &columns,
               LengthUnit const &unit, LengthUnit const &drawn);

} // namespace okt
