// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/oktcodepage.h>
#include <oktplatform/okttext_internal.h>

#include <algorithm>
#include <string>

namespace
{
using OktSystem::Unit;

constexpr std::size_t kMostUnits = 1u << 27; // of one text

/// Pages for which the system accepts neither flags nor a substitute.
constexpr bool isPlainPage(unsigned int page)
{
    return page == 42 || page == 50220 || page == 50221 || page == 50222 || page == 50225 || page == 50227 || page == 50229 ||
           (page >= 57002 && page <= 57011) || page == 54936 || page == 65000;
}

bool hasLoneSurrogate(Unit const *text, std::size_t length)
{
    Unit const *const end = text + length;
    while (text != end)
    {
        if (OktText::isSurrogate(OktText::nextCharacter(text, end)))
            return true;
    }
    return false;
}

/// The length in bytes of the character at `text`, which has `left` bytes.
int characterLength(unsigned int page, char const *text, int left)
{
    if (page != 54936)
        return left > 1 && IsDBCSLeadByteEx(page, static_cast<BYTE>(*text)) ? 2 : 1;
    auto const first = static_cast<unsigned char>(*text);
    if (first < 0x81 || left < 2)
        return 1;
    auto const second = static_cast<unsigned char>(text[1]);
    bool const isFour = second >= '0' && second <= '9';
    return isFour && left >= 4 ? 4 : isFour ? 1 : 2;
}

/// Converts character by character. Bytes that are no character become U+FFFD.
std::wstring byCharacter(unsigned int page, char const *text, int length)
{
    std::wstring units;
    while (length > 0)
    {
        wchar_t character[4];
        int count = characterLength(page, text, length);
        int const made = ::MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, text, count, character, 4);
        bool const isLead = count == 1 && IsDBCSLeadByteEx(page, static_cast<BYTE>(*text));
        if (made > 0 && !isLead)
            units.append(character, static_cast<std::size_t>(made));
        else
        {
            units.push_back(static_cast<wchar_t>(OktText::kReplacement));
            count = 1;
        }
        text += count;
        length -= count;
    }
    return units;
}
} // namespace

unsigned int OktSystem::initialCodePage()
{
    DWORD page = 0;
    int const got = GetLocaleInfoW(GetThreadLocale(), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                                   reinterpret_cast<wchar_t *>(&page), sizeof page / sizeof(wchar_t));
    return got > 0 && page != 0 ? page : GetACP();
}

bool OktSystem::knowsCodePage(unsigned int page) { return IsValidCodePage(page) != 0; }

bool OktSystem::toCodePage(unsigned int page, Unit const *text, std::size_t length, char substitute, bool &substituted,
                           char *target, std::size_t size, std::size_t &needed)
{
    bool const plain = isPlainPage(page);
    DWORD const flags = plain ? 0 : WC_NO_BEST_FIT_CHARS;
    BOOL used = FALSE;
    int const count = static_cast<int>(length);
    // Room for the longest characters and for a final change of state.
    constexpr std::size_t kMostBytes = 8;
    if (length > kMostUnits)
        return false;
    std::string made((length + 1) * kMostBytes, '\0');
    char const ended[2] = {substitute, '\0'}; // pages of two bytes read a second one
    int const written = ::WideCharToMultiByte(page, flags, text, count, made.data(), static_cast<int>(made.size()),
                                              plain ? nullptr : ended, plain ? nullptr : &used);
    if (written <= 0)
        return false;
    made.resize(static_cast<std::size_t>(written));
    substituted |= plain ? hasLoneSurrogate(text, length) : used != FALSE;
    if (target != nullptr)
        std::copy_n(made.data(), std::min(size, made.size()), target);
    needed = made.size();
    return true;
}

bool OktSystem::fromCodePage(unsigned int page, char const *text, std::size_t length, Unit *target, std::size_t size,
                             std::size_t &needed)
{
    if (!IsValidCodePage(page))
        return false;
    int const count = static_cast<int>(length);
    std::wstring made;
    int const strict =
        ::MultiByteToWideChar(page, isPlainPage(page) && page != 54936 ? 0 : MB_ERR_INVALID_CHARS, text, count, nullptr, 0);
    if (strict > 0)
    {
        made.resize(static_cast<std::size_t>(strict));
        ::MultiByteToWideChar(page, 0, text, count, made.data(), strict);
    }
    else
        made = byCharacter(page, text, count);
    if (target != nullptr)
        std::copy_n(made.data(), std::min(size, made.size()), target);
    needed = made.size();
    return true;
}
