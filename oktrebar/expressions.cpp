// SPDX-License-Identifier: MIT
#include <oktrebar/expressions.h>

#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktrebar/circles.h>
#include <oktrebar/formula.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace okt
{

namespace
{

constexpr double kThinnestMm = 3;
constexpr double kThinnestInch = 0.1;

LengthUnit const &unitOfDiameter(double diameter)
{
    return *findLengthUnit(diameter >= kThinnestMm ? "mm" : diameter >= kThinnestInch ? "in" : "m");
}

/// Follows the edges of a graph in depth, and finds circles on the way.
class Order
{
public:
    explicit Order(std::function<std::vector<std::size_t>(std::size_t)> edges) : m_edges(std::move(edges)) {}

    /// False: there is a circle.
    bool visit(std::size_t start)
    {
        if (m_done.contains(start))
            return true;
        m_path = {{start, m_edges(start), 0}};
        while (!m_path.empty())
        {
            Step &step = m_path.back();
            if (step.next == step.edges.size())
            {
                m_done.insert(step.node);
                order.push_back(step.node);
                m_path.pop_back();
                continue;
            }
            std::size_t const next = step.edges[step.next++];
            auto const open = std::find_if(m_path.begin(), m_path.end(), [next](Step const &one) { return one.node == next; });
            if (open != m_path.end())
            {
                for (auto at = open; at != m_path.end(); ++at)
                    cycle.push_back(at->node);
                return false;
            }
            if (!m_done.contains(next))
                m_path.push_back({next, m_edges(next), 0});
        }
        return true;
    }

    std::vector<std::size_t> order; ///< each behind those that it leads to
    std::vector<std::size_t> cycle;

private:
    struct Step
    {
        std::size_t node;
        std::vector<std::size_t> edges;
        std::size_t next;
    };

    std::function<std::vector<std::size_t>(std::size_t)> m_edges;
    std::set<std::size_t> m_done;
    std::vector<Step> m_path;
};

std::vector<std::size_t> namedBy(ParameterExpression const *expression)
{
    std::vector<std::size_t> found;
    if (expression != nullptr)
        for (ExpressionName const &name : expression->names)
            if (name.parameter)
                found.push_back(*name.parameter);
    return found;
}

/// Those whose values it takes.
std::vector<std::size_t> takenBy(ParameterExpression const *expression)
{
    return expression != nullptr && expression->fault.empty() ? namedBy(expression) : std::vector<std::size_t>();
}

} // namespace

std::string expressionNameOf(std::string const &displayName)
{
    std::string name = displayName;
    std::erase(name, ' ');
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return name;
}

bool isSameNumber(double left, double right)
{
    constexpr double kPart = 1e-9;
    constexpr double kSmallest = 1e-15;
    return std::abs(left - right) <= std::max(kPart * std::max(std::abs(left), std::abs(right)), kSmallest);
}

TemplateExpressions::TemplateExpressions(StoredTemplate const &pool) : m_pool(pool)
{
    std::multimap<std::string, std::size_t> byName;
    for (std::size_t i = 0; i < pool.parameters.size(); ++i)
        byName.emplace(expressionNameOf(pool.parameters[i].name), i);
    for (std::size_t i = 0; i < pool.parameters.size(); ++i)
    {
        StoredParameter const &parameter = pool.parameters[i];
        if (parameter.expression.find_first_not_of(' ') == std::string::npos)
            continue;
        ParameterExpression expression;
        expression.parameter = i;
        try
        {
            for (std::string const &name : namesIn(parameter.expression))
                expression.names.push_back(led(parameter, name, byName));
        }
        catch (FormulaError const &error)
        {
            for (std::string const &word : wordsIn(parameter.expression)) // it depends on what it names all the same
                if (ExpressionName name = led(parameter, word, byName); name.parameter)
                    expression.names.push_back(std::move(name));
            expression.fault = error.what();
            expression.faultAt = error.position();
        }
        m_ofParameter.emplace(i, m_all.size());
        m_all.push_back(std::move(expression));
    }
    m_unit = decidedUnit();
}

ExpressionName TemplateExpressions::led(StoredParameter const &parameter, std::string const &name,
                                        std::multimap<std::string, std::size_t> const &byName) const
{
    ExpressionName result{name, std::nullopt, false};
    std::string const key = expressionNameOf(name);
    for (_GUID const &id : parameter.uses)
        if (std::optional<std::size_t> const used = m_pool.indexOf(id);
            used && expressionNameOf(m_pool.parameters[*used].name) == key)
        {
            result.parameter = used;
            return result;
        }
    auto const [first, last] = byName.equal_range(key);
    result.isAmbiguous = std::distance(first, last) > 1;
    if (std::distance(first, last) == 1)
        result.parameter = first->second;
    return result;
}

ParameterExpression const *TemplateExpressions::of(std::size_t parameter) const
{
    auto const found = m_ofParameter.find(parameter);
    return found == m_ofParameter.end() ? nullptr : &m_all[found->second];
}

std::optional<double> TemplateExpressions::numberOf(std::size_t parameter, ChangedValues const &changed,
                                                    LengthUnit const &unit) const
{
    StoredParameter one;
    one.type = m_pool.parameters[parameter].type;
    auto const found = changed.find(parameter);
    one.value = found == changed.end() ? m_pool.parameters[parameter].value : found->second;
    std::optional<double> const number = one.number();
    return number && one.isLength() ? std::optional(snappedNumber(*number * unit.perMetre)) : number;
}

double TemplateExpressions::valueIn(LengthUnit const &unit, ParameterExpression const &expression,
                                    ChangedValues const &changed) const
{
    if (!expression.fault.empty())
        throw FormulaError(expression.faultAt, expression.fault);
    auto const valueOf = [&](std::string_view name) -> std::optional<double> {
        auto const found = std::find_if(expression.names.begin(), expression.names.end(),
                                        [name](ExpressionName const &one) { return one.name == name; });
        return found == expression.names.end() || !found->parameter ? std::nullopt : numberOf(*found->parameter, changed, unit);
    };
    double const value = snappedNumber(evaluateExpression(m_pool.parameters[expression.parameter].expression, valueOf));
    return m_pool.parameters[expression.parameter].isLength() ? value / unit.perMetre : value;
}

double TemplateExpressions::value(ParameterExpression const &expression, ChangedValues const &changed) const
{
    return valueIn(*m_unit, expression, changed);
}

bool TemplateExpressions::isKeptIn(LengthUnit const &unit, ParameterExpression const &expression) const
{
    std::optional<double> const number = m_pool.parameters[expression.parameter].number();
    try
    {
        return number && isSameNumber(valueIn(unit, expression, {}), *number);
    }
    catch (FormulaError const &)
    {
        return false;
    }
}

bool TemplateExpressions::isKept(ParameterExpression const &expression) const { return isKeptIn(*m_unit, expression); }

LengthUnit const *TemplateExpressions::decidedUnit() const
{
    std::array<LengthUnit const *, 5> units = {};
    std::array<char const *, 5> const names = {"mm", "in", "cm", "m", "ft"}; // as templates are made
    std::array<std::ptrdiff_t, 5> kept = {};
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        units[i] = findLengthUnit(names[i]);
        kept[i] =
            std::count_if(m_all.begin(), m_all.end(), [&](ParameterExpression const &one) { return isKeptIn(*units[i], one); });
    }
    std::ptrdiff_t const most = *std::max_element(kept.begin(), kept.end());
    for (StoredParameter const &parameter : m_pool.parameters)
        if (parameter.isDiameter() && *parameter.number() > 0)
        {
            LengthUnit const &likely = unitOfDiameter(*parameter.number());
            for (std::size_t i = 0; i < units.size(); ++i)
                if (kept[i] == most && units[i] == &likely)
                    return &likely;
            break;
        }
    return units[static_cast<std::size_t>(std::find(kept.begin(), kept.end(), most) - kept.begin())];
}

std::vector<std::vector<std::size_t>> TemplateExpressions::cycles() const
{
    std::vector<std::vector<std::size_t>> edges(m_pool.parameters.size());
    for (ParameterExpression const &expression : m_all)
        edges[expression.parameter] = takenBy(&expression);
    return circlesIn(edges);
}

std::string reasonText(LeftParameter const &left)
{
    using Reason = LeftParameter::Reason;
    switch (left.reason)
    {
    case Reason::NoFormula: return "it has no expression";
    case Reason::Unreadable: return "its expression cannot be read: " + left.detail;
    case Reason::Unknown: return sentence("its expression names {}, which is not there", left.detail);
    case Reason::Ambiguous: return sentence("its expression names {}, and several parameters have that name", left.detail);
    case Reason::NoValue: return "its expression has no value: " + left.detail;
    case Reason::NotKept: return "its value was not what its expression gives";
    case Reason::Behind: return "it depends on " + left.detail + ", which was left";
    case Reason::NoWhole: break;
    }
    return sentence("its expression gives {}, which is no whole number", left.detail);
}

namespace
{

/// The parameters that depend on given ones, by the names in their expressions and by those that they use.
class Following
{
public:
    Following(TemplateExpressions const &expressions, ChangedValues const &given)
        : m_expressions(expressions), m_pool(expressions.pool()), m_given(given)
    {
    }

    Recalculation run()
    {
        for (auto const &[index, value] : m_given)
            if (value != m_pool.parameters[index].value)
                m_result.values.emplace(index, value);
        Order order([this](std::size_t node) { return ahead(node); });
        for (std::size_t const index : affected())
            if (!order.visit(index))
            {
                m_result.cycle = order.cycle;
                m_result.values.clear();
                return m_result;
            }
        for (std::size_t const index : order.order)
            calculate(index);
        leaveWhatIsBehind();
        return m_result;
    }

private:
    std::vector<std::size_t> ahead(std::size_t index) const
    {
        return m_given.contains(index) ? std::vector<std::size_t>() : takenBy(m_expressions.of(index));
    }

    std::set<std::size_t> dependenciesOf(std::size_t index) const
    {
        std::vector<std::size_t> const named = namedBy(m_expressions.of(index));
        std::set<std::size_t> all(named.begin(), named.end());
        for (_GUID const &id : m_pool.parameters[index].uses)
            if (std::optional<std::size_t> const used = m_pool.indexOf(id))
                all.insert(*used);
        return all;
    }

    /// In the order of the file.
    std::set<std::size_t> affected() const
    {
        std::multimap<std::size_t, std::size_t> behind;
        for (std::size_t i = 0; i < m_pool.parameters.size(); ++i)
            for (std::size_t const one : dependenciesOf(i))
                behind.emplace(one, i);
        std::set<std::size_t> found;
        std::vector<std::size_t> open;
        for (auto const &[index, value] : m_result.values)
            open.push_back(index);
        while (!open.empty())
        {
            std::size_t const index = open.back();
            open.pop_back();
            auto const [first, last] = behind.equal_range(index);
            for (auto at = first; at != last; ++at)
                if (!m_given.contains(at->second) && found.insert(at->second).second)
                    open.push_back(at->second);
        }
        return found;
    }

    void leave(std::size_t index, LeftParameter::Reason reason, std::string detail = {})
    {
        m_result.left.push_back({index, reason, std::move(detail)});
    }

    void calculate(std::size_t index)
    {
        std::set<std::size_t> const from = dependenciesOf(index);
        bool const isToDo = !m_given.contains(index) && std::any_of(from.begin(), from.end(), [this](std::size_t one) {
            return m_result.values.contains(one);
        });
        if (!isToDo)
            return;
        using Reason = LeftParameter::Reason;
        ParameterExpression const *const expression = m_expressions.of(index);
        if (expression == nullptr)
            return leave(index, Reason::NoFormula);
        if (!expression->fault.empty())
            return leave(index, Reason::Unreadable, expression->fault);
        for (ExpressionName const &name : expression->names)
            if (!name.parameter)
                return leave(index, name.isAmbiguous ? Reason::Ambiguous : Reason::Unknown, name.name);
        try
        {
            StoredParameter const &parameter = m_pool.parameters[index];
            double const before = m_expressions.value(*expression);
            if (!parameter.number() || !isSameNumber(before, *parameter.number()))
                return leave(index, Reason::NotKept);
            double const after = m_expressions.value(*expression, m_result.values);
            if (isSameNumber(before, after))
                return;
            if (std::holds_alternative<double>(parameter.value))
                m_result.values.emplace(index, after);
            else if (after != std::round(after) || std::abs(after) > 2147483647.0)
                return leave(index, Reason::NoWhole, std::to_string(after));
            else
                m_result.values.emplace(index, static_cast<std::int32_t>(after));
            m_result.order.push_back(index);
        }
        catch (FormulaError const &error)
        {
            leave(index, Reason::NoValue, error.what());
        }
    }

    /// What depends on a parameter that was left stands as that does. One that was calculated from others as well is told as such.
    void leaveWhatIsBehind()
    {
        std::set<std::size_t> const all = affected();
        std::set<std::size_t> left;
        for (LeftParameter const &one : m_result.left)
            left.insert(one.parameter);
        for (bool isMore = true; isMore;)
        {
            isMore = false;
            for (std::size_t const index : all)
            {
                if (left.contains(index) || m_result.values.contains(index))
                    continue;
                std::set<std::size_t> const from = dependenciesOf(index);
                auto const at = std::find_if(from.begin(), from.end(), [&left](std::size_t one) { return left.contains(one); });
                if (at == from.end())
                    continue;
                leave(index, LeftParameter::Reason::Behind, m_pool.parameters[*at].name);
                isMore = left.insert(index).second;
            }
        }
    }

    TemplateExpressions const &m_expressions;
    StoredTemplate const &m_pool;
    ChangedValues const &m_given;
    Recalculation m_result;
};

} // namespace

Recalculation recalculate(TemplateExpressions const &expressions, ChangedValues const &given)
{
    return Following(expressions, given).run();
}

} // namespace okt
