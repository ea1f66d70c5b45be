// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>
#include <oktplatform/oktvariant.h>

// Names, characters and values of a document, as each back end has them. Not installed.

namespace OktXmlText
{
constexpr bool startsName(WCHAR unit)
{
    return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z') || unit == '_' || unit == ':' ||
           (unit >= 0xC0 && unit <= 0xFF && unit != 0xD7 && unit != 0xF7);
}

/// True for a name of XML 1.0 with characters up to U+00FF. A document is saved in ISO-8859-1, and a tag cannot contain references:
/// other characters would make the file unreadable. The parsers are not asked, because some accept any text.
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

/// False for units that XML 1.0 does not allow, except surrogates.
constexpr bool isCharacter(WCHAR unit)
{
    return (unit >= 0x20 || unit == 0x09 || unit == 0x0A || unit == 0x0D) && unit < 0xFFFE;
}

/// The text of an attribute that is given as a variant; empty for kinds that no filer gives.
inline CString attributeText(VARIANT const &value)
{
    CString text;
    switch (value.vt)
    {
    case VT_BSTR: return CString(value.bstrVal);
    case VT_I2: text.Format(u"%d", value.iVal); break;
    case VT_I4: text.Format(u"%d", value.lVal); break;
    case VT_UI4: text.Format(u"%u", value.ulVal); break;
    default: break;
    }
    return text;
}
} // namespace OktXmlText
