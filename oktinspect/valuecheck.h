// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/valuewalk.h>
#include <oktinspect/finding.h>

#include <cstdint>
#include <optional>

namespace okt
{

/// An unusual character in a text: TextZero, TextControl or TextHalf.
struct TextFault
{
    Finding::What what = Finding::What::TextZero;
    std::int64_t at = 0; ///< index of the UTF-16 unit
};
/// The first unusual character; empty: there is none, or the value is not a UTF-16 text.
std::optional<TextFault> textFault(ByteSource &source, StoredValue const &value);

/// A number that is not finite, or implausible.
struct NumberFault
{
    bool isNone; ///< not a number, or infinite
    double number;
};
/// The first such number of a value; false: there is none.
bool findNumberFault(StoredValue const &value, NumberFault &fault);

} // namespace okt
