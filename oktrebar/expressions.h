// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/storedtemplate.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

// The expressions of a template's parameters: what they name, which unit they count in, what follows from a change.

/// A name in an expression, and the parameter that it leads to: one that the parameter uses, else the only one of that name in the
/// template.
struct ExpressionName
{
    std::string name;
    std::optional<std::size_t> parameter; ///< an index
    bool isAmbiguous = false;             ///< several have it
};

struct ParameterExpression
{
    std::size_t parameter = 0;
    std::vector<ExpressionName> names;
    std::string fault;       ///< why it cannot be read; empty: it can
    std::size_t faultAt = 0; ///< the character there, from 0
};

using ChangedValues = std::map<std::size_t, ParameterValue>; ///< by index, as the file has them

/// The template must outlive this, and not change.
class TemplateExpressions
{
public:
    /// Reads all expressions, and decides on the unit.
    explicit TemplateExpressions(StoredTemplate const &pool);

    /// The template that was given.
    StoredTemplate const &pool() const { return m_pool; }
    /// Null: the parameter has none.
    ParameterExpression const *of(std::size_t parameter) const;
    std::vector<ParameterExpression> const &all() const { return m_all; }

    /// The unit in which the template was made, which no file tells. It is the one in which the most expressions give the values that
    /// stand there; where they do not decide, the one that makes the diameter that of a bar: from 3 on millimetres, from 0.1 on
    /// inches, below metres.
    LengthUnit const &unit() const { return *m_unit; }

    /// What an expression gives, as the file has it. Throws FormulaError.
    double value(ParameterExpression const &expression, ChangedValues const &changed = {}) const;
    /// The value that stands there is what the expression gives. False too where that cannot be told.
    bool isKept(ParameterExpression const &expression) const;

    /// Circles of parameters each of which names the next, and the last the first. Each parameter that is in a circle is in one of them,
    /// unless there are more than a person would read; of those that hang together there is always one.
    std::vector<std::vector<std::size_t>> cycles() const;

private:
    std::optional<double> numberOf(std::size_t parameter, ChangedValues const &changed, LengthUnit const &unit) const;
    double valueIn(LengthUnit const &unit, ParameterExpression const &expression, ChangedValues const &changed) const;
    bool isKeptIn(LengthUnit const &unit, ParameterExpression const &expression) const;
    ExpressionName led(StoredParameter const &parameter, std::string const &name,
                       std::multimap<std::string, std::size_t> const &byName) const;
    LengthUnit const *decidedUnit() const;

    StoredTemplate const &m_pool;
    std::vector<ParameterExpression> m_all;
    std::map<std::size_t, std::size_t> m_ofParameter;
    LengthUnit const *m_unit;
};

/// What a display name and a name in an expression are compared by: "Hook length 1" is HookLength1 there, without blanks, and the case
/// of letters does not count.
std::string expressionNameOf(std::string const &displayName);

/// Two numbers that are the same but for what calculating leaves behind.
bool isSameNumber(double left, double right);

/// A parameter that follows from a changed one and is left as it was.
struct LeftParameter
{
    enum class Reason
    {
        NoFormula,  ///< it names a changed parameter among those it uses, but has no expression
        Unreadable, ///< the expression
        Unknown,    ///< a name in it
        Ambiguous,  ///< a name in it
        NoValue,    ///< a name of something that is no number, a division by zero
        NotKept,    ///< its value was not what its expression gave before the change
        NoWhole,    ///< a whole number that would not be one
        Behind      ///< of what it depends on, that one is left, and nothing is changed
    };

    std::size_t parameter = 0;
    Reason reason = Reason::NoFormula;
    std::string detail; ///< the name, or the words of the formula's fault
};

/// "its expression names LegX, which is not there".
std::string reasonText(LeftParameter const &left);

struct Recalculation
{
    ChangedValues values;           ///< the given ones that differ from those of the file, and all that follow
    std::vector<std::size_t> order; ///< the ones that follow, in the order in which they were calculated
    std::vector<LeftParameter> left;
    std::vector<std::size_t> cycle; ///< what follows goes round in a circle, and nothing was calculated
};

/// What follows from new values. One that is given is not calculated, whatever expression it has.
Recalculation recalculate(TemplateExpressions const &expressions, ChangedValues const &given);

} // namespace okt
