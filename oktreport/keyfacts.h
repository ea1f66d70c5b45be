// SPDX-License-Identifier: MIT
#pragma once

#include <oktreport/pagevalue.h>

#include <string>
#include <vector>

namespace okt
{

/// One of the figures of a fact: "A", 400 mm.
struct KeyFigure
{
    std::string label; ///< what tells it from the others; empty: it is alone
    PageValue value;
};

/// What an engineer asks of a template first: its grade, its diameter, its legs. All texts are HTML.
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
    bool isComputed = false; ///< no parameter holds it
};

/// The facts that parameters tell, in the order of the kinds, and the mass in kg that follows from them: 7850 kg/m3 of steel. The parameters come in the
/// order in which the template lists them, from a pool in millimetres; of each its values are known.
std::vector<KeyFact> keyFactsOf(std::vector<OKTDbParameter const *> const &parameters, UnitValues const &values);

} // namespace okt
