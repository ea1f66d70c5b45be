// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktdatabase/oktruntimeclass.h>

#include <cstdint>

class OKTFiler;

/// The members that every stored class repeats. `slot` is `virtual` in the root and empty below it, `tail` is empty in the root
/// and `override` below it.
#define OKT_STORED_CLASS_MEMBERS(X, slot, tail)                                                                                \
public:                                                                                                                        \
    slot OKTDbObject *createObject() tail;                                                                                     \
    slot bool isKindOf(OKTRuntimeClass const *other) const tail;                                                               \
    slot OKTRuntimeClass *isA() const tail;                                                                                    \
    slot bool isA(CString const &className) const tail;                                                                        \
    slot bool isA(OKTRuntimeClass const *other) const tail;                                                                    \
    static OKTRuntimeClass *desc();                                                                                            \
    static X *cast(OKTDbObject const *object);                                                                                 \
    static X *cast(OKTDbObjectId const &id);                                                                                   \
                                                                                                                               \
protected:                                                                                                                     \
    static OKTRuntimeClass const class##X;                                                                                     \
                                                                                                                               \
public:

/// First line of a stored class.
#define OKT_STORED_CLASS(X) OKT_STORED_CLASS_MEMBERS(X, , override)

/// Last lines of its source.
#define OKT_STORED_CLASS_SOURCE(X)                                                                                             \
    OKTRuntimeClass *X::desc() { return const_cast<OKTRuntimeClass *>(&class##X); }                                            \
    OKTRuntimeClass *X::isA() const { return desc(); }                                                                         \
    bool X::isA(CString const &className) const                                                                                \
    try                                                                                                                        \
    {                                                                                                                          \
        return !className.IsEmpty() && class##X.isNamed(className);                                                            \
    }                                                                                                                          \
    OKT_ANSWER_ZERO                                                                                                            \
    bool X::isA(OKTRuntimeClass const *other) const { return class##X.isA(other); }                                            \
    bool X::isKindOf(OKTRuntimeClass const *other) const { return class##X.IsDerivedFrom(other); }                             \
    OKTDbObject *X::createObject()                                                                                             \
    try                                                                                                                        \
    {                                                                                                                          \
        return new X;                                                                                                          \
    }                                                                                                                          \
    OKT_ANSWER_ZERO                                                                                                            \
    X *X::cast(OKTDbObject const *object)                                                                                      \
    try                                                                                                                        \
    {                                                                                                                          \
        bool const fits = object != nullptr && object->isKindOf(&class##X);                                                    \
        return fits ? static_cast<X *>(const_cast<OKTDbObject *>(object)) : nullptr;                                           \
    }                                                                                                                          \
    OKT_ANSWER_ZERO                                                                                                            \
    X *X::cast(OKTDbObjectId const &id) { return cast(id.getObject()); }

/// The one line that registers a stored class, at namespace scope in a source that is loaded with its module.
#define OKT_STORED_CLASS_REGISTRATION(X, BASE) OKTRuntimeClass const X::class##X(u"" #X, u"" #BASE, new X, BASE::desc());

/// The base of everything stored in a pool: an id, and the operations that pools and filers call on any object.
///
/// Made by `new` or by OKTRuntimeClass::CreateObject, outside any pool and with a null id. A pool takes it over with
/// OKTDbPool::appendObject and hands it back with removeObject.
///
/// `isA` tells the exact class, `isKindOf` the class or a base of it. `cast` gives null for null and for an object of another
/// class, else the same object. A derived class begins with OKT_STORED_CLASS(X), ends its source with
/// OKT_STORED_CLASS_SOURCE(X), needs a default constructor that relies on no other static object, and is registered by one
/// OKT_STORED_CLASS_REGISTRATION line.
class OKT_API OKTDbObject
{
    OKT_STORED_CLASS_MEMBERS(OKTDbObject, virtual, )

    OKTDbObject(OKTDbObject const &) = default;
    OKTDbObject &operator=(OKTDbObject const &) = default;
    virtual ~OKTDbObject() {}

    /// Reads or writes the class frame of this object. An exception inside is reported and counts as success (quirk 6).
    virtual FilerStatusDb xmlIn(OKTFiler *filer);
    virtual FilerStatusDb xmlOut(OKTFiler *filer) const;

    /// The id under which a pool holds the object; null outside a pool.
    OKTDbObjectId objectId() const { return m_objectId; }
    /// As a rule called by the pool only.
    void setObjectId(OKTDbObjectId const &id) { m_objectId = id; }

protected:
    OKTDbObject() = default;

private:
    friend class OKTFramePath; // writes the id without a copy of it

    OKTDbObjectId m_objectId;
};
