// SPDX-License-Identifier: MIT
#include <oktplatform/oktnumber.h>

#include <oktplatform/oktsystem.h>
#include <oktplatform/okttext_internal.h>

#include <cstdlib>
#include <limits>
#include <string>

namespace
{
constexpr bool isDigit(WCHAR unit) { return unit >= '0' && unit <= '9'; }

WCHAR const *skipSpace(WCHAR const *text)
{
    while (OktText::isSpace(*text))
        ++text;
    return text;
}

/// Skips a sign. True: it is a minus.
bool takeSign(WCHAR const *&place)
{
    if (*place != '-' && *place != '+')
        return false;
    return *place++ == '-';
}

/// Reads the digits at `place` and moves it behind them. Returns their value, at most `most`.
std::uint64_t takeDigits(WCHAR const *&place, std::uint64_t most)
{
    std::uint64_t value = 0;
    for (; isDigit(*place); ++place)
    {
        auto const digit = static_cast<std::uint64_t>(*place - '0');
        value = value > (most - digit) / 10 ? most : value * 10 + digit;
    }
    return value;
}

WCHAR const *skipDigits(WCHAR const *place)
{
    while (isDigit(*place))
        ++place;
    return place;
}

void putNarrow(char *&target, WCHAR const *from, WCHAR const *to)
{
    for (; from != to; ++from)
        *target++ = static_cast<char>(*from);
}
} // namespace

double _wtof(WCHAR const *text)
{
    if (text == nullptr)
        return 0;
    WCHAR const *const begin = skipSpace(text);
    WCHAR const *place = begin;
    takeSign(place);
    WCHAR const *const whole = place;
    WCHAR const *const point = skipDigits(whole);
    OktSystem::DecimalPoint const locale = OktSystem::decimalPoint();
    bool const hasPoint = *point == locale.unit;
    WCHAR const *const fraction = hasPoint ? point + 1 : point;
    WCHAR const *const mantissa = skipDigits(fraction);
    if (point == whole && mantissa == fraction)
        return 0;

    WCHAR const *end = mantissa;
    if (*mantissa == 'e' || *mantissa == 'E')
    {
        WCHAR const *exponent = mantissa + 1;
        takeSign(exponent);
        if (isDigit(*exponent))
            end = skipDigits(exponent);
    }

    // The number in the notation of strtod, with the decimal point of the locale.
    char stack[128];
    std::string heap;
    char *const narrow = [&] {
        std::size_t const size = static_cast<std::size_t>(end - begin) + locale.length + 1;
        if (size <= sizeof stack)
            return stack;
        heap.resize(size);
        return heap.data();
    }();
    char *target = narrow;
    putNarrow(target, begin, point);
    if (hasPoint)
    {
        for (std::size_t i = 0; i < locale.length; ++i)
            *target++ = locale.bytes[i];
    }
    putNarrow(target, fraction, end);
    *target = '\0';
    return std::strtod(narrow, nullptr);
}

long _wtol(WCHAR const *text)
{
    if (text == nullptr)
        return 0;
    WCHAR const *place = skipSpace(text);
    bool const negative = takeSign(place);
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    auto const magnitude =
        static_cast<std::int64_t>(takeDigits(place, static_cast<std::uint64_t>(negative ? kMost + 1 : kMost)));
    return static_cast<long>(negative ? -magnitude : magnitude);
}

unsigned long wcstoul(WCHAR const *text, WCHAR **end, int base)
{
    WCHAR const *behind = text;
    std::uint32_t value = 0;
    if (text != nullptr && base == 10)
    {
        WCHAR const *place = skipSpace(text);
        bool const negative = takeSign(place);
        WCHAR const *const digits = place;
        constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
        std::uint64_t const magnitude = takeDigits(place, kMost + 1);
        if (place != digits)
            behind = place;
        value = static_cast<std::uint32_t>(magnitude > kMost ? kMost : negative ? 0 - magnitude : magnitude);
    }
    if (end != nullptr)
        *end = const_cast<WCHAR *>(behind);
    return value;
}
