// SPDX-License-Identifier: MIT
#include "oktdbindexdata.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktfiler.h>

namespace
{
CString keywordName(int index)
{
    CString name;
    name.Format(u"m_tabKeywords.%d", index);
    return name;
}

int countOf(OKTDbPool const &pool, OKTRuntimeClass *descriptor)
{
    IdArray ids;
    pool.collectEntities(descriptor, ids);
    return ids.getSize();
}
} // namespace

OKTDbIndexData::OKTDbIndexData() = default;

OKTDbIndexData::~OKTDbIndexData() = default;

// Texts that an object keeps are its own: a literal in another module may go away.

void OKTDbIndexData::setTitle(CString const &title)
try
{
    m_strTitle = title.Owned();
}
OKT_ANSWER_NOTHING

void OKTDbIndexData::setUnit(CString const &unit)
try
{
    m_strUnit = unit.Owned();
}
OKT_ANSWER_NOTHING

CString OKTDbIndexData::keywordAt(int index) const
try
{
    return index < 0 || index >= m_tabKeywords.GetSize() ? CString() : m_tabKeywords.GetAt(index);
}
OKT_ANSWER_ZERO

void OKTDbIndexData::appendKeyword(CString const &keyword)
try
{
    if (keyword.IsEmpty())
        return;
    for (int i = 0; i < m_tabKeywords.GetSize(); ++i)
        if (m_tabKeywords.GetAt(i) == keyword)
            return;
    m_tabKeywords.Add(keyword.Owned());
}
OKT_ANSWER_NOTHING

void OKTDbIndexData::removeAllKeywords() { m_tabKeywords.RemoveAll(); }

void OKTDbIndexData::setCounts(int parameters, int categories, int pictures)
{
    m_nParameters = parameters;
    m_nCategories = categories;
    m_nPictures = pictures;
}

void OKTDbIndexData::countObjects(OKTDbPool const &pool)
try
{
    setCounts(countOf(pool, OKTDbParameter::desc()), countOf(pool, OKTDbCategory::desc()), pool.picturesId().getSize());
}
OKT_ANSWER_NOTHING

FilerStatusDb OKTDbIndexData::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", u"OKTDbIndexData", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    if (filer->beginWriteMembers(1))
    {
        any = true;
        ok = filer->writeString(u"m_strTitle", m_strTitle) && ok;
        int const count = m_tabKeywords.GetSize();
        ok = filer->writeInt(u"m_tabKeywords.Length", count) && ok;
        for (int i = 0; i < count && ok; ++i)
            ok = filer->writeString(keywordName(i), m_tabKeywords.GetAt(i)) && ok;
        ok = filer->writeInt(u"m_nParameters", m_nParameters) && ok;
        ok = filer->writeInt(u"m_nCategories", m_nCategories) && ok;
        ok = filer->writeInt(u"m_nPictures", m_nPictures) && ok;
        ok = filer->writeString(u"m_strUnit", m_strUnit) && ok;
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbIndexData::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbIndexData"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    if (filer->beginReadMembers(1))
    {
        any = true;
        ok = filer->readString(u"m_strTitle", m_strTitle) && ok;
        m_tabKeywords.RemoveAll();
        int count = 0;
        ok = filer->readInt(u"m_tabKeywords.Length", count) && ok;
        for (int i = 0; i < count && ok; ++i) // a count may lie: the list ends with the first text that is not there
        {
            CString keyword;
            ok = filer->readString(keywordName(i), keyword) && ok;
            if (ok)
                m_tabKeywords.Add(keyword);
        }
        ok = filer->readInt(u"m_nParameters", m_nParameters) && ok;
        ok = filer->readInt(u"m_nCategories", m_nCategories) && ok;
        ok = filer->readInt(u"m_nPictures", m_nPictures) && ok;
        ok = filer->readString(u"m_strUnit", m_strUnit) && ok;
        filer->endReadMembers();
    }
    filer->endReadClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbIndexData)
OKT_STORED_CLASS_REGISTRATION(OKTDbIndexData, OKTDbObject)
