// SPDX-License-Identifier: MIT
#include "oktdbangleparameter.h"

#include <oktdatabase/oktfiler.h>

#include <numbers>
#include <optional>

namespace
{
std::optional<double> degreesOf(OKTDbParameter const &parameter)
{
    tagVARIANT const value = parameter.Value();
    switch (value.vt)
    {
    case VT_R8: return value.dblVal;
    case VT_I4: return value.lVal;
    default: return std::nullopt;
    }
}
} // namespace

OKTDbAngleParameter::OKTDbAngleParameter() = default;

OKTDbAngleParameter::OKTDbAngleParameter(ParamType const &type, OKTDbObjectId const &owner) : OKTDbParameter(type, owner) {}

OKTDbAngleParameter::~OKTDbAngleParameter() = default;

bool OKTDbAngleParameter::setRange(double const &least, double const &most)
{
    if (!(least <= most))
        return false;
    m_dfLeast = least;
    m_dfMost = most;
    return true;
}

bool OKTDbAngleParameter::isInRange() const
try
{
    std::optional<double> const degrees = degreesOf(*this);
    return degrees && *degrees >= m_dfLeast && *degrees <= m_dfMost;
}
OKT_ANSWER_ZERO

double OKTDbAngleParameter::Radians() const
try
{
    return degreesOf(*this).value_or(0.0) * std::numbers::pi / 180.0;
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbAngleParameter::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", u"OKTDbAngleParameter", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbParameter::xmlOut(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    if (filer->beginWriteMembers(1))
    {
        any = true;
        ok = filer->writeDouble(u"m_dfLeast", m_dfLeast) && ok;
        ok = filer->writeDouble(u"m_dfMost", m_dfMost) && ok;
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbAngleParameter::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbAngleParameter"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbParameter::xmlIn(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    if (filer->beginReadMembers(1))
    {
        any = true;
        ok = filer->readDouble(u"m_dfLeast", m_dfLeast) && ok;
        ok = filer->readDouble(u"m_dfMost", m_dfMost) && ok;
        filer->endReadMembers();
    }
    filer->endReadClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbAngleParameter)
OKT_STORED_CLASS_REGISTRATION(OKTDbAngleParameter, OKTDbParameter)
