// SPDX-License-Identifier: MIT
// The text of a picture that is decoded where it lies in the stream, held against the text that readString makes of it.

#include "support/alloccount.h"
#include "support/printers.h"
#include "support/reportcatcher.h"

#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktcodepage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace
{
/// A filer of a class of its own, for which each member is read by its call.
class PlainFiler : public OKTMemoryFiler
{
};

CByteArray frameOf(int size)
{
    CByteArray data;
    data.SetSize(size);
    for (unsigned i = 0; i < static_cast<unsigned>(size); ++i)
        data[static_cast<int>(i)] = static_cast<BYTE>(i * i / 7);
    OKTDbPicture picture;
    picture.setPictureData(data);
    OKTMemoryFiler filer;
    EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
    return filer.takeBytes();
}

struct Read
{
    FilerStatusDb status = eFilerOk;
    long position = 0;
    CByteArray data;

    bool operator==(Read const &) const = default;
};

template <typename Filer> Read readOf(CByteArray const &frame)
{
    Filer filer;
    filer.readInPlace(frame);
    OKTDbPicture picture;
    Read read;
    read.status = picture.xmlIn(&filer);
    read.position = filer.GetFilerPosition();
    picture.getPictureData(read.data);
    return read;
}

void expectAlike(CByteArray const &frame, int at)
{
    Read const fast = readOf<OKTMemoryFiler>(frame);
    Read const plain = readOf<PlainFiler>(frame);
    EXPECT_EQ(fast.status, plain.status) << at;
    EXPECT_EQ(fast.position, plain.position) << at;
    EXPECT_EQ(fast.data, plain.data) << at;
}

/// Where the first character of the text stands: it is the first text of so many characters.
int textIn(CByteArray const &frame, int size)
{
    for (int i = 0; i + 3 < frame.GetSize(); ++i)
        if (int const count = frame[i + 1] | frame[i + 2] << 8;
            frame[i] == VarAnsiString && count >= size && i + 3 + count < frame.GetSize())
            return i + 3;
    return -1;
}
} // namespace

TEST(WholeChunk, XmlIn_EverySize_DataOfThePlainPath)
{
    // 49,151 bytes fill a chunk to the last character but one, 98,302 two of them.
    for (int const size :
         {0, 1, 2, 3, 4, 5, 6, 7, 100, 49'149, 49'150, 49'151, 49'152, 49'153, 98'301, 98'302, 98'303, 98'304, 200'000})
    {
        CByteArray const frame = frameOf(size);
        EXPECT_EQ(readOf<OKTMemoryFiler>(frame).data.GetSize(), size);
        expectAlike(frame, size);
    }
}

TEST(WholeChunk, XmlIn_AnotherCharacterAnywhere_DataOfThePlainPath)
{
    for (int const size : {100, 60'000})
    {
        CByteArray const frame = frameOf(size);
        int const text = textIn(frame, size);
        ASSERT_GT(text, 0);
        int const step = size == 100 ? 1 : 9'973;
        for (int const character : {0x00, 0x3D, 0x20, 0x0A, 0x41, 0x2D, 0x80, 0xFF})
            for (int at = text; at < text + size; at += step) // behind it, a count of chunks could be any number
            {
                CByteArray changed(frame);
                changed[at] = static_cast<BYTE>(character);
                expectAlike(changed, at);
            }
    }
}

TEST(WholeChunk, XmlIn_CutAnywhere_DataOfThePlainPath)
{
    for (int const size : {30, 60'000})
    {
        CByteArray const frame = frameOf(size);
        for (int length = 1; length < frame.GetSize(); length += size == 30 ? 1 : 9'973)
        {
            CByteArray part(frame);
            part.SetSize(length);
            expectAlike(part, length);
        }
    }
}

TEST(WholeChunk, XmlIn_CodePageOfMoreBytes_DataOfThePlainPath)
{
    CByteArray const frame = frameOf(1'000);
    OktSetThreadCodePage(932);
    expectAlike(frame, 932);
    OktSetThreadCodePage(1252);
}

TEST(WholeChunk, XmlIn_NoMemoryForTheData_FailureOrAllOfThem)
{
    CByteArray const frame = frameOf(60'000);
    ReportCatcher const reports;
    Read const whole = readOf<OKTMemoryFiler>(frame);
    bool struck = true;
    for (std::size_t passed = 0; struck && passed < 100; ++passed)
    {
        OKTDbPicture picture;
        OKTMemoryFiler filer;
        filer.readInPlace(frame);
        std::size_t const before = reports.count();
        FilerStatusDb status = eFilerOk;
        {
            AllocationFault const fault(passed);
            status = picture.xmlIn(&filer);
            struck = fault.struck();
        }
        CByteArray data;
        picture.getPictureData(data);
        // A report, and success: what an exception that leaves the members counts as (quirk 6).
        if (status == eFilerOk && reports.count() == before)
        {
            EXPECT_EQ(data, whole.data) << passed;
        }
    }
    EXPECT_FALSE(struck);
}
