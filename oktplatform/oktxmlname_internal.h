#pragma once

#include <oktplatform/oktstring.h>

// What a document can hold, for the back ends. Not installed.

namespace OktXmlText
{
constexpr bool startsName(WCHAR unit)
{
    return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z') || unit == '_' || unit == ':' ||
           (unit >= 0xC0 && unit <= 0xFF && unit != 0xD7 && unit != 0xF7);
}

/// A name of XML 1.0 with characters up to U+00FF: a document is saved in ISO-8859-1, which has no references within a tag, so a
/// name beyond it would make the whole file unreadable. No parser is asked: some take any text.
inline bool isName(OktTextView text)
{
    if (text.empty() || !startsName(text[0]))
        return false;
    for (WCHAR const unit : text)
    {
        if (!startsName(unit) && !(unit >= '0' && unit <= '9') && unit != '-' && unit != '.' && unit != 0xB7)
            return false;
    }
    return true;
}

/// False for what XML 1.0 cannot hold, lone surrogates aside.
constexpr bool isCharacter(WCHAR unit)
{
    return (unit >= 0x20 || unit == 0x09 || unit == 0x0A || unit == 0x0D) && unit < 0xFFFE;
}
} // namespace OktXmlText
