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

class RelationTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    ReportCatcher m_reports;
};

TEST_F(RelationTest, ClassPatternAndCopy)
{
    EXPECT_EQ(OKTDbRelation::desc()->ClassName(), u"OKTDbRelation");
    EXPECT_EQ(OKTDbRelation::desc()->BaseClassDesc(), OKTDbObject::desc());
    OKTDbRelation relation;
    relation.setObjectId(idOf(k1));
    std::unique_ptr<OKTDbObject> const made(relation.createObject());
    EXPECT_TRUE(made->isA(u"OKTDbRelation"));
    EXPECT_TRUE(made->objectId().isNull());
    OKTDbParamRelation derived;
    EXPECT_EQ(OKTDbRelation::cast(&derived), &derived);
    EXPECT_FALSE(derived.isA(u"OKTDbRelation"));
    EXPECT_EQ(OKTDbParamRelation::cast(&relation), nullptr);
    OKTDbRelation const copy(relation);
    EXPECT_EQ(textOf(copy.objectId()), k1);
}

TEST_F(RelationTest, Assignment_TakesTheId)
{
    OKTDbRelation relation;
    relation.setObjectId(idOf(k1));
    OKTDbRelation other;
    OKTDbRelation &assigned = other = relation;
    EXPECT_EQ(&assigned, &other);
    EXPECT_EQ(textOf(other.objectId()), k1);
    EXPECT_TRUE(other.isA(u"OKTDbRelation"));
}

TEST_F(RelationTest, XmlOut_CallsInOrderAndBytes)
{
    OKTDbRelation relation;
    relation.setObjectId(idOf(k1));
    RecordingFiler filer;
    EXPECT_EQ(relation.xmlOut(&filer), eFilerOk); // the empty section counts
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbRelation 1", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", std::string("writeObjectId m_objectId ") + k1, "endWriteMembers",
                            "endWriteClass", "beginWriteMembers 1", "endWriteMembers", "endWriteClass"));
    EXPECT_EQ(filer.takeBytes(), relationFrame(k1).bytes());
}

TEST_F(RelationTest, XmlIn_CallsInOrder)
{
    RecordingFiler filer;
    filer.loadFiler(relationFrame(k1).bytes());
    OKTDbRelation relation;
    EXPECT_EQ(relation.xmlIn(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(), ElementsAre("beginReadClass Object OKTDbRelation", "beginReadClass Object OKTDbObject",
                                           "beginReadMembers 1", "readObjectId m_objectId", "endReadMembers", "endReadClass",
                                           "beginReadMembers 1", "endReadMembers", "endReadClass"));
    EXPECT_EQ(textOf(relation.objectId()), k1);
}

TEST_F(RelationTest, Statuses)
{
    OKTDbRelation relation;
    EXPECT_EQ(relation.xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(relation.xmlIn(nullptr), eFilerNoFiler);
    struct
    {
        char const *operation; ///< without its direction
        int nth;
        FilerStatusDb status;
        std::size_t calls;
    } const rows[] = {
        {"Class", 1, eFilerClassFailed, 1},     // its own frame
        {"Class", 2, eFilerClassFailed, 2},     // that of the base: returned at once
        {"Members", 1, eFilerNoMembers, 4},     // the section of the base
        {"ObjectId", 1, eFilerMemberFailed, 6}, // the member of the base
        {"Members", 2, eFilerNoMembers, 8},     // its own section: the frame is ended
    };
    for (auto const &row : rows)
    {
        std::string const operation = row.operation;
        bool const member = operation == "ObjectId";
        ScriptedFiler out;
        out.failAt((member ? "write" : "beginWrite") + operation, row.nth);
        EXPECT_EQ(relation.xmlOut(&out), row.status) << operation << row.nth;
        EXPECT_EQ(out.calls().size(), row.calls) << operation << row.nth;
        ScriptedFiler in;
        in.failAt((member ? "read" : "beginRead") + operation, row.nth);
        EXPECT_EQ(relation.xmlIn(&in), row.status) << operation << row.nth;
        EXPECT_EQ(in.calls().size(), row.calls) << operation << row.nth;
    }
}

TEST_F(RelationTest, EndsThatFail_AreNotLookedAt)
{
    OKTDbRelation relation;
    ScriptedFiler out;
    ScriptedFiler in;
    for (int nth = 1; nth <= 2; ++nth)
    {
        out.failAt("endWriteMembers", nth);
        out.failAt("endWriteClass", nth);
        in.failAt("endReadMembers", nth);
        in.failAt("endReadClass", nth);
    }
    EXPECT_EQ(relation.xmlOut(&out), eFilerOk);
    EXPECT_EQ(relation.xmlIn(&in), eFilerOk);
}

TEST_F(RelationTest, XmlIn_SectionThatIsNotEmpty_IsLeftHalfReadAndCounts)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbRelation").objectBase(k1).beginMembers(1).integer(5).endMembers().endClass();
    OKTMemoryFiler filer;
    filer.loadFiler(frame.bytes());
    OKTDbRelation relation;
    EXPECT_EQ(relation.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(textOf(relation.objectId()), k1);
}
} // namespace
