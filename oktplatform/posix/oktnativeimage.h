// SPDX-License-Identifier: MIT
#pragma once

// The constants of the program or library that includes this header lie between two symbols: the start of its image, and the start of
// its writable data, which the compiler's start-up code marks. Each image has both symbols once.
extern "C" char const oktImageStart[] __asm__("__ehdr_start") __attribute__((visibility("hidden")));
extern "C" char const oktImageData[] __asm__("__dso_handle") __attribute__((visibility("hidden")));

/// True for the address of a constant that lives as long as the image it is compiled into. Literals are such constants.
__attribute__((always_inline)) inline bool OktIsImageConstant(void const *address)
{
    auto const *const place = static_cast<char const *>(address);
    return place >= oktImageStart && place < oktImageData;
}
