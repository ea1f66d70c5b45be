// SPDX-License-Identifier: MIT
#include "support/testobject.h"

#include <oktdatabase/oktfiler.h>

#include <stdexcept>

namespace
{
/// The frame of a class that adds nothing to its base but an empty section.
template <typename Call> FilerStatusDb readEmptyClass(OKTFiler *filer, CString const &name, Call readBase)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", name))
        return eFilerClassFailed;
    FilerStatusDb const base = readBase();
    if (base != eFilerOk)
        return base;
    bool const entered = filer->beginReadMembers(1);
    if (entered)
        filer->endReadMembers();
    filer->endReadClass();
    return entered ? eFilerOk : eFilerNoMembers;
}

template <typename Call> FilerStatusDb writeEmptyClass(OKTFiler *filer, CString const &name, Call writeBase)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", name, 1))
        return eFilerClassFailed;
    FilerStatusDb const base = writeBase();
    if (base != eFilerOk)
        return base;
    bool const entered = filer->beginWriteMembers(1);
    if (entered)
        filer->endWriteMembers();
    filer->endWriteClass();
    return entered ? eFilerOk : eFilerNoMembers;
}
} // namespace

OKT_STORED_CLASS_REGISTRATION(TestObject, OKTDbObject)
OKT_STORED_CLASS_REGISTRATION(TestDerivedObject, TestObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbConstruct, TestObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbIndexData, TestObject)

std::set<TestObject *> &TestObject::all()
{
    static auto &all = *new std::set<TestObject *>; // the prototypes leave it when the process ends
    return all;
}

FilerStatusDb TestObject::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (m_refuseXmlOut)
        return eFilerMemberFailed;
    if (!filer->beginWriteClass(u"Object", u"TestObject", 1))
        return eFilerClassFailed;
    FilerStatusDb const base = OKTDbObject::xmlOut(filer);
    if (base != eFilerOk)
        return base;
    bool ok = true;
    bool const entered = filer->beginWriteMembers(1);
    if (entered)
    {
        ok = filer->writeString(u"m_strText", m_strText) && ok;
        if (m_throwInXmlOut)
            throw std::runtime_error("between two members");
        ok = filer->writeInt(u"m_nNumber", m_nNumber) && ok;
        ok = filer->writeObjectId(u"m_idOther", m_idOther) && ok;
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    if (!entered)
        return eFilerNoMembers;
    return ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

FilerStatusDb TestObject::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (s_refuseXmlIn)
        return eFilerMemberFailed;
    if (!filer->beginReadClass(u"Object", u"TestObject"))
        return eFilerClassFailed;
    FilerStatusDb const base = OKTDbObject::xmlIn(filer);
    if (base != eFilerOk)
        return base;
    bool ok = true;
    bool const entered = filer->beginReadMembers(1);
    if (entered)
    {
        ok = filer->readString(u"m_strText", m_strText) && ok;
        ok = filer->readInt(u"m_nNumber", m_nNumber) && ok;
        ok = filer->readObjectId(u"m_idOther", m_idOther) && ok;
        filer->endReadMembers();
    }
    filer->endReadClass();
    if (!entered)
        return eFilerNoMembers;
    return ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

FilerStatusDb TestDerivedObject::xmlOut(OKTFiler *filer) const
{
    return writeEmptyClass(filer, u"TestDerivedObject", [&] { return TestObject::xmlOut(filer); });
}

FilerStatusDb TestDerivedObject::xmlIn(OKTFiler *filer)
{
    return readEmptyClass(filer, u"TestDerivedObject", [&] { return TestObject::xmlIn(filer); });
}

FilerStatusDb OKTDbConstruct::xmlOut(OKTFiler *filer) const
{
    return writeEmptyClass(filer, u"OKTDbConstruct", [&] { return TestObject::xmlOut(filer); });
}

FilerStatusDb OKTDbConstruct::xmlIn(OKTFiler *filer)
{
    return readEmptyClass(filer, u"OKTDbConstruct", [&] { return TestObject::xmlIn(filer); });
}

FilerStatusDb OKTDbIndexData::xmlOut(OKTFiler *filer) const
{
    return writeEmptyClass(filer, u"OKTDbIndexData", [&] { return TestObject::xmlOut(filer); });
}

FilerStatusDb OKTDbIndexData::xmlIn(OKTFiler *filer)
{
    return readEmptyClass(filer, u"OKTDbIndexData", [&] { return TestObject::xmlIn(filer); });
}

OKT_STORED_CLASS_SOURCE(TestObject)
OKT_STORED_CLASS_SOURCE(TestDerivedObject)
OKT_STORED_CLASS_SOURCE(OKTDbConstruct)
OKT_STORED_CLASS_SOURCE(OKTDbIndexData)
