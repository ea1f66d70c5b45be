// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <string_view>

namespace okt
{

/// A valid class name of C++.
bool isClassName(std::string_view name);

/// The two names differ in one character at most, the case of letters aside.
bool isNearlyName(std::string_view name, std::string_view known);

} // namespace okt
