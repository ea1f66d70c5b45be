#pragma once

// Where the constants of the program or library that includes this header lie: from the head of its image to its first writable
// data, which begin with a mark of the compiler's start-up code. Both marks are there once for each image.
extern "C" char const oktImageStart[] __asm__("__ehdr_start") __attribute__((visibility("hidden")));
extern "C" char const oktImageData[] __asm__("__dso_handle") __attribute__((visibility("hidden")));

/// True for the address of a constant that lives as long as the image it is compiled into, a literal above all.
__attribute__((always_inline)) inline bool OktIsImageConstant(void const *address)
{
    auto const *const place = static_cast<char const *>(address);
    return place >= oktImageStart && place < oktImageData;
}
