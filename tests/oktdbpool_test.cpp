// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
std::vector<std::string> texts(IdArray const &ids)
{
    std::vector<std::string> all;
    for (OKTDbObjectId const &id : ids)
        all.push_back(id.getGuidAsString(true).ToUtf8());
    return all;
}

IdArray listOf(std::initializer_list<OKTDbObjectId> ids)
{
    IdArray list;
    for (OKTDbObjectId const &id : ids)
        list.append(id);
    return list;
}

OKTDbObjectId newId(OKTDbPool *pool = nullptr) { return OKTDbObjectId::createObjectId(pool); }

/// A pool, objects made in it, and the objects that it has handed back, deleted at the end.
class OKTDbPoolStore : public ::testing::Test
{
protected:
    template <typename T> T *append()
    {
        auto *const object = new T;
        EXPECT_TRUE(pool.appendObject(object));
        return object;
    }
    template <typename T> T *own(T *object)
    {
        owned.emplace_back(object);
        return object;
    }
    IdArray all() const
    {
        IdArray ids;
        pool.getAllObjects(ids);
        return ids;
    }
    void setOtherIds()
    {
        pool.setSketchId(sketch);
        pool.setPPActionsId(actions);
        pool.setRadialReinfId(radial);
    }
    void expectOtherIdsStay() const
    {
        EXPECT_EQ(pool.sketchId(), sketch);
        EXPECT_EQ(pool.ppActionsId(), actions);
        EXPECT_EQ(pool.RadialReinfId(), radial);
    }

    OKTDbObjectId sketch = newId();
    OKTDbObjectId actions = newId();
    OKTDbObjectId radial = newId();
    std::vector<std::unique_ptr<OKTDbObject>> owned;
    OKTDbPool pool;
};
} // namespace

/// A class derived from the picture: no picture to the pool.
class TestPictureKind : public OKTDbPicture
{
    OKT_STORED_CLASS(TestPictureKind)
};
OKT_STORED_CLASS_REGISTRATION(TestPictureKind, OKTDbPicture)
OKT_STORED_CLASS_SOURCE(TestPictureKind)

// --- The pool itself ---------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, Construct_Default_EmptyWithFreshId)
{
    EXPECT_FALSE(pool.objectId().isNull());
    EXPECT_EQ(pool.objectId().getPool(), &pool);
    EXPECT_NE(pool.objectId(), OKTDbPool().objectId());
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_TRUE(pool.poolName().IsEmpty());
    EXPECT_TRUE(pool.constructId().isNull());
    EXPECT_TRUE(pool.sketchId().isNull());
    EXPECT_TRUE(pool.indexId().isNull());
    EXPECT_TRUE(pool.ppActionsId().isNull());
    EXPECT_TRUE(pool.RadialReinfId().isNull());
    EXPECT_EQ(pool.picturesId().getSize(), 0);
    EXPECT_EQ(pool.metricsFactor(), 1.0);
    EXPECT_FALSE(pool.BoolTranslatedIds());
    EXPECT_TRUE(pool.MapTranslatedIds().isEmpty());
    EXPECT_EQ(pool.readFilter().getSize(), 0);
    static_assert(std::has_virtual_destructor_v<OKTDbPool>);
}

TEST_F(OKTDbPoolStore, Accessors_SetThenGet_TheValue)
{
    OKTDbObjectId const id = newId();
    pool.setObjectId(id);
    EXPECT_EQ(pool.objectId(), id);
    pool.setPoolName(u"Bridge");
    EXPECT_EQ(pool.poolName(), CString(u"Bridge"));
    pool.setMetricsFactor(39.3700787);
    EXPECT_EQ(pool.metricsFactor(), 39.3700787);

    OKTDbObjectId const construct = newId();
    OKTDbObjectId const index = newId();
    IdArray const pictures = listOf({newId(), newId()});
    setOtherIds();
    pool.setConstructId(construct);
    pool.setIndexId(index);
    pool.setPicturesIds(pictures);
    expectOtherIdsStay();
    EXPECT_EQ(pool.constructId(), construct);
    EXPECT_EQ(pool.indexId(), index);
    EXPECT_EQ(texts(pool.picturesId()), texts(pictures));

    pool.setBoolTranslatedIds(true);
    EXPECT_TRUE(pool.BoolTranslatedIds());
    IdMap map;
    map[construct] = index;
    pool.setMapTranslatedIds(map);
    EXPECT_EQ(pool.MapTranslatedIds().getSize(), 1);
    EXPECT_EQ(*pool.MapTranslatedIds().find(construct), index);
    pool.setMapTranslatedIds(IdMap()); // replaced, not merged
    EXPECT_TRUE(pool.MapTranslatedIds().isEmpty());

    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbPicture::desc());
    pool.setReadFilter(filter);
    ASSERT_EQ(pool.readFilter().getSize(), 1);
    EXPECT_EQ(pool.readFilter().at(0), OKTDbPicture::desc());
}

TEST(OKTDbPoolFactor, MetricsFactorOf_NullPointer_One)
{
    EXPECT_EQ(OKTDbPool::metricsFactorOf(nullptr), 1.0);
    EXPECT_EQ(OKTDbPool::metricsFactorOf(static_cast<OKTDbPool *>(nullptr)), 1.0);
    OKTDbPool pool;
    pool.setMetricsFactor(2.5);
    EXPECT_EQ(OKTDbPool::metricsFactorOf(&pool), 2.5);
}

namespace
{
/// The call as old clients make it. The sanitizer must not stand between it and the operation.
__attribute__((noinline, no_sanitize("null"), no_sanitize("vptr"))) double factorThrough(OKTDbPool const *volatile *pool)
{
    OKTDbPool const *const pointer = *pool;
    return pointer->metricsFactor();
}
} // namespace

TEST(OKTDbPoolFactor, MetricsFactor_ThroughNullPointer_One)
{
    OKTDbPool const *volatile pool = nullptr;
    EXPECT_EQ(factorThrough(&pool), 1.0);
}

// --- appendObject ------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, AppendObject_New_FreshIdBoundToThePoolWithCache)
{
    auto *const object = new TestObject;
    EXPECT_TRUE(pool.appendObject(object));
    EXPECT_EQ(pool.objectCount(), 1);
    EXPECT_FALSE(object->objectId().isNull());
    EXPECT_EQ(object->objectId().getObject(), object);
    EXPECT_EQ(object->objectId().getPool(), &pool);
    EXPECT_TRUE(object->objectId().isValid());
    OKTDbObjectId const key = pool.objectAt(0);
    EXPECT_EQ(key, object->objectId());
    EXPECT_EQ(key.getPool(), &pool);
    EXPECT_EQ(key.getObject(), object);
}

TEST_F(OKTDbPoolStore, AppendObject_Null_False)
{
    ReportCatcher reports;
    EXPECT_FALSE(pool.appendObject(nullptr));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(reports.count(), 0u);
}

TEST_F(OKTDbPoolStore, AppendObject_AlreadyInThePool_FalseAndIdStays)
{
    auto *const object = append<TestObject>();
    OKTDbObjectId const id = object->objectId();
    EXPECT_FALSE(pool.appendObject(object));
    EXPECT_EQ(pool.objectCount(), 1);
    EXPECT_EQ(object->objectId(), id);
}

TEST_F(OKTDbPoolStore, AppendObject_CarriesAnotherId_NewGuidAllTheSame_Quirk8)
{
    auto *const object = new TestObject;
    OKTDbObjectId const carried = newId(&pool);
    object->setObjectId(carried);
    EXPECT_TRUE(pool.appendObject(object));
    EXPECT_NE(object->objectId(), carried);
    EXPECT_FALSE(carried.isValid());
}

TEST_F(OKTDbPoolStore, AppendObject_FromAnotherPool_NewGuidHere_Quirk8)
{
    auto *const object = append<TestObject>();
    OKTDbObjectId const there = object->objectId();
    OKTDbPool second;
    EXPECT_TRUE(second.appendObject(object));
    EXPECT_NE(object->objectId(), there);
    EXPECT_EQ(object->objectId().getPool(), &second);
    EXPECT_EQ(pool.objectCount(), 1); // the first pool still holds it under the old id
    ASSERT_TRUE(second.removeObject(object));
}

TEST_F(OKTDbPoolStore, AppendObject_IdOfAnObjectOfThePoolCarriedByAnother_False)
{
    auto *const inside = append<TestObject>();
    auto *const outside = own(new TestObject);
    outside->setObjectId(inside->objectId());
    EXPECT_FALSE(pool.appendObject(outside));
    EXPECT_EQ(pool.objectCount(), 1);
}

TEST_F(OKTDbPoolStore, AppendObject_SpecialClasses_RolesFollow)
{
    auto *const construct = append<OKTDbConstruct>();
    auto *const index = append<OKTDbIndexData>();
    auto *const first = append<OKTDbPicture>();
    auto *const second = append<OKTDbPicture>();
    EXPECT_EQ(pool.constructId(), construct->objectId());
    EXPECT_EQ(pool.constructId().getObject(), construct);
    EXPECT_EQ(pool.indexId(), index->objectId());
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({first->objectId(), second->objectId()})));
    EXPECT_TRUE(pool.sketchId().isNull());
}

TEST_F(OKTDbPoolStore, AppendObject_ClassDerivedFromThePicture_NoPicture)
{
    auto *const picture = append<TestPictureKind>();
    EXPECT_TRUE(picture->isKindOf(OKTDbPicture::desc()));
    EXPECT_EQ(pool.picturesId().getSize(), 0);
    EXPECT_EQ(pool.objectCount(), 1);
}

TEST_F(OKTDbPoolStore, AppendObject_SecondConstructAndIndex_BothStayAndTheSecondIsNamed)
{
    auto *const first = append<OKTDbConstruct>();
    auto *const second = append<OKTDbConstruct>();
    append<OKTDbIndexData>();
    auto *const index = append<OKTDbIndexData>();
    EXPECT_EQ(pool.objectCount(), 4);
    EXPECT_NE(first->objectId(), second->objectId());
    EXPECT_EQ(pool.constructId(), second->objectId());
    EXPECT_EQ(pool.indexId(), index->objectId());
}

// --- removeObject ------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, RemoveObject_ById_HandedBackWithNullId)
{
    auto *const object = own(append<TestObject>());
    int const living = TestObject::living();
    EXPECT_TRUE(pool.removeObject(object->objectId())); // the argument is the object's own id here
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_TRUE(object->objectId().isNull());
    EXPECT_EQ(object->objectId().getPool(), nullptr);
    EXPECT_EQ(pool.objectCount(), 0);
}

TEST_F(OKTDbPoolStore, RemoveObject_ByPointer_HandedBackWithNullId)
{
    auto *const object = own(append<TestObject>());
    int const living = TestObject::living();
    EXPECT_TRUE(pool.removeObject(object));
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_TRUE(object->objectId().isNull());
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_FALSE(pool.removeObject(object));
}

TEST_F(OKTDbPoolStore, RemoveObject_UnknownOrNull_FalseAndNothingChanged)
{
    append<OKTDbConstruct>();
    auto *const picture = append<OKTDbPicture>();
    OKTDbObjectId const construct = pool.constructId();
    TestObject outside;
    EXPECT_FALSE(pool.removeObject(newId(&pool)));
    EXPECT_FALSE(pool.removeObject(OKTDbObjectId()));
    EXPECT_FALSE(pool.removeObject(static_cast<OKTDbObject *>(nullptr)));
    EXPECT_FALSE(pool.removeObject(&outside));
    EXPECT_EQ(pool.objectCount(), 2);
    EXPECT_EQ(pool.constructId(), construct);
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({picture->objectId()})));
}

TEST_F(OKTDbPoolStore, RemoveObject_IdWithNullObject_FalseAndEntryStays)
{
    auto *const object = own(append<TestObject>());
    OKTDbObjectId const id = object->objectId();
    ASSERT_TRUE(pool.replaceObject(id, nullptr));
    EXPECT_FALSE(pool.removeObject(id));
    EXPECT_EQ(pool.objectCount(), 1);
    EXPECT_EQ(object->objectId(), id);
}

TEST_F(OKTDbPoolStore, RemoveObject_OtherPointerOfTheSameId_TheIdDecides_Quirk10)
{
    auto *const inside = own(append<TestObject>());
    OKTDbObjectId const id = inside->objectId();
    TestObject outside;
    outside.setObjectId(id);
    EXPECT_TRUE(pool.removeObject(&outside));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_TRUE(outside.objectId().isNull());
    EXPECT_EQ(inside->objectId(), id); // the stored object was not touched
}

TEST_F(OKTDbPoolStore, RemoveObject_PointerOfAnIdWithNullObject_Removed_Quirk10)
{
    auto *const object = own(append<TestObject>());
    ASSERT_TRUE(pool.replaceObject(object->objectId(), nullptr));
    EXPECT_TRUE(pool.removeObject(object));
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_TRUE(object->objectId().isNull());
}

TEST_F(OKTDbPoolStore, RemoveObject_FirstOfTwoConstructs_ConstructIdClearedThoughItNamedTheSecond_Quirk9)
{
    for (bool const byPointer : {false, true})
    {
        auto *const first = own(append<OKTDbConstruct>());
        auto *const second = append<OKTDbConstruct>();
        ASSERT_EQ(pool.constructId(), second->objectId());
        EXPECT_TRUE(byPointer ? pool.removeObject(first) : pool.removeObject(first->objectId()));
        EXPECT_TRUE(pool.constructId().isNull());
        EXPECT_TRUE(second->objectId().isValid());
        ASSERT_TRUE(pool.eraseAllObjects());
    }
}

TEST_F(OKTDbPoolStore, RemoveObject_FirstOfTwoIndexObjects_IndexIdClearedThoughItNamedTheSecond_Quirk9)
{
    for (bool const byPointer : {false, true})
    {
        auto *const first = own(append<OKTDbIndexData>());
        auto *const second = append<OKTDbIndexData>();
        ASSERT_EQ(pool.indexId(), second->objectId());
        EXPECT_TRUE(byPointer ? pool.removeObject(first) : pool.removeObject(first->objectId()));
        EXPECT_TRUE(pool.indexId().isNull());
        EXPECT_TRUE(second->objectId().isValid());
        ASSERT_TRUE(pool.eraseAllObjects());
    }
}

TEST_F(OKTDbPoolStore, RemoveObject_Construct_IndexAndPicturesStay)
{
    auto *const construct = own(append<OKTDbConstruct>());
    auto *const index = append<OKTDbIndexData>();
    auto *const picture = append<OKTDbPicture>();
    EXPECT_TRUE(pool.removeObject(construct));
    EXPECT_EQ(pool.indexId(), index->objectId());
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({picture->objectId()})));
}

TEST_F(OKTDbPoolStore, RemoveObject_Picture_AllItsEntriesGone)
{
    for (bool const byPointer : {false, true})
    {
        auto *const picture = own(append<OKTDbPicture>());
        auto *const stays = append<OKTDbPicture>();
        OKTDbObjectId const id = picture->objectId();
        pool.setPicturesIds(listOf({id, stays->objectId(), id, id}));
        EXPECT_TRUE(byPointer ? pool.removeObject(picture) : pool.removeObject(id));
        EXPECT_EQ(texts(pool.picturesId()), texts(listOf({stays->objectId()})));
        ASSERT_TRUE(pool.eraseAllObjects());
    }
}

TEST_F(OKTDbPoolStore, RemoveObject_OrdinaryObject_RolesStay)
{
    auto *const construct = append<OKTDbConstruct>();
    auto *const object = own(append<TestObject>());
    setOtherIds();
    EXPECT_TRUE(pool.removeObject(object));
    EXPECT_EQ(pool.constructId(), construct->objectId());
    expectOtherIdsStay();
}

// --- removeAllObjects, eraseAllObjects ---------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, RemoveAllObjects_Several_HandedBackAndRolesCleared_Quirk11)
{
    std::vector<OKTDbObject *> const objects = {own(append<OKTDbConstruct>()), own(append<OKTDbIndexData>()),
                                                own(append<OKTDbPicture>()), own(append<TestObject>())};
    setOtherIds();
    IdMap map;
    map[newId()] = newId();
    pool.setMapTranslatedIds(map);
    int const living = TestObject::living();
    EXPECT_TRUE(pool.removeAllObjects());
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_EQ(pool.objectCount(), 0);
    for (OKTDbObject const *const object : objects)
        EXPECT_TRUE(object->objectId().isNull());
    EXPECT_TRUE(pool.constructId().isNull());
    EXPECT_TRUE(pool.indexId().isNull());
    EXPECT_EQ(pool.picturesId().getSize(), 0);
    expectOtherIdsStay();
    EXPECT_EQ(pool.MapTranslatedIds().getSize(), 1);
}

TEST_F(OKTDbPoolStore, RemoveAllObjects_Empty_TrueAndRolesCleared)
{
    pool.setConstructId(newId());
    pool.setIndexId(newId());
    pool.setPicturesIds(listOf({newId()}));
    EXPECT_TRUE(pool.removeAllObjects());
    EXPECT_TRUE(pool.constructId().isNull());
    EXPECT_TRUE(pool.indexId().isNull());
    EXPECT_EQ(pool.picturesId().getSize(), 0);
}

TEST_F(OKTDbPoolStore, RemoveAllObjects_NullEntryInTheMiddle_FalseAndTheRestStays_Quirk11)
{
    for (int i = 0; i < 5; ++i)
        own(append<TestObject>());
    auto *const construct = own(append<OKTDbConstruct>());
    IdArray const before = all();
    OKTDbObject *third = nullptr;
    ASSERT_TRUE(pool.findObject(before.at(2), third));
    ASSERT_TRUE(pool.replaceObject(before.at(2), nullptr));
    OKTDbObjectId const constructId = pool.constructId();
    EXPECT_FALSE(pool.removeAllObjects());
    IdArray const rest = all();
    ASSERT_EQ(rest.getSize(), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(rest.at(i), before.at(i + 2));
    EXPECT_TRUE(before.at(0).getObject()->objectId().isNull());
    EXPECT_TRUE(before.at(1).getObject()->objectId().isNull());
    EXPECT_EQ(pool.constructId(), constructId); // not cleared, whether or not its object was handed back
    ASSERT_NE(construct, nullptr);
    while (pool.objectCount() > 1) // the fixture owns the objects
        for (OKTDbObjectId const &id : all())
            pool.removeObject(id);
}

TEST_F(OKTDbPoolStore, EraseAllObjects_Several_DeletedAndRolesCleared)
{
    int const living = TestObject::living();
    append<OKTDbConstruct>();
    append<OKTDbIndexData>();
    append<OKTDbPicture>();
    append<TestObject>();
    setOtherIds();
    IdMap map;
    map[newId()] = newId();
    pool.setMapTranslatedIds(map);
    EXPECT_EQ(TestObject::living(), living + 3);
    EXPECT_TRUE(pool.eraseAllObjects());
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_TRUE(pool.constructId().isNull());
    EXPECT_TRUE(pool.indexId().isNull());
    EXPECT_EQ(pool.picturesId().getSize(), 0);
    EXPECT_TRUE(pool.MapTranslatedIds().isEmpty());
    expectOtherIdsStay();
}

TEST_F(OKTDbPoolStore, EraseAllObjects_Empty_TrueAndNothingCleared_Quirk12)
{
    OKTDbObjectId const construct = newId();
    OKTDbObjectId const index = newId();
    IdArray const pictures = listOf({newId(), newId()});
    pool.setConstructId(construct);
    pool.setIndexId(index);
    pool.setPicturesIds(pictures);
    setOtherIds();
    IdMap map;
    map[newId()] = newId();
    pool.setMapTranslatedIds(map);
    EXPECT_TRUE(pool.eraseAllObjects());
    EXPECT_EQ(pool.constructId(), construct);
    EXPECT_EQ(pool.indexId(), index);
    EXPECT_EQ(texts(pool.picturesId()), texts(pictures));
    EXPECT_EQ(pool.MapTranslatedIds().getSize(), 1);
    expectOtherIdsStay();
}

TEST_F(OKTDbPoolStore, EraseAllObjects_NullEntry_TheOthersDeleted)
{
    int const living = TestObject::living();
    append<TestObject>();
    auto *const replaced = own(append<TestObject>());
    append<TestObject>();
    ASSERT_TRUE(pool.replaceObject(replaced->objectId(), nullptr));
    EXPECT_TRUE(pool.eraseAllObjects());
    EXPECT_EQ(pool.objectCount(), 0);
    EXPECT_EQ(TestObject::living(), living + 1);
}

TEST(OKTDbPoolLife, Destroy_WithObjects_AllDeleted)
{
    int const living = TestObject::living();
    {
        OKTDbPool pool;
        pool.appendObject(new TestObject);
        pool.appendObject(new TestDerivedObject);
        EXPECT_EQ(TestObject::living(), living + 2);
    }
    EXPECT_EQ(TestObject::living(), living);
}

TEST(OKTDbPoolLife, Copy_EveryField_SameObjects)
{
    OKTDbPool pool;
    auto const object = std::make_unique<OKTDbConstruct>();
    ASSERT_TRUE(pool.appendObject(object.get()));
    pool.setPoolName(u"Bridge");
    pool.setMetricsFactor(2.5);
    OKTDbPool copy(pool);
    OKTDbPool assigned;
    assigned = pool;
    for (OKTDbPool *const other : {&copy, &assigned})
    {
        EXPECT_EQ(other->objectId(), pool.objectId());
        EXPECT_EQ(other->poolName(), CString(u"Bridge"));
        EXPECT_EQ(other->metricsFactor(), 2.5);
        EXPECT_EQ(other->constructId(), object->objectId());
        OKTDbObject *found = nullptr;
        EXPECT_TRUE(other->findObject(object->objectId(), found));
        EXPECT_EQ(found, object.get());
    }
    // Each would delete the object: all give it back instead.
    EXPECT_TRUE(copy.removeAllObjects());
    EXPECT_TRUE(assigned.removeAllObjects());
    EXPECT_TRUE(pool.removeAllObjects());
}

// --- replaceObject, findObject, objectAt, getAllObjects ----------------------------------------------------------------------

TEST_F(OKTDbPoolStore, ReplaceObject_KnownId_NeitherObjectNorIdTouched_Quirk13)
{
    auto *const old = own(append<TestObject>());
    OKTDbObjectId const id = old->objectId();
    auto *const replacement = new TestObject;
    int const living = TestObject::living();
    EXPECT_TRUE(pool.replaceObject(id, replacement));
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_EQ(old->objectId(), id);
    EXPECT_TRUE(replacement->objectId().isNull());
    OKTDbObject *found = nullptr;
    EXPECT_TRUE(pool.findObject(id, found));
    EXPECT_EQ(found, replacement);
    EXPECT_EQ(pool.objectCount(), 1);
}

TEST_F(OKTDbPoolStore, ReplaceObject_UnknownId_False)
{
    append<TestObject>();
    TestObject other;
    EXPECT_FALSE(pool.replaceObject(newId(&pool), &other));
    EXPECT_FALSE(pool.replaceObject(OKTDbObjectId(), &other));
    EXPECT_EQ(pool.objectCount(), 1);
}

TEST_F(OKTDbPoolStore, ReplaceObject_ByAConstruct_RolesUntouched_Quirk13)
{
    auto *const old = own(append<TestObject>());
    OKTDbObjectId const id = old->objectId();
    auto *const construct = new OKTDbConstruct;
    construct->setObjectId(id);
    EXPECT_TRUE(pool.replaceObject(id, construct));
    EXPECT_TRUE(pool.constructId().isNull());
}

TEST_F(OKTDbPoolStore, FindObject_KnownUnknownAndNullEntry)
{
    auto *const object = append<TestObject>();
    auto *const replaced = own(append<TestObject>());
    ASSERT_TRUE(pool.replaceObject(replaced->objectId(), nullptr));
    TestObject stays;

    OKTDbObject *found = &stays;
    EXPECT_FALSE(pool.findObject(newId(&pool), found));
    EXPECT_EQ(found, &stays);
    EXPECT_FALSE(pool.findObject(OKTDbObjectId(), found));
    EXPECT_EQ(found, &stays);
    EXPECT_TRUE(pool.findObject(object->objectId(), found));
    EXPECT_EQ(found, object);
    EXPECT_TRUE(pool.findObject(replaced->objectId(), found));
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(pool.objectCount(), 2);
}

TEST_F(OKTDbPoolStore, ObjectAt_EachPosition_KeysInByteOrder)
{
    for (int i = 0; i < 50; ++i)
        append<TestObject>();
    for (int i = 1; i < 50; ++i)
        EXPECT_LT(pool.objectAt(i - 1), pool.objectAt(i));
    IdArray const ids = all();
    ASSERT_EQ(ids.getSize(), 50);
    for (int const i : {0, 49, 25, 24, 26, 1, 0})
        EXPECT_EQ(pool.objectAt(i), ids.at(i));
}

TEST_F(OKTDbPoolStore, ObjectAt_Outside_NullId)
{
    EXPECT_TRUE(pool.objectAt(0).isNull());
    append<TestObject>();
    EXPECT_TRUE(pool.objectAt(-1).isNull());
    EXPECT_TRUE(pool.objectAt(pool.objectCount()).isNull());
    EXPECT_TRUE(pool.objectAt(INT_MIN).isNull());
    EXPECT_TRUE(pool.objectAt(INT_MAX).isNull());
    EXPECT_EQ(pool.objectAt(-1).getPool(), nullptr);
}

TEST_F(OKTDbPoolStore, GetAllObjects_FilledArray_Replaced)
{
    auto *const object = append<TestObject>();
    IdArray ids = listOf({newId(), newId()});
    pool.getAllObjects(ids);
    EXPECT_EQ(texts(ids), texts(listOf({object->objectId()})));
    ASSERT_TRUE(pool.eraseAllObjects());
    pool.getAllObjects(ids);
    EXPECT_EQ(ids.getSize(), 0);
}

// --- collectEntities ---------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, CollectEntities_ByClass_DerivedClassesIncluded)
{
    auto *const parameter = append<OKTDbParameter>();
    auto *const group = append<OKTDbGroupParameter>();
    auto *const category = append<OKTDbCategory>();
    IdArray ids = listOf({newId()});
    EXPECT_TRUE(pool.collectEntities(OKTDbParameter::desc(), ids));
    std::vector<std::string> expected = texts(all());
    std::erase(expected, category->objectId().getGuidAsString(true).ToUtf8());
    EXPECT_EQ(texts(ids), expected); // in the order of the pool
    EXPECT_TRUE(pool.collectEntities(OKTDbGroupParameter::desc(), ids));
    EXPECT_EQ(texts(ids), texts(listOf({group->objectId()})));
    EXPECT_TRUE(pool.collectEntities(OKTDbObject::desc(), ids));
    EXPECT_EQ(ids.getSize(), 3);
    EXPECT_TRUE(pool.collectEntities(OKTDbPicture::desc(), ids));
    EXPECT_EQ(ids.getSize(), 0);
    EXPECT_TRUE(parameter->objectId().isValid());
}

TEST_F(OKTDbPoolStore, CollectEntities_NullDescriptor_AllIdsNullEntriesToo)
{
    append<OKTDbParameter>();
    auto *const replaced = own(append<TestObject>());
    ASSERT_TRUE(pool.replaceObject(replaced->objectId(), nullptr));
    IdArray ids = listOf({newId()});
    EXPECT_TRUE(pool.collectEntities(nullptr, ids));
    EXPECT_EQ(texts(ids), texts(all()));
    EXPECT_EQ(ids.getSize(), 2);
    EXPECT_TRUE(pool.collectEntities(OKTDbObject::desc(), ids));
    EXPECT_EQ(ids.getSize(), 1);
}

TEST_F(OKTDbPoolStore, CollectEntities_RefusedDescriptor_TrueAndNone)
{
    append<OKTDbParameter>();
    OKTRuntimeClass refused(u"", u"", nullptr, nullptr);
    IdArray ids = listOf({newId()});
    EXPECT_TRUE(pool.collectEntities(&refused, ids));
    EXPECT_EQ(ids.getSize(), 0);
}

TEST_F(OKTDbPoolStore, CreateObjectFromClassName_KnownAndUnknown)
{
    OKTDbObject *object = nullptr;
    ASSERT_TRUE(pool.CreateObjectFromClassName(u"OKTDbPicture", object));
    own(object);
    EXPECT_TRUE(object->isA(CString(u"OKTDbPicture")));
    EXPECT_TRUE(object->objectId().isNull());
    EXPECT_EQ(pool.objectCount(), 0);
    OKTDbObject *const before = object;
    EXPECT_FALSE(pool.CreateObjectFromClassName(u"NoSuchClass", object));
    EXPECT_EQ(object, before);
}

// --- Translating getters -----------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, WellKnownIds_TranslationOn_AllButObjectIdAndRadialReinfIdTranslated_Quirk14)
{
    OKTDbObjectId const construct = newId();
    OKTDbObjectId const index = newId();
    OKTDbObjectId const picture = newId();
    OKTDbObjectId const unknown = newId();
    OKTDbObjectId const own = pool.objectId();
    setOtherIds();
    pool.setConstructId(construct);
    pool.setIndexId(index);
    pool.setPicturesIds(listOf({picture, unknown, picture}));
    IdMap map;
    std::map<std::string, OKTDbObjectId> fresh;
    for (OKTDbObjectId const &id : {construct, index, picture, sketch, actions, radial, own})
    {
        OKTDbObjectId const value = newId(&pool);
        fresh[id.getGuidAsString(true).ToUtf8()] = value;
        map[id] = value;
    }
    auto const translated = [&fresh](OKTDbObjectId const &id) { return fresh.at(id.getGuidAsString(true).ToUtf8()); };
    pool.setMapTranslatedIds(map);
    EXPECT_EQ(pool.constructId(), construct); // the map alone does nothing

    pool.setBoolTranslatedIds(true);
    EXPECT_EQ(pool.constructId(), translated(construct));
    EXPECT_EQ(pool.constructId().getPool(), &pool);
    EXPECT_EQ(pool.indexId(), translated(index));
    EXPECT_EQ(pool.sketchId(), translated(sketch));
    EXPECT_EQ(pool.ppActionsId(), translated(actions));
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({translated(picture), unknown, translated(picture)})));
    EXPECT_EQ(pool.RadialReinfId(), radial);
    EXPECT_EQ(pool.objectId(), own);

    pool.setBoolTranslatedIds(false);
    EXPECT_EQ(pool.constructId(), construct); // the fields themselves are as they were
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({picture, unknown, picture})));
}

TEST_F(OKTDbPoolStore, WellKnownIds_TranslationOnWithEmptyMap_TheFields)
{
    OKTDbObjectId const construct = newId();
    pool.setConstructId(construct);
    pool.setPicturesIds(listOf({construct}));
    pool.setBoolTranslatedIds(true);
    EXPECT_EQ(pool.constructId(), construct);
    EXPECT_EQ(texts(pool.picturesId()), texts(listOf({construct})));
    EXPECT_TRUE(pool.indexId().isNull());
}

TEST_F(OKTDbPoolStore, WellKnownIds_TranslationOnAndIdNotInTheMap_AsItIs)
{
    OKTDbObjectId const construct = newId();
    pool.setConstructId(construct);
    IdMap map;
    map[newId()] = newId();
    pool.setMapTranslatedIds(map);
    pool.setBoolTranslatedIds(true);
    EXPECT_EQ(pool.constructId(), construct);
    EXPECT_TRUE(pool.sketchId().isNull());
}

// --- Random operations -------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolStore, RandomOperations_BesideAModel_SameObjectsRolesAndOwners)
{
    std::mt19937 random(77);
    int const living = TestObject::living();
    for (int round = 0; round < 20; ++round)
    {
        OKTDbPool store;
        std::map<OKTDbObjectId, OKTDbObject *> model;
        std::vector<std::unique_ptr<OKTDbObject>> back;
        OKTDbObjectId construct;
        std::vector<std::string> pictures;
        for (int step = 0; step < 120; ++step)
        {
            auto const what = random() % 10;
            if (what < 5)
            {
                OKTDbObject *object = nullptr;
                switch (random() % 4)
                {
                case 0: object = new OKTDbConstruct; break;
                case 1: object = new OKTDbPicture; break;
                case 2: object = new TestObject; break;
                default: object = new OKTDbParameter;
                }
                ASSERT_TRUE(store.appendObject(object));
                ASSERT_EQ(model.count(object->objectId()), 0u);
                model[object->objectId()] = object;
                if (object->isA(CString(u"OKTDbConstruct")))
                    construct = object->objectId();
                if (object->isA(CString(u"OKTDbPicture")))
                    pictures.push_back(object->objectId().getGuidAsString(true).ToUtf8());
            }
            else if (what < 9 && !model.empty())
            {
                auto const place = std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
                OKTDbObjectId id = place->first;
                OKTDbObject *const object = place->second;
                std::erase(pictures, id.getGuidAsString(true).ToUtf8());
                if (object->isA(CString(u"OKTDbConstruct")))
                    construct.setNull();
                model.erase(place);
                switch (random() % 3)
                {
                case 0:
                    ASSERT_TRUE(store.removeObject(id));
                    back.emplace_back(object);
                    break;
                case 1:
                    ASSERT_TRUE(store.removeObject(object));
                    back.emplace_back(object);
                    break;
                default: ASSERT_TRUE(id.eraseObject());
                }
            }
            else if (what == 9 && random() % 20 == 0)
            {
                ASSERT_TRUE(store.eraseAllObjects());
                if (!model.empty())
                {
                    construct.setNull();
                    pictures.clear();
                }
                model.clear();
            }
            ASSERT_EQ(store.objectCount(), static_cast<int>(model.size()));
            ASSERT_EQ(store.constructId(), construct);
            ASSERT_EQ(texts(store.picturesId()), pictures);
            int position = 0;
            for (auto const &[id, object] : model)
            {
                ASSERT_EQ(store.objectAt(position), id);
                ASSERT_EQ(id.getObject(), object);
                ++position;
            }
        }
    }
    EXPECT_EQ(TestObject::living(), living);
}
