// SPDX-License-Identifier: MIT
#include <oktplatform/oktprogram.h>

#include <cstdlib>
#include <system_error>
#include <vector>

#include <windows.h>

CString OktProgramFile()
{
    constexpr DWORD kLongest = 32768; // of any path
    std::vector<wchar_t> name(kLongest);
    DWORD const length = GetModuleFileNameW(nullptr, name.data(), kLongest);
    return length < kLongest ? CString(name.data()) : CString();
}

CString OktEnvironmentVariable(CString const &name)
{
    wchar_t const *const value = _wgetenv(name.GetString());
    return value == nullptr ? CString() : CString(value);
}

char OktListSeparator() { return ';'; }

CString OktLibraryEnding() { return L".dll"; }

// Who may write where is told by lists that are long to read; a folder that others may change is for its owner to close.
bool OktIsWritableByAll(CString const &) { return false; }

bool OktIsFileInUse(int systemError)
{
    if (systemError == ERROR_SHARING_VIOLATION || systemError == ERROR_LOCK_VIOLATION)
        return true;
    std::error_code const code(systemError, std::system_category());
    return code == std::errc::operation_would_block || code == std::errc::resource_unavailable_try_again;
}
