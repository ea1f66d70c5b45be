// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// A bar record of the exchange format BF2D (BVBS guideline, 2D bars): a line of ASCII that orders a bent bar. Its texts are stored as
// they come. Lengths are outer dimensions in mm, angles in degrees, masses in kg.

/// A leg of a bent bar, and the bend after it.
struct Bf2dLeg
{
    double length = 0; ///< outer dimension in mm
    double angle = 0;  ///< degrees from -180 to 180, positive to the left; 0 only after the last leg

    bool operator==(Bf2dLeg const &) const = default;
};

/// The fields of a record, each by its letter. Numbers have up to 6 digits and 6 decimals.
struct Bf2dRecord
{
    std::string project;              ///< j
    std::string drawing;              ///< r
    std::string index;                ///< i
    std::string position;             ///< p
    double length = 0;                ///< l: the sum of the legs, in mm
    int count = 0;                    ///< n: how many such bars, from 1 to 1,000,000
    double mass = 0;                  ///< e: of one bar, in kg
    double diameter = 0;              ///< d, in mm
    std::string grade;                ///< g
    double mandrel = 0;               ///< s: its diameter, in mm; above 0 where the bar is bent
    std::optional<std::string> other; ///< v: kept as it is
    std::vector<Bf2dLeg> legs;        ///< from 1 to 99

    bool operator==(Bf2dRecord const &) const = default;
};

/// What is wrong with a line, and where: the column counts from 1.
struct Bf2dFault
{
    std::size_t column = 1;
    std::string reason;
};

/// The checksum of a line up to and including the "C" before it: 65 to 96.
int bf2dCheckSum(std::string_view upToC);

/// A valid number of bars: whole, from 1 to 1,000,000.
bool isBf2dCount(double value);

/// Reads a line without its line end. Strict: fields in their order, nothing after the checksum. The checksum is verified, and
/// that the sum of the legs is the length. Throws Bf2dFault.
Bf2dRecord parseBf2d(std::string_view line);

/// The line of a record, without its line end, with the shortest notation of every number. The fields are not checked: if they come
/// from elsewhere, read the line with parseBf2d again.
std::string bf2dLine(Bf2dRecord const &record);

} // namespace okt
