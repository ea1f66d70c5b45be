// SPDX-License-Identifier: MIT
#pragma once

// Files that are written. Not installed.

#include <oktc/call.h>
#include <oktplatform/oktreplacefile.h>

#include <filesystem>

namespace oktc
{

/// Refuses with the reason for which a file was not put in place.
[[noreturn]] void refuseSave(std::filesystem::path const &path, OktSaveRefusal const &why);

} // namespace oktc
