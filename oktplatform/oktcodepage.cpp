// SPDX-License-Identifier: MIT
#include <oktplatform/oktcodepage.h>

#include <oktplatform/oktsystem.h>
#include <oktplatform/okttext_internal.h>

#include <algorithm>
#include <limits>
#include <new>
#include <string>

namespace
{
constexpr UINT kWindows1252 = 1252;

struct ThreadPage
{
    UINT number = 0; // 0: not known yet
    bool keepsAscii = true;
};

thread_local ThreadPage t_page;

/// The characters of the bytes 0x80 to 0x9F in windows-1252; its other bytes are the characters of the same number.
constexpr WCHAR kHigh1252[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                 0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

/// An output of limited size, or none. It counts all units and stores those that fit.
template <typename U> class Sink
{
public:
    Sink(U *target, std::size_t size) : m_target(target), m_size(target == nullptr ? 0 : size) {}

    void put(U unit)
    {
        if (m_count < m_size)
            m_target[m_count] = unit;
        ++m_count;
    }
    /// Puts the leading ASCII characters of a text, and returns the place behind them.
    template <typename From> From const *putAscii(From const *text, From const *end)
    {
        std::size_t const count = OktText::countAscii(text, static_cast<std::size_t>(end - text));
        std::size_t const stored = std::min(count, room());
        for (std::size_t i = 0; i < stored; ++i)
            m_target[m_count + i] = static_cast<U>(text[i]);
        m_count += count;
        return text + count;
    }
    U *place() { return m_count < m_size ? m_target + m_count : nullptr; }
    std::size_t room() const { return m_count < m_size ? m_size - m_count : 0; }
    void skip(std::size_t count) { m_count += count; }

    /// The count, or 0 if it does not fit into the target or into an int.
    int result() const
    {
        bool const fits = m_target == nullptr || m_count <= m_size;
        return fits && m_count <= static_cast<std::size_t>(std::numeric_limits<int>::max()) ? static_cast<int>(m_count) : 0;
    }

private:
    U *m_target;
    std::size_t m_size;
    std::size_t m_count = 0;
};

bool keepsAscii(UINT page)
{
    if (page == kWindows1252 || page == CP_UTF8)
        return true;
    for (int i = 0; i < 0x80; ++i)
    {
        auto const unit = static_cast<WCHAR>(i);
        auto const byte = static_cast<char>(i);
        char bytes[8];
        WCHAR units[8];
        std::size_t needed = 0;
        bool substituted = false;
        if (!OktSystem::toCodePage(page, &unit, 1, '?', substituted, bytes, sizeof bytes, needed) || substituted ||
            needed != 1 || bytes[0] != byte)
            return false;
        if (!OktSystem::fromCodePage(page, &byte, 1, units, 8, needed) || needed != 1 || units[0] != unit)
            return false;
    }
    return true;
}

/// The byte of a character in windows-1252, or -1.
int byteIn1252(WCHAR unit)
{
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
        return unit;
    auto const *const place = std::find(std::begin(kHigh1252), std::end(kHigh1252), unit);
    return place == std::end(kHigh1252) ? -1 : static_cast<int>(0x80 + (place - kHigh1252));
}

void to1252(WCHAR const *place, WCHAR const *end, char substitute, bool &substituted, Sink<char> &sink)
{
    for (; place != end; ++place)
    {
        int const byte = byteIn1252(*place);
        substituted |= byte < 0;
        sink.put(byte < 0 ? substitute : static_cast<char>(byte));
    }
}

void toUtf8(WCHAR const *place, WCHAR const *end, char substitute, bool &substituted, Sink<char> &sink)
{
    while (place != end)
    {
        char32_t const character = OktText::nextCharacter(place, end);
        if (OktText::isSurrogate(character))
        {
            substituted = true;
            sink.put(substitute);
            continue;
        }
        char bytes[4];
        int const count = OktText::putUtf8(character, bytes);
        for (int i = 0; i < count; ++i)
            sink.put(bytes[i]);
    }
}

ThreadPage threadPage()
{
    ThreadPage known = t_page; // a copy, because each access to the thread's variable is a call
    if (known.number == 0)
    {
        UINT const page = OktSystem::initialCodePage();
        known = {page, keepsAscii(page)};
        t_page = known;
    }
    return known;
}

/// The thread's page is known. If it cannot be opened, memory is short, and the result 0 would turn each text into an empty one.
int unknownPage(UINT page)
{
    if (page == threadPage().number)
        throw std::bad_alloc();
    return 0;
}

UINT resolve(UINT codePage) { return codePage == CP_ACP || codePage == CP_THREAD_ACP ? threadPage().number : codePage; }
} // namespace

void OktSetThreadCodePage(unsigned int codePage)
{
    UINT const page = resolve(codePage);
    if (page == threadPage().number)
        return;
    if (page != kWindows1252 && page != CP_UTF8 && !OktSystem::knowsCodePage(page))
        return;
    t_page = {page, keepsAscii(page)};
}

unsigned int OktThreadCodePage() { return threadPage().number; }

// Asked for each frame.
bool OktThreadCodePageKeepsAscii()
{
    ThreadPage const &known = t_page;
    return known.number != 0 ? known.keepsAscii : threadPage().keepsAscii;
}

int OktToMultiByte(UINT codePage, WCHAR const *text, int length, char *target, int size, char const *defaultChar,
                   BOOL *usedDefault)
{
    if (usedDefault != nullptr)
        *usedDefault = FALSE;
    if (text == nullptr || length == 0 || length < -1 || size < 0 || (size > 0 && target == nullptr))
        return 0;
    WCHAR const *const end = text + (length > 0 ? static_cast<std::size_t>(length) : std::char_traits<WCHAR>::length(text) + 1);
    UINT const page = resolve(codePage);
    char const substitute = defaultChar == nullptr ? '?' : *defaultChar;
    bool substituted = false;
    Sink<char> sink(size == 0 ? nullptr : target, static_cast<std::size_t>(size));

    WCHAR const *place = text;
    if (page == kWindows1252 || page == CP_UTF8 || (page == threadPage().number && threadPage().keepsAscii))
        place = sink.putAscii(place, end);
    if (page == kWindows1252)
        to1252(place, end, substitute, substituted, sink);
    else if (page == CP_UTF8)
        toUtf8(place, end, substitute, substituted, sink);
    else if (place != end)
    {
        std::size_t needed = 0;
        if (!OktSystem::toCodePage(page, place, static_cast<std::size_t>(end - place), substitute, substituted, sink.place(),
                                   sink.room(), needed))
            return unknownPage(page);
        sink.skip(needed);
    }
    if (usedDefault != nullptr)
        *usedDefault = substituted ? TRUE : FALSE;
    return sink.result();
}

int OktToWideChar(UINT codePage, char const *text, int length, WCHAR *target, int size)
{
    if (text == nullptr || length == 0 || length < -1 || size < 0 || (size > 0 && target == nullptr))
        return 0;
    char const *const end = text + (length > 0 ? static_cast<std::size_t>(length) : std::char_traits<char>::length(text) + 1);
    UINT const page = resolve(codePage);
    Sink<WCHAR> sink(size == 0 ? nullptr : target, static_cast<std::size_t>(size));

    char const *place = text;
    if (page == kWindows1252 || page == CP_UTF8 || (page == threadPage().number && threadPage().keepsAscii))
        place = sink.putAscii(place, end);
    if (page == kWindows1252)
    {
        for (; place != end; ++place)
        {
            auto const byte = static_cast<unsigned char>(*place);
            sink.put(byte >= 0x80 && byte < 0xA0 ? kHigh1252[byte - 0x80] : static_cast<WCHAR>(byte));
        }
    }
    else if (page == CP_UTF8)
    {
        while (place != end)
        {
            WCHAR units[2];
            int const count = OktText::putCharacter(OktText::nextUtf8(place, end), units);
            for (int i = 0; i < count; ++i)
                sink.put(units[i]);
        }
    }
    else if (place != end)
    {
        std::size_t needed = 0;
        if (!OktSystem::fromCodePage(page, place, static_cast<std::size_t>(end - place), sink.place(), sink.room(), needed))
            return unknownPage(page);
        sink.skip(needed);
    }
    return sink.result();
}
