// SPDX-License-Identifier: MIT
#include <oktreport/naturalorder.h>

#include <algorithm>

namespace okt
{

namespace
{

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// The digits at the start of the text, which is left behind them.
std::string_view takeDigits(std::string_view &text)
{
    std::size_t const end = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
    std::string_view const digits = text.substr(0, end);
    text.remove_prefix(end);
    return digits;
}

std::string_view withoutZeros(std::string_view digits)
{
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

int sign(int value) { return value < 0 ? -1 : value > 0 ? 1 : 0; }

/// Below 0: the number of `a` is the smaller one; 0: they are equal.
int comparedNumbers(std::string_view a, std::string_view b)
{
    a = withoutZeros(a);
    b = withoutZeros(b);
    return a.size() != b.size() ? (a.size() < b.size() ? -1 : 1) : sign(a.compare(b));
}

/// Where a number ended: a point and digits follow, and not one more point with digits, as in "1.2.3".
bool beginsFraction(std::string_view text)
{
    if (text.size() < 2 || text[0] != '.' || !isDigit(text[1]))
        return false;
    text.remove_prefix(1);
    takeDigits(text);
    return text.size() < 2 || text[0] != '.' || !isDigit(text[1]);
}

int compared(std::string_view a, std::string_view b, bool hasDecimals)
{
    bool isFraction = false; // what comes next are decimals
    bool isBehindPoint = false;
    while (!a.empty() && !b.empty())
    {
        if (isDigit(a.front()) && isDigit(b.front()))
        {
            std::string_view const left = takeDigits(a);
            std::string_view const right = takeDigits(b);
            if (int const order = isFraction ? sign(left.compare(right)) : comparedNumbers(left, right); order != 0)
                return order;
            bool const isZero = !isFraction && left == "0" && right == "0";
            bool const mayHaveFraction = hasDecimals && !isFraction && !isBehindPoint;
            if (mayHaveFraction && beginsFraction(a) != beginsFraction(b))
                return beginsFraction(b) ? -1 : 1; // 8 is less than 8.25, whatever else stands behind it
            isFraction =
                hasDecimals ? mayHaveFraction && beginsFraction(a) : isZero && a.starts_with('.') && b.starts_with('.');
            if (isFraction)
            {
                a.remove_prefix(1);
                b.remove_prefix(1);
            }
            continue;
        }
        isFraction = false;
        isBehindPoint = a.front() == '.';
        auto const left = static_cast<unsigned char>(folded(a.front()));
        auto const right = static_cast<unsigned char>(folded(b.front()));
        if (left != right)
            return left < right ? -1 : 1;
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    return a.empty() && b.empty() ? 0 : a.empty() ? -1 : 1;
}

/// Without an ending such as ".okt"; ".5" is none.
std::string_view stemOf(std::string_view path)
{
    std::size_t const point = path.rfind('.');
    bool const isEnding = point != std::string_view::npos && point + 1 < path.size() && !isDigit(path[point + 1]) &&
                          path.find_first_of("/\\", point) == std::string_view::npos;
    return isEnding ? path.substr(0, point) : path;
}

} // namespace

bool naturalLess(std::string_view a, std::string_view b)
{
    int const order = compared(a, b, false);
    return order != 0 ? order < 0 : a < b;
}

bool naturalPathLess(std::string_view a, std::string_view b)
{
    if (int const order = compared(stemOf(a), stemOf(b), true); order != 0)
        return order < 0;
    return naturalLess(a, b);
}

} // namespace okt
