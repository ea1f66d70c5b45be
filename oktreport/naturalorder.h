// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace okt
{

// By hand, since strverscmp is of one system alone and ICU would come with some 30 MB of tables. Not installed.

/// Whether a title stands before another one as a reader expects it: digits count as the number that they write, so that 8 stands
/// before 10, and behind "0." as decimals; capitals and small letters are alike. Texts that differ in nothing else are told apart
/// by their bytes.
bool naturalLess(std::string_view a, std::string_view b);

} // namespace okt
