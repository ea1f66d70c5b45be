// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace okt
{

// Own code, because strverscmp exists on one system only and ICU has some 30 MB of tables. Not installed.

/// Natural sort order of titles: digits are compared as numbers, so that 8 comes
/// before 10, but digits after "0." as decimals. Case is ignored. Texts that are otherwise equal are compared
/// by bytes.
bool naturalLess(std::string_view a, std::string_view b);
/// The same of paths: the names without their endings come first, and of one number with a point the digits behind it are decimals, so
/// that d8.okt, d8.25.okt, d8.5.okt, d10.okt follow each other.
bool naturalPathLess(std::string_view a, std::string_view b);

} // namespace okt
