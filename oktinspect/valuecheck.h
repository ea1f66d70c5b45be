// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/valuewalk.h>
#include <oktinspect/finding.h>

#include <cstdint>
#include <optional>

namespace okt
{

/// What in a text hardly anybody writes: TextZero, TextControl or TextHalf.
struct TextFault
{
    Finding::What what = Finding::What::TextZero;
    std::int64_t at = 0; ///< the unit of 16 bits
};
/// The first of them; nothing: there is none, or the value is no text of 16-bit units.
std::optional<TextFault> textFault(ByteSource &source, StoredValue const &value);

/// A number that is none, or out of all reason.
struct NumberFault
{
    bool isNone; ///< not a number, or infinite
    double number;
};
/// The first such number of a value; false: there is none.
bool findNumberFault(StoredValue const &value, NumberFault &fault);

} // namespace okt
