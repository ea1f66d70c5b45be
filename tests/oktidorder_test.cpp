// SPDX-License-Identifier: MIT
// The array of objects in id order, by which a pool that a host has built is saved: it is held against the walk over the map.

#include "support/allclasses.h"
#include "support/alloccount.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/shortage.h"

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktidorder.h>
#include <oktdatabase/oktownclasses.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace
{
constexpr int kEnough = 600; // objects, for which there is an array

/// An id that begins with these eight bytes and ends with those.
OKTDbObjectId idOf(std::uint64_t front, std::uint64_t back)
{
    _GUID guid = {};
    guid.Data1 = static_cast<std::uint32_t>(front);
    guid.Data2 = static_cast<std::uint16_t>(front >> 32);
    guid.Data3 = static_cast<std::uint16_t>(front >> 48);
    for (unsigned int i = 0; i < 8; ++i)
        guid.Data4[i] = static_cast<unsigned char>(back >> (8 * i));
    OKTDbObjectId id;
    id.setGuid(guid);
    return id;
}

std::uint64_t spread(int number) { return 0x9E3779B97F4A7C15u * static_cast<std::uint64_t>(number + 1); }

/// A map that was filled in another order than that of its ids, by one object that stands for all.
ObjectMap scatteredMap(OKTDbParameter &object, int count)
{
    ObjectMap map;
    for (int i = 0; i < count; ++i)
        map[idOf(spread(i), 0)] = &object + i;
    return map;
}

std::vector<OKTDbObject const *> objectsOf(OKTIdOrder const &order)
{
    std::vector<OKTDbObject const *> objects;
    for (std::size_t i = 0; i < order.count(); ++i)
        objects.push_back(order[i].object);
    return objects;
}

std::vector<OKTDbObject const *> objectsOf(ObjectMap const &map)
{
    std::vector<OKTDbObject const *> objects;
    for (auto const &[id, object] : map)
        objects.push_back(object);
    return objects;
}

/// A pool as a host builds it, of objects of each class of the library.
class BuiltPool
{
public:
    BuiltPool()
    {
        AllClassesPool source(PoolSize::Small);
        IdArray ids;
        while (m_pool.objectCount() < kEnough)
        {
            OKTDbPool &copied = *m_sources.emplace_back(std::make_unique<OKTDbPool>());
            EXPECT_TRUE(copied.loadFiler(source.image()));
            copied.getAllObjects(ids);
            for (OKTDbObjectId const &id : ids)
            {
                OKTDbObject *const object = id.getObject();
                if (OktIsOwnObject(*object))
                {
                    EXPECT_TRUE(copied.removeObject(object));
                    EXPECT_TRUE(m_pool.appendObject(object));
                }
            }
            ids = IdArray();
        }
        m_pool.setMetricsFactor(1000.0);
    }
    OKTDbPool &pool() { return m_pool; }

private:
    std::vector<std::unique_ptr<OKTDbPool>> m_sources; // the owners of the parameters are in these
    OKTDbPool m_pool;
};

/// The frames of the objects, by the walk over the pool, and where each of them begins.
CByteArray framesByWalk(OKTDbPool &pool, std::map<OKTDbObjectId, int> &places)
{
    IdArray ids;
    pool.getAllObjects(ids);
    OKTMemoryFiler filer;
    for (OKTDbObjectId const &id : ids)
    {
        places[id] = static_cast<int>(filer.GetFilerLength());
        OKTDbObject *object = nullptr;
        EXPECT_TRUE(pool.findObject(id, object));
        EXPECT_EQ(object->xmlOut(&filer), eFilerOk);
    }
    return filer.takeBytes();
}

/// The header of an image, read into `read`; where the objects begin.
int headerOf(CByteArray const &image, OKTDbPool &read, InfoMap &info)
{
    OKTMemoryFiler filer(&read);
    filer.readInPlace(image);
    int length = 0;
    EXPECT_TRUE(filer.readInt(CString(), length));
    EXPECT_EQ(read.xmlIn(&filer, info), eFilerOk);
    return static_cast<int>(filer.GetFilerPosition());
}
} // namespace

TEST(IdOrder, Make_MapFilledInAnotherOrder_TheOrderOfTheMap)
{
    std::vector<OKTDbParameter> objects(5000);
    for (int const count : {512, 513, 2000, 5000})
    {
        ObjectMap const map = scatteredMap(objects.front(), count);
        OKTIdOrder const order(map);
        ASSERT_EQ(order.count(), static_cast<std::size_t>(count));
        EXPECT_EQ(objectsOf(order), objectsOf(map)) << count;
    }
}

// The sort looks at the first 33 bits and then at the rest.
TEST(IdOrder, Make_IdsAlikeInTheirFirstBits_TheOrderOfTheMap)
{
    std::vector<OKTDbParameter> objects(2000);
    ObjectMap map;
    for (int i = 0; i < 2000; ++i)
        map[idOf(spread(i) & 0xFFFFFF0000000000u, 7)] = &objects[static_cast<std::size_t>(i)];
    OKTIdOrder const order(map);
    ASSERT_FALSE(order.isEmpty());
    EXPECT_EQ(objectsOf(order), objectsOf(map));
}

TEST(IdOrder, Make_EntriesErasedAndPlacesUsedAgain_TheOrderOfTheMap)
{
    std::vector<OKTDbParameter> objects(2000);
    ObjectMap map = scatteredMap(objects.front(), 1500);
    for (int i = 0; i < 1500; i += 3)
        map.erase(idOf(spread(i), 0));
    EXPECT_EQ(objectsOf(OKTIdOrder(map)), objectsOf(map));
    for (int i = 1500; i < 1700; ++i)
        map[idOf(spread(i), 0)] = &objects[static_cast<std::size_t>(i)];
    EXPECT_EQ(objectsOf(OKTIdOrder(map)), objectsOf(map));
    ObjectMap const moved(std::move(map));
    EXPECT_EQ(objectsOf(OKTIdOrder(moved)), objectsOf(moved));
}

TEST(IdOrder, Make_NullAmongTheObjects_StaysInItsPlace)
{
    std::vector<OKTDbParameter> objects(600);
    ObjectMap map = scatteredMap(objects.front(), 600);
    map[idOf(spread(300), 0)] = nullptr;
    EXPECT_EQ(objectsOf(OKTIdOrder(map)), objectsOf(map));
}

TEST(IdOrder, Make_FewOrInOrderOrAlike_Empty)
{
    std::vector<OKTDbParameter> objects(2000);
    EXPECT_TRUE(OKTIdOrder(ObjectMap()).isEmpty());
    EXPECT_TRUE(OKTIdOrder(scatteredMap(objects.front(), 511)).isEmpty());
    ObjectMap ordered; // as a load fills it
    for (auto const &[id, object] : scatteredMap(objects.front(), 600))
        ordered[id] = object;
    EXPECT_TRUE(OKTIdOrder(ordered).isEmpty());
    ObjectMap alike = scatteredMap(objects.front(), 600);
    alike[idOf(spread(17), 1)] = &objects[700];
    EXPECT_TRUE(OKTIdOrder(alike).isEmpty());
    ObjectMap few = scatteredMap(objects.front(), 2000); // more places were given back than are in use
    for (int i = 0; i < 1400; ++i)
        few.erase(idOf(spread(i), 0));
    EXPECT_TRUE(OKTIdOrder(few).isEmpty());
}

TEST(IdOrder, Make_NoMemoryForAnyOfItsBlocks_Empty)
{
    std::vector<OKTDbParameter> objects(2000);
    ObjectMap map = scatteredMap(objects.front(), 1500);
    map.erase(idOf(spread(3), 0));
    AllocationCount const count;
    EXPECT_FALSE(OKTIdOrder(map).isEmpty());
    std::size_t const all = count.count();
    ASSERT_GE(all, 4u);
    for (std::size_t i = 0; i < all; ++i)
    {
        std::optional<OKTIdOrder> order;
        {
            AllocationFault const fault(i);
            order.emplace(map);
        }
        EXPECT_TRUE(order->isEmpty()) << i;
    }
}

TEST(SaveInIdOrder, SaveFiler_BuiltPoolOfAllClasses_ImageOfTheWalk)
{
    BuiltPool built;
    ASSERT_GE(built.pool().objectCount(), kEnough);
    std::map<OKTDbObjectId, int> places;
    CByteArray const frames = framesByWalk(built.pool(), places);
    CByteArray const image = imageOf(built.pool());
    OKTDbPool read;
    InfoMap info;
    int const start = headerOf(image, read, info);
    ASSERT_EQ(image.GetSize(), start + frames.GetSize());
    EXPECT_TRUE(std::equal(frames.GetData(), frames.GetData() + frames.GetSize(), image.GetData() + start));
    IdArray const pictures = built.pool().picturesId();
    ASSERT_GT(pictures.getSize(), 10);
    for (OKTDbObjectId const &id : pictures)
        EXPECT_EQ(info.find(id)->nObjectPosition, places[id]);
    EXPECT_EQ(imageOf(built.pool()), image); // and again, now that the sizes of the frames are known
}

// A role may be held by an id without an object, which begins as another does.
TEST(SaveInIdOrder, SaveFiler_RolesThatBeginAlike_PlaceOfTheOneInThePool)
{
    BuiltPool built;
    OKTDbPool &pool = built.pool();
    std::map<OKTDbObjectId, int> places;
    framesByWalk(pool, places);
    for (int const change : {-1, 1}) // the other id stands ahead of it, and behind it
    {
        OKTDbObjectId const held = pool.objectAt(pool.objectCount() / 2 + change);
        _GUID guid = held.getGuid();
        guid.Data4[0] = static_cast<unsigned char>(guid.Data4[0] + change);
        OKTDbObjectId other;
        other.setGuid(guid);
        pool.setIndexId(held);
        pool.setConstructId(other);
        OKTDbPool read;
        InfoMap info;
        headerOf(imageOf(pool), read, info);
        EXPECT_EQ(info.find(held)->nObjectPosition, places[held]);
        EXPECT_EQ(info.find(other)->nObjectPosition, -1);
    }
}

TEST(ShortageSaveInIdOrder, SaveFiler_EveryFault_FalseOrTheWholeImage)
{
    BuiltPool built;
    OKTDbPool &pool = built.pool();
    CByteArray const whole = imageOf(pool);
    CByteArray image;
    IdMap translated;
    bool saved = false;
    ShortageCount const count = forEveryFault({
        .name = "saveFiler of a built pool",
        .prepare = [&] { saved = false; },
        .perform = [&] { saved = pool.saveFiler(image, translated); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (saved ? image != whole : !image.IsEmpty())
                wrong = "another image";
            else if (!saved && !struck)
                wrong = "false without cause";
            image = CByteArray();
            return wrong;
        },
        .most = 120,
    });
    EXPECT_GT(count.struck, 0u);
    EXPECT_EQ(imageOf(pool), whole);
}
