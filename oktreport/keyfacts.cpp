// SPDX-License-Identifier: MIT
#include <oktreport/keyfacts.h>

#include <oktreport/html.h>

#include <oktformat/text.h>
#include <oktrebar/templateplan.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace okt
{

namespace
{

using Kind = KeyFact::Kind;

constexpr double kSteel = 7850; ///< kg/m3, EN 10080
constexpr double kPi = 3.14159265358979323846;
constexpr double kMmPerMetre = 1000;
constexpr double kPoundsPerKilogram = 1 / 0.45359237;
constexpr int kMassDigits = 3;
constexpr double kMostBars = 1e6;

constexpr std::size_t kLongestLabel = 40;
constexpr std::size_t kLongestNote = 160;

/// The number of millimetres of a unit; 0: the text is not a unit.
double millimetres(std::string const &unit)
{
    DisplayUnit const *const known = findUnit(unit);
    return known == nullptr ? 0 : kMmPerMetre / known->factor;
}

std::string lowered(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string nameOf(OKTDbParameter const &parameter) { return printable(parameter.UserName()); }

bool beginsWith(OKTDbParameter const &parameter, std::string const &word)
{
    std::string const name = lowered(nameOf(parameter));
    return name.starts_with(word) && (name.size() == word.size() || name[word.size()] == ' ');
}

std::optional<double> numberOf(OKTDbParameter const &parameter)
{
    tagVARIANT const value = parameter.Value();
    switch (value.vt)
    {
    case VT_I2: return value.iVal;
    case VT_I4: return value.lVal;
    case VT_R4:
    case VT_R8: return std::isfinite(value.dblVal) ? std::optional(value.dblVal) : std::nullopt;
    default: return std::nullopt;
    }
}

bool isMass(OKTDbParameter const &parameter)
{
    return beginsWith(parameter, "mass") && unitIn(parameter.Description().ToUtf8()) == "kg";
}

/// The fact that a parameter belongs to.
std::optional<Kind> kindOf(OKTDbParameter const &parameter)
{
    switch (parameter.Type())
    {
    case types::kSteelGrade: return Kind::Grade;
    case types::kDiameter: return Kind::Diameter;
    case types::kShapeCode: return Kind::Shape;
    case types::kWidth: return Kind::Width;
    case types::kSpacing: return Kind::Spacing;
    case types::kNumber: return isMass(parameter) ? Kind::Mass : Kind::Number;
    case types::kLength:
        if (beginsWith(parameter, "cutting length"))
            return Kind::CuttingLength;
        // A length in a list is a leg, in whatever language it is named.
        return parameter.ListIndex() != 0 || beginsWith(parameter, "leg") ? Kind::Legs : Kind::Length;
    default: return std::nullopt;
    }
}

char const *titleOf(Kind kind)
{
    switch (kind)
    {
    case Kind::Grade: return "Grade";
    case Kind::Diameter: return "Diameter";
    case Kind::Shape: return "Shape";
    case Kind::Legs: return "Legs";
    case Kind::Length: return "Length";
    case Kind::Width: return "Width";
    case Kind::CuttingLength: return "Cutting length";
    case Kind::Spacing: return "Spacing";
    case Kind::Number: return "Number";
    case Kind::Mass: return "Mass of a bar";
    case Kind::WholeMass: return "Mass of all bars";
    }
    return "";
}

/// Removes the common beginning of the parameter names of a fact from their labels.
char const *stemOf(Kind kind)
{
    switch (kind)
    {
    case Kind::Legs: return "leg ";
    case Kind::CuttingLength: return "cutting length ";
    case Kind::Spacing: return "spacing ";
    case Kind::Number: return "number ";
    case Kind::Diameter: return "diameter ";
    default: return "";
    }
}

std::string labelOf(OKTDbParameter const &parameter, Kind kind)
{
    std::string name = nameOf(parameter);
    std::string const stem = stemOf(kind);
    if (lowered(name).starts_with(stem))
        name.erase(0, stem.size());
    return escapedLine(shortened(name, kLongestLabel));
}

/// A mass in kilograms, in pounds where lengths are in inches or feet.
PageValue massValue(double kilograms)
{
    PageValue value;
    value.isNumber = true;
    value.isConverted = true;
    for (std::size_t unit = 0; unit < kUnitNames.size(); ++unit)
    {
        std::string const length = kUnitNames[unit];
        bool const isImperial = length == "in" || length == "ft";
        double const mass = isImperial ? kilograms * kPoundsPerKilogram : kilograms;
        bool const isLong = mass >= std::pow(10.0, kMassDigits);
        value.texts[unit] = isLong ? number(std::round(mass)) : rounded(mass, kMassDigits);
        value.exact[unit] = value.texts[unit];
        value.units[unit] = isImperial ? "lb" : "kg";
    }
    return value;
}

class KeyFacts
{
public:
    KeyFacts(std::vector<OKTDbParameter const *> const &parameters, UnitValues const &values)
        : m_parameters(parameters), m_values(values)
    {
        for (OKTDbParameter const *const parameter : parameters)
            if (std::optional<Kind> const kind = kindOf(*parameter))
                m_byKind[*kind].push_back(parameter);
    }

    std::vector<KeyFact> facts()
    {
        std::vector<KeyFact> result;
        for (auto const &[kind, parameters] : m_byKind)
            if (KeyFact fact = factOf(kind, parameters); !fact.figures.empty())
                result.push_back(std::move(fact));
        masses(result);
        return result;
    }

private:
    /// Only the first parameter of these kinds becomes a fact; all are in the list of parameters.
    static bool isSingle(Kind kind) { return kind == Kind::Grade || kind == Kind::Shape || kind == Kind::Width; }

    KeyFact factOf(Kind kind, std::vector<OKTDbParameter const *> const &parameters) const
    {
        KeyFact fact;
        fact.kind = kind;
        fact.name = titleOf(kind);
        for (OKTDbParameter const *const parameter : parameters)
        {
            auto const value = m_values.find(parameter->objectId());
            if (value == m_values.end() || value->second.isAbsent || value->second.texts[0].empty())
                continue;
            if (fact.figures.empty() || !isSingle(kind))
                fact.figures.push_back({labelOf(*parameter, kind), value->second});
        }
        if (fact.figures.size() == 1)
            fact.figures.front().label.clear();
        if (kind == Kind::Shape)
            fact.note = shapeNote(*parameters.front());
        if (kind == Kind::Mass)
            fact.note = "as the template tells";
        return fact;
    }

    std::string shapeNote(OKTDbParameter const &shape) const
    {
        std::string note = printable(shape.Description());
        for (OKTDbParameter const *const parameter : m_parameters)
            if (tagVARIANT const value = parameter->Value();
                parameter->Type() == types::kShapeStandard && value.vt == VT_BSTR && SysStringLen(value.bstrVal) > 0)
            {
                CString const standard(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)));
                note += (note.empty() ? "" : ", ") + printable(standard);
                break;
            }
        return escapedLine(shortened(note, kLongestNote));
    }

    // Mass

    /// The mass of one metre of bar; empty: the unit of the diameter is not known, or there are several diameters.
    std::optional<double> kilogramsPerMetre() const
    {
        auto const diameters = m_byKind.find(Kind::Diameter);
        if (diameters == m_byKind.end() || diameters->second.size() != 1)
            return std::nullopt;
        OKTDbParameter const &diameter = *diameters->second.front();
        std::optional<double> const figure = numberOf(diameter);
        auto const value = m_values.find(diameter.objectId());
        if (!figure || *figure <= 0 || value == m_values.end())
            return std::nullopt;
        double const metres = *figure * millimetres(value->second.ownUnit) / kMmPerMetre;
        return metres > 0 ? std::optional(kPi / 4 * metres * metres * kSteel) : std::nullopt;
    }

    /// The number of bars of a length: the "Number" parameter with the same list index.
    std::optional<double> countOf(int listIndex) const
    {
        auto const numbers = m_byKind.find(Kind::Number);
        if (numbers == m_byKind.end())
            return std::nullopt;
        for (OKTDbParameter const *const parameter : numbers->second)
            if (parameter->ListIndex() == listIndex)
                if (std::optional<double> const count = numberOf(*parameter);
                    count && *count >= 1 && *count <= kMostBars && *count == std::floor(*count))
                    return count;
        return std::nullopt;
    }

    void masses(std::vector<KeyFact> &facts) const
    {
        if (auto const told = m_byKind.find(Kind::Mass); told != m_byKind.end())
        {
            toldMass(*told->second.front(), facts);
            return;
        }
        auto const lengths = m_byKind.find(Kind::CuttingLength);
        std::optional<double> const perMetre = kilogramsPerMetre();
        if (lengths == m_byKind.end() || !perMetre)
            return;
        KeyFact one{Kind::Mass, titleOf(Kind::Mass), {}, "by 7850\xC2\xA0kg/m\xC2\xB3", true};
        std::optional<double> bars = 0;
        double whole = 0;
        for (OKTDbParameter const *const parameter : lengths->second)
        {
            std::optional<double> const length = numberOf(*parameter); // in millimetres
            if (!length || *length <= 0)
                return;
            double const mass = *perMetre * *length / kMmPerMetre;
            bool const isAlone = lengths->second.size() == 1;
            one.figures.push_back({isAlone ? "" : labelOf(*parameter, Kind::CuttingLength), massValue(mass)});
            std::optional<double> const count = countOf(parameter->ListIndex());
            bars = bars && count ? std::optional(*bars + *count) : std::nullopt;
            whole += mass * count.value_or(0);
        }
        facts.push_back(std::move(one));
        addWhole(bars, whole, facts);
    }

    /// For a template with a parameter for the mass of one bar: the mass of all bars.
    void toldMass(OKTDbParameter const &mass, std::vector<KeyFact> &facts) const
    {
        std::optional<double> const count = countOf(0);
        if (std::optional<double> const kilograms = numberOf(mass); kilograms && *kilograms > 0 && count)
            addWhole(count, *kilograms * *count, facts);
    }

    static void addWhole(std::optional<double> bars, double kilograms, std::vector<KeyFact> &facts)
    {
        if (!bars || *bars <= 1)
            return;
        std::string const name = "Mass of " + counted(static_cast<std::uint64_t>(*bars), "bar");
        facts.push_back({Kind::WholeMass, name, {{"", massValue(kilograms)}}, "", true});
    }

    std::vector<OKTDbParameter const *> const &m_parameters;
    UnitValues const &m_values;
    std::map<Kind, std::vector<OKTDbParameter const *>> m_byKind;
};

} // namespace

std::vector<KeyFact> keyFactsOf(std::vector<OKTDbParameter const *> const &parameters, UnitValues const &values)
{
    return KeyFacts(parameters, values).facts();
}

} // namespace okt
