// SPDX-License-Identifier: MIT
#include <oktrebar/templatelint.h>

#include <oktrebar/expressions.h>
#include <oktrebar/formula.h>
#include <oktrebar/parametervalue.h>
#include <oktrebar/storedplan.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>

namespace okt
{

namespace
{

using namespace types;
using Code = LintFinding::Code;

// Types that are measured from somewhere to either side, and may be negative.
constexpr std::array kSigned = {30, 31, 49, 50, 66, 72, 80, 81};
// Types without which there is no bar: 0 is as impossible as less.
constexpr std::array kAboveZero = {kDiameter, kSpacing};
// Types that count or measure and are no lengths.
constexpr std::array kPlainAmounts = {kDiameter, kNumber};
constexpr std::array kBendAngles = {kHookAngle1, kHookAngle2};
constexpr double kHalfTurn = 180;

template <std::size_t N> bool isOneOf(std::array<int, N> const &types, int type)
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

bool isLengthType(int type)
{
    StoredParameter probe;
    probe.type = type;
    probe.value = 0.0;
    return probe.isLength();
}

class Linter
{
public:
    Linter(StoredTemplate const &pool, FrameOf const &frameOf, LintOptions const &options)
        : m_pool(pool), m_expressions(pool), m_frameOf(frameOf), m_options(options)
    {
    }

    std::vector<LintFinding> run()
    {
        checkCycles();
        for (ParameterExpression const &expression : m_expressions.all())
            checkExpression(expression);
        checkNames();
        for (StoredParameter const &parameter : m_pool.parameters)
            checkValue(parameter);
        checkCover();
        if (!m_pool.isPart) // these conclude from what is not there
        {
            checkHook(kHook1, kHookAngle1, kHookLength1, kExtension1);
            checkHook(kHook2, kHookAngle2, kHookLength2, kExtension2);
            if (m_options.pictures != PictureCheck::None && !m_pool.parameters.empty())
                checkPictures();
        }
        std::vector<std::size_t> const order = m_pool.inOrder();
        std::map<std::int64_t, std::size_t> places; // of parameters, by where they begin; all else stands behind them
        for (std::size_t i = 0; i < order.size(); ++i)
            places.emplace(m_pool.parameters[order[i]].begin, i);
        auto const placeOf = [&](LintFinding const &finding) {
            auto const found = places.find(finding.offset);
            return found == places.end() ? order.size() : found->second;
        };
        std::stable_sort(m_findings.begin(), m_findings.end(), [&](LintFinding const &left, LintFinding const &right) {
            return placeOf(left) != placeOf(right) ? placeOf(left) < placeOf(right) : left.code < right.code;
        });
        return std::move(m_findings);
    }

private:
    void add(Code code, StoredParameter const &parameter, std::string detail, std::string other = {})
    {
        m_findings.push_back({code, parameter.begin, parameter.id, parameter.name, std::move(detail), std::move(other)});
    }

    std::string shown(StoredParameter const &parameter) const
    {
        return shownText(shownValue(parameter, m_expressions.unit(), m_expressions.unit()));
    }

    void checkExpression(ParameterExpression const &expression)
    {
        StoredParameter const &parameter = m_pool.parameters[expression.parameter];
        if (!expression.fault.empty())
            return add(Code::ExpressionUnreadable, parameter, parameter.expression, expression.fault);
        bool isWhole = true;
        for (ExpressionName const &name : expression.names)
        {
            if (!name.parameter && (name.isAmbiguous || !m_pool.isPart))
                add(Code::ExpressionName, parameter, name.name, name.isAmbiguous ? "several" : "");
            isWhole = isWhole && name.parameter && m_pool.parameters[*name.parameter].number() &&
                      (!m_pool.isPart || isUsed(parameter, *name.parameter));
        }
        if (!isWhole || !parameter.number() || m_circular.contains(expression.parameter) || m_expressions.isKept(expression))
            return;
        StoredParameter calculated = parameter;
        try
        {
            calculated.value = m_expressions.value(expression);
            add(Code::ExpressionValue, parameter, shown(parameter), shown(calculated));
        }
        catch (FormulaError const &error)
        {
            add(Code::ExpressionUnreadable, parameter, parameter.expression, error.what());
        }
    }

    /// Another parameter of that name cannot be the one that is meant.
    bool isUsed(StoredParameter const &parameter, std::size_t other) const
    {
        return std::any_of(parameter.uses.begin(), parameter.uses.end(),
                           [&](_GUID const &id) { return m_pool.indexOf(id) == other; });
    }

    void checkCycles()
    {
        std::vector<std::size_t> const order = m_pool.inOrder();
        std::vector<std::size_t> places(order.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            places[order[i]] = i;
        for (std::vector<std::size_t> cycle : m_expressions.cycles())
        {
            m_circular.insert(cycle.begin(), cycle.end());
            auto const isFirst = [&places](std::size_t left, std::size_t right) { return places[left] < places[right]; };
            std::rotate(cycle.begin(), std::min_element(cycle.begin(), cycle.end(), isFirst), cycle.end());
            std::string text;
            for (std::size_t const index : cycle)
                text += sentence("{} -> ", m_pool.parameters[index].name);
            add(Code::ExpressionCycle, m_pool.parameters[cycle.front()], text + m_pool.parameters[cycle.front()].name);
        }
    }

    /// Two names are one where a person or an expression looks for them: the case of letters does not count, nor do blanks.
    void checkNames()
    {
        for (StoredCategory const &category : m_pool.categories)
        {
            auto const isLess = [](CString const &left, CString const &right) { return left.CompareNoCase(right) < 0; };
            std::map<CString, std::string, decltype(isLess)> met(isLess);
            std::set<std::size_t> listed; // a parameter that is listed twice is no second one
            for (_GUID const &id : category.parameters)
                if (std::optional<std::size_t> const index = m_pool.indexOf(id); index && listed.insert(*index).second)
                {
                    StoredParameter const &parameter = m_pool.parameters[*index];
                    CString const key = CString::FromUtf8(expressionNameOf(parameter.name));
                    if (key.IsEmpty())
                        continue;
                    if (auto const [first, isNew] = met.emplace(key, parameter.name); !isNew)
                        add(Code::NameTwice, parameter, category.name, first->second == parameter.name ? "" : first->second);
                }
        }
    }

    void checkValue(StoredParameter const &parameter)
    {
        bool const isAmount = isLengthType(parameter.type) || isOneOf(kPlainAmounts, parameter.type);
        bool const isBare = std::holds_alternative<std::monostate>(parameter.value);
        if (parameter.type == kQuantityExpression && !isBare)
            return checkQuantity(parameter);
        if (isAmount && !isBare && !parameter.number())
            return add(Code::WrongKind, parameter, shown(parameter));
        std::optional<double> const number = parameter.number();
        if (!number)
            return;
        if (!std::isfinite(*number))
            return add(Code::Impossible, parameter, shown(parameter), "no number");
        if (isAmount && *number < 0 && !isOneOf(kSigned, parameter.type))
            return add(Code::Impossible, parameter, shown(parameter), "negative");
        if (isOneOf(kAboveZero, parameter.type) && *number == 0)
            return add(Code::Impossible, parameter, shown(parameter), "zero");
        if (isOneOf(kBendAngles, parameter.type) && std::abs(*number) > kHalfTurn)
            add(Code::Impossible, parameter, shown(parameter), "above half a turn");
    }

    void checkQuantity(StoredParameter const &parameter)
    {
        std::string const *const text = std::get_if<std::string>(&parameter.value);
        if (text == nullptr)
            return add(Code::WrongKind, parameter, shown(parameter));
        if (text->find_first_not_of(' ') == std::string::npos)
            return;
        try
        {
            for (QuantityTerm const &term : quantityTerms(*text))
                if (term.spacing < 0)
                    throw ValueError("a spacing is negative");
        }
        catch (ValueError const &)
        {
            add(Code::QuantityUnreadable, parameter, *text);
        }
    }

    /// In metres.
    std::optional<double> metres(StoredParameter const *parameter) const
    {
        std::optional<double> const number = parameter == nullptr ? std::nullopt : parameter->number();
        if (!number || !std::isfinite(*number))
            return std::nullopt;
        return parameter->isLength() ? *number : *number / m_expressions.unit().perMetre;
    }

    void checkCover()
    {
        std::optional<double> const diameter = metres(m_pool.find(kDiameter, 0));
        if (!diameter)
            return;
        for (StoredParameter const &parameter : m_pool.parameters)
            if (std::optional<double> const cover = metres(&parameter); parameter.type == kCover && parameter.isLength() &&
                                                                        cover && *cover >= 0 && *cover < *diameter &&
                                                                        !isSameNumber(*cover, *diameter))
                add(Code::CoverBelowDiameter, parameter, shown(parameter), shown(*m_pool.find(kDiameter, 0)));
    }

    /// The length of a hook counts from the outside of its bend, unless the extension says that it is straight all along.
    void checkHook(int has, int angle, int length, int extension)
    {
        StoredParameter const *const flag = m_pool.find(has, 0);
        if (flag != nullptr && flag->value == ParameterValue(false))
            return;
        StoredParameter const *const hook = m_pool.find(length, 0);
        std::optional<double> const whole = metres(hook);
        std::optional<double> const radius = metres(m_pool.find(kBendingRadius, 0));
        std::optional<double> const diameter = metres(m_pool.find(kDiameter, 0));
        StoredParameter const *const turn = m_pool.find(angle, 0);
        if (!whole || !hook->isLength() || *whole < 0 || !radius || !diameter || turn == nullptr || turn->number() == 0.0)
            return;
        std::optional<double> const straight = metres(m_pool.find(extension, 0));
        if (straight && isSameNumber(*straight, *whole))
            return;
        double const bend = *radius + *diameter;
        if (*whole >= bend || isSameNumber(*whole, bend))
            return;
        StoredParameter least = *hook;
        least.value = bend;
        add(Code::HookTooShort, *hook, shown(*hook), shown(least));
    }

    void checkPictures()
    {
        if (m_pool.pictures.empty())
        {
            m_findings.push_back({Code::PictureMissing, m_pool.header.begin, m_pool.poolId.value_or(kNoId), {}, {}, {}});
            return;
        }
        TemplatePlan const plan = planOf(m_pool, m_expressions.unit());
        std::optional<Box> const shape = shapeOf(plan);
        if (!shape)
            return; // not a template that is drawn here
        std::optional<Preview> preview;
        for (StoredPicture const &picture : m_pool.pictures)
        {
            std::string const frame = m_frameOf(picture.begin, picture.end);
            std::optional<CByteArray> const image = imageIn(frame);
            if (!image || !mayBeDrawnHere(*image))
                continue;
            bool const isDrawn = m_options.pictures == PictureCheck::Drawing;
            if (isDrawn && !preview)
                preview = previewOf(m_pool, m_expressions.unit());
            if (isDrawn && !preview)
                return;
            if (isDrawn ? !isSameImage(*image, preview->png) : !looksAt(frame, *shape))
                m_findings.push_back({Code::PictureOutOfDate, picture.begin, picture.id, {}, isDrawn ? "" : "shape", {}});
        }
    }

    static std::optional<Box> shapeOf(TemplatePlan const &plan)
    {
        try
        {
            return previewShape(plan);
        }
        catch (Failure const &)
        {
            return std::nullopt; // a figure is missing
        }
    }

    StoredTemplate const &m_pool;
    TemplateExpressions m_expressions;
    FrameOf const &m_frameOf;
    LintOptions const &m_options;
    std::set<std::size_t> m_circular; ///< parameters in a circle, whose values follow from nothing
    std::vector<LintFinding> m_findings;
};

std::string inQuotes(std::string const &text) { return sentence("\"{}\"", text); }

} // namespace

LintFinding::Severity LintFinding::severity() const
{
    switch (code)
    {
    case Code::ExpressionName:
    case Code::ExpressionCycle:
    case Code::WrongKind:
    case Code::Impossible:
    case Code::QuantityUnreadable:
    case Code::HookTooShort: return Severity::Error;
    case Code::ExpressionUnreadable:
    case Code::ExpressionValue:
    case Code::NameTwice:
    case Code::CoverBelowDiameter:
    case Code::PictureMissing: return Severity::Warning;
    case Code::PictureOutOfDate: break;
    }
    return Severity::Info;
}

std::string_view codeName(Code code)
{
    switch (code)
    {
    case Code::ExpressionUnreadable: return "expression-unreadable";
    case Code::ExpressionName: return "expression-name";
    case Code::ExpressionCycle: return "expression-cycle";
    case Code::ExpressionValue: return "expression-value";
    case Code::NameTwice: return "name-twice";
    case Code::WrongKind: return "wrong-kind";
    case Code::Impossible: return "impossible-value";
    case Code::QuantityUnreadable: return "quantity-unreadable";
    case Code::CoverBelowDiameter: return "cover-below-diameter";
    case Code::HookTooShort: return "hook-too-short";
    case Code::PictureMissing: return "picture-missing";
    case Code::PictureOutOfDate: break;
    }
    return "picture-out-of-date";
}

std::string_view severityName(LintFinding::Severity severity)
{
    return severity == LintFinding::Severity::Error ? "error" : severity == LintFinding::Severity::Warning ? "warning" : "info";
}

std::string explanation(LintFinding const &finding)
{
    switch (finding.code)
    {
    case Code::ExpressionUnreadable:
        return sentence("the expression {} has no value: {}", inQuotes(finding.detail), finding.other);
    case Code::ExpressionName:
        return sentence("the expression names {}{}", finding.detail,
                        finding.other.empty() ? ", which is not there" : ", and several parameters have that name");
    case Code::ExpressionCycle: return sentence("the expressions go round in a circle: {}", finding.detail);
    case Code::ExpressionValue: return sentence("the value is {}, its expression gives {}", finding.detail, finding.other);
    case Code::NameTwice:
        return finding.other.empty()
                   ? sentence("a second parameter of this name stands in the category {}", inQuotes(finding.detail))
                   : sentence("a parameter {} stands in the category {}, which is the same name", inQuotes(finding.other),
                              inQuotes(finding.detail));
    case Code::WrongKind: return sentence("the type wants another kind of value than {}", inQuotes(finding.detail));
    case Code::Impossible: return sentence("the value {} is {}, which its type cannot be", finding.detail, finding.other);
    case Code::QuantityUnreadable: return sentence("{} is no quantity expression", inQuotes(finding.detail));
    case Code::CoverBelowDiameter:
        return sentence("the cover of {} is less than the diameter, {}", finding.detail, finding.other);
    case Code::HookTooShort:
        return sentence("the hook of {} ends inside its bend, which takes {}", finding.detail, finding.other);
    case Code::PictureMissing: return "the template has no picture";
    case Code::PictureOutOfDate: break;
    }
    return finding.detail.empty()
               ? "the picture is not the one that is drawn here for these values: it is out of date, or was made elsewhere"
               : "the picture shows another shape than these values give: it is out of date, or was made elsewhere";
}

std::string mend(LintFinding const &finding)
{
    switch (finding.code)
    {
    case Code::ExpressionUnreadable: return "write it with numbers, names, + - * / ( ) max and min, or take it away";
    case Code::ExpressionName:
        return finding.other.empty() ? "name a parameter that is there, without its blanks"
                                     : "let the parameter use the one that is meant, or rename the other";
    case Code::ExpressionCycle: return "give one of them a value instead of its expression";
    case Code::ExpressionValue: return sentence("set the value to {}, or take the expression away", finding.other);
    case Code::NameTwice: return "rename one of the two";
    case Code::WrongKind: return "give it a number";
    case Code::Impossible: return "correct the value";
    case Code::QuantityUnreadable: return "write counts and lengths, such as 4x150 2x100";
    case Code::CoverBelowDiameter: return sentence("set the cover to {} or more", finding.other);
    case Code::HookTooShort: return sentence("set the length to {} or more", finding.other);
    case Code::PictureMissing: return "add one in the design system, or build the template anew";
    case Code::PictureOutOfDate: break;
    }
    return "build the template anew, or leave it where the picture was made elsewhere";
}

std::vector<LintFinding> lint(StoredTemplate const &pool, FrameOf const &frameOf, LintOptions const &options)
{
    return Linter(pool, frameOf, options).run();
}

} // namespace okt
