// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbgroupcategory.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktwholeframe.h>

namespace
{
constexpr std::int64_t kFixedSize = emptyFrameSize("OKTDbGroupCategory", kObjectFrame.size()) + kLongSize;
} // namespace

OKTDbGroupCategory::OKTDbGroupCategory() = default;

OKTDbGroupCategory::OKTDbGroupCategory(OKTDbGroupCategory const &other) : OKTDbObject(other) { *this = other; }

OKTDbGroupCategory &OKTDbGroupCategory::operator=(OKTDbGroupCategory const &other)
{
    try
    {
        OKTDbObject::operator=(other);
        m_tabCategory = other.m_tabCategory;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbGroupCategory::~OKTDbGroupCategory() = default;

int OKTDbGroupCategory::categoryCount() const { return m_tabCategory.getSize(); }

OKTDbObjectId OKTDbGroupCategory::categoryAt(int const &index) const
{
    return index < 0 || index >= m_tabCategory.getSize() ? OKTDbObjectId() : m_tabCategory.at(index);
}

int OKTDbGroupCategory::findCategoryIndex(OKTDbObjectId const &id) const { return m_tabCategory.findIndex(id); }

void OKTDbGroupCategory::appendCategory(OKTDbObjectId const &id)
try
{
    if (!m_tabCategory.contains(id))
        m_tabCategory.append(idForList(id));
}
OKT_ANSWER_NOTHING

void OKTDbGroupCategory::removeCagegory(OKTDbObjectId const &id) { m_tabCategory.remove(id); }

void OKTDbGroupCategory::removeAllCategories() { m_tabCategory.removeAll(); }

void OKTDbGroupCategory::getAllCategories(IdArray &ids) const
try
{
    ids = m_tabCategory;
}
OKT_ANSWER_NOTHING

FilerStatusDb OKTDbGroupCategory::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    OktAnnounceFrame(*filer, kFixedSize + kIdSize * m_tabCategory.getSize());
    if (!filer->beginWriteClass(u"Object", u"OKTDbGroupCategory", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        writeIdList(*filer, u"m_tabCategory", u"m_tabCategory.Length", m_tabCategory, frame);
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbGroupCategory::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbGroupCategory"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        readIdList(*filer, u"m_tabCategory", u"m_tabCategory.Length", m_tabCategory, frame);
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbGroupCategory)
