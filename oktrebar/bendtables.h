// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/bartable.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// The values of BS 8666:2005 table 2 for one bar size, in millimetres.
struct SchedulingBend
{
    double diameter = 0;
    double radius = 0;         ///< minimum scheduling radius: inside of the bend
    double projection = 0;     ///< minimum end projection P in general, from the outside of the bend to the bar's end
    double linkProjection = 0; ///< the same for links with a bend below 150 degrees
};

/// The table of minimum radii and end projections by bar size, such as examples/data/bends-bs8666.csv.
class SchedulingBends
{
public:
    /// Throws Failure with file, line and column.
    static SchedulingBends load(std::filesystem::path const &path);

    /// The path of the table, as messages have it.
    std::string const &file() const { return m_file; }
    /// Null: the table has no such size.
    SchedulingBend const *find(double diameter) const;

private:
    std::string m_file;
    std::vector<SchedulingBend> m_bends;
};

/// One row of the table of mandrels and hooks: multiples of the bar diameter d, and the sizes that it applies to.
struct BendRule
{
    std::string rule;
    std::string source;
    double lowest = 0;  ///< diameter in mm, or bar number; excluded when `lowestExcluded`
    double highest = 0; ///< included
    bool lowestExcluded = false;
    bool byNumber = false;
    std::vector<int> numbers;      ///< instead of a range: "No. 14 and 18"
    double mandrel = 0;            ///< its diameter, in bar diameters
    std::optional<double> hook90;  ///< straight length after a bend of 90 degrees, in bar diameters
    std::optional<double> hook135; ///< likewise
    std::string hook180;           ///< likewise, a formula of d and "in" (an inch); empty when the row has none

    /// The row is for bars of that size.
    bool appliesTo(BarSize const &size) const;
    /// Inside radius of the bend, in the units of the diameter: half the mandrel.
    double radius(double diameter) const { return mandrel * diameter / 2; }
};

/// The names of the rules that the templates use.
inline constexpr std::string_view kMandrelRule = "EN 1992-1-1 8.3";
inline constexpr std::string_view kMainHookRule = "ACI 318 25.3 main";
inline constexpr std::string_view kStirrupHookRule = "ACI 318 25.3 stirrup";

/// The table of minimum mandrels and hook extensions, such as examples/data/bend-rules.csv, which names its standards.
class BendRules
{
public:
    /// Throws Failure with file, line and column.
    static BendRules load(std::filesystem::path const &path);

    /// The path of the table, as messages have it.
    std::string const &file() const { return m_file; }
    /// The first row of that rule for that size; null when there is none.
    BendRule const *find(std::string_view rule, BarSize const &size) const;

private:
    std::string m_file;
    std::vector<BendRule> m_rules;
};

/// Straight length after a bend of 180 degrees, in inches, for a diameter in inches. Throws FormulaError
/// (formula.h) if the row has no formula.
double hook180Length(BendRule const &rule, double diameterInch);

} // namespace okt
