// SPDX-License-Identifier: MIT
#include <oktc/handles.h>
#include <oktc/texts.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktruntimeclass.h>

#include <cmath>
#include <cstdlib>
#include <new>
#include <utility>

// Pools and the objects in them.

using namespace oktc;

namespace
{

OKTRuntimeClass *classNamed(char const *name)
{
    OKTRuntimeClass *const *const entry = g_RuntimeClass.find(textOf(name));
    if (entry == nullptr || *entry == nullptr)
        refuse(OKTC_UNKNOWN_CLASS, std::string("there is no class of the name ") + name);
    return *entry;
}

OktcObject handleOf(UsedPool &used, OKTDbObjectId const &id)
{
    OKTDbObject *object = nullptr;
    if (!used.pool().findObject(id, object) || object == nullptr)
        refuseFailed(OKTC_NOT_FOUND, "the pool has no object of this id");
    return used.held().handleOf(object, idOf(id));
}

/// Puts a new object into the pool. It has its handle before the pool takes it over, so that nothing is left to fail then.
OktcObject append(UsedPool &used, std::unique_ptr<OKTDbObject> object)
{
    constexpr std::uint8_t kNone[16] = {};
    OktcObject const handle = used.held().handleOf(object.get(), idOf(guidOf(kNone)));
    auto const number = static_cast<std::uint32_t>(handle & 0xFFFFFFFF);
    if (!used.pool().appendObject(object.get()))
    {
        used.held().forget(number);
        refuseFailed(OKTC_FAILED, "the pool does not take the object");
    }
    used.held().move(number, idOf(object.release()->objectId()));
    return handle;
}

} // namespace

OktcStatus OKTC_CALL oktcPoolCreate(OktcPool *pool)
{
    return call(Results(pool), [&] {
        auto made = std::make_unique<OKTDbPool>();
        checkReports();
        if (made->objectId().isNull())
            refuse(OKTC_FAILED, "the system gives no new id");
        *pool = hold(std::move(made));
    });
}

OktcStatus OKTC_CALL oktcPoolClose(OktcPool pool)
{
    return call([&] { close(pool); });
}

OktcStatus OKTC_CALL oktcPoolFactor(OktcPool pool, double *factor)
{
    return call(Results(factor), [&] { *factor = UsedPool(pool, false).pool().metricsFactor(); });
}

OktcStatus OKTC_CALL oktcPoolSetFactor(OktcPool pool, double factor)
{
    return call([&] {
        UsedPool used(pool, false);
        if (!std::isfinite(factor) || factor <= 0.0)
            refuse(OKTC_BAD_ARGUMENT, "a factor is a number above 0");
        used.pool().setMetricsFactor(factor);
    });
}

OktcStatus OKTC_CALL oktcPoolCount(OktcPool pool, uint64_t *count)
{
    return call(Results(count), [&] { *count = static_cast<std::uint64_t>(UsedPool(pool, false).pool().objectCount()); });
}

OktcStatus OKTC_CALL oktcPoolAt(OktcPool pool, uint64_t position, OktcObject *object)
{
    return call(Results(object), [&] {
        UsedPool used(pool, false);
        if (position >= static_cast<std::uint64_t>(used.pool().objectCount()))
            refuse(OKTC_BAD_ARGUMENT, "there is no object at this position");
        OKTDbObjectId const id = used.pool().objectAt(static_cast<int>(position));
        checkReports();
        *object = handleOf(used, id);
    });
}

OktcStatus OKTC_CALL oktcPoolFind(OktcPool pool, uint8_t const id[16], OktcObject *object)
{
    return call(Results(object), [&] {
        UsedPool used(pool, false);
        needed(id, "the id");
        *object = handleOf(used, idIn(&used.pool(), id));
    });
}

OktcStatus OKTC_CALL oktcPoolObjects(OktcPool pool, char const *className, OktcObject **objects, uint64_t *count)
{
    return call(Results(objects, count), [&] {
        UsedPool used(pool, false);
        IdArray ids;
        used.pool().collectEntities(className == nullptr ? nullptr : classNamed(className), ids);
        checkReports();
        auto const size = static_cast<std::size_t>(ids.getSize());
        std::unique_ptr<OktcObject, void (*)(void *)> list(
            static_cast<OktcObject *>(std::malloc((size + 1) * sizeof(OktcObject))), std::free);
        if (list == nullptr)
            throw std::bad_alloc();
        OktcObject *next = list.get();
        for (OKTDbObjectId const &id : ids)
            *next++ = handleOf(used, id);
        *next = 0;
        *count = size;
        *objects = list.release();
    });
}

OktcStatus OKTC_CALL oktcPoolEraseAll(OktcPool pool)
{
    return call([&] {
        UsedPool used(pool, false);
        if (!used.pool().eraseAllObjects())
            refuseFailed(OKTC_FAILED, "the pool does not erase its objects");
        used.held().forgetAll();
    });
}

OktcStatus OKTC_CALL oktcPoolClone(OktcPool pool, int32_t newIds, OktcPool *copy)
{
    return call(Results(copy), [&] {
        UsedPool used(pool, false);
        used.pool().setBoolTranslatedIds(newIds != 0);
        std::unique_ptr<OKTDbPool> made(used.pool().clone());
        used.pool().setBoolTranslatedIds(false);
        if (made == nullptr)
            refuseImage(used.pool());
        *copy = hold(std::move(made));
    });
}

OktcStatus OKTC_CALL oktcPoolNewId(OktcPool clone, uint8_t const oldId[16], uint8_t newId[16])
{
    return call(Results::ofId(newId), [&] {
        UsedPool used(clone, false);
        needed(oldId, "the id");
        IdMap const map = used.pool().MapTranslatedIds();
        checkReports();
        OKTDbObjectId const *const found = map.find(idIn(nullptr, oldId));
        if (found == nullptr)
            refuse(OKTC_NOT_FOUND, "the pool was not made of one with this id");
        give(idOf(*found), newId);
    });
}

OktcStatus OKTC_CALL oktcPoolCopyFrom(OktcPool pool, OktcPool source)
{
    return call([&] {
        UsedPool used(pool, false);
        if (pool == source)
            refuse(OKTC_BAD_ARGUMENT, "a pool cannot be copied into itself");
        UsedPool from(source, false);
        if (!used.pool().copyFrom(&from.pool()))
            refuseFailed(OKTC_FAILED,
                         "the objects cannot be copied: one cannot be written, or has an id that is there already");
    });
}

// --- Objects -----------------------------------------------------------------------------------------------------------------

OktcStatus OKTC_CALL oktcObjectCreate(OktcPool pool, char const *className, OktcObject *object)
{
    return call(Results(object), [&] {
        UsedPool used(pool, false);
        needed(className, "the name of the class");
        std::unique_ptr<OKTDbObject> made(classNamed(className)->CreateObject());
        checkReports();
        if (made == nullptr)
            refuseFailed(OKTC_FAILED, "an object of this class cannot be made");
        *object = append(used, std::move(made));
    });
}

OktcStatus OKTC_CALL oktcParameterCreate(OktcPool pool, int32_t type, OktcObject *parameter)
{
    return call(Results(parameter), [&] {
        UsedPool used(pool, false);
        OKTDbObjectId owner = used.pool().objectId();
        owner.fixPoolPointer(&used.pool());
        std::unique_ptr<OKTDbObject> made(new OKTDbParameter(type, owner));
        checkReports();
        *parameter = append(used, std::move(made));
    });
}

OktcStatus OKTC_CALL oktcObjectErase(OktcObject object)
{
    return call([&] {
        UsedPool used(object, true);
        if (!used.pool().removeObject(used.object()))
            refuseFailed(OKTC_FAILED, "the pool does not give the object back");
        used.held().forget(used.number());
        delete used.object();
    });
}

OktcStatus OKTC_CALL oktcObjectReplace(OktcObject object, OktcObject by)
{
    return call([&] {
        UsedPool used(object, true);
        if (object == by)
            return;
        if (object >> 32 != by >> 32)
            refuse(OKTC_BAD_ARGUMENT, "an object is replaced by one of the same pool");
        auto const number = static_cast<std::uint32_t>(by & 0xFFFFFFFF);
        OKTDbObject *const other = used.held().object(number);
        OKTDbPool &pool = used.pool();
        if (!other->isA(used.object()->isA()))
            refuse(OKTC_WRONG_CLASS, "an object is replaced by one of its own class");
        // Taking one out clears the role of its class, whoever has it; the one that stays has it, or nobody.
        OKTDbObjectId const construct = pool.constructId();
        OKTDbObjectId const index = pool.indexId();
        OKTDbObjectId const gone = other->objectId();
        OKTDbObjectId id = used.object()->objectId();
        id.setObject(nullptr);
        if (!pool.removeObject(other))
            refuseFailed(OKTC_FAILED, "the pool does not give the object back");
        pool.setConstructId(construct == gone ? id : construct);
        pool.setIndexId(index == gone ? id : index);
        pool.replaceObject(id, other);
        other->setObjectId(id);
        used.held().forget(used.number());
        used.held().move(number, idOf(id));
        delete used.object();
    });
}

OktcStatus OKTC_CALL oktcObjectPool(OktcObject object, OktcPool *pool)
{
    return call(Results(pool), [&] { *pool = UsedPool(object, true).held().handle(); });
}

OktcStatus OKTC_CALL oktcObjectClass(OktcObject object, char **name, uint64_t *length)
{
    return call(Results(name, length), [&] {
        UsedPool used(object, true);
        oktc::give(plain(used.object()->isA()->ClassName()), name, length);
    });
}

OktcStatus OKTC_CALL oktcObjectIsKind(OktcObject object, char const *className, int32_t *isKind)
{
    return call(Results(isKind), [&] {
        UsedPool used(object, true);
        needed(className, "the name of the class");
        *isKind = used.object()->isKindOf(classNamed(className)) ? 1 : 0;
    });
}
