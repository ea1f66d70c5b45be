// SPDX-License-Identifier: MIT
#include <oktrebar/bartable.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/csvtable.h>

#include <algorithm>

namespace okt
{

namespace
{

// Far above every real bar: a larger figure has the wrong unit or is a misprint.
constexpr double kLargestDiameterMm = 1000;
constexpr double kLargestDiameterInch = 40;
constexpr double kLargestFigure = 1e6;
constexpr int kLargestNumber = 999;

void refuseSecond(CsvTable const &table, CsvRow const &row, char const *column, BarSize const &size,
                  std::vector<BarSize> const &sizes)
{
    auto const same = [&size](BarSize const &other) {
        return other.diameter == size.diameter || (size.number != 0 && other.number == size.number);
    };
    auto const first = std::find_if(sizes.begin(), sizes.end(), same);
    if (first != sizes.end())
        table.refuse(table.field(row, column), sentence("the size {} stands in line {} already", size.label(), first->line));
}

BarSize metricSize(CsvTable const &table, CsvRow const &row)
{
    BarSize size;
    size.diameter = table.positive(row, "diameter_mm", kLargestDiameterMm);
    size.area = table.positive(row, "area_mm2", kLargestFigure);
    size.mass = table.positive(row, "mass_kg_per_m", kLargestFigure);
    size.line = row.front().line;
    return size;
}

BarSize inchSize(CsvTable const &table, CsvRow const &row)
{
    BarSize size;
    size.number = table.ordinal(row, "size", kLargestNumber);
    table.ordinal(row, "soft_metric", kLargestNumber);
    size.diameter = table.positive(row, "diameter_in", kLargestDiameterInch);
    size.area = table.positive(row, "area_in2", kLargestFigure);
    size.mass = table.positive(row, "mass_lb_per_ft", kLargestFigure);
    size.line = row.front().line;
    return size;
}

} // namespace

double metricsFactor(Units units) { return units == Units::Millimetre ? 1000.0 : 1.0 / 0.0254; }

std::string BarSize::label() const { return number == 0 ? okt::number(diameter) + " mm" : sentence("No. {}", number); }

std::string BarSize::stem() const { return number == 0 ? "d" + okt::number(diameter) : sentence("no{}", number); }

BarTable BarTable::load(std::filesystem::path const &path)
{
    CsvTable const table = CsvTable::load(path);
    BarTable bars;
    bars.file = table.file();
    bars.units = table.hasColumn("diameter_in") ? Units::Inch : Units::Millimetre;
    bool const metric = bars.units == Units::Millimetre;
    if (metric)
        table.expectColumns({"diameter_mm", "area_mm2", "mass_kg_per_m"});
    else
        table.expectColumns({"size", "soft_metric", "diameter_in", "area_in2", "mass_lb_per_ft"});
    for (CsvRow const &row : table.rows())
    {
        BarSize const size = metric ? metricSize(table, row) : inchSize(table, row);
        refuseSecond(table, row, metric ? "diameter_mm" : "size", size, bars.sizes);
        bars.sizes.push_back(size);
    }
    return bars;
}

} // namespace okt
