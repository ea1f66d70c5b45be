// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktxmlfiler.h>

#include "support/expectedleak.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"
#include "support/testobject.h"
#include "support/xmldocument.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <vector>

// Pools and XML documents: the outcome that no id passes, what a bad object leaves behind, and classes that pass because they
// keep their ids to themselves.

/// A client class without the frame of its base, and so without an id in the document: it passes. Its id comes from a text.
class XmlPlainObject : public OKTDbObject
{
    OKT_STORED_CLASS(XmlPlainObject)

    XmlPlainObject() { living().insert(this); }
    XmlPlainObject(XmlPlainObject const &other) : OKTDbObject(other), m_number(other.m_number) { living().insert(this); }
    XmlPlainObject &operator=(XmlPlainObject const &) = default;
    ~XmlPlainObject() override { living().erase(this); }

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    int m_number = 0;

    /// An object that a read loses by rule is found here, and so is no leak.
    static std::set<XmlPlainObject *> &living()
    {
        static auto &all = *new std::set<XmlPlainObject *>;
        return all;
    }
};

OKT_STORED_CLASS_REGISTRATION(XmlPlainObject, OKTDbObject)

FilerStatusDb XmlPlainObject::xmlOut(OKTFiler *filer) const
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", u"XmlPlainObject", 1))
        return eFilerClassFailed;
    bool ok = false;
    if (filer->beginWriteMembers(1))
    {
        ok = filer->writeInt(u"m_number", m_number);
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return ok ? eFilerOk : eFilerMemberFailed;
}

FilerStatusDb XmlPlainObject::xmlIn(OKTFiler *filer)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"XmlPlainObject"))
        return eFilerClassFailed;
    bool ok = false;
    if (filer->beginReadMembers(1))
    {
        ok = filer->readInt(u"m_number", m_number);
        CString text;
        if (filer->readString(u"m_id", text))
            setObjectId(idOf(text.ToUtf8()));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return ok ? eFilerOk : eFilerMemberFailed;
}

OKT_STORED_CLASS_SOURCE(XmlPlainObject)

namespace
{
/// An id as it stands in a document: a frame with an empty section.
std::string idFrame(std::string const &name)
{
    return "<" + name + " class=\"OKTObjectId\" version=\"1\"><Members version=\"1\"/></" + name + ">";
}

std::string const kNoPlace = "<nObjectPosition long=\"-1\"/><nObjectSize long=\"-1\"/>";

/// What a pool without objects writes.
std::string poolFrame(std::string const &name, std::string const &factor)
{
    return "<Pool class=\"OKTDbPool\" version=\"6\">"
           "<Members version=\"1\">" +
           idFrame("m_objectId") + idFrame("m_constructId") + kNoPlace + idFrame("idDummy") + kNoPlace + idFrame("m_indexId") +
           kNoPlace + "<m_strPoolName string=\"" + name + "\"/></Members><Members version=\"2\"><dfMetricsFactor double=\"" +
           factor + "\"/></Members><Members version=\"3\">" + idFrame("m_ppActionsId") + "</Members><Members version=\"4\">" +
           idFrame("m_sketchId") +
           "</Members><Members version=\"5\"><m_tabPictures.Length long=\"0\"/></Members><Members version=\"6\">" +
           idFrame("m_radialReinfId") + "</Members></Pool>";
}

std::string writtenPlain(int number)
{
    return "<Object class=\"XmlPlainObject\" version=\"1\"><Members version=\"1\"><m_number long=\"" + std::to_string(number) +
           "\"/></Members></Object>";
}

std::string plain(int number, std::string const &id)
{
    return "<Object class='XmlPlainObject'><Members version='1'><m_number long='" + std::to_string(number) +
           "'/><m_id string='" + id + "'/></Members></Object>";
}

std::string guidText(int number)
{
    char text[39];
    std::snprintf(text, sizeof text, "{%08X-0000-0000-0000-000000000001}", static_cast<unsigned int>(number));
    return text;
}

std::string plain(int number) { return plain(number, guidText(number)); }

/// A pool record without an id that is read with status 0.
std::string const kPassingPool =
    "<Pool class='OKTDbPool'><Members version='2'><m_dfMetricsFactor double='2.5'/></Members></Pool>";

class OKTDbPoolXmlTest : public testing::Test
{
protected:
    OKTDbPoolXmlTest() : m_before(XmlPlainObject::living().size()) {}

    bool read(OKTDbPool &pool, std::string const &elements)
    {
        ExpectedLeak const lostObject; // quirk 18
        return pool.readXMLFile(putText(m_folder, "read.xml", "<Document>" + elements + "</Document>"));
    }

    static std::vector<int> numbersOf(OKTDbPool &pool)
    {
        std::vector<int> numbers;
        for (int i = 0; i < pool.objectCount(); ++i)
            if (XmlPlainObject const *const object = XmlPlainObject::cast(pool.objectAt(i)))
                numbers.push_back(object->m_number);
        return numbers;
    }

    static std::vector<int> numbers(std::vector<int> list) { return list; }

    /// Objects of the plain class that were made by the test and are still there.
    std::size_t livingPlain() const { return XmlPlainObject::living().size() - m_before; }

    ScratchFolder m_folder;
    ReportCatcher m_reports;
    std::size_t m_before;
};
} // namespace

// --- Writing -----------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_EmptyPath_False)
{
    OKTDbPool pool;
    EXPECT_FALSE(pool.writeXMLFile(CString()));
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_EmptyPool_FalseWithItsRecordAndTheRealFactor_Quirk72)
{
    CString const path = m_folder.path("x.xml");
    OKTDbPool pool;
    pool.setPoolName(u"Stirrup & \u00D8");
    pool.setMetricsFactor(2.5);
    EXPECT_FALSE(pool.writeXMLFile(path));
    EXPECT_EQ(textOf(path), documentOf(poolFrame("Stirrup &amp; \xD8", "2.50000000000000000")));
    EXPECT_TRUE(isWellFormedForXmllint(path));
    nlohmann::json const tree = readByPython(path);
    EXPECT_EQ(tree[3][0][0], "Pool");
    EXPECT_EQ(tree[3][0][3].size(), 6u);
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_WithAnObject_FalseAndAnEmptyRoot_Quirk72)
{
    CString const path = m_folder.path("x.xml");
    OKTDbPool pool;
    ASSERT_TRUE(pool.appendObject(new OKTDbRelation));
    EXPECT_FALSE(pool.writeXMLFile(path));
    EXPECT_EQ(textOf(path), documentOf(""));
    EXPECT_EQ(m_reports.count(), 0u);
    EXPECT_EQ(pool.objectCount(), 1);
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_WithAnObjectOfEveryClass_FalseAndAnEmptyRoot_Quirk72)
{
    CString const path = m_folder.path("x.xml");
    OKTDbPool pool;
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{
             new OKTDbRelation, new OKTDbParameter, new OKTDbCategory, new OKTDbPicture, new TestObject, new TestDerivedObject})
        ASSERT_TRUE(pool.appendObject(object));
    EXPECT_FALSE(pool.writeXMLFile(path));
    EXPECT_EQ(textOf(path), documentOf(""));
    EXPECT_EQ(pool.objectCount(), 6);
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_ObjectsAheadOfABadOneStand_ThePoolClosesIntoTheBadOne_Quirk72)
{
    // Everything behind the first bad object goes into its frame, which is never ended, and so does the pool.
    CString const path = m_folder.path("x.xml");
    OKTDbPool pool;
    for (int i = 0; i < 20; ++i)
    {
        auto *const object = new XmlPlainObject;
        object->m_number = i;
        ASSERT_TRUE(pool.appendObject(object));
        if (i % 5 == 0)
            pool.appendObject(new OKTDbRelation);
    }
    ASSERT_EQ(pool.objectCount(), 24);
    EXPECT_FALSE(pool.writeXMLFile(path));
    std::string frames;
    for (int i = 0; i < pool.objectCount(); ++i)
    {
        XmlPlainObject const *const object = XmlPlainObject::cast(pool.objectAt(i));
        if (object == nullptr)
            break; // the first relation in the order of the ids
        frames += writtenPlain(object->m_number);
    }
    EXPECT_EQ(textOf(path), documentOf(frames));
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_ObjectsThatPass_StandAheadOfThePool_Quirk91)
{
    // Only classes without an id in the document get through.
    CString const path = m_folder.path("x.xml");
    OKTDbPool pool;
    for (int const number : {1, 2})
    {
        auto *const object = new XmlPlainObject;
        object->m_number = number;
        ASSERT_TRUE(pool.appendObject(object));
    }
    EXPECT_FALSE(pool.writeXMLFile(path));
    std::vector<int> const order = numbersOf(pool); // that of the ids
    ASSERT_EQ(order.size(), 2u);
    EXPECT_EQ(textOf(path), documentOf(writtenPlain(order[0]) + writtenPlain(order[1]) + poolFrame("", "1.00000000000000000")));
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_PathThatCannotBeWritten_FalseLikeAnyOther)
{
    OKTDbPool pool;
    EXPECT_FALSE(pool.writeXMLFile(m_folder.path("no/such/folder.xml")));
    EXPECT_FALSE(pool.writeXMLFile(u"/dev/full"));
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_DoesNotTranslateAndLeavesThePoolAlone)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    object->m_strText = u"text";
    ASSERT_TRUE(pool.appendObject(object));
    OKTDbObjectId const id = object->objectId();
    pool.setBoolTranslatedIds(true);
    EXPECT_FALSE(pool.writeXMLFile(m_folder.path("x.xml")));
    EXPECT_TRUE(pool.MapTranslatedIds().isEmpty());
    EXPECT_EQ(object->objectId(), id);
    EXPECT_EQ(pool.objectCount(), 1);
    pool.setBoolTranslatedIds(false);
    CByteArray image;
    IdMap translated;
    EXPECT_TRUE(pool.saveFiler(image, translated));
}

TEST_F(OKTDbPoolXmlTest, WriteXMLFile_GoldenPools_FalseAndAnEmptyRoot_Quirk72)
{
    int pools = 0;
    for (auto const &entry : std::filesystem::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
    {
        if (entry.path().extension() != ".okt")
            continue;
        OKTDbPool pool;
        {
            ExpectedLeak const lostObject;
            pool.readFile(CString::FromUtf8(entry.path().string()));
        }
        CString const path = m_folder.path("golden.xml");
        EXPECT_FALSE(pool.writeXMLFile(path)) << entry.path();
        if (pool.objectCount() > 0)
            EXPECT_EQ(textOf(path), documentOf("")) << entry.path();
        else
            EXPECT_NE(textOf(path).find("<Document><Pool "), std::string::npos) << entry.path();
        ++pools;
    }
    EXPECT_GT(pools, 3);
}

TEST_F(OKTDbPoolXmlTest, ManyPoolsOfManySizes)
{
    CString const path = m_folder.path("x.xml");
    for (int const size : {1, 2, 3, 10, 100, 1000, 10000})
    {
        OKTDbPool pool;
        for (int i = 0; i < size; ++i)
            ASSERT_TRUE(pool.appendObject(new OKTDbRelation));
        EXPECT_FALSE(pool.writeXMLFile(path));
        EXPECT_EQ(textOf(path), documentOf("")) << size;
        OKTDbPool target;
        EXPECT_FALSE(target.readXMLFile(path)) << size;
        EXPECT_EQ(target.objectCount(), 0) << size;
    }
    for (int i = 0; i < 100; ++i)
    {
        OKTDbPool pool;
        pool.setPoolName(CString::FromUtf8("pool " + std::to_string(i)));
        EXPECT_FALSE(pool.writeXMLFile(path));
        OKTDbPool target;
        EXPECT_FALSE(target.readXMLFile(path));
        EXPECT_EQ(target.poolName(), CString::FromUtf8("pool " + std::to_string(i)));
    }
    EXPECT_EQ(m_reports.count(), 0u);
}

// --- Reading -----------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_EmptyPath_False)
{
    OKTDbPool pool;
    EXPECT_FALSE(pool.readXMLFile(CString()));
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_FilesThatAreNoDocument_FalseAndThePoolAsItWas)
{
    OKTDbPool pool;
    pool.setPoolName(u"kept");
    ASSERT_TRUE(pool.appendObject(new TestObject));
    OKTDbObjectId const id = pool.objectId();
    EXPECT_FALSE(pool.readXMLFile(m_folder.path("none.xml")));
    EXPECT_FALSE(pool.readXMLFile(putText(m_folder, "empty.xml", "")));
    EXPECT_FALSE(pool.readXMLFile(putText(m_folder, "cut.xml", "<Document><Pool class='OKTDbPool'>")));
    EXPECT_EQ(pool.poolName(), u"kept");
    EXPECT_EQ(pool.objectCount(), 1);
    EXPECT_EQ(pool.objectId(), id);
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_DocumentOfAnEmptyPool_FalseAndWhatHasANameIsRead_Quirk16_Quirk72)
{
    CString const path = m_folder.path("x.xml");
    OKTDbPool source;
    source.setPoolName(u"Stirrup");
    source.setMetricsFactor(2.5);
    ASSERT_FALSE(source.writeXMLFile(path));
    OKTDbPool pool;
    pool.setMetricsFactor(7.0);
    EXPECT_FALSE(pool.readXMLFile(path));
    EXPECT_EQ(pool.poolName(), u"Stirrup");
    EXPECT_EQ(pool.metricsFactor(), 7.0);  // written under one name, looked for under another
    EXPECT_TRUE(pool.objectId().isNull()); // its words were not found, and are zero
    EXPECT_EQ(pool.picturesId().getSize(), 0);
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_PoolRecordWithoutIds_True)
{
    OKTDbPool pool;
    EXPECT_TRUE(read(pool, kPassingPool));
    EXPECT_EQ(pool.metricsFactor(), 2.5);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_NoPoolRecord_False)
{
    OKTDbPool pool;
    pool.setPoolName(u"kept");
    EXPECT_FALSE(read(pool, ""));
    EXPECT_FALSE(read(pool, "<Pool class='Another'/><pool class='OKTDbPool'/>"));
    EXPECT_FALSE(read(pool, "<Pool class='OKTDbPool'/>")); // a frame without a section
    EXPECT_FALSE(read(pool, "<Pool class='OKTDbPool'><Members version='7'/></Pool>"));
    EXPECT_EQ(pool.poolName(), u"kept");
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_PoolRecordAheadOfTheObjects_IsFoundAllTheSame)
{
    OKTDbPool pool;
    EXPECT_TRUE(read(pool, kPassingPool + plain(1) + plain(2)));
    EXPECT_EQ(numbersOf(pool), numbers({1, 2}));
    EXPECT_EQ(pool.metricsFactor(), 2.5);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_ObjectsThatPass_AreAppended)
{
    OKTDbPool pool;
    auto *const there = new XmlPlainObject;
    there->m_number = 100;
    ASSERT_TRUE(pool.appendObject(there));
    EXPECT_TRUE(read(pool, plain(1) + plain(2) + "<!-- between -->" + plain(3) + kPassingPool));
    EXPECT_EQ(pool.objectCount(), 4); // on top of what is there
    for (int const number : {1, 2, 3})
    {
        XmlPlainObject const *const object = XmlPlainObject::cast(idOf(guidText(number), &pool));
        ASSERT_NE(object, nullptr) << number;
        EXPECT_EQ(object->m_number, number);
    }
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_UnknownClasses_PassedOverWithNoEffectOnTheResult)
{
    OKTDbPool pool;
    EXPECT_TRUE(read(pool, "<Object class='NoSuchClass'><Members version='1'/></Object>" + plain(1) +
                               "<Object class='NoSuchClass'/><Object class='Another'/>" + plain(2) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({1, 2}));
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_UnknownClassesAlone_OnlyThePoolRecordCounts)
{
    OKTDbPool pool;
    EXPECT_TRUE(read(pool, "<Object class='NoSuchClass'/><x/><Object class='NoSuchClass'/>" + kPassingPool));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_FALSE(read(pool, "<Object class='NoSuchClass'/>"));
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_UnknownClassBehindOtherNodes_ReadMoreThanOnceAndPassedOver_Quirk75)
{
    // The step goes node by node, so the same object is found again until the cursor comes to it.
    OKTDbPool pool;
    EXPECT_TRUE(read(pool, "<a/><b/><!--c--><Object class='NoSuchClass'/><d/>" + plain(1) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({1}));
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_ObjectThatFailedWhole_TheNextOneIsLostAndTheReadGoesOn_Quirk75_Quirk91)
{
    std::string const bad = "<Object class='XmlPlainObject'><Members version='1'/></Object>";
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, plain(1) + bad + plain(2) + plain(3) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({1, 3}));
    EXPECT_EQ(pool.metricsFactor(), 2.5); // the pool's own record is found
    EXPECT_EQ(livingPlain(), 3u);         // the object at fault is not freed (quirk 18)
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_TheLastObjectFails_TheLoopEnds_Quirk75)
{
    std::string const bad = "<Object class='XmlPlainObject'><Members version='1'/></Object>";
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, kPassingPool + plain(1) + bad));
    EXPECT_EQ(numbersOf(pool), numbers({1}));
    EXPECT_EQ(pool.metricsFactor(), 2.5);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_IdThatIsThere_RefusedAndTheNextOneIsLost_Quirk75)
{
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, plain(1, guidText(5)) + plain(2, guidText(5)) + plain(3) + plain(4) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({4, 1})); // in the order of their ids
    EXPECT_EQ(livingPlain(), 3u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_StoredObject_FailsAndLeavesTheFilerInsideItsFrame_Quirk72_Quirk81)
{
    std::string const relation =
        "<Object class='OKTDbRelation' version='1'><Object class='OKTDbObject' version='1'>"
        "<Members version='1'><m_objectId class='OKTObjectId' version='1'><Members version='1'/></m_objectId>"
        "</Members></Object><Members version='1'><varConverted long='1'/></Members></Object>";
    OKTDbPool pool;
    pool.setPoolName(u"kept");
    EXPECT_FALSE(read(pool, plain(1) + relation + plain(2) + relation + plain(3) + kPassingPool));
    EXPECT_EQ(pool.objectCount(), 1);
    EXPECT_EQ(numbersOf(pool), numbers({1})); // what was read before stays, nothing behind is read
    EXPECT_EQ(pool.metricsFactor(), 1.0);     // nor is the pool's own record
    EXPECT_EQ(pool.poolName(), u"kept");
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_StoredObjectWithItsOwnPoolAndObjectsWithin_IsReadFromThere_Quirk81)
{
    // Inside the frame of the bad object the loop looks for "Object", and the pool for its record.
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, "<Object class='OKTDbRelation'><Object class='OKTDbObject'><Members version='1'/></Object>"
                            "<!-- the step lands here -->" +
                                plain(7) + kPassingPool + "</Object>" + plain(8)));
    EXPECT_EQ(numbersOf(pool), numbers({7}));
    EXPECT_EQ(pool.metricsFactor(), 2.5);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_ObjectsOfEveryStoredClass_AllFail_Quirk72)
{
    int classes = 0;
    for (int i = 0; i < g_RuntimeClass.getSize(); ++i)
    {
        CString const name = g_RuntimeClass.keyAt(static_cast<unsigned int>(i));
        if (name == u"XmlPlainObject")
            continue;
        OKTDbPool pool;
        EXPECT_FALSE(read(pool, "<Object class='" + name.ToUtf8() + "'><Members version='1'/></Object>" + kPassingPool))
            << name.ToUtf8();
        EXPECT_EQ(pool.objectCount(), 0) << name.ToUtf8();
        ++classes;
    }
    EXPECT_GT(classes, 8);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_ReadFilterIsNotAsked_Quirk91)
{
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbRelation::desc());
    pool.setReadFilter(filter);
    EXPECT_TRUE(read(pool, plain(1) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({1}));
    OKTDbPool none;
    filter.append(XmlPlainObject::desc());
    none.setReadFilter(filter);
    EXPECT_TRUE(read(none, plain(1) + kPassingPool));
    EXPECT_EQ(numbersOf(none), numbers({1}));
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_NodeAheadOfTheRoot_False_Quirk84)
{
    OKTDbPool pool;
    EXPECT_FALSE(pool.readXMLFile(putText(m_folder, "x.xml", "<!--c--><Document>" + plain(1) + kPassingPool + "</Document>")));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(pool.metricsFactor(), 1.0);
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_PictureList_EndsAtTheFirstIdWhateverItsLengthSays)
{
    OKTDbPool pool;
    EXPECT_FALSE(
        read(pool, "<Pool class='OKTDbPool'><Members version='5'><m_tabPictures.Length long='2147483647'/></Members></Pool>"));
    EXPECT_EQ(pool.picturesId().getSize(), 1); // the id whose read failed
    EXPECT_TRUE(pool.picturesId().at(0).isNull());
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_RecordWithoutPictures_EmptiesTheList)
{
    OKTDbPool pool;
    ASSERT_TRUE(pool.appendObject(new OKTDbPicture));
    ASSERT_EQ(pool.picturesId().getSize(), 1);
    EXPECT_TRUE(read(pool, kPassingPool));
    EXPECT_EQ(pool.picturesId().getSize(), 0);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_StoredObjectWithoutTheFrameOfItsBase_LaterObjectsAreReadAndThePoolIsNot_Quirk81)
{
    // No frame was ended, so the cursor is still at document level and goes on there; look-ups are inside the bad frame.
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, plain(1) + "<Object class='OKTDbParameter'/>" + plain(2) + plain(3) + kPassingPool));
    EXPECT_EQ(numbersOf(pool), numbers({1, 2, 3}));
    EXPECT_EQ(pool.metricsFactor(), 1.0);
    EXPECT_EQ(m_reports.count(), 0u);
}

TEST_F(OKTDbPoolXmlTest, ReadXMLFile_AfterAFailure_ThePoolCanBeUsed)
{
    OKTDbPool pool;
    EXPECT_FALSE(read(pool, plain(1) + "<Object class='XmlPlainObject'/>" + plain(2)));
    ASSERT_TRUE(pool.appendObject(new OKTDbRelation));
    EXPECT_TRUE(read(pool, plain(3) + kPassingPool));
    EXPECT_EQ(pool.objectCount(), 3);
    CByteArray image;
    IdMap translated;
    EXPECT_TRUE(pool.saveFiler(image, translated));
}
