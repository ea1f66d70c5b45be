// SPDX-License-Identifier: MIT
#pragma once

#include <oktreport/pagevalue.h>

#include <string>
#include <vector>

namespace okt
{

/// One value of a fact: "A", 400 mm.
struct KeyFigure
{
    std::string label; ///< distinguishes it from the others; empty: it is the only one
    PageValue value;
};

/// The facts of a template that an engineer needs first: grade, diameter, legs. All texts are HTML.
struct KeyFact
{
    enum class Kind
    {
        Grade,
        Diameter,
        Shape,
        Legs,
        Length,
        Width,
        CuttingLength,
        Spacing,
        Number,
        Mass,     ///< of a bar
        WholeMass ///< of all bars
    };
    Kind kind = Kind::Grade;
    std::string name;
    std::vector<KeyFigure> figures;
    std::string note;
    bool isComputed = false; ///< it is not a parameter
};

/// Collects the facts from the parameters, in the order of the kinds, and computes the mass in kg: 7850 kg/m3 of steel. The parameters come in the
/// order in which the template lists them, from a pool in millimetres; of each its values are known.
std::vector<KeyFact> keyFactsOf(std::vector<OKTDbParameter const *> const &parameters, UnitValues const &values);

} // namespace okt
