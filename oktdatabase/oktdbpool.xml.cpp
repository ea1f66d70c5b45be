// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktxmlfiler.h>

// A pool as an XML document.

bool OKTDbPool::writeXMLFile(CString const &path)
try
{
    OKTXmlFiler filer;
    if (path.IsEmpty() || !filer.NewFiler(path, true))
        return false;
    bool done = true;
    ObjectMap const &objects = m_mapObjects;
    for (unsigned int i = 0; i < static_cast<unsigned int>(objects.getSize()); ++i)
        if (OKTDbObject const *const object = objects.valueAt(i); object != nullptr && object->xmlOut(&filer) != eFilerOk)
            done = false;
    if (xmlOut(&filer, InfoMap()) != eFilerOk)
        done = false;
    return filer.CloseFiler() && done;
}
OKT_ANSWER_ZERO

bool OKTDbPool::readXMLFile(CString const &path)
try
{
    OKTXmlFiler filer(this);
    if (path.IsEmpty() || !filer.NewFiler(path, false))
        return false;
    bool done = true;
    for (CString className; filer.getDescriptionForNextReadObject(className);)
    {
        OKTDbObject *object = nullptr;
        if (CreateObjectFromClassName(className, object) && object != nullptr)
        {
            filer.setIsReadingObjectFromRoot(true);
            if (object->xmlIn(&filer) == eFilerOk && appendReadObject(object))
                continue;
            done = false; // and the object is lost (quirk 18)
        }
        if (!filer.skipNextToReadDocumentObject())
            break;
    }
    InfoMap info;
    if (xmlIn(&filer, info) != eFilerOk)
        done = false;
    return filer.CloseFiler() && done;
}
OKT_ANSWER_ZERO
