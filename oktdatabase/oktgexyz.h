// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktfilerstatus.h>
#include <oktplatform/oktstring.h>

class OKTFiler;

/// A point or vector of three doubles. No unit is attached.
///
/// Equality is absolute and per axis: a difference whose square is at most 1e-20. The order operators are no ordering: each is
/// true as soon as one axis differs by more than 1e-10 plus 1e-10 of the right operand, so that a > b and a < b can both hold,
/// and two points can be unequal and yet neither greater nor smaller (quirk 68).
class OKT_API OKTGeXYZ
{
public:
    OKTGeXYZ() = default;
    /// From three coordinates; the default point is the origin.
    OKTGeXYZ(double const &x, double const &y, double const &z);

    /// The coordinates, one by one and all at once.
    double X() const { return m_dfX; }
    double Y() const { return m_dfY; }
    double Z() const { return m_dfZ; }
    void setX(double const &x) { m_dfX = x; }
    void setY(double const &y) { m_dfY = y; }
    void setZ(double const &z) { m_dfZ = z; }
    void setCoordinates(double const &x, double const &y, double const &z);
    void getCoordinates(double &x, double &y, double &z) const;

    /// Comparisons with tolerance, as told above.
    bool operator==(OKTGeXYZ const &other) const;
    bool operator!=(OKTGeXYZ const &other) const;
    bool operator>(OKTGeXYZ const &other) const;
    bool operator<(OKTGeXYZ const &other) const;

    /// The stored form under the member name of the caller. A failing read changes the point.
    FilerStatusDb xmlOut(CString const &name, OKTFiler *filer) const;
    FilerStatusDb xmlIn(CString const &name, OKTFiler *filer);

private:
    double m_dfX = 0.0;
    double m_dfY = 0.0;
    double m_dfZ = 0.0;
};
