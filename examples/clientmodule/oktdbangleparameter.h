// SPDX-License-Identifier: MIT
#pragma once

#include "exampleexport.h"

#include <oktdatabase/oktdbparameter.h>

/// A parameter whose value is an angle in degrees, with the range that it may take: a hook angle of 90 to 180, for instance. It
/// is an OKTDbParameter to everybody who does not know it better: categories list it, relations tie it, hosts show it.
class OKT_EXAMPLE_API OKTDbAngleParameter : public OKTDbParameter
{
    OKT_STORED_CLASS(OKTDbAngleParameter)

    /// From 0 to 360.
    OKTDbAngleParameter();
    OKTDbAngleParameter(ParamType const &type, OKTDbObjectId const &owner);
    OKTDbAngleParameter(OKTDbAngleParameter const &) = default;
    OKTDbAngleParameter &operator=(OKTDbAngleParameter const &) = default;
    ~OKTDbAngleParameter() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    double Least() const { return m_dfLeast; }
    double Most() const { return m_dfMost; }
    /// False, and the range stays, when `least` is above `most` or one is not a number. The value is left alone.
    bool setRange(double const &least, double const &most);
    /// False for an angle outside the range, and for a value that is no number.
    bool isInRange() const;
    /// The value in radians; 0 for a value that is no number.
    double Radians() const;

private:
    double m_dfLeast = 0.0;
    double m_dfMost = 360.0;
};
