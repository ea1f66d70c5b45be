// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// Formulas in tables of rules: "16d", "2(A+B+(C))-2.5r-5d"; own code: a small grammar, faults told by character. A formula has no unit; the result has that of its variables.

/// Why a formula has no value, and the index of the character in its text (from 0).
class FormulaError : public std::runtime_error
{
public:
    /// `position` counts characters from 0.
    FormulaError(std::size_t position, std::string const &reason) : std::runtime_error(reason), m_position(position) {}
    std::size_t position() const { return m_position; }

private:
    std::size_t m_position;
};

using Variables = std::map<std::string, double, std::less<>>;

/// The value of a formula as reinforcement tables print them, such as "2(A+B+(C))-2.5r-5d" or "max(4 d; 2.5 in)".
///
///     sum     = ["+" | "-"] product { ("+" | "-") product }
///     product = factor { ["*" | "/"] factor }        factors side by side are multiplied
///     factor  = number | name | "max" "(" sum ";" sum ")" | "(" sum ")"
///
/// A name is a run of letters: "pi" or one of the variables. Throws FormulaError for everything else, for a division by zero
/// and for a value that is not finite.
double evaluate(std::string_view formula, Variables const &variables);

// Expressions of parameters, "2*LegA+2*LegB+max(16*Diameter;160)", are of the same grammar, but their names are those of parameters
// without blanks: letters, digits and underscores, the first no digit. There is "min" besides "max"; both take any number of terms,
// with a semicolon or a comma between them. Of one term are abs, ceil, floor, round and sqrt. The case of
// their letters does not count.

/// The value of a name. Nothing: it is not known.
using NameLookup = std::function<std::optional<double>(std::string_view name)>;

/// Throws FormulaError as `evaluate` does.
double evaluateExpression(std::string_view expression, NameLookup const &valueOf);

/// What could be a name in a text, each once; the text need not be one that can be read.
std::vector<std::string> wordsIn(std::string_view expression);
/// The names that an expression has, each once, in the order of the text. Throws FormulaError where it cannot be read.
std::vector<std::string> namesIn(std::string_view expression);

} // namespace okt
