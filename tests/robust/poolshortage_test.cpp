// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

// Memory that runs out in the operations of a pool on its objects and settings, and where objects and pools end.

namespace
{
std::string textOf(IdArray const &ids)
{
    std::string text;
    for (OKTDbObjectId const &id : ids)
        text += id.getGuidAsString(true).ToUtf8() + "\n";
    return text;
}

/// All that a pool tells of itself.
std::string stateOf(OKTDbPool const &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    return textOf(ids) + textOf(pool.picturesId()) + textOf(pool.MapTranslatedIds().keys()) +
           textOf(pool.MapTranslatedIds().values()) + pool.constructId().getGuidAsString(true).ToUtf8() +
           pool.indexId().getGuidAsString(true).ToUtf8() + pool.poolName().ToUtf8() +
           std::to_string(pool.readFilter().getSize());
}

IdArray someIds()
{
    IdArray ids;
    for (int i = 0; i < 40; ++i)
        ids.append(OKTDbObjectId::createObjectId(nullptr));
    return ids;
}

/// `change` on a pool of the image leaves it as it was or as `change` makes it.
void changeUnderFaults(char const *name, CByteArray const &image, std::function<void(OKTDbPool &)> const &change)
{
    auto const make = [&] {
        auto pool = std::make_unique<OKTDbPool>();
        pool->loadFiler(image);
        return pool;
    };
    std::unique_ptr<OKTDbPool> pool = make();
    std::string const before = stateOf(*pool);
    change(*pool);
    std::string const after = stateOf(*pool);
    ASSERT_NE(before, after) << name;
    pool.reset();
    forEveryFault({
        .name = name,
        .prepare = [&] { pool = make(); },
        .perform = [&] { change(*pool); },
        .judge = [&](bool struck) -> std::string {
            std::string const found = stateOf(*pool);
            std::string wrong;
            if (found != after && !struck)
                wrong = "nothing changed, without cause";
            else if (found != after && found != before)
                wrong = "neither the old nor the new state";
            else if (found != after && ReportCounter::count() == 0)
                wrong = "the old state without a report";
            pool.reset();
            return wrong;
        },
    });
}
} // namespace

TEST(ShortagePoolSettings, Setters_EveryFault_OldOrNew)
{
    AllClassesPool source(PoolSize::Small);
    IdArray const ids = someIds();
    changeUnderFaults("setPicturesIds", source.image(), [&](OKTDbPool &pool) { pool.setPicturesIds(ids); });
    CString const name = u"a name that is longer than any that is kept in place";
    changeUnderFaults("setPoolName", source.image(), [&](OKTDbPool &pool) { pool.setPoolName(name); });
}

TEST(ShortagePoolSettings, Getters_EveryFault_TheWholeOrNothingWithAReport)
{
    AllClassesPool source(PoolSize::Small);
    OKTDbPool &pool = source.pool();
    IdArray const ids = someIds();
    IdMap map;
    for (OKTDbObjectId const &id : ids)
        map[id] = OKTDbObjectId::createObjectId(&pool);
    pool.setMapTranslatedIds(map);
    pool.setPicturesIds(ids);
    IdArray found;
    IdMap foundMap;
    bool answer = true;
    struct Row
    {
        std::function<void()> ask;
        bool hasAnswer = false;
    };
    std::map<std::string, Row> const rows = {
        {"picturesId", {[&] { found = pool.picturesId(); }}},
        {"MapTranslatedIds", {[&] { foundMap = pool.MapTranslatedIds(); }}},
        {"getAllObjects", {[&] { pool.getAllObjects(found); }}},
        {"collectEntities", {[&] { answer = pool.collectEntities(OKTDbParameter::desc(), found); }, true}},
        {"collectEntities of all", {[&] { answer = pool.collectEntities(nullptr, found); }, true}},
    };
    for (auto const &[name, row] : rows)
    {
        row.ask();
        std::string const whole = textOf(found) + textOf(foundMap.keys()) + textOf(foundMap.values());
        ASSERT_NE(whole, "");
        forEveryFault({
            .name = name,
            .prepare =
                [&] {
                    found = IdArray();
                    foundMap = IdMap();
                    answer = false;
                },
            .perform = row.ask,
            .judge = [&, row = row](bool struck) -> std::string {
                std::string const all = textOf(found) + textOf(foundMap.keys()) + textOf(foundMap.values());
                found = IdArray();
                foundMap = IdMap();
                if (all == whole)
                    return "";
                if (!struck)
                    return "nothing came, without cause";
                if (row.hasAnswer)
                    return answer ? "true, and not all came" : "";
                return all.empty() && ReportCounter::count() > 0 ? "" : "a part came, or nothing without a report";
            },
        });
        found = IdArray();
        foundMap = IdMap();
    }
}

TEST(ShortagePoolSettings, RearangeMapTranslatedIds_EveryFault_EveryKeyKeepsAValue)
{
    OKTDbPool pool;
    IdMap map;
    for (OKTDbObjectId const &id : someIds())
        map[id] = OKTDbObjectId::createObjectId(&pool);
    pool.setMapTranslatedIds(map);
    std::string const keys = textOf(map.keys());
    // Nothing is asked for in it, so that nothing can fail.
    AllocationCount const count;
    pool.RearangeMapTranslatedIds();
    EXPECT_EQ(count.count(), 0u);
    EXPECT_EQ(textOf(pool.MapTranslatedIds().keys()), keys);
}

TEST(ShortageObjects, AppendObject_EachClassAndEveryFault_FalseAndAllAsItWas)
{
    AllClassesPool source(PoolSize::Small);
    std::map<std::string, OKTRuntimeClass *> classes;
    for (int i = 0; i < source.pool().objectCount(); ++i)
    {
        OKTRuntimeClass *const descriptor = source.pool().objectAt(i).getObject()->isA();
        classes[descriptor->ClassName().ToUtf8()] = descriptor;
    }
    for (auto const &[className, descriptor] : classes)
    {
        std::unique_ptr<OKTDbPool> pool;
        std::unique_ptr<OKTDbObject> object;
        std::string before;
        bool appended = false;
        forEveryFault({
            .name = "appendObject of " + className,
            .prepare =
                [&, descriptor = descriptor] {
                    pool = std::make_unique<OKTDbPool>();
                    for (int i = 0; i < 8; ++i) // as many as a block of the map holds
                        pool->appendObject(OKTDbRelation::desc()->CreateObject());
                    object.reset(descriptor->CreateObject());
                    before = stateOf(*pool);
                    appended = false;
                },
            .perform = [&] { appended = pool->appendObject(object.get()); },
            .judge = [&](bool struck) -> std::string {
                std::string wrong;
                if (appended && pool->objectCount() != 9)
                    wrong = "true, and the object is not there";
                else if (!appended && !struck)
                    wrong = "false without cause";
                else if (!appended && (stateOf(*pool) != before || !object->objectId().isNull()))
                    wrong = "false, and something has changed";
                else if (!appended && !pool->appendObject(object.get()))
                    wrong = "with memory back, the object is not taken";
                if (pool->objectCount() == 9)
                    static_cast<void>(object.release());
                object.reset();
                pool.reset();
                std::string().swap(before);
                return wrong;
            },
        });
    }
}

TEST(ShortageObjects, RemoveObject_EachObjectAndNoMemory_Removed)
{
    AllClassesPool source(PoolSize::Small);
    OKTDbPool pool;
    ASSERT_TRUE(pool.loadFiler(source.image()));
    ReportCounter const reports;
    while (pool.objectCount() > 0)
    {
        OKTDbObjectId const id = pool.objectAt(0);
        std::unique_ptr<OKTDbObject> const object(id.getObject());
        bool removed = false;
        {
            AllocationFault const fault(FaultKind::FromThere, 0);
            removed = pool.removeObject(id);
        }
        ASSERT_TRUE(removed) << object->isA()->ClassName().ToUtf8();
        EXPECT_TRUE(object->objectId().isNull());
    }
    EXPECT_EQ(ReportCounter::count(), 0u);
}

// --- Ends --------------------------------------------------------------------------------------------------------------------

namespace
{
/// Makes something with memory and ends it without any; all of it has to be freed.
void endWithoutMemory(char const *name, std::function<void()> const &make, std::function<void()> const &end)
{
    make();
    end(); // whatever a process makes once
    giveUpKept();
    LiveBlocks const blocks;
    make();
    {
        ReportCounter const reports;
        AllocationFault const fault(FaultKind::FromThere, 0);
        end();
    }
    giveUpKept();
    EXPECT_EQ(blocks.count(), 0u) << name;
}
} // namespace

TEST(ShortageEnds, Destructors_NoMemoryAtAll_NothingEscapesAndAllIsFreed)
{
    AllClassesPool source(PoolSize::Small);
    std::unique_ptr<OKTDbPool> pool;
    endWithoutMemory(
        "~OKTDbPool",
        [&] {
            pool = std::make_unique<OKTDbPool>();
            pool->loadFiler(source.image());
        },
        [&] { pool.reset(); });
    endWithoutMemory(
        "eraseAllObjects",
        [&] {
            pool = std::make_unique<OKTDbPool>();
            pool->loadFiler(source.image());
        },
        [&] {
            EXPECT_TRUE(pool->eraseAllObjects());
            pool.reset();
        });

    std::unique_ptr<OKTMemoryFiler> filer;
    source.pool().setBoolTranslatedIds(true);
    endWithoutMemory(
        "~OKTMemoryFiler",
        [&] {
            filer = std::make_unique<OKTMemoryFiler>(&source.pool());
            filer->setTranslatedIds(true);
            for (int i = 0; i < source.pool().objectCount(); ++i)
                source.pool().objectAt(i).getObject()->xmlOut(filer.get());
        },
        [&] { filer.reset(); });

    for (auto const &[name, descriptor] : g_RuntimeClass)
    {
        std::unique_ptr<OKTDbObject> object;
        if (descriptor != nullptr && name.ToUtf8().starts_with("OKT"))
            endWithoutMemory(
                name.ToUtf8().c_str(), [&, descriptor = descriptor] { object.reset(descriptor->CreateObject()); },
                [&] { object.reset(); });
    }
}
