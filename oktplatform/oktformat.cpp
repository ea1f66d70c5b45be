// SPDX-License-Identifier: MIT
#include <oktplatform/oktstring.h>

#include <oktplatform/oktbuffer_internal.h>
#include <oktplatform/oktsystem.h>
#include <oktplatform/okttext_internal.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <new>

using OktText::kMaxLength;
using OktText::TextBuilder;

namespace
{
/// The number of units before the closing zero, at most `most`.
template <typename U> std::size_t boundedLength(U const *text, std::size_t most)
{
    std::size_t length = 0;
    while (length < most && text[length] != 0)
        ++length;
    return length;
}

struct Conversion
{
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    bool wide = false; ///< a length modifier of 64 bits
    int width = 0;
    int precision = -1;
    WCHAR kind = 0;
};

void appendPadded(TextBuilder &result, Conversion const &conversion, OktTextView prefix, std::size_t zeros, OktTextView body,
                  bool zeroFill)
{
    std::size_t const length = prefix.size() + zeros + body.size();
    auto const width = static_cast<std::size_t>(conversion.width);
    std::size_t const padding = width > length ? width - length : 0;
    bool const fill = zeroFill && conversion.zero && !conversion.left;
    if (!conversion.left && !fill)
        result.append(u' ', padding);
    result.append(prefix);
    result.append(u'0', zeros + (fill ? padding : 0));
    result.append(body);
    if (conversion.left)
        result.append(u' ', padding);
}

void appendInteger(TextBuilder &result, Conversion const &conversion, std::uint64_t magnitude, bool negative)
{
    bool const isSigned = conversion.kind == 'd' || conversion.kind == 'i';
    bool const isHex = conversion.kind == 'x' || conversion.kind == 'X' || conversion.kind == 'p';
    int base = conversion.kind == 'o' ? 8 : 10;
    if (isHex)
        base = 16;
    char narrow[32] = {};
    char *const narrowEnd = std::to_chars(narrow, narrow + sizeof narrow, magnitude, base).ptr;
    WCHAR digits[32];
    std::size_t count = static_cast<std::size_t>(narrowEnd - narrow);
    bool const upper = conversion.kind == 'X' || conversion.kind == 'p';
    std::transform(narrow, narrowEnd, digits,
                   [upper](char digit) { return static_cast<WCHAR>(upper && digit >= 'a' ? digit - 'a' + 'A' : digit); });
    if (magnitude == 0 && conversion.precision == 0)
        count = 0;

    WCHAR prefix[2];
    std::size_t prefixCount = 0;
    if (isSigned && (negative || conversion.plus || conversion.space))
        prefix[prefixCount++] = negative ? u'-' : conversion.plus ? u'+' : u' ';
    if ((conversion.kind == 'x' || conversion.kind == 'X') && conversion.alternate && magnitude != 0)
    {
        prefix[prefixCount++] = u'0';
        prefix[prefixCount++] = conversion.kind;
    }
    std::size_t zeros = 0;
    if (conversion.precision > 0 && static_cast<std::size_t>(conversion.precision) > count)
        zeros = static_cast<std::size_t>(conversion.precision) - count;
    if (conversion.kind == 'o' && conversion.alternate && zeros == 0 && (count == 0 || digits[0] != '0'))
        zeros = 1;
    appendPadded(result, conversion, {prefix, prefixCount}, zeros, {digits, count}, conversion.precision < 0);
}

void appendReal(TextBuilder &result, Conversion const &conversion, double value)
{
    char format[8];
    char *flag = format;
    *flag++ = '%';
    if (conversion.plus)
        *flag++ = '+';
    if (conversion.space)
        *flag++ = ' ';
    if (conversion.alternate)
        *flag++ = '#';
    *flag++ = '.';
    *flag++ = '*';
    *flag++ = static_cast<char>(conversion.kind);
    *flag = '\0';

    char stack[400];
    std::string heap;
    char const *text = stack;
    int const length = std::snprintf(stack, sizeof stack, format, conversion.precision, value);
    if (length < 0)
        throw std::bad_alloc(); // the length does not fit into an int
    if (static_cast<std::size_t>(length) >= sizeof stack)
    {
        heap.resize(static_cast<std::size_t>(length));
        std::snprintf(heap.data(), heap.size() + 1, format, conversion.precision, value);
        text = heap.data();
    }

    // Everything is ASCII except the decimal point of the locale, which may have several bytes.
    TextBuilder body;
    std::string_view rest(text, static_cast<std::size_t>(length));
    OktSystem::DecimalPoint const point = OktSystem::decimalPoint();
    std::size_t const place = rest.find(std::string_view(point.bytes, point.length));
    std::string_view const whole = rest.substr(0, place);
    std::copy(whole.begin(), whole.end(), body.extend(whole.size()));
    if (place != std::string_view::npos)
    {
        body.append(point.unit, 1);
        rest.remove_prefix(place + point.length);
        std::copy(rest.begin(), rest.end(), body.extend(rest.size()));
    }
    OktTextView const view = body.view();

    std::size_t prefix = view[0] == '-' || view[0] == '+' || view[0] == ' ' ? 1 : 0;
    bool const finite = view[prefix] >= '0' && view[prefix] <= '9';
    if (conversion.kind == 'a' || conversion.kind == 'A')
        prefix += finite ? 2 : 0;
    appendPadded(result, conversion, view.substr(0, prefix), 0, view.substr(prefix), finite);
}

void appendText(TextBuilder &result, Conversion const &conversion, OktTextView text)
{
    if (conversion.precision >= 0)
        text = text.substr(0, static_cast<std::size_t>(conversion.precision));
    appendPadded(result, conversion, {}, 0, text, false);
}

constexpr bool isDigit(WCHAR unit) { return unit >= '0' && unit <= '9'; }

constexpr bool isConversion(WCHAR kind)
{
    return kind < 0x80 && std::string_view("diuxXocsSpeEfFgGaA").find(static_cast<char>(kind)) != std::string_view::npos;
}

/// Reads a number, limited to the largest int.
int readCount(OktTextView format, std::size_t &place)
{
    std::int64_t count = 0;
    for (; place < format.size() && isDigit(format[place]); ++place)
        count = std::min<std::int64_t>(count * 10 + (format[place] - '0'), std::numeric_limits<int>::max());
    return static_cast<int>(count);
}

void readFlags(OktTextView format, std::size_t &place, Conversion &conversion)
{
    for (; place < format.size(); ++place)
    {
        switch (format[place])
        {
        case '-': conversion.left = true; break;
        case '+': conversion.plus = true; break;
        case ' ': conversion.space = true; break;
        case '#': conversion.alternate = true; break;
        case '0': conversion.zero = true; break;
        default: return;
        }
    }
}

constexpr bool isPair(OktTextView format, std::size_t place, WCHAR first, WCHAR second)
{
    return format[place] == first && format[place + 1] == second;
}

void readModifiers(OktTextView format, std::size_t &place, Conversion &conversion)
{
    for (; place < format.size(); ++place)
    {
        switch (format[place])
        {
        case 'h':
        case 'w':
        case 'L': break;
        case 'l': conversion.wide = place > 0 && format[place - 1] == 'l'; break;
        case 'j':
        case 'z':
        case 't': conversion.wide = true; break;
        case 'I':
            if (place + 2 < format.size() && isPair(format, place + 1, '6', '4'))
                conversion.wide = true;
            else if (place + 2 >= format.size() || !isPair(format, place + 1, '3', '2'))
                break;
            place += 2;
            break;
        default: return;
        }
    }
}
} // namespace

void CString::formatList(CString const &format, std::initializer_list<OktFormatArgument> arguments)
{
    using Kind = OktFormatArgument::Kind;
    OktTextView const view = format.View();
    auto argument = arguments.begin();
    auto const isInteger = [](OktFormatArgument const &value) {
        return value.m_kind == Kind::Signed || value.m_kind == Kind::Unsigned;
    };
    TextBuilder result;

    // A width or precision: digits, or '*' and an argument. False: the argument is missing or not a number.
    auto const readNumber = [&](std::size_t &place, int &number) {
        if (place == view.size() || view[place] != '*')
        {
            number = readCount(view, place);
            return true;
        }
        ++place;
        if (argument == arguments.end())
            return false;
        OktFormatArgument const &value = *argument++;
        if (!isInteger(value))
            return false;
        constexpr std::int64_t kMost = std::numeric_limits<int>::max();
        number = static_cast<int>(std::clamp(value.m_integer, -kMost, kMost));
        return true;
    };

    auto const appendInteger64 = [&](Conversion const &conversion, OktFormatArgument const &value) {
        auto const bits = static_cast<std::uint64_t>(value.m_integer);
        bool const negative = value.m_kind == Kind::Signed && value.m_integer < 0;
        bool const isInt = negative && !conversion.wide && value.m_integer >= std::numeric_limits<std::int32_t>::min();
        if (negative && (conversion.kind == 'd' || conversion.kind == 'i'))
            appendInteger(result, conversion, 0 - bits, true);
        else
            appendInteger(result, conversion, isInt ? bits & 0xFFFFFFFFu : bits, false); // a negative int has its 32 bits
    };

    auto const appendCharacter = [&](Conversion conversion, std::int64_t value) {
        WCHAR units[2] = {static_cast<WCHAR>(value), 0};
        int count = 1;
        if (value >= 0 && value <= 0x10FFFF)
            count = OktText::putCharacter(static_cast<char32_t>(value), units);
        conversion.precision = -1;
        appendText(result, conversion, {units, static_cast<std::size_t>(count)});
    };

    auto const appendAnyText = [&](Conversion const &conversion, OktFormatArgument const &value) {
        std::size_t const most = conversion.precision < 0 ? kMaxLength : static_cast<std::size_t>(conversion.precision);
        if (value.m_kind == Kind::Text)
            appendText(result, conversion, static_cast<CString const *>(value.m_pointer)->View());
        else if (value.m_pointer == nullptr)
            appendText(result, conversion, CString(u"(null)").View());
        else if (value.m_kind == Kind::Narrow)
            appendText(result, conversion, CString(static_cast<char const *>(value.m_pointer)).View());
        else if (value.m_kind == Kind::Wide)
        {
            auto const *const wide = static_cast<wchar_t const *>(value.m_pointer);
            appendText(result, conversion, CString(wide, static_cast<int>(boundedLength(wide, most))).View());
        }
        else
        {
            auto const *const units = static_cast<WCHAR const *>(value.m_pointer);
            appendText(result, conversion, {units, boundedLength(units, most)});
        }
    };

    // One conversion behind a '%'. False: it is unknown or does not fit the argument.
    auto const convert = [&](std::size_t &place) {
        Conversion conversion;
        readFlags(view, place, conversion);
        bool sound = readNumber(place, conversion.width);
        if (conversion.width < 0)
        {
            conversion.left = true;
            conversion.width = -conversion.width;
        }
        if (place < view.size() && view[place] == '.')
        {
            ++place;
            sound = readNumber(place, conversion.precision) && sound;
        }
        readModifiers(view, place, conversion);
        if (place >= view.size())
            return false;
        conversion.kind = view[place++];
        if (conversion.kind == '%')
        {
            result.append(u'%', 1);
            return true;
        }
        if (!isConversion(conversion.kind) || argument == arguments.end())
            return false;

        OktFormatArgument const &value = *argument++;
        if (!sound)
            return false;
        bool const number = isInteger(value);
        bool const real = value.m_kind == Kind::Real;
        switch (conversion.kind)
        {
        case 's':
        case 'S':
            if (number || real)
                return false;
            appendAnyText(conversion, value);
            return true;
        case 'c':
            if (!number)
                return false;
            appendCharacter(conversion, value.m_integer);
            return true;
        case 'p':
            if (real || value.m_kind == Kind::Text)
                return false;
            conversion.precision = 2 * static_cast<int>(sizeof(void *));
            appendInteger(result, conversion,
                          number ? static_cast<std::uint64_t>(value.m_integer)
                                 : reinterpret_cast<std::uintptr_t>(value.m_pointer),
                          false);
            return true;
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (!number)
                return false;
            appendInteger64(conversion, value);
            return true;
        default:
            if (!number && !real)
                return false;
            if (real)
                appendReal(result, conversion, value.m_real);
            else if (value.m_kind == Kind::Signed)
                appendReal(result, conversion, static_cast<double>(value.m_integer));
            else
                appendReal(result, conversion, static_cast<double>(static_cast<std::uint64_t>(value.m_integer)));
            return true;
        }
    };

    for (std::size_t place = 0; place < view.size();)
    {
        std::size_t const percent = std::min(view.find(u'%', place), view.size());
        result.append(view.substr(place, percent - place));
        if (percent == view.size())
            break;
        place = percent + 1;
        if (!convert(place))
            result.append(view.substr(percent, std::min(place, view.size()) - percent));
        place = std::min(place, view.size());
    }
    *this = result.text();
}
