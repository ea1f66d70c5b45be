// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktbytefiler.h>

namespace okt
{

/// The types of records. The values are those of the byte filer of the library, as stored in files.
enum class RecordType : unsigned char
{
    Bool = VarBool,
    Short = VarShort,
    Long = VarLong,
    Double = VarDouble,
    Text16 = VarWideString,
    Text8 = VarAnsiString,
    FrameBegin = VarClassBegin,
    FrameEnd = VarClassEnd,
    SectionBegin = VarMembersBegin,
    SectionEnd = VarMembersEnd,
    Bytes = VarByteArray
};

} // namespace okt
