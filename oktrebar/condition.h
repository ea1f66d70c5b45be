// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/storedtemplate.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

/// What is wrong with a condition, and the place of the character in its text (from 0).
class ConditionError : public std::runtime_error
{
public:
    /// `position` counts characters from 0.
    ConditionError(std::size_t position, std::string const &reason) : std::runtime_error(reason), m_position(position) {}
    /// The character at which the condition cannot be read, from 0.
    std::size_t position() const { return m_position; }

private:
    std::size_t m_position;
};

/// A condition that a template fulfils or not, such as: Diameter>=16 mm and "Shape code"=51 (own code: four rules and units)
///
///     any        = all { "or" all }
///     all        = one { "and" one }
///     one        = "not" one | "(" any ")" | name [ comparison value ]
///     comparison = "=" | "!=" | "<" | "<=" | ">" | ">="
///
/// A name is that of a parameter, its id, "type:" and a number, or "objectclass" for the classes of the objects and their bases;
/// with blanks in it, it stands in quotation marks, as do texts. A name alone asks whether there is such a parameter, and of a
/// truth value whether it is true. Of several parameters one that fulfils it is enough, and a parameter that is not there fulfils
/// no comparison. The case of letters does not count. A length without a unit is in the unit `plain`.
class Condition
{
public:
    /// Throws ConditionError.
    Condition(std::string_view text, LengthUnit const &plain);
    ~Condition();
    Condition(Condition &&) noexcept;
    Condition &operator=(Condition &&) noexcept;

    /// `drawn` is the unit in which the template was made. Throws ConditionError for a value of another kind than the parameter's.
    bool holds(StoredTemplate const &pool, LengthUnit const &drawn) const;

    struct Node;

private:
    std::unique_ptr<Node> m_root;
    LengthUnit const *m_plain;
};

} // namespace okt
