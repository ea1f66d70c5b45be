// SPDX-License-Identifier: MIT
// Formulas, expressions of parameters, conditions and quantities of any text.

#include "fuzzsupport.h"

#include <oktrebar/condition.h>
#include <oktrebar/formula.h>
#include <oktrebar/parametervalue.h>

#include <cmath>
#include <string_view>

namespace
{
template <typename Error, typename Read> void demandPlace(std::string_view text, Read read)
{
    try
    {
        read();
    }
    catch (Error const &error)
    {
        FUZZ_DEMAND(error.position() <= text.size() && *error.what() != '\0');
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const *>(data), size);
    okt::Variables const variables = {{"d", 12.0}, {"r", 24.0}, {"A", 400.0}, {"B", 0.0}, {"in", 25.4}};
    demandPlace<okt::FormulaError>(text, [&] { FUZZ_DEMAND(std::isfinite(okt::evaluate(text, variables))); });
    demandPlace<okt::FormulaError>(text, [&] {
        double const value = okt::evaluateExpression(
            text, [](std::string_view name) { return std::optional<double>(static_cast<double>(name.size()) - 2); });
        FUZZ_DEMAND(std::isfinite(value));
        okt::namesIn(text); // what has a value can be read
    });
    okt::wordsIn(text);
    okt::StoredTemplate const empty;
    okt::LengthUnit const &unit = okt::lengthUnits().front();
    demandPlace<okt::ConditionError>(text, [&] {
        okt::Condition const condition(text, unit);
        condition.holds(empty, unit);
    });
    if (auto const quantity = okt::parseQuantity(text))
        FUZZ_DEMAND(std::isfinite(quantity->value));
    try
    {
        okt::quantityTerms(text);
    }
    catch (okt::ValueError const &error)
    {
        FUZZ_DEMAND(*error.what() != '\0');
    }
    return 0;
}
