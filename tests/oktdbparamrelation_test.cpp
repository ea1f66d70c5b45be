// SPDX-License-Identifier: MIT
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using testing::ElementsAre;

namespace
{
constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";
constexpr char const *k2 = "{00000002-2222-2222-2222-222222222222}";
constexpr char const *k3 = "{00000003-3333-3333-3333-333333333333}";

class ParamRelationTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    static std::vector<std::string> list(OKTDbParamRelation const &relation)
    {
        IdArray ids;
        relation.getAllParameters(ids);
        std::vector<std::string> texts;
        for (OKTDbObjectId const &id : ids)
            texts.push_back(textOf(id));
        return texts;
    }

    static FilerStatusDb read(OKTDbParamRelation &relation, StreamBuilder const &stream)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(stream.bytes());
        return relation.xmlIn(&filer);
    }

    /// Id k1, parameters k2 and k3.
    static void fill(OKTDbParamRelation &relation)
    {
        relation.setObjectId(idOf(k1));
        relation.appendParameter(idOf(k2));
        relation.appendParameter(idOf(k3));
    }

    ReportCatcher m_reports;
};

TEST_F(ParamRelationTest, ConstructorCopyAndClassPattern)
{
    OKTDbParamRelation relation;
    EXPECT_EQ(relation.parameterCount(), 0);
    EXPECT_EQ(OKTDbParamRelation::desc()->ClassName(), u"OKTDbParamRelation");
    EXPECT_EQ(OKTDbParamRelation::desc()->BaseClassDesc(), OKTDbRelation::desc());
    EXPECT_TRUE(relation.isKindOf(OKTDbRelation::desc()));
    std::unique_ptr<OKTDbObject> const made(relation.createObject());
    EXPECT_TRUE(made->isA(u"OKTDbParamRelation"));

    fill(relation);
    OKTDbParamRelation const copy(relation);
    OKTDbParamRelation assigned;
    assigned = relation;
    relation.removeAllParameters();
    EXPECT_THAT(list(copy), ElementsAre(k2, k3));
    EXPECT_THAT(list(assigned), ElementsAre(k2, k3));
    EXPECT_EQ(textOf(assigned.objectId()), k1);
}

TEST_F(ParamRelationTest, AppendParameter_Twice_OneEntry)
{
    OKTDbParamRelation relation;
    relation.appendParameter(idOf(k2));
    relation.appendParameter(idOf(k2));
    EXPECT_EQ(relation.parameterCount(), 1);
    relation.appendParameter(idOf(k1));
    EXPECT_THAT(list(relation), ElementsAre(k2, k1));
}

TEST_F(ParamRelationTest, ParameterAt_OutsideTheList_DefaultId)
{
    OKTDbParamRelation relation;
    fill(relation);
    EXPECT_EQ(textOf(relation.parameterAt(0)), k2);
    for (int const index : {-1, 2, -2147483647 - 1, 2147483647})
        EXPECT_TRUE(relation.parameterAt(index).isNull()) << index;
}

TEST_F(ParamRelationTest, RemoveParameter_Absent_ChangesNothing)
{
    OKTDbParamRelation relation;
    fill(relation);
    relation.removeParameter(idOf(k1));
    EXPECT_THAT(list(relation), ElementsAre(k2, k3));
    relation.removeParameter(idOf(k2));
    EXPECT_THAT(list(relation), ElementsAre(k3));
    relation.removeAllParameters();
    EXPECT_EQ(relation.parameterCount(), 0);
}

TEST_F(ParamRelationTest, GetAllParameters_ReplacesItsArgument)
{
    OKTDbParamRelation relation;
    fill(relation);
    IdArray ids;
    ids.append(idOf(k1), 3);
    relation.getAllParameters(ids);
    EXPECT_EQ(ids.getSize(), 2);
}

TEST_F(ParamRelationTest, Parameters_OfThePool_AreNotTouched_Quirk60)
{
    OKTDbPool pool;
    auto *const parameter = new OKTDbParameter;
    pool.appendObject(parameter);
    OKTDbParamRelation relation;
    relation.appendParameter(parameter->objectId());
    EXPECT_TRUE(parameter->OwnerId().isNull());
    EXPECT_EQ(parameter->TabParams().getSize(), 0);
    relation.removeAllParameters();
    EXPECT_EQ(pool.objectCount(), 1);
}

// --- The stream form ---------------------------------------------------------------------------------------------------------

TEST_F(ParamRelationTest, XmlOut_CallsInOrderAndBytes)
{
    OKTDbParamRelation relation;
    fill(relation);
    RecordingFiler filer;
    EXPECT_EQ(relation.xmlOut(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbParamRelation 1", "beginWriteClass Object OKTDbRelation 1",
                            "beginWriteClass Object OKTDbObject 1", "beginWriteMembers 1",
                            std::string("writeObjectId m_objectId ") + k1, "endWriteMembers", "endWriteClass",
                            "beginWriteMembers 1", "endWriteMembers", "endWriteClass", "beginWriteMembers 1",
                            "writeInt m_tabParameters.Length 2", std::string("writeObjectId m_tabParameters.0 ") + k2,
                            std::string("writeObjectId m_tabParameters.1 ") + k3, "endWriteMembers", "endWriteClass"));
    EXPECT_EQ(filer.takeBytes(), paramRelationFrame(k1, {k2, k3}).bytes());
}

TEST_F(ParamRelationTest, XmlIn_CallsInOrder)
{
    RecordingFiler filer;
    filer.loadFiler(paramRelationFrame(k1, {k2, k3}).bytes());
    OKTDbParamRelation relation;
    EXPECT_EQ(relation.xmlIn(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginReadClass Object OKTDbParamRelation", "beginReadClass Object OKTDbRelation",
                            "beginReadClass Object OKTDbObject", "beginReadMembers 1", "readObjectId m_objectId",
                            "endReadMembers", "endReadClass", "beginReadMembers 1", "endReadMembers", "endReadClass",
                            "beginReadMembers 1", "readInt m_tabParameters.Length", "readObjectId m_tabParameters.0",
                            "readObjectId m_tabParameters.1", "endReadMembers", "endReadClass"));
    EXPECT_THAT(list(relation), ElementsAre(k2, k3));
    EXPECT_EQ(textOf(relation.objectId()), k1);
}

TEST_F(ParamRelationTest, XmlIn_OverAUsedRelation_Replaces)
{
    OKTDbParamRelation relation;
    fill(relation);
    ASSERT_EQ(read(relation, paramRelationFrame(k3, {k1})), eFilerOk);
    EXPECT_THAT(list(relation), ElementsAre(k1));
    ASSERT_EQ(read(relation, paramRelationFrame(k3, {})), eFilerOk);
    EXPECT_EQ(relation.parameterCount(), 0);
}

TEST_F(ParamRelationTest, XmlIn_IdTwice_ListHoldsItTwiceAndRemovingTakesBoth_Quirk59)
{
    OKTDbParamRelation relation;
    ASSERT_EQ(read(relation, paramRelationFrame(k1, {k2, k3, k2})), eFilerOk);
    EXPECT_THAT(list(relation), ElementsAre(k2, k3, k2));
    relation.removeParameter(idOf(k2));
    EXPECT_THAT(list(relation), ElementsAre(k3));
}

TEST_F(ParamRelationTest, XmlIn_WithoutItsSection_5BehindTheEndOfTheFrameAndTheListStays)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbParamRelation").append(relationFrame(k3)).endClass().raw({6});
    OKTMemoryFiler filer;
    filer.loadFiler(frame.bytes());
    OKTDbParamRelation relation;
    fill(relation);
    EXPECT_EQ(relation.xmlIn(&filer), eFilerNoMembers);
    EXPECT_EQ(filer.GetFilerPosition(), frame.size() - 1);
    EXPECT_THAT(list(relation), ElementsAre(k2, k3));
}

TEST_F(ParamRelationTest, XmlIn_BaseWithoutItsSection_5AtOnce)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbParamRelation").beginClass("OKTDbRelation").objectBase(k3).endClass();
    frame.beginMembers(1).integer(0).endMembers().endClass();
    OKTDbParamRelation relation;
    fill(relation);
    EXPECT_EQ(read(relation, frame), eFilerNoMembers);
    EXPECT_THAT(list(relation), ElementsAre(k2, k3));
}

// --- Statuses and failures ---------------------------------------------------------------------------------------------------

TEST_F(ParamRelationTest, NullFiler_3)
{
    OKTDbParamRelation relation;
    EXPECT_EQ(relation.xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(relation.xmlIn(nullptr), eFilerNoFiler);
}

TEST_F(ParamRelationTest, FrameOrBaseRefused_StatusAtOnce)
{
    OKTDbParamRelation relation;
    for (int nth = 1; nth <= 3; ++nth) // its own frame, that of the relation, that of the object
    {
        ScriptedFiler out;
        out.failAt("beginWriteClass", nth);
        EXPECT_EQ(relation.xmlOut(&out), eFilerClassFailed) << nth;
        EXPECT_EQ(out.calls().size(), static_cast<std::size_t>(nth));
        ScriptedFiler in;
        in.failAt("beginReadClass", nth);
        EXPECT_EQ(relation.xmlIn(&in), eFilerClassFailed) << nth;
        EXPECT_EQ(in.calls().size(), static_cast<std::size_t>(nth));
    }
    ScriptedFiler out;
    out.failAt("beginWriteMembers", 2);
    EXPECT_EQ(relation.xmlOut(&out), eFilerNoMembers);
    EXPECT_EQ(out.calls().back(), "endWriteClass"); // that of the relation: one end fewer than beginnings
    EXPECT_EQ(std::count(out.calls().begin(), out.calls().end(), "endWriteClass"), 2);
}

TEST_F(ParamRelationTest, SectionRefused_5BehindTheEndOfTheFrame)
{
    OKTDbParamRelation relation;
    ScriptedFiler out;
    out.failAt("beginWriteMembers", 3);
    EXPECT_EQ(relation.xmlOut(&out), eFilerNoMembers);
    EXPECT_EQ(std::count(out.calls().begin(), out.calls().end(), "endWriteClass"), 3);
}

TEST_F(ParamRelationTest, XmlOut_MemberFails_1AndTheListEnds)
{
    OKTDbParamRelation relation;
    fill(relation);
    ScriptedFiler length;
    length.failAt("writeInt", 1);
    EXPECT_EQ(relation.xmlOut(&length), eFilerMemberFailed);
    EXPECT_THAT(std::vector<std::string>(length.calls().end() - 3, length.calls().end()),
                ElementsAre("writeInt m_tabParameters.Length 2", "endWriteMembers", "endWriteClass"));
    ScriptedFiler id;
    id.failAt("writeObjectId", 2);
    EXPECT_EQ(relation.xmlOut(&id), eFilerMemberFailed);
    EXPECT_THAT(std::vector<std::string>(id.calls().end() - 3, id.calls().end()),
                ElementsAre(std::string("writeObjectId m_tabParameters.0 ") + k2, "endWriteMembers", "endWriteClass"));
}

TEST_F(ParamRelationTest, XmlIn_IdFails_IsAppendedAndEndsTheList_Quirk52)
{
    RecordingFiler filer;
    filer.loadFiler(paramRelationFrame(k1, {k2, k3, k1}).bytes());
    filer.failAt("readObjectId", 3);
    OKTDbParamRelation relation;
    EXPECT_EQ(relation.xmlIn(&filer), eFilerMemberFailed);
    ASSERT_EQ(relation.parameterCount(), 2);
    EXPECT_EQ(textOf(relation.parameterAt(0)), k2);
    EXPECT_TRUE(relation.parameterAt(1).isNull());
}

TEST_F(ParamRelationTest, XmlIn_CountsThatLie_FalseAtNoCost)
{
    auto const frame = [](std::int64_t count) {
        StreamBuilder stream;
        stream.beginClass("OKTDbParamRelation").append(relationFrame(k1));
        return stream.beginMembers(1).integer(count).endMembers().endClass();
    };
    OKTDbParamRelation relation;
    EXPECT_EQ(read(relation, frame(2147483647)), eFilerMemberFailed);
    EXPECT_EQ(relation.parameterCount(), 1);
    EXPECT_EQ(read(relation, frame(-2147483647)), eFilerOk);
    EXPECT_EQ(relation.parameterCount(), 0);
}
} // namespace
