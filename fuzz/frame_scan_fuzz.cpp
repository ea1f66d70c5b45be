// SPDX-License-Identifier: MIT
// Records of any bytes, read and walked over from every position. What the answers promise of target and position is demanded.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktbytefiler.h>
#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/oktmemoryfiler.h>

#include <algorithm>
#include <limits>

namespace
{
constexpr std::size_t kMaxInput = 4096;
constexpr int kMostPlaces = 64; // the work grows with the square of the size where every place is tried

/// One call from one position. A read that fails on another record, or before the end, must not move.
template <typename R> bool readAt(OKTByteFiler &filer, CByteArray const &bytes, int position, int type, R read)
{
    filer.setPosition(position);
    bool const done = read(filer);
    int const after = filer.getPosition();
    FUZZ_DEMAND(after >= position && after <= bytes.GetSize());
    if (position == bytes.GetSize() || bytes.GetAt(position) != type)
        FUZZ_DEMAND(!done && after == position);
    else
        FUZZ_DEMAND(after > position);
    return done;
}

void readValues(OKTByteFiler &filer, CByteArray const &bytes, int at)
{
    unsigned char flag = 1;
    if (!readAt(filer, bytes, at, VarBool, [&](OKTByteFiler &f) { return f.readBool(flag); }))
        FUZZ_DEMAND(flag == 255);
    unsigned short number = 1;
    if (!readAt(filer, bytes, at, VarShort, [&](OKTByteFiler &f) { return f.readShort(number); }))
        FUZZ_DEMAND(number == 65535);
    std::uint32_t word = 1;
    if (!readAt(filer, bytes, at, VarLong, [&](OKTByteFiler &f) { return f.readLong(word); }))
        FUZZ_DEMAND(word == 0x80000001u);
    double real = 1.0;
    if (!readAt(filer, bytes, at, VarDouble, [&](OKTByteFiler &f) { return f.readDouble(real); }))
        FUZZ_DEMAND(real == -std::numeric_limits<double>::max());
    CString text(u"before");
    if (!readAt(filer, bytes, at, VarWideString, [&](OKTByteFiler &f) { return f.readWideString(text); }))
        FUZZ_DEMAND(text.IsEmpty());
    FUZZ_DEMAND(text.Find(u'\0') < 0);
    text = u"before";
    bool const isAnsi = readAt(filer, bytes, at, VarAnsiString, [&](OKTByteFiler &f) { return f.readAnsiString(text); });
    FUZZ_DEMAND(isAnsi || text.IsEmpty());
    FUZZ_DEMAND(text.Find(u'\0') < 0);
    if (isAnsi)
    {
        int const behind = filer.getPosition();
        filer.setPosition(at);
        FUZZ_DEMAND(filer.checkAnsiString(text) && filer.getPosition() == behind);
        filer.setPosition(at);
        FUZZ_DEMAND(!filer.checkAnsiString(text + u"-") && filer.getPosition() == behind);
    }
    CByteArray array;
    array.SetSize(1);
    if (!readAt(filer, bytes, at, VarByteArray, [&](OKTByteFiler &f) { return f.readByteArray(array); }))
        FUZZ_DEMAND(array.IsEmpty());
}

void walk(OKTByteFiler &filer, CByteArray const &bytes, int at)
{
    filer.setPosition(at);
    if (!filer.enterMembers(1))
        FUZZ_DEMAND(filer.getPosition() == at);
    filer.setPosition(at);
    bool const skipped = filer.skipMembers();
    FUZZ_DEMAND(filer.getPosition() >= at && filer.getPosition() <= bytes.GetSize());
    if (skipped)
        FUZZ_DEMAND(bytes.GetAt(filer.getPosition() - 1) == VarClassEnd);

    filer.setPosition(at);
    int where = -1;
    if (filer.findNextObject(where))
    {
        FUZZ_DEMAND(where >= at && where + 1 < bytes.GetSize());
        FUZZ_DEMAND(bytes.GetAt(where) == VarClassBegin && bytes.GetAt(where + 1) == VarAnsiString);
    }
    FUZZ_DEMAND(filer.getPosition() == at);
}

// The frames of the protocol, from each position in turn: the filer comes to it by reading.
void readFrames(CByteArray const &bytes)
{
    OKTMemoryFiler filer;
    filer.readInPlace(bytes);
    for (int turn = 0; turn <= std::min(bytes.GetSize(), 4 * kMostPlaces); ++turn)
    {
        long const before = filer.GetFilerPosition();
        CString className;
        bool const found = filer.readNextObjectClass(className);
        long const start = filer.GetFilerPosition();
        FUZZ_DEMAND(start >= before && start <= bytes.GetSize());
        if (found)
            FUZZ_DEMAND(filer.beginReadClass(u"Object", className) || filer.GetFilerPosition() > start);
        OKTDbObjectId id;
        OKTGeXYZ point;
        tagVARIANT value = {};
        filer.beginReadMembers(1);
        filer.readObjectId(u"m_id", id);
        filer.readPoint3d(u"m_pnt", point);
        filer.readVariant(u"m_var", value);
        if (value.vt == VT_BSTR)
            VariantClear(&value);
        filer.endReadMembers();
        filer.endReadClass();
        if (filer.GetFilerPosition() == before)
            break;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    if (size > kMaxInput)
        return 0;
    CByteArray const bytes = bytesOfInput(data, size);
    OKTByteFiler filer(16);
    filer.readInPlace(bytes);
    int const step = isOneIn(16, data, size) && size <= 1024 ? 1 : 1 + bytes.GetSize() / kMostPlaces;
    for (int at = 0; at <= bytes.GetSize(); at += step)
    {
        readValues(filer, bytes, at);
        walk(filer, bytes, at);
    }
    for (int const outside : {-1, std::numeric_limits<int>::min(), bytes.GetSize() + 1, std::numeric_limits<int>::max()})
    {
        filer.setPosition(outside);
        int type;
        FUZZ_DEMAND(!filer.readType(type) && type == -1);
        FUZZ_DEMAND(!filer.skipMembers());
    }
    readFrames(bytes);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
