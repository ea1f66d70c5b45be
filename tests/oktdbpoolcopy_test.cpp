// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include "support/hookedobject.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

// copyFrom, clone and the translation of ids.

namespace
{
OKTDbObjectId newId(OKTDbPool *pool = nullptr) { return OKTDbObjectId::createObjectId(pool); }

std::vector<std::string> texts(IdArray const &ids)
{
    std::vector<std::string> all;
    for (OKTDbObjectId const &id : ids)
        all.push_back(id.getGuidAsString(true).ToUtf8());
    return all;
}

IdArray idsOf(OKTDbPool const &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    return ids;
}

template <typename T> T *appendTo(OKTDbPool &pool)
{
    auto *const object = new T;
    EXPECT_TRUE(pool.appendObject(object));
    return object;
}

/// The id that stands in `map` for another one; an id that the map lacks stands for itself.
OKTDbObjectId through(IdMap const &map, OKTDbObjectId const &id)
{
    OKTDbObjectId const *const found = map.find(id);
    return found == nullptr ? id : *found;
}

/// A pool of two parameters in a category, an object that refers to one of them, and the objects of special role.
class OKTDbPoolCopy : public ::testing::Test
{
protected:
    OKTDbPoolCopy()
    {
        source.setPoolName(u"Bridge");
        source.setMetricsFactor(1000.0);
        cover = appendTo<OKTDbParameter>(source);
        spacing = appendTo<OKTDbParameter>(source);
        category = appendTo<OKTDbCategory>(source);
        object = appendTo<TestObject>(source);
        construct = appendTo<OKTDbConstruct>(source);
        index = appendTo<OKTDbIndexData>(source);
        picture = appendTo<OKTDbPicture>(source);

        cover->setType(6);
        cover->setOwnerId(source.objectId());
        cover->setValue(2500.0, 1);
        cover->setCategory(category->objectId());
        IdArray params;
        params.append(spacing->objectId());
        params.append(outside);
        params.append(spacing->objectId());
        cover->setTabParams(params);
        category->appendParameter(cover->objectId());
        category->appendParameter(spacing->objectId());
        category->setCategoryName(u"Covers");
        object->m_idOther = cover->objectId();
        object->m_strText = u"text";
        construct->m_idOther = outside;
        source.setSketchId(object->objectId());
        source.setPPActionsId(outside);
        source.setRadialReinfId(spacing->objectId());
    }

    std::unique_ptr<OKTDbPool> cloned()
    {
        source.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> clone(source.clone());
        source.setBoolTranslatedIds(false);
        EXPECT_NE(clone, nullptr);
        return clone;
    }

    OKTDbPool source;
    OKTDbObjectId outside = newId();
    OKTDbParameter *cover;
    OKTDbParameter *spacing;
    OKTDbCategory *category;
    TestObject *object;
    OKTDbConstruct *construct;
    OKTDbIndexData *index;
    OKTDbPicture *picture;
};
} // namespace

// --- copyFrom ----------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolCopy, CopyFrom_IntoEmptyPool_SameIdsOwnObjects)
{
    OKTDbPool target;
    ASSERT_TRUE(target.copyFrom(&source));
    EXPECT_EQ(texts(idsOf(target)), texts(idsOf(source)));
    for (OKTDbObjectId const &id : idsOf(target))
    {
        OKTDbObject *there = nullptr;
        ASSERT_TRUE(source.findObject(id, there));
        ASSERT_NE(id.getObject(), nullptr);
        EXPECT_NE(id.getObject(), there);
        EXPECT_EQ(id.getObject()->isA(), there->isA());
        EXPECT_EQ(id.getPool(), &target);
        EXPECT_EQ(id.getObject()->objectId().getPool(), &target);
    }
    EXPECT_EQ(target.objectId(), source.objectId());
    EXPECT_EQ(target.poolName(), CString(u"Bridge"));
    EXPECT_EQ(target.metricsFactor(), 1000.0);
    EXPECT_EQ(target.constructId(), construct->objectId());
    EXPECT_EQ(target.indexId(), index->objectId());
    EXPECT_EQ(target.sketchId(), object->objectId());
    EXPECT_EQ(target.ppActionsId(), outside);
    EXPECT_EQ(target.RadialReinfId(), spacing->objectId());
    EXPECT_EQ(texts(target.picturesId()), texts(source.picturesId()));
    EXPECT_EQ(imageOf(target), imageOf(source));
}

TEST_F(OKTDbPoolCopy, CopyFrom_ReferencesInTheTarget_ResolveThere)
{
    OKTDbPool target;
    ASSERT_TRUE(target.copyFrom(&source));
    OKTDbObject *found = nullptr;
    ASSERT_TRUE(target.findObject(category->objectId(), found));
    OKTDbCategory const *const copy = OKTDbCategory::cast(found);
    ASSERT_NE(copy, nullptr);
    OKTDbParameter const *const first = OKTDbParameter::cast(copy->parameterAt(0));
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, cover);
    EXPECT_EQ(first->objectId(), cover->objectId());
    EXPECT_EQ(first->Value().dblVal, 2500.0);
}

TEST_F(OKTDbPoolCopy, CopyFrom_Null_FalseAndUnchanged)
{
    CByteArray const before = imageOf(source);
    EXPECT_FALSE(source.copyFrom(nullptr));
    EXPECT_EQ(imageOf(source), before);
}

TEST_F(OKTDbPoolCopy, CopyFrom_EmptyPool_TakesIdNameAndFactor)
{
    OKTDbPool empty;
    empty.setPoolName(u"Empty");
    empty.setMetricsFactor(2.5);
    int const count = source.objectCount();
    EXPECT_TRUE(source.copyFrom(&empty));
    EXPECT_EQ(source.objectCount(), count);
    EXPECT_EQ(source.objectId(), empty.objectId());
    EXPECT_EQ(source.poolName(), CString(u"Empty"));
    EXPECT_EQ(source.metricsFactor(), 2.5);
    EXPECT_TRUE(source.constructId().isNull()); // the header's fields replace its own
}

TEST_F(OKTDbPoolCopy, CopyFrom_IntoFilledPool_NotEmptiedFirst)
{
    OKTDbPool target;
    auto *const mine = appendTo<TestObject>(target);
    EXPECT_TRUE(target.copyFrom(&source));
    EXPECT_EQ(target.objectCount(), source.objectCount() + 1);
    EXPECT_EQ(mine->objectId().getObject(), mine);
}

TEST(OKTDbPoolCopyFaults, CopyFrom_PoolWithTheSameIds_FalseAtTheFirstObject_Quirk18)
{
    OKTDbPool source;
    for (int i = 0; i < 3; ++i)
        appendTo<TestObject>(source)->m_nNumber = i;
    OKTDbPool target;
    ASSERT_TRUE(target.copyFrom(&source));
    std::set<TestObject *> const before = TestObject::all();
    IdArray const ids = idsOf(target);
    auto *const first = TestObject::cast(ids.at(0));
    EXPECT_FALSE(target.copyFrom(&source));
    EXPECT_EQ(texts(idsOf(target)), texts(ids));
    EXPECT_EQ(ids.at(0).getObject(), first);

    std::set<TestObject *> lost = TestObject::all();
    for (TestObject *const known : before)
        lost.erase(known);
    EXPECT_EQ(lost.size(), 1u); // the object at fault, which nobody frees
    for (TestObject *const object : lost)
        delete object;
}

TEST(OKTDbPoolCopyFaults, CopyFrom_Itself_FalseUnlessEmpty)
{
    OKTDbPool empty;
    EXPECT_TRUE(empty.copyFrom(&empty));
    OKTDbPool pool;
    appendTo<TestObject>(pool);
    std::set<TestObject *> const before = TestObject::all();
    EXPECT_FALSE(pool.copyFrom(&pool));
    EXPECT_EQ(pool.objectCount(), 1);
    std::set<TestObject *> lost = TestObject::all();
    for (TestObject *const known : before)
        lost.erase(known);
    EXPECT_EQ(lost.size(), 1u);
    for (TestObject *const object : lost)
        delete object;
}

TEST(OKTDbPoolCopyFaults, CopyFrom_ObjectThatCannotBeWritten_FalseAndTargetUnchanged)
{
    OKTDbPool source;
    appendTo<TestObject>(source)->m_refuseXmlOut = true;
    OKTDbPool target;
    OKTDbObjectId const id = target.objectId();
    EXPECT_FALSE(target.copyFrom(&source));
    EXPECT_EQ(target.objectCount(), 0);
    EXPECT_EQ(target.objectId(), id);
}

TEST_F(OKTDbPoolCopy, CopyFrom_TranslationOnInTheSource_GuidsUnchanged)
{
    source.setBoolTranslatedIds(true);
    OKTDbPool target;
    EXPECT_TRUE(target.copyFrom(&source));
    EXPECT_EQ(texts(idsOf(target)), texts(idsOf(source)));
    EXPECT_TRUE(target.MapTranslatedIds().isEmpty());
    EXPECT_TRUE(source.MapTranslatedIds().isEmpty());
}

TEST_F(OKTDbPoolCopy, CopyFrom_TranslationOnInTheTarget_ItsMapActsOnReading)
{
    OKTDbPool target;
    OKTDbObjectId const fresh = newId(&target);
    IdMap map;
    map[cover->objectId()] = fresh;
    map[construct->objectId()] = newId(&target);
    target.setMapTranslatedIds(map);
    target.setBoolTranslatedIds(true);
    ASSERT_TRUE(target.copyFrom(&source));
    EXPECT_EQ(target.objectCount(), source.objectCount());
    OKTDbObject *found = nullptr;
    EXPECT_FALSE(target.findObject(cover->objectId(), found));
    ASSERT_TRUE(target.findObject(fresh, found));
    EXPECT_NE(OKTDbParameter::cast(found), nullptr);
    EXPECT_TRUE(target.findObject(spacing->objectId(), found));
    ASSERT_TRUE(target.findObject(object->objectId(), found));
    EXPECT_EQ(TestObject::cast(found)->m_idOther, fresh);
    // The fields hold new ids, which are no keys of the map; the getters, which look once more, leave them.
    EXPECT_EQ(target.constructId(), *map.find(construct->objectId()));
}

// --- clone -------------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolCopy, Clone_TranslationOff_SameGuidsAndEmptyMap)
{
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(texts(idsOf(*clone)), texts(idsOf(source)));
    EXPECT_TRUE(clone->MapTranslatedIds().isEmpty());
    EXPECT_FALSE(clone->BoolTranslatedIds());
    EXPECT_EQ(clone->objectId(), source.objectId());
    EXPECT_EQ(clone->poolName(), CString(u"Bridge"));
    EXPECT_EQ(clone->metricsFactor(), 1000.0);
    EXPECT_EQ(imageOf(*clone), imageOf(source));
}

TEST(OKTDbPoolClone, Clone_EmptyPool_EmptyWithTheSameId)
{
    for (bool const translated : {false, true})
    {
        OKTDbPool source;
        source.setBoolTranslatedIds(translated);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr);
        EXPECT_EQ(clone->objectCount(), 0);
        EXPECT_EQ(clone->objectId(), source.objectId());
        EXPECT_TRUE(clone->MapTranslatedIds().isEmpty());
        EXPECT_FALSE(clone->BoolTranslatedIds());
    }
}

TEST_F(OKTDbPoolCopy, Clone_TranslationOn_EveryObjectHasANewGuidAndTheMapTellsIt)
{
    auto const clone = cloned();
    IdMap const map = clone->MapTranslatedIds();
    EXPECT_EQ(texts(map.keys()), texts(idsOf(source)));
    std::set<std::string> values;
    for (int i = 0; i < map.getSize(); ++i)
    {
        OKTDbObjectId const &old = map.keyAt(static_cast<unsigned int>(i));
        OKTDbObjectId const &fresh = map.valueAt(static_cast<unsigned int>(i));
        EXPECT_EQ(fresh.getPool(), clone.get());
        EXPECT_FALSE(map.contains(fresh));
        ASSERT_TRUE(fresh.isValid());
        EXPECT_EQ(fresh.getObject()->isA(), old.getObject()->isA());
        EXPECT_EQ(fresh.getObject()->objectId(), fresh);
        OKTDbObject *found = nullptr;
        EXPECT_FALSE(clone->findObject(old, found));
        values.insert(fresh.getGuidAsString(true).ToUtf8());
    }
    std::vector<std::string> const inClone = texts(idsOf(*clone));
    EXPECT_EQ(values, (std::set<std::string>(inClone.begin(), inClone.end())));
    EXPECT_FALSE(clone->BoolTranslatedIds());
    EXPECT_EQ(clone->objectId(), source.objectId()); // the pool is no object of itself
}

TEST_F(OKTDbPoolCopy, Clone_TranslationOn_AllReferencesInsideFollow)
{
    auto const clone = cloned();
    IdMap const map = clone->MapTranslatedIds();
    auto const *const newCover = OKTDbParameter::cast(*map.find(cover->objectId()));
    auto const *const newSpacing = OKTDbParameter::cast(*map.find(spacing->objectId()));
    auto const *const newCategory = OKTDbCategory::cast(*map.find(category->objectId()));
    auto const *const newObject = TestObject::cast(*map.find(object->objectId()));
    ASSERT_NE(newCover, nullptr);
    ASSERT_NE(newSpacing, nullptr);
    ASSERT_NE(newCategory, nullptr);
    ASSERT_NE(newObject, nullptr);
    EXPECT_EQ(newCategory->parameterAt(0), newCover->objectId());
    EXPECT_EQ(OKTDbParameter::cast(newCategory->parameterAt(0)), newCover);
    EXPECT_EQ(OKTDbParameter::cast(newCategory->parameterAt(1)), newSpacing);
    EXPECT_EQ(newCategory->CategoryName(), CString(u"Covers"));
    EXPECT_EQ(OKTDbCategory::cast(newCover->Category()), newCategory);
    EXPECT_EQ(newCover->Value().dblVal, 2500.0);
    EXPECT_EQ(newObject->m_idOther, newCover->objectId());
    EXPECT_EQ(newObject->m_strText, CString(u"text"));

    EXPECT_EQ(clone->constructId(), *map.find(construct->objectId()));
    EXPECT_EQ(clone->indexId(), *map.find(index->objectId()));
    EXPECT_EQ(clone->sketchId(), newObject->objectId());
    EXPECT_EQ(clone->RadialReinfId(), newSpacing->objectId());
    IdArray pictures;
    pictures.append(*map.find(picture->objectId()));
    EXPECT_EQ(texts(clone->picturesId()), texts(pictures));
}

TEST_F(OKTDbPoolCopy, Clone_TranslationOn_ReferencesOutsideKeepTheirGuid)
{
    auto const clone = cloned();
    IdMap const map = clone->MapTranslatedIds();
    EXPECT_FALSE(map.contains(outside));
    EXPECT_EQ(clone->ppActionsId(), outside);
    EXPECT_EQ(OKTDbConstruct::cast(clone->constructId())->m_idOther, outside);
    IdArray const params = OKTDbParameter::cast(*map.find(cover->objectId()))->TabParams();
    ASSERT_EQ(params.getSize(), 3);
    EXPECT_EQ(params.at(0), *map.find(spacing->objectId()));
    EXPECT_EQ(params.at(1), outside);
    EXPECT_EQ(params.at(2), *map.find(spacing->objectId()));
    EXPECT_EQ(OKTDbParameter::cast(*map.find(cover->objectId()))->OwnerId(), source.objectId()); // the pool's own id
    EXPECT_TRUE(OKTDbParameter::cast(*map.find(spacing->objectId()))->Category().isNull());
}

TEST_F(OKTDbPoolCopy, Clone_TranslationOn_ReferenceWithoutPoolToAnObjectInside_Follows)
{
    OKTDbObjectId bare;
    bare.setGuid(spacing->objectId().getGuid());
    object->m_idOther = bare;
    auto const clone = cloned();
    IdMap const map = clone->MapTranslatedIds();
    EXPECT_EQ(TestObject::cast(*map.find(object->objectId()))->m_idOther, *map.find(spacing->objectId()));
}

TEST_F(OKTDbPoolCopy, Clone_SourceUnchanged)
{
    CByteArray const before = imageOf(source);
    std::vector<std::string> const ids = texts(idsOf(source));
    for (bool const translated : {false, true})
    {
        source.setBoolTranslatedIds(translated);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr);
        EXPECT_EQ(source.BoolTranslatedIds(), translated);
        EXPECT_TRUE(source.MapTranslatedIds().isEmpty());
        source.setBoolTranslatedIds(false);
        EXPECT_EQ(texts(idsOf(source)), ids);
        EXPECT_EQ(imageOf(source), before);
        EXPECT_EQ(cover->objectId().getObject(), cover);
    }
}

TEST_F(OKTDbPoolCopy, Clone_Twice_DifferentNewGuids)
{
    auto const first = cloned();
    auto const second = cloned();
    for (OKTDbObjectId const &id : idsOf(*first))
    {
        OKTDbObject *found = nullptr;
        EXPECT_FALSE(second->findObject(id, found));
    }
}

TEST_F(OKTDbPoolCopy, Clone_ReadFilterOfTheSource_StaysBehind)
{
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbPicture::desc());
    source.setReadFilter(filter);
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->readFilter().getSize(), 0);
    EXPECT_EQ(clone->objectCount(), source.objectCount());
}

TEST_F(OKTDbPoolCopy, Clone_NullEntry_LeftOut)
{
    std::unique_ptr<OKTDbObject> const replaced(object);
    ASSERT_TRUE(source.replaceObject(object->objectId(), nullptr));
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->objectCount(), source.objectCount() - 1);
}

TEST(OKTDbPoolClone, Clone_SeveralConstructs_TheLastInTheOrderOfThePoolIsNamed)
{
    for (bool const translated : {false, true})
    {
        OKTDbPool source;
        for (int i = 0; i < 4; ++i)
            appendTo<OKTDbConstruct>(source);
        source.setConstructId(source.objectAt(1)); // the header's word does not last: each construct read takes the role
        source.setBoolTranslatedIds(translated);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr);
        EXPECT_EQ(clone->constructId(), through(clone->MapTranslatedIds(), source.objectAt(3)));
    }
}

TEST(OKTDbPoolClone, Clone_ObjectThatCannotBeWritten_Null)
{
    OKTDbPool source;
    appendTo<TestObject>(source)->m_refuseXmlOut = true;
    int const living = TestObject::living();
    ReportCatcher reports;
    EXPECT_EQ(source.clone(), nullptr);
    EXPECT_EQ(reports.count(), 0u);
    EXPECT_EQ(TestObject::living(), living);
}

TEST(OKTDbPoolClone, Clone_ObjectThatCannotBeRead_NullAndOnlyThatObjectLost_Quirk18)
{
    OKTDbPool source;
    for (int i = 0; i < 3; ++i)
        appendTo<TestObject>(source);
    std::set<TestObject *> const before = TestObject::all();
    {
        TestObject::RefuseReading const refuses;
        EXPECT_EQ(source.clone(), nullptr);
    }
    std::set<TestObject *> lost = TestObject::all();
    for (TestObject *const known : before)
        lost.erase(known);
    EXPECT_EQ(lost.size(), 1u); // the first object, at fault; nothing of the failed clone lives
    for (TestObject *const object : lost)
        delete object;
}

TEST(OKTDbPoolClone, Clone_UnknownClassAmongThem_NullAndEarlierObjectsDeleted)
{
    /// Writes itself under a name that nobody has registered.
    class Stranger : public TestObject
    {
    public:
        FilerStatusDb xmlOut(OKTFiler *filer) const override
        {
            filer->beginWriteClass(u"Object", u"NoSuchClass", 1);
            filer->endWriteClass();
            return eFilerOk;
        }
    };
    OKTDbPool source;
    for (int i = 0; i < 4; ++i)
        appendTo<TestObject>(source);
    appendTo<Stranger>(source);
    int const living = TestObject::living();
    EXPECT_EQ(source.clone(), nullptr);
    EXPECT_EQ(TestObject::living(), living);
}

namespace
{
/// Keeps its reference in a block of bytes that a filer of its own makes.
class ClientBlock : public OKTDbObject
{
    OKT_STORED_CLASS(ClientBlock)

    FilerStatusDb xmlOut(OKTFiler *filer) const override
    {
        filer->beginWriteClass(u"Object", u"ClientBlock", 1);
        FilerStatusDb const status = OKTDbObject::xmlOut(filer);
        filer->beginWriteMembers(1);
        OKTMemoryFiler block(objectId().getPool());
        block.writeObjectId(u"m_idOther", m_idOther);
        filer->writeByteArray(u"m_block", block.takeBytes());
        filer->endWriteMembers();
        filer->endWriteClass();
        return status;
    }
    FilerStatusDb xmlIn(OKTFiler *filer) override
    {
        filer->beginReadClass(u"Object", u"ClientBlock");
        FilerStatusDb const status = OKTDbObject::xmlIn(filer);
        filer->beginReadMembers(1);
        CByteArray bytes;
        filer->readByteArray(u"m_block", bytes);
        OKTMemoryFiler block(objectId().getPool());
        block.loadFiler(bytes);
        block.readObjectId(u"m_idOther", m_idOther);
        filer->endReadMembers();
        filer->endReadClass();
        return status;
    }

    OKTDbObjectId m_idOther;
};

OKT_STORED_CLASS_SOURCE(ClientBlock)
OKT_STORED_CLASS_REGISTRATION(ClientBlock, OKTDbObject)

/// Adds an object to its pool each time it is written, as often as it may.
class ClientAdder : public TestObject
{
public:
    FilerStatusDb xmlOut(OKTFiler *filer) const override
    {
        FilerStatusDb const status = TestObject::xmlOut(filer);
        if (m_left-- > 0)
            appendTo<TestObject>(*objectId().getPool());
        return status;
    }

    mutable int m_left = 1;
};
} // namespace

TEST(OKTDbPoolClone, Clone_TranslationOnAndReferenceThroughAFilerOfTheObjectsOwn_Follows)
{
    OKTDbPool source;
    auto *const parameter = appendTo<OKTDbParameter>(source);
    auto *const block = appendTo<ClientBlock>(source);
    block->m_idOther = parameter->objectId();
    source.setBoolTranslatedIds(true);
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    IdMap const map = clone->MapTranslatedIds();
    auto const *const copy = ClientBlock::cast(*map.find(block->objectId()));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->m_idOther, *map.find(parameter->objectId()));
}

// The filer of a clone has its own map: what an object does to its pool while it is read changes no id that comes after.
TEST(OKTDbPoolClone, Clone_ObjectChangesTheMapOfItsPoolWhileItIsRead_IdsBehindItAreTranslatedAllTheSame)
{
    std::function<void(OKTDbPool &)> const changes[] = {
        [](OKTDbPool &pool) { pool.setMapTranslatedIds(IdMap()); },
        [](OKTDbPool &pool) { pool.RearangeMapTranslatedIds(); },
        [](OKTDbPool &pool) { pool.setBoolTranslatedIds(false); },
        [](OKTDbPool &pool) { pool.eraseAllObjects(); },
    };
    for (auto const &change : changes)
    {
        std::size_t const number = static_cast<std::size_t>(&change - changes);
        OKTDbPool source;
        OKTDbObjectId const used = appendTo<OKTDbRelation>(source)->objectId();
        for (int i = 0; i < 5; ++i)
            appendTo<HookedObject>(source)->m_idOther = used;
        source.setBoolTranslatedIds(true);
        Hooks const hooks;
        IdMap before;
        HookedObject::s_whileRead = [&](HookedObject &object, OKTFiler &) {
            OKTDbPool *const pool = object.objectId().getPool();
            ASSERT_NE(pool, nullptr);
            EXPECT_NE(pool, &source);
            if (before.isEmpty())
                before = pool->MapTranslatedIds();
            change(*pool);
        };
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr) << number;
        ASSERT_EQ(before.getSize(), 6) << number;
        int found = 0;
        for (OKTDbObjectId const &id : idsOf(*clone))
            if (auto const *const object = HookedObject::cast(id))
            {
                ++found;
                EXPECT_EQ(object->m_idOther, *before.find(used)) << number;
            }
        EXPECT_EQ(found, number == 3 ? 1 : 5) << number; // the last one is appended when the others are gone
    }
}

TEST(OKTDbPoolClone, Clone_ObjectSwitchesTranslationOffWhileItIsWritten_MapIsThereAndIdsAreAsTheyWere)
{
    OKTDbPool source;
    OKTDbObjectId const used = appendTo<OKTDbRelation>(source)->objectId();
    appendTo<HookedObject>(source)->m_idOther = used;
    source.setBoolTranslatedIds(true);
    Hooks const hooks;
    HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &) { source.setBoolTranslatedIds(false); };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(texts(idsOf(*clone)), texts(idsOf(source)));
    IdMap const map = clone->MapTranslatedIds();
    ASSERT_EQ(map.getSize(), 2);
    EXPECT_EQ(texts(map.keys()), texts(idsOf(source)));
    for (auto const &[old, fresh] : map)
        EXPECT_EQ(fresh.getPool(), clone.get());
}

// Ids that are noted while a pool is saved belong to no pool: only a clone binds them.
TEST(OKTDbPoolClone, SaveFiler_TranslationOn_TranslatedIdsHaveNoPool)
{
    OKTDbPool source;
    appendTo<OKTDbRelation>(source);
    appendTo<TestObject>(source);
    source.setBoolTranslatedIds(true);
    CByteArray image;
    IdMap translated;
    ASSERT_TRUE(source.saveFiler(image, translated));
    ASSERT_EQ(translated.getSize(), 2);
    for (auto const &[old, fresh] : translated)
    {
        EXPECT_FALSE(fresh.isNull());
        EXPECT_EQ(fresh.getPool(), nullptr);
    }
}

TEST(OKTDbPoolClone, Clone_ObjectThatFailsBeforeItsId_IsAskedOnceAndReportsOnce)
{
    /// Fails before it has written anything.
    class Failing : public TestObject
    {
    public:
        FilerStatusDb xmlOut(OKTFiler *) const override
        try
        {
            ++m_calls;
            if (m_throws)
                throw std::runtime_error("told to");
            return eFilerMemberFailed;
        }
        OKT_ANSWER_ZERO

        bool m_throws = false;
        mutable int m_calls = 0;
    };
    for (bool const translated : {false, true})
        for (bool const throws : {false, true})
        {
            OKTDbPool source;
            auto *const object = appendTo<Failing>(source);
            object->m_throws = throws;
            source.setBoolTranslatedIds(translated);
            ReportCatcher const reports;
            std::unique_ptr<OKTDbPool> const clone(source.clone());
            EXPECT_EQ(clone != nullptr, throws) << translated; // after a report an object counts as written (quirk 6)
            EXPECT_EQ(object->m_calls, 1) << translated << throws;
            EXPECT_EQ(reports.count(), throws ? 1u : 0u) << translated << throws;
        }
}

TEST(OKTDbPoolClone, Clone_ObjectThatAddsToThePoolWhileItIsWritten_MapNamesObjectsOfTheClone)
{
    for (int round = 0; round < 20; ++round)
    {
        OKTDbPool source;
        for (int i = 0; i < 5; ++i)
            appendTo<TestObject>(source);
        appendTo<ClientAdder>(source);
        source.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr);
        IdMap const map = clone->MapTranslatedIds();
        for (auto const &[old, fresh] : map)
            EXPECT_TRUE(fresh.isValid()) << round;
    }
}

// --- The map -----------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolCopy, SaveFiler_TranslationOff_MapUntouched)
{
    IdMap translated;
    OKTDbObjectId const key = newId();
    translated[key] = newId();
    CByteArray image;
    ASSERT_TRUE(source.saveFiler(image, translated));
    EXPECT_EQ(translated.getSize(), 1);
    EXPECT_TRUE(translated.contains(key));
}

TEST_F(OKTDbPoolCopy, SaveFiler_TranslationOn_OldIdsInTheImageAndNewOnesInTheMap)
{
    CByteArray const plain = imageOf(source);
    source.setBoolTranslatedIds(true);
    IdMap translated;
    OKTDbObjectId const key = newId();
    translated[key] = newId();
    CByteArray image;
    ASSERT_TRUE(source.saveFiler(image, translated));
    EXPECT_EQ(image, plain);
    EXPECT_EQ(translated.getSize(), source.objectCount() + 1); // the map is not emptied first
    for (OKTDbObjectId const &id : idsOf(source))
    {
        ASSERT_TRUE(translated.contains(id));
        EXPECT_FALSE(translated.find(id)->isNull());
        EXPECT_FALSE(translated.contains(*translated.find(id)));
    }
    EXPECT_FALSE(translated.contains(outside));
    EXPECT_FALSE(translated.contains(source.objectId()));
    EXPECT_FALSE(translated.contains(OKTDbObjectId::kNull));
    EXPECT_TRUE(source.MapTranslatedIds().isEmpty());
}

TEST(OKTDbPoolMap, RearangeMapTranslatedIds_Filled_FreshValuesOfThisPoolUnderTheSameKeys_Quirk61)
{
    OKTDbPool pool;
    OKTDbPool other;
    IdMap map;
    for (int i = 0; i < 30; ++i)
        map[newId(&other)] = newId(&other);
    map[newId()] = OKTDbObjectId();
    pool.setMapTranslatedIds(map);
    pool.RearangeMapTranslatedIds();
    IdMap const after = pool.MapTranslatedIds();
    EXPECT_EQ(texts(after.keys()), texts(map.keys()));
    std::set<std::string> values;
    for (unsigned int i = 0; i < 31; ++i)
    {
        EXPECT_NE(after.valueAt(i), std::as_const(map).valueAt(i));
        EXPECT_FALSE(after.valueAt(i).isNull());
        EXPECT_EQ(after.valueAt(i).getPool(), &pool);
        EXPECT_EQ(after.keyAt(i).getPool(), map.keyAt(i).getPool());
        values.insert(after.valueAt(i).getGuidAsString(true).ToUtf8());
    }
    EXPECT_EQ(values.size(), 31u);
}

TEST(OKTDbPoolMap, RearangeMapTranslatedIds_Empty_Nothing_Quirk61)
{
    OKTDbPool pool;
    pool.RearangeMapTranslatedIds();
    EXPECT_TRUE(pool.MapTranslatedIds().isEmpty());
}

TEST(OKTDbPoolMap, LoadFiler_TranslationOn_LaterLoadsApplyTheMapToo)
{
    OKTDbPool source;
    auto *const first = appendTo<TestObject>(source);
    CByteArray const image = imageOf(source);
    OKTDbPool target;
    IdMap map;
    OKTDbObjectId const fresh = newId(&target);
    map[first->objectId()] = fresh;
    target.setMapTranslatedIds(map);
    EXPECT_TRUE(target.loadFiler(image)); // the flag is off
    EXPECT_EQ(target.objectAt(0), first->objectId());
    target.setBoolTranslatedIds(true);
    EXPECT_TRUE(target.loadFiler(image));
    EXPECT_EQ(target.objectCount(), 2);
    OKTDbObject *found = nullptr;
    EXPECT_TRUE(target.findObject(fresh, found));
}

// --- Random pools ------------------------------------------------------------------------------------------------------------

namespace
{
/// Objects with references in every place that a stored class has, some of them to nothing and some of them null.
std::vector<OKTDbObject *> fillAtRandom(OKTDbPool &pool, std::mt19937 &random, std::vector<OKTDbObjectId> const &strangers)
{
    std::vector<OKTDbObject *> objects;
    if (random() % 2 == 0) // not more than one: of several, a load names the last that it reads
        objects.push_back(appendTo<OKTDbConstruct>(pool));
    for (auto n = random() % 25; n > 0; --n)
        switch (random() % 6)
        {
        case 0: objects.push_back(appendTo<TestObject>(pool)); break;
        case 1: objects.push_back(appendTo<OKTDbCategory>(pool)); break;
        case 2: objects.push_back(appendTo<OKTDbGroupCategory>(pool)); break;
        case 3: objects.push_back(appendTo<OKTDbParamRelation>(pool)); break;
        case 4: objects.push_back(appendTo<OKTDbPicture>(pool)); break;
        default: objects.push_back(appendTo<OKTDbParameter>(pool));
        }
    auto const any = [&]() -> OKTDbObjectId {
        if (objects.empty() || random() % 4 == 0)
            return random() % 3 == 0 ? OKTDbObjectId() : strangers[random() % strangers.size()];
        return objects[random() % objects.size()]->objectId();
    };
    for (OKTDbObject *const object : objects)
    {
        if (auto *const test = TestObject::cast(object))
            test->m_idOther = any();
        else if (auto *const parameter = OKTDbParameter::cast(object))
        {
            parameter->setCategory(any());
            parameter->setOwnerId(any());
            IdArray params;
            for (auto n = random() % 4; n > 0; --n)
                params.append(any());
            parameter->setTabParams(params);
        }
        else if (auto *const category = OKTDbCategory::cast(object))
        {
            category->setGroupCategory(any());
            for (auto n = random() % 4; n > 0; --n)
                category->appendParameter(any());
        }
        else if (auto *const group = OKTDbGroupCategory::cast(object))
            for (auto n = random() % 4; n > 0; --n)
                group->appendCategory(any());
        else if (auto *const relation = OKTDbParamRelation::cast(object))
            for (auto n = random() % 4; n > 0; --n)
                relation->appendParameter(any());
    }
    pool.setSketchId(any());
    pool.setPPActionsId(any());
    pool.setRadialReinfId(any());
    pool.setMetricsFactor(random() % 2 == 0 ? 1.0 : 1000.0);
    return objects;
}

/// Every id that an object carries, its own first, as the diary of a filer shows them.
std::vector<std::string> idsWrittenBy(OKTDbObject const &object)
{
    ScriptedFiler filer;
    EXPECT_EQ(object.xmlOut(&filer), eFilerOk);
    std::vector<std::string> ids;
    for (std::string const &call : filer.calls())
        if (call.rfind("writeObjectId ", 0) == 0)
            ids.push_back(call.substr(call.rfind('{')));
    return ids;
}
} // namespace

TEST(OKTDbPoolClone, Clone_RandomPoolsTranslated_EveryIdThroughTheMapAndNothingElseChanged)
{
    std::mt19937 random(31);
    std::vector<OKTDbObjectId> const strangers = {newId(), newId(), newId()};
    for (int round = 0; round < 60; ++round)
    {
        OKTDbPool source;
        std::vector<OKTDbObject *> const objects = fillAtRandom(source, random, strangers);
        CByteArray const before = imageOf(source);
        source.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        source.setBoolTranslatedIds(false);
        ASSERT_NE(clone, nullptr);
        ASSERT_EQ(imageOf(source), before);

        IdMap const map = clone->MapTranslatedIds();
        ASSERT_EQ(texts(map.keys()), texts(idsOf(source)));
        ASSERT_EQ(clone->objectCount(), source.objectCount());
        std::map<std::string, std::string> newOf;
        for (unsigned int i = 0; i < static_cast<unsigned int>(map.getSize()); ++i)
            newOf[map.keyAt(i).getGuidAsString(false).ToUtf8()] = map.valueAt(i).getGuidAsString(false).ToUtf8();
        for (OKTDbObject const *const object : objects)
        {
            OKTDbObject const *const copy = map.find(object->objectId())->getObject();
            ASSERT_NE(copy, nullptr);
            std::vector<std::string> expected = idsWrittenBy(*object);
            for (std::string &id : expected)
                if (newOf.count(id) != 0)
                    id = newOf[id];
            ASSERT_EQ(idsWrittenBy(*copy), expected) << "round " << round << ' ' << object->isA()->ClassName().ToUtf8();
        }
        EXPECT_EQ(clone->constructId(), through(map, source.constructId()));
        EXPECT_EQ(clone->sketchId(), through(map, source.sketchId()));
        EXPECT_EQ(clone->ppActionsId(), through(map, source.ppActionsId()));
        EXPECT_EQ(clone->RadialReinfId(), through(map, source.RadialReinfId()));
        ASSERT_EQ(clone->picturesId().getSize(), source.picturesId().getSize());
        for (int i = 0; i < source.picturesId().getSize(); ++i)
            EXPECT_EQ(clone->picturesId().at(i), through(map, source.picturesId().at(i)));
        EXPECT_EQ(clone->metricsFactor(), source.metricsFactor());
        EXPECT_EQ(clone->objectId(), source.objectId());
    }
}

TEST(OKTDbPoolClone, Clone_RandomPoolsUntranslated_SameImage)
{
    std::mt19937 random(32);
    std::vector<OKTDbObjectId> const strangers = {newId(), newId()};
    for (int round = 0; round < 60; ++round)
    {
        OKTDbPool source;
        fillAtRandom(source, random, strangers);
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        ASSERT_NE(clone, nullptr);
        ASSERT_EQ(imageOf(*clone), imageOf(source));
        OKTDbPool copy;
        ASSERT_TRUE(copy.copyFrom(&source));
        ASSERT_EQ(imageOf(copy), imageOf(source));
    }
}

// --- Caches ------------------------------------------------------------------------------------------------------------------

TEST_F(OKTDbPoolCopy, Clone_TranslationOnThenErase_NoListReachesTheErasedObject)
{
    auto *const group = appendTo<OKTDbGroupCategory>(source);
    group->appendCategory(category->objectId());
    auto *const relation = appendTo<OKTDbParamRelation>(source);
    relation->appendParameter(cover->objectId());
    relation->appendParameter(spacing->objectId());
    auto const clone = cloned();
    IdMap const map = clone->MapTranslatedIds();
    auto *const newCategory = OKTDbCategory::cast(*map.find(category->objectId()));
    auto *const newGroup = OKTDbGroupCategory::cast(*map.find(group->objectId()));
    auto *const newRelation = OKTDbParamRelation::cast(*map.find(relation->objectId()));
    auto *const newCover = OKTDbParameter::cast(*map.find(cover->objectId()));
    auto *const newSpacing = OKTDbParameter::cast(*map.find(spacing->objectId()));
    ASSERT_NE(newCategory, nullptr);
    ASSERT_NE(newGroup, nullptr);
    ASSERT_NE(newRelation, nullptr);
    ASSERT_NE(newCover, nullptr);
    ASSERT_NE(newSpacing, nullptr);
    OKTDbGroupParameter elements;
    elements.addElement(newCover->objectId());
    elements.addElement(newSpacing->objectId());
    IdArray ids;

    // Every entry is looked up once, as clients do, before its object goes.
    EXPECT_EQ(newCategory->parameterAt(1).getObject(), newSpacing);
    EXPECT_EQ(newGroup->categoryAt(0).getObject(), newCategory);
    EXPECT_EQ(newRelation->parameterAt(1).getObject(), newSpacing);
    EXPECT_EQ(newCover->TabParams().at(0).getObject(), newSpacing);
    elements.getAllElements(ids);
    ASSERT_EQ(ids.getSize(), 2);
    for (OKTDbObjectId const &id : ids)
        EXPECT_NE(id.getObject(), nullptr);

    OKTDbObjectId const gone = newSpacing->objectId();
    OKTDbObjectId id = gone;
    ASSERT_TRUE(id.eraseObject());
    EXPECT_EQ(newCategory->parameterAt(1), gone);
    EXPECT_EQ(newCategory->parameterAt(1).getObject(), nullptr);
    EXPECT_EQ(newCategory->parameterAt(0).getObject(), newCover);
    newCategory->getAllParameters(ids);
    EXPECT_EQ(ids.at(1).getObject(), nullptr);
    EXPECT_EQ(newRelation->parameterAt(1).getObject(), nullptr);
    EXPECT_EQ(newRelation->parameterAt(0).getObject(), newCover);
    newRelation->getAllParameters(ids);
    EXPECT_EQ(ids.at(1).getObject(), nullptr);
    EXPECT_EQ(newCover->TabParams().at(0).getObject(), nullptr);
    EXPECT_EQ(newCover->TabParams().at(2).getObject(), nullptr);
    elements.getAllElements(ids);
    ASSERT_EQ(ids.getSize(), 2);
    for (OKTDbObjectId const &element : ids)
        EXPECT_EQ(element.getObject(), element == gone ? nullptr : newCover);

    id = newCategory->objectId();
    ASSERT_TRUE(id.eraseObject());
    EXPECT_EQ(newGroup->categoryAt(0).getObject(), nullptr);
    newGroup->getAllCategories(ids);
    EXPECT_EQ(ids.at(0).getObject(), nullptr);
}

TEST(OKTDbPoolMap, LoadFiler_ValuesOfTheMapCarryCaches_NoListKeepsThem)
{
    OKTDbPool target;
    auto *const parameter = appendTo<OKTDbParameter>(target);
    auto *const category = appendTo<OKTDbCategory>(target);
    ASSERT_EQ(parameter->objectId().getObject(), parameter); // the ids carry their objects
    ASSERT_EQ(category->objectId().getObject(), category);

    OKTDbPool source;
    OKTDbObjectId const oldParameter = newId();
    OKTDbObjectId const oldCategory = newId();
    auto *const list = appendTo<OKTDbCategory>(source);
    list->appendParameter(oldParameter);
    auto *const group = appendTo<OKTDbGroupCategory>(source);
    group->appendCategory(oldCategory);
    auto *const relation = appendTo<OKTDbParamRelation>(source);
    relation->appendParameter(oldParameter);
    auto *const holder = appendTo<OKTDbParameter>(source);
    IdArray params;
    params.append(oldParameter);
    holder->setTabParams(params);

    IdMap map;
    map[oldParameter] = parameter->objectId();
    map[oldCategory] = category->objectId();
    target.setMapTranslatedIds(map);
    target.setBoolTranslatedIds(true);
    ASSERT_TRUE(target.loadFiler(imageOf(source)));
    auto const read = [&](OKTDbObject const *object) {
        OKTDbObject *found = nullptr;
        EXPECT_TRUE(target.findObject(object->objectId(), found));
        return found;
    };
    auto const *const readList = OKTDbCategory::cast(read(list));
    auto const *const readGroup = OKTDbGroupCategory::cast(read(group));
    auto const *const readRelation = OKTDbParamRelation::cast(read(relation));
    auto const *const readHolder = OKTDbParameter::cast(read(holder));
    ASSERT_TRUE(readList != nullptr && readGroup != nullptr && readRelation != nullptr && readHolder != nullptr);
    EXPECT_EQ(readList->parameterAt(0).getObject(), parameter);
    EXPECT_EQ(readGroup->categoryAt(0).getObject(), category);
    EXPECT_EQ(readRelation->parameterAt(0).getObject(), parameter);
    EXPECT_EQ(readHolder->TabParams().at(0).getObject(), parameter);

    OKTDbObjectId id = parameter->objectId();
    OKTDbObjectId const gone = id;
    ASSERT_TRUE(id.eraseObject());
    id = category->objectId();
    ASSERT_TRUE(id.eraseObject());
    EXPECT_EQ(readList->parameterAt(0), gone);
    EXPECT_EQ(readList->parameterAt(0).getObject(), nullptr);
    EXPECT_EQ(readGroup->categoryAt(0).getObject(), nullptr);
    EXPECT_EQ(readRelation->parameterAt(0).getObject(), nullptr);
    EXPECT_EQ(readHolder->TabParams().at(0).getObject(), nullptr);
}
