// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/valuetext.h>

#include <oktdatabase/oktdatabase.h>

#include <array>
#include <map>
#include <string>

namespace okt
{

// Values of parameters as the page shows them, in five units.

/// One text for each unit of the page, in the order of kUnitNames.
using UnitTexts = std::array<std::string, kUnitNames.size()>;

/// A value in every unit of the page, as the library converts it. All texts are HTML.
struct PageValue
{
    UnitTexts texts;     ///< with as many digits as a drawing needs
    UnitTexts exact;     ///< with all digits
    UnitTexts units;     ///< of a value that is converted
    std::string ownUnit; ///< of a value that is not converted; empty: it has no unit, or it is not known
    std::string folded;  ///< a long text, with its rest folded away
    bool isNumber = false;
    bool isAbsent = false;
    bool isConverted = false;   ///< it differs between the units
    bool isUnitMissing = false; ///< a diameter whose unit is not known
};

/// The values of the parameters of a pool.
using UnitValues = std::map<OKTDbObjectId, PageValue>;

/// Adds the values of the pool in that unit.
void putValues(UnitValues &values, std::size_t unit, OKTDbPool &pool);

/// A diameter is in the drawing unit of its template. If its description does not name the unit, the index of the pool
/// may name it.
void completeDiameters(UnitValues &values, OKTDbPool &pool);

/// The unit to write after the value; empty: it has no unit, or it is not known.
std::string const &unitOf(PageValue const &value, std::size_t unit);

/// A kind of value in words: "whole number".
std::string kindWord(VARTYPE kind);

/// A length with as many digits as a drawing needs.
std::string lengthText(double value, std::size_t unit);
/// A number that is not a length, with at most four decimals.
std::string figureText(double value);

/// The unit that the description of a diameter names: the first word that is a unit of length; empty: it names none.
std::string lengthUnitIn(std::string const &description);
/// The unit that the description of another number names, at its beginning or after "in": "Degrees", "Of one bar, in kilograms".
std::string unitIn(std::string const &description);

} // namespace okt
