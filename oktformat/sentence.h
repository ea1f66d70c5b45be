// SPDX-License-Identifier: MIT
#pragma once

// Texts of several pieces, by a formatting library. Only the part of it that checks format strings is included here, and only
// sentence.cpp compiles the rest, so that a source pays little for it. Not installed.

#include <fmt/core.h>

#include <string>

namespace okt
{

/// The text with `values` in place of each `{}`. Use `sentence`, which checks it.
std::string formatted(fmt::string_view text, fmt::format_args const &values);

/// sentence("{} of {} objects", 3, total): the text with the values in place of each `{}`, checked when it is compiled. Numbers are
/// written as std::to_string does, but for floating ones: these go through `number` or `rounded` (text.h).
template <class... Values> std::string sentence(fmt::format_string<Values const &...> text, Values const &...values)
{
    return formatted(text, fmt::make_format_args(values...));
}

} // namespace okt
