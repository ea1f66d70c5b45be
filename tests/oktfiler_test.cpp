// SPDX-License-Identifier: MIT
#include <oktdatabase/oktfiler.h>

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktgexyz.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/testobject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

// The protocol itself: the flags of every filer, the statuses of a walk over a class, sections as versions, and what the
// operations of the binary filer call on the filer again.

namespace
{
using ::testing::ElementsAre;

/// Reaches the protected flags.
class OpenFiler : public OKTMemoryFiler
{
public:
    using OKTFiler::getIsWriteEnabled;
    using OKTFiler::setIsWriteEnabled;
    using OKTFiler::xmlInVariant;
    using OKTFiler::xmlOutVariant;
    using OKTMemoryFiler::OKTMemoryFiler;
    IdMap const &map() const { return m_mapTranslatedIds; }
    OKTDbPool *pool() const { return m_pool; }
};

/// A stored value as client code writes it against the protocol. Its second section came with a later release.
struct Sheet
{
    int number = 0;
    CString title = u"untitled";

    FilerStatusDb xmlOut(OKTFiler *filer, int sections) const
    {
        if (!filer->beginWriteClass(u"Object", u"Sheet", sections))
            return eFilerClassFailed;
        bool ok = true;
        int entered = 0;
        if (sections >= 1 && filer->beginWriteMembers(1))
        {
            ++entered;
            ok = filer->writeInt(u"number", number) && ok;
            filer->endWriteMembers();
        }
        if (sections >= 2 && filer->beginWriteMembers(2))
        {
            ++entered;
            ok = filer->writeString(u"title", title) && ok;
            filer->endWriteMembers();
        }
        filer->endWriteClass();
        return entered < 1 ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
    }

    FilerStatusDb xmlIn(OKTFiler *filer, int knownSections)
    {
        if (!filer->beginReadClass(u"Object", u"Sheet"))
            return eFilerClassFailed;
        bool ok = true;
        int entered = 0;
        if (filer->beginReadMembers(1))
        {
            ++entered;
            ok = filer->readInt(u"number", number) && ok;
            filer->endReadMembers();
        }
        if (knownSections >= 2 && filer->beginReadMembers(2))
        {
            ++entered;
            ok = filer->readString(u"title", title) && ok;
            filer->endReadMembers();
        }
        filer->endReadClass();
        return entered < 1 ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
    }
};

Sheet const kSheet = {7, u"Plan"};
} // namespace

// --- Statuses and flags ------------------------------------------------------------------------------------------------------

TEST(OKTFiler, FilerStatusDb_Enumerators_HaveTheirNumbers)
{
    EXPECT_EQ(static_cast<int>(eFilerOk), 0);
    EXPECT_EQ(static_cast<int>(eFilerMemberFailed), 1);
    EXPECT_EQ(static_cast<int>(eFilerNoFiler), 3);
    EXPECT_EQ(static_cast<int>(eFilerClassFailed), 4);
    EXPECT_EQ(static_cast<int>(eFilerNoMembers), 5);
    EXPECT_EQ(sizeof(FilerStatusDb), 4u);
}

TEST(OKTFiler, Construct_Default_NoPoolAllFlagsOffMapEmpty)
{
    OpenFiler filer;
    EXPECT_EQ(filer.pool(), nullptr);
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    EXPECT_FALSE(filer.getIsWriteEnabled());
    EXPECT_FALSE(filer.getIsAnsiString());
    EXPECT_FALSE(filer.getTranslatedIds());
    EXPECT_TRUE(filer.map().isEmpty());
    EXPECT_FALSE(filer.isReadingStalled());
}

TEST(OKTFiler, Flags_SetAndCleared_EachItsOwn)
{
    OpenFiler filer;
    filer.setTranslatedIds(true);
    EXPECT_TRUE(filer.getTranslatedIds());
    EXPECT_FALSE(filer.getIsAnsiString());
    filer.setIsAnsiString(true);
    EXPECT_TRUE(filer.getIsAnsiString());
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.getIsReadingObjectFromRoot());
    EXPECT_FALSE(filer.getIsWriteEnabled());
    filer.setIsWriteEnabled(true);
    EXPECT_TRUE(filer.getIsWriteEnabled());
    filer.setTranslatedIds(false);
    filer.setIsAnsiString(false);
    filer.setIsReadingObjectFromRoot(false);
    EXPECT_FALSE(filer.getTranslatedIds());
    EXPECT_FALSE(filer.getIsAnsiString());
    EXPECT_FALSE(filer.getIsReadingObjectFromRoot());
    EXPECT_TRUE(filer.getIsWriteEnabled());
}

TEST(OKTFiler, Flags_OfTheBinaryFiler_WriteFlagAndRootHintPlayNoPart)
{
    OpenFiler filer;
    filer.setIsWriteEnabled(false);
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_TRUE(filer.beginWriteClass(u"Object", u"A", 1));
    filer.setIsWriteEnabled(true);
    EXPECT_TRUE(filer.endWriteClass());
    filer.setInternalIsWriteEnabled(false);
    EXPECT_TRUE(filer.beginReadClass(u"Object", u"A"));
    EXPECT_TRUE(filer.endReadClass());
    EXPECT_TRUE(filer.getIsReadingObjectFromRoot()); // nobody took it
}

TEST(OKTFiler, Copy_AndAssignment_TakeFlagsAndMap)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    OpenFiler filer(&pool);
    filer.setTranslatedIds(true);
    filer.setIsAnsiString(true);
    filer.setIsReadingObjectFromRoot(true);
    filer.setIsWriteEnabled(true);
    ASSERT_TRUE(filer.writeObjectId(u"id", object->objectId()));

    OpenFiler copy(filer);
    OpenFiler assigned;
    assigned = filer;
    for (OpenFiler *const other : {&copy, &assigned})
    {
        EXPECT_EQ(other->pool(), &pool);
        EXPECT_TRUE(other->getTranslatedIds());
        EXPECT_TRUE(other->getIsAnsiString());
        EXPECT_TRUE(other->getIsReadingObjectFromRoot());
        EXPECT_TRUE(other->getIsWriteEnabled());
        ASSERT_EQ(other->map().getSize(), 1);
        EXPECT_EQ(other->map().keyAt(0), object->objectId());
    }
}

TEST(OKTFiler, IsReadingStalled_AfterStrings_TellsWhetherARepeatedReadCouldDoMore)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("04 01 00 41 00 04 09 00 41 00"));
    CString text;
    EXPECT_TRUE(filer.readString(u"s", text));
    EXPECT_FALSE(filer.isReadingStalled());
    EXPECT_FALSE(filer.readString(u"s", text)); // moves behind the count
    EXPECT_FALSE(filer.isReadingStalled());
    EXPECT_FALSE(filer.readString(u"s", text));
    filer.loadFiler(hex("09 07"));
    EXPECT_FALSE(filer.readString(u"s", text));
    EXPECT_TRUE(filer.isReadingStalled());
    EXPECT_EQ(filer.GetFilerPosition(), 0);
}

// --- The walk over a class ---------------------------------------------------------------------------------------------------

TEST(OKTFiler, XmlOut_AllSucceeds_CallsInTheOrderOfTheGrammar)
{
    ScriptedFiler filer;
    OKTGeXYZ const point(1.0, 2.0, 3.0);
    EXPECT_EQ(point.xmlOut(u"m_pnt", &filer), eFilerOk);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass m_pnt OKTGeXYZ 1", "beginWriteMembers 1", "writeDouble m_dfX 1",
                                           "writeDouble m_dfY 2", "writeDouble m_dfZ 3", "endWriteMembers", "endWriteClass"));
}

TEST(OKTFiler, XmlIn_AllSucceeds_CallsInTheOrderOfTheGrammar)
{
    ScriptedFiler filer;
    OKTGeXYZ point;
    EXPECT_EQ(point.xmlIn(u"m_pnt", &filer), eFilerOk);
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass m_pnt OKTGeXYZ", "beginReadMembers 1", "readDouble m_dfX",
                                           "readDouble m_dfY", "readDouble m_dfZ", "endReadMembers", "endReadClass"));
}

TEST(OKTFiler, Walk_NullFiler_Status3)
{
    OKTGeXYZ point;
    EXPECT_EQ(point.xmlOut(u"m_pnt", nullptr), eFilerNoFiler);
    EXPECT_EQ(point.xmlIn(u"m_pnt", nullptr), eFilerNoFiler);
    TestObject object;
    EXPECT_EQ(object.OKTDbObject::xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(object.OKTDbObject::xmlIn(nullptr), eFilerNoFiler);
}

TEST(OKTFiler, Walk_FrameRefused_Status4AndNothingMoreCalled)
{
    ScriptedFiler writing;
    writing.failAt("beginWriteClass", 1);
    OKTGeXYZ point;
    EXPECT_EQ(point.xmlOut(u"m_pnt", &writing), eFilerClassFailed);
    EXPECT_THAT(writing.calls(), ElementsAre("beginWriteClass m_pnt OKTGeXYZ 1"));

    ScriptedFiler reading;
    reading.failAt("beginReadClass", 1);
    EXPECT_EQ(point.xmlIn(u"m_pnt", &reading), eFilerClassFailed);
    EXPECT_THAT(reading.calls(), ElementsAre("beginReadClass m_pnt OKTGeXYZ"));
}

TEST(OKTFiler, Walk_NoSectionEntered_Status5BehindTheFramesEnd)
{
    ScriptedFiler writing;
    writing.failAt("beginWriteMembers", 1);
    OKTGeXYZ point;
    EXPECT_EQ(point.xmlOut(u"m_pnt", &writing), eFilerNoMembers);
    EXPECT_THAT(writing.calls(), ElementsAre("beginWriteClass m_pnt OKTGeXYZ 1", "beginWriteMembers 1", "endWriteClass"));

    ScriptedFiler reading;
    reading.failAt("beginReadMembers", 1);
    EXPECT_EQ(point.xmlIn(u"m_pnt", &reading), eFilerNoMembers);
    EXPECT_THAT(reading.calls(), ElementsAre("beginReadClass m_pnt OKTGeXYZ", "beginReadMembers 1", "endReadClass"));
}

TEST(OKTFiler, Walk_AMemberFails_Status1AndTheOthersAreStillTried)
{
    for (int member = 1; member <= 3; ++member)
    {
        SCOPED_TRACE(member);
        OKTGeXYZ point;
        ScriptedFiler writing;
        writing.failAt("writeDouble", member);
        EXPECT_EQ(point.xmlOut(u"m_pnt", &writing), eFilerMemberFailed);
        EXPECT_EQ(writing.calls().size(), 7u);
        ScriptedFiler reading;
        reading.failAt("readDouble", member);
        EXPECT_EQ(point.xmlIn(u"m_pnt", &reading), eFilerMemberFailed);
        EXPECT_EQ(reading.calls().size(), 7u);
    }
}

TEST(OKTFiler, Walk_AnEndFails_StatusOk)
{
    OKTGeXYZ point;
    for (char const *const end : {"endWriteMembers", "endWriteClass"})
    {
        ScriptedFiler filer;
        filer.failAt(end, 1);
        EXPECT_EQ(point.xmlOut(u"m_pnt", &filer), eFilerOk) << end;
    }
    for (char const *const end : {"endReadMembers", "endReadClass"})
    {
        ScriptedFiler filer;
        filer.failAt(end, 1);
        EXPECT_EQ(point.xmlIn(u"m_pnt", &filer), eFilerOk) << end;
    }
}

TEST(OKTFiler, Walk_AnExceptionBetweenTwoMembers_ReportedAndStatusOkInTheMiddleOfTheFrame_Quirk6)
{
    ReportCatcher const reports;
    RecordingFiler filer;
    filer.throwAt("writeDouble", 2);
    OKTGeXYZ const point(1.0, 2.0, 3.0);
    EXPECT_EQ(point.xmlOut(u"m_pnt", &filer), eFilerOk);
    EXPECT_EQ(written(filer), hex("06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 08 02 01 00 00 00 03 00 00 00 00 00 00 F0 3F"));
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_EQ(reports.texts()[0].substr(0, 11), "\n\\oktgexyz@");
}

TEST(OKTFiler, Walk_AnExceptionOnReading_ReportedAndStatusOk_Quirk6)
{
    ReportCatcher const reports;
    ScriptedFiler filer;
    filer.giveDouble(4.0);
    filer.throwAt("readDouble", 2);
    OKTGeXYZ point(1.0, 2.0, 3.0);
    EXPECT_EQ(point.xmlIn(u"m_pnt", &filer), eFilerOk);
    EXPECT_EQ(point.X(), 4.0);
    EXPECT_EQ(point.Y(), 2.0);
    EXPECT_EQ(reports.count(), 1u);
}

TEST(OKTFiler, Walk_BaseFrameRefusedOnWriting_ItsStatusAtOnceAndTheDerivedFrameStaysOpen_Quirk7)
{
    ScriptedFiler filer;
    filer.failAt("beginWriteClass", 2);
    OKTDbParameter const parameter;
    EXPECT_EQ(parameter.xmlOut(&filer), eFilerClassFailed);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass Object OKTDbParameter 2", "beginWriteClass Object OKTDbObject 1"));
}

TEST(OKTFiler, Walk_BaseWithoutSectionOnWriting_ItsStatusAtOnceAndTheDerivedFrameStaysOpen_Quirk7)
{
    RecordingFiler filer;
    filer.failAt("beginWriteMembers", 1);
    OKTDbParameter const parameter;
    EXPECT_EQ(parameter.xmlOut(&filer), eFilerNoMembers);
    EXPECT_EQ(written(filer), hex("06 05 0E 00 'OKTDbParameter' 02 02 00 00 00 06 05 0B 00 'OKTDbObject' 02 01 00 00 00 07"));
}

TEST(OKTFiler, Walk_BaseMemberFailsOnReading_Status1AtOnceAndTheDerivedFrameStaysOpen_Quirk7)
{
    ScriptedFiler filer;
    filer.failAt("readObjectId", 1);
    OKTDbParameter parameter;
    EXPECT_EQ(parameter.xmlIn(&filer), eFilerMemberFailed);
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbParameter", "beginReadClass Object OKTDbObject",
                                           "beginReadMembers 1", "readObjectId m_objectId", "endReadMembers", "endReadClass"));
}

TEST(OKTFiler, Walk_BaseFrameOfAnotherClassInTheStream_Status4BehindTheBasesVersion_Quirk7)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 0E 00 'OKTDbParameter' 02 02 00 00 00 06 05 0B 00 'OKTDbSubjec' 02 01 00 00 00 07 07"));
    OKTDbParameter parameter;
    EXPECT_EQ(parameter.xmlIn(&filer), eFilerClassFailed);
    EXPECT_EQ(filer.GetFilerPosition(), 43);
}

// --- Sections as versions ----------------------------------------------------------------------------------------------------

TEST(OKTFiler, Sections_NewReaderOfAnOldStream_StatusOkAndDefaultsKept)
{
    OKTMemoryFiler filer;
    ASSERT_EQ(kSheet.xmlOut(&filer, 1), eFilerOk);
    filer.setInternalIsWriteEnabled(false);
    Sheet sheet;
    EXPECT_EQ(sheet.xmlIn(&filer, 2), eFilerOk);
    EXPECT_EQ(sheet.number, 7);
    EXPECT_EQ(sheet.title, CString(u"untitled"));
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength());
}

TEST(OKTFiler, Sections_OldReaderOfANewStream_StatusOkAndTheRestPassedOver)
{
    OKTMemoryFiler filer;
    ASSERT_EQ(kSheet.xmlOut(&filer, 2), eFilerOk);
    filer.setInternalIsWriteEnabled(false);
    Sheet sheet;
    EXPECT_EQ(sheet.xmlIn(&filer, 1), eFilerOk);
    EXPECT_EQ(sheet.number, 7);
    EXPECT_EQ(sheet.title, CString(u"untitled"));
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength());
}

TEST(OKTFiler, Sections_SameRelease_AllComesBack)
{
    OKTMemoryFiler filer;
    ASSERT_EQ(kSheet.xmlOut(&filer, 2), eFilerOk);
    filer.setInternalIsWriteEnabled(false);
    Sheet sheet;
    EXPECT_EQ(sheet.xmlIn(&filer, 2), eFilerOk);
    EXPECT_EQ(sheet.number, 7);
    EXPECT_EQ(sheet.title, CString(u"Plan"));
}

TEST(OKTFiler, Sections_StreamStartsWithTheSecond_FirstIsFalseAndNothingEnteredIsStatus5)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 05 00 'Sheet' 02 02 00 00 00 08 02 02 00 00 00 04 01 00 50 00 09 07 07"));
    Sheet old;
    EXPECT_EQ(old.xmlIn(&filer, 1), eFilerNoMembers);
    EXPECT_EQ(old.number, 0);
    EXPECT_EQ(filer.GetFilerPosition(), 27); // behind the frame

    filer.loadFiler(hex("06 05 05 00 'Sheet' 02 02 00 00 00 08 02 02 00 00 00 04 01 00 50 00 09 07 07"));
    Sheet recent;
    EXPECT_EQ(recent.xmlIn(&filer, 2), eFilerOk);
    EXPECT_EQ(recent.title, CString(u"P"));
}

TEST(OKTFiler, Sections_InFallingOrder_TheSecondIsReadAndTheFirstPassedOver)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 05 00 'Sheet' 02 02 00 00 00 08 02 02 00 00 00 04 01 00 50 00 09"
                        "08 02 01 00 00 00 02 09 00 00 00 09 07 07"));
    Sheet sheet;
    EXPECT_EQ(sheet.xmlIn(&filer, 2), eFilerOk);
    EXPECT_EQ(sheet.number, 0);
    EXPECT_EQ(sheet.title, CString(u"P"));
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength() - 1);
}

TEST(OKTFiler, Sections_UnknownOneBetween_EndsWhatTheReaderFinds)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 05 00 'Sheet' 02 02 00 00 00 08 02 01 00 00 00 02 09 00 00 00 09"
                        "08 02 05 00 00 00 00 01 09 08 02 02 00 00 00 04 01 00 50 00 09 07 07"));
    Sheet sheet;
    EXPECT_EQ(sheet.xmlIn(&filer, 2), eFilerOk);
    EXPECT_EQ(sheet.number, 9);
    EXPECT_EQ(sheet.title, CString(u"untitled"));
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength() - 1);
}

// --- What the operations call on the filer again -----------------------------------------------------------------------------

TEST(OKTFiler, WriteInt_EitherForm_GoesThroughTheSignedWriteLong)
{
    RecordingFiler filer;
    EXPECT_TRUE(filer.writeInt(u"a", 4294967295u));
    EXPECT_TRUE(filer.writeInt(u"b", -5));
    EXPECT_TRUE(filer.writeBool(u"c", 7));
    EXPECT_THAT(filer.allCalls(), ElementsAre("writeUnsignedInt a 4294967295", "  writeLong a -1", "writeInt b -5",
                                              "  writeLong b -5", "writeBoolInt c 7", "  writeLong c 7"));
}

TEST(OKTFiler, ReadInt_EitherForm_GoesThroughTheSignedReadLong)
{
    RecordingFiler filer;
    filer.loadFiler(hex("02 FF FF FF FF 02 FF FF FF FF 02 FF FF FF FF 07"));
    unsigned int first = 0;
    EXPECT_TRUE(filer.readInt(u"a", first));
    EXPECT_EQ(first, 4294967295u);
    int second = 0;
    EXPECT_TRUE(filer.readInt(u"b", second));
    EXPECT_EQ(second, -1);
    int third = 0;
    EXPECT_TRUE(filer.readBool(u"c", third));
    EXPECT_EQ(third, -1);
    EXPECT_THAT(filer.allCalls(),
                ElementsAre("readUnsignedInt a", "  readLong a", "readInt b", "  readLong b", "readBoolInt c", "  readLong c"));
}

TEST(OKTFiler, ReadIntAndReadBool_ReadLongFails_TargetsKeepTheirNumbers)
{
    RecordingFiler filer;
    filer.loadFiler(hex("02 01 00 00 00 02 02 00 00 00 02 03 00 00 00 07"));
    for (int nth = 1; nth <= 3; ++nth)
        filer.failInsideAt("readLong", nth);
    unsigned int first = 4294967290u;
    EXPECT_FALSE(filer.readInt(u"a", first));
    EXPECT_EQ(first, 4294967290u);
    int second = -7;
    EXPECT_FALSE(filer.readInt(u"b", second));
    EXPECT_EQ(second, -7);
    int third = 7;
    EXPECT_FALSE(filer.readBool(u"c", third));
    EXPECT_EQ(third, 7);
}

TEST(OKTFiler, WritePoint3d_WordRefusedInside_FalseAndTheOthersWritten)
{
    RecordingFiler filer;
    filer.failInsideAt("writeDouble", 2);
    EXPECT_FALSE(filer.writePoint3d(u"m_pnt", OKTGeXYZ(1.0, 2.0, 3.0)));
    EXPECT_EQ(written(filer), hex("06 05 08 00 'OKTGeXYZ' 02 01 00 00 00 08 02 01 00 00 00"
                                  "03 00 00 00 00 00 00 F0 3F 03 00 00 00 00 00 00 08 40 09 07"));
}

TEST(OKTFiler, XmlOutVariant_NullFiler_Status3)
{
    tagVARIANT value = {};
    value.vt = VT_I4;
    EXPECT_EQ(OpenFiler::xmlOutVariant(u"v", value, nullptr), eFilerNoFiler);
    EXPECT_EQ(value.vt, VT_I4);
}

TEST(OKTFiler, XmlInVariant_NullFiler_Status3AndTheKindIsNull)
{
    tagVARIANT value = {};
    value.vt = VT_I4;
    value.lVal = 5;
    EXPECT_EQ(OpenFiler::xmlInVariant(u"v", value, nullptr), eFilerNoFiler);
    EXPECT_EQ(value.vt, VT_NULL);
    EXPECT_EQ(value.lVal, 5);
}

TEST(OKTFiler, IsReadingStalled_FilerThatNeverTells_False)
{
    ScriptedFiler filer;
    CString text;
    filer.failAt("readString", 1);
    EXPECT_FALSE(filer.readString(u"s", text));
    EXPECT_FALSE(filer.isReadingStalled());
}

TEST(OKTFiler, IsReadingStalled_OtherReads_LeaveIt)
{
    OKTMemoryFiler filer;
    filer.loadFiler(hex("00 01 04 01 00 41 00 07"));
    CString text;
    EXPECT_FALSE(filer.readString(u"s", text));
    EXPECT_TRUE(filer.isReadingStalled());
    bool value = false;
    EXPECT_TRUE(filer.readBool(u"b", value));
    EXPECT_TRUE(filer.isReadingStalled()); // it is about the last string
    EXPECT_TRUE(filer.readString(u"s", text));
    EXPECT_FALSE(filer.isReadingStalled());
    int number = 0;
    EXPECT_FALSE(filer.readInt(u"n", number));
    EXPECT_FALSE(filer.isReadingStalled());
}
