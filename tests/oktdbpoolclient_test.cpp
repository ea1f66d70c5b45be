// SPDX-License-Identifier: MIT
// Objects of client modules that take part in the filing while they are written or read.

#include <oktdatabase/oktdbpool.h>

#include "support/hookedobject.h"
#include "support/imageof.h"
#include "support/scratchfolder.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace
{
template <typename T> T *appendTo(OKTDbPool &pool)
{
    auto *const object = new T;
    EXPECT_TRUE(pool.appendObject(object));
    return object;
}

std::vector<OKTDbObjectId> idsOf(OKTDbPool const &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    return {ids.begin(), ids.end()};
}

OKTDbPool::_ObjectInfo placeOf(OKTDbPool::InfoMap const &info, OKTDbObjectId const &id)
{
    OKTDbPool::_ObjectInfo const *const place = info.find(id);
    return place == nullptr ? OKTDbPool::_ObjectInfo{-2, -2} : *place;
}

/// The places that the header of an image tells, from the start of the objects block, and where the objects lie indeed.
struct Places
{
    explicit Places(CByteArray const &image)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(image);
        int length = 0;
        EXPECT_TRUE(filer.readInt(u"", length));
        EXPECT_EQ(pool.xmlIn(&filer, told), eFilerOk);
        long const start = filer.GetFilerPosition();
        CString name;
        while (filer.readNextObjectClass(name))
        {
            long const from = filer.GetFilerPosition();
            OKTDbObject *made = nullptr;
            EXPECT_TRUE(OKTTools::getObjectFromClassName(name, made));
            std::unique_ptr<OKTDbObject> const object(made);
            EXPECT_EQ(object->xmlIn(&filer), eFilerOk);
            real[object->objectId()] = {static_cast<std::int32_t>(from - start),
                                        static_cast<std::int32_t>(filer.GetFilerPosition() - from)};
        }
    }

    OKTDbPool pool;
    OKTDbPool::InfoMap told;
    OKTDbPool::InfoMap real;
};

void expectTold(Places const &places, OKTDbObjectId const &id)
{
    ASSERT_TRUE(places.real.contains(id));
    EXPECT_EQ(placeOf(places.told, id).nObjectPosition, placeOf(places.real, id).nObjectPosition);
    EXPECT_EQ(placeOf(places.told, id).nObjectSize, placeOf(places.real, id).nObjectSize);
}
} // namespace

// --- Roles that an object gives while it is written ---------------------------------------------------------------------------

class OKTDbPoolRoles : public ::testing::Test
{
protected:
    OKTDbPoolRoles()
    {
        for (int i = 0; i < 3; ++i)
            appendTo<OKTDbRelation>(pool);
        appendTo<HookedObject>(pool);
        for (int i = 0; i < 3; ++i)
            appendTo<OKTDbRelation>(pool);
    }

    OKTDbPool pool;
    Hooks hooks;
};

TEST_F(OKTDbPoolRoles, SaveFiler_ObjectNamesIndexConstructAndPictureWhileItIsWritten_TheirPlacesStandInTheHeader)
{
    std::vector<OKTDbObjectId> const ids = idsOf(pool);
    for (OKTDbObjectId const &index : ids)
        for (OKTDbObjectId const &other : {ids.front(), ids.back()})
        {
            pool.setIndexId(OKTDbObjectId::kNull);
            pool.setConstructId(OKTDbObjectId::kNull);
            pool.setPicturesIds(IdArray());
            HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &) {
                pool.setIndexId(index);
                pool.setConstructId(other);
                IdArray pictures;
                pictures.append(other);
                pictures.append(index);
                pool.setPicturesIds(pictures);
            };
            Places const places(imageOf(pool));
            EXPECT_EQ(places.pool.indexId(), index);
            expectTold(places, index);
            expectTold(places, other);
        }
}

TEST_F(OKTDbPoolRoles, SaveFiler_RoleTakenBackWhileWritten_NoPlaceOfIt)
{
    pool.setIndexId(idsOf(pool).front());
    HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &) { pool.setIndexId(OKTDbObjectId::kNull); };
    Places const places(imageOf(pool));
    EXPECT_TRUE(places.pool.indexId().isNull());
    EXPECT_EQ(placeOf(places.told, OKTDbObjectId()).nObjectPosition, -1);
}

TEST_F(OKTDbPoolRoles, SaveFiler_ObjectBringsAnIndexAndAPictureWhileItIsWritten_TheyHaveTheirPlacesOnceTheyAreWritten)
{
    int written = 0;
    int tries = 0;
    while (written < 5 && ++tries < 200) // the new id stands ahead of the writing object as often as behind it
    {
        OKTDbObject *index = nullptr;
        OKTDbObject *picture = nullptr;
        HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &) {
            if (index == nullptr)
            {
                index = appendTo<OKTDbIndexData>(pool);
                picture = appendTo<OKTDbPicture>(pool);
            }
        };
        Places const places(imageOf(pool));
        for (OKTDbObject *const brought : {index, picture})
        {
            OKTDbObjectId const id = brought->objectId();
            if (places.real.contains(id))
            {
                expectTold(places, id);
                ++written;
            }
            else
                EXPECT_EQ(placeOf(places.told, id).nObjectPosition, -1);
            OKTDbObjectId(id).eraseObject();
        }
    }
    EXPECT_GE(written, 5);
}

TEST_F(OKTDbPoolRoles, ReadIndex_RoleNamedWhileWritten_GivesThatObject)
{
    ScratchFolder const folder;
    CString const path = folder.path("roles.okt");
    appendTo<OKTDbPicture>(pool)->setPictureData([] {
        CByteArray data;
        data.SetSize(2000);
        return data;
    }());
    OKTDbObjectId const last = idsOf(pool).back();
    HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &) { pool.setIndexId(last); };
    ASSERT_TRUE(pool.writeFile(path));
    OKTDbPool read;
    ASSERT_TRUE(read.readIndex(path));
    ASSERT_EQ(read.objectCount(), 1);
    EXPECT_EQ(read.objectAt(0), last);
}

// --- Classes that look at the translation, or take part in it ------------------------------------------------------------------

/// Two parameters of which one uses the other, and objects of a client class that refer to the first.
class OKTDbPoolTranslation : public ::testing::Test
{
protected:
    OKTDbPoolTranslation()
    {
        first = appendTo<OKTDbParameter>(source);
        second = appendTo<OKTDbParameter>(source);
        IdArray uses;
        uses.append(first->objectId());
        second->setTabParams(uses);
        for (int i = 0; i < 4; ++i)
            hooked.push_back(appendTo<HookedObject>(source));
        for (HookedObject *const object : hooked)
            object->m_idOther = first->objectId();
        source.setBoolTranslatedIds(true);
    }

    /// Every reference leads to the new object, and the map tells all six.
    void expectTranslated(OKTDbPool *clone)
    {
        ASSERT_NE(clone, nullptr);
        IdMap const map = clone->MapTranslatedIds();
        auto const through = [&](OKTDbObjectId const &id) { return map.contains(id) ? *map.find(id) : OKTDbObjectId(); };
        ASSERT_EQ(clone->objectCount(), 6);
        for (OKTDbObjectId const &id : idsOf(source))
        {
            EXPECT_NE(through(id), id);
            EXPECT_TRUE(through(id).isValid());
            EXPECT_EQ(through(id).getPool(), clone);
        }
        auto const *const copy = OKTDbParameter::cast(through(second->objectId()));
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->TabParams().at(0), through(first->objectId()));
        for (HookedObject const *const object : hooked)
        {
            auto const *const fresh = HookedObject::cast(through(object->objectId()));
            ASSERT_NE(fresh, nullptr);
            EXPECT_EQ(fresh->m_idOther, through(first->objectId()));
        }
    }

    OKTDbPool source;
    OKTDbParameter *first;
    OKTDbParameter *second;
    std::vector<HookedObject *> hooked;
    Hooks hooks;
};

TEST_F(OKTDbPoolTranslation, Clone_ClassThatDoesNotLook_AllReferencesFollow)
{
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    expectTranslated(clone.get());
}

TEST_F(OKTDbPoolTranslation, Clone_WhileRead_FilerTranslatesAndHoldsTheWholeMap)
{
    int seen = 0;
    HookedObject::s_whileRead = [&](HookedObject &object, OKTFiler &filer) {
        EXPECT_TRUE(filer.getTranslatedIds());
        IdMap asked;
        EXPECT_TRUE(filer.saveMapTranslatedIds(asked));
        EXPECT_EQ(asked.getSize(), 6);
        for (OKTDbObjectId const &id : idsOf(source))
            EXPECT_TRUE(asked.contains(id));
        EXPECT_EQ(*asked.find(first->objectId()), *object.objectId().getPool()->MapTranslatedIds().find(first->objectId()));
        ++seen;
    };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    EXPECT_EQ(seen, 4);
    expectTranslated(clone.get());
}

TEST_F(OKTDbPoolTranslation, Clone_ClassAsksForTheMapWhileWritten_GetsAllThatWasWrittenByThen)
{
    IdMap asked;
    OKTDbObjectId last;
    HookedObject::s_whileWritten = [&](HookedObject const &object, OKTFiler &filer) {
        EXPECT_TRUE(filer.getTranslatedIds());
        asked.removeAll();
        EXPECT_TRUE(filer.saveMapTranslatedIds(asked));
        last = object.objectId();
    };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    for (OKTDbObjectId const &id : idsOf(source)) // each has written its id, up to the one that asked last
    {
        EXPECT_TRUE(asked.contains(id));
        if (id == last)
            break;
    }
    expectTranslated(clone.get());
}

TEST_F(OKTDbPoolTranslation, Clone_ClassAddsAPairWhileWritten_ReachesTheMapOfTheCloneAndIsApplied)
{
    // An object outside the pool: the class alone wishes references to it translated.
    OKTDbPool other;
    auto *const foreign = appendTo<OKTDbRelation>(other);
    OKTDbObjectId const stranger = foreign->objectId();
    second->setCategory(stranger);
    hooked.back()->m_idOther = stranger;
    HookedObject::s_whileWritten = [&](HookedObject const &, OKTFiler &filer) {
        IdMap pair;
        pair[stranger] = OKTDbObjectId::createObjectId(nullptr);
        EXPECT_TRUE(filer.loadMapTranslatedIds(pair));
    };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    IdMap const map = clone->MapTranslatedIds();
    ASSERT_TRUE(map.contains(stranger));
    EXPECT_EQ(map.getSize(), 7);
    EXPECT_NE(*map.find(stranger), stranger);
    EXPECT_EQ(OKTDbParameter::cast(*map.find(second->objectId()))->Category(), *map.find(stranger));
    EXPECT_EQ(HookedObject::cast(*map.find(hooked.back()->objectId()))->m_idOther, *map.find(stranger));
}

TEST_F(OKTDbPoolTranslation, Clone_ClassAddsAPairWhileRead_IdsBehindItAreTranslatedByIt)
{
    OKTDbObjectId const dangling = OKTDbObjectId::createObjectId(nullptr);
    OKTDbObjectId const target = OKTDbObjectId::createObjectId(nullptr);
    for (HookedObject *const object : hooked)
        object->m_idOther = dangling;
    first->setCategory(dangling);
    second->setCategory(dangling);
    HookedObject::s_whileRead = [&](HookedObject &, OKTFiler &filer) {
        IdMap pair;
        pair[dangling] = target;
        EXPECT_TRUE(filer.loadMapTranslatedIds(pair));
    };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    IdMap const map = clone->MapTranslatedIds();
    bool isBehind = false; // an object of the class was read
    for (OKTDbObjectId const &id : idsOf(source))
    {
        OKTDbObjectId const fresh = *map.find(id);
        if (auto const *const object = HookedObject::cast(fresh))
        {
            EXPECT_EQ(object->m_idOther, target);
            isBehind = true;
        }
        else
            EXPECT_EQ(OKTDbParameter::cast(fresh)->Category(), isBehind ? target : dangling);
    }
}

TEST_F(OKTDbPoolTranslation, Clone_ClassSwitchesTranslationOffWhileRead_IdsBehindItStayAsTheyAre)
{
    HookedObject::s_whileRead = [](HookedObject &, OKTFiler &filer) { filer.setTranslatedIds(false); };
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    bool isBehind = false;
    for (OKTDbObjectId const &id : idsOf(source)) // in the order of the image
    {
        EXPECT_EQ(clone->MapTranslatedIds().contains(id), true);
        OKTDbObjectId const now = isBehind ? id : *clone->MapTranslatedIds().find(id);
        OKTDbObject *object = nullptr;
        EXPECT_TRUE(clone->findObject(now, object));
        isBehind = isBehind || HookedObject::cast(object) != nullptr;
    }
}

namespace
{
/// Derives from a stored class without a descriptor of its own: its frames bear that class's name.
class Nameless : public OKTDbParameter
{
public:
    FilerStatusDb xmlOut(OKTFiler *filer) const override
    {
        EXPECT_TRUE(filer->getTranslatedIds());
        return OKTDbParameter::xmlOut(filer);
    }
};
} // namespace

TEST_F(OKTDbPoolTranslation, Clone_DerivedClassWithoutDescriptor_TranslatedAndReadAsItsBase)
{
    auto *const nameless = appendTo<Nameless>(source);
    nameless->setCategory(first->objectId());
    std::unique_ptr<OKTDbPool> const clone(source.clone());
    ASSERT_NE(clone, nullptr);
    IdMap const map = clone->MapTranslatedIds();
    EXPECT_EQ(map.getSize(), 7);
    auto const *const copy = OKTDbParameter::cast(*map.find(nameless->objectId()));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->Category(), *map.find(first->objectId()));
}

TEST_F(OKTDbPoolTranslation, Clone_RegistryHasAnotherClassUnderOneOfOurNames_ItSeesTheTranslation)
{
    static int s_read = 0;
    class Other : public OKTDbParameter
    {
    public:
        OKTDbObject *createObject() override { return new Other; }
        FilerStatusDb xmlIn(OKTFiler *filer) override
        {
            s_read += filer->getTranslatedIds() ? 1 : 0;
            return OKTDbParameter::xmlIn(filer);
        }
    };
    s_read = 0;
    OKTRuntimeClass *&entry = g_RuntimeClass[u"OKTDbParameter"];
    OKTRuntimeClass *const ours = std::exchange(entry, nullptr);
    g_RuntimeClass.erase(u"OKTDbParameter");
    {
        OKTRuntimeClass const other(u"OKTDbParameter", u"OKTDbObject", new Other, OKTDbObject::desc());
        std::unique_ptr<OKTDbPool> const clone(source.clone());
        EXPECT_EQ(s_read, 2);
        expectTranslated(clone.get());
    }
    g_RuntimeClass[u"OKTDbParameter"] = ours;
}
