// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <concepts>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace okt
{
/// std::from_chars for whole numbers.
template <std::integral T> std::from_chars_result readNumber(char const *first, char const *last, T &value)
{
    return std::from_chars(first, last, value);
}

/// std::from_chars for real numbers, made with streams, for a standard library without it. It supports the formats fixed and general.
inline std::from_chars_result readRealByStream(char const *first, char const *last, double &value, std::chars_format format)
{
    auto const skipDigits = [last](char const *at) {
        return std::find_if(at, last, [](char c) { return c < '0' || c > '9'; });
    };
    auto const isWord = [last](char const *at, std::string_view word) {
        return static_cast<std::size_t>(last - at) >= word.size() &&
               std::equal(word.begin(), word.end(), at, [](char w, char c) { return w == (c | 0x20); });
    };
    char const *const number = first != last && *first == '-' ? first + 1 : first;
    double const sign = number == first ? 1 : -1;
    if (isWord(number, "nan"))
    {
        value = std::copysign(std::numeric_limits<double>::quiet_NaN(), sign);
        return {number + 3, std::errc()};
    }
    if (isWord(number, "inf"))
    {
        value = sign * std::numeric_limits<double>::infinity();
        return {number + (isWord(number, "infinity") ? 8 : 3), std::errc()};
    }

    char const *const point = skipDigits(number);
    char const *const fraction = point != last && *point == '.' ? point + 1 : point;
    char const *end = skipDigits(fraction);
    if (point - number + (end - fraction) == 0)
        return {first, std::errc::invalid_argument};
    if (format != std::chars_format::fixed && end != last && (*end == 'e' || *end == 'E'))
    {
        char const *const power = end + 1 != last && (end[1] == '-' || end[1] == '+') ? end + 2 : end + 1;
        if (skipDigits(power) != power)
            end = skipDigits(power);
    }

    std::istringstream stream(std::string(first, end));
    stream.imbue(std::locale::classic());
    double read = 0;
    if (!(stream >> read))
        return {end, std::errc::result_out_of_range};
    value = read;
    return {end, std::errc()};
}

/// std::from_chars for real numbers.
inline std::from_chars_result readNumber(char const *first, char const *last, double &value,
                                         std::chars_format format = std::chars_format::general)
{
#if defined(__cpp_lib_to_chars)
    return std::from_chars(first, last, value, format);
#else
    return readRealByStream(first, last, value, format);
#endif
}
} // namespace okt
