// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbrelation.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktwholeframe.h>

OKTDbRelation::OKTDbRelation() = default;

OKTDbRelation::~OKTDbRelation() = default;

FilerStatusDb OKTDbRelation::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    OktAnnounceFrame(*filer, emptyFrameSize("OKTDbRelation", kObjectFrame.size()));
    if (!filer->beginWriteClass(u"Object", u"OKTDbRelation", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginWriteMembers(1)) // empty, and written all the same
    {
        frame.enterSection();
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbRelation::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbRelation"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbRelation)
