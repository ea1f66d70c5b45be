// SPDX-License-Identifier: MIT
#include <oktrebar/parametertable.h>

#include <oktrebar/expressions.h>

#include <utility>

namespace okt
{

TableRow rowOf(StoredTemplate const &pool, std::string file, std::vector<ParameterSelector> const &columns,
               LengthUnit const &unit)
{
    return rowOf(pool, std::move(file), columns, unit, TemplateExpressions(pool).unit());
}

TableRow rowOf(StoredTemplate const &pool, std::string file, std::vector<ParameterSelector> const &columns,
               LengthUnit const &unit, LengthUnit const &drawn)
{
    TableRow row;
    row.file = std::move(file);
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        std::vector<std::size_t> const found = columns[i].in(pool);
        row.fields.push_back(found.empty() ? std::nullopt
                                           : std::optional(shownValue(pool.parameters[found.front()], unit, drawn)));
        if (found.size() > 1)
            row.several.push_back(i);
    }
    return row;
}

} // namespace okt
