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

std::string unitFault(std::string_view bytes, std::size_t count, std::size_t i, bool &isPair)
{
    auto const unit = [bytes](std::size_t at) { return littleEndian(bytes.substr(2 * at, 2)); };
    std::uint32_t const one = unit(i);
    std::string const place = " at " + std::to_string(i);
    if (one == 0)
        return "has a zero" + place + ", where a reader ends it";
    if (one < 0x20 && one != '\t' && one != '\n' && one != '\r')
        return "has a control character" + place;
    isPair = one >= 0xD800 && one <= 0xDBFF && i + 1 < count && unit(i + 1) >= 0xDC00 && unit(i + 1) <= 0xDFFF;
    if (one >= 0xD800 && one <= 0xDFFF && !isPair)
        return "has half a character" + place;
    return {};
}

} // namespace

std::string textFault(ByteSource &source, StoredValue const &value)
{
    bool const isText = value.kind == Kind::Text16 || (value.kind == Kind::Variant && value.variantValue == Kind::Text16);
    if (!isText)
        return {};
    std::string_view const bytes = source.look(value.payload, static_cast<std::size_t>(value.payloadSize));
    std::size_t const count = bytes.size() / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        bool isPair = false;
        if (std::string fault = unitFault(bytes, count, i, isPair); !fault.empty())
            return fault;
        i += isPair ? 1 : 0;
    }
    return {};
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
