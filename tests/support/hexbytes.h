// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktmemoryfiler.h>
#include <oktplatform/oktcodepage.h>

#include <stdexcept>
#include <string>
#include <string_view>

/// Bytes as the tests spell them: pairs of hexadecimal digits, blanks at will, and ASCII text in quotes: "05 03 00 'OKT' 07".
inline CByteArray hex(std::string_view spelled)
{
    CByteArray bytes;
    for (std::size_t i = 0; i < spelled.size();)
    {
        char const first = spelled[i];
        if (first == ' ' || first == '\n')
        {
            ++i;
            continue;
        }
        if (first == '\'')
        {
            for (++i; i < spelled.size() && spelled[i] != '\''; ++i)
                bytes.Add(static_cast<BYTE>(spelled[i]));
            ++i;
            continue;
        }
        std::size_t used = 0;
        int const value = std::stoi(std::string(spelled.substr(i, 2)), &used, 16);
        if (used != 2)
            throw std::invalid_argument("hex: " + std::string(spelled));
        bytes.Add(static_cast<BYTE>(value));
        i += 2;
    }
    return bytes;
}

/// The first `length` bytes, in memory of exactly that size, so that a sanitizer sees any look behind them.
inline CByteArray firstBytes(CByteArray const &bytes, int length)
{
    CByteArray cut(bytes);
    cut.SetSize(length);
    cut.FreeExtra();
    return cut;
}

inline CByteArray joined(CByteArray const &first, CByteArray const &second)
{
    CByteArray both(first);
    both.Append(second);
    return both;
}

/// What was written into the filer, which must be in write mode.
inline CByteArray written(OKTMemoryFiler &filer)
{
    CByteArray bytes;
    if (!filer.saveFiler(bytes))
        throw std::logic_error("written: the filer is reading");
    return bytes;
}

/// A text of `count` units, all alike.
inline CString repeated(int count, WCHAR unit)
{
    std::basic_string<WCHAR> const units(static_cast<std::size_t>(count), unit);
    return CString(units.data(), count);
}

/// Sets the code page of the thread for a scope.
class CodePageScope
{
public:
    explicit CodePageScope(unsigned int page) : m_saved(OktThreadCodePage()) { OktSetThreadCodePage(page); }
    CodePageScope(CodePageScope const &) = delete;
    CodePageScope &operator=(CodePageScope const &) = delete;
    ~CodePageScope() { OktSetThreadCodePage(m_saved); }

private:
    unsigned int m_saved;
};
