// SPDX-License-Identifier: MIT
#include "support/clientclasses.h"

#include <oktdatabase/oktfiler.h>

#include <stdexcept>

namespace
{
/// Puts a descriptor under a name, null for none, and gives the one that was there.
OKTRuntimeClass *exchange(CString const &name, OKTRuntimeClass *descriptor)
{
    OKTRuntimeClass *const *const found = g_RuntimeClass.find(name);
    OKTRuntimeClass *const before = found != nullptr ? *found : nullptr;
    g_RuntimeClass.erase(name);
    if (descriptor != nullptr)
        g_RuntimeClass[name] = descriptor;
    return before;
}

FilerStatusDb statusOf(int sections, bool ok)
{
    if (sections < 1)
        return eFilerNoMembers;
    return ok ? eFilerOk : eFilerMemberFailed;
}

FilerStatusDb write(OKTDbObject const &object, CString const &className, int number, CString const &text, OKTFiler *filer)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", className, 1))
        return eFilerClassFailed;
    FilerStatusDb const base = object.OKTDbObject::xmlOut(filer);
    if (base != eFilerOk)
        return base;
    bool ok = true;
    int sections = 0;
    if (filer->beginWriteMembers(1))
    {
        ++sections;
        ok = filer->writeInt(u"m_number", number) && ok;
        ok = filer->writeString(u"m_text", text) && ok;
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return statusOf(sections, ok);
}

FilerStatusDb read(OKTDbObject &object, CString const &className, int &number, CString &text, OKTFiler *filer)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", className))
        return eFilerClassFailed;
    FilerStatusDb const base = object.OKTDbObject::xmlIn(filer);
    if (base != eFilerOk)
        return base;
    bool ok = true;
    int sections = 0;
    if (filer->beginReadMembers(1))
    {
        ++sections;
        ok = filer->readInt(u"m_number", number) && ok;
        ok = filer->readString(u"m_text", text) && ok;
        filer->endReadMembers();
    }
    filer->endReadClass();
    return statusOf(sections, ok);
}

// The names may be held by another source of the tests: they are free while the two descriptors are made, and given back then.
OKTRuntimeClass *const g_constructBefore = exchange(u"OKTDbConstruct", nullptr);
OKTRuntimeClass *const g_indexBefore = exchange(u"OKTDbIndexData", nullptr);
} // namespace

OKTRuntimeClass const ClientConstruct::classClientConstruct(u"OKTDbConstruct", u"OKTDbObject", new ClientConstruct,
                                                            OKTDbObject::desc());
OKTRuntimeClass const ClientIndexData::classClientIndexData(u"OKTDbIndexData", u"OKTDbObject", new ClientIndexData,
                                                            OKTDbObject::desc());

namespace
{
[[maybe_unused]] OKTRuntimeClass *const g_constructMade = exchange(u"OKTDbConstruct", g_constructBefore);
[[maybe_unused]] OKTRuntimeClass *const g_indexMade = exchange(u"OKTDbIndexData", g_indexBefore);
} // namespace

OKT_STORED_CLASS_REGISTRATION(ClientFaulty, OKTDbObject)

ClientClasses::ClientClasses()
    : m_construct(exchange(u"OKTDbConstruct", ClientConstruct::desc())),
      m_index(exchange(u"OKTDbIndexData", ClientIndexData::desc()))
{
}

ClientClasses::~ClientClasses()
{
    exchange(u"OKTDbConstruct", m_construct);
    exchange(u"OKTDbIndexData", m_index);
}

FilerStatusDb ClientConstruct::xmlIn(OKTFiler *filer) { return read(*this, u"OKTDbConstruct", m_number, m_text, filer); }

FilerStatusDb ClientConstruct::xmlOut(OKTFiler *filer) const
{
    return write(*this, u"OKTDbConstruct", m_number, m_text, filer);
}

FilerStatusDb ClientIndexData::xmlIn(OKTFiler *filer) { return read(*this, u"OKTDbIndexData", m_number, m_text, filer); }

FilerStatusDb ClientIndexData::xmlOut(OKTFiler *filer) const
{
    return write(*this, u"OKTDbIndexData", m_number, m_text, filer);
}

FilerStatusDb ClientFaulty::xmlIn(OKTFiler *filer)
{
    s_rootHints += filer->getIsReadingObjectFromRoot() ? 1 : 0;
    if (!filer->beginReadClass(u"Object", u"ClientFaulty"))
        return eFilerClassFailed;
    FilerStatusDb const base = OKTDbObject::xmlIn(filer);
    if (base != eFilerOk)
        return base;
    if (s_throwsInRead)
        throw std::runtime_error("asked for by the test");
    filer->endReadClass();
    return s_readStatus;
}

FilerStatusDb ClientFaulty::xmlOut(OKTFiler *filer) const
{
    if (!filer->beginWriteClass(u"Object", u"ClientFaulty", 1))
        return eFilerClassFailed;
    FilerStatusDb const base = OKTDbObject::xmlOut(filer);
    if (base != eFilerOk)
        return base;
    if (s_throwsInWrite)
        throw std::runtime_error("asked for by the test");
    filer->endWriteClass();
    return s_writeStatus;
}

ClientFaults::~ClientFaults()
{
    ClientFaulty::s_readStatus = eFilerOk;
    ClientFaulty::s_writeStatus = eFilerOk;
    ClientFaulty::s_throwsInRead = false;
    ClientFaulty::s_throwsInWrite = false;
    ClientFaulty::s_rootHints = 0;
}

OKT_STORED_CLASS_SOURCE(ClientConstruct)
OKT_STORED_CLASS_SOURCE(ClientIndexData)
OKT_STORED_CLASS_SOURCE(ClientFaulty)
