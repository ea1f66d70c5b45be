// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktplatform/oktstring.h>

class OKTDbObject;

/// The descriptor of a stored class: its names, its number within this run of the process, and an object from which others are
/// made. One static descriptor per class; making it enters it in g_RuntimeClass, for good. Client modules make theirs the
/// same way when they are loaded. A copy shares the prototype and must not be destroyed.
class OKT_API OKTRuntimeClass
{
public:
    /// Refused, silently, when the name is empty or taken or the prototype is null: the descriptor then stays empty, its number is
    /// -1, and the prototype is the caller's. Otherwise the descriptor owns its prototype. The base descriptor may be made later.
    OKTRuntimeClass(CString className, CString baseClassName, OKTDbObject *prototype, OKTRuntimeClass *baseClassDesc);
    OKTRuntimeClass(OKTRuntimeClass const &) = default;
    OKTRuntimeClass &operator=(OKTRuntimeClass const &) = default;
    /// Deletes the prototype; the entry in the registry stays.
    virtual ~OKTRuntimeClass();

    /// The name of the class, that of its base class, and the descriptor of the base class, null where there is none.
    CString ClassName() const { return m_className; }
    bool isNamed(CString const &className) const { return m_className == className; }
    CString BaseClass() const { return m_baseClassName; }
    OKTRuntimeClass *BaseClassDesc() const { return m_baseClassDesc; }
    /// The number of the class in this run of the process, in the order of registration; -1 for a refused descriptor.
    int ClassCounter() const { return m_classCounter; }

    /// A new object of the class, owned by the caller; null from a refused descriptor.
    OKTDbObject *CreateObject() const;
    /// The same class number. Two refused descriptors count as the same class (quirk 4).
    bool isA(OKTRuntimeClass const *other) const;
    /// This class or one of its bases; false where either descriptor was refused.
    bool IsDerivedFrom(OKTRuntimeClass const *other) const;

    /// A new object by exact class name. False, and `object` untouched, for an unknown name.
    static bool getObjectFromClassName(CString className, OKTDbObject *&object);

private:
    friend bool OktIsOwnObject(OKTDbObject const &object);

    CString m_className;
    CString m_baseClassName;
    OKTDbObject *m_prototype = nullptr;
    OKTRuntimeClass *m_baseClassDesc = nullptr;
    int m_classCounter = -1;
};

/// All descriptors of the process by class name, not owned. The library enters and finds them under a lock of its own; whoever looks here
/// has to know that no module is loaded meanwhile.
extern OKT_API OKTMap<CString, OKTRuntimeClass *, CString const &, OKTRuntimeClass *const &> g_RuntimeClass;
