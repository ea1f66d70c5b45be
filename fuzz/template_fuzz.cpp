// SPDX-License-Identifier: MIT
// A template of any bytes, read by its records alone: its parameters, expressions, rules, and a changed value, which leaves all else
// as it is.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktrebar/storedplan.h>
#include <oktrebar/templateedit.h>
#include <oktrebar/templatelint.h>
#include <support/clientclasses.h>

namespace
{
void demandEdit(std::string const &bytes, okt::StoredTemplate const &pool, okt::LengthUnit const &unit)
{
    if (pool.parameters.empty())
        return;
    okt::ChangedValues values;
    std::size_t const index = bytes.size() % pool.parameters.size();
    okt::ParameterValue const &old = pool.parameters[index].value;
    if (auto const *const number = std::get_if<double>(&old))
        values[index] = *number + 1.0;
    else
        values[index] = old;
    okt::EditOptions options;
    options.withPictures = false;
    try
    {
        okt::EditedTemplate const outcome = okt::edited(bytes, pool, unit, values, options);
        okt::ByteSource source{std::string_view(outcome.bytes)};
        FUZZ_DEMAND(okt::readTemplate(source).parameters.size() == pool.parameters.size());
    }
    catch (okt::EditRefused const &refusal)
    {
        FUZZ_DEMAND(*refusal.what() != '\0');
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    std::string const bytes(reinterpret_cast<char const *>(data), size);
    okt::ByteSource source{std::string_view(bytes)};
    okt::StoredTemplate const pool = okt::readTemplate(source);
    FUZZ_DEMAND(pool.size == static_cast<std::int64_t>(size));
    FUZZ_DEMAND(pool.inOrder().size() == pool.parameters.size());
    okt::TemplateExpressions const expressions(pool);
    for (okt::ParameterExpression const &expression : expressions.all())
        FUZZ_DEMAND(expression.parameter < pool.parameters.size());
    expressions.cycles();
    for (okt::LintFinding const &finding :
         okt::lint(pool, [&](std::int64_t begin, std::int64_t end) { return source.copy(begin, end - begin); }))
        FUZZ_DEMAND(!okt::explanation(finding).empty());
    okt::planOf(pool, expressions.unit());
    demandEdit(bytes, pool, expressions.unit());
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
