// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/okttypes.h>

#include <cstddef>

// Not installed.

namespace OktText
{
/// The longest line of a warning, in bytes. A pipe takes so few in one piece.
inline constexpr std::size_t kWarningLine = 1024;

/// Writes a warning as one line of UTF-8 with the name of the library in front, and returns its length. Breaks and other control
/// characters become blanks, and those at the start are dropped. A longer text is cut.
std::size_t putWarningLine(WCHAR const *text, std::size_t length, char (&line)[kWarningLine]);
} // namespace OktText
