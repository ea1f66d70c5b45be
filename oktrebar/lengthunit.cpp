// SPDX-License-Identifier: MIT
#include <oktrebar/lengthunit.h>

#include <oktformat/readnumber.h>
#include <oktformat/text.h>

#include <algorithm>
#include <cmath>

namespace okt
{

namespace
{

std::string_view trimmed(std::string_view text)
{
    std::size_t const first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

} // namespace

std::vector<LengthUnit> const &lengthUnits()
{
    static std::vector<LengthUnit> const kUnits = {
        {"mm", 1000.0}, {"cm", 100.0}, {"m", 1.0}, {"in", 1.0 / 0.0254}, {"ft", 1.0 / 0.3048}};
    return kUnits;
}

LengthUnit const *findLengthUnit(std::string_view name)
{
    auto const found =
        std::find_if(lengthUnits().begin(), lengthUnits().end(), [name](LengthUnit const &unit) { return unit.name == name; });
    return found == lengthUnits().end() ? nullptr : &*found;
}

std::optional<Quantity> parseQuantity(std::string_view text)
{
    text = trimmed(text);
    bool const hasSign = text.starts_with('+') && text.size() > 1 && text[1] != '-';
    if (hasSign)
        text.remove_prefix(1);
    if (text.empty() || !(text[0] == '-' || text[0] == '.' || (text[0] >= '0' && text[0] <= '9')))
        return std::nullopt;
    Quantity quantity;
    auto const [end, error] = readNumber(text.data(), text.data() + text.size(), quantity.value);
    if (error != std::errc() || !std::isfinite(quantity.value))
        return std::nullopt;
    quantity.rest = trimmed(text.substr(static_cast<std::size_t>(end - text.data())));
    quantity.unit = findLengthUnit(quantity.rest);
    if (quantity.unit != nullptr)
        quantity.rest.clear();
    return quantity;
}

double snappedNumber(double value)
{
    std::string const text = rounded(value, 12);
    double result = value;
    readNumber(text.data(), text.data() + text.size(), result);
    return result;
}

} // namespace okt
