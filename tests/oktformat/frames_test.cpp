// SPDX-License-Identifier: MIT
#include <oktformat/frames.h>
#include <tools/okt/files/files.h>

#include "support/hexbytes.h"
#include "support/printers.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

CByteArray golden(char const *name) { return readBytes(std::string(OKT_TEST_DATA_DIR "/golden/") + name); }

int objectsStart(CByteArray const &bytes)
{
    // A long record of the header's size, then the header.
    return 5 + bytes[1] + 256 * bytes[2];
}

// A class frame of "X", version 1, with one empty section 1: 20 bytes.
constexpr char kEmptyX[] = "06 05 01 00 'X' 02 01 00 00 00  08 02 01 00 00 00  09 07";

TEST(OktFrames, ReadFrame_EmptySection_WholeFrame)
{
    Frame const frame = readFrame(hex(kEmptyX), 0);
    EXPECT_EQ(frame.state, Frame::State::Whole);
    EXPECT_EQ(frame.size, 18);
    EXPECT_EQ(frame.className, CString(u"X"));
    EXPECT_TRUE(frame.bases.empty());
    EXPECT_FALSE(frame.id.has_value());
}

TEST(OktFrames, ReadFrame_ObjectWithId_IdAndBases)
{
    CByteArray const bytes = hex("06 05 01 00 'X' 02 01 00 00 00 "
                                 "06 05 0B 00 'OKTDbObject' 02 01 00 00 00 08 02 01 00 00 00 "
                                 "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00 "
                                 "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF 09 07 "
                                 "09 07 "
                                 "08 02 01 00 00 00 02 01 00 00 00 09 07");
    Frame const frame = readFrame(bytes, 0);
    EXPECT_EQ(frame.state, Frame::State::Whole);
    EXPECT_EQ(frame.size, bytes.GetSize());
    ASSERT_EQ(frame.bases.size(), 1u);
    EXPECT_EQ(frame.bases[0], CString(u"OKTDbObject"));
    ASSERT_TRUE(frame.id.has_value());
    EXPECT_EQ(OKTTools::getStringFromGUID(*frame.id), CString(u"{00112233-4455-6677-8899-AABBCCDDEEFF}"));
}

TEST(OktFrames, ReadFrame_EveryRecordKind_PassedOver)
{
    CByteArray const bytes = hex("06 05 01 00 'X' 02 01 00 00 00 08 02 01 00 00 00 "
                                 "00 01  01 02 03  02 01 02 03 04  03 01 02 03 04 05 06 07 08 "
                                 "04 02 00 07 06 05 00  05 03 00 07 06 05  0A 03 00 00 00 07 06 05 "
                                 "09 07 FF");
    Frame const frame = readFrame(bytes, 0);
    EXPECT_EQ(frame.state, Frame::State::Whole);
    EXPECT_EQ(frame.size, bytes.GetSize() - 1);
}

TEST(OktFrames, ReadFrame_CutAtEveryLength_CutAndNeverBeyondTheEnd)
{
    CByteArray const whole = golden("stirrup.okt");
    int const start = objectsStart(whole);
    int const size = readFrame(whole, start).size;
    for (int length = 0; length < size; ++length)
    {
        CByteArray const cut = firstBytes(whole, start + length);
        Frame const frame = readFrame(cut, start);
        EXPECT_EQ(frame.state, Frame::State::Cut) << length;
        EXPECT_LE(frame.size, length);
    }
}

struct BadFrame
{
    char const *bytes;
    int size; ///< place of the fault
};

TEST(OktFrames, ReadFrame_BytesThatAreNoRecords_DamagedAtTheirPlace)
{
    BadFrame const rows[] = {
        {"02 01 00 00 00", 0},                                       // no frame
        {"06 04 01 00 'X' 02 01 00 00 00 07", 1},                    // class name in wide units
        {"06 05 01 00 'X' 01 01 00 07", 5},                          // a short for a version
        {"06 05 01 00 'X' 02 01 00 00 00 0B", 10},                   // no record
        {"06 05 01 00 'X' 02 01 00 00 00 09", 10},                   // end of members that did not begin
        {"06 05 01 00 'X' 02 01 00 00 00 08 02 01 00 00 00 07", 16}, // end of class inside members
        {"06 05 01 00 'X' 02 01 00 00 00 08 05 01 00 'Y'", 11},      // a text for a section number
        {"06 05 01 00 'X' 02 01 00 00 00 0A FF FF FF FF 00", 10},    // bytes of a negative count
    };
    for (BadFrame const &row : rows)
    {
        Frame const frame = readFrame(hex(row.bytes), 0);
        EXPECT_EQ(frame.state, Frame::State::Damaged) << row.bytes;
        EXPECT_EQ(frame.size, row.size) << row.bytes;
    }
}

TEST(OktFrames, ReadFrame_HugeCounts_CutWithoutReserving)
{
    EXPECT_EQ(readFrame(hex("06 05 01 00 'X' 02 01 00 00 00 0A FF FF FF 7F 00"), 0).state, Frame::State::Cut);
    EXPECT_EQ(readFrame(hex("06 05 01 00 'X' 02 01 00 00 00 04 FF FF 00"), 0).state, Frame::State::Cut);
}

TEST(OktFrames, ReadFrame_NestedWithoutEnd_CutAndNoOverflowOfStack)
{
    CByteArray bytes;
    CByteArray const begin = hex("06 05 01 00 'X' 02 01 00 00 00");
    for (int i = 0; i < 200000; ++i)
        bytes.Append(begin);
    EXPECT_EQ(readFrame(bytes, 0).state, Frame::State::Cut);
}

struct GoldenFrames
{
    char const *file;
    std::size_t frames;
    Frame::State last;
};

TEST(OktFrames, ReadFrames_GoldenFiles_EveryObject)
{
    GoldenFrames const rows[] = {
        {"empty.okt", 0, Frame::State::Whole},        {"stirrup.okt", 21, Frame::State::Whole},
        {"every-class.okt", 10, Frame::State::Whole}, {"newer-sections.okt", 8, Frame::State::Whole},
        {"odd-members.okt", 3, Frame::State::Whole},  {"long-strings.okt", 10, Frame::State::Whole},
        {"pictures.okt", 10, Frame::State::Whole},    {"truncated.okt", 4, Frame::State::Cut},
        {"trailing-bytes.okt", 4, Frame::State::Cut},
    };
    for (GoldenFrames const &row : rows)
    {
        CByteArray const bytes = golden(row.file);
        std::vector<Frame> const frames = readFrames(bytes, objectsStart(bytes));
        EXPECT_EQ(frames.size(), row.frames) << row.file;
        for (Frame const &frame : frames)
        {
            EXPECT_EQ(frame.state, &frame == &frames.back() ? row.last : Frame::State::Whole) << row.file;
            EXPECT_TRUE(frame.id.has_value() || frame.state == Frame::State::Cut) << row.file;
        }
    }
}

TEST(OktFrames, ReadFrames_TrailingBytes_TheCutObjectWithoutAName)
{
    CByteArray const bytes = golden("trailing-bytes.okt");
    Frame const last = readFrames(bytes, objectsStart(bytes)).back();
    EXPECT_EQ(last.offset, 1357);
    EXPECT_EQ(last.size, 1);
    EXPECT_EQ(last.state, Frame::State::Cut);
    EXPECT_TRUE(last.className.IsEmpty());
}

TEST(OktFrames, ReadFrame_OfAValue_NoObject)
{
    Frame const frame = readFrame(hex("06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 07"), 0);
    EXPECT_EQ(frame.state, Frame::State::Damaged);
    EXPECT_EQ(frame.size, 0);
}

TEST(OktFrames, ReadFrames_Stirrup_FramesFillTheObjectsBlock)
{
    CByteArray const bytes = golden("stirrup.okt");
    int end = objectsStart(bytes);
    for (Frame const &frame : readFrames(bytes, end))
    {
        EXPECT_EQ(frame.offset, end);
        end = frame.offset + frame.size;
    }
    EXPECT_EQ(end, 9311);
}

TEST(OktFrames, ReadFrames_DamagedObject_ItsValuesAreNoObjects)
{
    CByteArray bytes = golden("stirrup.okt");
    int const start = objectsStart(bytes);
    int const second = readFrames(bytes, start)[1].offset;
    bytes[start + 18] = 0xEE;
    std::vector<Frame> const frames = readFrames(bytes, start);
    ASSERT_EQ(frames.size(), 21u);
    EXPECT_EQ(frames[0].state, Frame::State::Damaged);
    EXPECT_EQ(frames[0].size, 18);
    EXPECT_EQ(frames[1].offset, second);
    EXPECT_EQ(frames[1].state, Frame::State::Whole);
}

// Bytes that look like the begin of a frame again and again must not be walked from each of them to the end.
TEST(OktFrames, ReadFrames_ManyFalseBegins_LinearTime)
{
    CByteArray bytes;
    CByteArray const falseBegin = hex("07 06 05 FF");
    for (int i = 0; i < 500000; ++i)
        bytes.Append(falseBegin);
    std::vector<Frame> const frames = readFrames(bytes, 0);
    EXPECT_TRUE(frames.empty()); // bytes that belong to no object
}

} // namespace
