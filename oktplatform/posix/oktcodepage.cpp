// SPDX-License-Identifier: MIT
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktsystem.h>
#include <oktplatform/okttext_internal.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <iconv.h>
#include <string>
#include <utility>

namespace
{
using OktSystem::Unit;

constexpr char const *kUnits = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

/// Pages whose name in the converter does not contain the number.
struct NamedPage
{
    unsigned int page;
    char const *name;
};

constexpr NamedPage kNamedPages[] = {
    {936, "GBK"},          {949, "UHC"},          {950, "BIG5"},          {1361, "JOHAB"},        {20127, "US-ASCII"},
    {20866, "KOI8-R"},     {20932, "EUC-JP"},     {21866, "KOI8-U"},      {28591, "ISO-8859-1"},  {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"}, {28594, "ISO-8859-4"}, {28595, "ISO-8859-5"},  {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"}, {28599, "ISO-8859-9"}, {28603, "ISO-8859-13"}, {28605, "ISO-8859-15"}, {50220, "ISO-2022-JP"},
    {51932, "EUC-JP"},     {51936, "GB2312"},     {51949, "EUC-KR"},      {54936, "GB18030"},     {65000, "UTF-7"},
};

/// Pages of 16- or 32-bit units, which are not pages of 8-bit text.
constexpr bool isWidePage(unsigned int page) { return page == 1200 || page == 1201 || page == 12000 || page == 12001; }

iconv_t const kNoConverter = reinterpret_cast<iconv_t>(-1); // NOLINT: the published value

/// Calls `open` with each possible name of the page until one succeeds.
template <typename Open> iconv_t openByName(unsigned int page, Open open)
{
    char name[32];
    for (char const *const form : {"CP%u", "WINDOWS-%u", "IBM%u", "CP%03u"})
    {
        std::snprintf(name, sizeof name, form, page);
        iconv_t const converter = open(name);
        if (converter != kNoConverter)
            return converter;
    }
    for (NamedPage const &named : kNamedPages)
    {
        if (named.page == page)
            return open(named.name);
    }
    return kNoConverter;
}

/// The two directions of one code page.
class Converters
{
public:
    Converters() = default;
    Converters(Converters const &) = delete;
    Converters &operator=(Converters const &) = delete;
    ~Converters() { close(); }

    /// False: the page is unknown, and the previous page remains open.
    bool open(unsigned int page)
    {
        if (page == m_page)
            return true;
        if (isWidePage(page))
            return false;
        iconv_t const toPage = openByName(page, [](char const *name) { return iconv_open(name, kUnits); });
        if (toPage == kNoConverter)
            return false;
        iconv_t const fromPage = openByName(page, [](char const *name) { return iconv_open(kUnits, name); });
        if (fromPage == kNoConverter)
        {
            iconv_close(toPage);
            return false;
        }
        close();
        m_page = page;
        m_toPage = toPage;
        m_fromPage = fromPage;
        return true;
    }

    iconv_t toPage() const { return m_toPage; }
    iconv_t fromPage() const { return m_fromPage; }

private:
    void close()
    {
        if (m_page == 0)
            return;
        iconv_close(m_toPage);
        iconv_close(m_fromPage);
        m_page = 0;
    }

    unsigned int m_page = 0;
    iconv_t m_toPage = kNoConverter;
    iconv_t m_fromPage = kNoConverter;
};

// Static objects of a host may convert text after the thread's own objects have ended.
thread_local bool convertersEnded = false;

struct ThreadConverters : Converters
{
    ~ThreadConverters() { convertersEnded = true; }
};

/// The converters of the thread, kept because opening one is slow and a thread rarely changes its page. After the thread has destroyed
/// them, new ones for a single use.
class ConvertersInUse
{
public:
    Converters *operator->()
    {
        if (convertersEnded)
            return &m_own;
        thread_local ThreadConverters converters;
        return &converters;
    }

private:
    Converters m_own;
};

/// Converts a text piece by piece, counts the output and stores what fits.
template <typename To> class Run
{
public:
    Run(iconv_t converter, To *target, std::size_t size)
        : m_converter(converter), m_target(target), m_size(target == nullptr ? 0 : size)
    {
        iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
    }

    /// Converts up to the end, or up to the first place that is no character, and moves `bytes` there. Returns 0 or the error number.
    int convert(char *&bytes, std::size_t &left)
    {
        for (;;)
        {
            int const error = step(&bytes, &left);
            if (error != E2BIG)
                return error;
        }
    }

    /// Stores what the converter still holds and resets it.
    void finish() { step(nullptr, nullptr); }

    void put(To unit)
    {
        if (m_count < m_size)
            m_target[m_count] = unit;
        ++m_count;
    }

    std::size_t count() const { return m_count; }

private:
    int step(char **bytes, std::size_t *left)
    {
        To piece[256];
        auto *out = reinterpret_cast<char *>(piece);
        std::size_t room = sizeof piece;
        int const error = iconv(m_converter, bytes, left, &out, &room) == static_cast<std::size_t>(-1) ? errno : 0;
        std::size_t const made = (sizeof piece - room) / sizeof(To);
        std::for_each(piece, piece + made, [this](To unit) { put(unit); });
        return error;
    }

    iconv_t m_converter;
    To *m_target;
    std::size_t m_size;
    std::size_t m_count = 0;
};
} // namespace

unsigned int OktSystem::initialCodePage() { return 1252; }

bool OktSystem::knowsCodePage(unsigned int page) { return ConvertersInUse()->open(page); }

bool OktSystem::toCodePage(unsigned int page, Unit const *text, std::size_t length, char substitute, bool &substituted,
                           char *target, std::size_t size, std::size_t &needed)
{
    ConvertersInUse converters;
    if (!converters->open(page))
        return false;
    Run<char> run(converters->toPage(), target, size);
    auto *place = const_cast<char *>(reinterpret_cast<char const *>(text));
    std::size_t left = length * sizeof(Unit);
    while (run.convert(place, left) != 0)
    {
        // One substitute for each unit of a character without bytes. Lone surrogates have none.
        auto const *unit = reinterpret_cast<Unit const *>(place);
        OktText::nextCharacter(unit, unit + left / sizeof(Unit));
        std::size_t const units = static_cast<std::size_t>(unit - reinterpret_cast<Unit const *>(place));
        substituted = true;
        run.finish();
        for (std::size_t i = 0; i < units; ++i)
            run.put(substitute);
        place += units * sizeof(Unit);
        left -= units * sizeof(Unit);
    }
    run.finish();
    needed = run.count();
    return true;
}

bool OktSystem::fromCodePage(unsigned int page, char const *text, std::size_t length, Unit *target, std::size_t size,
                             std::size_t &needed)
{
    ConvertersInUse converters;
    if (!converters->open(page))
        return false;
    Run<Unit> run(converters->fromPage(), target, size);
    auto *place = const_cast<char *>(text);
    std::size_t left = length;
    for (;;)
    {
        int const error = run.convert(place, left);
        if (error == 0)
            break;
        run.put(static_cast<Unit>(OktText::kReplacement));
        if (error == EINVAL)
            break; // the text ends within a character
        ++place;
        --left;
    }
    run.finish();
    needed = run.count();
    return true;
}
