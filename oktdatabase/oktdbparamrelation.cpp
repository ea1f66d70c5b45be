// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbparamrelation.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktwholeframe.h>

namespace
{
constexpr std::int64_t kFixedSize =
    emptyFrameSize("OKTDbParamRelation", emptyFrameSize("OKTDbRelation", kObjectFrame.size())) + kLongSize;
} // namespace

OKTDbParamRelation::OKTDbParamRelation() = default;

OKTDbParamRelation::OKTDbParamRelation(OKTDbParamRelation const &other) : OKTDbRelation(other) { *this = other; }

OKTDbParamRelation &OKTDbParamRelation::operator=(OKTDbParamRelation const &other)
{
    try
    {
        OKTDbRelation::operator=(other);
        m_tabParameters = other.m_tabParameters;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbParamRelation::~OKTDbParamRelation() = default;

void OKTDbParamRelation::appendParameter(OKTDbObjectId const &id)
try
{
    if (!m_tabParameters.contains(id))
        m_tabParameters.append(idForList(id));
}
OKT_ANSWER_NOTHING

void OKTDbParamRelation::removeParameter(OKTDbObjectId const &id) { m_tabParameters.remove(id); }

void OKTDbParamRelation::removeAllParameters() { m_tabParameters.removeAll(); }

void OKTDbParamRelation::getAllParameters(IdArray &ids) const
try
{
    ids = m_tabParameters;
}
OKT_ANSWER_NOTHING

int OKTDbParamRelation::parameterCount() const { return m_tabParameters.getSize(); }

OKTDbObjectId OKTDbParamRelation::parameterAt(int index) const
{
    return index < 0 || index >= m_tabParameters.getSize() ? OKTDbObjectId() : m_tabParameters.at(index);
}

FilerStatusDb OKTDbParamRelation::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    OktAnnounceFrame(*filer, kFixedSize + kIdSize * m_tabParameters.getSize());
    if (!filer->beginWriteClass(u"Object", u"OKTDbParamRelation", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbRelation::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        writeIdList(*filer, u"m_tabParameters", u"m_tabParameters.Length", m_tabParameters, frame);
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbParamRelation::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbParamRelation"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbRelation::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        readIdList(*filer, u"m_tabParameters", u"m_tabParameters.Length", m_tabParameters, frame);
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbParamRelation)
