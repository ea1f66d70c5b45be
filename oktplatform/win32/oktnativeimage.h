// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>

/// The start of the program or library that includes this header. Each image has one.
#if defined(__GNUC__)
extern "C" char const oktImageBase[] __asm__("__ImageBase");
#else
extern "C" char const __ImageBase[];
inline char const (&oktImageBase)[] = __ImageBase;
#endif

/// The range of the constants of an image.
struct OktImageConstants
{
    char const *begin;
    char const *end;
};

/// Finds the section of constants in the headers of an image.
inline OktImageConstants OktFindConstants(char const *image)
{
    constexpr std::size_t kNewHeadPlace = 0x3C;
    constexpr std::size_t kFixedHead = 24; // signature and file header, before the optional header
    constexpr std::size_t kSection = 40;
    auto const number = [](char const *place, std::size_t bytes) {
        std::uint32_t value = 0;
        std::memcpy(&value, place, bytes);
        return value;
    };
    char const *const head = image + number(image + kNewHeadPlace, 4);
    std::uint32_t const sections = number(head + 6, 2);
    char const *section = head + kFixedHead + number(head + 20, 2);
    for (std::uint32_t i = 0; i < sections; ++i, section += kSection)
    {
        if (std::memcmp(section, ".rdata\0", 8) != 0)
            continue;
        char const *const begin = image + number(section + 12, 4);
        return {begin, begin + number(section + 8, 4)};
    }
    return {nullptr, nullptr};
}

/// True for the address of a constant that lives as long as the image it is compiled into. Literals are such constants.
inline bool OktIsImageConstant(void const *address)
{
    static OktImageConstants const constants = OktFindConstants(oktImageBase);
    auto const *const place = static_cast<char const *>(address);
    return place >= constants.begin && place < constants.end;
}
