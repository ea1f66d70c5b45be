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
constexpr char const *k4 = "{00000004-4444-4444-4444-444444444444}";

class CategoryTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    static std::vector<std::string> list(OKTDbCategory const &category)
    {
        IdArray ids;
        category.getAllParameters(ids);
        std::vector<std::string> texts;
        for (OKTDbObjectId const &id : ids)
            texts.push_back(textOf(id));
        return texts;
    }

    static FilerStatusDb read(OKTDbCategory &category, StreamBuilder const &stream, OKTDbPool *pool = nullptr)
    {
        OKTMemoryFiler filer(pool);
        filer.loadFiler(stream.bytes());
        return category.xmlIn(&filer);
    }

    /// Id k1, group k2, name "All", parameters k3 and k4.
    static void fill(OKTDbCategory &category)
    {
        category.setObjectId(idOf(k1));
        category.setGroupCategory(idOf(k2));
        category.setCategoryName(u"All");
        category.appendParameter(idOf(k3));
        category.appendParameter(idOf(k4));
    }

    ReportCatcher m_reports;
};

TEST_F(CategoryTest, Constructor_EverythingEmpty)
{
    OKTDbCategory const category;
    EXPECT_EQ(category.parameterCount(), 0);
    EXPECT_EQ(category.CategoryName(), u"");
    EXPECT_TRUE(category.GroupCategory().isNull());
    EXPECT_TRUE(category.objectId().isNull());
}

TEST_F(CategoryTest, ClassPattern_NamesBaseAndCasts)
{
    EXPECT_EQ(OKTDbCategory::desc()->ClassName(), u"OKTDbCategory");
    EXPECT_EQ(OKTDbCategory::desc()->BaseClassDesc(), OKTDbObject::desc());
    OKTDbCategory category;
    OKTDbGroupCategory group;
    EXPECT_EQ(OKTDbCategory::cast(&category), &category);
    EXPECT_EQ(OKTDbCategory::cast(&group), nullptr);
    std::unique_ptr<OKTDbObject> const made(category.createObject());
    EXPECT_TRUE(made->isA(u"OKTDbCategory"));
}

TEST_F(CategoryTest, Copies_TakeEveryField)
{
    OKTDbCategory source;
    fill(source);
    OKTDbCategory const copy(source);
    OKTDbCategory assigned;
    assigned.appendParameter(idOf(k1));
    assigned = source;
    source.removeAllParameters();
    for (OKTDbCategory const *const category : {&copy, static_cast<OKTDbCategory const *>(&assigned)})
    {
        EXPECT_EQ(textOf(category->objectId()), k1);
        EXPECT_EQ(textOf(category->GroupCategory()), k2);
        EXPECT_EQ(category->CategoryName(), u"All");
        EXPECT_THAT(list(*category), ElementsAre(k3, k4));
    }
}

TEST_F(CategoryTest, AppendParameter_EachIdOnce_InOrder)
{
    OKTDbCategory category;
    for (char const *const id : {k3, k1, k3, k2, k1})
        category.appendParameter(idOf(id));
    EXPECT_THAT(list(category), ElementsAre(k3, k1, k2));
    EXPECT_EQ(category.parameterCount(), 3);
    EXPECT_EQ(category.findParameterIndex(idOf(k3)), 0);
    EXPECT_EQ(category.findParameterIndex(idOf(k2)), 2);
    EXPECT_EQ(category.findParameterIndex(idOf(k4)), -1);
    category.appendParameter(OKTDbObjectId()); // a null id is an id
    EXPECT_EQ(category.parameterCount(), 4);
}

TEST_F(CategoryTest, ParameterAt_OutsideTheList_DefaultId)
{
    OKTDbCategory category;
    fill(category);
    EXPECT_EQ(textOf(category.parameterAt(0)), k3);
    EXPECT_EQ(textOf(category.parameterAt(1)), k4);
    for (int const index : {-1, 2, -2147483647 - 1, 2147483647})
    {
        EXPECT_TRUE(category.parameterAt(index).isNull()) << index;
        EXPECT_EQ(category.parameterAt(index).getPool(), nullptr) << index;
    }
    EXPECT_TRUE(OKTDbCategory().parameterAt(0).isNull());
}

TEST_F(CategoryTest, RemoveParameter_Absent_ChangesNothing)
{
    OKTDbCategory category;
    fill(category);
    category.removeParameter(idOf(k1));
    EXPECT_THAT(list(category), ElementsAre(k3, k4));
    category.removeParameter(idOf(k3));
    EXPECT_THAT(list(category), ElementsAre(k4));
    category.removeAllParameters();
    EXPECT_EQ(category.parameterCount(), 0);
    category.removeAllParameters();
    EXPECT_EQ(category.parameterCount(), 0);
}

TEST_F(CategoryTest, GetAllParameters_ReplacesItsArgument)
{
    OKTDbCategory category;
    fill(category);
    IdArray ids;
    ids.append(idOf(k1), 3);
    category.getAllParameters(ids);
    EXPECT_EQ(ids.getSize(), 2);
    ids.removeAll();
    EXPECT_EQ(category.parameterCount(), 2);
}

TEST_F(CategoryTest, Links_AreNotKeptInStep_Quirk60)
{
    OKTDbPool pool;
    auto *const parameter = new OKTDbParameter;
    auto *const category = new OKTDbCategory;
    auto *const group = new OKTDbGroupCategory;
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{parameter, category, group})
        ASSERT_TRUE(pool.appendObject(object));

    category->appendParameter(parameter->objectId());
    EXPECT_TRUE(parameter->Category().isNull());
    group->appendCategory(category->objectId());
    EXPECT_TRUE(category->GroupCategory().isNull());
    parameter->setCategory(category->objectId());
    category->removeParameter(parameter->objectId());
    EXPECT_EQ(parameter->Category(), category->objectId());
    category->setGroupCategory(group->objectId());
    group->removeCagegory(category->objectId());
    EXPECT_EQ(category->GroupCategory(), group->objectId());
    EXPECT_EQ(pool.objectCount(), 3);
}

TEST_F(CategoryTest, ParameterAt_ErasedObject_IsNotReachedThroughTheList)
{
    OKTDbPool pool;
    auto *const parameter = new OKTDbParameter;
    pool.appendObject(parameter);
    OKTDbCategory category;
    category.appendParameter(parameter->objectId());
    EXPECT_EQ(category.parameterAt(0).getObject(), parameter);
    OKTDbObjectId id = parameter->objectId();
    ASSERT_TRUE(id.eraseObject());
    EXPECT_EQ(category.parameterAt(0).getObject(), nullptr);
    EXPECT_EQ(category.parameterCount(), 1);
}

// --- The stream form ---------------------------------------------------------------------------------------------------------

TEST_F(CategoryTest, XmlOut_CallsInOrder)
{
    OKTDbCategory category;
    fill(category);
    RecordingFiler filer;
    EXPECT_EQ(category.xmlOut(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbCategory 1", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", std::string("writeObjectId m_objectId ") + k1, "endWriteMembers",
                            "endWriteClass", "beginWriteMembers 1", std::string("writeObjectId m_idGroupCategory ") + k2,
                            "writeInt m_tabParameters.Length 2", std::string("writeObjectId m_tabParameters.0 ") + k3,
                            std::string("writeObjectId m_tabParameters.1 ") + k4, "writeString m_strCategoryName \"All\"",
                            "endWriteMembers", "endWriteClass"));
}

TEST_F(CategoryTest, XmlIn_CallsInOrder)
{
    RecordingFiler filer;
    filer.loadFiler(categoryFrame(k1, k2, {k3, k4}, u"All").bytes());
    OKTDbCategory category;
    EXPECT_EQ(category.xmlIn(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginReadClass Object OKTDbCategory", "beginReadClass Object OKTDbObject", "beginReadMembers 1",
                            "readObjectId m_objectId", "endReadMembers", "endReadClass", "beginReadMembers 1",
                            "readObjectId m_idGroupCategory", "readInt m_tabParameters.Length",
                            "readObjectId m_tabParameters.0", "readObjectId m_tabParameters.1", "readString m_strCategoryName",
                            "endReadMembers", "endReadClass"));
}

TEST_F(CategoryTest, XmlOut_Bytes)
{
    OKTDbCategory category;
    fill(category);
    OKTMemoryFiler filer;
    ASSERT_EQ(category.xmlOut(&filer), eFilerOk);
    EXPECT_EQ(filer.takeBytes(), categoryFrame(k1, k2, {k3, k4}, u"All").bytes());
}

TEST_F(CategoryTest, XmlOut_Empty_LengthZeroAndEmptyName)
{
    OKTMemoryFiler filer;
    ASSERT_EQ(OKTDbCategory().xmlOut(&filer), eFilerOk);
    CByteArray const bytes = filer.takeBytes();
    EXPECT_EQ(bytes, categoryFrame("", "", {}, u"").bytes());
    OKTDbCategory category;
    fill(category);
    filer.loadFiler(bytes);
    ASSERT_EQ(category.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(category.parameterCount(), 0);
    EXPECT_EQ(category.CategoryName(), u"");
    EXPECT_TRUE(category.GroupCategory().isNull());
}

TEST_F(CategoryTest, XmlIn_OverAUsedCategory_Replaces)
{
    OKTDbPool pool;
    OKTDbCategory category;
    fill(category);
    ASSERT_EQ(read(category, categoryFrame(k4, k3, {k2}, u"other"), &pool), eFilerOk);
    EXPECT_EQ(textOf(category.objectId()), k4);
    EXPECT_EQ(textOf(category.GroupCategory()), k3);
    EXPECT_THAT(list(category), ElementsAre(k2));
    EXPECT_EQ(category.CategoryName(), u"other");
    EXPECT_EQ(category.parameterAt(0).getPool(), &pool);
}

TEST_F(CategoryTest, XmlIn_IdTwice_ListHoldsItTwiceAndRemovingTakesBoth_Quirk59)
{
    OKTDbCategory category;
    ASSERT_EQ(read(category, categoryFrame(k1, "", {k3, k4, k3}, u"")), eFilerOk);
    EXPECT_THAT(list(category), ElementsAre(k3, k4, k3));
    EXPECT_EQ(category.findParameterIndex(idOf(k3)), 0);
    category.removeParameter(idOf(k3));
    EXPECT_THAT(list(category), ElementsAre(k4));
}

TEST_F(CategoryTest, XmlIn_WithoutSection_5AndTheFieldsStay)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbCategory").objectBase(k4).beginMembers(2).integer(1).endMembers().endClass().raw({6});
    OKTMemoryFiler filer;
    filer.loadFiler(frame.bytes());
    OKTDbCategory category;
    fill(category);
    EXPECT_EQ(category.xmlIn(&filer), eFilerNoMembers);
    EXPECT_EQ(filer.GetFilerPosition(), frame.size() - 1); // behind the end of the class
    EXPECT_THAT(list(category), ElementsAre(k3, k4));
    EXPECT_EQ(category.CategoryName(), u"All");
    EXPECT_EQ(textOf(category.objectId()), k4); // that of the base has been read
}

TEST_F(CategoryTest, XmlIn_SectionOfTheFuture_IsPassedOver)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbCategory", 2).objectBase(k1).beginMembers(1).id(k2).integer(0).wideText(u"n").endMembers();
    frame.beginMembers(2).id(k3).boolean(1).endMembers().endClass().raw({6});
    OKTMemoryFiler filer;
    filer.loadFiler(frame.bytes());
    OKTDbCategory category;
    EXPECT_EQ(category.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(filer.GetFilerPosition(), frame.size() - 1);
}

// --- Statuses and failures ---------------------------------------------------------------------------------------------------

TEST_F(CategoryTest, NullFiler_3)
{
    OKTDbCategory category;
    EXPECT_EQ(category.xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(category.xmlIn(nullptr), eFilerNoFiler);
}

TEST_F(CategoryTest, FrameRefused_4AndNothingMore)
{
    OKTDbCategory category;
    ScriptedFiler out;
    out.failAt("beginWriteClass", 1);
    EXPECT_EQ(category.xmlOut(&out), eFilerClassFailed);
    EXPECT_THAT(out.calls(), ElementsAre("beginWriteClass Object OKTDbCategory 1"));
    ScriptedFiler in;
    in.failAt("beginReadClass", 1);
    EXPECT_EQ(category.xmlIn(&in), eFilerClassFailed);
    EXPECT_THAT(in.calls(), ElementsAre("beginReadClass Object OKTDbCategory"));
}

TEST_F(CategoryTest, BaseRefused_ItsStatusAtOnceAndTheFrameLeftOpen)
{
    OKTDbCategory category;
    ScriptedFiler out;
    out.failAt("writeObjectId", 1);
    EXPECT_EQ(category.xmlOut(&out), eFilerMemberFailed);
    EXPECT_THAT(out.calls(),
                ElementsAre("beginWriteClass Object OKTDbCategory 1", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", std::string("writeObjectId m_objectId ") + textOf(OKTDbObjectId()),
                            "endWriteMembers", "endWriteClass"));
    ScriptedFiler in;
    in.failAt("beginReadClass", 2);
    EXPECT_EQ(category.xmlIn(&in), eFilerClassFailed);
    EXPECT_THAT(in.calls(), ElementsAre("beginReadClass Object OKTDbCategory", "beginReadClass Object OKTDbObject"));
}

TEST_F(CategoryTest, SectionRefused_5BehindTheEndOfTheFrame)
{
    OKTDbCategory category;
    ScriptedFiler out;
    out.failAt("beginWriteMembers", 2);
    EXPECT_EQ(category.xmlOut(&out), eFilerNoMembers);
    EXPECT_THAT(std::vector<std::string>(out.calls().end() - 2, out.calls().end()),
                ElementsAre("beginWriteMembers 1", "endWriteClass"));
    ScriptedFiler in;
    in.failAt("beginReadMembers", 2);
    EXPECT_EQ(category.xmlIn(&in), eFilerNoMembers);
    EXPECT_THAT(std::vector<std::string>(in.calls().end() - 2, in.calls().end()),
                ElementsAre("beginReadMembers 1", "endReadClass"));
}

TEST_F(CategoryTest, XmlOut_MemberFails_1AndTheListIsNotEntered)
{
    OKTDbCategory category;
    fill(category);
    for (auto const &[operation, nth] : {std::pair("writeObjectId", 2), std::pair("writeInt", 1)})
    {
        ScriptedFiler filer;
        filer.failAt(operation, nth);
        EXPECT_EQ(category.xmlOut(&filer), eFilerMemberFailed);
        EXPECT_THAT(std::vector<std::string>(filer.calls().end() - 5, filer.calls().end()),
                    ElementsAre(std::string("writeObjectId m_idGroupCategory ") + k2, "writeInt m_tabParameters.Length 2",
                                "writeString m_strCategoryName \"All\"", "endWriteMembers", "endWriteClass"));
    }
}

TEST_F(CategoryTest, XmlOut_IdFails_ListEndsThere)
{
    OKTDbCategory category;
    fill(category);
    ScriptedFiler filer;
    filer.failAt("writeObjectId", 3);
    EXPECT_EQ(category.xmlOut(&filer), eFilerMemberFailed);
    EXPECT_THAT(std::vector<std::string>(filer.calls().end() - 4, filer.calls().end()),
                ElementsAre(std::string("writeObjectId m_tabParameters.0 ") + k3, "writeString m_strCategoryName \"All\"",
                            "endWriteMembers", "endWriteClass"));
}

TEST_F(CategoryTest, XmlOut_LastMemberFails_1)
{
    OKTDbCategory category;
    fill(category);
    ScriptedFiler filer;
    filer.failAt("writeString", 1);
    EXPECT_EQ(category.xmlOut(&filer), eFilerMemberFailed);
}

TEST_F(CategoryTest, XmlIn_IdFails_IsAppendedAndEndsTheList_Quirk52)
{
    RecordingFiler filer;
    filer.loadFiler(categoryFrame(k1, k2, {k3, k4, k1}, u"All").bytes());
    filer.failAt("readObjectId", 4);
    OKTDbCategory category;
    EXPECT_EQ(category.xmlIn(&filer), eFilerMemberFailed);
    ASSERT_EQ(category.parameterCount(), 2);
    EXPECT_EQ(textOf(category.parameterAt(0)), k3);
    EXPECT_TRUE(category.parameterAt(1).isNull());
    EXPECT_THAT(filer.calls(), testing::Contains("readString m_strCategoryName"));
}

TEST_F(CategoryTest, XmlIn_GroupFails_ListIsEmptiedAndNotEntered)
{
    OKTDbCategory category;
    fill(category);
    ScriptedFiler filer;
    filer.giveInt(2);
    filer.giveString(u"read");
    filer.failAt("readObjectId", 2);
    EXPECT_EQ(category.xmlIn(&filer), eFilerMemberFailed);
    EXPECT_EQ(category.parameterCount(), 0);
    EXPECT_EQ(category.CategoryName(), u"read");
}

TEST_F(CategoryTest, XmlIn_CountsThatLie_FalseAtNoCost)
{
    auto const frame = [](std::int64_t count) {
        StreamBuilder stream;
        stream.beginClass("OKTDbCategory").objectBase(k1).beginMembers(1).id(k2).integer(count).id(k3);
        return stream.wideText(u"All").endMembers().endClass();
    };
    OKTDbCategory category;
    EXPECT_EQ(read(category, frame(2147483647)), eFilerMemberFailed);
    EXPECT_EQ(category.parameterCount(), 2); // the id, and the one that failed

    StreamBuilder negative;
    negative.beginClass("OKTDbCategory")
        .objectBase(k1)
        .beginMembers(1)
        .id(k2)
        .integer(-7)
        .wideText(u"All")
        .endMembers()
        .endClass();
    EXPECT_EQ(read(category, negative), eFilerOk);
    EXPECT_EQ(category.parameterCount(), 0);
    EXPECT_EQ(category.CategoryName(), u"All");
}
} // namespace
