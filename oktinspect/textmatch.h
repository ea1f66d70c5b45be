// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktplatform/oktstring.h>

#include <string>

namespace okt
{

/// A pattern that the user gives: `*` stands for any characters, `?` for one. The case of letters does not count.
class TextPattern
{
public:
    explicit TextPattern(std::string const &utf8);

    /// The pattern is that of the whole text.
    bool matches(CString const &text) const;
    /// The pattern is that of a part of the text. One with * or ? is nevertheless that of all of it.
    bool isIn(CString const &text) const;

private:
    std::u16string m_pattern;
    bool m_isWild;
};

} // namespace okt
