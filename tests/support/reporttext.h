// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

/// Matches the text of a report from that source file, whatever the line: "\n\oktfiler@159".
MATCHER_P(IsReportOf, file, std::string(negation ? "is no" : "is a") + " report of " + file)
{
    std::string const text = arg;
    std::string const start = "\n\\" + std::string(file) + "@";
    return text.starts_with(start) && text.size() > start.size() &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(start.size()), text.end(),
                       [](char unit) { return unit >= '0' && unit <= '9'; });
}
