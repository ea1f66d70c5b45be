// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/poolcore.h>

#include <cstdint>
#include <memory>

namespace okt::python
{

/// A handle of an object, as a type of the interpreter's own interface: there are as many as objects, and they are made and asked in
/// loops. It owns its object only while that is in no pool.
struct Handle
{
    PyObject_HEAD PyObject *pool; ///< of the object; null: it is in none
    PoolCore *core;               ///< of that pool
    OKTDbObject *object;          ///< of the epoch below; in no pool the handle's own
    std::uint64_t epoch;          ///< of the pool, when the object was found
    _GUID id;                     ///< in the pool
    Py_hash_t hash;               ///< the same for all handles of an object, in a pool or not
    PyObject *weakrefs;
    std::shared_ptr<OKTDbPool> *origin; ///< the pool out of which the object was taken, which its ids may name
};

/// Adds the type and the functions that are called in loops.
void addHandles(py::module_ &module);

/// Raises TypeError for anything else.
Handle &handleOf(py::handle object);
bool isHandle(py::handle object);
/// The object. Raises ObjectGone, and Error where its pool is in use by another thread.
OKTDbObject *resolveAgain(Handle &handle);
inline OKTDbObject *resolve(Handle &handle)
{
    if (handle.core != nullptr && handle.epoch == handle.core->epoch() && !handle.core->isBusy())
        return handle.object;
    return resolveAgain(handle);
}
/// The object as one of that class. Raises TypeError for one of another class.
template <typename T> T &resolvedAs(py::handle object)
{
    T *const cast = T::cast(resolve(handleOf(object)));
    if (cast == nullptr)
        throw py::type_error("the object is of another class");
    return *cast;
}

/// A new handle of an object of a pool; null with an exception set.
PyObject *newHandle(PyObject *pool, PoolCore &core, OKTDbObject *object);
py::object handleObject(py::handle pool, PoolCore &core, OKTDbObject *object);
py::list handleList(py::handle pool, PoolCore &core, OKTRuntimeClass *descriptor);

/// The object of a handle that is in no pool goes over to a pool under that id, and back.
void giveAway(Handle &handle, py::handle pool, PoolCore &core, OKTDbObject *object);
void takeBack(Handle &handle, OKTDbObject *object);
/// Gives a handle that has nothing yet an object that is in no pool.
void own(Handle &handle, OKTDbObject *object);
/// A new handle of such an object.
py::object ownedHandle(OKTDbObject *object);

} // namespace okt::python
