#pragma once

// Where the program or library that includes this header lies in memory. The linker sets the two marks for each image.
extern "C" char const __ehdr_start[] __attribute__((visibility("hidden")));
extern "C" char const _end[] __attribute__((visibility("hidden")));

/// True for the address of a constant that lives as long as the image it is compiled into, a literal above all.
__attribute__((always_inline)) inline bool OktIsImageConstant(void const *address)
{
    auto const *const place = static_cast<char const *>(address);
    return place >= __ehdr_start && place < _end;
}
