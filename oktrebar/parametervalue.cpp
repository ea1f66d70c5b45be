// SPDX-License-Identifier: MIT
#include <oktrebar/parametervalue.h>

#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <oktdatabase/oktdatabaseutil.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace okt
{

namespace
{

// What a record of a file can hold, in UTF-16 units.
constexpr int kLongestText = 65535;

std::string withoutBlanksBehind(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

/// By the rule of the database: three decimals, "x" between count and length.
std::string scaled(std::string const &expression, double factor)
{
    return withoutBlanksBehind(OKTDatabaseUtil::convertExpresion(CString::FromUtf8(expression), factor).ToUtf8());
}

bool isWordOf(std::string_view text, std::initializer_list<std::string_view> words)
{
    return std::any_of(words.begin(), words.end(), [text](std::string_view word) { return isSameWord(text, word); });
}

/// In metres.
double parsedLength(std::string_view text, LengthUnit const *plain)
{
    std::optional<Quantity> const quantity = parseQuantity(text);
    if (!quantity)
        throw ValueError(sentence("a length is wanted, and {} is none", excerpt(text)));
    if (!quantity->rest.empty())
        throw ValueError(sentence("{} is no unit of length; there are {}", excerpt(quantity->rest), lengthUnitNames()));
    LengthUnit const *const unit = quantity->unit == nullptr ? plain : quantity->unit;
    if (unit == nullptr)
        throw ValueError(sentence("a length needs its unit, such as \"{} mm\"", number(quantity->value)));
    return quantity->value / unit->perMetre;
}

double parsedNumber(std::string_view text)
{
    std::optional<Quantity> const quantity = parseQuantity(text);
    if (!quantity)
        throw ValueError(sentence("a number is wanted, and {} is none", excerpt(text)));
    if (quantity->unit != nullptr)
        throw ValueError(sentence("this is no length: {} has a unit", excerpt(text)));
    if (!quantity->rest.empty())
        throw ValueError(sentence("a number is wanted, and {} is none", excerpt(text)));
    return quantity->value;
}

std::string parsedQuantity(std::string_view text, LengthUnit const *plain)
{
    std::string expression = withoutBlanksBehind(std::string(text));
    LengthUnit const *unit = plain;
    std::size_t const letters = expression.find_last_not_of("abcdefghijklmnopqrstuvwyz"); // x stands in every term
    std::string const word = letters == std::string::npos ? "" : expression.substr(letters + 1);
    if (!word.empty())
    {
        unit = findLengthUnit(word);
        if (unit == nullptr)
            throw ValueError(sentence("{} is no unit of length; there are {}", excerpt(word), lengthUnitNames()));
        expression = withoutBlanksBehind(expression.substr(0, letters + 1));
    }
    quantityTerms(expression);
    if (unit == nullptr)
        throw ValueError(sentence("its lengths need their unit, such as \"{} mm\"", expression));
    return scaled(expression, 1 / unit->perMetre) + " "; // as the database writes it
}

} // namespace

ShownValue shownValue(StoredParameter const &parameter, LengthUnit const &shown, LengthUnit const &drawn)
{
    if (parameter.isLength())
        return {snappedNumber(*parameter.number() * shown.perMetre), &shown};
    if (parameter.isDiameter())
        return {snappedNumber(*parameter.number() / drawn.perMetre * shown.perMetre), &shown};
    if (parameter.isQuantityExpression())
    {
        std::string const &text = std::get<std::string>(parameter.value);
        return {shown.perMetre == 1 ? withoutBlanksBehind(text) : scaled(text, shown.perMetre), &shown};
    }
    return {parameter.value, nullptr};
}

std::string shownText(ShownValue const &shown, bool withUnit)
{
    std::string text;
    if (double const *const real = std::get_if<double>(&shown.value))
        text = rounded(*real, 12);
    else if (std::int32_t const *const whole = std::get_if<std::int32_t>(&shown.value))
        text = std::to_string(*whole);
    else if (bool const *const flag = std::get_if<bool>(&shown.value))
        text = *flag ? "true" : "false";
    else if (std::string const *const words = std::get_if<std::string>(&shown.value))
        text = *words;
    return withUnit && shown.unit != nullptr && !text.empty() ? sentence("{} {}", text, shown.unit->name) : text;
}

ParameterValue parsedValue(StoredParameter const &parameter, std::string_view text, LengthUnit const *plain,
                           LengthUnit const &drawn)
{
    if (parameter.isLength())
        return parsedLength(text, plain);
    if (parameter.isDiameter())
    {
        double const diameter = snappedNumber(parsedLength(text, plain) * drawn.perMetre);
        if (std::holds_alternative<double>(parameter.value))
            return diameter;
        if (diameter != std::round(diameter) || std::abs(diameter) > std::numeric_limits<std::int32_t>::max())
            throw ValueError(sentence("it holds a whole number of {}, and {} is none", drawn.name, excerpt(text)));
        return static_cast<std::int32_t>(diameter);
    }
    if (parameter.isQuantityExpression())
        return parsedQuantity(text, plain);
    if (std::holds_alternative<double>(parameter.value))
        return parsedNumber(text);
    if (std::holds_alternative<std::int32_t>(parameter.value))
    {
        double const value = parsedNumber(text);
        double const largest = parameter.kind == VT_I2 ? 32767 : std::numeric_limits<std::int32_t>::max();
        if (value != std::round(value) || value > largest || value < -largest - 1)
            throw ValueError(sentence("a whole number is wanted, and {} is none that it can hold", excerpt(text)));
        return static_cast<std::int32_t>(value);
    }
    if (std::holds_alternative<bool>(parameter.value))
    {
        if (isWordOf(text, {"true", "yes", "1"}))
            return true;
        if (isWordOf(text, {"false", "no", "0"}))
            return false;
        throw ValueError(sentence("true or false is wanted, and {} is neither", excerpt(text)));
    }
    if (!std::holds_alternative<std::string>(parameter.value))
        throw ValueError("it has no value yet whose kind could be kept");
    if (notUtf8At(text) != std::string_view::npos)
        throw ValueError("the text is no UTF-8");
    if (text.find('\0') != std::string_view::npos || CString::FromUtf8(text).GetLength() > kLongestText)
        throw ValueError("the text is longer than a file can hold");
    return std::string(text);
}

std::vector<QuantityTerm> quantityTerms(std::string_view text)
{
    std::vector<QuantityTerm> terms;
    char const *at = text.data();
    char const *const end = at + text.size();
    auto const skipBlanks = [&] { at = std::find_if(at, end, [](char c) { return c != ' '; }); };
    auto const refuse = [&]() -> void {
        throw ValueError(sentence("a quantity expression is wanted, such as \"4x150 2x100\", and {} is none", excerpt(text)));
    };
    for (skipBlanks(); at != end; skipBlanks())
    {
        QuantityTerm term;
        if (*at == '?')
            ++at;
        else
        {
            int count = 0;
            auto const [behind, error] = readNumber(at, end, count);
            if (error != std::errc() || count < 0)
                refuse();
            term.count = count;
            at = behind;
        }
        if (at == end || (*at != 'x' && *at != 'X' && *at != '*'))
            refuse();
        auto const [behind, error] = readNumber(at + 1, end, term.spacing, std::chars_format::fixed);
        if (error != std::errc() || !std::isfinite(term.spacing) || (behind != end && *behind != ' '))
            refuse();
        at = behind;
        terms.push_back(term);
    }
    if (terms.empty())
        refuse();
    return terms;
}

std::string lengthUnitNames()
{
    std::string names;
    for (LengthUnit const &unit : lengthUnits())
        names += (names.empty() ? "" : ", ") + std::string(unit.name);
    return names;
}

} // namespace okt
