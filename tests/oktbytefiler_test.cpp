// SPDX-License-Identifier: MIT
#include <oktdatabase/oktbytefiler.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/reportcatcher.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>

// The byte layer: modes, positions, failure values, and the walks over frames. The bytes of each record stand in
// format/records_test.cpp, hostile streams in robust/records_robust_test.cpp.

namespace
{
OKTByteFiler reader(CByteArray const &bytes)
{
    OKTByteFiler filer(1024);
    filer.setWriteMode(0);
    EXPECT_TRUE(filer.loadBytes(bytes));
    return filer;
}

OKTByteFiler reader(std::string_view spelled) { return reader(hex(spelled)); }

CByteArray contents(OKTByteFiler &filer)
{
    CByteArray bytes;
    EXPECT_TRUE(filer.saveBytes(bytes));
    return bytes;
}

std::string shown(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string shown(CByteArray const &bytes)
{
    return bytes.IsEmpty() ? "empty" : "0x" + std::to_string(bytes[0]) + " and on, " + std::to_string(bytes.GetSize());
}

/// A record kind: how it is read, into a target that held something else before, and the target as text.
struct Kind
{
    char const *name;
    int type;
    char const *record;
    int size;
    char const *value;
    char const *failureValue;
    bool (*read)(OKTByteFiler &filer, std::string &target);
};

Kind const kKinds[] = {
    {"bool", 0, "00 01", 2, "1", "255",
     [](OKTByteFiler &filer, std::string &target) {
         unsigned char value = 77;
         bool const result = filer.readBool(value);
         target = std::to_string(value);
         return result;
     }},
    {"short", 1, "01 34 12", 3, "4660", "65535",
     [](OKTByteFiler &filer, std::string &target) {
         unsigned short value = 77;
         bool const result = filer.readShort(value);
         target = std::to_string(value);
         return result;
     }},
    {"long", 2, "02 78 56 34 12", 5, "305419896", "2147483649",
     [](OKTByteFiler &filer, std::string &target) {
         std::uint32_t value = 77;
         bool const result = filer.readLong(value);
         target = std::to_string(value);
         return result;
     }},
    {"double", 3, "03 00 00 00 00 00 00 F8 3F", 9, "1.5", "-1.7976931348623157e+308",
     [](OKTByteFiler &filer, std::string &target) {
         double value = 77;
         bool const result = filer.readDouble(value);
         target = shown(value);
         return result;
     }},
    {"wide string", 4, "04 02 00 41 00 42 00", 7, "AB", "",
     [](OKTByteFiler &filer, std::string &target) {
         CString value(u"before");
         bool const result = filer.readWideString(value);
         target = value.ToUtf8();
         return result;
     }},
    {"ansi string", 5, "05 02 00 41 42", 5, "AB", "",
     [](OKTByteFiler &filer, std::string &target) {
         CString value(u"before");
         bool const result = filer.readAnsiString(value);
         target = value.ToUtf8();
         return result;
     }},
    {"byte array", 10, "0A 02 00 00 00 63 64", 7, "0x99 and on, 2", "empty",
     [](OKTByteFiler &filer, std::string &target) {
         CByteArray value = hex("01 02 03");
         bool const result = filer.readByteArray(value);
         target = shown(value);
         return result;
     }},
};

void expectFailedRead(Kind const &kind, OKTByteFiler &filer, int positionBehind)
{
    std::string target;
    EXPECT_FALSE(kind.read(filer, target));
    EXPECT_EQ(target, kind.failureValue);
    EXPECT_EQ(filer.getPosition(), positionBehind);
}
} // namespace

// --- Buffer, mode, position --------------------------------------------------------------------------------------------------

TEST(OKTByteFiler, Construct_Fresh_EmptyWritingAtPosition0)
{
    OKTByteFiler filer(1024);
    EXPECT_EQ(filer.getLength(), 0);
    EXPECT_EQ(filer.getPosition(), 0);
    EXPECT_EQ(contents(filer), CByteArray()); // saving works while writing only
}

TEST(OKTByteFiler, Write_AnyRecord_LeavesThePosition)
{
    OKTByteFiler filer(1024);
    EXPECT_TRUE(filer.writeLong(1));
    EXPECT_TRUE(filer.writeWideString(u"text"));
    EXPECT_EQ(filer.getPosition(), 0);
    EXPECT_EQ(filer.getLength(), 16);
}

TEST(OKTByteFiler, Write_InReadMode_StillAppends)
{
    OKTByteFiler filer = reader("07");
    EXPECT_TRUE(filer.writeBool(true));
    EXPECT_TRUE(filer.writeType(VarClassEnd));
    EXPECT_EQ(filer.getLength(), 4);
    filer.setWriteMode(1);
    EXPECT_EQ(contents(filer), hex("07 00 01 07"));
}

TEST(OKTByteFiler, AppendBytes_RawBytes_WithoutTypeByte)
{
    OKTByteFiler filer(1024);
    unsigned char const raw[] = {0x07, 0xFF, 0x00};
    EXPECT_TRUE(filer.appendBytes(raw, 3));
    EXPECT_TRUE(filer.appendBytes(raw, 0));
    EXPECT_TRUE(filer.appendBytes(raw, 1));
    EXPECT_EQ(contents(filer), hex("07 FF 00 07"));
}

TEST(OKTByteFiler, AppendBytes_BufferWouldPassTheLargestSize_FalseAndNothingAppended)
{
    ReportCatcher const reports;
    OKTByteFiler filer(1024);
    unsigned char const raw = 1;
    EXPECT_TRUE(filer.appendBytes(&raw, 1));
    EXPECT_FALSE(filer.appendBytes(&raw, INT_MAX));
    EXPECT_EQ(contents(filer), hex("01"));
}

TEST(OKTByteFiler, BeginFrame_FramingWouldPassTheLargestSize_FalseWithoutAReport)
{
    ReportCatcher const reports;
    OKTByteFiler filer(1024);
    ASSERT_NE(filer.extend(INT_MAX - 100), nullptr); // addresses alone: nobody looks at the bytes
    EXPECT_FALSE(filer.beginFrame(u"C", 64));        // 449 bytes are owed for its sections and their ends
    EXPECT_EQ(filer.getLength(), INT_MAX - 100);
    EXPECT_EQ(filer.extend(101), nullptr);
    EXPECT_EQ(filer.extend(-1), nullptr);
    EXPECT_EQ(reports.count(), 0u);
}

TEST(OKTByteFiler, SaveBytes_WhileWriting_ReplacesTheTarget)
{
    OKTByteFiler filer(1024);
    filer.writeBool(true);
    CByteArray target = hex("AA BB CC");
    EXPECT_TRUE(filer.saveBytes(target));
    EXPECT_EQ(target, hex("00 01"));
    EXPECT_EQ(filer.getLength(), 2);
}

TEST(OKTByteFiler, SaveBytes_WhileReading_FalseAndTargetEmptied)
{
    OKTByteFiler filer = reader("00 01");
    CByteArray target = hex("AA BB CC");
    EXPECT_FALSE(filer.saveBytes(target));
    EXPECT_TRUE(target.IsEmpty());
    EXPECT_EQ(filer.getLength(), 2);
}

TEST(OKTByteFiler, LoadBytes_WhileReading_ReplacesTheBuffer)
{
    OKTByteFiler filer = reader("AA BB CC");
    EXPECT_TRUE(filer.loadBytes(hex("00 01")));
    EXPECT_EQ(filer.getLength(), 2);
    unsigned char value = 0;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 1);
}

TEST(OKTByteFiler, LoadBytes_WhileReading_LeavesThePosition)
{
    OKTByteFiler filer = reader("AA BB CC");
    filer.setPosition(2);
    EXPECT_TRUE(filer.loadBytes(hex("00 01 00 00")));
    EXPECT_EQ(filer.getPosition(), 2);
    unsigned char value = 77;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 0);
}

TEST(OKTByteFiler, LoadBytes_WhileWriting_FalseAndBufferEmptied)
{
    OKTByteFiler filer(1024);
    filer.writeBool(true);
    EXPECT_FALSE(filer.loadBytes(hex("01 02 03")));
    EXPECT_EQ(filer.getLength(), 0);
}

TEST(OKTByteFiler, SetWriteMode_AnyNumberButZero_Writes)
{
    OKTByteFiler filer(1024);
    filer.writeType(VarClassEnd);
    filer.setWriteMode(-5);
    int type = 0;
    EXPECT_FALSE(filer.readType(type));
    EXPECT_EQ(contents(filer), hex("07"));
    filer.setWriteMode(0);
    EXPECT_TRUE(filer.readType(type));
    EXPECT_EQ(type, 7);
}

TEST(OKTByteFiler, ReadInPlace_FilerThatWroteBefore_ReadsTheBytesFromTheStart)
{
    CByteArray const source = hex("02 05 00 00 00 07");
    OKTByteFiler filer(1024);
    filer.writeBool(true);
    filer.setPosition(3);
    filer.readInPlace(source);
    EXPECT_EQ(filer.getPosition(), 0);
    EXPECT_EQ(filer.getLength(), 6);
    std::uint32_t value = 0;
    EXPECT_TRUE(filer.readLong(value));
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(source, hex("02 05 00 00 00 07"));
}

TEST(OKTByteFiler, LoadBytes_AfterReadInPlace_ReadsItsOwnCopy)
{
    CByteArray source = hex("00 01");
    OKTByteFiler filer(1024);
    filer.readInPlace(source);
    EXPECT_TRUE(filer.loadBytes(hex("00 00 07")));
    source.SetAt(1, 9);
    unsigned char value = 77;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 0);
    EXPECT_EQ(filer.getLength(), 3);
}

TEST(OKTByteFiler, TakeBytes_Written_HandsThemOverAndIsEmpty)
{
    OKTByteFiler filer(1024);
    filer.writeBool(true);
    EXPECT_EQ(filer.takeBytes(), hex("00 01"));
    EXPECT_EQ(filer.getLength(), 0);
    EXPECT_TRUE(filer.writeBool(false));
    EXPECT_EQ(contents(filer), hex("00 00"));
}

TEST(OKTByteFiler, Copy_OfAFiler_HasItsOwnBuffer)
{
    OKTByteFiler filer(1024);
    filer.writeBool(true);
    OKTByteFiler copy(filer);
    copy.writeBool(false);
    EXPECT_EQ(contents(filer), hex("00 01"));
    EXPECT_EQ(contents(copy), hex("00 01 00 00"));
}

// --- Types -------------------------------------------------------------------------------------------------------------------

TEST(OKTByteFiler, ReadType_EachRecordType_GivesItAndMovesByOne)
{
    OKTByteFiler filer = reader("00 01 02 03 04 05 06 07 08 09 0A");
    for (int expected = 0; expected <= 10; ++expected)
    {
        int type = -9;
        EXPECT_EQ(filer.getPosition(), expected);
        EXPECT_TRUE(filer.readType(type));
        EXPECT_EQ(type, expected);
    }
    EXPECT_EQ(filer.getPosition(), 11);
}

TEST(OKTByteFiler, ReadType_ByteOf11OrMore_FalseMinus1AndPositionStays)
{
    for (int byte = 11; byte <= 255; ++byte)
    {
        CByteArray bytes;
        bytes.Add(static_cast<BYTE>(byte));
        OKTByteFiler filer = reader(bytes);
        int type = 5;
        EXPECT_FALSE(filer.readType(type)) << byte;
        EXPECT_EQ(type, -1) << byte;
        EXPECT_EQ(filer.getPosition(), 0) << byte;
    }
}

TEST(OKTByteFiler, ReadType_AtOrPastTheEnd_FalseMinus1AndPositionStays)
{
    for (int const position : {2, 3, 1000, INT_MAX})
    {
        OKTByteFiler filer = reader("07 07");
        filer.setPosition(position);
        int type = 5;
        EXPECT_FALSE(filer.readType(type)) << position;
        EXPECT_EQ(type, -1) << position;
        EXPECT_EQ(filer.getPosition(), position);
    }
}

TEST(OKTByteFiler, ReadType_WhileWriting_FalseAndMinus1)
{
    OKTByteFiler filer(1024);
    filer.writeType(VarClassEnd);
    int type = 5;
    EXPECT_FALSE(filer.readType(type));
    EXPECT_EQ(type, -1);
    EXPECT_EQ(filer.getPosition(), 0);
}

TEST(OKTByteFiler, CheckType_TheExpectedOne_ConsumesIt)
{
    OKTByteFiler filer = reader("09 07");
    EXPECT_TRUE(filer.checkType(VarMembersEnd));
    EXPECT_EQ(filer.getPosition(), 1);
}

TEST(OKTByteFiler, CheckType_AnotherOne_LeavesThePosition)
{
    OKTByteFiler filer = reader("09 07");
    EXPECT_FALSE(filer.checkType(VarClassEnd));
    EXPECT_EQ(filer.getPosition(), 0);
}

TEST(OKTByteFiler, CheckType_OfANumberThatIsNoType_FalseAndPositionStays)
{
    OKTByteFiler filer = reader("0B 0B");
    EXPECT_FALSE(filer.checkType(11));
    EXPECT_FALSE(filer.checkType(-1));
    EXPECT_EQ(filer.getPosition(), 0);
}

// --- Reading records: good cases ---------------------------------------------------------------------------------------------

TEST(OKTByteFiler, Read_EachKindWithAByteBehind_GivesValueAndMovesByTheRecord)
{
    for (Kind const &kind : kKinds)
    {
        SCOPED_TRACE(kind.name);
        OKTByteFiler filer = reader(joined(hex(kind.record), hex("07")));
        std::string target;
        EXPECT_TRUE(kind.read(filer, target));
        EXPECT_EQ(target, kind.value);
        EXPECT_EQ(filer.getPosition(), kind.size);
    }
}

TEST(OKTByteFiler, Read_OneKindAfterTheOther_EachInPlace)
{
    CByteArray stream;
    for (Kind const &kind : kKinds)
        stream.Append(hex(kind.record));
    OKTByteFiler filer = reader(joined(stream, hex("07")));
    for (Kind const &kind : kKinds)
    {
        std::string target;
        EXPECT_TRUE(kind.read(filer, target)) << kind.name;
        EXPECT_EQ(target, kind.value);
    }
    EXPECT_EQ(filer.getPosition(), 38);
}

TEST(OKTByteFiler, ReadBool_AnyByte_GivesItAsStored)
{
    OKTByteFiler filer = reader("00 C8");
    unsigned char value = 0;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 200);
}

TEST(OKTByteFiler, ReadDouble_NotANumber_KeepsItsBits)
{
    OKTByteFiler filer = reader("03 01 00 00 00 00 00 F8 7F 07");
    double value = 0.0;
    EXPECT_TRUE(filer.readDouble(value));
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    EXPECT_EQ(bits, 0x7FF8000000000001u);
}

TEST(OKTByteFiler, ReadWideString_SurrogatesPairedAndLone_KeptAsUnits)
{
    OKTByteFiler filer = reader("04 03 00 3D D8 00 DE 3D D8 07");
    CString text;
    EXPECT_TRUE(filer.readWideString(text));
    WCHAR const units[] = {0xD83D, 0xDE00, 0xD83D};
    EXPECT_EQ(text, CString(units, 3));
}

TEST(OKTByteFiler, ReadWideString_ZeroUnitInside_EndsThereAndPassesOverTheRest_Quirk30)
{
    OKTByteFiler filer = reader("04 03 00 41 00 00 00 42 00 07");
    CString text(u"before");
    EXPECT_TRUE(filer.readWideString(text));
    EXPECT_EQ(text, CString(u"A"));
    EXPECT_EQ(filer.getPosition(), 9);
}

TEST(OKTByteFiler, ReadWideString_OnlyZeroUnits_EmptyAndPassedOver_Quirk30)
{
    OKTByteFiler filer = reader("04 02 00 00 00 00 00 07");
    CString text(u"before");
    EXPECT_TRUE(filer.readWideString(text));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(filer.getPosition(), 7);
}

TEST(OKTByteFiler, ReadAnsiString_ZeroByteInside_EndsThereAndPassesOverTheRest_Quirk30)
{
    OKTByteFiler filer = reader("05 03 00 41 00 42 07");
    CString text(u"before");
    EXPECT_TRUE(filer.readAnsiString(text));
    EXPECT_EQ(text, CString(u"A"));
    EXPECT_EQ(filer.getPosition(), 6);
}

TEST(OKTByteFiler, ReadAnsiString_BytesOfTheCodePage_BecomeItsCharacters)
{
    struct Row
    {
        unsigned int page;
        char const *record;
        char const *text; // UTF-8
    };
    Row const rows[] = {
        {1252, "05 04 00 42 FC 80 DF", "Bü€ß"},
        {1252, "05 02 00 81 9D", "\xC2\x81\xC2\x9D"}, // two of the bytes that the page leaves open
        {65001, "05 05 00 42 C3 BC C3 9F", "Büß"},
        {65001, "05 04 00 F0 9F 98 80", "😀"},
        {65001, "05 02 00 41 C3", "A\xEF\xBF\xBD"},
        {932, "05 04 00 93 FA 96 7B", "日本"},
        {932, "05 02 00 41 B1", "Aｱ"},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(std::to_string(row.page) + ": " + row.record);
        CodePageScope const page(row.page);
        OKTByteFiler filer = reader(joined(hex(row.record), hex("07")));
        CString text;
        EXPECT_TRUE(filer.readAnsiString(text));
        EXPECT_EQ(text.ToUtf8(), row.text);
        EXPECT_EQ(filer.getPosition(), hex(row.record).GetSize());
    }
}

TEST(OKTByteFiler, ReadString_LargestCount_ReadsAll)
{
    OKTByteFiler filer(1024);
    filer.writeWideString(repeated(65535, u'w'));
    filer.writeAnsiString(repeated(65535, u'a'));
    filer.writeType(VarClassEnd);
    EXPECT_EQ(filer.getLength(), 3 + 131070 + 3 + 65535 + 1);
    filer.setWriteMode(0);
    CString text;
    EXPECT_TRUE(filer.readWideString(text));
    EXPECT_EQ(text, repeated(65535, u'w'));
    EXPECT_TRUE(filer.readAnsiString(text));
    EXPECT_EQ(text, repeated(65535, u'a'));
    EXPECT_EQ(filer.getPosition(), filer.getLength() - 1);
}

TEST(OKTByteFiler, WriteWideString_70000Units_Writes4464OfThem_Quirk28)
{
    OKTByteFiler filer(1024);
    EXPECT_TRUE(filer.writeWideString(repeated(4464, u'h') + repeated(65536, u't')));
    EXPECT_TRUE(filer.writeType(VarClassEnd));
    EXPECT_EQ(filer.getLength(), 3 + 2 * 4464 + 1);
    EXPECT_EQ(firstBytes(contents(filer), 5), hex("04 70 11 68 00"));
    filer.setWriteMode(0);
    CString text;
    EXPECT_TRUE(filer.readWideString(text));
    EXPECT_EQ(text, repeated(4464, u'h'));
}

TEST(OKTByteFiler, WriteAnsiString_70000Units_Writes4464OfThem_Quirk28)
{
    OKTByteFiler filer(1024);
    EXPECT_TRUE(filer.writeAnsiString(repeated(4464, u'h') + repeated(65536, u't')));
    EXPECT_TRUE(filer.writeType(VarClassEnd));
    EXPECT_EQ(filer.getLength(), 3 + 4464 + 1);
    EXPECT_EQ(firstBytes(contents(filer), 4), hex("05 70 11 68"));
    filer.setWriteMode(0);
    CString text;
    EXPECT_TRUE(filer.readAnsiString(text));
    EXPECT_EQ(text, repeated(4464, u'h'));
}

TEST(OKTByteFiler, WriteString_AtAndPastTheLimit_CountModulo65536_Quirk28)
{
    struct Row
    {
        int units;
        char const *wide;
        char const *ansi;
    };
    Row const rows[] = {
        {65536, "04 00 00", "05 00 00"},
        {65537, "04 01 00 78 00", "05 01 00 78"},
        {131072, "04 00 00", "05 00 00"},
        {131074, "04 02 00 78 00 78 00", "05 02 00 78 78"},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(row.units);
        OKTByteFiler filer(1024);
        EXPECT_TRUE(filer.writeWideString(repeated(row.units, u'x')));
        EXPECT_EQ(filer.takeBytes(), hex(row.wide));
        EXPECT_TRUE(filer.writeAnsiString(repeated(row.units, u'x')));
        EXPECT_EQ(filer.takeBytes(), hex(row.ansi));
    }
}

TEST(OKTByteFiler, WriteAnsiString_CodePageWithLongerCharacters_CountsUnitsAndLosesTheTail_Quirk29)
{
    struct Row
    {
        unsigned int page;
        char const *text; // UTF-8
        char const *record;
        char const *back; // what the record reads as
    };
    Row const rows[] = {
        {1252, "Bügel", "05 05 00 42 FC 67 65 6C", "Bügel"},
        {1252, "€", "05 01 00 80", "€"},
        {1252, "日本", "05 02 00 3F 3F", "??"},
        {1252, "😀", "05 02 00 3F 3F", "??"},
        {65001, "Bügel", "05 05 00 42 C3 BC 67 65", "Büge"},
        {65001, "é", "05 01 00 C3", "\xEF\xBF\xBD"},
        {65001, "éa", "05 02 00 C3 A9", "é"},
        {65001, "日本", "05 02 00 E6 97", "\xEF\xBF\xBD"},
        {65001, "😀", "05 02 00 F0 9F", "\xEF\xBF\xBD"},
        {932, "日本", "05 02 00 93 FA", "日"},
        {932, "日本語", "05 03 00 93 FA 96", nullptr}, // ends in half a character
        {932, "Aｱ", "05 02 00 41 B1", "Aｱ"},
        {932, "😀", "05 02 00 3F 3F", "??"},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(std::to_string(row.page) + ": " + row.text);
        CodePageScope const page(row.page);
        OKTByteFiler filer(1024);
        EXPECT_TRUE(filer.writeAnsiString(CString::FromUtf8(row.text)));
        EXPECT_EQ(contents(filer), hex(row.record));
        filer.writeType(VarClassEnd);
        filer.setWriteMode(0);
        CString text;
        EXPECT_TRUE(filer.readAnsiString(text));
        EXPECT_EQ(filer.getPosition(), hex(row.record).GetSize());
        if (row.back != nullptr)
        {
            EXPECT_EQ(text.ToUtf8(), row.back);
        }
        else
        {
            EXPECT_EQ(text.Left(1).ToUtf8(), "日");
        }
    }
}

TEST(OKTByteFiler, WriteAnsiString_ZeroUnitInside_WholeCountAndReadsToTheZero_Quirk30)
{
    OKTByteFiler filer(1024);
    WCHAR const units[] = {u'a', 0, u'b'};
    EXPECT_TRUE(filer.writeAnsiString(CString(units, 3)));
    EXPECT_TRUE(filer.writeType(VarClassEnd));
    EXPECT_EQ(filer.getLength(), 7);
    EXPECT_EQ(firstBytes(contents(filer), 5), hex("05 03 00 61 00"));
    filer.setWriteMode(0);
    CString text;
    EXPECT_TRUE(filer.readAnsiString(text));
    EXPECT_EQ(text, CString(u"a"));
    EXPECT_TRUE(filer.checkType(VarClassEnd));
}

TEST(OKTByteFiler, CheckLong_TheExpectedNumber_TrueAndMoved)
{
    OKTByteFiler filer = reader("02 FF FF FF FF 07");
    EXPECT_TRUE(filer.checkLong(-1));
    EXPECT_EQ(filer.getPosition(), 5);
}

TEST(OKTByteFiler, CheckLong_AnotherNumber_FalseAndMovedAllTheSame)
{
    OKTByteFiler filer = reader("02 01 00 00 00 07");
    EXPECT_FALSE(filer.checkLong(2));
    EXPECT_EQ(filer.getPosition(), 5);
}

TEST(OKTByteFiler, CheckLong_AnotherRecord_FalseAlsoForTheFailureValue)
{
    OKTByteFiler filer = reader("01 01 00 07");
    EXPECT_FALSE(filer.checkLong(-2147483647));
    EXPECT_EQ(filer.getPosition(), 0);
}

TEST(OKTByteFiler, CheckAnsiString_OtherCase_TrueAndMoved)
{
    OKTByteFiler filer = reader("05 05 00 42 FC 67 65 6C 07"); // "Bügel"
    EXPECT_TRUE(filer.checkAnsiString(u"BÜGEL"));
    EXPECT_EQ(filer.getPosition(), 8);
}

TEST(OKTByteFiler, CheckAnsiString_AnotherText_FalseAndMovedAllTheSame)
{
    OKTByteFiler filer = reader("05 03 00 'bar' 07");
    EXPECT_FALSE(filer.checkAnsiString(u"bars"));
    EXPECT_EQ(filer.getPosition(), 6);
}

TEST(OKTByteFiler, CheckAnsiString_AnotherRecord_FalseAlsoForTheEmptyText)
{
    OKTByteFiler filer = reader("04 00 00 07");
    EXPECT_FALSE(filer.checkAnsiString(u""));
    EXPECT_EQ(filer.getPosition(), 0);
}

// --- Reading records: the five shapes of failure -----------------------------------------------------------------------------

TEST(OKTByteFiler, Read_WhileWriting_FailureValueAndPositionStays)
{
    for (Kind const &kind : kKinds)
    {
        SCOPED_TRACE(kind.name);
        OKTByteFiler filer = reader(joined(hex(kind.record), hex("07")));
        filer.setWriteMode(1);
        expectFailedRead(kind, filer, 0);
    }
}

TEST(OKTByteFiler, Read_AtOrPastTheEnd_FailureValueAndPositionStays)
{
    for (Kind const &kind : kKinds)
    {
        for (int const position : {4, 5, 1000, INT_MAX})
        {
            SCOPED_TRACE(std::string(kind.name) + " at " + std::to_string(position));
            OKTByteFiler filer = reader("07 07 07 07");
            filer.setPosition(position);
            expectFailedRead(kind, filer, position);
        }
    }
}

TEST(OKTByteFiler, Read_EmptyBuffer_FailureValueAndPosition0)
{
    for (Kind const &kind : kKinds)
    {
        SCOPED_TRACE(kind.name);
        OKTByteFiler filer = reader("");
        expectFailedRead(kind, filer, 0);
    }
}

TEST(OKTByteFiler, Read_AnyOtherTypeByte_FailureValueAndPositionStays)
{
    for (Kind const &kind : kKinds)
    {
        for (int byte = 0; byte <= 255; ++byte)
        {
            if (byte == kind.type)
                continue;
            SCOPED_TRACE(std::string(kind.name) + " at " + std::to_string(byte));
            CByteArray stream = joined(hex(kind.record), hex("07"));
            stream.SetAt(0, static_cast<BYTE>(byte));
            OKTByteFiler filer = reader(stream);
            expectFailedRead(kind, filer, 0);
        }
    }
}

TEST(OKTByteFiler, ReadLong_AtAShort_PositionStaysSoThatReadShortSucceeds)
{
    OKTByteFiler filer = reader("01 34 12 07 07 07");
    std::uint32_t number = 77;
    EXPECT_FALSE(filer.readLong(number));
    EXPECT_EQ(number, 0x80000001u);
    EXPECT_EQ(filer.getPosition(), 0);
    unsigned short value = 0;
    EXPECT_TRUE(filer.readShort(value));
    EXPECT_EQ(value, 0x1234);
}

TEST(OKTByteFiler, Read_RecordThatEndsTheBuffer_FalseSaveForABool_Quirk27)
{
    struct Row
    {
        int kind;
        int positionBehind;
    };
    for (Row const row : {Row{1, 1}, Row{2, 1}, Row{3, 1}, Row{4, 3}, Row{5, 3}, Row{6, 5}})
    {
        Kind const &kind = kKinds[row.kind];
        SCOPED_TRACE(kind.name);
        OKTByteFiler filer = reader(kind.record);
        expectFailedRead(kind, filer, row.positionBehind);
    }
    OKTByteFiler filer = reader("00 01");
    unsigned char value = 0;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(filer.getPosition(), 2);
}

TEST(OKTByteFiler, ReadLong_FiveBytesJustWritten_FalseAndWithOneMoreTrue_Quirk27)
{
    OKTByteFiler filer(1024);
    EXPECT_TRUE(filer.writeLong(7));
    EXPECT_EQ(filer.getLength(), 5);
    filer.setWriteMode(0);
    std::uint32_t value = 77;
    EXPECT_FALSE(filer.readLong(value));
    EXPECT_EQ(value, 0x80000001u);
    EXPECT_EQ(filer.getPosition(), 1);

    filer.writeType(VarClassEnd);
    filer.setPosition(0);
    EXPECT_TRUE(filer.readLong(value));
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(filer.getPosition(), 5);
}

TEST(OKTByteFiler, ReadString_EmptyTextAtTheEnd_FalseAndWithAByteBehindEmpty_Quirk27)
{
    for (char const *const record : {"04 00 00", "05 00 00"})
    {
        SCOPED_TRACE(record);
        auto const read = [](OKTByteFiler &filer, CString &text) {
            return filer.readWideString(text) || filer.readAnsiString(text);
        };
        OKTByteFiler filer = reader(record);
        CString text(u"before");
        EXPECT_FALSE(read(filer, text));
        EXPECT_TRUE(text.IsEmpty());
        EXPECT_EQ(filer.getPosition(), 1); // position + 2 is not below 3

        filer = reader(joined(hex(record), hex("07")));
        text = CString(u"before");
        EXPECT_TRUE(read(filer, text));
        EXPECT_TRUE(text.IsEmpty());
        EXPECT_EQ(filer.getPosition(), 3);
    }
}

TEST(OKTByteFiler, ReadByteArray_EmptyArray_ReadWithAByteBehind)
{
    OKTByteFiler filer = reader("0A 00 00 00 00");
    CByteArray value = hex("01");
    EXPECT_FALSE(filer.readByteArray(value));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_EQ(filer.getPosition(), 1);

    filer = reader("0A 00 00 00 00 07");
    value = hex("01");
    EXPECT_TRUE(filer.readByteArray(value));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_EQ(filer.getPosition(), 5);
}

TEST(OKTByteFiler, ReadByteArray_CountOfMinus1_ReportedAndFalse_Quirk31)
{
    ReportCatcher const reports;
    OKTByteFiler filer = reader("0A FF FF FF FF 01 02 03 07");
    CByteArray value = hex("01");
    EXPECT_FALSE(filer.readByteArray(value));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_EQ(filer.getPosition(), 5);
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_EQ(reports.texts()[0].substr(0, 15), "\n\\oktbytefiler@");
    EXPECT_GT(std::stoi(reports.texts()[0].substr(15)), 0);
}

TEST(OKTByteFiler, ReadByteArray_SmallestCount_ReportedAndFalse_Quirk31)
{
    ReportCatcher const reports;
    OKTByteFiler filer = reader("0A 00 00 00 80 01 07");
    CByteArray value;
    EXPECT_FALSE(filer.readByteArray(value));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_EQ(reports.count(), 1u);
}

TEST(OKTByteFiler, ReadByteArray_AfterAReport_TheFilerGoesOn_Quirk31)
{
    ReportCatcher const reports;
    OKTByteFiler filer = reader("0A FF FF FF FF 00 01 07");
    CByteArray bytes;
    EXPECT_FALSE(filer.readByteArray(bytes));
    unsigned char value = 77;
    EXPECT_TRUE(filer.readBool(value));
    EXPECT_EQ(value, 1);
}

// --- Sections ----------------------------------------------------------------------------------------------------------------

TEST(OKTByteFiler, EnterMembers_TheSectionStandsNext_BehindItsNumber)
{
    OKTByteFiler filer = reader("08 02 02 00 00 00 09 07");
    EXPECT_TRUE(filer.enterMembers(2));
    EXPECT_EQ(filer.getPosition(), 6);
}

TEST(OKTByteFiler, EnterMembers_Refused_PositionStays)
{
    struct Row
    {
        char const *what;
        char const *stream;
        int section;
    };
    Row const rows[] = {
        {"another number", "08 02 01 00 00 00 09 07", 2},
        {"no section", "07 02 01 00 00 00 09 07", 1},
        {"a number that is no long", "08 01 01 00 09 07 07 07", 1},
        {"the number ends the buffer", "08 02 01 00 00 00", 1},
        {"cut number", "08 02 01", 1},
        {"nothing behind the type", "08", 1},
        {"empty", "", 1},
    };
    for (Row const &row : rows)
    {
        OKTByteFiler filer = reader(row.stream);
        EXPECT_FALSE(filer.enterMembers(row.section)) << row.what;
        EXPECT_EQ(filer.getPosition(), 0) << row.what;
    }
}

TEST(OKTByteFiler, EnterMembers_WhileWriting_False)
{
    OKTByteFiler filer(1024);
    filer.writeType(VarMembersBegin);
    filer.writeLong(1);
    filer.writeType(VarMembersEnd);
    EXPECT_FALSE(filer.enterMembers(1));
    EXPECT_EQ(filer.getPosition(), 0);
}

TEST(OKTByteFiler, SkipMembers_WellFormedRest_TrueBehindTheFramesOwnEnd)
{
    struct Row
    {
        char const *what;
        char const *stream;
        int position;
    };
    Row const rows[] = {
        {"nothing left but the end", "07 07 07", 1},
        {"one empty section", "08 02 01 00 00 00 09 07 07", 8},
        {"two sections", "08 02 02 00 00 00 09 08 02 09 00 00 00 09 07 07", 15},
        {"every kind of value",
         "08 02 01 00 00 00 00 01 01 34 12 02 78 56 34 12 03 00 00 00 00 00 00 F8 3F"
         "04 02 00 41 00 42 00 05 02 00 41 42 0A 02 00 00 00 63 64 09 07 07",
         46},
        {"payloads that look like structure", "08 02 01 00 00 00 01 07 09 0A 03 00 00 00 07 06 05 05 02 00 09 07 09 07 07", 24},
        {"a nested frame", "08 02 01 00 00 00 06 05 01 00 41 02 01 00 00 00 08 02 01 00 00 00 00 01 09 07 09 07 07", 28},
        {"a nested frame of a base ahead of its sections",
         "08 02 01 00 00 00 06 05 01 00 41 02 01 00 00 00 06 05 01 00 42 02 01 00 00 00 07 08 02 01 00 00 00 09 07 09 07 07",
         37},
        {"a section in a section", "08 02 01 00 00 00 08 02 05 00 00 00 09 09 07 07", 15},
        {"a negative section number", "08 02 FF FF FF FF 09 07 07", 8},
        {"a section begin without a number ahead of the end", "08 07 07", 2},
    };
    for (Row const &row : rows)
    {
        OKTByteFiler filer = reader(row.stream);
        EXPECT_TRUE(filer.skipMembers()) << row.what;
        EXPECT_EQ(filer.getPosition(), row.position) << row.what;
    }
}

TEST(OKTByteFiler, SkipMembers_BrokenRest_FalseWhereItGaveUp)
{
    struct Row
    {
        char const *what;
        char const *stream;
        int position;
    };
    Row const rows[] = {
        {"a value record: members of the open section were not read", "02 05 00 00 00 07", 0},
        {"an end of members", "09 07", 0},
        {"a frame begin", "06 05 01 00 41 02 01 00 00 00 07 07", 0},
        {"no record type", "0B 07", 0},
        {"empty", "", 0},
        {"the frame's end is missing", "08 02 01 00 00 00 09", 7},
        {"a value behind the section", "08 02 01 00 00 00 09 00 01 07", 7},
        {"a section begin without a number", "08 09 07", 1},
        {"a frame end inside the section", "08 02 01 00 00 00 07 09 07", 7},
        {"a section end inside a nested frame", "08 02 01 00 00 00 06 05 01 00 41 02 01 00 00 00 09 07", 17},
        {"a cut value", "08 02 01 00 00 00 02 01 00", 7},
        {"a cut string", "08 02 01 00 00 00 04 05 00 41 00", 9},
        {"a cut byte array", "08 02 01 00 00 00 0A 09 00 00 00 41 00", 11},
        {"a cut frame begin", "08 02 01 00 00 00 06 05 01 00 41 02 01 00", 6},
        {"a frame begin without a name", "08 02 01 00 00 00 06 02 01 00 00 00 09 07", 6},
        {"a cut section begin", "08 02 01 00 00 00 08 02 01 00", 6},
        {"no record type inside", "08 02 01 00 00 00 0B 09 07", 6},
        {"the section is not closed", "08 02 01 00 00 00 00 01", 8},
        {"the second section is broken", "08 02 01 00 00 00 09 08 02 02 00 00 00 0C 09 07", 13},
    };
    for (Row const &row : rows)
    {
        OKTByteFiler filer = reader(row.stream);
        EXPECT_FALSE(filer.skipMembers()) << row.what;
        EXPECT_EQ(filer.getPosition(), row.position) << row.what;
    }
}

TEST(OKTByteFiler, SkipMembers_ByteArrayOfCountMinus1_ReportedAndFalse_Quirk31)
{
    ReportCatcher const reports;
    OKTByteFiler filer = reader("08 02 01 00 00 00 0A FF FF FF FF 09 07");
    EXPECT_FALSE(filer.skipMembers());
    EXPECT_EQ(filer.getPosition(), 11);
    EXPECT_EQ(reports.count(), 1u);
}

// --- The search for an object start ------------------------------------------------------------------------------------------

TEST(OKTByteFiler, FindNextObject_StartAtOrBehindThePosition_PlaceGivenAndPositionStays)
{
    struct Row
    {
        char const *what;
        char const *stream;
        int position;
        int where;
    };
    Row const rows[] = {
        {"at the start of the buffer, without a 7 ahead", "06 05", 0, 0},
        {"behind a 7", "07 06 05", 0, 1},
        {"on the position, behind a 7", "07 06 05", 1, 1},
        {"behind other bytes", "00 01 02 07 06 05 00", 0, 4},
        {"not the one ahead of the position", "06 05 07 06 05", 1, 3},
        {"the first of two", "07 06 05 07 06 05", 0, 1},
        {"behind a 6 that is none", "07 06 04 07 06 05", 0, 4},
        {"behind a 7 of a run of them", "07 07 07 06 05", 0, 3},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(row.what);
        OKTByteFiler filer = reader(row.stream);
        filer.setPosition(row.position);
        int where = -9;
        EXPECT_TRUE(filer.findNextObject(where));
        EXPECT_EQ(where, row.where);
        EXPECT_EQ(filer.getPosition(), row.position);
    }
}

TEST(OKTByteFiler, FindNextObject_NoStart_FalseAndPositionStays)
{
    struct Row
    {
        char const *what;
        char const *stream;
        int position;
    };
    Row const rows[] = {
        {"empty", "", 0},
        {"one byte", "06", 0},
        {"6, 5 behind another byte than 7", "00 06 05", 0},
        {"the same on the position", "09 06 05", 1},
        {"7, 6 at the end", "01 07 06", 0},
        {"7, 6 and another byte", "07 06 04 05", 0},
        {"ahead of the position only", "06 05 00 00", 1},
        {"position at the end", "06 05", 2},
        {"position past the end", "06 05", 1000},
        {"position far past the end", "06 05", INT_MAX},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(row.what);
        OKTByteFiler filer = reader(row.stream);
        filer.setPosition(row.position);
        int where = -9;
        EXPECT_FALSE(filer.findNextObject(where));
        EXPECT_EQ(filer.getPosition(), row.position);
    }
}

TEST(OKTByteFiler, FindNextObject_PayloadThatReads765_TakenForAStart_Quirk32)
{
    OKTByteFiler filer = reader("0A 05 00 00 00 01 07 06 05 02 07 06 05 01 00 41");
    int where = 0;
    EXPECT_TRUE(filer.findNextObject(where));
    EXPECT_EQ(where, 7);
}
