// SPDX-License-Identifier: MIT
#include <oktdatabase/oktruntimeclass.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/okttools.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <typeinfo>

namespace
{
int s_nextClassCounter = 0;
int s_ownClasses = 0;

/// Held for one look-up or entry. Descriptors are made before a constructor of this source has run, and std::mutex has one on Windows.
class RegistryLock
{
public:
    void lock()
    {
        while (m_isHeld.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    void unlock() { m_isHeld.clear(std::memory_order_release); }

private:
    std::atomic_flag m_isHeld;
};
constinit RegistryLock s_registryLock;
} // namespace

bool OktIsOwnClass(OKTRuntimeClass const &descriptor)
{
    return descriptor.ClassCounter() >= 0 && descriptor.ClassCounter() < s_ownClasses;
}

bool OktIsOwnObject(OKTDbObject const &object)
{
    OKTRuntimeClass const &descriptor = *object.isA();
    return OktIsOwnClass(descriptor) && typeid(object) == typeid(*descriptor.m_prototype);
}

OKTRuntimeClass *OktFindClass(CString const &className)
{
    std::lock_guard const lock(s_registryLock);
    OKTRuntimeClass *const *const entry = g_RuntimeClass.find(className);
    return entry == nullptr ? nullptr : *entry;
}

void OktEndOwnClasses() { s_ownClasses = s_nextClassCounter; }

OKTRuntimeClass::OKTRuntimeClass(CString className, CString baseClassName, OKTDbObject *prototype,
                                 OKTRuntimeClass *baseClassDesc)
{
    try
    {
        if (className.IsEmpty() || prototype == nullptr)
            return;
        std::lock_guard const lock(s_registryLock);
        if (g_RuntimeClass.contains(className))
            return;
        // The entry outlives the module of the descriptor, so it must not wrap a literal there.
        CString const name = className.Owned();
        CString const baseName = baseClassName.Owned();
        g_RuntimeClass[name] = this;
        m_className = name;
        m_baseClassName = baseName;
        m_prototype = prototype;
        m_baseClassDesc = baseClassDesc;
        m_classCounter = s_nextClassCounter++;
    }
    OKT_ANSWER_NOTHING
}

OKTRuntimeClass::~OKTRuntimeClass()
{
    try
    {
        delete m_prototype;
        m_prototype = nullptr;
    }
    OKT_ANSWER_NOTHING
}

OKTDbObject *OKTRuntimeClass::CreateObject() const
try
{
    return m_prototype == nullptr ? nullptr : m_prototype->createObject();
}
OKT_ANSWER_ZERO

bool OKTRuntimeClass::isA(OKTRuntimeClass const *other) const
{
    return other != nullptr && m_classCounter == other->m_classCounter;
}

bool OKTRuntimeClass::IsDerivedFrom(OKTRuntimeClass const *other) const
{
    if (other == nullptr || other->m_classCounter < 0 || m_classCounter < 0)
        return false;
    for (OKTRuntimeClass const *desc = this; desc != nullptr; desc = desc->m_baseClassDesc)
        if (desc->m_classCounter == other->m_classCounter)
            return true;
    return false;
}

bool OKTRuntimeClass::getObjectFromClassName(CString className, OKTDbObject *&object)
{
    return OKTTools::getObjectFromClassName(className, object);
}
