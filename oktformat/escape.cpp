// SPDX-License-Identifier: MIT
#include <oktformat/escape.h>

#include <oktformat/utf8.h>

namespace okt
{

namespace
{

bool steersTerminal(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB);
}

} // namespace

void appendHex(std::string &target, std::uint64_t value, int digits)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        target += kDigits[(value >> shift) & 15];
}

void appendEscaped(std::string &target, char32_t c, bool escapesQuotes)
{
    if (c == '\\')
        target += "\\\\";
    else if (c == '"' && escapesQuotes)
        target += "\\\"";
    else if (c == '\n')
        target += "\\n";
    else if (c == '\r')
        target += "\\r";
    else if (c == '\t')
        target += "\\t";
    else if (steersTerminal(c) || isSurrogate(c))
    {
        target += "\\u";
        appendHex(target, c, 4);
    }
    else
        appendUtf8(target, c);
}

} // namespace okt
