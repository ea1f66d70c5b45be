// SPDX-License-Identifier: MIT
#include <oktinspect/valuecheck.h>

#include <algorithm>
#include <cmath>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;

// Of whatever unit: no drawing has numbers beyond these.
constexpr double kLargest = 1e15;
constexpr double kSmallest = 1e-100;

std::optional<Finding::What> unitFault(std::string_view bytes, std::size_t count, std::size_t i, bool &isPair)
{
    auto const unit = [bytes](std::size_t at) { return littleEndian(bytes.substr(2 * at, 2)); };
    std::uint32_t const one = unit(i);
    if (one == 0)
        return Finding::What::TextZero;
    if (one < 0x20 && one != '\t' && one != '\n' && one != '\r')
        return Finding::What::TextControl;
    isPair = one >= 0xD800 && one <= 0xDBFF && i + 1 < count && unit(i + 1) >= 0xDC00 && unit(i + 1) <= 0xDFFF;
    if (one >= 0xD800 && one <= 0xDFFF && !isPair)
        return Finding::What::TextHalf;
    return std::nullopt;
}

} // namespace

std::optional<TextFault> textFault(ByteSource &source, StoredValue const &value)
{
    bool const isText = value.kind == Kind::Text16 || (value.kind == Kind::Variant && value.variantValue == Kind::Text16);
    if (!isText)
        return std::nullopt;
    std::string_view const bytes = source.look(value.payload, static_cast<std::size_t>(value.payloadSize));
    std::size_t const count = bytes.size() / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        bool isPair = false;
        if (std::optional<Finding::What> const fault = unitFault(bytes, count, i, isPair))
            return TextFault{*fault, static_cast<std::int64_t>(i)};
        i += isPair ? 1 : 0;
    }
    return std::nullopt;
}

bool findNumberFault(StoredValue const &value, NumberFault &fault)
{
    for (double const real : value.reals)
    {
        fault = {!std::isfinite(real), real};
        if (fault.isNone || std::abs(real) > kLargest || (real != 0 && std::abs(real) < kSmallest))
            return true;
    }
    return false;
}

} // namespace okt
