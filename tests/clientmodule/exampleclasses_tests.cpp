// SPDX-License-Identifier: MIT
#include "oktdbangleparameter.h"
#include "oktdbconstruct.h"
#include "oktdbindexdata.h"

#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <numbers>
#include <string>
#include <vector>

// The classes of the example module, which this program links: they register at program start.

using testing::ElementsAre;

namespace
{

constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";

class ExampleClasses : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    static CByteArray bytesWrittenBy(OKTDbObject const &object)
    {
        OKTMemoryFiler filer;
        EXPECT_EQ(object.xmlOut(&filer), eFilerOk);
        return filer.takeBytes();
    }

    static FilerStatusDb readInto(OKTDbObject &object, StreamBuilder const &stream)
    {
        CByteArray const bytes = stream.bytes();
        OKTMemoryFiler filer;
        filer.readInPlace(bytes);
        return object.xmlIn(&filer);
    }

    template <typename T> static T *appendTo(OKTDbPool &pool)
    {
        auto *const object = new T;
        EXPECT_TRUE(pool.appendObject(object));
        return object;
    }

    /// A bar of 12 mm with one right angle: 300 and 200 mm, bent over a radius of 24 mm.
    static void fill(OKTDbConstruct &construct)
    {
        construct.setDiameter(12.0);
        construct.appendPoint(OKTGeXYZ(0.0, 0.0, 0.0));
        construct.appendPoint(OKTGeXYZ(300.0, 0.0, 0.0), 24.0);
        construct.appendPoint(OKTGeXYZ(300.0, 200.0, 0.0));
    }

    static std::vector<std::string> keywords(OKTDbIndexData const &index)
    {
        std::vector<std::string> texts;
        for (int i = 0; i < index.keywordCount(); ++i)
            texts.push_back(index.keywordAt(i).ToUtf8());
        return texts;
    }

    ScratchFolder m_folder;
    ReportCatcher m_reports;
};

TEST_F(ExampleClasses, Registry_ProgramThatLinksTheModule_HoldsItsClasses)
{
    for (char16_t const *const name : {u"OKTDbConstruct", u"OKTDbIndexData", u"OKTDbAngleParameter"})
    {
        OKTDbObject *made = nullptr;
        ASSERT_TRUE(OKTTools::getObjectFromClassName(name, made));
        std::unique_ptr<OKTDbObject> const object(made);
        EXPECT_TRUE(object->isA(name));
        EXPECT_TRUE(object->isKindOf(OKTDbObject::desc()));
    }
    EXPECT_TRUE(OKTDbAngleParameter::desc()->IsDerivedFrom(OKTDbParameter::desc()));
    EXPECT_FALSE(OKTDbParameter::desc()->IsDerivedFrom(OKTDbAngleParameter::desc()));
    EXPECT_FALSE(OKTDbConstruct::desc()->isA(OKTDbIndexData::desc()));
}

TEST_F(ExampleClasses, Pool_ConstructAndIndex_TakeTheirRoles)
{
    OKTDbPool pool;
    auto *const construct = appendTo<OKTDbConstruct>(pool);
    auto *const index = appendTo<OKTDbIndexData>(pool);
    EXPECT_EQ(pool.constructId(), construct->objectId());
    EXPECT_EQ(pool.indexId(), index->objectId());
}

// ---- OKTDbConstruct ---------------------------------------------------------------------------------------------------------

TEST_F(ExampleClasses, Construct_Default_Empty)
{
    OKTDbConstruct const construct;
    EXPECT_EQ(construct.Diameter(), 0.0);
    EXPECT_EQ(construct.pointCount(), 0);
    EXPECT_EQ(construct.polylineLength(), 0.0);
    EXPECT_EQ(construct.developedLength(), 0.0);
}

TEST_F(ExampleClasses, Construct_Indexes_OutsideIsTheOriginAndNoBend)
{
    OKTDbConstruct construct;
    fill(construct);
    EXPECT_EQ(construct.pointAt(1), OKTGeXYZ(300.0, 0.0, 0.0));
    EXPECT_EQ(construct.bendRadiusAt(1), 24.0);
    for (int const outside : {-1, 3})
    {
        EXPECT_EQ(construct.pointAt(outside), OKTGeXYZ());
        EXPECT_EQ(construct.bendRadiusAt(outside), 0.0);
    }
    construct.appendPoint(OKTGeXYZ(300.0, 200.0, 50.0), 99.0);
    EXPECT_EQ(construct.bendRadiusAt(3), 0.0); // an end
    construct.removeAllPoints();
    EXPECT_EQ(construct.pointCount(), 0);
    EXPECT_EQ(construct.Diameter(), 12.0);
}

TEST_F(ExampleClasses, Construct_Lengths_BendsAreRounded)
{
    OKTDbConstruct construct;
    fill(construct);
    EXPECT_DOUBLE_EQ(construct.polylineLength(), 500.0);
    // The centre line turns a right angle over a radius of 30: two tangents of 30 go, an arc of 47.124 comes.
    EXPECT_NEAR(construct.developedLength(), 487.1239, 1e-4);
    construct.removeAllPoints();
    for (double const x : {0.0, 100.0, 250.0}) // no bend at a point on a straight line
        construct.appendPoint(OKTGeXYZ(x, 0.0, 0.0), 24.0);
    EXPECT_DOUBLE_EQ(construct.developedLength(), 250.0);
}

TEST_F(ExampleClasses, Construct_StoredForm_AsDocumented)
{
    OKTDbConstruct construct;
    fill(construct);
    StreamBuilder expected;
    expected.beginClass("OKTDbConstruct").objectBase("").beginMembers(1).real(12.0).integer(3);
    expected.point(0.0, 0.0, 0.0).real(0.0).point(300.0, 0.0, 0.0).real(24.0).point(300.0, 200.0, 0.0).real(0.0);
    expected.endMembers().endClass();
    EXPECT_EQ(bytesWrittenBy(construct), expected.bytes());
}

TEST_F(ExampleClasses, Construct_FileBetweenPoolsOfTwoUnits_LengthsAreConverted)
{
    CString const path = m_folder.path("a.okt");
    {
        OKTDbPool millimetres;
        millimetres.setMetricsFactor(1000.0);
        fill(*appendTo<OKTDbConstruct>(millimetres));
        ASSERT_TRUE(millimetres.writeFile(path));
    }
    OKTDbPool centimetres;
    centimetres.setMetricsFactor(100.0);
    ASSERT_TRUE(centimetres.readFile(path));
    auto const *const read = OKTDbConstruct::cast(centimetres.constructId());
    ASSERT_NE(read, nullptr);
    EXPECT_NEAR(read->Diameter(), 1.2, 1e-12);
    ASSERT_EQ(read->pointCount(), 3);
    EXPECT_EQ(read->pointAt(2), OKTGeXYZ(30.0, 20.0, 0.0));
    EXPECT_NEAR(read->bendRadiusAt(1), 2.4, 1e-12);
}

TEST_F(ExampleClasses, Construct_Clone_SameGeometry)
{
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    fill(*appendTo<OKTDbConstruct>(pool));
    pool.setBoolTranslatedIds(true);
    std::unique_ptr<OKTDbPool> const clone(pool.clone());
    pool.setBoolTranslatedIds(false);
    ASSERT_NE(clone, nullptr);
    auto const *const copy = OKTDbConstruct::cast(clone->constructId());
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->objectId(), pool.constructId());
    EXPECT_EQ(copy->pointCount(), 3);
    EXPECT_NEAR(copy->developedLength(), 487.1239, 1e-4);
}

TEST_F(ExampleClasses, Construct_CountThatLies_PointsThatAreThere)
{
    for (std::int64_t const count : {std::int64_t{3}, std::int64_t{2147483647}})
    {
        StreamBuilder stream;
        stream.beginClass("OKTDbConstruct").objectBase(k1).beginMembers(1).real(12.0).integer(count);
        stream.point(1.0, 2.0, 3.0).real(0.0).point(4.0, 5.0, 6.0).real(0.5).endMembers().endClass();
        OKTDbConstruct construct;
        EXPECT_EQ(readInto(construct, stream), eFilerMemberFailed);
        ASSERT_EQ(construct.pointCount(), 2);
        EXPECT_EQ(construct.pointAt(1), OKTGeXYZ(4.0, 5.0, 6.0));
    }
    StreamBuilder negative;
    negative.beginClass("OKTDbConstruct").objectBase(k1).beginMembers(1).real(12.0).integer(-1).endMembers().endClass();
    OKTDbConstruct construct;
    fill(construct);
    EXPECT_EQ(readInto(construct, negative), eFilerOk);
    EXPECT_EQ(construct.pointCount(), 0);
}

TEST_F(ExampleClasses, XmlOutAndXmlIn_NoFilerOrAnotherClass_Status)
{
    OKTDbConstruct construct;
    OKTDbIndexData index;
    OKTDbAngleParameter angle;
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{&construct, &index, &angle})
    {
        EXPECT_EQ(object->xmlOut(nullptr), eFilerNoFiler);
        EXPECT_EQ(object->xmlIn(nullptr), eFilerNoFiler);
        EXPECT_EQ(readInto(*object, relationFrame(k1)), eFilerClassFailed);
    }
}

TEST_F(ExampleClasses, XmlIn_NoSectionOfItsOwn_Status)
{
    OKTDbConstruct construct;
    EXPECT_EQ(readInto(construct, StreamBuilder().beginClass("OKTDbConstruct").objectBase(k1).endClass()), eFilerNoMembers);
    OKTDbIndexData index;
    EXPECT_EQ(readInto(index, StreamBuilder().beginClass("OKTDbIndexData").objectBase(k1).endClass()), eFilerNoMembers);
}

// ---- OKTDbIndexData ---------------------------------------------------------------------------------------------------------

TEST_F(ExampleClasses, Index_Keywords_NeitherEmptyNorTwice)
{
    OKTDbIndexData index;
    for (char16_t const *const keyword : {u"link", u"", u"12 mm", u"link"})
        index.appendKeyword(keyword);
    EXPECT_THAT(keywords(index), ElementsAre("link", "12 mm"));
    EXPECT_TRUE(index.keywordAt(-1).IsEmpty());
    EXPECT_TRUE(index.keywordAt(2).IsEmpty());
    index.removeAllKeywords();
    EXPECT_EQ(index.keywordCount(), 0);
}

TEST_F(ExampleClasses, Index_CountObjects_OfThePoolAsItIs)
{
    OKTDbPool pool;
    auto *const index = appendTo<OKTDbIndexData>(pool);
    appendTo<OKTDbParameter>(pool);
    appendTo<OKTDbAngleParameter>(pool); // a parameter too
    appendTo<OKTDbCategory>(pool);
    appendTo<OKTDbPicture>(pool);
    index->countObjects(pool);
    EXPECT_EQ(index->ParameterCount(), 2);
    EXPECT_EQ(index->CategoryCount(), 1);
    EXPECT_EQ(index->PictureCount(), 1);
}

TEST_F(ExampleClasses, Index_StoredForm_AsDocumented)
{
    OKTDbIndexData index;
    index.setTitle(u"Bügel Ø12");
    index.appendKeyword(u"link");
    index.appendKeyword(u"12 mm");
    index.setCounts(25, 4, 1);
    index.setUnit(u"mm");
    StreamBuilder expected;
    expected.beginClass("OKTDbIndexData").objectBase("").beginMembers(1).wideText(u"Bügel Ø12").integer(2);
    expected.wideText(u"link").wideText(u"12 mm").integer(25).integer(4).integer(1).wideText(u"mm").endMembers().endClass();
    EXPECT_EQ(bytesWrittenBy(index), expected.bytes());

    OKTDbIndexData back;
    back.appendKeyword(u"old");
    ASSERT_EQ(readInto(back, expected), eFilerOk);
    EXPECT_EQ(back.Title(), u"Bügel Ø12");
    EXPECT_THAT(keywords(back), ElementsAre("link", "12 mm"));
    EXPECT_EQ(back.ParameterCount(), 25);
    EXPECT_EQ(back.CategoryCount(), 4);
    EXPECT_EQ(back.PictureCount(), 1);
    EXPECT_EQ(back.Unit(), u"mm");
}

TEST_F(ExampleClasses, Index_CountThatLies_KeywordsThatAreThere)
{
    StreamBuilder stream;
    stream.beginClass("OKTDbIndexData").objectBase(k1).beginMembers(1).wideText(u"t").integer(2147483647);
    stream.wideText(u"a").wideText(u"b").integer(1).integer(2).integer(3).wideText(u"mm").endMembers().endClass();
    OKTDbIndexData index;
    EXPECT_EQ(readInto(index, stream), eFilerMemberFailed);
    EXPECT_THAT(keywords(index), ElementsAre("a", "b"));
}

TEST_F(ExampleClasses, Index_SectionOfALaterRelease_IsPassedOver)
{
    StreamBuilder stream;
    stream.beginClass("OKTDbIndexData", 2).objectBase(k1).beginMembers(1).wideText(u"t").integer(0).integer(1).integer(2);
    stream.integer(3).wideText(u"mm").endMembers().beginMembers(2).real(4.0).endMembers().endClass();
    OKTDbIndexData index;
    EXPECT_EQ(readInto(index, stream), eFilerOk);
    EXPECT_EQ(index.Unit(), u"mm");
}

TEST_F(ExampleClasses, ReadIndex_FileOfAWholePool_TheIndexAlone)
{
    CString const path = m_folder.path("a.okt");
    {
        OKTDbPool pool;
        fill(*appendTo<OKTDbConstruct>(pool));
        for (int i = 0; i < 10; ++i)
            appendTo<OKTDbAngleParameter>(pool);
        auto *const index = appendTo<OKTDbIndexData>(pool);
        index->setTitle(u"Closed link");
        index->countObjects(pool);
        ASSERT_TRUE(pool.writeFile(path));
    }
    OKTDbPool pool;
    ASSERT_TRUE(pool.readIndex(path));
    EXPECT_EQ(pool.objectCount(), 1);
    auto const *const index = OKTDbIndexData::cast(pool.indexId());
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index->Title(), u"Closed link");
    EXPECT_EQ(index->ParameterCount(), 10);
    EXPECT_FALSE(pool.constructId().isValid());
}

// ---- OKTDbAngleParameter ----------------------------------------------------------------------------------------------------

TEST_F(ExampleClasses, Angle_Range_KeepsItsOrder)
{
    OKTDbAngleParameter angle(9, OKTDbObjectId());
    EXPECT_EQ(angle.Type(), 9);
    EXPECT_FALSE(angle.isInRange()); // no value yet
    EXPECT_TRUE(angle.setRange(90.0, 180.0));
    EXPECT_FALSE(angle.setRange(180.0, 90.0));
    EXPECT_FALSE(angle.setRange(std::numeric_limits<double>::quiet_NaN(), 90.0));
    EXPECT_EQ(angle.Least(), 90.0);
    EXPECT_EQ(angle.Most(), 180.0);
    struct
    {
        double degrees;
        bool inside;
    } const rows[] = {{89.9, false}, {90.0, true}, {135.0, true}, {180.0, true}, {180.1, false}};
    for (auto const &row : rows)
    {
        angle.setValue(row.degrees, 0);
        EXPECT_EQ(angle.isInRange(), row.inside) << row.degrees;
    }
    angle.setValue(180, 0);
    EXPECT_TRUE(angle.isInRange());
    EXPECT_DOUBLE_EQ(angle.Radians(), std::numbers::pi);
    angle.setValue(u"135", 0);
    EXPECT_FALSE(angle.isInRange());
    EXPECT_EQ(angle.Radians(), 0.0);
}

TEST_F(ExampleClasses, Angle_StoredForm_AParameterWithinIt)
{
    ParameterFields fields;
    fields.id = k1;
    fields.type = 9;
    fields.value = StreamBuilder().variantReal(135.0);
    StreamBuilder stream;
    stream.beginClass("OKTDbAngleParameter").append(parameterFrame(fields)).beginMembers(1).real(90.0).real(180.0);
    stream.endMembers().endClass();
    OKTDbAngleParameter angle;
    ASSERT_EQ(readInto(angle, stream), eFilerOk);
    EXPECT_EQ(angle.Least(), 90.0);
    EXPECT_EQ(angle.Most(), 180.0);
    EXPECT_EQ(angle.Type(), 9);
    EXPECT_TRUE(angle.isInRange());
    // The base writes a version of its own, so what comes back is compared with what goes out again.
    OKTDbAngleParameter again;
    CByteArray const bytes = bytesWrittenBy(angle);
    OKTMemoryFiler filer;
    filer.readInPlace(bytes);
    ASSERT_EQ(again.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(bytesWrittenBy(again), bytes);
}

TEST_F(ExampleClasses, Angle_InAPool_IsAParameterToEverybody)
{
    CString const path = m_folder.path("a.okt");
    OKTDbObjectId angleId;
    {
        OKTDbPool pool;
        auto *const angle = appendTo<OKTDbAngleParameter>(pool);
        auto *const category = appendTo<OKTDbCategory>(pool);
        angle->setType(9);
        angle->setValue(135.0, 0);
        angle->setRange(90.0, 180.0);
        category->appendParameter(angle->objectId());
        angleId = angle->objectId();
        ASSERT_TRUE(pool.writeFile(path));
    }
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbParameter::desc());
    pool.setReadFilter(filter);
    ASSERT_TRUE(pool.readFile(path));
    ASSERT_EQ(pool.objectCount(), 1);
    auto const *const parameter = OKTDbParameter::cast(pool.objectAt(0));
    ASSERT_NE(parameter, nullptr);
    EXPECT_EQ(parameter->objectId(), angleId);
    EXPECT_TRUE(parameter->isA(u"OKTDbAngleParameter"));
    EXPECT_FALSE(parameter->isA(u"OKTDbParameter"));
    auto const *const angle = OKTDbAngleParameter::cast(parameter);
    ASSERT_NE(angle, nullptr);
    EXPECT_EQ(angle->Most(), 180.0);
    EXPECT_EQ(OKTDbAngleParameter::cast(std::make_unique<OKTDbParameter>().get()), nullptr);
}

TEST_F(ExampleClasses, Angle_CutFrame_Fails)
{
    OKTDbAngleParameter angle;
    angle.setValue(135.0, 0);
    CByteArray const whole = bytesWrittenBy(angle);
    for (int size = 0; size < whole.GetSize() - 3; ++size)
    {
        CByteArray const part = cut(whole, size);
        OKTMemoryFiler filer;
        filer.readInPlace(part);
        OKTDbAngleParameter read;
        EXPECT_NE(read.xmlIn(&filer), eFilerOk) << size;
    }
}

} // namespace
