// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbobject.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>

FilerStatusDb OKTDbObject::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", u"OKTDbObject", 1))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_objectId", m_objectId));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbObject::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbObject"))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_objectId", m_objectId));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbObject)
