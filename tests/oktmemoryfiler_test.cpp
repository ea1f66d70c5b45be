// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmemoryfiler.h>

#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktgexyz.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/testobject.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

// The binary filer: the protocol as records, and what reading does with every record that may stand where another is expected.
// The bytes of frames stand in format/records_test.cpp, ids and variants in format/idsandvariants_test.cpp, files in
// oktmemoryfilerfiles_test.cpp.

namespace
{
char const *const kPointAt123 = "06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 08 02 01 00 00 00"
                                "03 00 00 00 00 00 00 F0 3F 03 00 00 00 00 00 00 00 40 03 00 00 00 00 00 00 08 40 09 07";

void load(OKTMemoryFiler &filer, std::string_view spelled) { ASSERT_TRUE(filer.loadFiler(hex(spelled))); }

/// A filer that reads the bytes, and what it says about its place.
struct Reader
{
    explicit Reader(std::string_view spelled) { filer.loadFiler(hex(spelled)); }

    long position() const { return filer.GetFilerPosition(); }

    OKTMemoryFiler filer;
};

_GUID const kSomeGuid = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
} // namespace

// --- Life, modes, lengths ----------------------------------------------------------------------------------------------------

TEST(OKTMemoryFiler, Construct_WithoutPool_WritingAtPosition0WithoutTranslation)
{
    OKTMemoryFiler filer;
    EXPECT_EQ(filer.GetFilerLength(), 0);
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    EXPECT_FALSE(filer.getTranslatedIds());
    EXPECT_FALSE(filer.getIsAnsiString());
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    EXPECT_TRUE(written(filer).IsEmpty());
}

TEST(OKTMemoryFiler, Construct_WithAPool_TakesItsTranslationFlagAndMap)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OKTDbObjectId const fresh = OKTDbObjectId::createObjectId(&pool);
    IdMap map;
    map[object->objectId()] = fresh;
    pool.setMapTranslatedIds(map);
    pool.setBoolTranslatedIds(true);

    OKTMemoryFiler filer(&pool);
    EXPECT_TRUE(filer.getTranslatedIds());
    IdMap taken;
    EXPECT_TRUE(filer.saveMapTranslatedIds(taken));
    ASSERT_EQ(taken.getSize(), 1);
    EXPECT_EQ(taken.keyAt(0), object->objectId());
    EXPECT_EQ(taken.valueAt(0), fresh);
}

TEST(OKTMemoryFiler, Construct_WithAPool_CopiesTheMapOfThatMoment)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OKTMemoryFiler filer(&pool);
    IdMap map;
    map[object->objectId()] = OKTDbObjectId::createObjectId(&pool);
    pool.setMapTranslatedIds(map);
    IdMap taken;
    EXPECT_TRUE(filer.saveMapTranslatedIds(taken));
    EXPECT_TRUE(taken.isEmpty());
}

TEST(OKTMemoryFiler, SaveMapTranslatedIds_OfTwoFilers_TheEntryOfTheLaterOneWins)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OKTDbObjectId const earlier = OKTDbObjectId::createObjectId(&pool);
    OKTDbObjectId const later = OKTDbObjectId::createObjectId(&pool);
    IdMap gathered;
    for (OKTDbObjectId const &fresh : {earlier, later})
    {
        OKTMemoryFiler filer;
        IdMap map;
        map[object->objectId()] = fresh;
        EXPECT_TRUE(filer.loadMapTranslatedIds(map));
        EXPECT_TRUE(filer.saveMapTranslatedIds(gathered));
    }
    ASSERT_EQ(gathered.getSize(), 1);
    EXPECT_EQ(gathered.valueAt(0), later);
}

TEST(OKTMemoryFiler, WriteObjectId_TranslationOnWithoutPool_TheFreshIdHasNoPool)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OKTMemoryFiler filer;
    filer.setTranslatedIds(true);
    ASSERT_TRUE(filer.writeObjectId(u"id", object->objectId()));
    IdMap taken;
    EXPECT_TRUE(filer.saveMapTranslatedIds(taken));
    ASSERT_EQ(taken.getSize(), 1);
    EXPECT_FALSE(taken.valueAt(0).isNull());
    EXPECT_EQ(taken.valueAt(0).getPool(), nullptr);
}

TEST(OKTMemoryFiler, Buffer_Grows_By1024Bytes)
{
    OKTMemoryFiler filer;
    ASSERT_TRUE(filer.writeInt(u"n", 1));
    CByteArray const first = filer.takeBytes();
    EXPECT_EQ(first.GetSize(), 5);
    EXPECT_EQ(first.GetCapacity(), 1024);

    OKTMemoryFiler longer;
    CByteArray data;
    data.SetSize(1000);
    ASSERT_TRUE(longer.writeByteArray(u"data", data)); // 1005 bytes
    data.SetSize(100);
    ASSERT_TRUE(longer.writeByteArray(u"data", data));
    CByteArray const second = longer.takeBytes();
    EXPECT_EQ(second.GetSize(), 1110);
    EXPECT_EQ(second.GetCapacity(), 1005 + 1024);
}

TEST(OKTMemoryFiler, Lengths_AfterAPointWasWritten_52AndPosition0)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writePoint3d(u"m_pnt", OKTGeXYZ(1.0, 2.0, 3.0)));
    EXPECT_EQ(filer.GetFilerLength(), 52);
    EXPECT_EQ(filer.GetFilerPosition(), 0);
}

TEST(OKTMemoryFiler, Lengths_WhileReading_SizeOfAllAndPlaceOfTheNextRecord)
{
    Reader reader("02 05 00 00 00 00 01 07");
    int value = 0;
    EXPECT_TRUE(reader.filer.readInt(u"n", value));
    EXPECT_EQ(reader.filer.GetFilerLength(), 8);
    EXPECT_EQ(reader.filer.GetFilerPosition(), 5);
}

TEST(OKTMemoryFiler, SaveFiler_Twice_GivesTheSameBytes)
{
    OKTMemoryFiler filer;
    filer.writeBool(u"b", true);
    CByteArray bytes = hex("AA BB CC");
    EXPECT_TRUE(filer.saveFiler(bytes));
    EXPECT_EQ(bytes, hex("00 01"));
    EXPECT_TRUE(filer.saveFiler(bytes));
    EXPECT_EQ(bytes, hex("00 01"));
}

TEST(OKTMemoryFiler, SaveFiler_WhileReading_FalseAndEmpty)
{
    Reader reader("00 01");
    CByteArray bytes = hex("AA");
    EXPECT_FALSE(reader.filer.saveFiler(bytes));
    EXPECT_TRUE(bytes.IsEmpty());
    EXPECT_EQ(reader.filer.GetFilerLength(), 2);
    EXPECT_EQ(reader.position(), 0);
}

TEST(OKTMemoryFiler, LoadFiler_InTheMiddleOfReading_StartsAgainWithTheNewBytes)
{
    Reader reader("00 01 00 00 07");
    bool value = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    load(reader.filer, "00 00 07");
    EXPECT_EQ(reader.position(), 0);
    EXPECT_EQ(reader.filer.GetFilerLength(), 3);
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    EXPECT_FALSE(value);
}

TEST(OKTMemoryFiler, LoadFiler_OfNothing_TrueAndReading)
{
    OKTMemoryFiler filer;
    filer.writeBool(u"b", true);
    EXPECT_TRUE(filer.loadFiler(CByteArray()));
    EXPECT_EQ(filer.GetFilerLength(), 0);
    CByteArray bytes;
    EXPECT_FALSE(filer.saveFiler(bytes));
}

TEST(OKTMemoryFiler, LoadFiler_SourceChangedBehindIt_KeepsItsCopy)
{
    CByteArray source = hex("00 01 07");
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.loadFiler(source));
    source.SetAt(1, 0);
    bool value = false;
    EXPECT_TRUE(filer.readBool(u"b", value));
    EXPECT_TRUE(value);
}

TEST(OKTMemoryFiler, ReadInPlace_Bytes_ReadFromTheirStart)
{
    CByteArray const source = hex("01 34 12 07");
    OKTMemoryFiler filer;
    filer.readInPlace(source);
    unsigned short value = 0;
    EXPECT_TRUE(filer.readShort(u"n", value));
    EXPECT_EQ(value, 0x1234);
    EXPECT_EQ(filer.GetFilerPosition(), 3);
    EXPECT_EQ(filer.GetFilerLength(), 4);
}

TEST(OKTMemoryFiler, TakeBytes_Written_HandsThemOver)
{
    OKTMemoryFiler filer;
    filer.writeBool(u"b", true);
    EXPECT_EQ(filer.takeBytes(), hex("00 01"));
    EXPECT_EQ(filer.GetFilerLength(), 0);
}

TEST(OKTMemoryFiler, SetInternalIsWriteEnabled_ThereAndBack_BufferAndPositionStay)
{
    OKTMemoryFiler filer;
    filer.writeInt(u"a", 5);
    filer.writeInt(u"b", 6);
    filer.writeBool(u"c", true);
    EXPECT_TRUE(filer.setInternalIsWriteEnabled(false));
    int value = 0;
    EXPECT_TRUE(filer.readInt(u"a", value));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(filer.setInternalIsWriteEnabled(true));
    EXPECT_EQ(filer.GetFilerPosition(), 5);
    EXPECT_FALSE(filer.readInt(u"b", value));
    filer.writeBool(u"d", false);
    EXPECT_EQ(written(filer), hex("02 05 00 00 00 02 06 00 00 00 00 01 00 00"));
    EXPECT_TRUE(filer.setInternalIsWriteEnabled(false));
    EXPECT_TRUE(filer.readInt(u"b", value));
    EXPECT_EQ(value, 6);
}

TEST(OKTMemoryFiler, SetInternalIsWriteEnabled_AnObjectThroughOneFiler_ComesBack)
{
    OKTMemoryFiler filer;
    OKTGeXYZ const point(1.0, 2.0, 3.0);
    EXPECT_EQ(point.xmlOut(u"m_pnt", &filer), eFilerOk);
    filer.setInternalIsWriteEnabled(false);
    OKTGeXYZ back;
    EXPECT_EQ(back.xmlIn(u"m_pnt", &filer), eFilerOk);
    EXPECT_EQ(back.X(), 1.0);
    EXPECT_EQ(back.Y(), 2.0);
    EXPECT_EQ(back.Z(), 3.0);
    EXPECT_EQ(filer.GetFilerPosition(), 52);
}

TEST(OKTMemoryFiler, Copy_OfAFiler_HasItsOwnBufferAndMap)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OKTMemoryFiler filer(&pool);
    filer.writeBool(u"b", true);
    filer.setIsAnsiString(true);
    OKTMemoryFiler copy(filer);
    copy.setTranslatedIds(true);
    EXPECT_TRUE(copy.writeObjectId(u"id", object->objectId()));
    EXPECT_EQ(written(filer), hex("00 01"));
    EXPECT_EQ(copy.GetFilerLength(), 2 + 48);
    EXPECT_TRUE(copy.getIsAnsiString());
    IdMap map;
    EXPECT_TRUE(filer.saveMapTranslatedIds(map));
    EXPECT_TRUE(map.isEmpty());
    EXPECT_TRUE(copy.saveMapTranslatedIds(map));
    EXPECT_EQ(map.getSize(), 1);
}

TEST(OKTMemoryFiler, SkipToNextObject_BeforeAnObject_FalseAndNothingDone_Quirk35)
{
    Reader reader("00 01 07 06 05 01 00 41 02 01 00 00 00 07");
    EXPECT_FALSE(reader.filer.skipToNextObject());
    EXPECT_EQ(reader.position(), 0);
    OKTMemoryFiler writing;
    EXPECT_FALSE(writing.skipToNextObject());
    EXPECT_EQ(writing.GetFilerLength(), 0);
}

// --- Values: there and back --------------------------------------------------------------------------------------------------

TEST(OKTMemoryFiler, Values_WrittenAndReadInOrder_ComeBack)
{
    OKTMemoryFiler filer;
    filer.writeDouble(u"1", -0.1);
    filer.writeLong(u"2", 4000000000ul);
    filer.writeLong(u"3", -2000000000l);
    filer.writeString(u"4", u"Bügel Ø10 😀");
    filer.writePoint3d(u"5", OKTGeXYZ(1.0, -2.0, 1e300));
    filer.writeBool(u"6", true);
    filer.writeBool(u"7", 1);
    filer.writeInt(u"8", 4294967295u);
    filer.writeInt(u"9", INT_MIN);
    filer.writeShort(u"10", static_cast<unsigned short>(65535));
    filer.writeShort(u"11", static_cast<short>(-32768));
    filer.writeByteArray(u"12", hex("00 07 06 05 FF"));
    filer.endWriteClass();
    filer.setInternalIsWriteEnabled(false);

    double real = 0.0;
    EXPECT_TRUE(filer.readDouble(u"a", real));
    EXPECT_EQ(real, -0.1);
    unsigned long unsignedLong = 0;
    EXPECT_TRUE(filer.readLong(u"b", unsignedLong));
    EXPECT_EQ(unsignedLong, 4000000000ul);
    long signedLong = 0;
    EXPECT_TRUE(filer.readLong(u"c", signedLong));
    EXPECT_EQ(signedLong, -2000000000l);
    CString text;
    EXPECT_TRUE(filer.readString(u"d", text));
    EXPECT_EQ(text, CString(u"Bügel Ø10 😀"));
    OKTGeXYZ point;
    EXPECT_TRUE(filer.readPoint3d(u"e", point));
    EXPECT_EQ(point.Y(), -2.0);
    EXPECT_EQ(point.Z(), 1e300);
    bool truth = false;
    EXPECT_TRUE(filer.readBool(u"f", truth));
    EXPECT_TRUE(truth);
    int boolInt = 0;
    EXPECT_TRUE(filer.readBool(u"g", boolInt));
    EXPECT_EQ(boolInt, 1);
    unsigned int unsignedInt = 0;
    EXPECT_TRUE(filer.readInt(u"h", unsignedInt));
    EXPECT_EQ(unsignedInt, 4294967295u);
    int signedInt = 0;
    EXPECT_TRUE(filer.readInt(u"i", signedInt));
    EXPECT_EQ(signedInt, INT_MIN);
    unsigned short unsignedShort = 0;
    EXPECT_TRUE(filer.readShort(u"j", unsignedShort));
    EXPECT_EQ(unsignedShort, 65535);
    short signedShort = 0;
    EXPECT_TRUE(filer.readShort(u"k", signedShort));
    EXPECT_EQ(signedShort, -32768);
    CByteArray bytes;
    EXPECT_TRUE(filer.readByteArray(u"l", bytes));
    EXPECT_EQ(bytes, hex("00 07 06 05 FF"));
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength() - 1);
}

TEST(OKTMemoryFiler, ReadLong_AllBitsSet_SignOrZeroExtendedByTheTarget)
{
    Reader reader("02 FF FF FF FF 02 FF FF FF FF 07");
    long signedLong = 0;
    EXPECT_TRUE(reader.filer.readLong(u"n", signedLong));
    EXPECT_EQ(signedLong, -1L);
    unsigned long unsignedLong = 0;
    EXPECT_TRUE(reader.filer.readLong(u"n", unsignedLong));
    EXPECT_EQ(unsignedLong, 4294967295ul);
}

TEST(OKTMemoryFiler, ReadLong_OnlyTheHighestBit_SignOrZeroExtendedByTheTarget)
{
    Reader reader("02 00 00 00 80 02 00 00 00 80 07");
    long signedLong = 0;
    EXPECT_TRUE(reader.filer.readLong(u"n", signedLong));
    EXPECT_EQ(signedLong, -2147483647L - 1);
    unsigned long unsignedLong = 0;
    EXPECT_TRUE(reader.filer.readLong(u"n", unsignedLong));
    EXPECT_EQ(unsignedLong, 2147483648ul);
}

TEST(OKTMemoryFiler, ReadShort_AllBitsSet_SignOrZeroExtendedByTheTarget)
{
    Reader reader("01 FF FF 01 FF FF 07");
    short signedShort = 0;
    EXPECT_TRUE(reader.filer.readShort(u"n", signedShort));
    EXPECT_EQ(signedShort, -1);
    unsigned short unsignedShort = 0;
    EXPECT_TRUE(reader.filer.readShort(u"n", unsignedShort));
    EXPECT_EQ(unsignedShort, 65535);
}

TEST(OKTMemoryFiler, WriteLong_LimitsOf32Bits_Written)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeLong(u"n", 2147483647L));
    EXPECT_TRUE(filer.writeLong(u"n", -2147483647L - 1));
    EXPECT_TRUE(filer.writeLong(u"n", 4294967295ul));
    EXPECT_TRUE(filer.writeLong(u"n", 0ul));
    EXPECT_EQ(written(filer), hex("02 FF FF FF 7F 02 00 00 00 80 02 FF FF FF FF 02 00 00 00 00"));
}

#if LONG_MAX > 2147483647L
TEST(OKTMemoryFiler, WriteLong_SignedBeyond32Bits_FalseAndNothingWritten)
{
    ReportCatcher const reports;
    OKTMemoryFiler filer;
    EXPECT_FALSE(filer.writeLong(u"n", 2147483648L));
    EXPECT_FALSE(filer.writeLong(u"n", -2147483649L));
    EXPECT_FALSE(filer.writeLong(u"n", 4294967295L));
    EXPECT_FALSE(filer.writeLong(u"n", 4294967296L));
    EXPECT_FALSE(filer.writeLong(u"n", LONG_MAX));
    EXPECT_FALSE(filer.writeLong(u"n", LONG_MIN));
    EXPECT_EQ(filer.GetFilerLength(), 0);
    EXPECT_EQ(reports.count(), 0u);
}

TEST(OKTMemoryFiler, WriteLong_UnsignedBeyond32Bits_FalseAndNothingWritten)
{
    ReportCatcher const reports;
    OKTMemoryFiler filer;
    EXPECT_FALSE(filer.writeLong(u"n", 4294967296ul));
    EXPECT_FALSE(filer.writeLong(u"n", 4294967301ul)); // 5 in the low half
    EXPECT_FALSE(filer.writeLong(u"n", ULONG_MAX));
    EXPECT_EQ(filer.GetFilerLength(), 0);
    EXPECT_EQ(reports.count(), 0u);
}
#endif

TEST(OKTMemoryFiler, WriteInt_UnsignedBeyondTheSignedRange_WrittenAsItsBits)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeInt(u"n", 4294967295u));
    EXPECT_TRUE(filer.writeInt(u"n", 2147483648u));
    EXPECT_EQ(written(filer), hex("02 FF FF FF FF 02 00 00 00 80"));
}

TEST(OKTMemoryFiler, ReadBool_ByteOtherThan0And1_True)
{
    Reader reader("00 02 00 00");
    bool value = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    EXPECT_TRUE(value);
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    EXPECT_FALSE(value);
}

TEST(OKTMemoryFiler, ReadBoolInt_AnyLong_KeptAsItIs)
{
    Reader reader("02 05 00 00 00 07");
    int value = 0;
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    EXPECT_EQ(value, 5);
}

TEST(OKTMemoryFiler, WriteBool_TheTwoForms_DifferentRecordsRefusedByEachOther_Quirk37)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeBool(u"b", true));
    EXPECT_TRUE(filer.writeBool(u"b", 1));
    EXPECT_EQ(written(filer), hex("00 01 02 01 00 00 00"));
    filer.endWriteClass();
    filer.setInternalIsWriteEnabled(false);

    int number = 77;
    EXPECT_FALSE(filer.readBool(u"b", number));
    EXPECT_EQ(number, -2147483647);
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    bool truth = false;
    EXPECT_TRUE(filer.readBool(u"b", truth));
    truth = false;
    EXPECT_FALSE(filer.readBool(u"b", truth));
    EXPECT_TRUE(truth);
    EXPECT_EQ(filer.GetFilerPosition(), 2);
    EXPECT_TRUE(filer.readBool(u"b", number));
    EXPECT_EQ(number, 1);
}

TEST(OKTMemoryFiler, Strings_AnsiMode_EightBitRecordsThatTheWideReadRefuses)
{
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    EXPECT_TRUE(filer.writeString(u"s", u"Bügel"));
    filer.endWriteClass();
    EXPECT_EQ(written(filer), hex("05 05 00 42 FC 67 65 6C 07"));
    filer.setInternalIsWriteEnabled(false);

    filer.setIsAnsiString(false);
    CString text(u"before");
    EXPECT_FALSE(filer.readString(u"s", text));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    filer.setIsAnsiString(true);
    EXPECT_TRUE(filer.readString(u"s", text));
    EXPECT_EQ(text, CString(u"Bügel"));
}

TEST(OKTMemoryFiler, Strings_WideRecordInAnsiMode_Refused)
{
    Reader reader("04 01 00 41 00 07");
    reader.filer.setIsAnsiString(true);
    CString text(u"before");
    EXPECT_FALSE(reader.filer.readString(u"s", text));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(reader.position(), 0);
}

TEST(OKTMemoryFiler, Strings_AnsiModeInAMultiByteCodePage_LoseTheirTail_Quirk29)
{
    struct Row
    {
        unsigned int page;
        char const *text; // UTF-8
        char const *record;
        char const *back; // UTF-8
    };
    Row const rows[] = {
        {1252, "Bügel 😀", "05 08 00 42 FC 67 65 6C 20 3F 3F", "Bügel ??"},
        {65001, "Bügel", "05 05 00 42 C3 BC 67 65", "Büge"},
        {932, "鉄筋", "05 02 00 93 53", "鉄"},
        {932, "D10", "05 03 00 44 31 30", "D10"},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(std::to_string(row.page) + ": " + row.text);
        CodePageScope const page(row.page);
        OKTMemoryFiler filer;
        filer.setIsAnsiString(true);
        EXPECT_TRUE(filer.writeString(u"s", CString::FromUtf8(row.text)));
        EXPECT_EQ(written(filer), hex(row.record));
        filer.endWriteClass();
        filer.setInternalIsWriteEnabled(false);
        CString text;
        EXPECT_TRUE(filer.readString(u"s", text));
        EXPECT_EQ(text.ToUtf8(), row.back);
    }
}

TEST(OKTMemoryFiler, Strings_70000Units_KeepTheirFirst4464_Quirk28)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeString(u"s", repeated(4464, u'h') + repeated(65536, u't')));
    EXPECT_EQ(filer.GetFilerLength(), 3 + 2 * 4464);
    EXPECT_EQ(firstBytes(written(filer), 5), hex("04 70 11 68 00"));
    filer.endWriteClass();
    filer.setInternalIsWriteEnabled(false);
    CString text;
    EXPECT_TRUE(filer.readString(u"s", text));
    EXPECT_EQ(text, repeated(4464, u'h'));
}

TEST(OKTMemoryFiler, Strings_ZeroUnitInside_WrittenInFullAndReadToTheZero_Quirk30)
{
    OKTMemoryFiler filer;
    WCHAR const units[] = {u'a', 0, u'b'};
    EXPECT_TRUE(filer.writeString(u"s", CString(units, 3)));
    EXPECT_EQ(written(filer), hex("04 03 00 61 00 00 00 62 00"));
    filer.endWriteClass();
    filer.setInternalIsWriteEnabled(false);
    CString text;
    EXPECT_TRUE(filer.readString(u"s", text));
    EXPECT_EQ(text, CString(u"a"));
    EXPECT_EQ(filer.GetFilerPosition(), 9);
}

TEST(OKTMemoryFiler, Values_NamesOfAnyKind_NotStored)
{
    OKTMemoryFiler first;
    first.writeInt(u"m_nParamType", 6);
    OKTMemoryFiler second;
    second.writeInt(u"", 6);
    OKTMemoryFiler third;
    third.writeInt("another name", 6);
    EXPECT_EQ(written(first), written(second));
    EXPECT_EQ(written(first), written(third));
}

// --- Values: failures --------------------------------------------------------------------------------------------------------

TEST(OKTMemoryFiler, ReadBool_AtAnotherRecord_StoresTrue_Quirk33)
{
    Reader reader("02 00 00 00 00 07");
    bool value = false;
    EXPECT_FALSE(reader.filer.readBool(u"b", value));
    EXPECT_TRUE(value);
    EXPECT_EQ(reader.position(), 0);
}

TEST(OKTMemoryFiler, ReadBool_AtTheEndOrCutOrWhileWriting_StoresTrue_Quirk33)
{
    bool value = false;
    Reader atEnd("");
    EXPECT_FALSE(atEnd.filer.readBool(u"b", value));
    EXPECT_TRUE(value);

    value = false;
    Reader cut("00");
    EXPECT_FALSE(cut.filer.readBool(u"b", value));
    EXPECT_TRUE(value);
    EXPECT_EQ(cut.position(), 1);

    value = false;
    OKTMemoryFiler writing;
    writing.writeBool(u"b", false);
    EXPECT_FALSE(writing.readBool(u"b", value));
    EXPECT_TRUE(value);
}

TEST(OKTMemoryFiler, Read_AtAnotherRecord_FailureValuesAndPositionStays)
{
    Reader reader("09 07");
    OKTMemoryFiler &filer = reader.filer;
    double real = 77.0;
    EXPECT_FALSE(filer.readDouble(u"n", real));
    EXPECT_EQ(real, -std::numeric_limits<double>::max());
    unsigned long unsignedLong = 77;
    EXPECT_FALSE(filer.readLong(u"n", unsignedLong));
    EXPECT_EQ(unsignedLong, 2147483649ul);
    long signedLong = 77;
    EXPECT_FALSE(filer.readLong(u"n", signedLong));
    EXPECT_EQ(signedLong, -2147483647L);
    unsigned int unsignedInt = 77;
    EXPECT_FALSE(filer.readInt(u"n", unsignedInt));
    EXPECT_EQ(unsignedInt, 2147483649u);
    int signedInt = 77;
    EXPECT_FALSE(filer.readInt(u"n", signedInt));
    EXPECT_EQ(signedInt, -2147483647);
    int boolInt = 77;
    EXPECT_FALSE(filer.readBool(u"n", boolInt));
    EXPECT_EQ(boolInt, -2147483647);
    unsigned short unsignedShort = 77;
    EXPECT_FALSE(filer.readShort(u"n", unsignedShort));
    EXPECT_EQ(unsignedShort, 65535);
    short signedShort = 77;
    EXPECT_FALSE(filer.readShort(u"n", signedShort));
    EXPECT_EQ(signedShort, -1);
    CString text(u"before");
    EXPECT_FALSE(filer.readString(u"n", text));
    EXPECT_TRUE(text.IsEmpty());
    filer.setIsAnsiString(true);
    text = CString(u"before");
    EXPECT_FALSE(filer.readString(u"n", text));
    EXPECT_TRUE(text.IsEmpty());
    CByteArray bytes = hex("01");
    EXPECT_FALSE(filer.readByteArray(u"n", bytes));
    EXPECT_TRUE(bytes.IsEmpty());
    EXPECT_EQ(reader.position(), 0);
}

TEST(OKTMemoryFiler, ReadPoint3d_CutInTheSecondNumber_FalseWithWhatWasReadAndFailureValues)
{
    Reader reader("06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 08 02 01 00 00 00 03 00 00 00 00 00 00 F0 3F 03 00 00");
    OKTGeXYZ point(7.0, 8.0, 9.0);
    EXPECT_FALSE(reader.filer.readPoint3d(u"m_pnt", point));
    EXPECT_EQ(point.X(), 1.0);
    EXPECT_EQ(point.Y(), -std::numeric_limits<double>::max());
    EXPECT_EQ(point.Z(), -std::numeric_limits<double>::max());
}

TEST(OKTMemoryFiler, ReadPoint3d_FrameRefused_FalseAndPointUnchanged)
{
    Reader reader("06 05 08 00 'OKTGeXYY' 02 01 00 00 00 08 02 01 00 00 00");
    OKTGeXYZ point(7.0, 8.0, 9.0);
    EXPECT_FALSE(reader.filer.readPoint3d(u"m_pnt", point));
    EXPECT_EQ(point.X(), 7.0);
    EXPECT_EQ(point.Y(), 8.0);
    EXPECT_EQ(point.Z(), 9.0);
    EXPECT_EQ(reader.position(), 17);
}

TEST(OKTMemoryFiler, ReadByteArray_CountOfMinus1_ReportedAndFalse_Quirk31)
{
    ReportCatcher const reports;
    Reader reader("0A FF FF FF FF 07");
    CByteArray bytes = hex("01");
    EXPECT_FALSE(reader.filer.readByteArray(u"m_data", bytes));
    EXPECT_TRUE(bytes.IsEmpty());
    EXPECT_EQ(reports.count(), 1u);
}

TEST(OKTMemoryFiler, Read_RecordThatEndsTheStream_FalseSaveForABool_Quirk27)
{
    int number = 77;
    Reader aLong("02 05 00 00 00");
    EXPECT_FALSE(aLong.filer.readInt(u"n", number));
    EXPECT_EQ(number, -2147483647);
    CString text(u"before");
    Reader aText("04 01 00 41 00");
    EXPECT_FALSE(aText.filer.readString(u"s", text));
    EXPECT_TRUE(text.IsEmpty());
    bool truth = true;
    Reader aBool("00 00");
    EXPECT_TRUE(aBool.filer.readBool(u"b", truth));
    EXPECT_FALSE(truth);
}

// --- Frames ------------------------------------------------------------------------------------------------------------------

TEST(OKTMemoryFiler, BeginReadClass_TheClass_TrueBehindItsVersion)
{
    Reader reader(kPointAt123);
    EXPECT_TRUE(reader.filer.beginReadClass(u"any name", u"OKTGeXYZ"));
    EXPECT_EQ(reader.position(), 17);
}

TEST(OKTMemoryFiler, BeginReadClass_LowerCase_True)
{
    Reader reader(kPointAt123);
    EXPECT_TRUE(reader.filer.beginReadClass(u"m_pnt", u"oktgexyz"));
    EXPECT_EQ(reader.position(), 17);
}

TEST(OKTMemoryFiler, BeginReadClass_AnyVersion_NotLookedAt)
{
    for (char const *const version : {"00 00 00 00", "02 00 00 00", "FF FF FF FF", "00 00 00 80"})
    {
        Reader reader(std::string("06 05 01 00 41 02 ") + version + " 07");
        EXPECT_TRUE(reader.filer.beginReadClass(u"Object", u"A")) << version;
        EXPECT_EQ(reader.position(), 10) << version;
    }
}

TEST(OKTMemoryFiler, BeginReadClass_NonAsciiName_EightBitInTheCodePageAndCaseFolded)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.beginWriteClass(u"Object", u"Bügel", 3));
    filer.endWriteClass();
    EXPECT_EQ(written(filer), hex("06 05 05 00 42 FC 67 65 6C 02 03 00 00 00 07"));
    filer.setInternalIsWriteEnabled(false);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"BÜGEL"));
    EXPECT_TRUE(filer.endReadClass());
}

TEST(OKTMemoryFiler, BeginReadClass_NonAsciiNameInAMultiByteCodePage_CutNameIsAnotherName_Quirk29)
{
    CodePageScope const page(65001);
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.beginWriteClass(u"Object", u"Bügel", 1));
    filer.endWriteClass();
    EXPECT_EQ(written(filer), hex("06 05 05 00 42 C3 BC 67 65 02 01 00 00 00 07"));
    CByteArray const bytes = written(filer);
    OKTMemoryFiler whole;
    whole.loadFiler(bytes);
    EXPECT_FALSE(whole.beginReadClass(u"Object", u"Bügel"));
    OKTMemoryFiler cut;
    cut.loadFiler(bytes);
    EXPECT_TRUE(cut.beginReadClass(u"Object", u"Büge"));
    CString className;
    cut.loadFiler(bytes);
    EXPECT_TRUE(cut.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"Büge"));
}

TEST(OKTMemoryFiler, BeginWriteClass_AnsiModeOff_NameIsEightBitAllTheSame)
{
    OKTMemoryFiler filer;
    filer.setIsAnsiString(false);
    EXPECT_TRUE(filer.beginWriteClass(u"Object", u"A", 1));
    filer.setIsAnsiString(true);
    EXPECT_TRUE(filer.beginWriteClass(u"Object", u"A", 1));
    EXPECT_EQ(written(filer), hex("06 05 01 00 41 02 01 00 00 00 06 05 01 00 41 02 01 00 00 00"));
}

TEST(OKTMemoryFiler, BeginReadClass_AnotherClass_FalseAndTheFrameIsEntered_Quirk34)
{
    Reader reader("06 05 03 00 'abc' 02 01 00 00 00 08 02 01 00 00 00 00 01 09 07 07");
    EXPECT_FALSE(reader.filer.beginReadClass(u"Object", u"abd"));
    EXPECT_EQ(reader.position(), 12);
    EXPECT_TRUE(reader.filer.beginReadMembers(1));
    bool value = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", value));
    EXPECT_TRUE(reader.filer.endReadMembers());
    EXPECT_TRUE(reader.filer.endReadClass());
    EXPECT_EQ(reader.position(), 22);
}

TEST(OKTMemoryFiler, BeginReadClass_NoFrame_NameAndVersionAreTriedAllTheSame_Quirk34)
{
    struct Row
    {
        char const *what;
        char const *stream;
        long position;
    };
    Row const rows[] = {
        {"a string record and a long record", "05 03 00 'abc' 02 01 00 00 00 07", 11},
        {"the same with another text", "05 03 00 'xyz' 02 01 00 00 00 07", 11},
        {"a string record and a short", "05 03 00 'abc' 01 01 00 07", 6},
        {"a long record alone", "02 01 00 00 00 07", 5},
        {"a wide string record", "04 01 00 41 00 02 01 00 00 00 07", 0},
        {"a frame end", "07 05 03 00 'abc' 02 01 00 00 00 07", 0},
        {"nothing", "", 0},
    };
    for (Row const &row : rows)
    {
        Reader reader(row.stream);
        EXPECT_FALSE(reader.filer.beginReadClass(u"Object", u"abc")) << row.what;
        EXPECT_EQ(reader.position(), row.position) << row.what;
    }
}

TEST(OKTMemoryFiler, BeginReadClass_FrameWithoutNameOrVersion_FalseBehindWhatCouldBeRead_Quirk34)
{
    struct Row
    {
        char const *what;
        char const *stream;
        long position;
    };
    Row const rows[] = {
        {"the name is wide", "06 04 01 00 41 00 02 01 00 00 00 07", 1},
        {"the name is missing", "06 02 01 00 00 00 07", 6},
        {"the version is a short", "06 05 01 00 41 01 01 00 07", 5},
        {"the version is missing", "06 05 01 00 41 07", 5},
        {"the name is cut", "06 05 03 00 41", 4},
        {"the version ends the stream", "06 05 01 00 41 02 01 00 00 00", 6},
    };
    for (Row const &row : rows)
    {
        Reader reader(row.stream);
        EXPECT_FALSE(reader.filer.beginReadClass(u"Object", u"A")) << row.what;
        EXPECT_EQ(reader.position(), row.position) << row.what;
    }
}

TEST(OKTMemoryFiler, BeginReadMembers_AnotherSection_FalseAndPositionStays)
{
    Reader reader("08 02 02 00 00 00 09 07");
    EXPECT_FALSE(reader.filer.beginReadMembers(1));
    EXPECT_FALSE(reader.filer.beginReadMembers(3));
    EXPECT_EQ(reader.position(), 0);
    EXPECT_TRUE(reader.filer.beginReadMembers(2));
    EXPECT_EQ(reader.position(), 6);
}

TEST(OKTMemoryFiler, EndReadMembers_MembersLeft_FalseAndPositionStays)
{
    Reader reader("00 01 09 07");
    EXPECT_FALSE(reader.filer.endReadMembers());
    EXPECT_EQ(reader.position(), 0);
}

TEST(OKTMemoryFiler, EndReadClass_UnreadSections_PassedOverWithFramesAndEveryValueInThem)
{
    // A frame with sections 1 to 3; in section 2 a nested frame whose own section holds every kind of value.
    Reader reader("06 05 01 00 41 02 03 00 00 00"
                  "08 02 01 00 00 00 00 01 09"
                  "08 02 02 00 00 00 06 05 0C 00 'FutureObject' 02 09 00 00 00"
                  "06 05 01 00 42 02 01 00 00 00 08 02 01 00 00 00 09 07"
                  "08 02 07 00 00 00 00 01 01 07 09 02 07 06 05 09 03 00 00 00 00 00 00 F8 3F"
                  "04 01 00 07 07 05 02 00 07 09 0A 03 00 00 00 07 06 05 09 07 09"
                  "08 02 03 00 00 00 09"
                  "07 02 05 00 00 00 07");
    EXPECT_TRUE(reader.filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(reader.filer.beginReadMembers(1));
    bool flag = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", flag));
    EXPECT_TRUE(reader.filer.endReadMembers());
    EXPECT_TRUE(reader.filer.endReadClass());
    int behind = 0;
    EXPECT_TRUE(reader.filer.readInt(u"n", behind));
    EXPECT_EQ(behind, 5);
    EXPECT_EQ(reader.position(), reader.filer.GetFilerLength() - 1);
}

TEST(OKTMemoryFiler, EndReadClass_OpenSection_FalseWhereTheWalkGaveUp)
{
    Reader reader("06 05 01 00 41 02 01 00 00 00 08 02 01 00 00 00 00 01 00 00 09 07");
    EXPECT_TRUE(reader.filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(reader.filer.beginReadMembers(1));
    bool flag = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", flag));
    EXPECT_FALSE(reader.filer.endReadMembers());
    EXPECT_FALSE(reader.filer.endReadClass());
    EXPECT_EQ(reader.position(), 18);
}

TEST(OKTMemoryFiler, ReadFrames_BackToBack_FirstLeavesThePositionOnTheSecond)
{
    Reader reader(std::string(kPointAt123) + kPointAt123);
    OKTGeXYZ point;
    EXPECT_EQ(point.xmlIn(u"m_pnt", &reader.filer), eFilerOk);
    EXPECT_EQ(reader.position(), 52);
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"OKTGeXYZ"));
    EXPECT_EQ(reader.position(), 52);
}

TEST(OKTMemoryFiler, XmlIn_MembersLeftInTheFrame_StatusOkAndTheNextObjectIsFound_Quirk36)
{
    // The first object has a bool behind its id that nobody reads.
    std::string const id = "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00"
                           "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF 09 07";
    std::string const head = "06 05 0B 00 'OKTDbObject' 02 01 00 00 00 08 02 01 00 00 00";
    Reader reader(head + id + "00 01 09 07" + head + id + "09 07");
    TestObject object;
    EXPECT_EQ(object.OKTDbObject::xmlIn(&reader.filer), eFilerOk);
    EXPECT_EQ(object.objectId().getGuid(), kSomeGuid);
    EXPECT_EQ(reader.position(), 74); // in the frame still, on the bool
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"OKTDbObject"));
    EXPECT_EQ(reader.position(), 78);
}

// --- The next object ---------------------------------------------------------------------------------------------------------

TEST(OKTMemoryFiler, ReadNextObjectClass_AtTheStart_NameAndPosition0)
{
    OKTMemoryFiler writing;
    writing.writePoint3d(u"m_pnt", OKTGeXYZ(1.0, 2.0, 3.0));
    CByteArray bytes;
    EXPECT_TRUE(writing.saveFiler(bytes));
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.loadFiler(bytes));
    CString className;
    EXPECT_TRUE(filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"OKTGeXYZ"));
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    EXPECT_TRUE(filer.readNextObjectClass(className)); // asking again changes nothing
    EXPECT_EQ(filer.GetFilerPosition(), 0);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_OtherBytesAhead_PositionComesToStandOnTheFrame)
{
    Reader reader("02 05 00 00 00 07 06 05 03 00 'abc' 02 01 00 00 00 07");
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"abc"));
    EXPECT_EQ(reader.position(), 6);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_NameInAnotherCase_GivenAsStored)
{
    Reader reader("06 05 0B 00 'oktDBobject' 02 01 00 00 00 07");
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"oktDBobject"));
}

TEST(OKTMemoryFiler, ReadNextObjectClass_NoFrame_FalseAndPositionStays)
{
    Reader reader("00 01 02 05 00 00 00 07");
    bool flag = false;
    EXPECT_TRUE(reader.filer.readBool(u"b", flag));
    CString className;
    EXPECT_FALSE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(reader.position(), 2);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_NameCut_FalseWithThePositionOnTheFrame)
{
    Reader reader("00 01 07 06 05 09 00 'abc'");
    CString className(u"before");
    EXPECT_FALSE(reader.filer.readNextObjectClass(className));
    EXPECT_TRUE(className.IsEmpty());
    EXPECT_EQ(reader.position(), 3);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_WhileWriting_False)
{
    OKTMemoryFiler filer;
    filer.writePoint3d(u"m_pnt", OKTGeXYZ(1.0, 2.0, 3.0));
    CString className;
    EXPECT_FALSE(filer.readNextObjectClass(className));
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    EXPECT_EQ(filer.GetFilerLength(), 52);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_PayloadThatReads765_TakenForAFrame_Quirk32)
{
    Reader reader("0A 09 00 00 00 01 07 06 05 03 00 'Bad' 09 07 06 05 04 00 'Good' 02 01 00 00 00 07");
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"Bad"));
    EXPECT_EQ(reader.position(), 7);
}

TEST(OKTMemoryFiler, ReadNextObjectClass_NameWithNonAsciiLetters_InTheCodePage)
{
    CodePageScope const page(932);
    Reader reader("06 05 04 00 93 53 8B D8 02 01 00 00 00 07");
    CString className;
    EXPECT_TRUE(reader.filer.readNextObjectClass(className));
    EXPECT_EQ(className, CString(u"鉄筋"));
}

// --- Writing while bytes are read in place -----------------------------------------------------------------------------------

TEST(OKTMemoryFiler, Write_AfterReadInPlace_FalseAndTheSourceUnchanged)
{
    CByteArray const source = hex("01 34 12 07");
    CByteArray const before(source);
    OKTMemoryFiler filer;
    filer.readInPlace(source);
    for (bool const isWriting : {false, true})
    {
        filer.setInternalIsWriteEnabled(isWriting);
        EXPECT_FALSE(filer.writeInt(u"n", 5));
        EXPECT_FALSE(filer.writeBool(u"n", true));
        EXPECT_FALSE(filer.writeShort(u"n", short{5}));
        EXPECT_FALSE(filer.writeDouble(u"n", 5.0));
        EXPECT_FALSE(filer.writeString(u"n", u"text"));
        EXPECT_FALSE(filer.writeByteArray(u"n", source));
        EXPECT_FALSE(filer.beginWriteClass(u"Object", u"Class", 1));
        EXPECT_FALSE(filer.endWriteClass());
        EXPECT_FALSE(filer.beginWriteMembers(1));
        EXPECT_FALSE(filer.endWriteMembers());
        EXPECT_FALSE(filer.writeObjectId(u"id", OKTDbObjectId::kNull));
        EXPECT_FALSE(filer.writePoint3d(u"pnt", OKTGeXYZ(1.0, 2.0, 3.0)));
        EXPECT_EQ(filer.GetFilerLength(), 4);
    }
    EXPECT_EQ(source, before);
    filer.setInternalIsWriteEnabled(false);
    unsigned short value = 0;
    EXPECT_TRUE(filer.readShort(u"n", value)); // and it reads on
    EXPECT_EQ(value, 0x1234);
}

TEST(OKTMemoryFiler, Write_BytesLoadedAfterReadInPlace_Appended)
{
    CByteArray const source = hex("01 34 12 07");
    OKTMemoryFiler filer;
    filer.readInPlace(source);
    ASSERT_TRUE(filer.loadFiler(hex("00 01")));
    filer.setInternalIsWriteEnabled(true);
    EXPECT_TRUE(filer.writeBool(u"b", false));
    EXPECT_EQ(written(filer), hex("00 01 00 00"));
    EXPECT_EQ(source, hex("01 34 12 07"));
}
