// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/storedtemplate.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

/// Why a text is no value for a parameter.
class ValueError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A value as people see it: a length, a diameter and the lengths of a quantity expression in a unit, all else as it is.
struct ShownValue
{
    ParameterValue value;
    LengthUnit const *unit = nullptr; ///< null: it has none
};

/// `drawn` is the unit in which the template was made (TemplateExpressions::unit), which a diameter is told in.
ShownValue shownValue(StoredParameter const &parameter, LengthUnit const &shown, LengthUnit const &drawn);
/// "35 mm", "B500B", "true"; nothing of a value that is none. Without unit the number alone.
std::string shownText(ShownValue const &shown, bool withUnit = true);

/// The value that a text gives a parameter, of the kind that it has and as the file has it. A length needs its unit, unless `plain`
/// is one. Throws ValueError for another kind or unit.
ParameterValue parsedValue(StoredParameter const &parameter, std::string_view text, LengthUnit const *plain,
                           LengthUnit const &drawn);

/// A term of a quantity expression: "4x150".
struct QuantityTerm
{
    std::optional<int> count; ///< nothing: ?, an open count
    double spacing = 0;
};
/// The terms of a quantity expression, "4x150 2x100", in the unit in which they stand. Throws ValueError.
std::vector<QuantityTerm> quantityTerms(std::string_view text);

/// "mm, cm, m, in, ft".
std::string lengthUnitNames();

} // namespace okt
