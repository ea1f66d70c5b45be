// SPDX-License-Identifier: MIT
#pragma once

#include "exampleexport.h"

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktgexyz.h>

/// The geometry of a bar: the polyline of its centre line with sharp corners, the bar's diameter, and the inside radius of each
/// bend. The pool knows this class by name: constructId is the id of the one construct of a template.
///
///     auto *construct = new OKTDbConstruct;
///     construct->setDiameter(12.0);
///     construct->appendPoint(OKTGeXYZ(0.0, 0.0, 0.0));
///     construct->appendPoint(OKTGeXYZ(300.0, 0.0, 0.0), 24.0); // a bend here
///     construct->appendPoint(OKTGeXYZ(300.0, 200.0, 0.0));
///     pool.appendObject(construct); // the pool owns it from here on
///
/// All lengths are in the drawing units of the pool and are stored in metres: the construct divides by the metrics factor of its
/// pool when it writes itself, and multiplies when it is read. Outside a pool nothing is converted.
class OKT_EXAMPLE_API OKTDbConstruct : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbConstruct)

    OKTDbConstruct();
    OKTDbConstruct(OKTDbConstruct const &) = default;
    OKTDbConstruct &operator=(OKTDbConstruct const &) = default;
    ~OKTDbConstruct() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    double Diameter() const { return m_dfDiameter; }
    void setDiameter(double const &diameter) { m_dfDiameter = diameter; }

    int pointCount() const { return m_tabPoints.getSize(); }
    /// The origin outside the polyline.
    OKTGeXYZ pointAt(int index) const;
    /// The inside radius of the bend at a point; 0 at both ends and outside the polyline.
    double bendRadiusAt(int index) const;
    /// `bendRadius` is that of the bend at this point, which counts as soon as another point follows.
    void appendPoint(OKTGeXYZ const &point, double const &bendRadius = 0.0);
    void removeAllPoints();

    /// The length of the polyline, corner to corner.
    double polylineLength() const;
    /// The length of the centre line with its bends rounded: what is cut off the stock.
    double developedLength() const;

private:
    double metricsFactor() const;

    OKTArray<OKTGeXYZ, OKTGeXYZ const &> m_tabPoints;
    OKTArray<double, double const &> m_tabBendRadii; // one for each point
    double m_dfDiameter = 0.0;
};
