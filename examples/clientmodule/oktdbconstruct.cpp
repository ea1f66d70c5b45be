// SPDX-License-Identifier: MIT
#include "oktdbconstruct.h"

#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktfiler.h>

#include <algorithm>
#include <cmath>

namespace
{
OKTGeXYZ scaled(OKTGeXYZ const &point, double factor) { return {point.X() * factor, point.Y() * factor, point.Z() * factor}; }

OKTGeXYZ between(OKTGeXYZ const &from, OKTGeXYZ const &to) { return {to.X() - from.X(), to.Y() - from.Y(), to.Z() - from.Z()}; }

double dot(OKTGeXYZ const &a, OKTGeXYZ const &b) { return a.X() * b.X() + a.Y() * b.Y() + a.Z() * b.Z(); }

double length(OKTGeXYZ const &vector) { return std::sqrt(dot(vector, vector)); }

// How far a polyline turns between two of its legs: 0 straight on, pi back again.
double turn(OKTGeXYZ const &before, OKTGeXYZ const &after)
{
    double const lengths = length(before) * length(after);
    return lengths > 0.0 ? std::acos(std::clamp(dot(before, after) / lengths, -1.0, 1.0)) : 0.0;
}

CString memberAt(CString const &list, int index)
{
    CString name;
    name.Format(u"%s.%d", list, index);
    return name;
}
} // namespace

OKTDbConstruct::OKTDbConstruct() = default;

OKTDbConstruct::~OKTDbConstruct() = default;

OKTGeXYZ OKTDbConstruct::pointAt(int index) const
try
{
    return index < 0 || index >= m_tabPoints.getSize() ? OKTGeXYZ() : m_tabPoints.at(index);
}
OKT_ANSWER_ZERO

double OKTDbConstruct::bendRadiusAt(int index) const
try
{
    return index <= 0 || index >= m_tabBendRadii.getSize() - 1 ? 0.0 : m_tabBendRadii.at(index);
}
OKT_ANSWER_ZERO

void OKTDbConstruct::appendPoint(OKTGeXYZ const &point, double const &bendRadius)
try
{
    m_tabPoints.append(point);
    m_tabBendRadii.append(bendRadius);
}
OKT_ANSWER_NOTHING

void OKTDbConstruct::removeAllPoints()
{
    m_tabPoints.removeAll();
    m_tabBendRadii.removeAll();
}

double OKTDbConstruct::polylineLength() const
try
{
    double sum = 0.0;
    for (int i = 1; i < m_tabPoints.getSize(); ++i)
        sum += length(between(m_tabPoints.at(i - 1), m_tabPoints.at(i)));
    return sum;
}
OKT_ANSWER_ZERO

double OKTDbConstruct::developedLength() const
try
{
    double sum = polylineLength();
    for (int i = 1; i + 1 < m_tabPoints.getSize(); ++i)
    {
        double const angle =
            turn(between(m_tabPoints.at(i - 1), m_tabPoints.at(i)), between(m_tabPoints.at(i), m_tabPoints.at(i + 1)));
        double const radius = m_tabBendRadii.at(i) + m_dfDiameter / 2.0;
        sum += radius * (angle - 2.0 * std::tan(angle / 2.0)); // an arc in place of the two tangents
    }
    return sum;
}
OKT_ANSWER_ZERO

double OKTDbConstruct::metricsFactor() const { return OKTDbPool::metricsFactorOf(objectId().getPool()); }

FilerStatusDb OKTDbConstruct::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Object", u"OKTDbConstruct", 1))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    double const toMetres = 1.0 / metricsFactor();
    if (filer->beginWriteMembers(1))
    {
        any = true;
        ok = filer->writeDouble(u"m_dfDiameter", m_dfDiameter * toMetres) && ok;
        int const count = m_tabPoints.getSize();
        ok = filer->writeInt(u"m_tabPoints.Length", count) && ok;
        for (int i = 0; i < count && ok; ++i)
        {
            ok = filer->writePoint3d(memberAt(u"m_tabPoints", i), scaled(m_tabPoints.at(i), toMetres)) && ok;
            ok = filer->writeDouble(memberAt(u"m_tabBendRadii", i), m_tabBendRadii.at(i) * toMetres) && ok;
        }
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbConstruct::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbConstruct"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    bool any = false;
    bool ok = true;
    double const fromMetres = metricsFactor(); // of the pool that reads, which the id brought
    if (filer->beginReadMembers(1))
    {
        any = true;
        ok = filer->readDouble(u"m_dfDiameter", m_dfDiameter) && ok;
        m_dfDiameter *= fromMetres;
        removeAllPoints();
        int count = 0;
        ok = filer->readInt(u"m_tabPoints.Length", count) && ok;
        for (int i = 0; i < count && ok; ++i) // a count may lie: the list ends with the first point that is not there
        {
            OKTGeXYZ point;
            double radius = 0.0;
            ok = filer->readPoint3d(memberAt(u"m_tabPoints", i), point) && ok;
            ok = filer->readDouble(memberAt(u"m_tabBendRadii", i), radius) && ok;
            if (ok)
                appendPoint(scaled(point, fromMetres), radius * fromMetres);
        }
        filer->endReadMembers();
    }
    filer->endReadClass();
    return !any ? eFilerNoMembers : ok ? eFilerOk : eFilerMemberFailed;
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbConstruct)
OKT_STORED_CLASS_REGISTRATION(OKTDbConstruct, OKTDbObject)
