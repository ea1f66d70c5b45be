// SPDX-License-Identifier: MIT
#include "support/hookedobject.h"

#include <oktdatabase/oktfiler.h>

OKT_STORED_CLASS_REGISTRATION(HookedObject, OKTDbObject)

FilerStatusDb HookedObject::xmlOut(OKTFiler *filer) const
{
    if (!filer->beginWriteClass(u"Object", u"HookedObject", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    bool ok = filer->beginWriteMembers(1);
    if (s_whileWritten)
        s_whileWritten(*this, *filer);
    ok = filer->writeObjectId(u"m_idOther", m_idOther) && ok;
    filer->endWriteMembers();
    filer->endWriteClass();
    return ok ? eFilerOk : eFilerMemberFailed;
}

FilerStatusDb HookedObject::xmlIn(OKTFiler *filer)
{
    if (!filer->beginReadClass(u"Object", u"HookedObject"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    bool ok = filer->beginReadMembers(1);
    if (s_whileRead)
        s_whileRead(*this, *filer);
    ok = filer->readObjectId(u"m_idOther", m_idOther) && ok;
    filer->endReadMembers();
    filer->endReadClass();
    return ok ? eFilerOk : eFilerMemberFailed;
}

OKT_STORED_CLASS_SOURCE(HookedObject)
