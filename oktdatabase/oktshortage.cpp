// SPDX-License-Identifier: MIT
#include <oktdatabase/oktshortage.h>

#include <atomic>
#include <exception>

namespace
{
// Of the process: one for each thread would take memory itself on some systems, at the wrong moment.
std::atomic<std::uint64_t> g_shortages = 0;
} // namespace

std::uint64_t OktShortages() noexcept { return g_shortages; }

void OktNoteShortage() noexcept { ++g_shortages; }

void OktNoteIfShortage() noexcept
{
    if (!std::current_exception())
        return;
    try
    {
        throw;
    }
    catch (std::bad_alloc const &)
    {
        OktNoteShortage();
    }
    catch (...)
    {
        // It is told in other ways.
    }
}
