// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmemoryfiler.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktgexyz.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/streambuilder.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

// Cut, flipped and lying streams. Each read must answer as the table of failures says (target, position, result) and must not
// look outside the buffer: every stream lies in memory of exactly its size, and is read a second time with its old rest right
// behind its end.

namespace
{
/// What a read left behind, as one text: "true 4660 at 3".
std::string outcome(bool result, std::string const &target, int position)
{
    return std::string(result ? "true " : "false ") + target + " at " + std::to_string(position);
}

struct Kind
{
    char const *name;
    char const *record; ///< with a byte behind it
    std::string (*read)(OKTByteFiler &filer);
};

std::string sizeOf(CByteArray const &bytes) { return std::to_string(bytes.GetSize()) + " bytes"; }

std::string readBool(OKTByteFiler &filer)
{
    unsigned char value = 77;
    bool const result = filer.readBool(value);
    return outcome(result, std::to_string(value), filer.getPosition());
}

std::string readShort(OKTByteFiler &filer)
{
    unsigned short value = 77;
    bool const result = filer.readShort(value);
    return outcome(result, std::to_string(value), filer.getPosition());
}

std::string readLong(OKTByteFiler &filer)
{
    std::uint32_t value = 77;
    bool const result = filer.readLong(value);
    return outcome(result, std::to_string(value), filer.getPosition());
}

std::string readDouble(OKTByteFiler &filer)
{
    double value = 77;
    bool const result = filer.readDouble(value);
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", value);
    return outcome(result, text, filer.getPosition());
}

std::string readWide(OKTByteFiler &filer)
{
    CString value(u"before");
    bool const result = filer.readWideString(value);
    return outcome(result, "'" + value.ToUtf8() + "'", filer.getPosition());
}

std::string readAnsi(OKTByteFiler &filer)
{
    CString value(u"before");
    bool const result = filer.readAnsiString(value);
    return outcome(result, "'" + value.ToUtf8() + "'", filer.getPosition());
}

std::string readBytes(OKTByteFiler &filer)
{
    CByteArray value = hex("01 02 03");
    bool const result = filer.readByteArray(value);
    return outcome(result, sizeOf(value), filer.getPosition());
}

/// Reads the first `length` bytes, alone in their memory and then with the rest behind them, and expects the same of both.
template <typename Read> auto readPrefix(CByteArray const &stream, int length, Read read)
{
    CByteArray const alone = firstBytes(stream, length);
    OKTByteFiler first(1024);
    first.readInPlace(alone);
    auto const result = read(first);

    CByteArray withRest(stream);
    withRest.SetSize(length); // shrinks the size, not the memory
    OKTByteFiler second(1024);
    second.readInPlace(withRest);
    EXPECT_EQ(read(second), result) << "bytes behind the end were looked at, length " << length;
    return result;
}

void expectPrefixes(std::string const &what, CByteArray const &stream, std::string (*read)(OKTByteFiler &),
                    std::initializer_list<char const *> expected)
{
    ASSERT_EQ(static_cast<int>(expected.size()), stream.GetSize() + 1) << what;
    int length = 0;
    for (char const *const text : expected)
    {
        EXPECT_EQ(readPrefix(stream, length, read), text) << what << ", the first " << length << " bytes";
        ++length;
    }
}

std::string read(std::string const &stream, std::string (*how)(OKTByteFiler &))
{
    CByteArray const bytes = hex(stream);
    return readPrefix(bytes, bytes.GetSize(), how);
}

_GUID const kSomeGuid = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

// The 76 bytes of an object; see format/records_test.cpp for what each is.
char const *const kObject = "06 05 0B 00 'OKTDbObject' 02 01 00 00 00 08 02 01 00 00 00"
                            "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00"
                            "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF 09 07 09 07";
char const *const kPoint = "06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 08 02 01 00 00 00"
                           "03 00 00 00 00 00 00 F0 3F 03 00 00 00 00 00 00 00 40 03 00 00 00 00 00 00 08 40 09 07";

struct ObjectRead
{
    FilerStatusDb status = eFilerOk;
    _GUID guid = {};
    long position = 0;

    bool operator==(ObjectRead const &other) const
    {
        return status == other.status && guid == other.guid && position == other.position;
    }
};

ObjectRead readObject(CByteArray const &stream)
{
    std::unique_ptr<OKTDbObject> const object(OKTDbObject::desc()->CreateObject());
    OKTMemoryFiler filer;
    filer.readInPlace(stream);
    ObjectRead result;
    result.status = object->xmlIn(&filer);
    result.guid = object->objectId().getGuid();
    result.position = filer.GetFilerPosition();
    return result;
}

ObjectRead readObjectPrefix(CByteArray const &stream, int length)
{
    ObjectRead const alone = readObject(firstBytes(stream, length));
    CByteArray withRest(stream);
    withRest.SetSize(length);
    EXPECT_EQ(readObject(withRest), alone) << "bytes behind the end were looked at, length " << length;
    return alone;
}
} // namespace

// --- Every prefix of every record --------------------------------------------------------------------------------------------

TEST(RecordsRobust, Prefixes_Bool_PayloadMayEndTheStream)
{
    expectPrefixes("bool", hex("00 01 07"), readBool, {"false 255 at 0", "false 255 at 1", "true 1 at 2", "true 1 at 2"});
}

TEST(RecordsRobust, Prefixes_Short_FalseUntilAByteStandsBehind_Quirk27)
{
    expectPrefixes("short", hex("01 34 12 07"), readShort,
                   {"false 65535 at 0", "false 65535 at 1", "false 65535 at 1", "false 65535 at 1", "true 4660 at 3"});
}

TEST(RecordsRobust, Prefixes_Long_FalseUntilAByteStandsBehind_Quirk27)
{
    expectPrefixes("long", hex("02 78 56 34 12 07"), readLong,
                   {"false 2147483649 at 0", "false 2147483649 at 1", "false 2147483649 at 1", "false 2147483649 at 1",
                    "false 2147483649 at 1", "false 2147483649 at 1", "true 305419896 at 5"});
}

TEST(RecordsRobust, Prefixes_Double_FalseUntilAByteStandsBehind_Quirk27)
{
    char const *const failed = "false -1.7976931348623157e+308 at 1";
    expectPrefixes("double", hex("03 00 00 00 00 00 00 F8 3F 07"), readDouble,
                   {"false -1.7976931348623157e+308 at 0", failed, failed, failed, failed, failed, failed, failed, failed,
                    failed, "true 1.5 at 9"});
}

TEST(RecordsRobust, Prefixes_WideString_BehindTypeThenBehindCount_Quirk27)
{
    expectPrefixes("wide", hex("04 02 00 41 00 42 00 07"), readWide,
                   {"false '' at 0", "false '' at 1", "false '' at 1", "false '' at 1", "false '' at 3", "false '' at 3",
                    "false '' at 3", "false '' at 3", "true 'AB' at 7"});
}

TEST(RecordsRobust, Prefixes_AnsiString_BehindTypeThenBehindCount_Quirk27)
{
    expectPrefixes("ansi", hex("05 03 00 41 42 43 07"), readAnsi,
                   {"false '' at 0", "false '' at 1", "false '' at 1", "false '' at 1", "false '' at 3", "false '' at 3",
                    "false '' at 3", "true 'ABC' at 6"});
}

TEST(RecordsRobust, Prefixes_ByteArray_BehindTypeThenBehindCount)
{
    expectPrefixes("bytes", hex("0A 02 00 00 00 63 64 07"), readBytes,
                   {"false 0 bytes at 0", "false 0 bytes at 1", "false 0 bytes at 1", "false 0 bytes at 1",
                    "false 0 bytes at 1", "false 0 bytes at 1", "false 0 bytes at 5", "false 0 bytes at 5",
                    "true 2 bytes at 7"});
}

// --- Lying counts ------------------------------------------------------------------------------------------------------------

TEST(RecordsRobust, Counts_StringsWhoseCountRunsPastTheEnd_FalseEmptyBehindTheCount)
{
    EXPECT_EQ(read("04 FF FF 41 00 42 00 07", readWide), "false '' at 3");
    EXPECT_EQ(read("04 03 00 41 00 42 00 07", readWide), "false '' at 3");
    EXPECT_EQ(read("04 00 80 41 00 07", readWide), "false '' at 3"); // 32,768 units are 65,536 bytes
    EXPECT_EQ(read("05 FF FF 41 42 07", readAnsi), "false '' at 3");
    EXPECT_EQ(read("05 03 00 41 42 07", readAnsi), "false '' at 3");
    EXPECT_EQ(read("05 04 00 41 42 07", readAnsi), "false '' at 3");
    EXPECT_EQ(read("05 02 00 41 42 07", readAnsi), "true 'AB' at 5");
}

TEST(RecordsRobust, Counts_EveryCountOfAWideString_ReadOrRefusedByTheSizeAlone)
{
    for (int count = 0; count <= 65535; count += count < 600 ? 1 : 97)
    {
        CByteArray bytes = joined(hex("04 00 00"), hex("41 00 42 00 43 00 44 00 07"));
        bytes.SetAt(1, static_cast<BYTE>(count & 0xFF));
        bytes.SetAt(2, static_cast<BYTE>(count >> 8));
        std::string expected = "false '' at 3";
        if (count <= 4)
            expected = "true '" + std::string("ABCD").substr(0, static_cast<std::size_t>(count)) + "' at " +
                       std::to_string(3 + 2 * count);
        ASSERT_EQ(readPrefix(bytes, bytes.GetSize(), readWide), expected) << count;
    }
}

TEST(RecordsRobust, Counts_NegativeByteArrays_ReportedFalseAndEmptyBehindTheCount_Quirk31)
{
    for (char const *const count : {"FF FF FF FF", "FE FF FF FF", "FB FF FF FF", "00 00 00 FF", "00 00 00 80", "01 00 00 80"})
    {
        ReportCatcher const reports;
        EXPECT_EQ(read(std::string("0A ") + count + " 01 02 03 07", readBytes), "false 0 bytes at 5") << count;
        EXPECT_EQ(reports.count(), 2u) << count; // it is read twice
    }
}

TEST(RecordsRobust, Counts_ByteArraysPastTheEnd_FalseAndEmptyWithoutAReport)
{
    ReportCatcher const reports;
    for (char const *const count :
         {"FF FF FF 7F", "FE FF FF 7F", "FA FF FF 7F", "00 00 00 40", "00 00 01 00", "05 00 00 00", "04 00 00 00"})
        EXPECT_EQ(read(std::string("0A ") + count + " 01 02 03 07", readBytes), "false 0 bytes at 5") << count;
    EXPECT_EQ(read("0A 03 00 00 00 01 02 03 07", readBytes), "true 3 bytes at 8");
    EXPECT_EQ(reports.count(), 0u);
}

TEST(RecordsRobust, Counts_SkippedValues_JudgedLikeReadOnes)
{
    ReportCatcher const reports;
    auto const skip = [](OKTByteFiler &filer) {
        bool const result = filer.skipMembers();
        return outcome(result, "", filer.getPosition());
    };
    EXPECT_EQ(read("08 02 01 00 00 00 04 FF FF 41 00 09 07", skip), "false  at 9");
    EXPECT_EQ(read("08 02 01 00 00 00 05 FF FF 41 00 09 07", skip), "false  at 9");
    EXPECT_EQ(read("08 02 01 00 00 00 0A FF FF FF 7F 09 07", skip), "false  at 11");
    EXPECT_EQ(read("08 02 01 00 00 00 06 05 FF FF 41 02 01 00 00 00 07 09 07", skip), "false  at 6");
    EXPECT_EQ(reports.count(), 0u);
    EXPECT_EQ(read("08 02 01 00 00 00 0A FF FF FF FF 09 07", skip), "false  at 11");
    EXPECT_EQ(reports.count(), 2u);
}

// --- Positions that no reader should have ------------------------------------------------------------------------------------

TEST(RecordsRobust, Positions_BeforeTheStart_EveryReadIsFalse)
{
    for (int const position : {-1, -5, INT_MIN})
    {
        for (auto *const how : {readBool, readShort, readLong, readDouble, readWide, readAnsi, readBytes})
        {
            ReportCatcher const reports;
            CByteArray const bytes = firstBytes(hex("00 01 02 03 04 05 06 07 08 09 0A"), 11);
            OKTByteFiler filer(1024);
            filer.readInPlace(bytes);
            filer.setPosition(position);
            EXPECT_EQ(how(filer).substr(0, 5), "false") << position;
        }
    }
}

TEST(RecordsRobust, Positions_BeforeTheStart_SearchAndWalkDoNotLookThere)
{
    ReportCatcher const reports;
    CByteArray const bytes = firstBytes(hex("08 02 01 00 00 00 09 07"), 8);
    for (int const position : {-1, INT_MIN, 8, 9, INT_MAX})
    {
        OKTByteFiler filer(1024);
        filer.readInPlace(bytes);
        filer.setPosition(position);
        EXPECT_FALSE(filer.skipMembers()) << position;
        filer.setPosition(position);
        EXPECT_FALSE(filer.enterMembers(1)) << position;
        int where = 0;
        filer.setPosition(position);
        EXPECT_FALSE(filer.findNextObject(where)) << position;
    }
}

// --- Every prefix of a frame -------------------------------------------------------------------------------------------------

TEST(RecordsRobust, Prefixes_Object_StatusByHowFarTheFrameReaches)
{
    CByteArray const stream = hex(kObject);
    ASSERT_EQ(stream.GetSize(), 76);
    for (int length = 0; length <= 76; ++length)
    {
        ObjectRead const read = readObjectPrefix(stream, length);
        FilerStatusDb const expected = length <= 20   ? eFilerClassFailed  // the version cannot be read
                                       : length <= 26 ? eFilerNoMembers    // nor the section number
                                       : length <= 72 ? eFilerMemberFailed // nor all words of the id
                                                      : eFilerOk;          // only ends are missing
        EXPECT_EQ(read.status, expected) << length;
        EXPECT_LE(read.position, length) << length;
        if (expected == eFilerOk)
        {
            EXPECT_EQ(read.guid, kSomeGuid) << length;
        }
    }
}

TEST(RecordsRobust, Prefixes_ObjectsWords_FieldsTakeWhatCouldBeRead)
{
    struct Row
    {
        int length;
        char const *id;
        long position;
    };
    // The type byte of the word that cannot be read is consumed; those behind it find no type.
    // clang-format off
    Row const rows[] = {
        {52, "{00000000-0000-0000-0000-000000000000}", 48}, // the section number ends the stream
        {53, "{80000001-0001-8000-0100-008001000080}", 53},
        {58, "{00112233-0001-8000-0100-008001000080}", 58},
        {63, "{00112233-4455-6677-0100-008001000080}", 63},
        {68, "{00112233-4455-6677-8899-AABB01000080}", 68},
        {73, "{00112233-4455-6677-8899-AABBCCDDEEFF}", 73},
        {76, "{00112233-4455-6677-8899-AABBCCDDEEFF}", 76},
    };
    // clang-format on
    for (Row const &row : rows)
    {
        ObjectRead const read = readObjectPrefix(hex(kObject), row.length);
        EXPECT_EQ(read.guid, idOf(row.id).getGuid()) << row.length;
        EXPECT_EQ(read.position, row.position) << row.length;
    }
}

TEST(RecordsRobust, Prefixes_Point_StatusAndCoordinatesByHowFarTheFrameReaches)
{
    CByteArray const stream = hex(kPoint);
    ASSERT_EQ(stream.GetSize(), 52);
    double const failed = -1.7976931348623157e308;
    for (int length = 0; length <= 52; ++length)
    {
        SCOPED_TRACE(length);
        CByteArray const bytes = firstBytes(stream, length);
        OKTMemoryFiler filer;
        filer.readInPlace(bytes);
        OKTGeXYZ point(7.0, 8.0, 9.0);
        EXPECT_EQ(point.xmlIn(u"m_pnt", &filer), length <= 17   ? eFilerClassFailed
                                                 : length <= 23 ? eFilerNoMembers
                                                 : length <= 50 ? eFilerMemberFailed
                                                                : eFilerOk);
        EXPECT_EQ(point.X(), length <= 23 ? 7.0 : length <= 32 ? failed : 1.0);
        EXPECT_EQ(point.Y(), length <= 23 ? 8.0 : length <= 41 ? failed : 2.0);
        EXPECT_EQ(point.Z(), length <= 23 ? 9.0 : length <= 50 ? failed : 3.0);
    }
}

TEST(RecordsRobust, Prefixes_UnreadFrame_EndIsReachedInTheWholeOnly)
{
    CByteArray const stream = hex("08 02 01 00 00 00 00 01 01 34 12 02 78 56 34 12 03 00 00 00 00 00 00 F8 3F"
                                  "04 02 00 41 00 42 00 05 02 00 41 42 0A 02 00 00 00 63 64"
                                  "06 05 01 00 41 02 01 00 00 00 08 02 01 00 00 00 09 07 09 08 02 05 00 00 00 09 07");
    for (int length = 0; length < stream.GetSize(); ++length)
    {
        std::string const text = readPrefix(stream, length, [](OKTByteFiler &filer) {
            bool const result = filer.skipMembers();
            return outcome(result, "", filer.getPosition());
        });
        EXPECT_EQ(text.substr(0, 5), "false") << length;
        EXPECT_LE(std::stoi(text.substr(text.rfind(' '))), length);
    }
    CByteArray const whole = firstBytes(stream, stream.GetSize());
    OKTByteFiler filer(1024);
    filer.readInPlace(whole);
    EXPECT_TRUE(filer.skipMembers());
    EXPECT_EQ(filer.getPosition(), whole.GetSize());
}

// --- Every value in every framing byte ---------------------------------------------------------------------------------------

TEST(RecordsRobust, Flips_EachByteOfAnObject_StatusByWhatTheByteIs)
{
    CByteArray const stream = firstBytes(hex(kObject), 76);
    ReportCatcher const reports;
    for (int place = 0; place < 76; ++place)
    {
        for (int value = 0; value <= 255; ++value)
        {
            CByteArray flipped(stream);
            flipped.SetAt(place, static_cast<BYTE>(value));
            flipped.FreeExtra();
            int const before = stream.GetAt(place);
            // A letter of a class name may change its case.
            bool const isName = (place >= 4 && place <= 14) || (place >= 30 && place <= 40);
            bool const sameLetter = isName && (value | 0x20) == (before | 0x20);
            bool const isVersion = (place >= 16 && place <= 19) || (place >= 42 && place <= 45);
            bool const isWord = (place >= 53 && place <= 56) || (place >= 58 && place <= 61) || (place >= 63 && place <= 66) ||
                                (place >= 68 && place <= 71);
            FilerStatusDb expected = eFilerOk;
            if (value == before || sameLetter || isVersion || isWord || place >= 72)
                expected = eFilerOk;
            else if (place <= 19)
                expected = eFilerClassFailed;
            else if (place <= 25)
                expected = eFilerNoMembers;
            else
                expected = eFilerMemberFailed;

            ObjectRead const read = readObject(flipped);
            ASSERT_EQ(read.status, expected) << "byte " << place << " is " << value;
            ASSERT_GE(read.position, 0);
            ASSERT_LE(read.position, 76);
            if (expected == eFilerOk && !isWord)
            {
                ASSERT_EQ(read.guid, kSomeGuid) << "byte " << place << " is " << value;
            }
        }
    }
    EXPECT_EQ(reports.count(), 0u);
}

TEST(RecordsRobust, Flips_EndsOfAnObject_PositionByTheWalkOverTheRest)
{
    struct Row
    {
        int place;
        int value;
        long position;
    };
    // clang-format off
    Row const rows[] = {
        {72, 0x00, 72}, // neither end of the id is reached, nor any of the object
        {72, 0x07, 74}, // taken for the end of the id's frame, and the next for that of the object's
        {72, 0x08, 76}, // a section begin without a number is passed over, the end behind it is taken
        {72, 0xFF, 72},
        {73, 0x00, 73}, // the id stays open; the object's ends are tried on the same byte
        {73, 0x08, 76}, // the id's walk gives up behind it, and the object's ends stand there
        {73, 0x09, 74}, // taken for the end of the object's section; its frame then finds another 9
        {74, 0x07, 75},
        {74, 0x08, 76},
        {75, 0x08, 76},
        {75, 0x00, 75},
    };
    // clang-format on
    for (Row const &row : rows)
    {
        CByteArray flipped = firstBytes(hex(kObject), 76);
        flipped.SetAt(row.place, static_cast<BYTE>(row.value));
        EXPECT_EQ(readObject(flipped).position, row.position) << row.place << ", " << row.value;
    }
}

TEST(RecordsRobust, Flips_EachFramingByteOfASkippedFrame_TheWalkStaysInTheBuffer)
{
    // Types, counts, names, numbers: every byte of a frame that nobody reads. The walk ends, true or false, inside the stream.
    CByteArray const stream = firstBytes(hex("08 02 01 00 00 00 00 01 01 34 12 04 01 00 41 00 05 01 00 41 0A 01 00 00 00 63"
                                             "06 05 01 00 41 02 01 00 00 00 08 02 01 00 00 00 09 07 09 07"),
                                         46);
    int trueAnswers = 0;
    for (int place = 0; place < stream.GetSize(); ++place)
    {
        for (int value = 0; value <= 255; ++value)
        {
            ReportCatcher const reports;
            CByteArray flipped(stream);
            flipped.SetAt(place, static_cast<BYTE>(value));
            flipped.FreeExtra();
            std::string const text = readPrefix(flipped, flipped.GetSize(), [](OKTByteFiler &filer) {
                bool const result = filer.skipMembers();
                return outcome(result, "", filer.getPosition());
            });
            int const position = std::stoi(text.substr(text.rfind(' ')));
            ASSERT_GE(position, 0);
            ASSERT_LE(position, 46);
            if (value == stream.GetAt(place))
            {
                ASSERT_EQ(text, "true  at 46");
            }
            // A type byte that is no type ends every walk.
            bool const isType = place == 0 || place == 1 || place == 6 || place == 8 || place == 11 || place == 16 ||
                                place == 20 || place == 26 || place == 27 || place == 31 || place == 36 || place == 37 ||
                                place >= 42;
            if (isType && value > 10)
            {
                ASSERT_EQ(text.substr(0, 5), "false") << "byte " << place << " is " << value;
            }
            trueAnswers += text[0] == 't' ? 1 : 0;
        }
    }
    EXPECT_GT(trueAnswers, 46); // numbers and payloads may hold anything
}

TEST(RecordsRobust, Flips_TypeByteOfEachRecord_FalseFailureValuePositionStays)
{
    struct Row
    {
        Kind kind;
        char const *failed;
    };
    Row const rows[] = {
        {{"bool", "00 01 07", readBool}, "false 255 at 0"},
        {{"short", "01 34 12 07", readShort}, "false 65535 at 0"},
        {{"long", "02 78 56 34 12 07", readLong}, "false 2147483649 at 0"},
        {{"double", "03 00 00 00 00 00 00 F8 3F 07", readDouble}, "false -1.7976931348623157e+308 at 0"},
        {{"wide", "04 01 00 41 00 07", readWide}, "false '' at 0"},
        {{"ansi", "05 01 00 41 07", readAnsi}, "false '' at 0"},
        {{"bytes", "0A 01 00 00 00 63 07", readBytes}, "false 0 bytes at 0"},
    };
    for (Row const &row : rows)
    {
        CByteArray stream = hex(row.kind.record);
        int const type = stream.GetAt(0);
        for (int value = 0; value <= 255; ++value)
        {
            if (value == type)
                continue;
            stream.SetAt(0, static_cast<BYTE>(value));
            ASSERT_EQ(readPrefix(stream, stream.GetSize(), row.kind.read), row.failed) << row.kind.name << " as " << value;
        }
    }
}

// --- 7, 6, 5 in payloads -----------------------------------------------------------------------------------------------------

TEST(RecordsRobust, Payloads_765InEveryKindOfPayload_TakenForAnObjectStart_Quirk32)
{
    struct Row
    {
        char const *what;
        char const *stream;
        long position;
        char const *className;
    };
    Row const rows[] = {
        {"byte array", "0A 09 00 00 00 07 06 05 01 00 41 00 00 00 07", 6, "A"},
        {"8-bit string", "05 06 00 07 06 05 01 00 41 07", 4, "A"},
        {"wide string", "04 03 00 07 06 05 01 00 41 07", 4, "A"},
        {"double", "03 00 00 07 06 05 01 00 41 07", 4, "A"},
        {"across two records", "02 00 00 07 06 05 01 00 41 07", 4, "A"},
    };
    for (Row const &row : rows)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(hex(row.stream));
        CString className;
        EXPECT_TRUE(filer.readNextObjectClass(className)) << row.what;
        EXPECT_EQ(className.ToUtf8(), row.className) << row.what;
        EXPECT_EQ(filer.GetFilerPosition(), row.position) << row.what;
    }
}

TEST(RecordsRobust, Payloads_765WithoutAName_FalseOnThatPlaceAndFoundAgain_Quirk32)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("0A 03 00 00 00 07 06 05 09 07"));
    CString className;
    EXPECT_FALSE(filer.readNextObjectClass(className));
    EXPECT_EQ(filer.GetFilerPosition(), 6);
    EXPECT_FALSE(filer.readNextObjectClass(className)); // the search does not get beyond it
    EXPECT_EQ(filer.GetFilerPosition(), 6);
}

// --- Depth and length --------------------------------------------------------------------------------------------------------

TEST(RecordsRobust, Nesting_TwoHundredThousandSections_WalkedWithoutRecursion)
{
    int const depth = 200000;
    CByteArray stream;
    CByteArray const begin = hex("08 02 01 00 00 00");
    for (int i = 0; i < depth; ++i)
        stream.Append(begin);
    CByteArray const open(stream);
    for (int i = 0; i < depth; ++i)
        stream.Add(VarMembersEnd);
    stream.Add(VarClassEnd);
    OKTByteFiler filer(1024);
    filer.readInPlace(stream);
    EXPECT_TRUE(filer.skipMembers());
    EXPECT_EQ(filer.getPosition(), 7 * depth + 1);

    OKTByteFiler endless(1024);
    endless.readInPlace(open);
    EXPECT_FALSE(endless.skipMembers());
}

TEST(RecordsRobust, Random_BytesOfAnyKind_EveryReadStaysInTheBuffer)
{
    std::uint32_t state = 12345;
    auto const next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state >> 16;
    };
    ReportCatcher reports;
    for (int round = 0; round < 3000; ++round)
    {
        reports.clear();
        CByteArray stream;
        stream.SetSize(static_cast<int>(next() % 64));
        for (int i = 0; i < stream.GetSize(); ++i)
            stream.SetAt(i, static_cast<BYTE>(next() % 3 == 0 ? next() % 256 : next() % 11)); // mostly type bytes
        stream.FreeExtra();

        OKTByteFiler filer(1024);
        filer.readInPlace(stream);
        std::string (*const reads[])(OKTByteFiler &) = {readBool, readShort, readLong, readDouble,
                                                        readWide, readAnsi,  readBytes};
        for (int step = 0; step < 40; ++step)
        {
            int const before = filer.getPosition();
            switch (next() % 10)
            {
            case 7: filer.skipMembers(); break;
            case 8: filer.enterMembers(1); break;
            case 9:
            {
                int where = -1;
                if (filer.findNextObject(where))
                {
                    ASSERT_LT(where + 1, stream.GetSize());
                    ASSERT_GE(where, before);
                }
                break;
            }
            default: reads[next() % 7](filer); break;
            }
            ASSERT_GE(filer.getPosition(), before);
            ASSERT_LE(filer.getPosition(), stream.GetSize());
        }
    }
}
