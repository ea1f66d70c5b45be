// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktguid.h>
#include <oktplatform/oktstring.h>
#include <oktplatform/oktvariant.h>

class OKTDbObject;

/// Static conversions for the library and its clients.
class OKT_API OKTTools
{
public:
    /// A malformed text gives the null GUID.
    static _GUID getGUIDFromString(CString const &text);
    /// The registry form, upper case, with braces.
    static CString getStringFromGUID(_GUID const &guid);

    /// A new object by exact class name, owned by the caller. False, and `object` untouched, for an unknown name.
    static bool getObjectFromClassName(CString const &className, OKTDbObject *&object);

    /// `size` bytes of a one-dimensional array in a new[] array that the caller frees. The kind of the elements is not looked
    /// at: `size` counts elements, and the bytes are taken from the index of the lower bound on (quirk 69). False and nothing
    /// set: no array, or another rank. An empty array is reported, with size 0 (quirk 70).
    static bool ConvertVariantToBYTEArray(tagVARIANT *value, unsigned char *&bytes, int &size);
    /// A VT_ARRAY | VT_UI1 variant with a copy of the bytes. What `value` held before is not cleared.
    static bool ConvertBYTEArrayToVariant(unsigned char *bytes, int size, tagVARIANT *value);
};

/// Flags of the base64 coder.
inline constexpr unsigned int kBase64NoPadding = 1;
inline constexpr unsigned int kBase64NoLineBreaks = 2;

/// The size of the text that base64Encode asks for, without a terminating zero. A size of which four times pass 2^31 - 1 raises
/// E_FAIL.
OKT_API int base64EncodedLength(int size, unsigned int flagWord);
/// 1, and the characters written in `*outSize`; 0 for a null argument or a buffer (`*outSize` on the way in) that is too small.
/// No terminating zero is written.
OKT_API int base64Encode(unsigned char const *bytes, int size, char *out, int *outSize, unsigned int flagWord);
/// 1, and the bytes written in `*outSize`; 0 for a null text or size, for a buffer that is too small, and for a null `out`,
/// which asks for the count alone. Characters outside the alphabet are passed over; a zero where a group would begin ends the
/// text.
OKT_API int base64Decode(char const *text, int length, unsigned char *out, int *outSize);
