// SPDX-License-Identifier: MIT
#pragma once

// How often a part stands in a text. For questions that the simple regular expressions of GoogleTest on Windows cannot ask.

#include <cstddef>
#include <string_view>

inline std::size_t countOf(std::string_view part, std::string_view text)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; ++at)
        ++count;
    return count;
}
