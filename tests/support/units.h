// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <string>
#include <string_view>

// Texts of the tests are written u"...". Where the unit of the platform's own calls is another type of the same width, these take
// such texts all the same.

/// A run of units as the library sees it.
inline OktTextView viewOf(std::u16string_view text) { return {reinterpret_cast<WCHAR const *>(text.data()), text.size()}; }

inline WCHAR const *unitsAt(char16_t const *text) { return reinterpret_cast<WCHAR const *>(text); }

/// Units of the platform as the tests write them.
inline std::u16string u16(OktTextView text) { return {text.begin(), text.end()}; }

#if defined(_WIN32)

inline BSTR SysAllocString(char16_t const *text) { return SysAllocString(unitsAt(text)); }

inline BSTR SysAllocStringLen(char16_t const *text, UINT length) { return SysAllocStringLen(unitsAt(text), length); }

inline int SysReAllocString(BSTR *text, char16_t const *units) { return SysReAllocString(text, unitsAt(units)); }

inline int SysReAllocStringLen(BSTR *text, char16_t const *units, UINT length)
{
    return SysReAllocStringLen(text, unitsAt(units), length);
}

inline HRESULT CLSIDFromString(char16_t const *text, CLSID *guid) { return CLSIDFromString(unitsAt(text), guid); }

inline double _wtof(char16_t const *text) { return _wtof(unitsAt(text)); }

inline long _wtol(char16_t const *text) { return _wtol(unitsAt(text)); }

inline double _wtof(std::nullptr_t) { return _wtof(static_cast<WCHAR const *>(nullptr)); }

inline long _wtol(std::nullptr_t) { return _wtol(static_cast<WCHAR const *>(nullptr)); }

inline int lstrlenW(std::nullptr_t) { return lstrlenW(static_cast<WCHAR const *>(nullptr)); }

inline int lstrlenW(char16_t const *text) { return lstrlenW(unitsAt(text)); }

inline BSTR SysAllocString(std::nullptr_t) { return SysAllocString(static_cast<WCHAR const *>(nullptr)); }

inline BSTR SysAllocStringLen(std::nullptr_t, UINT length)
{
    return SysAllocStringLen(static_cast<WCHAR const *>(nullptr), length);
}

inline int SysReAllocString(BSTR *text, std::nullptr_t) { return SysReAllocString(text, static_cast<WCHAR const *>(nullptr)); }

inline int SysReAllocStringLen(BSTR *text, std::nullptr_t, UINT length)
{
    return SysReAllocStringLen(text, static_cast<WCHAR const *>(nullptr), length);
}

inline HRESULT CLSIDFromString(std::nullptr_t, CLSID *guid)
{
    return CLSIDFromString(static_cast<WCHAR const *>(nullptr), guid);
}

// What the library itself converts with.
inline int WideCharToMultiByte(UINT codePage, DWORD, std::nullptr_t, int length, char *target, int size,
                               char const *defaultChar, BOOL *usedDefault)
{
    return OktToMultiByte(codePage, nullptr, length, target, size, defaultChar, usedDefault);
}

inline int MultiByteToWideChar(UINT codePage, DWORD, char const *text, int length, std::nullptr_t, int size)
{
    return OktToWideChar(codePage, text, length, nullptr, size);
}

inline int WideCharToMultiByte(UINT codePage, DWORD, char16_t const *text, int length, char *target, int size,
                               char const *defaultChar, BOOL *usedDefault)
{
    return OktToMultiByte(codePage, unitsAt(text), length, target, size, defaultChar, usedDefault);
}

inline int MultiByteToWideChar(UINT codePage, DWORD, char const *text, int length, char16_t *target, int size)
{
    return OktToWideChar(codePage, text, length, reinterpret_cast<WCHAR *>(target), size);
}

#endif
