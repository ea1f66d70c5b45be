// SPDX-License-Identifier: MIT
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::ElementsAre;

namespace
{
constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";
constexpr char const *k2 = "{00000002-2222-2222-2222-222222222222}";
constexpr char const *k3 = "{00000003-3333-3333-3333-333333333333}";

class GroupCategoryTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    static std::vector<std::string> list(OKTDbGroupCategory const &group)
    {
        IdArray ids;
        group.getAllCategories(ids);
        std::vector<std::string> texts;
        for (OKTDbObjectId const &id : ids)
            texts.push_back(textOf(id));
        return texts;
    }

    static FilerStatusDb read(OKTDbGroupCategory &group, StreamBuilder const &stream)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(stream.bytes());
        return group.xmlIn(&filer);
    }

    /// Id k1, categories k2 and k3.
    static void fill(OKTDbGroupCategory &group)
    {
        group.setObjectId(idOf(k1));
        group.appendCategory(idOf(k2));
        group.appendCategory(idOf(k3));
    }

    ReportCatcher m_reports;
};

TEST_F(GroupCategoryTest, ConstructorCopyAndClassPattern)
{
    OKTDbGroupCategory group;
    EXPECT_EQ(group.categoryCount(), 0);
    EXPECT_EQ(OKTDbGroupCategory::desc()->ClassName(), u"OKTDbGroupCategory");
    EXPECT_EQ(OKTDbGroupCategory::desc()->BaseClassDesc(), OKTDbObject::desc());
    std::unique_ptr<OKTDbObject> const made(group.createObject());
    EXPECT_TRUE(made->isA(u"OKTDbGroupCategory"));
    EXPECT_EQ(OKTDbGroupCategory::cast(made.get()), made.get());

    fill(group);
    OKTDbGroupCategory const copy(group);
    OKTDbGroupCategory assigned;
    assigned = group;
    group.removeAllCategories();
    EXPECT_THAT(list(copy), ElementsAre(k2, k3));
    EXPECT_THAT(list(assigned), ElementsAre(k2, k3));
    EXPECT_EQ(textOf(assigned.objectId()), k1);
}

TEST_F(GroupCategoryTest, AppendCategory_EachIdOnce_InOrder)
{
    OKTDbGroupCategory group;
    for (char const *const id : {k3, k1, k3})
        group.appendCategory(idOf(id));
    EXPECT_THAT(list(group), ElementsAre(k3, k1));
    EXPECT_EQ(group.categoryCount(), 2);
    EXPECT_EQ(group.findCategoryIndex(idOf(k1)), 1);
    EXPECT_EQ(group.findCategoryIndex(idOf(k2)), -1);
}

TEST_F(GroupCategoryTest, CategoryAt_OutsideTheList_DefaultId)
{
    OKTDbGroupCategory group;
    fill(group);
    EXPECT_EQ(textOf(group.categoryAt(1)), k3);
    for (int const index : {-1, 2, -2147483647 - 1, 2147483647})
        EXPECT_TRUE(group.categoryAt(index).isNull()) << index;
}

TEST_F(GroupCategoryTest, RemoveCagegory_Absent_ChangesNothing)
{
    OKTDbGroupCategory group;
    fill(group);
    group.removeCagegory(idOf(k1));
    EXPECT_THAT(list(group), ElementsAre(k2, k3));
    group.removeCagegory(idOf(k2));
    EXPECT_THAT(list(group), ElementsAre(k3));
    group.removeAllCategories();
    EXPECT_EQ(group.categoryCount(), 0);
}

TEST_F(GroupCategoryTest, GetAllCategories_ReplacesItsArgument)
{
    OKTDbGroupCategory group;
    fill(group);
    IdArray ids;
    ids.append(idOf(k1), 3);
    group.getAllCategories(ids);
    EXPECT_EQ(ids.getSize(), 2);
}

// --- The stream form ---------------------------------------------------------------------------------------------------------

TEST_F(GroupCategoryTest, XmlOut_CallsInOrderAndBytes)
{
    OKTDbGroupCategory group;
    fill(group);
    RecordingFiler filer;
    EXPECT_EQ(group.xmlOut(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbGroupCategory 1", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", std::string("writeObjectId m_objectId ") + k1, "endWriteMembers",
                            "endWriteClass", "beginWriteMembers 1", "writeInt m_tabCategory.Length 2",
                            std::string("writeObjectId m_tabCategory.0 ") + k2,
                            std::string("writeObjectId m_tabCategory.1 ") + k3, "endWriteMembers", "endWriteClass"));
    EXPECT_EQ(filer.takeBytes(), groupCategoryFrame(k1, {k2, k3}).bytes());
}

TEST_F(GroupCategoryTest, XmlIn_CallsInOrder)
{
    RecordingFiler filer;
    filer.loadFiler(groupCategoryFrame(k1, {k2, k3}).bytes());
    OKTDbGroupCategory group;
    EXPECT_EQ(group.xmlIn(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbGroupCategory", "beginReadClass Object OKTDbObject",
                                           "beginReadMembers 1", "readObjectId m_objectId", "endReadMembers", "endReadClass",
                                           "beginReadMembers 1", "readInt m_tabCategory.Length", "readObjectId m_tabCategory.0",
                                           "readObjectId m_tabCategory.1", "endReadMembers", "endReadClass"));
    EXPECT_THAT(list(group), ElementsAre(k2, k3));
}

TEST_F(GroupCategoryTest, XmlIn_OverAUsedGroup_Replaces)
{
    OKTDbGroupCategory group;
    fill(group);
    ASSERT_EQ(read(group, groupCategoryFrame(k3, {k1})), eFilerOk);
    EXPECT_THAT(list(group), ElementsAre(k1));
    ASSERT_EQ(read(group, groupCategoryFrame(k3, {})), eFilerOk);
    EXPECT_EQ(group.categoryCount(), 0);
}

TEST_F(GroupCategoryTest, XmlIn_IdTwice_ListHoldsItTwiceAndRemovingTakesBoth_Quirk59)
{
    OKTDbGroupCategory group;
    ASSERT_EQ(read(group, groupCategoryFrame(k1, {k2, k3, k2})), eFilerOk);
    EXPECT_EQ(group.categoryCount(), 3);
    group.removeCagegory(idOf(k2));
    EXPECT_THAT(list(group), ElementsAre(k3));
}

// --- Statuses and failures ---------------------------------------------------------------------------------------------------

TEST_F(GroupCategoryTest, NullFiler_3)
{
    OKTDbGroupCategory group;
    EXPECT_EQ(group.xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(group.xmlIn(nullptr), eFilerNoFiler);
}

TEST_F(GroupCategoryTest, FrameRefused_4AndNothingMore)
{
    OKTDbGroupCategory group;
    ScriptedFiler out;
    out.failAt("beginWriteClass", 1);
    EXPECT_EQ(group.xmlOut(&out), eFilerClassFailed);
    EXPECT_THAT(out.calls(), ElementsAre("beginWriteClass Object OKTDbGroupCategory 1"));
    ScriptedFiler in;
    in.failAt("beginReadClass", 1);
    EXPECT_EQ(group.xmlIn(&in), eFilerClassFailed);
    EXPECT_THAT(in.calls(), ElementsAre("beginReadClass Object OKTDbGroupCategory"));
}

TEST_F(GroupCategoryTest, BaseRefused_ItsStatusAtOnceAndTheFrameLeftOpen)
{
    OKTDbGroupCategory group;
    ScriptedFiler out;
    out.failAt("beginWriteMembers", 1);
    EXPECT_EQ(group.xmlOut(&out), eFilerNoMembers);
    EXPECT_THAT(out.calls(), ElementsAre("beginWriteClass Object OKTDbGroupCategory 1", "beginWriteClass Object OKTDbObject 1",
                                         "beginWriteMembers 1", "endWriteClass"));
    ScriptedFiler in;
    in.failAt("readObjectId", 1);
    EXPECT_EQ(group.xmlIn(&in), eFilerMemberFailed);
    EXPECT_THAT(in.calls(), ElementsAre("beginReadClass Object OKTDbGroupCategory", "beginReadClass Object OKTDbObject",
                                        "beginReadMembers 1", "readObjectId m_objectId", "endReadMembers", "endReadClass"));
}

TEST_F(GroupCategoryTest, SectionRefused_5BehindTheEndOfTheFrameAndTheListStays)
{
    OKTDbGroupCategory group;
    fill(group);
    ScriptedFiler out;
    out.failAt("beginWriteMembers", 2);
    EXPECT_EQ(group.xmlOut(&out), eFilerNoMembers);
    EXPECT_EQ(out.calls().back(), "endWriteClass");
    ScriptedFiler in;
    in.failAt("beginReadMembers", 2);
    EXPECT_EQ(group.xmlIn(&in), eFilerNoMembers);
    EXPECT_EQ(in.calls().back(), "endReadClass");
    EXPECT_THAT(list(group), ElementsAre(k2, k3));
}

TEST_F(GroupCategoryTest, XmlOut_MemberFails_1AndTheListEnds)
{
    OKTDbGroupCategory group;
    fill(group);
    ScriptedFiler length;
    length.failAt("writeInt", 1);
    EXPECT_EQ(group.xmlOut(&length), eFilerMemberFailed);
    EXPECT_THAT(std::vector<std::string>(length.calls().end() - 3, length.calls().end()),
                ElementsAre("writeInt m_tabCategory.Length 2", "endWriteMembers", "endWriteClass"));
    ScriptedFiler id;
    id.failAt("writeObjectId", 2);
    EXPECT_EQ(group.xmlOut(&id), eFilerMemberFailed);
    EXPECT_THAT(std::vector<std::string>(id.calls().end() - 3, id.calls().end()),
                ElementsAre(std::string("writeObjectId m_tabCategory.0 ") + k2, "endWriteMembers", "endWriteClass"));
}

TEST_F(GroupCategoryTest, XmlIn_IdFails_IsAppendedAndEndsTheList_Quirk52)
{
    RecordingFiler filer;
    filer.loadFiler(groupCategoryFrame(k1, {k2, k3, k1}).bytes());
    filer.failAt("readObjectId", 3);
    OKTDbGroupCategory group;
    EXPECT_EQ(group.xmlIn(&filer), eFilerMemberFailed);
    ASSERT_EQ(group.categoryCount(), 2);
    EXPECT_EQ(textOf(group.categoryAt(0)), k2);
    EXPECT_TRUE(group.categoryAt(1).isNull());
}

TEST_F(GroupCategoryTest, XmlIn_CountsThatLie_FalseAtNoCost)
{
    auto const frame = [](std::int64_t count) {
        StreamBuilder stream;
        return stream.beginClass("OKTDbGroupCategory").objectBase(k1).beginMembers(1).integer(count).endMembers().endClass();
    };
    OKTDbGroupCategory group;
    EXPECT_EQ(read(group, frame(2147483647)), eFilerMemberFailed);
    EXPECT_EQ(group.categoryCount(), 1);
    EXPECT_EQ(read(group, frame(-2147483647)), eFilerOk);
    EXPECT_EQ(group.categoryCount(), 0);
}
} // namespace
