// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <array>
#include <string>
#include <vector>

namespace okt
{

// Values as text in UTF-8. The functions keep no state and throw nothing.

/// A unit that lengths are shown in.
struct DisplayUnit
{
    std::string name;
    double factor; ///< units per metre
};

/// The units that a user can choose from, in this order.
inline constexpr std::array<char const *, 5> kUnitNames = {"mm", "cm", "m", "in", "ft"};

/// The unit of that name; null: there is none.
DisplayUnit const *findUnit(std::string const &name);
/// The names for the check of an option.
inline std::vector<std::string> unitNames() { return {kUnitNames.begin(), kUnitNames.end()}; }

/// A value as text, a length in that unit; empty: no file can hold this kind.
std::string valueText(tagVARIANT const &value, bool isLength, DisplayUnit const &unit);

/// The name of a variant kind, such as "VT_R8".
std::string kindName(VARTYPE kind);

} // namespace okt
