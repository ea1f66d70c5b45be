// SPDX-License-Identifier: MIT
#include <oktplatform/oktcodepage.h>

#include <limits>
#include <new>
#include <string>

// Allocation failures end here: the callers of these names expect no exceptions.

int WideCharToMultiByte(UINT codePage, DWORD, WCHAR const *text, int length, char *target, int size, char const *defaultChar,
                        BOOL *usedDefault)
try
{
    return OktToMultiByte(codePage, text, length, target, size, defaultChar, usedDefault);
}
catch (std::bad_alloc const &)
{
    return 0;
}

int MultiByteToWideChar(UINT codePage, DWORD, char const *text, int length, WCHAR *target, int size)
try
{
    return OktToWideChar(codePage, text, length, target, size);
}
catch (std::bad_alloc const &)
{
    return 0;
}

int lstrlenW(WCHAR const *text)
{
    if (text == nullptr)
        return 0;
    std::size_t const length = std::char_traits<WCHAR>::length(text);
    return length > static_cast<std::size_t>(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max()
                                                                              : static_cast<int>(length);
}
