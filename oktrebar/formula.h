// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

// Formulas in tables of rules: "16d", "2(A+B+(C))-2.5r-5d". A formula has no unit; the result has the unit of its variables.

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

} // namespace okt
