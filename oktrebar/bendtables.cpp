// SPDX-License-Identifier: MIT
#include <oktrebar/bendtables.h>

#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/csvtable.h>
#include <oktrebar/formula.h>

#include <algorithm>
#include <limits>

namespace okt
{

namespace
{

constexpr double kLargestLengthMm = 100000;
constexpr double kLargestMultiple = 1000;

/// Parses the column "applies_to" of a rule.
class Scope
{
public:
    explicit Scope(std::string_view text) : m_rest(text) {}

    /// "d <= 16 mm", "d > 16 mm", "No. 3 to 8", "No. 14 and 18", "No. 5".
    bool read(BendRule &rule)
    {
        if (takes("No. "))
            return readNumbers(rule);
        return takes("d ") && readDiameters(rule);
    }

private:
    bool takes(std::string_view part)
    {
        if (!m_rest.starts_with(part))
            return false;
        m_rest.remove_prefix(part.size());
        return true;
    }

    template <typename T> bool takesNumber(T &value)
    {
        auto const [end, error] = readNumber(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (error != std::errc() || !(value > 0) || value > std::numeric_limits<int>::max())
            return false;
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return true;
    }

    bool readDiameters(BendRule &rule)
    {
        double limit = 0;
        if (takes("<= "))
        {
            if (!takesNumber(limit))
                return false;
            rule.highest = limit;
        }
        else if (takes("> "))
        {
            if (!takesNumber(limit))
                return false;
            rule.lowest = limit;
            rule.lowestExcluded = true;
            rule.highest = std::numeric_limits<double>::infinity();
        }
        return limit > 0 && m_rest == " mm";
    }

    bool readNumbers(BendRule &rule)
    {
        rule.byNumber = true;
        int first = 0;
        if (!takesNumber(first))
            return false;
        rule.lowest = first;
        rule.highest = first;
        rule.numbers = {first};
        int next = 0;
        if (takes(" to "))
        {
            if (!takesNumber(next) || next < first)
                return false;
            rule.highest = next;
            rule.numbers.clear();
            return m_rest.empty();
        }
        while (takes(" and "))
        {
            if (!takesNumber(next))
                return false;
            rule.numbers.push_back(next);
        }
        return m_rest.empty();
    }

    std::string_view m_rest;
};

Variables hookVariables(double diameterInch) { return {{"d", diameterInch}, {"in", 1.0}}; }

} // namespace

SchedulingBends SchedulingBends::load(std::filesystem::path const &path)
{
    CsvTable const table = CsvTable::load(path);
    table.expectColumns({"diameter_mm", "min_radius_mm", "end_projection_general_mm", "end_projection_links_mm"});
    SchedulingBends bends;
    bends.m_file = table.file();
    for (CsvRow const &row : table.rows())
    {
        SchedulingBend bend;
        bend.diameter = table.positive(row, "diameter_mm", kLargestLengthMm);
        bend.radius = table.positive(row, "min_radius_mm", kLargestLengthMm);
        bend.projection = table.positive(row, "end_projection_general_mm", kLargestLengthMm);
        bend.linkProjection = table.positive(row, "end_projection_links_mm", kLargestLengthMm);
        if (bends.find(bend.diameter) != nullptr)
            table.refuse(table.field(row, "diameter_mm"), sentence("the size {} mm stands here twice", number(bend.diameter)));
        for (char const *const column : {"end_projection_general_mm", "end_projection_links_mm"})
            if (table.positive(row, column, kLargestLengthMm) <= bend.radius + bend.diameter)
                table.refuse(table.field(row, column),
                             "the projection ends inside the bend of the radius " + number(bend.radius));
        bends.m_bends.push_back(bend);
    }
    return bends;
}

SchedulingBend const *SchedulingBends::find(double diameter) const
{
    auto const found = std::find_if(m_bends.begin(), m_bends.end(),
                                    [diameter](SchedulingBend const &bend) { return bend.diameter == diameter; });
    return found == m_bends.end() ? nullptr : &*found;
}

bool BendRule::appliesTo(BarSize const &size) const
{
    if (byNumber != (size.number != 0))
        return false;
    if (!numbers.empty())
        return std::find(numbers.begin(), numbers.end(), size.number) != numbers.end();
    double const value = byNumber ? size.number : size.diameter;
    return value <= highest && (lowestExcluded ? value > lowest : value >= lowest);
}

BendRules BendRules::load(std::filesystem::path const &path)
{
    CsvTable const table = CsvTable::load(path);
    table.expectColumns({"rule", "applies_to", "mandrel_x_d", "hook90_x_d", "hook135_x_d", "hook180", "source"});
    BendRules rules;
    rules.m_file = table.file();
    for (CsvRow const &row : table.rows())
    {
        BendRule rule;
        rule.rule = table.text(row, "rule");
        rule.source = table.field(row, "source").text;
        if (!Scope(table.text(row, "applies_to")).read(rule))
            table.refuse(table.field(row, "applies_to"), excerpt(table.text(row, "applies_to")) +
                                                             " is none of \"d <= 16 mm\", \"d > 16 mm\", \"No. 3 to 8\", "
                                                             "\"No. 14 and 18\"");
        rule.mandrel = table.positive(row, "mandrel_x_d", kLargestMultiple);
        rule.hook90 = table.optionalPositive(row, "hook90_x_d", kLargestMultiple);
        rule.hook135 = table.optionalPositive(row, "hook135_x_d", kLargestMultiple);
        rule.hook180 = table.field(row, "hook180").text;
        try
        {
            if (!rule.hook180.empty() && !(hook180Length(rule, 1.0) > 0))
                table.refuse(table.field(row, "hook180"), "the formula gives no length");
        }
        catch (FormulaError const &error)
        {
            table.refuse(table.field(row, "hook180"), error.what(), error.position());
        }
        rules.m_rules.push_back(std::move(rule));
    }
    return rules;
}

BendRule const *BendRules::find(std::string_view rule, BarSize const &size) const
{
    auto const found = std::find_if(m_rules.begin(), m_rules.end(),
                                    [&](BendRule const &row) { return row.rule == rule && row.appliesTo(size); });
    return found == m_rules.end() ? nullptr : &*found;
}

double hook180Length(BendRule const &rule, double diameterInch) { return evaluate(rule.hook180, hookVariables(diameterInch)); }

} // namespace okt
