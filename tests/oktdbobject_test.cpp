// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbobject.h>

#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using ::testing::ElementsAre;

namespace
{
std::unique_ptr<OKTDbObject> plainObject() { return std::unique_ptr<OKTDbObject>(OKTDbObject::desc()->CreateObject()); }

OKTDbObjectId idFrom(char16_t const *text)
{
    OKTDbObjectId id;
    id.setGuidFromString(text);
    return id;
}

constexpr char16_t const *kText = u"{2933BF90-7B36-11D2-B20E-00C04F983E60}";
} // namespace

// --- The id ------------------------------------------------------------------------------------------------------------------

TEST(OKTDbObject, Construct_Default_NullId)
{
    EXPECT_TRUE(plainObject()->objectId().isNull());
    EXPECT_EQ(plainObject()->objectId().getPool(), nullptr);
}

TEST(OKTDbObject, SetObjectId_AllThreeFieldsAssigned)
{
    OKTDbPool pool;
    TestObject other;
    OKTDbObjectId id = idFrom(kText);
    id.fixPoolPointer(&pool);
    id.setObject(&other);
    auto const object = plainObject();
    object->setObjectId(id);
    EXPECT_EQ(object->objectId(), id);
    EXPECT_EQ(object->objectId().getPool(), &pool);
    EXPECT_EQ(object->objectId().getObject(), &other);
    object->setObjectId(OKTDbObjectId::kNull);
    EXPECT_TRUE(object->objectId().isNull());
    EXPECT_EQ(object->objectId().getPool(), nullptr);
}

TEST(OKTDbObject, CopyAndAssign_IdWithItsPointers)
{
    OKTDbPool pool;
    OKTDbObjectId id = idFrom(kText);
    id.fixPoolPointer(&pool);
    auto const object = plainObject();
    object->setObjectId(id);
    OKTDbObject const copy(*object);
    EXPECT_EQ(copy.objectId(), id);
    EXPECT_EQ(copy.objectId().getPool(), &pool);
    auto const assigned = plainObject();
    *assigned = *object;
    EXPECT_EQ(assigned->objectId(), id);
    EXPECT_EQ(assigned->objectId().getPool(), &pool);
}

TEST(OKTDbObject, Class_VirtualDestructorAndConcrete)
{
    static_assert(std::has_virtual_destructor_v<OKTDbObject>);
    static_assert(!std::is_abstract_v<OKTDbObject>);
    static_assert(!std::is_default_constructible_v<OKTDbObject>);
}

// --- The stored form ---------------------------------------------------------------------------------------------------------

TEST(OKTDbObject, XmlOut_Id_OneFrameWithOneMember)
{
    auto const object = plainObject();
    object->setObjectId(idFrom(kText));
    ScriptedFiler filer;
    EXPECT_EQ(object->xmlOut(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass Object OKTDbObject 1", "beginWriteMembers 1",
                                           "writeObjectId m_objectId {2933BF90-7B36-11D2-B20E-00C04F983E60}", "endWriteMembers",
                                           "endWriteClass"));
}

TEST(OKTDbObject, XmlIn_Id_OneFrameWithOneMember)
{
    auto const object = plainObject();
    ScriptedFiler filer;
    filer.giveObjectId(idFrom(kText));
    EXPECT_EQ(object->xmlIn(&filer), eFilerOk);
    EXPECT_EQ(object->objectId(), idFrom(kText));
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbObject", "beginReadMembers 1", "readObjectId m_objectId",
                                           "endReadMembers", "endReadClass"));
}

TEST(OKTDbObject, XmlOutAndIn_BinaryFiler_SameIdBoundToThePoolOfTheReader)
{
    auto const object = plainObject();
    object->setObjectId(idFrom(kText));
    RecordingFiler filer;
    ASSERT_EQ(object->xmlOut(&filer), eFilerOk);
    CByteArray bytes;
    ASSERT_TRUE(filer.saveFiler(bytes));

    OKTDbPool pool;
    OKTMemoryFiler reader(&pool);
    ASSERT_TRUE(reader.loadFiler(bytes));
    auto const back = plainObject();
    EXPECT_EQ(back->xmlIn(&reader), eFilerOk);
    EXPECT_EQ(back->objectId(), idFrom(kText));
    EXPECT_EQ(back->objectId().getPool(), &pool);
    EXPECT_EQ(reader.GetFilerPosition(), bytes.GetSize());
}

// --- Failures ----------------------------------------------------------------------------------------------------------------

TEST(OKTDbObject, XmlOutAndIn_NullFiler_Status3)
{
    EXPECT_EQ(plainObject()->xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(plainObject()->xmlIn(nullptr), eFilerNoFiler);
}

TEST(OKTDbObject, XmlOut_FrameRefused_Status4AndNothingMore)
{
    ScriptedFiler filer;
    filer.failAt("beginWriteClass", 1);
    EXPECT_EQ(plainObject()->xmlOut(&filer), eFilerClassFailed);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass Object OKTDbObject 1"));
}

TEST(OKTDbObject, XmlIn_FrameRefused_Status4AndNothingMore)
{
    ScriptedFiler filer;
    filer.giveObjectId(idFrom(kText));
    filer.failAt("beginReadClass", 1);
    auto const object = plainObject();
    EXPECT_EQ(object->xmlIn(&filer), eFilerClassFailed);
    EXPECT_TRUE(object->objectId().isNull());
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbObject"));
}

TEST(OKTDbObject, XmlOut_NoSection_Status5AfterTheEndOfTheFrame)
{
    ScriptedFiler filer;
    filer.failAt("beginWriteMembers", 1);
    EXPECT_EQ(plainObject()->xmlOut(&filer), eFilerNoMembers);
    EXPECT_THAT(filer.calls(), ElementsAre("beginWriteClass Object OKTDbObject 1", "beginWriteMembers 1", "endWriteClass"));
}

TEST(OKTDbObject, XmlIn_NoSection_Status5AndIdStays)
{
    ScriptedFiler filer;
    filer.failAt("beginReadMembers", 1);
    auto const object = plainObject();
    object->setObjectId(idFrom(kText));
    EXPECT_EQ(object->xmlIn(&filer), eFilerNoMembers);
    EXPECT_EQ(object->objectId(), idFrom(kText));
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbObject", "beginReadMembers 1", "endReadClass"));
}

TEST(OKTDbObject, XmlOut_MemberFails_Status1AndFrameEnded)
{
    ScriptedFiler filer;
    filer.failAt("writeObjectId", 1);
    EXPECT_EQ(plainObject()->xmlOut(&filer), eFilerMemberFailed);
    EXPECT_EQ(filer.calls().size(), 5u);
    EXPECT_EQ(filer.calls().back(), "endWriteClass");
}

TEST(OKTDbObject, XmlIn_MemberFails_Status1AndFrameEnded)
{
    ScriptedFiler filer;
    filer.failAt("readObjectId", 1);
    EXPECT_EQ(plainObject()->xmlIn(&filer), eFilerMemberFailed);
    EXPECT_EQ(filer.calls().size(), 5u);
    EXPECT_EQ(filer.calls().back(), "endReadClass");
}

TEST(OKTDbObject, XmlOutAndIn_EndsFail_Ignored)
{
    ScriptedFiler filer;
    for (char const *const end : {"endWriteMembers", "endWriteClass", "endReadMembers", "endReadClass"})
        filer.failAt(end, 1);
    EXPECT_EQ(plainObject()->xmlOut(&filer), eFilerOk);
    EXPECT_EQ(plainObject()->xmlIn(&filer), eFilerOk);
}

TEST(OKTDbObject, XmlOutAndIn_FilerThrows_ReportAndSuccess_Quirk6)
{
    for (char const *const operation :
         {"beginWriteClass", "beginWriteMembers", "writeObjectId", "endWriteMembers", "endWriteClass"})
    {
        ScriptedFiler filer;
        filer.throwAt(operation, 1);
        ReportCatcher reports;
        EXPECT_EQ(plainObject()->xmlOut(&filer), eFilerOk) << operation;
        ASSERT_EQ(reports.count(), 1u) << operation;
        EXPECT_THAT(reports.texts()[0], IsReportOf("oktdbobject"));
    }
    for (char const *const operation : {"beginReadClass", "beginReadMembers", "readObjectId", "endReadMembers", "endReadClass"})
    {
        ScriptedFiler filer;
        filer.throwAt(operation, 1);
        ReportCatcher reports;
        EXPECT_EQ(plainObject()->xmlIn(&filer), eFilerOk) << operation;
        EXPECT_EQ(reports.count(), 1u) << operation;
    }
}

// --- The frame that every stored class has in common -------------------------------------------------------------------------

class StoredClassFrame : public ::testing::TestWithParam<char const *>
{
protected:
    StoredClassFrame()
    {
        OKTDbObject *made = nullptr;
        OKTTools::getObjectFromClassName(GetParam(), made);
        object.reset(made);
    }

    /// How many frames of stored classes the object opens: one for each class on its way to the root.
    int depth() const
    {
        // A group parameter is stored as an ordinary parameter.
        OKTRuntimeClass const *desc = object->isA(CString(u"OKTDbGroupParameter")) ? OKTDbParameter::desc() : object->isA();
        int classes = 0;
        for (; desc != nullptr; desc = desc->BaseClassDesc())
            ++classes;
        return classes;
    }

    static int opened(std::vector<std::string> const &calls, std::string const &operation)
    {
        int count = 0;
        for (std::string const &call : calls)
            count += call.rfind(operation, 0) == 0 ? 1 : 0;
        return count;
    }

    std::unique_ptr<OKTDbObject> object;
};

TEST_P(StoredClassFrame, XmlOut_AllWell_FramesOfTheBasesFirstAndAllClosed)
{
    ASSERT_NE(object, nullptr);
    RecordingFiler filer;
    EXPECT_EQ(object->xmlOut(&filer), eFilerOk);
    auto const &calls = filer.calls();
    for (int i = 0; i < depth(); ++i)
        EXPECT_EQ(calls.at(static_cast<std::size_t>(i)).rfind("beginWriteClass Object OKTDb", 0), 0u)
            << calls.at(static_cast<std::size_t>(i));
    EXPECT_EQ(calls.at(static_cast<std::size_t>(depth()) - 1), "beginWriteClass Object OKTDbObject 1");
    EXPECT_EQ(opened(calls, "beginWriteClass"), opened(calls, "endWriteClass"));
    EXPECT_EQ(opened(calls, "beginWriteMembers"), opened(calls, "endWriteMembers"));
    EXPECT_EQ(calls.back(), "endWriteClass");
}

TEST_P(StoredClassFrame, XmlOutAndIn_BinaryFiler_ReadsToTheEndAndWritesTheSameBytes)
{
    RecordingFiler writer;
    ASSERT_EQ(object->xmlOut(&writer), eFilerOk);
    CByteArray bytes;
    ASSERT_TRUE(writer.saveFiler(bytes));

    RecordingFiler reader;
    ASSERT_TRUE(reader.loadFiler(bytes));
    std::unique_ptr<OKTDbObject> const back(object->createObject());
    EXPECT_EQ(back->xmlIn(&reader), eFilerOk);
    EXPECT_EQ(reader.GetFilerPosition(), bytes.GetSize());

    OKTMemoryFiler again;
    EXPECT_EQ(back->xmlOut(&again), eFilerOk);
    CByteArray rewritten;
    ASSERT_TRUE(again.saveFiler(rewritten));
    EXPECT_EQ(rewritten, bytes);
}

TEST_P(StoredClassFrame, XmlOutAndIn_NullFiler_Status3)
{
    EXPECT_EQ(object->xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(object->xmlIn(nullptr), eFilerNoFiler);
}

TEST_P(StoredClassFrame, XmlOut_NthFrameRefused_Status4AtOnceAndOuterFramesLeftOpen_Quirk7)
{
    for (int n = 1; n <= depth(); ++n)
    {
        ScriptedFiler filer;
        filer.failAt("beginWriteClass", n);
        EXPECT_EQ(object->xmlOut(&filer), eFilerClassFailed) << n;
        EXPECT_EQ(static_cast<int>(filer.calls().size()), n);
        EXPECT_EQ(opened(filer.calls(), "beginWriteClass"), n);
    }
}

TEST_P(StoredClassFrame, XmlIn_NthFrameRefused_Status4AtOnceAndOuterFramesLeftOpen_Quirk7)
{
    for (int n = 1; n <= depth(); ++n)
    {
        ScriptedFiler filer;
        filer.failAt("beginReadClass", n);
        EXPECT_EQ(object->xmlIn(&filer), eFilerClassFailed) << n;
        EXPECT_EQ(static_cast<int>(filer.calls().size()), n);
        EXPECT_EQ(opened(filer.calls(), "beginReadClass"), n);
    }
}

TEST_P(StoredClassFrame, XmlOut_RootWithoutSection_Status5AtOnceAndDerivedFrameLeftOpen_Quirk7)
{
    ScriptedFiler filer;
    filer.failAt("beginWriteMembers", 1);
    EXPECT_EQ(object->xmlOut(&filer), eFilerNoMembers);
    EXPECT_EQ(static_cast<int>(filer.calls().size()), depth() + 2);
    EXPECT_EQ(filer.calls().back(), "endWriteClass"); // of the root
    EXPECT_EQ(opened(filer.calls(), "endWriteClass"), 1);
}

TEST_P(StoredClassFrame, XmlOut_RootMemberFails_Status1AtOnceAndDerivedFrameLeftOpen_Quirk7)
{
    ScriptedFiler filer;
    filer.failAt("writeObjectId", 1);
    EXPECT_EQ(object->xmlOut(&filer), eFilerMemberFailed);
    EXPECT_EQ(static_cast<int>(filer.calls().size()), depth() + 4);
    EXPECT_EQ(opened(filer.calls(), "endWriteClass"), 1);
}

TEST_P(StoredClassFrame, XmlIn_RootWithoutSectionOrMember_StatusAtOnceAndDerivedFrameLeftOpen_Quirk7)
{
    ScriptedFiler withoutSection;
    withoutSection.failAt("beginReadMembers", 1);
    EXPECT_EQ(object->xmlIn(&withoutSection), eFilerNoMembers);
    EXPECT_EQ(static_cast<int>(withoutSection.calls().size()), depth() + 2);

    ScriptedFiler withoutMember;
    withoutMember.failAt("readObjectId", 1);
    EXPECT_EQ(object->xmlIn(&withoutMember), eFilerMemberFailed);
    EXPECT_EQ(static_cast<int>(withoutMember.calls().size()), depth() + 4);
    EXPECT_EQ(opened(withoutMember.calls(), "endReadClass"), 1);
}

TEST_P(StoredClassFrame, XmlOutAndIn_EachCallThrows_OneReportAndSuccess_Quirk6)
{
    RecordingFiler dry;
    ASSERT_EQ(object->xmlOut(&dry), eFilerOk);
    for (std::string const operation :
         {"beginWriteClass", "endWriteClass", "beginWriteMembers", "endWriteMembers", "writeObjectId"})
    {
        int const times = opened(dry.calls(), operation);
        for (int nth = 1; nth <= times; ++nth)
        {
            ScriptedFiler filer;
            filer.throwAt(operation, nth);
            ReportCatcher reports;
            EXPECT_EQ(object->xmlOut(&filer), eFilerOk) << operation << ' ' << nth;
            EXPECT_EQ(reports.count(), 1u) << operation << ' ' << nth;
        }
    }
}

TEST_P(StoredClassFrame, XmlOutAndIn_OwnCallThrows_ReportNamesTheClass_Quirk6)
{
    std::string stem = object->isA(CString(u"OKTDbGroupParameter")) ? "OKTDbParameter" : GetParam();
    for (char &letter : stem)
        letter = static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter);
    auto const expectReport = [&](CallRecord const &filer, ReportCatcher const &reports, std::string const &operation) {
        ASSERT_EQ(reports.count(), 1u) << operation << ' ' << filer.calls().size();
        EXPECT_THAT(reports.texts()[0], IsReportOf(stem)) << operation;
    };
    // The first frame that is begun, and the last section and frame that are begun or ended, are those of the class itself.
    ScriptedFiler dry;
    ASSERT_EQ(object->xmlOut(&dry), eFilerOk);
    ASSERT_EQ(object->xmlIn(&dry), eFilerOk);
    for (std::string const direction : {"Write", "Read"})
        for (std::string const step : {"begin?Class", "begin?Members", "end?Members", "end?Class"})
        {
            std::string operation = step;
            operation.replace(operation.find('?'), 1, direction);
            ScriptedFiler filer;
            filer.throwAt(operation, step == "begin?Class" ? 1 : opened(dry.calls(), operation));
            ReportCatcher reports;
            EXPECT_EQ(direction == "Write" ? object->xmlOut(&filer) : object->xmlIn(&filer), eFilerOk) << operation;
            expectReport(filer, reports, operation);
        }
}

TEST_P(StoredClassFrame, XmlIn_FrameOfAnotherClass_Status4)
{
    TestObject other;
    OKTMemoryFiler writer;
    ASSERT_EQ(other.xmlOut(&writer), eFilerOk);
    CByteArray bytes;
    ASSERT_TRUE(writer.saveFiler(bytes));
    OKTMemoryFiler reader;
    ASSERT_TRUE(reader.loadFiler(bytes));
    EXPECT_EQ(object->xmlIn(&reader), eFilerClassFailed);
}

INSTANTIATE_TEST_SUITE_P(Classes, StoredClassFrame,
                         ::testing::Values("OKTDbObject", "OKTDbParameter", "OKTDbGroupParameter", "OKTDbCategory",
                                           "OKTDbGroupCategory", "OKTDbRelation", "OKTDbParamRelation", "OKTDbPicture"),
                         [](auto const &parameter) { return std::string(parameter.param); });
