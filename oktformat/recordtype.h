// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktbytefiler.h>

namespace okt
{

/// The types of records: the numbers of the library's byte filer, which stand in files, under names that do not mix with numbers.
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
