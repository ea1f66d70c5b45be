// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktsystem.h>

#include <string>

/// Paths as the system takes them. Not installed.
namespace OktWin32
{
/// False: the text has a zero unit. No path can have one, so another file would be opened.
inline bool pathOf(wchar_t const *text, std::size_t length, std::wstring &path)
{
    path.assign(text, length);
    return path.find(L'\0') == std::wstring::npos;
}
} // namespace OktWin32
