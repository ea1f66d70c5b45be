// SPDX-License-Identifier: MIT
#include "growth.h"

#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>

namespace
{
using Pool = std::shared_ptr<OKTDbPool>;

/// A new object as `i` has it: all of them relations, or all pictures, the least that a pool can hold.
template <typename T> Pool poolOf(int size)
{
    auto pool = std::make_shared<OKTDbPool>();
    for (int i = 0; i < size; ++i)
        demand(pool->appendObject(new T), "building a pool");
    return pool;
}

/// The image of a template of that size. Every measurement has a process of its own, so it is kept in a file.
CByteArray templateImage(int size)
{
    CString path;
    path.Format(u"growth-%d.okt", size);
    CByteArray image;
    if (OKTMemoryFiler::loadFiler(path, image, 0, -1))
        return image;
    OKTDbPool pool;
    fillWithTemplate(pool, size);
    image = imageOf(pool);
    demand(OKTMemoryFiler::saveFiler(path, image), "keeping an image");
    return image;
}

Pool loadedPool(CByteArray const &image)
{
    auto pool = std::make_shared<OKTDbPool>();
    demand(pool->loadFiler(image), "loading a pool");
    return pool;
}

Pool templatePool(int size) { return loadedPool(templateImage(size)); }

std::vector<OKTDbObjectId> idsOf(OKTDbPool const &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    return {ids.begin(), ids.end()};
}

std::vector<OKTDbObjectId> shuffledIds(OKTDbPool const &pool)
{
    std::vector<OKTDbObjectId> ids = idsOf(pool);
    std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
    return ids;
}

IdArray freshIds(int size)
{
    IdArray ids;
    for (int i = 0; i < size; ++i)
        ids.append(OKTDbObjectId::createObjectId(nullptr));
    return ids;
}

IdMap translations(int size)
{
    IdMap map;
    for (int i = 0; i < size; ++i)
        map[OKTDbObjectId::createObjectId(nullptr)] = OKTDbObjectId::createObjectId(nullptr);
    return map;
}

/// Calls one operation over and over on a pool of that many relations. What it answers is not looked at.
template <typename F> std::function<Run(int)> called(F call)
{
    return [call](int size) -> Run {
        Pool const pool = poolOf<OKTDbRelation>(size);
        return [pool, call] {
            return repeat(kCalls, [&](int) {
                call(*pool);
                return true;
            });
        };
    };
}

/// The same with translation on and a map of as many ids, of which the call gets one.
template <typename F> std::function<Run(int)> translated(F call)
{
    return [call](int size) -> Run {
        Pool const pool = std::make_shared<OKTDbPool>();
        IdMap const map = translations(size);
        auto const ids = std::make_shared<std::vector<OKTDbObjectId>>();
        for (auto const &[id, fresh] : map)
            ids->push_back(id);
        std::shuffle(ids->begin(), ids->end(), std::mt19937(1));
        pool->setMapTranslatedIds(map);
        pool->setBoolTranslatedIds(true);
        return [pool, ids, call] {
            return repeat(kCalls, [&](int i) {
                call(*pool, (*ids)[static_cast<std::size_t>(i) % ids->size()]);
                return true;
            });
        };
    };
}

/// One operation on a whole template.
template <typename F> std::function<Run(int)> onTemplate(F operation)
{
    return [operation](int size) -> Run {
        Pool const pool = templatePool(size);
        return [pool, operation, size] {
            demand(operation(*pool), "an operation on a pool");
            return size;
        };
    };
}

/// The same on a pool of nothing but relations or pictures.
template <typename T, typename F> std::function<Run(int)> onPoolOf(F operation)
{
    return [operation](int size) -> Run {
        Pool const pool = poolOf<T>(size);
        return [pool, operation, size] {
            demand(operation(*pool), "an operation on a pool");
            return size;
        };
    };
}

/// One operation on the file of a pool.
template <typename M, typename F> std::function<Run(int)> onFile(M make, F operation)
{
    return [make, operation](int size) -> Run {
        auto const file = std::make_shared<SampleFile>();
        demand(make(size)->writeFile(file->path()), "writing a pool file");
        malloc_trim(0); // what the end of that pool has left to tidy up is not the reader's work
        return [file, operation, size] { return operation(file->path(), size); };
    };
}

template <typename T> Run appendRun(int size)
{
    auto const pool = std::make_shared<OKTDbPool>();
    auto const objects = std::make_shared<std::vector<std::unique_ptr<T>>>();
    for (int i = 0; i < size; ++i)
        objects->push_back(std::make_unique<T>());
    return [pool, objects] {
        return repeat(static_cast<int>(objects->size()),
                      [&](int i) { return pool->appendObject((*objects)[static_cast<std::size_t>(i)].release()); });
    };
}

/// Removed objects are the caller's.
template <typename T, bool ByObject> Run removeRun(int size, int most)
{
    Pool const pool = poolOf<T>(size);
    auto const ids = std::make_shared<std::vector<OKTDbObjectId>>(shuffledIds(*pool));
    auto const objects = std::make_shared<std::vector<OKTDbObject *>>();
    for (OKTDbObjectId const &id : *ids)
        demand(pool->findObject(id, objects->emplace_back()), "finding an object");
    return [pool, ids, objects, most] {
        return repeat(std::min(most, static_cast<int>(ids->size())), [&](int i) {
            auto const place = static_cast<std::size_t>(i);
            std::unique_ptr<OKTDbObject> removed((*objects)[place]);
            return ByObject ? pool->removeObject(removed.get()) : pool->removeObject((*ids)[place]);
        });
    };
}

template <typename T> Run removeAllRun(int size)
{
    Pool const pool = poolOf<T>(size);
    auto const objects = std::make_shared<std::vector<std::unique_ptr<OKTDbObject>>>();
    for (OKTDbObjectId const &id : idsOf(*pool))
    {
        OKTDbObject *object = nullptr;
        demand(pool->findObject(id, object), "finding an object");
        objects->emplace_back(object);
    }
    return [pool, objects, size] {
        demand(pool->removeAllObjects(), "removing all objects");
        return size;
    };
}

Run replaceRun(int size)
{
    Pool const pool = poolOf<OKTDbRelation>(size);
    auto const ids = std::make_shared<std::vector<OKTDbObjectId>>(shuffledIds(*pool));
    auto const old = std::make_shared<std::vector<std::unique_ptr<OKTDbObject>>>();
    auto const fresh = std::make_shared<std::vector<OKTDbObject *>>();
    for (OKTDbObjectId const &id : *ids)
    {
        OKTDbObject *object = nullptr;
        demand(pool->findObject(id, object), "finding an object");
        old->emplace_back(object);
        fresh->push_back(new OKTDbRelation);
        fresh->back()->setObjectId(id);
    }
    return [pool, ids, old, fresh] {
        return repeat(static_cast<int>(ids->size()), [&](int i) {
            auto const place = static_cast<std::size_t>(i);
            return pool->replaceObject((*ids)[place], (*fresh)[place]);
        });
    };
}

/// Calls with each id of a template, in no order.
template <typename F> std::function<Run(int)> forEachId(F call)
{
    return [call](int size) -> Run {
        Pool const pool = templatePool(size);
        auto const ids = std::make_shared<std::vector<OKTDbObjectId>>(shuffledIds(*pool));
        return [pool, ids, call] {
            return repeat(static_cast<int>(ids->size()),
                          [&](int i) { return call(*pool, (*ids)[static_cast<std::size_t>(i)]); });
        };
    };
}

template <typename F> std::function<Run(int)> positions(F positionOf, int most)
{
    return [positionOf, most](int size) -> Run {
        Pool const pool = poolOf<OKTDbRelation>(size);
        return [pool, positionOf, most, size] {
            std::mt19937 random(1);
            return repeat(std::min(size, most), [&](int i) { return !pool->objectAt(positionOf(i, size, random)).isNull(); });
        };
    };
}

Run copyConstructRun(int size)
{
    Pool const pool = poolOf<OKTDbRelation>(size);
    auto const copies = std::make_shared<std::vector<OKTDbPool>>();
    copies->reserve(2);
    return [pool, copies, size] {
        copies->push_back(*pool);
        copies->push_back(OKTDbPool());
        copies->back() = *pool;
        // The objects belong to the first.
        for (OKTDbPool &copy : *copies)
            demand(copy.objectCount() == size && copy.removeAllObjects(), "copying a pool");
        return 2LL * size;
    };
}

Pool poolWithIndex(int size)
{
    Pool const pool = templatePool(size);
    auto *const index = new OKTDbRelation; // any object can have that role
    demand(pool->appendObject(index), "building a pool");
    pool->setIndexId(index->objectId());
    return pool;
}

Pool poolWithPicture(int size)
{
    Pool const pool = poolOf<OKTDbRelation>(size - 1);
    demand(pool->appendObject(new OKTDbPicture), "building a pool");
    return pool;
}

long long readPictures(CString const &path, int pictures)
{
    OKTDbPool pool;
    demand(pool.readFilePicture(path) && pool.objectCount() == pictures, "reading pictures");
    return pictures;
}

long long readHeader(CString const &path, int steps)
{
    OKTDbPool pool;
    InfoMap info;
    demand(pool.readFileHeader(path, info), "reading a header");
    return steps;
}

/// A document of objects of a class that nobody knows: an object of a known class fails (quirk 72).
Run readDocumentRun(int size)
{
    auto const file = std::make_shared<SampleFile>();
    OKTXmlFiler filer;
    demand(filer.NewFiler(file->path(), true), "making a document");
    for (int i = 0; i < size; ++i)
        demand(filer.beginWriteClass(u"Object", u"Unknown", 1) && filer.endWriteClass(), "writing a document");
    demand(filer.CloseFiler(), "saving a document");
    return [file, size] {
        OKTDbPool pool;
        pool.readXMLFile(file->path());
        demand(pool.objectCount() == 0, "reading a document");
        return size;
    };
}

std::unique_ptr<OKTDbPool> cloned(OKTDbPool &pool, bool fresh)
{
    pool.setBoolTranslatedIds(fresh);
    std::unique_ptr<OKTDbPool> clone(pool.clone());
    pool.setBoolTranslatedIds(false);
    return clone;
}

OKTDbPool::ReadFilter filterOf(OKTRuntimeClass *descriptor)
{
    OKTDbPool::ReadFilter filter;
    filter.append(descriptor);
    return filter;
}

Run loadRun(int size, OKTDbPool::ReadFilter const &filter)
{
    auto const image = std::make_shared<CByteArray>(templateImage(size));
    auto const pool = std::make_shared<OKTDbPool>();
    pool->setReadFilter(filter);
    return [image, pool, size] {
        demand(pool->loadFiler(*image), "loading a pool");
        return size;
    };
}

Run headerOutRun(int size)
{
    Pool const pool = poolOf<OKTDbPicture>(size);
    return [pool, size] {
        OKTMemoryFiler filer;
        demand(pool->xmlOut(&filer, InfoMap()) == eFilerOk, "writing a header");
        return size;
    };
}

Run headerInRun(int size)
{
    Pool const pool = poolOf<OKTDbPicture>(size);
    OKTMemoryFiler filer;
    demand(pool->xmlOut(&filer, InfoMap()) == eFilerOk, "writing a header");
    auto const bytes = std::make_shared<CByteArray>(filer.takeBytes());
    return [bytes, size] {
        OKTDbPool read;
        OKTMemoryFiler reader(&read);
        reader.readInPlace(*bytes);
        InfoMap info;
        demand(read.xmlIn(&reader, info) == eFilerOk, "reading a header");
        return size;
    };
}
} // namespace

std::vector<GrowthCase> poolCases()
{
    auto const forward = [](int i, int, std::mt19937 &) { return i; };
    auto const backward = [](int i, int size, std::mt19937 &) { return size - 1 - i; };
    auto const anywhere = [](int, int size, std::mt19937 &random) {
        return static_cast<int>(random() % static_cast<unsigned int>(size));
    };
    constexpr int kAll = 1'000'000;
    return {
        {"Floor", "std::map, look-up of 16 bytes in no order",
         [](int size) -> Run {
             std::map<_GUID, int, decltype([](_GUID const &left, _GUID const &right) {
                          return std::memcmp(&left, &right, sizeof left) < 0;
                      })>
                 map;
             std::vector<_GUID> keys;
             for (OKTDbObjectId const &id : freshIds(size))
             {
                 keys.push_back(id.getGuid());
                 map[id.getGuid()] = 1;
             }
             return [map = std::move(map), keys = std::move(keys)] {
                 return repeat(static_cast<int>(keys.size()),
                               [&](int i) { return map.contains(keys[static_cast<std::size_t>(i)]); });
             };
         }},
        {"Pool", "making and ending an empty one",
         [](int) -> Run {
             return [] {
                 return repeat(kCalls, [](int) {
                     OKTDbPool const pool;
                     return pool.objectCount() == 0;
                 });
             };
         }},
        {"Pool", "end of a full one",
         [](int size) -> Run {
             auto const pool = std::make_shared<Pool>(templatePool(size));
             return [pool, size] {
                 pool->reset();
                 return size;
             };
         }},
        {"Pool", "copy and assignment, objects shared", copyConstructRun},
        {"Pool", "setObjectId, objectId", called([](OKTDbPool &pool) { pool.setObjectId(pool.objectId()); })},
        {"Pool", "setPoolName, poolName", called([](OKTDbPool &pool) {
             pool.setPoolName(u"Mesh");
             pool.poolName();
         })},
        {"Pool", "setMetricsFactor, metricsFactor, metricsFactorOf",
         called([](OKTDbPool &pool) { pool.setMetricsFactor(pool.metricsFactor() + OKTDbPool::metricsFactorOf(&pool)); })},
        {"Pool", "setConstructId, constructId, translated", translated([](OKTDbPool &pool, OKTDbObjectId const &one) {
             pool.setConstructId(one);
             pool.constructId();
         })},
        {"Pool", "setSketchId, sketchId, translated", translated([](OKTDbPool &pool, OKTDbObjectId const &one) {
             pool.setSketchId(one);
             pool.sketchId();
         })},
        {"Pool", "setIndexId, indexId, translated", translated([](OKTDbPool &pool, OKTDbObjectId const &one) {
             pool.setIndexId(one);
             pool.indexId();
         })},
        {"Pool", "setPPActionsId, ppActionsId, translated", translated([](OKTDbPool &pool, OKTDbObjectId const &one) {
             pool.setPPActionsId(one);
             pool.ppActionsId();
         })},
        {"Pool", "setRadialReinfId, RadialReinfId", translated([](OKTDbPool &pool, OKTDbObjectId const &one) {
             pool.setRadialReinfId(one);
             pool.RadialReinfId();
         })},
        {"Pool", "setPicturesIds",
         [](int size) -> Run {
             auto const ids = std::make_shared<IdArray>(freshIds(size));
             return [ids, size] {
                 OKTDbPool pool;
                 pool.setPicturesIds(*ids);
                 return size;
             };
         }},
        {"Pool", "picturesId, translated",
         [](int size) -> Run {
             auto const pool = std::make_shared<OKTDbPool>();
             IdMap const map = translations(size);
             pool->setPicturesIds(map.keys());
             pool->setMapTranslatedIds(map);
             pool->setBoolTranslatedIds(true);
             return [pool, size] {
                 demand(pool->picturesId().getSize() == size, "asking for the pictures");
                 return size;
             };
         }},
        {"Pool", "setBoolTranslatedIds, BoolTranslatedIds",
         called([](OKTDbPool &pool) { pool.setBoolTranslatedIds(!pool.BoolTranslatedIds()); })},
        {"Pool", "setMapTranslatedIds, with a copy",
         [](int size) -> Run {
             auto const map = std::make_shared<IdMap>(translations(size));
             return [map, size] {
                 OKTDbPool pool;
                 pool.setMapTranslatedIds(*map);
                 return size;
             };
         }},
        {"Pool", "MapTranslatedIds",
         [](int size) -> Run {
             auto const pool = std::make_shared<OKTDbPool>();
             pool->setMapTranslatedIds(translations(size));
             return [pool, size] {
                 demand(pool->MapTranslatedIds().getSize() == size, "asking for the map");
                 return size;
             };
         }},
        {"Pool", "RearangeMapTranslatedIds",
         [](int size) -> Run {
             auto const pool = std::make_shared<OKTDbPool>();
             pool->setMapTranslatedIds(translations(size));
             return [pool, size] {
                 pool->RearangeMapTranslatedIds();
                 return size;
             };
         }},
        {"Pool", "objectCount", called([](OKTDbPool &pool) { pool.objectCount(); })},
        {"Pool", "appendObject", appendRun<OKTDbRelation>},
        {"Pool", "appendObject, pictures", appendRun<OKTDbPicture>},
        {"Pool", "removeObject by id", [](int size) { return removeRun<OKTDbRelation, false>(size, kAll); }},
        {"Pool", "removeObject by object", [](int size) { return removeRun<OKTDbRelation, true>(size, kAll); }},
        {"Pool", "removeObject, one of many pictures", [](int size) { return removeRun<OKTDbPicture, false>(size, kFewCalls); },
         "the pictures are a list in the order of their appending: it is searched, and closes the gap"},
        {"Pool", "removeAllObjects", removeAllRun<OKTDbRelation>},
        {"Pool", "removeAllObjects, pictures", removeAllRun<OKTDbPicture>},
        {"Pool", "eraseAllObjects", onTemplate([](OKTDbPool &pool) { return pool.eraseAllObjects(); })},
        {"Pool", "replaceObject", replaceRun},
        {"Pool", "findObject", forEachId([](OKTDbPool &pool, OKTDbObjectId const &one) {
             OKTDbObject *object = nullptr;
             return pool.findObject(one, object);
         })},
        {"Pool", "objectAt, forwards", positions(forward, kAll)},
        {"Pool", "objectAt, backwards", positions(backward, kAll)},
        {"Pool", "objectAt, anywhere", positions(anywhere, 20),
         "a map by id knows no positions: one that is not beside the last is walked to"},
        {"Pool", "getAllObjects", onTemplate([](OKTDbPool &pool) { return !idsOf(pool).empty(); })},
        {"Pool", "collectEntities, all", onTemplate([](OKTDbPool &pool) {
             IdArray ids;
             return pool.collectEntities(nullptr, ids);
         })},
        {"Pool", "collectEntities of a class", onTemplate([](OKTDbPool &pool) {
             IdArray ids;
             return pool.collectEntities(OKTDbParameter::desc(), ids);
         })},
        {"Pool", "CreateObjectFromClassName", called([](OKTDbPool &pool) {
             OKTDbObject *object = nullptr;
             pool.CreateObjectFromClassName(u"OKTDbParameter", object);
             delete object;
         })},
        {"Pool", "resetObject", forEachId([](OKTDbPool &pool, OKTDbObjectId const &one) { return pool.resetObject(one); })},
        {"Pool", "saveFiler", onTemplate([](OKTDbPool &pool) { return imageOf(pool).GetSize() > 0; })},
        {"Pool", "saveFiler, pictures", onPoolOf<OKTDbPicture>([](OKTDbPool &pool) { return imageOf(pool).GetSize() > 0; })},
        {"Pool", "saveFiler, ids translated", onTemplate([](OKTDbPool &pool) {
             pool.setBoolTranslatedIds(true);
             CByteArray image;
             IdMap map;
             return pool.saveFiler(image, map);
         })},
        {"Pool", "loadFiler", [](int size) { return loadRun(size, OKTDbPool::ReadFilter()); }},
        {"Pool", "loadFiler, setReadFilter", [](int size) { return loadRun(size, filterOf(OKTDbCategory::desc())); }},
        {"Pool", "readFilter", called([](OKTDbPool &pool) { pool.readFilter(); })},
        {"Pool", "loadFiler, pictures",
         [](int size) -> Run {
             auto const image = std::make_shared<CByteArray>(imageOf(*poolOf<OKTDbPicture>(size)));
             return [image, size] {
                 OKTDbPool pool;
                 demand(pool.loadFiler(*image), "loading a pool");
                 return size;
             };
         }},
        {"Pool", "writeFile",
         [](int size) -> Run {
             Pool const pool = templatePool(size);
             auto const file = std::make_shared<SampleFile>();
             return [pool, file, size] {
                 demand(pool->writeFile(file->path()), "writing a pool file");
                 return size;
             };
         }},
        {"Pool", "readFile",
         onFile(templatePool,
                [](CString const &path, int size) {
                    OKTDbPool pool;
                    demand(pool.readFile(path), "reading a pool file");
                    return static_cast<long long>(size);
                })},
        {"Pool", "readFileHeader",
         onFile(templatePool,
                [](CString const &path, int) { return repeat(kFewCalls, [&](int) { return readHeader(path, 1) == 1; }); }),
         "the header names each picture of the pool, here one of a thousand objects"},
        {"Pool", "readFileHeader, pictures", onFile(poolOf<OKTDbPicture>, readHeader)},
        {"Pool", "readIndex",
         onFile(poolWithIndex,
                [](CString const &path, int) {
                    return repeat(kFewCalls, [&](int) {
                        OKTDbPool pool;
                        return pool.readIndex(path);
                    });
                }),
         "the header names each picture of the pool, here one of a thousand objects"},
        {"Pool", "readFilePicture, one",
         onFile(poolWithPicture,
                [](CString const &path, int) { return repeat(kFewCalls, [&](int) { return readPictures(path, 1) == 1; }); })},
        {"Pool", "readFilePicture, all", onFile(poolOf<OKTDbPicture>, readPictures)},
        {"Pool", "copyFrom", onTemplate([](OKTDbPool &pool) {
             OKTDbPool copy;
             return copy.copyFrom(&pool);
         })},
        {"Pool", "clone", onTemplate([](OKTDbPool &pool) { return cloned(pool, false) != nullptr; })},
        {"Pool", "clone, ids translated", onTemplate([](OKTDbPool &pool) { return cloned(pool, true) != nullptr; })},
        {"Pool", "writeXMLFile", onPoolOf<OKTDbRelation>([](OKTDbPool &pool) {
             SampleFile const file;
             return !pool.writeXMLFile(file.path()); // always false (quirk 72)
         })},
        {"Pool", "writeXMLFile, a template", onTemplate([](OKTDbPool &pool) {
             SampleFile const file;
             return !pool.writeXMLFile(file.path());
         })},
        {"Pool", "readXMLFile", readDocumentRun},
        {"Pool", "xmlOut of the header, pictures", headerOutRun},
        {"Pool", "xmlIn of the header, pictures", headerInRun},
    };
}
