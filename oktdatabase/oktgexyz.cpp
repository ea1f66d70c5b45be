// SPDX-License-Identifier: MIT
#include <oktdatabase/oktgexyz.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>

#include <cmath>

namespace
{
constexpr double kEqualSquare = 1e-20; // of the difference, per axis
constexpr double kOrderShare = 1e-10;  // absolute and relative

bool isNear(double left, double right) { return (left - right) * (left - right) <= kEqualSquare; }

double orderTolerance(double right) { return kOrderShare + kOrderShare * std::fabs(right); }

bool isAbove(double left, double right) { return left > right + orderTolerance(right); }

bool isBelow(double left, double right) { return right - orderTolerance(right) > left; }
} // namespace

OKTGeXYZ::OKTGeXYZ(double const &x, double const &y, double const &z) { setCoordinates(x, y, z); }

void OKTGeXYZ::setCoordinates(double const &x, double const &y, double const &z)
{
    m_dfX = x;
    m_dfY = y;
    m_dfZ = z;
}

void OKTGeXYZ::getCoordinates(double &x, double &y, double &z) const
{
    x = m_dfX;
    y = m_dfY;
    z = m_dfZ;
}

bool OKTGeXYZ::operator==(OKTGeXYZ const &other) const
{
    return isNear(m_dfX, other.m_dfX) && isNear(m_dfY, other.m_dfY) && isNear(m_dfZ, other.m_dfZ);
}

bool OKTGeXYZ::operator!=(OKTGeXYZ const &other) const { return !(*this == other); }

bool OKTGeXYZ::operator>(OKTGeXYZ const &other) const
{
    return isAbove(m_dfX, other.m_dfX) || isAbove(m_dfY, other.m_dfY) || isAbove(m_dfZ, other.m_dfZ);
}

bool OKTGeXYZ::operator<(OKTGeXYZ const &other) const
{
    return isBelow(m_dfX, other.m_dfX) || isBelow(m_dfY, other.m_dfY) || isBelow(m_dfZ, other.m_dfZ);
}

FilerStatusDb OKTGeXYZ::xmlOut(CString const &name, OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(name, u"OKTGeXYZ", 1))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeDouble(u"m_dfX", m_dfX));
        frame.fold(filer->writeDouble(u"m_dfY", m_dfY));
        frame.fold(filer->writeDouble(u"m_dfZ", m_dfZ));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTGeXYZ::xmlIn(CString const &name, OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(name, u"OKTGeXYZ"))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readDouble(u"m_dfX", m_dfX));
        frame.fold(filer->readDouble(u"m_dfY", m_dfY));
        frame.fold(filer->readDouble(u"m_dfZ", m_dfZ));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO
