// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktplatform/oktstring.h>

#include <string>

namespace okt
{

/// A pattern: `*` stands for any characters, `?` for one. Case is ignored, as CString does. Own code: Windows has no fnmatch.
class TextPattern
{
public:
    explicit TextPattern(std::string const &utf8);

    /// The pattern matches the whole text.
    bool matches(CString const &text) const;
    /// The pattern matches a part of the text; if it has * or ?, the whole text.
    bool isIn(CString const &text) const;

private:
    std::u16string m_pattern;
    bool m_isWild;
};

} // namespace okt
