// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

// Tables of docs/performance.md, which the programs of this folder write as scripts/bench puts them in.

/// Ends the program: figures of what failed would be wrong.
inline void demand(bool done, char const *what)
{
    if (done)
        return;
    std::fprintf(stderr, "benchmarks: %s failed\n", what);
    std::exit(1);
}

/// 10000 as 10,000
inline std::string grouped(long long value)
{
    std::string text = std::to_string(value);
    for (std::size_t place = text.size(); place > 3 && text[place - 4] != '-'; place -= 3)
        text.insert(place - 3, ",");
    return text;
}

/// Two significant digits are what a second run bears out; whole numbers keep all of theirs.
inline std::string rounded(double value)
{
    if (value >= 9.95)
        return grouped(std::llround(value));
    char text[32];
    std::snprintf(text, sizeof text, value >= 0.995 ? "%.1f" : "%.2f", value);
    return text;
}

/// A line of the table of targets: what is asked, what was measured, and whether that is enough.
class Targets
{
public:
    explicit Targets(std::string const &path) : m_file(path) {}

    void atLeast(std::string const &what, std::string const &unit, double target, double measured)
    {
        row(what, "at least " + figure(target) + unit, figure(measured) + unit, measured >= target);
    }
    void atMost(std::string const &what, std::string const &unit, double target, double measured)
    {
        row(what, "at most " + figure(target) + unit, figure(measured) + unit, measured <= target);
    }

private:
    static std::string figure(double value)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.3g", value);
        return text;
    }
    void row(std::string const &what, std::string const &target, std::string const &measured, bool met)
    {
        m_file << "| " << what << " | " << target << " | " << measured << " | " << (met ? "met" : "**not met**") << " |\n";
        m_file.flush();
    }

    std::ofstream m_file;
};
