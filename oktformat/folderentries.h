// SPDX-License-Identifier: MIT
#pragma once

// The entries of a folder where a signal may come in between. Not installed.

#include <filesystem>
#include <system_error>

namespace okt
{

/// std::filesystem::directory_iterator(folder, error), begun again as often as a signal interrupts it.
inline std::filesystem::directory_iterator entriesOf(std::filesystem::path const &folder, std::error_code &error)
{
    for (;;)
    {
        std::filesystem::directory_iterator entries(folder, error);
        if (error != std::errc::interrupted)
            return entries;
    }
}

} // namespace okt
