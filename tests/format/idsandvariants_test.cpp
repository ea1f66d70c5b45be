// SPDX-License-Identifier: MIT
#include <oktdatabase/oktfiler.h>

#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktdatabytes.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/streambuilder.h"
#include "support/testobject.h"
#include "support/units.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <limits>

// The forms that ids, lists of ids and variants have in every filer: their bytes, their member names, and what becomes of
// broken ones. Then the translation of ids on its way through the binary filer.

namespace
{
using ::testing::ElementsAre;

char const *const kSome = "{00112233-4455-6677-8899-AABBCCDDEEFF}";
char const *const kSomeFrame = "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00"
                               "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF 09 07";
char const *const kNullFrame = "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00"
                               "02 00 00 00 00 02 00 00 00 00 02 00 00 00 00 02 00 00 00 00 09 07";
char const *const kIdHead = "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00";     // 26 bytes
char const *const kVariantHead = "06 05 0A 00 'OKTVariant' 02 01 00 00 00 08 02 01 00 00 00"; // 25 bytes

std::string frameOf(std::string const &values) { return std::string(kVariantHead) + values + "09 07"; }

tagVARIANT emptyVariant()
{
    tagVARIANT value = {};
    return value;
}

tagVARIANT variantOfKind(int kind)
{
    tagVARIANT value = {};
    value.vt = static_cast<VARTYPE>(kind);
    value.llVal = 0x1122334455667788;
    return value;
}

tagVARIANT variantOfText(char16_t const *text)
{
    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(text);
    return value;
}

/// The filer's own map, with the entries that saveMapTranslatedIds leaves out.
class TranslatingFiler : public OKTMemoryFiler
{
public:
    explicit TranslatingFiler(OKTDbPool *pool = nullptr) : OKTMemoryFiler(pool) { setTranslatedIds(true); }
    IdMap &map() { return m_mapTranslatedIds; }
};

/// A pool with objects whose ids are valid.
struct Objects
{
    OKTDbObjectId add()
    {
        auto *const object = new TestObject;
        EXPECT_TRUE(pool.appendObject(object));
        return object->objectId();
    }
    OKTDbPool pool;
};
} // namespace

// --- Ids: bytes and names ----------------------------------------------------------------------------------------------------

TEST(IdForm, WriteObjectId_SomeId_These48Bytes)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"m_objectId", idOf(kSome)));
    EXPECT_EQ(filer.GetFilerLength(), 48);
    EXPECT_EQ(written(filer), hex(kSomeFrame));
}

TEST(IdForm, WriteObjectId_EveryByteItsOwn_InTheOrderOfMemory)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}")));
    EXPECT_EQ(written(filer), hex("06 05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 02 01 00 00 00 08 02 01 00 00 00"
                                  "02 CC DD EE FF 02 AA BB 88 99 02 77 66 55 44 02 33 22 11 00 09 07"));
}

TEST(IdForm, WriteObjectId_NullId_FrameOfZeros)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", OKTDbObjectId::kNull));
    EXPECT_EQ(written(filer), hex(kNullFrame));
}

TEST(IdForm, WriteObjectId_PoolAndCachedObject_NotStored)
{
    Objects objects;
    TestObject object;
    OKTDbObjectId id = idOf(kSome, &objects.pool);
    id.setObject(&object);
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    EXPECT_EQ(written(filer), hex(kSomeFrame));
}

TEST(IdForm, ReadObjectId_WrittenBefore_ComesBack)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(kSomeFrame));
    OKTDbObjectId id = idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}");
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);
    EXPECT_EQ(id.getPool(), nullptr);
    EXPECT_EQ(filer.GetFilerPosition(), 48);
}

TEST(IdForm, WriteObjectId_Words_HaveExpressionsForNames_Quirk38)
{
    RecordingFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"m_idOwner", idOf(kSome)));
    EXPECT_THAT(filer.allCalls(),
                ElementsAre("writeObjectId m_idOwner {00112233-4455-6677-8899-AABBCCDDEEFF}",
                            "  beginWriteClass m_idOwner OKTObjectId 1", "  beginWriteMembers 1",
                            "  writeInt (int) m_Guid.Data1 1122867", "    writeLong (int) m_Guid.Data1 1122867",
                            "  writeInt ( (int) m_Guid.Data2 ) | ( ( (int) m_Guid.Data3 ) << 16 ) 1719092309",
                            "    writeLong ( (int) m_Guid.Data2 ) | ( ( (int) m_Guid.Data3 ) << 16 ) 1719092309",
                            "  writeInt *( (int*) m_Guid.Data4 ) -1146447480",
                            "    writeLong *( (int*) m_Guid.Data4 ) -1146447480",
                            "  writeInt *( (int*) ( m_Guid.Data4 + 4 ) ) -1122868",
                            "    writeLong *( (int*) ( m_Guid.Data4 + 4 ) ) -1122868", "  endWriteMembers", "  endWriteClass"));
}

TEST(IdForm, ReadObjectId_Words_HaveOtherNamesThanOnWriting_Quirk38)
{
    RecordingFiler filer;
    filer.loadFiler(hex(kSomeFrame));
    OKTDbObjectId id;
    EXPECT_TRUE(filer.readObjectId(u"m_idOwner", id));
    EXPECT_THAT(filer.allCalls(),
                ElementsAre("readObjectId m_idOwner", "  beginReadClass m_idOwner OKTObjectId", "  beginReadMembers 1",
                            "  readInt (int&) m_Guid.Data1", "    readLong (int&) m_Guid.Data1", "  readInt Data",
                            "    readLong Data", "  readInt nDataA", "    readLong nDataA", "  readInt nDataB",
                            "    readLong nDataB", "  endReadMembers", "  endReadClass"));
}

TEST(IdForm, ReadObjectId_SectionsFromTheFuture_PassedOver)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 0B 00 'OKTObjectId' 02 02 00 00 00 08 02 01 00 00 00 02 33 22 11 00 02 55 44 77 66"
                        "02 88 99 AA BB 02 CC DD EE FF 09 08 02 02 00 00 00 0A 03 00 00 00 07 06 05 09 07 00 01"));
    OKTDbObjectId id;
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);
    bool behind = false;
    EXPECT_TRUE(filer.readBool(u"b", behind));
}

// --- Ids: failures -----------------------------------------------------------------------------------------------------------

TEST(IdForm, ReadObjectId_FrameRefused_FalseNullAndThePoolOfTheFiler_Quirk43)
{
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.loadFiler(hex("02 05 00 00 00 07"));
    TestObject cached;
    OKTDbObjectId id = idOf(kSome);
    id.setObject(&cached);
    EXPECT_FALSE(filer.readObjectId(u"id", id));
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(id.getPool(), &pool);
    id.setGuid(idOf(kSome).getGuid());
    EXPECT_EQ(id.getObject(), nullptr); // the cache went with the old value
}

TEST(IdForm, ReadObjectId_NullIdInTheStream_ThePoolOfTheFiler_Quirk43)
{
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.loadFiler(hex(kNullFrame));
    OKTDbObjectId id = idOf(kSome);
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(id.getPool(), &pool);
}

TEST(IdForm, ReadObjectId_FilerWithoutPool_TakesThePoolAway_Quirk43)
{
    OKTDbPool pool;
    OKTMemoryFiler filer;
    filer.loadFiler(hex(kSomeFrame));
    OKTDbObjectId id = idOf(kSome, &pool);
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_EQ(id.getPool(), nullptr);
}

TEST(IdForm, ReadObjectId_EndOfTheStream_FalseNullAndThePoolOfTheFiler_Quirk43)
{
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.loadFiler(CByteArray());
    OKTDbObjectId id = idOf(kSome);
    EXPECT_FALSE(filer.readObjectId(u"id", id));
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(id.getPool(), &pool);
}

TEST(IdForm, ReadObjectId_NoSection_FalseAndNullBehindTheFrame)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 02 00 00 00 09 07 00 01"));
    OKTDbObjectId id = idOf(kSome);
    EXPECT_FALSE(filer.readObjectId(u"id", id));
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(filer.GetFilerPosition(), 28);
}

TEST(IdForm, ReadObjectId_AWordOfAnotherRecord_FalseAndTheFieldsAreAssignedAllTheSame)
{
    struct Row
    {
        char const *what;
        char const *words;
        char const *id;
    };
    // From the bad record on nothing moves, so all words behind it take the failure value 0x80000001.
    Row const rows[] = {
        {"first", "01 33 22 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF", "{80000001-0001-8000-0100-008001000080}"},
        {"second", "02 33 22 11 00 01 55 44 02 88 99 AA BB 02 CC DD EE FF", "{00112233-0001-8000-0100-008001000080}"},
        {"third", "02 33 22 11 00 02 55 44 77 66 01 88 99 02 CC DD EE FF", "{00112233-4455-6677-0100-008001000080}"},
        {"fourth", "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 01 CC DD", "{00112233-4455-6677-8899-AABB01000080}"},
    };
    for (Row const &row : rows)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(hex(std::string(kIdHead) + row.words + "09 07"));
        OKTDbObjectId id;
        EXPECT_FALSE(filer.readObjectId(u"id", id)) << row.what;
        EXPECT_EQ(textOf(id), row.id) << row.what;
    }
}

TEST(IdForm, WriteObjectId_FrameRefused_FalseAndNothingWritten)
{
    RecordingFiler filer;
    filer.failInsideAt("beginWriteClass", 1);
    EXPECT_FALSE(filer.writeObjectId(u"id", idOf(kSome)));
    EXPECT_EQ(filer.GetFilerLength(), 0);
}

TEST(IdForm, WriteObjectId_SectionRefused_FalseAndAnEmptyFrame)
{
    RecordingFiler filer;
    filer.failInsideAt("beginWriteMembers", 1);
    EXPECT_FALSE(filer.writeObjectId(u"id", idOf(kSome)));
    EXPECT_EQ(written(filer), hex("06 05 0B 00 'OKTObjectId' 02 01 00 00 00 07"));
}

TEST(IdForm, WriteObjectId_AWordRefused_FalseAndTheOthersWritten)
{
    RecordingFiler filer;
    filer.failInsideAt("writeInt", 2);
    EXPECT_FALSE(filer.writeObjectId(u"id", idOf(kSome)));
    EXPECT_EQ(written(filer), hex(std::string(kIdHead) + "02 33 22 11 00 02 88 99 AA BB 02 CC DD EE FF 09 07"));
}

// --- Lists of ids ------------------------------------------------------------------------------------------------------------

TEST(IdList, WriteObjectIdArray_TwoIds_CountAndFrames)
{
    IdArray ids;
    ids.append(idOf(kSome));
    ids.append(OKTDbObjectId::kNull);
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectIdArray(u"m_tabIds", ids));
    EXPECT_EQ(written(filer), hex(std::string("02 02 00 00 00") + kSomeFrame + kNullFrame));
}

TEST(IdList, WriteObjectIdArray_Empty_CountOfZero)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeObjectIdArray(u"m_tabIds", IdArray()));
    EXPECT_EQ(written(filer), hex("02 00 00 00 00"));
}

TEST(IdList, WriteObjectIdArray_Names_LengthJoinedInFrontAndIndexBehind_Quirk42)
{
    IdArray ids;
    ids.append(idOf(kSome));
    ids.append(OKTDbObjectId::kNull, 10);
    ScriptedFiler filer;
    EXPECT_TRUE(filer.writeObjectIdArray(u"m_tabIds", ids));
    ASSERT_EQ(filer.calls().size(), 12u);
    EXPECT_EQ(filer.calls()[0], "writeInt Lengthm_tabIds 11");
    EXPECT_EQ(filer.calls()[1], "writeObjectId m_tabIds.0 {00112233-4455-6677-8899-AABBCCDDEEFF}");
    EXPECT_EQ(filer.calls()[2], "writeObjectId m_tabIds.1 {00000000-0000-0000-0000-000000000000}");
    EXPECT_EQ(filer.calls()[11], "writeObjectId m_tabIds.10 {00000000-0000-0000-0000-000000000000}");
}

TEST(IdList, ReadObjectIdArray_Names_ThoseOfWriting_Quirk42)
{
    ScriptedFiler filer;
    filer.giveInt(2);
    filer.giveObjectId(idOf(kSome));
    filer.giveObjectId(OKTDbObjectId::kNull);
    IdArray ids;
    EXPECT_TRUE(filer.readObjectIdArray(u"m_tabIds", ids));
    EXPECT_THAT(filer.calls(), ElementsAre("readInt Lengthm_tabIds", "readObjectId m_tabIds.0", "readObjectId m_tabIds.1"));
    ASSERT_EQ(ids.getSize(), 2);
    EXPECT_EQ(textOf(ids.at(0)), kSome);
}

TEST(IdList, ObjectIdArray_EmptyName_LengthAndBareIndexes_Quirk42)
{
    IdArray ids;
    ids.append(OKTDbObjectId::kNull);
    ScriptedFiler filer;
    EXPECT_TRUE(filer.writeObjectIdArray(u"", ids));
    EXPECT_THAT(filer.calls(), ElementsAre("writeInt Length 1", "writeObjectId .0 {00000000-0000-0000-0000-000000000000}"));
}

TEST(IdList, ObjectIdArray_NameWithAFormatMark_TakenAsText)
{
    IdArray ids;
    ids.append(OKTDbObjectId::kNull);
    ScriptedFiler filer;
    EXPECT_TRUE(filer.writeObjectIdArray(u"100%d", ids));
    EXPECT_THAT(filer.calls(),
                ElementsAre("writeInt Length100%d 1", "writeObjectId 100%d.0 {00000000-0000-0000-0000-000000000000}"));
}

TEST(IdList, WriteObjectIdArray_CountRefused_FalseAndNothingMore)
{
    IdArray ids;
    ids.append(idOf(kSome), 3);
    ScriptedFiler filer;
    filer.failAt("writeInt", 1);
    EXPECT_FALSE(filer.writeObjectIdArray(u"m_tabIds", ids));
    EXPECT_EQ(filer.calls().size(), 1u);
}

TEST(IdList, WriteObjectIdArray_AnIdRefused_FalseAtOnce)
{
    IdArray ids;
    ids.append(idOf(kSome), 3);
    ScriptedFiler filer;
    filer.failAt("writeObjectId", 2);
    EXPECT_FALSE(filer.writeObjectIdArray(u"m_tabIds", ids));
    EXPECT_EQ(filer.calls().size(), 3u);
}

TEST(IdList, ReadObjectIdArray_WrittenBefore_ReplacesTheList)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(std::string("02 02 00 00 00") + kSomeFrame + kNullFrame));
    IdArray ids;
    ids.append(idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}"), 5);
    EXPECT_TRUE(filer.readObjectIdArray(u"any name", ids));
    ASSERT_EQ(ids.getSize(), 2);
    EXPECT_EQ(textOf(ids.at(0)), kSome);
    EXPECT_TRUE(ids.at(1).isNull());
    EXPECT_EQ(filer.GetFilerPosition(), 5 + 48 + 48);
}

TEST(IdList, ReadObjectIdArray_ThirdIdDamaged_FalseWithTwoIds)
{
    OKTMemoryFiler filer;
    filer.loadFiler(
        hex(std::string("02 03 00 00 00") + kSomeFrame + kNullFrame + "06 05 0B 00 'OKTObjectIe' 02 01 00 00 00 07"));
    IdArray ids;
    EXPECT_FALSE(filer.readObjectIdArray(u"m_tabIds", ids));
    ASSERT_EQ(ids.getSize(), 2);
    EXPECT_EQ(textOf(ids.at(0)), kSome);
    EXPECT_TRUE(ids.at(1).isNull());
}

TEST(IdList, ReadObjectIdArray_NoCount_FalseAndEmptied)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("01 02 00 07 07 07"));
    IdArray ids;
    ids.append(idOf(kSome));
    EXPECT_FALSE(filer.readObjectIdArray(u"m_tabIds", ids));
    EXPECT_EQ(ids.getSize(), 0);
    EXPECT_EQ(filer.GetFilerPosition(), 0);
}

TEST(IdList, ReadObjectIdArray_CountOfZeroOrBelow_TrueAndEmpty)
{
    for (char const *const count : {"00 00 00 00", "FF FF FF FF", "00 00 00 80"})
    {
        OKTMemoryFiler filer;
        filer.loadFiler(hex(std::string("02 ") + count + kSomeFrame));
        IdArray ids;
        ids.append(idOf(kSome));
        EXPECT_TRUE(filer.readObjectIdArray(u"m_tabIds", ids)) << count;
        EXPECT_EQ(ids.getSize(), 0) << count;
        EXPECT_EQ(filer.GetFilerPosition(), 5) << count;
    }
}

TEST(IdList, ReadObjectIdArray_LargestCountWithOneId_FalseWithThatIdAtOnce)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(std::string("02 FF FF FF 7F") + kSomeFrame));
    IdArray ids;
    EXPECT_FALSE(filer.readObjectIdArray(u"m_tabIds", ids));
    EXPECT_EQ(ids.getSize(), 1);
}

// --- Variants: bytes there and back ------------------------------------------------------------------------------------------

TEST(VariantForm, WriteVariant_EachStoredKind_TheseBytes)
{
    struct Row
    {
        char const *what;
        tagVARIANT value;
        char const *values;
    };
    std::vector<Row> rows;
    auto const add = [&rows](char const *what, VARTYPE kind, auto const &set, char const *values) {
        tagVARIANT value = emptyVariant();
        value.vt = kind;
        set(value);
        rows.push_back({what, value, values});
    };
    add(
        "VT_I2 -2", VT_I2, [](tagVARIANT &v) { v.iVal = -2; }, "02 02 00 00 00 01 FE FF");
    add(
        "VT_I2 32767", VT_I2, [](tagVARIANT &v) { v.iVal = 32767; }, "02 02 00 00 00 01 FF 7F");
    add(
        "VT_I2 with other data above", VT_I2, [](tagVARIANT &v) { v.llVal = 0x7777777777777777, v.iVal = 1; },
        "02 02 00 00 00 01 01 00");
    add(
        "VT_I4 -2", VT_I4, [](tagVARIANT &v) { v.lVal = -2; }, "02 03 00 00 00 02 FE FF FF FF");
    add(
        "VT_I4 smallest", VT_I4, [](tagVARIANT &v) { v.lVal = INT_MIN; }, "02 03 00 00 00 02 00 00 00 80");
    add(
        "VT_I4 with other data above", VT_I4, [](tagVARIANT &v) { v.llVal = 0x7777777777777777, v.lVal = 1; },
        "02 03 00 00 00 02 01 00 00 00");
    add(
        "VT_R8 2500.0", VT_R8, [](tagVARIANT &v) { v.dblVal = 2500.0; }, "02 05 00 00 00 03 00 00 00 00 00 88 A3 40");
    add(
        "VT_BOOL true", VT_BOOL, [](tagVARIANT &v) { v.boolVal = VARIANT_TRUE; }, "02 0B 00 00 00 02 FF FF FF FF");
    add(
        "VT_BOOL false", VT_BOOL, [](tagVARIANT &v) { v.boolVal = VARIANT_FALSE; }, "02 0B 00 00 00 02 00 00 00 00");
    add(
        "VT_BOOL 1", VT_BOOL, [](tagVARIANT &v) { v.boolVal = 1; }, "02 0B 00 00 00 02 01 00 00 00");
    add(
        "VT_BOOL with other data above", VT_BOOL, [](tagVARIANT &v) { v.llVal = 0x7777777777777777, v.boolVal = VARIANT_TRUE; },
        "02 0B 00 00 00 02 FF FF FF FF");
    add(
        "VT_BSTR null", VT_BSTR, [](tagVARIANT &v) { v.bstrVal = nullptr; }, "02 08 00 00 00 04 00 00");
    for (Row const &row : rows)
    {
        OKTMemoryFiler filer;
        EXPECT_TRUE(filer.writeVariant(u"m_varValue", row.value)) << row.what;
        EXPECT_EQ(written(filer), hex(frameOf(row.values))) << row.what;
    }
}

TEST(VariantForm, WriteVariant_AFloat_WidenedToADouble_Quirk39)
{
    OKTMemoryFiler filer;
    tagVARIANT value = emptyVariant();
    value.vt = VT_R4;
    value.fltVal = 1.5f;
    EXPECT_TRUE(filer.writeVariant(u"v", value));
    value.fltVal = 0.1f;
    EXPECT_TRUE(filer.writeVariant(u"v", value));
    EXPECT_EQ(written(filer),
              hex(frameOf("02 04 00 00 00 03 00 00 00 00 00 00 F8 3F") + frameOf("02 04 00 00 00 03 00 00 00 A0 99 99 B9 3F")));
}

TEST(VariantForm, ReadVariant_AFloat_ADoubleThatSaysFloat_Quirk39)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("02 04 00 00 00 03 00 00 00 00 00 00 F8 3F")));
    tagVARIANT value = emptyVariant();
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_R4);
    EXPECT_EQ(OktDataAsDouble(value), 1.5);
    EXPECT_EQ(value.fltVal, 0.0f); // what a caller gets that believes the kind
}

TEST(VariantForm, WriteVariant_AString_WideRecord)
{
    tagVARIANT value = variantOfText(u"Ø10");
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeVariant(u"v", value));
    EXPECT_EQ(written(filer), hex(frameOf("02 08 00 00 00 04 03 00 D8 00 31 00 30 00")));
    VariantClear(&value);
}

TEST(VariantForm, WriteVariant_AStringInEightBitMode_EightBitRecordThatIsReadInThatModeOnly)
{
    tagVARIANT value = variantOfText(u"Ø10");
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    EXPECT_TRUE(filer.writeVariant(u"v", value));
    VariantClear(&value);
    CByteArray const bytes = written(filer);
    EXPECT_EQ(bytes, hex(frameOf("02 08 00 00 00 05 03 00 D8 31 30")));

    filer.loadFiler(bytes);
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(CString(value.bstrVal), CString(u"Ø10"));
    VariantClear(&value);

    filer.loadFiler(bytes);
    filer.setIsAnsiString(false);
    EXPECT_FALSE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_BSTR);
    ASSERT_NE(value.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(value.bstrVal), 0u);
    VariantClear(&value);
}

TEST(VariantForm, WriteVariant_Names_VartypeAndVarvalue)
{
    struct Row
    {
        VARTYPE kind;
        char const *value;
    };
    for (Row const row : {Row{VT_I2, "writeShort varvalue 0"}, Row{VT_I4, "writeLong varvalue 0"},
                          Row{VT_R4, "writeDouble varvalue 0"}, Row{VT_R8, "writeDouble varvalue 0"},
                          Row{VT_BSTR, "writeString varvalue \"\""}, Row{VT_BOOL, "writeLong varvalue 0"}})
    {
        ScriptedFiler filer;
        tagVARIANT value = emptyVariant();
        value.vt = row.kind;
        EXPECT_EQ(ScriptedFiler::xmlOutVariant(u"m_varValue", value, &filer), eFilerOk);
        EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass m_varValue OKTVariant 1", "beginWriteMembers 1",
                                               "writeLong vartype " + std::to_string(row.kind), row.value, "endWriteMembers",
                                               "endWriteClass"));
    }
}

TEST(VariantForm, ReadVariant_Names_VartypeAndVarvalue)
{
    struct Row
    {
        VARTYPE kind;
        char const *value;
    };
    for (Row const row :
         {Row{VT_I2, "readShort varvalue"}, Row{VT_I4, "readLong varvalue"}, Row{VT_R4, "readDouble varvalue"},
          Row{VT_R8, "readDouble varvalue"}, Row{VT_BSTR, "readString varvalue"}, Row{VT_BOOL, "readLong varvalue"}})
    {
        ScriptedFiler filer;
        filer.giveLong(row.kind);
        tagVARIANT value = emptyVariant();
        EXPECT_EQ(ScriptedFiler::xmlInVariant(u"m_varValue", value, &filer), eFilerOk);
        EXPECT_EQ(value.vt, row.kind);
        EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass m_varValue OKTVariant", "beginReadMembers 1", "readLong vartype",
                                               row.value, "endReadMembers", "endReadClass"));
        VariantClear(&value);
    }
}

TEST(VariantForm, ReadVariant_EachStoredKind_ValueAndKind)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("02 02 00 00 00 01 FE FF") + frameOf("02 03 00 00 00 02 FE FF FF FF") +
                        frameOf("02 05 00 00 00 03 00 00 00 00 00 88 A3 40") + frameOf("02 0B 00 00 00 02 FF FF FF FF") +
                        frameOf("02 08 00 00 00 04 02 00 41 00 42 00") + frameOf("02 08 00 00 00 04 00 00")));
    tagVARIANT value = emptyVariant();
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_I2);
    EXPECT_EQ(value.iVal, -2);
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, -2);
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_R8);
    EXPECT_EQ(value.dblVal, 2500.0);
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_BOOL);
    EXPECT_EQ(value.boolVal, VARIANT_TRUE);
    EXPECT_EQ(value.lVal, -1); // the low 32 bits are read
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(CString(value.bstrVal), CString(u"AB"));
    EXPECT_EQ(SysStringLen(value.bstrVal), 2u);
    VariantClear(&value);
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_BSTR);
    ASSERT_NE(value.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(value.bstrVal), 0u);
    VariantClear(&value);
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength());
}

TEST(VariantForm, ReadVariant_HigherBitsInTheStoredKind_CutTo16)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("02 03 00 01 7F 02 05 00 00 00")));
    tagVARIANT value = emptyVariant();
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 5);
}

// --- Variants: kinds without a form ------------------------------------------------------------------------------------------

TEST(VariantForm, WriteVariant_KindWithoutAForm_FalseAndAFrameWithoutAValue_Quirk40)
{
    struct Row
    {
        int kind;
        char const *stored;
    };
    Row const rows[] = {
        {VT_EMPTY, "00 00 00 00"},
        {VT_NULL, "01 00 00 00"},
        {VT_CY, "06 00 00 00"},
        {VT_DATE, "07 00 00 00"},
        {VT_DISPATCH, "09 00 00 00"},
        {VT_ERROR, "0A 00 00 00"},
        {VT_VARIANT, "0C 00 00 00"},
        {VT_UNKNOWN, "0D 00 00 00"},
        {VT_DECIMAL, "0E 00 00 00"},
        {15, "0F 00 00 00"},
        {VT_I1, "10 00 00 00"},
        {VT_UI1, "11 00 00 00"},
        {VT_UI2, "12 00 00 00"},
        {VT_UI4, "13 00 00 00"},
        {VT_I8, "14 00 00 00"},
        {VT_UI8, "15 00 00 00"},
        {VT_INT, "16 00 00 00"},
        {VT_UINT, "17 00 00 00"},
        {VT_HRESULT, "19 00 00 00"},
        {VT_ARRAY | VT_R8, "05 20 00 00"},
        {VT_ARRAY | VT_BSTR, "08 20 00 00"},
        {VT_BYREF | VT_I4, "03 40 00 00"},
        {VT_BYREF | VT_ARRAY | VT_I2, "02 60 00 00"},
        {0x8003, "03 80 00 00"},
        {0xFFFF, "FF FF 00 00"},
    };
    for (Row const &row : rows)
    {
        SCOPED_TRACE(row.kind);
        OKTMemoryFiler filer;
        EXPECT_FALSE(filer.writeVariant(u"v", variantOfKind(row.kind)));
        CByteArray const bytes = written(filer);
        EXPECT_EQ(bytes, hex(frameOf(std::string("02 ") + row.stored)));
        EXPECT_EQ(RecordingFiler::xmlOutVariant(u"v", variantOfKind(row.kind), &filer), eFilerMemberFailed);

        filer.loadFiler(bytes);
        tagVARIANT value = variantOfKind(VT_R8);
        EXPECT_FALSE(filer.readVariant(u"v", value));
        EXPECT_EQ(value.vt, row.kind);
        EXPECT_EQ(filer.GetFilerPosition(), bytes.GetSize());
        filer.loadFiler(bytes);
        EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
        EXPECT_EQ(value.vt, row.kind);
    }
}

TEST(VariantForm, ReadVariant_KindWithoutAFormWithAValueBehind_FalseAndTheWalkGivesUpOnIt_Quirk40)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("02 06 00 00 00 02 05 00 00 00")));
    tagVARIANT value = emptyVariant();
    EXPECT_FALSE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_CY);
    EXPECT_EQ(filer.GetFilerPosition(), 30);
}

// --- Variants: failures ------------------------------------------------------------------------------------------------------

TEST(VariantForm, ReadVariant_TargetHoldsAString_ItIsNotFreed_Quirk41)
{
    BSTR const before = SysAllocString(u"before");
    tagVARIANT value = emptyVariant();
    value.vt = VT_BSTR;
    value.bstrVal = before;
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("02 08 00 00 00 04 01 00 41 00")));
    EXPECT_TRUE(filer.readVariant(u"v", value));
    EXPECT_NE(value.bstrVal, before);
    EXPECT_EQ(CString(value.bstrVal), CString(u"A"));
    EXPECT_EQ(CString(before), CString(u"before")); // still alive, and the caller's
    VariantClear(&value);
    SysFreeString(before);
}

TEST(VariantForm, ReadVariant_FrameRefused_KindNullAndTheStringNotFreed_Quirk41)
{
    BSTR const before = SysAllocString(u"before");
    tagVARIANT value = emptyVariant();
    value.vt = VT_BSTR;
    value.bstrVal = before;
    OKTMemoryFiler filer;
    filer.loadFiler(hex("00 01"));
    EXPECT_FALSE(filer.readVariant(u"v", value));
    EXPECT_EQ(value.vt, VT_NULL);
    EXPECT_EQ(value.bstrVal, before);
    EXPECT_EQ(CString(before), CString(u"before"));
    SysFreeString(before);
}

TEST(VariantForm, ReadVariant_FrameRefused_Status4)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 0A 00 'OKTVariand' 02 01 00 00 00 07"));
    tagVARIANT value = variantOfKind(VT_R8);
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerClassFailed);
    EXPECT_EQ(value.vt, VT_NULL);
}

TEST(VariantForm, ReadVariant_NoSection_Status5AndKindNullBehindTheFrame)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 0A 00 'OKTVariant' 02 01 00 00 00 08 02 02 00 00 00 00 01 09 07"));
    tagVARIANT value = variantOfKind(VT_R8);
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerNoMembers);
    EXPECT_EQ(value.vt, VT_NULL);
    EXPECT_EQ(filer.GetFilerPosition(), 29);
}

TEST(VariantForm, ReadVariant_KindOfAnotherRecord_Status1WithTheLowBitsOfTheFailureValue)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(frameOf("01 03 00 02 05 00 00 00")));
    tagVARIANT value = variantOfKind(VT_R8);
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_NULL); // 0x80000001
}

TEST(VariantForm, ReadVariant_ValueOfAnotherRecord_Status1WithTheFailureValue)
{
    OKTMemoryFiler filer;
    tagVARIANT value = emptyVariant();

    filer.loadFiler(hex(frameOf("02 02 00 00 00 02 05 00 00 00")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_I2);
    EXPECT_EQ(value.iVal, -1);

    filer.loadFiler(hex(frameOf("02 03 00 00 00 01 05 00")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, -2147483647);

    filer.loadFiler(hex(frameOf("02 05 00 00 00 02 05 00 00 00")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_R8);
    EXPECT_EQ(value.dblVal, -std::numeric_limits<double>::max());

    filer.loadFiler(hex(frameOf("02 04 00 00 00 02 05 00 00 00")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_R4);
    EXPECT_EQ(OktDataAsDouble(value), -std::numeric_limits<double>::max());

    filer.loadFiler(hex(frameOf("02 0B 00 00 00 00 01")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_BOOL);
    EXPECT_EQ(OktDataAsLong(value), -2147483647);
    EXPECT_EQ(value.boolVal, 1);

    filer.loadFiler(hex(frameOf("02 08 00 00 00 00 01")));
    EXPECT_EQ(RecordingFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed);
    EXPECT_EQ(value.vt, VT_BSTR);
    ASSERT_NE(value.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(value.bstrVal), 0u);
    VariantClear(&value);
}

TEST(VariantForm, WriteVariant_RefusedFrameSectionOrMember_Status4Or5Or1)
{
    tagVARIANT value = emptyVariant();
    value.vt = VT_I4;
    value.lVal = 5;

    ScriptedFiler noFrame;
    noFrame.failAt("beginWriteClass", 1);
    EXPECT_EQ(ScriptedFiler::xmlOutVariant(u"v", value, &noFrame), eFilerClassFailed);
    EXPECT_EQ(noFrame.calls().size(), 1u);

    ScriptedFiler noSection;
    noSection.failAt("beginWriteMembers", 1);
    EXPECT_EQ(ScriptedFiler::xmlOutVariant(u"v", value, &noSection), eFilerNoMembers);
    EXPECT_THAT(noSection.calls(), ElementsAre("beginWriteClass v OKTVariant 1", "beginWriteMembers 1", "endWriteClass"));

    for (int member = 1; member <= 2; ++member)
    {
        ScriptedFiler noMember;
        noMember.failAt("writeLong", member);
        EXPECT_EQ(ScriptedFiler::xmlOutVariant(u"v", value, &noMember), eFilerMemberFailed);
        EXPECT_THAT(noMember.calls(),
                    ElementsAre("beginWriteClass v OKTVariant 1", "beginWriteMembers 1", "writeLong vartype 3",
                                "writeLong varvalue 5", "endWriteMembers", "endWriteClass"));
    }
}

TEST(VariantForm, Variant_AnExceptionInside_ReportedAndWriteIsTrue_Quirk6)
{
    ReportCatcher const reports;
    RecordingFiler filer;
    filer.throwAt("writeLong", 1);
    tagVARIANT value = emptyVariant();
    value.vt = VT_I4;
    EXPECT_EQ(RecordingFiler::xmlOutVariant(u"v", value, &filer), eFilerOk);
    EXPECT_EQ(written(filer), hex(kVariantHead));
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_EQ(reports.texts()[0].substr(0, 11), "\n\\oktfiler@");
}

// --- Translated ids ----------------------------------------------------------------------------------------------------------

TEST(TranslatedIds, WriteObjectId_ValidId_OldIdInTheStreamAndAFreshOneInTheMap)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    TranslatingFiler filer(&objects.pool);
    EXPECT_TRUE(filer.writeObjectId(u"id", id));

    OKTMemoryFiler plain;
    EXPECT_TRUE(plain.writeObjectId(u"id", id));
    EXPECT_EQ(written(filer), written(plain));

    ASSERT_EQ(filer.map().getSize(), 1);
    EXPECT_EQ(filer.map().keyAt(0), id);
    EXPECT_FALSE(filer.map().valueAt(0).isNull());
    EXPECT_NE(filer.map().valueAt(0), id);
    EXPECT_EQ(filer.map().valueAt(0).getPool(), &objects.pool);
}

TEST(TranslatedIds, WriteObjectId_FilerWithoutPool_TheFreshIdHasNone)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    TranslatingFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    ASSERT_EQ(filer.map().getSize(), 1);
    EXPECT_FALSE(filer.map().valueAt(0).isNull());
    EXPECT_EQ(filer.map().valueAt(0).getPool(), nullptr);
}

TEST(TranslatedIds, WriteObjectId_Twice_OneEntryAndNoNewId)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    TranslatingFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    OKTDbObjectId const fresh = filer.map().valueAt(0);
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    ASSERT_EQ(filer.map().getSize(), 1);
    EXPECT_EQ(filer.map().valueAt(0), fresh);
}

TEST(TranslatedIds, WriteObjectId_TwoIds_TwoEntries)
{
    Objects objects;
    OKTDbObjectId const first = objects.add();
    OKTDbObjectId const second = objects.add();
    TranslatingFiler filer;
    EXPECT_TRUE(filer.writeObjectId(u"id", first));
    EXPECT_TRUE(filer.writeObjectId(u"id", second));
    ASSERT_EQ(filer.map().getSize(), 2);
    EXPECT_TRUE(filer.map().contains(first));
    EXPECT_TRUE(filer.map().contains(second));
    EXPECT_NE(filer.map().valueAt(0), filer.map().valueAt(1));
}

TEST(TranslatedIds, WriteObjectId_IdThatIsNotValid_NoEntry)
{
    Objects objects;
    auto *const removed = new TestObject;
    ASSERT_TRUE(objects.pool.appendObject(removed));
    OKTDbObjectId const gone = removed->objectId();
    ASSERT_NE(gone.getObject(), nullptr);
    ASSERT_TRUE(objects.pool.removeObject(removed));
    OKTDbObjectId withoutPool = objects.add();
    withoutPool.fixPoolPointer(nullptr);

    TranslatingFiler filer(&objects.pool);
    EXPECT_TRUE(filer.writeObjectId(u"null", OKTDbObjectId::kNull));
    EXPECT_TRUE(filer.writeObjectId(u"unknown", idOf(kSome, &objects.pool)));
    EXPECT_TRUE(filer.writeObjectId(u"without pool", withoutPool));
    EXPECT_TRUE(filer.writeObjectId(u"gone", gone));
    EXPECT_TRUE(filer.map().isEmpty());
    EXPECT_EQ(filer.GetFilerLength(), 4 * 48);
    delete removed;
}

TEST(TranslatedIds, WriteObjectId_TranslationOff_NoEntry)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    TranslatingFiler filer;
    filer.setTranslatedIds(false);
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    EXPECT_TRUE(filer.map().isEmpty());
}

TEST(TranslatedIds, WriteObjectId_WriteFails_NoEntry)
{
    class RefusingFiler : public TranslatingFiler
    {
    public:
        bool writeInt(CString const &, int const &) override { return false; }
        using OKTMemoryFiler::writeInt;
    };
    Objects objects;
    OKTDbObjectId const id = objects.add();
    RefusingFiler filer;
    EXPECT_FALSE(filer.writeObjectId(u"id", id));
    EXPECT_TRUE(filer.map().isEmpty());
}

TEST(TranslatedIds, WriteObjectId_EntryThatWasLoaded_Kept)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    IdMap map;
    map[id] = idOf(kSome);
    TranslatingFiler filer;
    EXPECT_TRUE(filer.loadMapTranslatedIds(map));
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    ASSERT_EQ(filer.map().getSize(), 1);
    EXPECT_EQ(textOf(filer.map().valueAt(0)), kSome);
}

TEST(TranslatedIds, ReadObjectId_IdInTheMap_ReplacedByACopyOfItsValue)
{
    Objects objects;
    OKTDbPool other;
    OKTDbObjectId const target = idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}", &other);
    TranslatingFiler filer(&objects.pool);
    filer.map()[idOf(kSome)] = target;
    filer.loadFiler(hex(kSomeFrame));
    OKTDbObjectId id;
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_EQ(id, target);
    EXPECT_EQ(id.getPool(), &other);
}

TEST(TranslatedIds, ReadObjectId_NotInTheMapOrEmptyMapOrOff_AsRead)
{
    OKTDbPool pool;
    OKTDbObjectId id;
    TranslatingFiler empty(&pool);
    empty.loadFiler(hex(kSomeFrame));
    EXPECT_TRUE(empty.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);
    EXPECT_EQ(id.getPool(), &pool);

    TranslatingFiler unknown(&pool);
    unknown.map()[idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}")] = OKTDbObjectId::kNull;
    unknown.loadFiler(hex(kSomeFrame));
    EXPECT_TRUE(unknown.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);

    TranslatingFiler off(&pool);
    off.map()[idOf(kSome)] = OKTDbObjectId::kNull;
    off.setTranslatedIds(false);
    off.loadFiler(hex(kSomeFrame));
    EXPECT_TRUE(off.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);
}

TEST(TranslatedIds, ReadObjectId_ReadFails_NotTranslated)
{
    TranslatingFiler filer;
    filer.map()[OKTDbObjectId::kNull] = idOf(kSome);
    filer.loadFiler(hex("00 01"));
    OKTDbObjectId id;
    EXPECT_FALSE(filer.readObjectId(u"id", id));
    EXPECT_TRUE(id.isNull());
}

TEST(TranslatedIds, ReadObjectId_NullIdThatTheMapHolds_Translated)
{
    TranslatingFiler filer;
    filer.map()[OKTDbObjectId::kNull] = idOf(kSome);
    filer.loadFiler(hex(kNullFrame));
    OKTDbObjectId id;
    EXPECT_TRUE(filer.readObjectId(u"id", id));
    EXPECT_EQ(textOf(id), kSome);
}

TEST(TranslatedIds, WriteAndRead_ThroughOneFiler_TheFreshIdComesBack)
{
    Objects objects;
    OKTDbObjectId const id = objects.add();
    TranslatingFiler filer(&objects.pool);
    EXPECT_TRUE(filer.writeObjectId(u"id", id));
    filer.setInternalIsWriteEnabled(false);
    OKTDbObjectId back;
    EXPECT_TRUE(filer.readObjectId(u"id", back));
    EXPECT_EQ(back, filer.map().valueAt(0));
    EXPECT_NE(back, id);
}

TEST(TranslatedIds, LoadMap_IntoAFilledOne_MergesAndTakesTheNewValue)
{
    char const *const kOther = "{FFEEDDCC-BBAA-9988-7766-554433221100}";
    char const *const kThird = "{11111111-2222-3333-4444-555555555555}";
    TranslatingFiler filer;
    IdMap first;
    first[idOf(kSome)] = idOf(kOther);
    first[idOf(kOther)] = idOf(kOther);
    EXPECT_TRUE(filer.loadMapTranslatedIds(first));
    IdMap second;
    second[idOf(kSome)] = idOf(kThird);
    second[idOf(kThird)] = OKTDbObjectId::kNull;
    EXPECT_TRUE(filer.loadMapTranslatedIds(second));
    ASSERT_EQ(filer.map().getSize(), 3);
    EXPECT_EQ(textOf(*filer.map().find(idOf(kSome))), kThird);
    EXPECT_EQ(textOf(*filer.map().find(idOf(kOther))), kOther);
    EXPECT_TRUE(filer.map().find(idOf(kThird))->isNull());
    EXPECT_TRUE(filer.loadMapTranslatedIds(IdMap()));
    EXPECT_EQ(filer.map().getSize(), 3);
    EXPECT_EQ(second.getSize(), 2);
}

TEST(TranslatedIds, SaveMap_EmptyFiler_TrueAndTheMapAsItWas)
{
    OKTMemoryFiler filer;
    IdMap map;
    map[idOf(kSome)] = OKTDbObjectId::kNull;
    EXPECT_TRUE(filer.saveMapTranslatedIds(map));
    ASSERT_EQ(map.getSize(), 1);
    EXPECT_EQ(textOf(map.keyAt(0)), kSome);
    EXPECT_TRUE(map.valueAt(0).isNull());
}

TEST(TranslatedIds, SaveMap_MixedEntries_OnlyThoseWithValidKeyAndAValue)
{
    Objects objects;
    OKTDbObjectId const good = objects.add();
    OKTDbObjectId const toNull = objects.add();
    OKTDbObjectId const already = objects.add();
    OKTMemoryFiler filer;
    IdMap entries;
    entries[good] = idOf(kSome);
    entries[toNull] = OKTDbObjectId::kNull;                         // no value
    entries[OKTDbObjectId::kNull] = idOf(kSome);                    // no key
    entries[idOf(kSome, &objects.pool)] = idOf(kSome);              // no object of the pool
    entries[idOf("{11111111-2222-3333-4444-555555555555}")] = good; // no pool
    entries[already] = idOf(kSome);
    EXPECT_TRUE(filer.loadMapTranslatedIds(entries));

    OKTDbObjectId const kept = idOf("{FFEEDDCC-BBAA-9988-7766-554433221100}");
    IdMap map;
    map[already] = kept; // takes the new value
    map[kept] = kept;    // stays
    EXPECT_TRUE(filer.saveMapTranslatedIds(map));
    ASSERT_EQ(map.getSize(), 3);
    ASSERT_NE(map.find(good), nullptr);
    EXPECT_EQ(textOf(*map.find(good)), kSome);
    EXPECT_EQ(textOf(*map.find(already)), kSome);
    EXPECT_EQ(*map.find(kept), kept);
}

// --- Kinds from a stream that would own memory -------------------------------------------------------------------------------

TEST(VariantForm, ReadVariant_EveryKindWithoutAForm_NoPointerIsLeftBehind_Quirk40)
{
    unsigned char const zero[16] = {};
    int kinds = 0;
    for (int kind = 0; kind <= 0xFFFF; ++kind)
    {
        if (kind == VT_I2 || kind == VT_I4 || kind == VT_R4 || kind == VT_R8 || kind == VT_BSTR || kind == VT_BOOL)
            continue;
        ++kinds;
        ScriptedFiler filer;
        filer.giveLong(kind);
        tagVARIANT value;
        std::memset(&value, 0xCC, sizeof value);
        ASSERT_EQ(ScriptedFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed) << kind;
        ASSERT_EQ(value.vt, kind);
        static_assert(sizeof value == offsetof(tagVARIANT, llVal) + sizeof zero);
        ASSERT_EQ(std::memcmp(&value.llVal, zero, sizeof zero), 0) << kind;
        VariantClear(&value); // frees nothing that the stream named
    }
    EXPECT_EQ(kinds, 65536 - 6);
}

TEST(VariantForm, ReadVariant_KindsBeyondSixteenBits_CutAndNoPointerIsLeftBehind)
{
    unsigned char const zero[16] = {};
    for (long const kind : {0x12000L, 0x7FFF2011L, -1L, -0x7FFFDFF8L})
    {
        ScriptedFiler filer;
        filer.giveLong(kind);
        tagVARIANT value;
        std::memset(&value, 0xCC, sizeof value);
        EXPECT_EQ(ScriptedFiler::xmlInVariant(u"v", value, &filer), eFilerMemberFailed) << kind;
        EXPECT_EQ(value.vt, kind & 0xFFFF);
        EXPECT_EQ(std::memcmp(&value.llVal, zero, sizeof zero), 0) << kind;
        VariantClear(&value);
    }
}
