// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>
#include <python/binding/handle.h>
#include <python/binding/limits.h>
#include <python/binding/members.h>
#include <python/binding/references.h>
#include <python/binding/values.h>

#include <optional>

namespace okt::python
{

namespace
{

PoolCore &coreOf(py::handle pool) { return pool.cast<PoolCore &>(); }

OKTDbObjectId idOfUuid(py::handle uuid)
{
    OKTDbObjectId id;
    id.setGuid(guidOf(uuid));
    return id;
}

OKTRuntimeClass *descriptorOf(std::string const &className)
{
    OKTRuntimeClass *const *const descriptor = g_RuntimeClass.find(CString::FromUtf8(className));
    if (descriptor == nullptr)
        throw py::value_error("no class of that name is known here: " + className);
    return *descriptor;
}

py::object find(py::object pool, py::object uuid)
{
    PoolCore &core = coreOf(pool);
    OKTDbObjectId const id = idOfUuid(uuid);
    OKTDbObject *object = nullptr;
    if (!core.use().findObject(id, object) || object == nullptr)
        return py::none();
    return handleObject(pool, core, object);
}

py::list objects(py::object pool, std::optional<std::string> const &className)
{
    PoolCore &core = coreOf(pool);
    core.use();
    return handleList(pool, core, className ? descriptorOf(*className) : nullptr);
}

/// Those whose display name is that.
py::list named(py::object pool, py::object name, std::optional<std::string> const &className)
{
    PoolCore &core = coreOf(pool);
    core.use();
    OKTRuntimeClass const *const descriptor = className ? descriptorOf(*className) : nullptr;
    CString const wanted = textOf(name);
    Kept const kept(core);
    py::list list;
    for (OKTDbObject *const object : core.objects())
        if ((descriptor == nullptr || object->isKindOf(descriptor)) && displayName(*object) == wanted)
            list.append(handleObject(pool, core, object));
    return list;
}

void add(py::object pool, py::object object)
{
    PoolCore &core = coreOf(pool);
    OKTDbPool &under = core.use();
    Handle &handle = handleOf(object);
    OKTDbObject *const added = resolve(handle);
    if (handle.core != nullptr)
        throw py::value_error("the object is in a pool already");
    if (!under.appendObject(added))
    {
        tellReports();
        raise("Error", "the pool does not take the object");
    }
    core.noteNew();
    bindToPool(added, under, handle.origin == nullptr || *handle.origin != core.shell());
    giveAway(handle, pool, core, added);
    tellReports();
}

/// The object of a handle of that pool.
OKTDbObject *memberOf(PoolCore &core, Handle &handle)
{
    core.use();
    OKTDbObject *const object = resolve(handle);
    if (handle.core != &core)
        throw py::value_error("the object is not in this pool");
    return object;
}

void remove(py::object pool, py::object object)
{
    PoolCore &core = coreOf(pool);
    Handle &handle = handleOf(object);
    OKTDbObject *const removed = memberOf(core, handle);
    if (!core.pool().removeObject(removed->objectId()))
        raise("Error", "the pool does not give the object back");
    core.noteGone(handle.id);
    takeBack(handle, removed);
    tellReports();
}

void erase(py::object pool, py::object object)
{
    PoolCore &core = coreOf(pool);
    Handle &handle = handleOf(object);
    OKTDbObject *const erased = memberOf(core, handle);
    if (!core.pool().removeObject(erased->objectId()))
        raise("Error", "the pool does not erase the object");
    core.noteGone(handle.id);
    delete erased;
    tellReports();
}

void replace(py::object pool, py::object old, py::object fresh)
{
    PoolCore &core = coreOf(pool);
    Handle &oldHandle = handleOf(old);
    Handle &newHandle = handleOf(fresh);
    OKTDbObject *const before = memberOf(core, oldHandle);
    OKTDbObject *const after = resolve(newHandle);
    if (newHandle.core != nullptr)
        throw py::value_error("the new object is in a pool already");
    OKTDbObjectId id = before->objectId();
    id.setObject(after);
    OKTDbObjectId const own = after->objectId();
    after->setObjectId(id);
    if (!core.pool().replaceObject(id, after))
    {
        after->setObjectId(own);
        raise("Error", "the pool does not take the object");
    }
    bindToPool(after, core.pool(), newHandle.origin == nullptr || *newHandle.origin != core.shell());
    core.noteReplaced(oldHandle.id);
    giveAway(newHandle, pool, core, after);
    delete before;
    tellReports();
}

/// Fills the pool under `clone`, which is new, with a copy.
void takeClone(py::object pool, py::object clone, bool hasNewIds)
{
    PoolCore &core = coreOf(pool);
    OKTDbPool *copy = nullptr;
    {
        Busy const busy(core);
        copy = sharedWork([&core, hasNewIds]() -> OKTDbPool * {
            if (unholdable(core.pool()))
                return nullptr;
            core.pool().setBoolTranslatedIds(hasNewIds);
            OKTDbPool *const made = core.pool().clone();
            core.pool().setBoolTranslatedIds(false);
            return made;
        });
    }
    if (copy != nullptr)
    {
        copy->setBoolTranslatedIds(false);
        copy->setMapTranslatedIds(IdMap());
        coreOf(clone).take(copy);
    }
    tellReports();
    if (copy == nullptr)
        raiseUnwritable(core);
}

void copyFrom(py::object pool, py::object other)
{
    PoolCore &core = coreOf(pool);
    PoolCore &source = coreOf(other);
    if (&core == &source)
        throw py::value_error("a pool cannot be copied into itself");
    bool isCopied = false;
    {
        Busy const busy(core);
        Busy const alsoBusy(source);
        isCopied = sharedWork([&] { return !unholdable(source.pool()) && core.pool().copyFrom(&source.pool()); });
    }
    tellReports();
    if (isCopied)
        return;
    for (OKTDbObject const *const object : source.objects())
        if (OKTDbObject *there = nullptr; core.pool().findObject(object->objectId(), there))
            raise("Error", "the pool cannot be copied: an object of the id " +
                               object->objectId().getGuidAsString(false).ToUtf8() + " is here already");
    raiseUnwritable(source);
}

/// The ids of special role.
py::dict roles(py::object pool)
{
    OKTDbPool const &under = coreOf(pool).use();
    py::dict roles;
    roles["construct"] = uuidOrNone(under.constructId().getGuid());
    roles["index"] = uuidOrNone(under.indexId().getGuid());
    roles["sketch"] = uuidOrNone(under.sketchId().getGuid());
    roles["actions"] = uuidOrNone(under.ppActionsId().getGuid());
    roles["radial"] = uuidOrNone(under.RadialReinfId().getGuid());
    py::list pictures;
    for (OKTDbObjectId const &id : under.picturesId())
        pictures.append(uuidObject(id.getGuid()));
    roles["pictures"] = pictures;
    return roles;
}

/// The object that no file can hold: which, and why.
std::optional<std::string> unwritable(PoolCore &core)
{
    for (OKTDbObject *const object : core.objects())
    {
        OKTMemoryFiler filer(&core.pool());
        if (object->xmlOut(&filer) == eFilerOk)
            continue;
        return nameForMessages(*object) + ": its value is of a kind that a file has not";
    }
    return std::nullopt;
}

} // namespace

void raiseUnwritable(PoolCore &core)
{
    std::optional<std::string> object = unholdable(core.use());
    if (!object)
        object = unwritable(core);
    tellReports();
    raise("Error", object ? "a file cannot hold the " + *object
                          : std::string("the pool makes no image: it is too large, or there is not enough memory"));
}

void addPools(py::module_ &module)
{
    py::class_<PoolCore>(module, "PoolCore")
        .def(py::init<double>(), py::arg("factor") = 1.0)
        .def("_close", &PoolCore::close)
        .def_property_readonly("closed", &PoolCore::isClosed, "Whether the pool is closed.");
    module.def("pool_name", [](py::object pool) { return textObject(coreOf(pool).use().poolName()); });
    module.def("set_pool_name", [](py::object pool, py::object name) { coreOf(pool).use().setPoolName(textOf(name)); });
    module.def("pool_id", [](py::object pool) { return uuidObject(coreOf(pool).use().objectId().getGuid()); });
    module.def("pool_factor", [](py::object pool) { return coreOf(pool).use().metricsFactor(); });
    module.def("pool_size", [](py::object pool) { return coreOf(pool).use().objectCount(); });
    module.def("pool_find", &find);
    module.def("pool_objects", &objects);
    module.def("pool_named", &named);
    module.def("pool_add", &add);
    module.def("pool_remove", &remove);
    module.def("pool_erase", &erase);
    module.def("pool_replace", &replace);
    module.def("pool_clone", &takeClone);
    module.def("pool_copy_from", &copyFrom);
    module.def("pool_roles", &roles);
    module.def("known_classes", [] {
        py::list names;
        for (auto const &[name, descriptor] : g_RuntimeClass)
            names.append(textObject(name));
        return names;
    });
}

} // namespace okt::python
