#pragma once

#include <oktplatform/oktsystem.h>

#include <string>

/// Paths as the system takes them. Not installed.
namespace OktWin32
{
/// False: a zero unit, which cannot stand in a path: the file opened would be another one.
inline bool pathOf(wchar_t const *text, std::size_t length, std::wstring &path)
{
    path.assign(text, length);
    return path.find(L'\0') == std::wstring::npos;
}
} // namespace OktWin32
