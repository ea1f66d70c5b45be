// SPDX-License-Identifier: MIT
#include <oktrebar/cuttinglength.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/csvtable.h>
#include <oktrebar/formula.h>

#include <numbers>
#include <numeric>

namespace okt
{

namespace
{

Variables variablesOf(ShapeDimensions const &dimensions)
{
    return {{"A", dimensions.A}, {"B", dimensions.B},           {"C", dimensions.C},      {"D", dimensions.D},
            {"E", dimensions.E}, {"R", dimensions.largeRadius}, {"r", dimensions.radius}, {"d", dimensions.diameter}};
}

} // namespace

ShapeLengths ShapeLengths::load(std::filesystem::path const &path)
{
    CsvTable const table = CsvTable::load(path);
    table.expectColumns({"code", "length", "what"});
    ShapeLengths shapes;
    shapes.m_file = table.file();
    for (CsvRow const &row : table.rows())
    {
        std::string code = table.text(row, "code");
        if (code.size() == 1)
            code.insert(0, 1, '0'); // spreadsheets remove leading zeros
        std::string const &formula = table.text(row, "length");
        try
        {
            evaluate(formula, variablesOf({1000, 1000, 1000, 1000, 1000, 500, 20, 10}));
        }
        catch (FormulaError const &error)
        {
            table.refuse(table.field(row, "length"), error.what(), error.position());
        }
        if (!shapes.m_formulas.emplace(code, formula).second)
            table.refuse(table.field(row, "code"), sentence("the shape code {} stands here twice", excerpt(code)));
    }
    return shapes;
}

std::vector<std::string> ShapeLengths::codes() const
{
    std::vector<std::string> codes;
    for (auto const &[code, formula] : m_formulas)
        codes.push_back(code);
    return codes;
}

std::string const &ShapeLengths::formula(std::string_view code) const
{
    auto const found = m_formulas.find(code);
    if (found == m_formulas.end())
        throw Failure(m_file, "", sentence("the shape code {} is missing", excerpt(code)));
    return found->second;
}

double ShapeLengths::length(std::string_view code, ShapeDimensions const &dimensions) const
{
    return evaluate(formula(code), variablesOf(dimensions));
}

double shortestLinkLength(double A, double B, double diameterMm)
{
    return evaluate(kShortestLinkFormula, {{"A", A}, {"B", B}, {"d", diameterMm}});
}

double developedLength(std::vector<double> const &straights, std::vector<double> const &bends, double radius, double diameter)
{
    double const angle = std::accumulate(bends.begin(), bends.end(), 0.0) * std::numbers::pi / 180;
    return std::accumulate(straights.begin(), straights.end(), angle * (radius + diameter / 2));
}

} // namespace okt
