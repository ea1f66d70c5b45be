// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

#include <cstdint>
#include <new>

// What the library answers where memory is short is what it answers where the bytes are at fault. Who is to tell the one from the
// other looks whether memory was short meanwhile. Not installed.

/// How often an operation of the library found no memory, in this process. It counts also where the operation went another way.
OKT_API std::uint64_t OktShortages() noexcept;
/// Counts one. For whoever catches std::bad_alloc and does not throw it on.
void OktNoteShortage() noexcept;
/// The same in any handler of exceptions, if it was for want of memory.
void OktNoteIfShortage() noexcept;

/// What the library answers, or std::bad_alloc where memory was short for it, also in place of what else it throws.
template <typename Ask> auto OktWithMemory(Ask ask)
{
    std::uint64_t const before = OktShortages();
    auto const check = [before] {
        if (OktShortages() != before)
            throw std::bad_alloc();
    };
    try
    {
        auto answer = ask();
        check();
        return answer;
    }
    catch (...)
    {
        check();
        throw;
    }
}
