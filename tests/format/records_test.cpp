// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmemoryfiler.h>

#include <oktdatabase/oktgexyz.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/testobject.h"

#include <gtest/gtest.h>

#include <limits>

// The bytes of every record and of every frame, written out. What stands here stands in files of many years.

namespace
{
struct ByteRow
{
    char const *what;
    bool (*write)(OKTByteFiler &filer);
    char const *bytes;
};

struct CallRow
{
    char const *what;
    bool (*write)(OKTMemoryFiler &filer);
    char const *bytes;
};

void expectCalls(std::initializer_list<CallRow> rows)
{
    for (CallRow const &row : rows)
    {
        OKTMemoryFiler filer;
        EXPECT_TRUE(row.write(filer)) << row.what;
        EXPECT_EQ(written(filer), hex(row.bytes)) << row.what;
    }
}

_GUID const kSomeGuid = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

// OKTGeXYZ with x = 1, y = 2, z = 3.
char const *const kPoint = "06"                         // 0: class begin
                           "05 08 00"                   // 1: 8-bit string of 8 bytes: the class name
                           "4F 4B 54 47 65 58 59 5A"    // 4: OKTGeXYZ
                           "02 01 00 00 00"             // 12: version 1
                           "08"                         // 17: members begin
                           "02 01 00 00 00"             // 18: section 1
                           "03 00 00 00 00 00 00 F0 3F" // 23: m_dfX
                           "03 00 00 00 00 00 00 00 40" // 32: m_dfY
                           "03 00 00 00 00 00 00 08 40" // 41: m_dfZ
                           "09"                         // 50: members end
                           "07";                        // 51: class end

// OKTDbObject with the id {00112233-4455-6677-8899-AABBCCDDEEFF}.
char const *const kObject = "06"                               // 0: class begin
                            "05 0B 00"                         // 1: 8-bit string of 11 bytes
                            "4F 4B 54 44 62 4F 62 6A 65 63 74" // 4: OKTDbObject
                            "02 01 00 00 00"                   // 15: version 1
                            "08 02 01 00 00 00"                // 20: section 1
                            "06"                               // 26: class begin of m_objectId
                            "05 0B 00"                         // 27: 8-bit string of 11 bytes
                            "4F 4B 54 4F 62 6A 65 63 74 49 64" // 30: OKTObjectId
                            "02 01 00 00 00"                   // 41: version 1
                            "08 02 01 00 00 00"                // 46: section 1
                            "02 33 22 11 00"                   // 52: Data1
                            "02 55 44 77 66"                   // 57: Data2 low, Data3 high
                            "02 88 99 AA BB"                   // 62: the first half of Data4
                            "02 CC DD EE FF"                   // 67: the second half
                            "09 07"                            // 72: end of the id
                            "09 07";                           // 74: end of the object
} // namespace

TEST(Records, VariableType_Numbers_NeverChange)
{
    EXPECT_EQ(static_cast<int>(VarBool), 0);
    EXPECT_EQ(static_cast<int>(VarShort), 1);
    EXPECT_EQ(static_cast<int>(VarLong), 2);
    EXPECT_EQ(static_cast<int>(VarDouble), 3);
    EXPECT_EQ(static_cast<int>(VarWideString), 4);
    EXPECT_EQ(static_cast<int>(VarAnsiString), 5);
    EXPECT_EQ(static_cast<int>(VarClassBegin), 6);
    EXPECT_EQ(static_cast<int>(VarClassEnd), 7);
    EXPECT_EQ(static_cast<int>(VarMembersBegin), 8);
    EXPECT_EQ(static_cast<int>(VarMembersEnd), 9);
    EXPECT_EQ(static_cast<int>(VarByteArray), 10);
}

TEST(Records, Write_EachRecord_TheseBytes)
{
    ByteRow const rows[] = {
        {"type: bool", [](OKTByteFiler &f) { return f.writeType(VarBool); }, "00"},
        {"type: class begin", [](OKTByteFiler &f) { return f.writeType(VarClassBegin); }, "06"},
        {"type: class end", [](OKTByteFiler &f) { return f.writeType(VarClassEnd); }, "07"},
        {"type: members begin", [](OKTByteFiler &f) { return f.writeType(VarMembersBegin); }, "08"},
        {"type: members end", [](OKTByteFiler &f) { return f.writeType(VarMembersEnd); }, "09"},
        {"type: byte array", [](OKTByteFiler &f) { return f.writeType(VarByteArray); }, "0A"},

        {"bool false", [](OKTByteFiler &f) { return f.writeBool(false); }, "00 00"},
        {"bool true", [](OKTByteFiler &f) { return f.writeBool(true); }, "00 01"},

        {"short 0", [](OKTByteFiler &f) { return f.writeShort(0); }, "01 00 00"},
        {"short 1", [](OKTByteFiler &f) { return f.writeShort(1); }, "01 01 00"},
        {"short 0x1234", [](OKTByteFiler &f) { return f.writeShort(0x1234); }, "01 34 12"},
        {"short 65535", [](OKTByteFiler &f) { return f.writeShort(65535); }, "01 FF FF"},

        {"long 0", [](OKTByteFiler &f) { return f.writeLong(0); }, "02 00 00 00 00"},
        {"long 0x12345678", [](OKTByteFiler &f) { return f.writeLong(0x12345678); }, "02 78 56 34 12"},
        {"long 0x80000001", [](OKTByteFiler &f) { return f.writeLong(0x80000001u); }, "02 01 00 00 80"},
        {"long 4294967295", [](OKTByteFiler &f) { return f.writeLong(4294967295u); }, "02 FF FF FF FF"},

        {"double 0", [](OKTByteFiler &f) { return f.writeDouble(0.0); }, "03 00 00 00 00 00 00 00 00"},
        {"double -0", [](OKTByteFiler &f) { return f.writeDouble(-0.0); }, "03 00 00 00 00 00 00 00 80"},
        {"double 1", [](OKTByteFiler &f) { return f.writeDouble(1.0); }, "03 00 00 00 00 00 00 F0 3F"},
        {"double 0.1", [](OKTByteFiler &f) { return f.writeDouble(0.1); }, "03 9A 99 99 99 99 99 B9 3F"},
        {"double -2500.5", [](OKTByteFiler &f) { return f.writeDouble(-2500.5); }, "03 00 00 00 00 00 89 A3 C0"},
        {"double smallest", [](OKTByteFiler &f) { return f.writeDouble(4.9406564584124654e-324); },
         "03 01 00 00 00 00 00 00 00"},
        {"double lowest", [](OKTByteFiler &f) { return f.writeDouble(-1.7976931348623157e308); }, "03 FF FF FF FF FF FF EF FF"},
        {"double infinity", [](OKTByteFiler &f) { return f.writeDouble(std::numeric_limits<double>::infinity()); },
         "03 00 00 00 00 00 00 F0 7F"},
        {"double NaN", [](OKTByteFiler &f) { return f.writeDouble(std::numeric_limits<double>::quiet_NaN()); },
         "03 00 00 00 00 00 00 F8 7F"},

        {"wide empty", [](OKTByteFiler &f) { return f.writeWideString(u""); }, "04 00 00"},
        {"wide Az", [](OKTByteFiler &f) { return f.writeWideString(u"Az"); }, "04 02 00 41 00 7A 00"},
        {"wide Ø10", [](OKTByteFiler &f) { return f.writeWideString(u"Ø10"); }, "04 03 00 D8 00 31 00 30 00"},
        {"wide €", [](OKTByteFiler &f) { return f.writeWideString(u"€"); }, "04 01 00 AC 20"},
        {"wide U+1F600", [](OKTByteFiler &f) { return f.writeWideString(u"\U0001F600"); }, "04 02 00 3D D8 00 DE"},

        {"8-bit empty", [](OKTByteFiler &f) { return f.writeAnsiString(u""); }, "05 00 00"},
        {"8-bit Az", [](OKTByteFiler &f) { return f.writeAnsiString(u"Az"); }, "05 02 00 41 7A"},
        {"8-bit Ø10", [](OKTByteFiler &f) { return f.writeAnsiString(u"Ø10"); }, "05 03 00 D8 31 30"},
        {"8-bit €", [](OKTByteFiler &f) { return f.writeAnsiString(u"€"); }, "05 01 00 80"},
        {"8-bit U+1F600", [](OKTByteFiler &f) { return f.writeAnsiString(u"\U0001F600"); }, "05 02 00 3F 3F"},
        {"8-bit U+0081", [](OKTByteFiler &f) { return f.writeAnsiString(u"\u0081"); }, "05 01 00 81"},

        {"byte array empty", [](OKTByteFiler &f) { return f.writeByteArray(CByteArray()); }, "0A 00 00 00 00"},
        {"byte array 07 06 05", [](OKTByteFiler &f) { return f.writeByteArray(hex("07 06 05")); }, "0A 03 00 00 00 07 06 05"},
    };
    for (ByteRow const &row : rows)
    {
        OKTByteFiler filer(1024);
        EXPECT_TRUE(row.write(filer)) << row.what;
        CByteArray bytes;
        EXPECT_TRUE(filer.saveBytes(bytes)) << row.what;
        EXPECT_EQ(bytes, hex(row.bytes)) << row.what;
    }
}

TEST(Records, Write_ByteArrayOf70000_CountInFourBytes)
{
    CByteArray large;
    large.SetSize(70000);
    large.SetAt(69999, 0x55);
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writeByteArray(u"m_data", large));
    ASSERT_EQ(filer.GetFilerLength(), 70005);
    CByteArray const bytes = written(filer);
    EXPECT_EQ(firstBytes(bytes, 6), hex("0A 70 11 01 00 00"));
    EXPECT_EQ(bytes.GetAt(70004), 0x55);
}

TEST(Records, WriteValue_EachProtocolCall_TheseBytes)
{
    expectCalls({
        {"double", [](OKTMemoryFiler &f) { return f.writeDouble(u"n", 1.0); }, "03 00 00 00 00 00 00 F0 3F"},
        {"unsigned long", [](OKTMemoryFiler &f) { return f.writeLong(u"n", 4000000000ul); }, "02 00 28 6B EE"},
        {"long", [](OKTMemoryFiler &f) { return f.writeLong(u"n", -2L); }, "02 FE FF FF FF"},
        {"string", [](OKTMemoryFiler &f) { return f.writeString(u"n", u"AB"); }, "04 02 00 41 00 42 00"},
        {"bool", [](OKTMemoryFiler &f) { return f.writeBool(u"n", true); }, "00 01"},
        {"bool as int", [](OKTMemoryFiler &f) { return f.writeBool(u"n", 1); }, "02 01 00 00 00"},
        {"bool as another int", [](OKTMemoryFiler &f) { return f.writeBool(u"n", 256); }, "02 00 01 00 00"},
        {"unsigned int", [](OKTMemoryFiler &f) { return f.writeInt(u"n", 4294967295u); }, "02 FF FF FF FF"},
        {"int", [](OKTMemoryFiler &f) { return f.writeInt(u"n", -2147483647 - 1); }, "02 00 00 00 80"},
        {"unsigned short", [](OKTMemoryFiler &f) { return f.writeShort(u"n", static_cast<unsigned short>(0xFFFE)); },
         "01 FE FF"},
        {"short", [](OKTMemoryFiler &f) { return f.writeShort(u"n", static_cast<short>(-2)); }, "01 FE FF"},
        {"byte array", [](OKTMemoryFiler &f) { return f.writeByteArray(u"n", hex("00 FF")); }, "0A 02 00 00 00 00 FF"},
        {"string in 8-bit mode",
         [](OKTMemoryFiler &f) {
             f.setIsAnsiString(true);
             return f.writeString(u"n", u"AB");
         },
         "05 02 00 41 42"},
    });
}

TEST(Records, WriteFrame_EachProtocolCall_TheseBytes)
{
    expectCalls({
        {"class begin", [](OKTMemoryFiler &f) { return f.beginWriteClass(u"Object", u"OKTDbPool", 6); },
         "06 05 09 00 4F 4B 54 44 62 50 6F 6F 6C 02 06 00 00 00"},
        {"class begin with an empty name", [](OKTMemoryFiler &f) { return f.beginWriteClass(u"Object", u"", 0); },
         "06 05 00 00 02 00 00 00 00"},
        {"class begin with a negative version", [](OKTMemoryFiler &f) { return f.beginWriteClass(u"Object", u"A", -1); },
         "06 05 01 00 41 02 FF FF FF FF"},
        {"class begin with letters beyond ASCII", [](OKTMemoryFiler &f) { return f.beginWriteClass(u"Object", u"Bügel", 1); },
         "06 05 05 00 42 FC 67 65 6C 02 01 00 00 00"},
        {"class end", [](OKTMemoryFiler &f) { return f.endWriteClass(); }, "07"},
        {"members begin", [](OKTMemoryFiler &f) { return f.beginWriteMembers(3); }, "08 02 03 00 00 00"},
        {"members end", [](OKTMemoryFiler &f) { return f.endWriteMembers(); }, "09"},
    });
}

TEST(Records, WritePoint3d_OneTwoThree_These52Bytes)
{
    OKTMemoryFiler filer;
    EXPECT_TRUE(filer.writePoint3d(u"m_pnt", OKTGeXYZ(1.0, 2.0, 3.0)));
    EXPECT_EQ(filer.GetFilerLength(), 52);
    EXPECT_EQ(filer.GetFilerPosition(), 0);
    EXPECT_EQ(written(filer), hex(kPoint));
}

TEST(Records, ReadPoint3d_The52Bytes_OneTwoThree)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex(kPoint));
    OKTGeXYZ point;
    EXPECT_TRUE(filer.readPoint3d(u"m_pnt", point));
    EXPECT_EQ(point.X(), 1.0);
    EXPECT_EQ(point.Y(), 2.0);
    EXPECT_EQ(point.Z(), 3.0);
    EXPECT_EQ(filer.GetFilerPosition(), 52);
}

TEST(Records, XmlOut_ObjectWithAnId_These76Bytes)
{
    OKTDbObject *const object = OKTDbObject::desc()->CreateObject();
    ASSERT_NE(object, nullptr);
    OKTDbObjectId id;
    id.setGuid(kSomeGuid);
    object->setObjectId(id);
    OKTMemoryFiler filer;
    EXPECT_EQ(object->xmlOut(&filer), eFilerOk);
    EXPECT_EQ(filer.GetFilerLength(), 76);
    EXPECT_EQ(written(filer), hex(kObject));
    delete object;
}

TEST(Records, XmlIn_The76Bytes_TheObjectsId)
{
    OKTDbObject *const object = OKTDbObject::desc()->CreateObject();
    ASSERT_NE(object, nullptr);
    OKTMemoryFiler filer;
    filer.loadFiler(hex(kObject));
    EXPECT_EQ(object->xmlIn(&filer), eFilerOk);
    EXPECT_EQ(object->objectId().getGuid(), kSomeGuid);
    EXPECT_EQ(filer.GetFilerPosition(), 76);
    delete object;
}

TEST(Records, XmlOut_ClientClass_ItsBasesFrameStandsAheadOfItsSections)
{
    TestObject object;
    OKTDbObjectId id;
    id.setGuid(kSomeGuid);
    object.setObjectId(id);
    object.m_strText = u"A";
    object.m_nNumber = -1;
    OKTMemoryFiler filer;
    EXPECT_EQ(object.xmlOut(&filer), eFilerOk);
    CByteArray expected = hex("06 05 0A 00 'TestObject' 02 01 00 00 00");
    expected.Append(hex(kObject));
    expected.Append(hex("08 02 01 00 00 00 04 01 00 41 00 02 FF FF FF FF"
                        "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00"
                        "02 00 00 00 00 02 00 00 00 00 02 00 00 00 00 02 00 00 00 00 09 07 09 07"));
    EXPECT_EQ(written(filer), expected);
}
