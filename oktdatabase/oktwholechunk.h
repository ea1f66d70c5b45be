// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktwholeframe.h>

#include <string>

// Not installed.

/// The text of a picture decoded where it lies in the stream: the fast path beside readString, which makes a text of it that is then
/// narrowed again. A template of 58 KB, most of which is a picture, is opened in half of the time.
///
/// The outcome is that of the plain path, which is taken where
/// - the filer is not the binary one itself, or the thread's code page does not keep ASCII;
/// - the chunk is not complete, or has a character that is no digit of base64.
class OKTWholeChunk : private OKTFramePath
{
public:
    /// Appends the bytes of the chunk that stands next to `data`. `digits` are those that are left over from the chunk before, and
    /// receives those that this one leaves: less than a group of four. False: nothing has changed.
    static bool take(OKTFiler &filer, CByteArray &data, std::string &digits);

    static bool isDigit(char character)
    {
        return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
               (character >= '0' && character <= '9') || character == '+' || character == '/';
    }
};
