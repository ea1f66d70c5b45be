// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

/// The unit of the figures of a table, which is the drawing unit of the templates made from it.
enum class Units
{
    Millimetre,
    Inch
};

/// Drawing units per metre, 1000 or 39.37...: what a pool has as its metrics factor.
double metricsFactor(Units units);

/// One bar size. Area and mass are in the units of their table: mm2 and kg/m, or in2 and lb/ft.
struct BarSize
{
    double diameter = 0;
    int number = 0; ///< the designation of an inch size ("No. 4"); 0 for a metric size
    double area = 0;
    double mass = 0;
    std::size_t line = 0; ///< line in the table, from 1

    /// "12 mm" or "No. 4".
    std::string label() const;
    /// "d12" or "no4", for file names.
    std::string stem() const;
};

/// A table of bar sizes, such as examples/data/bars-en10080.csv. Metric tables are known by the column "diameter_mm", inch tables by
/// "diameter_in"; docs/manual/build.md describes the accepted forms of text.
struct BarTable
{
    std::string file;
    Units units = Units::Millimetre;
    std::vector<BarSize> sizes;

    /// Throws Failure with file, line and column: no such file, a wrong column, a value that is not a positive number, a size that occurs
    /// twice.
    static BarTable load(std::filesystem::path const &path);
};

} // namespace okt
