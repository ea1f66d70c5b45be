// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbcategory.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktwholeframe.h>

namespace
{
// All but the units of the name and the parameters.
constexpr std::int64_t kFixedSize = emptyFrameSize("OKTDbCategory", kObjectFrame.size()) + kIdSize + kLongSize + kTextHead;
} // namespace

OKTDbCategory::OKTDbCategory() = default;

OKTDbCategory::OKTDbCategory(OKTDbCategory const &other) : OKTDbObject(other) { *this = other; }

OKTDbCategory &OKTDbCategory::operator=(OKTDbCategory const &other)
{
    try
    {
        OKTDbObject::operator=(other);
        m_idGroupCategory = other.m_idGroupCategory;
        m_tabParameters = other.m_tabParameters;
        m_strCategoryName = other.m_strCategoryName;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbCategory::~OKTDbCategory() = default;

int OKTDbCategory::parameterCount() const { return m_tabParameters.getSize(); }

OKTDbObjectId OKTDbCategory::parameterAt(int index) const
{
    return index < 0 || index >= m_tabParameters.getSize() ? OKTDbObjectId() : m_tabParameters.at(index);
}

int OKTDbCategory::findParameterIndex(OKTDbObjectId const &id) const { return m_tabParameters.findIndex(id); }

void OKTDbCategory::appendParameter(OKTDbObjectId const &id)
try
{
    if (!m_tabParameters.contains(id))
        m_tabParameters.append(idForList(id));
}
OKT_ANSWER_NOTHING

void OKTDbCategory::removeParameter(OKTDbObjectId const &id) { m_tabParameters.remove(id); }

void OKTDbCategory::removeAllParameters() { m_tabParameters.removeAll(); }

void OKTDbCategory::getAllParameters(IdArray &ids) const
try
{
    ids = m_tabParameters;
}
OKT_ANSWER_NOTHING

void OKTDbCategory::setCategoryName(CString const &name)
try
{
    m_strCategoryName = name.Owned();
}
OKT_ANSWER_NOTHING

CString OKTDbCategory::CategoryName() const { return m_strCategoryName; }

void OKTDbCategory::setGroupCategory(OKTDbObjectId const &id) { m_idGroupCategory = id; }

OKTDbObjectId OKTDbCategory::GroupCategory() const { return m_idGroupCategory; }

FilerStatusDb OKTDbCategory::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    OktAnnounceFrame(*filer,
                     kFixedSize + std::int64_t{2} * m_strCategoryName.GetLength() + kIdSize * m_tabParameters.getSize());
    if (!filer->beginWriteClass(u"Object", u"OKTDbCategory", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_idGroupCategory", m_idGroupCategory));
        writeIdList(*filer, u"m_tabParameters", u"m_tabParameters.Length", m_tabParameters, frame);
        frame.fold(filer->writeString(u"m_strCategoryName", m_strCategoryName));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbCategory::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbCategory"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_idGroupCategory", m_idGroupCategory));
        readIdList(*filer, u"m_tabParameters", u"m_tabParameters.Length", m_tabParameters, frame);
        frame.fold(filer->readString(u"m_strCategoryName", m_strCategoryName));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbCategory)
