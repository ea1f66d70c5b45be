// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// The dimensions of a bent bar with the letters of BS 8666, all in one unit; the table that comes with the system is for mm. `A` to `E` are outer dimensions of the legs, save that shape 77 has the
/// number of turns in C.
struct ShapeDimensions
{
    double A = 0;
    double B = 0;
    double C = 0;
    double D = 0;
    double E = 0;
    double largeRadius = 0; ///< R of shape 12
    double radius = 0;      ///< r: scheduling radius
    double diameter = 0;    ///< d
};

/// The cutting lengths by shape code of BS 8666, from their table of formulas, such as examples/data/shape-lengths-bs8666.csv.
class ShapeLengths
{
public:
    /// Throws Failure, also for a formula that cannot be read.
    static ShapeLengths load(std::filesystem::path const &path);

    /// The path of the table, as messages have it.
    std::string const &file() const { return m_file; }
    /// The shape codes of the table, in ascending order, and whether one is among them.
    std::vector<std::string> codes() const;
    bool has(std::string_view code) const { return m_formulas.find(code) != m_formulas.end(); }
    /// The formula as printed in the table. Throws Failure for a code that is not in the table; so does `length`.
    std::string const &formula(std::string_view code) const;
    double length(std::string_view code, ShapeDimensions const &dimensions) const;

private:
    std::string m_file;
    std::map<std::string, std::string, std::less<>> m_formulas;
};

/// Cutting length in mm of a closed link (shape 51) with minimum ends C and D, by the special formula of the standard.
inline constexpr std::string_view kShortestLinkFormula = "2A+2B+max(16d;160)";
double shortestLinkLength(double A, double B, double diameterMm);

/// Length of the centre line of a bar with straight parts and bends (degrees) of one inside radius, in the unit of the arguments.
double developedLength(std::vector<double> const &straights, std::vector<double> const &bends, double radius, double diameter);

} // namespace okt
