// SPDX-License-Identifier: MIT
#include <python/binding/handle.h>

#include <python/binding/failures.h>
#include <python/binding/values.h>

#include <array>
#include <cstddef>
#include <structmember.h>
#include <unordered_map>

namespace okt::python
{

namespace
{

PyTypeObject *g_handleType = nullptr;

/// The classes of Python for objects, by descriptor; those of client modules have that of their nearest base.
struct ObjectTypes
{
    std::unordered_map<OKTRuntimeClass const *, PyTypeObject *> known;
    OKTRuntimeClass const *lastDescriptor = nullptr;
    PyTypeObject *last = nullptr;
};

ObjectTypes &objectTypes()
{
    static auto *const types = new ObjectTypes; // its types end with the interpreter
    return *types;
}

PyTypeObject *typeOf(OKTDbObject const &object)
{
    ObjectTypes &types = objectTypes();
    OKTRuntimeClass const *const descriptor = object.isA();
    if (descriptor == types.lastDescriptor)
        return types.last;
    PyTypeObject *type = g_handleType;
    for (OKTRuntimeClass const *at = descriptor; at != nullptr; at = at->BaseClassDesc())
        if (auto const found = types.known.find(at); found != types.known.end())
        {
            type = found->second;
            break;
        }
    types.lastDescriptor = descriptor;
    types.last = type;
    return type;
}

Handle *asHandle(PyObject *self) { return reinterpret_cast<Handle *>(self); }

Py_hash_t hashOf(OKTDbObject const *object)
{
    auto const hash = static_cast<Py_hash_t>(reinterpret_cast<std::uintptr_t>(object) >> 4);
    return hash == -1 ? -2 : hash;
}

int traverse(PyObject *self, visitproc visit, void *arg)
{
    Py_VISIT(asHandle(self)->pool);
    Py_VISIT(Py_TYPE(self));
    return 0;
}

int clear(PyObject *self)
{
    Handle &handle = *asHandle(self);
    handle.core = nullptr;
    if (handle.pool != nullptr)
        handle.object = nullptr; // it is the pool's
    Py_CLEAR(handle.pool);
    return 0;
}

void deallocate(PyObject *self)
{
    PyObject_GC_UnTrack(self);
    Handle &handle = *asHandle(self);
    if (handle.weakrefs != nullptr)
        PyObject_ClearWeakRefs(self);
    if (handle.pool == nullptr)
        delete handle.object;
    delete handle.origin;
    Py_XDECREF(handle.pool);
    PyTypeObject *const type = Py_TYPE(self);
    type->tp_free(self);
    Py_DECREF(type);
}

PyObject *compare(PyObject *left, PyObject *right, int operation)
{
    if ((operation != Py_EQ && operation != Py_NE) || PyObject_TypeCheck(right, g_handleType) == 0)
        Py_RETURN_NOTIMPLEMENTED;
    Handle const &one = *asHandle(left);
    Handle const &other = *asHandle(right);
    // Of a pool the id tells, and the object as it was when the handle was made: another one may have taken its place.
    bool const isSame = left == right || (one.pool != nullptr && one.core == other.core && one.hash == other.hash &&
                                          std::memcmp(&one.id, &other.id, sizeof one.id) == 0);
    return PyBool_FromLong(isSame == (operation == Py_EQ));
}

Py_hash_t hash(PyObject *self) { return asHandle(self)->hash; }

PyObject *make(PyTypeObject *type, PyObject *, PyObject *) { return type->tp_alloc(type, 0); }

PyObject *poolOf(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self] {
        Handle &handle = handleOf(self);
        resolve(handle);
        return Py_NewRef(handle.pool == nullptr ? Py_None : handle.pool);
    });
}

PyObject *idOf(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self] {
        Handle &handle = handleOf(self);
        resolve(handle);
        return handle.pool == nullptr ? Py_NewRef(Py_None) : newUuid(handle.id);
    });
}

PyObject *isAlive(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self]() -> PyObject * {
        Handle &handle = handleOf(self);
        bool const isThere = handle.core == nullptr ? handle.object != nullptr
                                                    : handle.epoch == handle.core->epoch() ||
                                                          handle.core->find(handle.id, handle.epoch) != nullptr;
        return PyBool_FromLong(isThere && (handle.core == nullptr || !handle.core->isClosed()));
    });
}

std::array<PyMethodDef, 4> g_functions = {{{"pool_of", poolOf, METH_O, "The pool of an object, or None."},
                                           {"id_of", idOf, METH_O, "The id of an object, or None."},
                                           {"is_alive", isAlive, METH_O, "Whether the object of a handle is there."},
                                           {nullptr, nullptr, 0, nullptr}}};

std::array<PyMemberDef, 2> g_members = {
    {{"__weaklistoffset__", T_PYSSIZET, offsetof(Handle, weakrefs), READONLY, nullptr}, {nullptr, 0, 0, 0, nullptr}}};

PyTypeObject *makeType()
{
    std::array<PyType_Slot, 9> slots = {{{Py_tp_dealloc, reinterpret_cast<void *>(deallocate)},
                                         {Py_tp_traverse, reinterpret_cast<void *>(traverse)},
                                         {Py_tp_clear, reinterpret_cast<void *>(clear)},
                                         {Py_tp_richcompare, reinterpret_cast<void *>(compare)},
                                         {Py_tp_hash, reinterpret_cast<void *>(hash)},
                                         {Py_tp_new, reinterpret_cast<void *>(make)},
                                         {Py_tp_members, g_members.data()},
                                         {Py_tp_doc, const_cast<char *>("A handle of an object.")},
                                         {0, nullptr}}};
    PyType_Spec spec = {"oktdatabase._okt.Handle", sizeof(Handle), 0,
                        Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, slots.data()};
    PyObject *const type = PyType_FromSpec(&spec);
    if (type == nullptr)
        throw py::error_already_set();
    return reinterpret_cast<PyTypeObject *>(type);
}

/// The class of Python for objects of a stored class and of those derived from it.
void setType(std::string const &className, py::type type)
{
    OKTRuntimeClass *const *const descriptor = g_RuntimeClass.find(CString::FromUtf8(className));
    if (descriptor == nullptr)
        throw py::key_error(className);
    objectTypes().known[*descriptor] = reinterpret_cast<PyTypeObject *>(type.release().ptr());
    objectTypes().lastDescriptor = nullptr;
}

} // namespace

bool isHandle(py::handle object) { return PyObject_TypeCheck(object.ptr(), g_handleType) != 0; }

Handle &handleOf(py::handle object)
{
    if (!isHandle(object))
        throw py::type_error(std::string("an object of a pool is wanted, not ") + Py_TYPE(object.ptr())->tp_name);
    return *asHandle(object.ptr());
}

OKTDbObject *resolveAgain(Handle &handle)
{
    if (handle.core == nullptr)
    {
        if (handle.object == nullptr)
            raise("ObjectGone", "the object is gone");
        return handle.object;
    }
    PoolCore &core = *handle.core;
    if (core.isClosed())
        raise("ObjectGone", "the object is gone: its pool is closed");
    core.use();
    OKTDbObject *const found = core.find(handle.id, handle.epoch);
    if (found == nullptr)
        raise("ObjectGone", "the object is gone: it was removed from its pool");
    handle.object = found;
    handle.epoch = core.epoch();
    return found;
}

PyObject *newHandle(PyObject *pool, PoolCore &core, OKTDbObject *object)
{
    // A finalizer that runs now may take the object out: the handle is of the epoch before.
    PyTypeObject *const type = typeOf(*object);
    std::uint64_t const epoch = core.epoch();
    _GUID const id = object->objectId().getGuid();
    PyObject *const self = type->tp_alloc(type, 0);
    if (self == nullptr)
        return nullptr;
    Handle &handle = *asHandle(self);
    handle.pool = Py_NewRef(pool);
    handle.core = &core;
    handle.object = object;
    handle.epoch = epoch;
    handle.id = id;
    handle.hash = hashOf(object);
    return self;
}

py::object handleObject(py::handle pool, PoolCore &core, OKTDbObject *object)
{
    PyObject *const handle = newHandle(pool.ptr(), core, object);
    if (handle == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(handle);
}

py::list handleList(py::handle pool, PoolCore &core, OKTRuntimeClass *descriptor)
{
    Kept const kept(core);
    std::vector<OKTDbObject *> objects;
    if (descriptor == nullptr)
        objects = core.objects();
    else
    {
        objects.reserve(core.objects().size());
        for (OKTDbObject *const object : core.objects())
            if (object->isKindOf(descriptor))
                objects.push_back(object);
    }
    py::list list(objects.size());
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        PyObject *const handle = newHandle(pool.ptr(), core, objects[i]);
        if (handle == nullptr)
            throw py::error_already_set();
        PyList_SET_ITEM(list.ptr(), static_cast<Py_ssize_t>(i), handle);
    }
    return list;
}

void giveAway(Handle &handle, py::handle pool, PoolCore &core, OKTDbObject *object)
{
    if (handle.origin != nullptr)
        core.keep(*handle.origin);
    delete handle.origin;
    handle.origin = nullptr;
    handle.pool = Py_NewRef(pool.ptr());
    handle.core = &core;
    handle.object = object;
    handle.epoch = core.epoch();
    handle.id = object->objectId().getGuid();
}

void takeBack(Handle &handle, OKTDbObject *object)
{
    handle.origin = new std::shared_ptr<OKTDbPool>(handle.core->shell());
    handle.core = nullptr;
    handle.object = object;
    Py_CLEAR(handle.pool);
}

void own(Handle &handle, OKTDbObject *object)
{
    if (handle.pool != nullptr || handle.object != nullptr)
    {
        delete object;
        throw py::type_error("the handle has an object already");
    }
    handle.object = object;
    handle.hash = hashOf(object);
}

py::object ownedHandle(OKTDbObject *object)
{
    PyTypeObject *const type = typeOf(*object);
    auto made = py::reinterpret_steal<py::object>(type->tp_alloc(type, 0));
    if (!made)
    {
        delete object;
        throw py::error_already_set();
    }
    own(handleOf(made), object);
    return made;
}

void addHandles(py::module_ &module)
{
    g_handleType = makeType();
    module.add_object("Handle", reinterpret_cast<PyObject *>(g_handleType));
    if (PyModule_AddFunctions(module.ptr(), g_functions.data()) != 0)
        throw py::error_already_set();
    module.def("set_type", &setType, py::arg("class_name"), py::arg("type"));
}

} // namespace okt::python
