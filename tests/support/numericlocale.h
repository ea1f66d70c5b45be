// SPDX-License-Identifier: MIT
#pragma once

#include <clocale>
#include <string>

/// The numeric locale of a scope; the one before comes back at its end. `isThere` is false where the system lacks the locale.
class NumericLocale
{
public:
    explicit NumericLocale(char const *name)
        : m_before(std::setlocale(LC_NUMERIC, nullptr)), m_isThere(std::setlocale(LC_NUMERIC, name) != nullptr)
    {
    }
    NumericLocale(NumericLocale const &) = delete;
    NumericLocale &operator=(NumericLocale const &) = delete;
    ~NumericLocale() { std::setlocale(LC_NUMERIC, m_before.c_str()); }

    bool isThere() const { return m_isThere; }

    // A locale with a decimal comma.
#if defined(_WIN32)
    static constexpr char const *kComma = "German_Germany.1252"; // the runtime library knows it
#else
    static constexpr char const *kComma = "de_DE.UTF-8"; // the build makes it
#endif

private:
    std::string m_before;
    bool m_isThere;
};
