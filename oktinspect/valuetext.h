// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <array>
#include <string>
#include <vector>

namespace okt
{

// Values in words. Nothing here keeps or throws anything; all texts are UTF-8.

/// A unit that lengths are shown in.
struct DisplayUnit
{
    std::string name;
    double factor; ///< units per metre
};

/// The units that a reader can choose among, in this order.
inline constexpr std::array<char const *, 5> kUnitNames = {"mm", "cm", "m", "in", "ft"};

/// One of these names; null for every other one.
DisplayUnit const *findUnit(std::string const &name);
/// The names for the check of an option.
inline std::vector<std::string> unitNames() { return {kUnitNames.begin(), kUnitNames.end()}; }

/// A value as text, a length in that unit; empty for a kind that no file holds.
std::string valueText(tagVARIANT const &value, bool isLength, DisplayUnit const &unit);

/// The name of a variant kind, such as "VT_R8".
std::string kindName(VARTYPE kind);

} // namespace okt
