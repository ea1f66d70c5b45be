// SPDX-License-Identifier: MIT
#include <oktrebar/recordtemplate.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/planline.h>
#include <oktrebar/shapecode.h>
#include <oktrebar/tabletext.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace okt
{

namespace
{

using namespace types;

constexpr char kStandardName[] = "BF2D";
// Files store metres, so the last bits of a length may change.
constexpr int kDigits = 12;

// The texts of a record are parameters of one type, told apart by their list index.
constexpr int kProject = 1;
constexpr int kDrawing = 2;
constexpr int kIndex = 3;
constexpr int kPosition = 4;
constexpr int kOther = 5;
constexpr int kLine = 6;
constexpr int kMass = 1; ///< list index of a number

// EN 10080: deviation from the nominal mass.
constexpr double kThinBar = 8;
constexpr double kThinBarTolerance = 0.06;
constexpr double kTolerance = 0.045;
constexpr double kRounding = 0.0005; ///< a mass is written with three decimals

/// Compares a number with one that was stored in a file.
double snapped(double value)
{
    std::string const text = rounded(value, kDigits);
    double result = value;
    readNumber(text.data(), text.data() + text.size(), result);
    return result;
}

ParameterPlan parameter(ParameterKey key, std::variant<double, int, bool, std::string> value, std::string name,
                        std::string description = "")
{
    ParameterPlan plan;
    plan.key = key;
    plan.value = std::move(value);
    plan.name = std::move(name);
    plan.isNameWhole = !plan.name.empty();
    plan.description = std::move(description);
    return plan;
}

CategoryPlan legsOf(Bf2dRecord const &record)
{
    CategoryPlan category{"Legs", {}};
    for (std::size_t i = 0; i < record.legs.size(); ++i)
    {
        int const number = static_cast<int>(i) + 1;
        std::string const place = std::to_string(number);
        bool const isLast = i + 1 == record.legs.size();
        category.parameters.push_back(parameter({kLength, number}, record.legs[i].length, "Leg " + place, "Outer dimension"));
        ParameterPlan angle =
            parameter({kHookAngle1, number}, record.legs[i].angle, "Bend " + place,
                      isLast ? "Degrees; behind the last leg there is no bend" : "Degrees, positive to the left");
        angle.inBend = !isLast;
        category.parameters.push_back(std::move(angle));
    }
    return category;
}

/// The parameters of a pool by type and list index; of several the first in the order of ids.
class Figures
{
public:
    Figures(OKTDbPool &pool, std::string const &file) : m_file(file)
    {
        IdArray ids;
        pool.collectEntities(OKTDbParameter::desc(), ids);
        for (int i = 0; i < ids.getSize(); ++i)
        {
            OKTDbObject *object = nullptr;
            pool.findObject(ids.at(i), object);
            if (OKTDbParameter const *const parameter = OKTDbParameter::cast(object))
                m_parameters.emplace(std::pair(static_cast<int>(parameter->Type()), parameter->ListIndex()), parameter);
        }
    }

    std::optional<std::string> text(int type, int listIndex) const
    {
        OKTDbParameter const *const parameter = find(type, listIndex);
        if (parameter == nullptr)
            return std::nullopt;
        tagVARIANT const value = parameter->Value();
        return value.vt == VT_BSTR ? std::optional(CString(value.bstrVal).ToUtf8()) : std::nullopt;
    }

    std::optional<double> real(int type, int listIndex) const
    {
        OKTDbParameter const *const parameter = find(type, listIndex);
        if (parameter == nullptr)
            return std::nullopt;
        tagVARIANT const value = parameter->Value();
        if (value.vt == VT_R8)
            return snapped(value.dblVal);
        if (value.vt == VT_I4)
            return value.lVal;
        return std::nullopt;
    }

    std::string needText(int type, int listIndex, char const *what) const
    {
        std::optional<std::string> const value = text(type, listIndex);
        return value ? *value : refuse(what);
    }

    double need(int type, int listIndex, char const *what) const
    {
        std::optional<double> const value = real(type, listIndex);
        if (!value)
            refuse(what);
        return *value;
    }

private:
    OKTDbParameter const *find(int type, int listIndex) const
    {
        auto const found = m_parameters.find({type, listIndex});
        return found == m_parameters.end() ? nullptr : found->second;
    }

    [[noreturn]] std::string refuse(char const *what) const
    {
        throw Failure(m_file, "", sentence("a BF2D record needs {}, which the template does not have", what));
    }

    std::string const &m_file;
    std::map<std::pair<int, int>, OKTDbParameter const *> m_parameters;
};

/// Records of one position differ in the name of their file.
std::string titleOf(Bf2dRecord const &record, std::string const &stem)
{
    std::string place = record.project;
    for (auto const &[part, before] : {std::pair(&record.drawing, " "), std::pair(&record.position, "/")})
        if (!part->empty())
            place += (place.empty() ? "" : before) + *part;
    return sentence("{}{} mm, {}", record.legs.size() == 1 ? "Straight bar, " : "Bent bar, ", number(record.diameter),
                    place.empty() ? stem : sentence("{} ({})", place, stem));
}

BarSize const *sizeOf(BarTable const &bars, double diameter)
{
    for (BarSize const &size : bars.sizes)
        if (size.diameter == diameter)
            return &size;
    return nullptr;
}

} // namespace

std::string bf2dRefusal(Bf2dRecord const &record, BarTable const &bars)
{
    BarSize const *const size = sizeOf(bars, record.diameter);
    if (size == nullptr)
        return sentence("{} has no row for {} mm", bars.file, number(record.diameter));
    double const expected = record.length / 1000 * size->mass;
    double const part = record.diameter > kThinBar ? kTolerance : kThinBarTolerance;
    if (std::abs(record.mass - expected) > expected * part + kRounding)
        return sentence("the mass \"e\" is {} kg, by length and table it is {} kg, more than {} % away", number(record.mass),
                        rounded(expected, 5), number(part * 100));
    std::vector<double> const straights = straightsOf(record.legs, record.mandrel / 2, record.diameter);
    for (std::size_t i = 0; i < straights.size(); ++i)
        if (straights[i] < -1e-9)
        {
            bool const hasTwo = i > 0 && i + 1 < straights.size();
            return sentence("leg {} is too short for its {}, by {} mm", i + 1, hasTwo ? "bends" : "bend",
                            rounded(-straights[i], 3));
        }
    return "";
}

TemplatePlan bf2dPlan(Bf2dRecord const &record, std::string const &line, std::string const &stem)
{
    TemplatePlan plan;
    plan.kind = TemplateKind::Bent;
    plan.fileName = stem + ".okt";
    plan.poolName = titleOf(record, stem);
    ShapeCode const shape = shapeCodeOf(record.legs, record.mandrel / 2, record.diameter);
    ParameterPlan diameter = parameter({kDiameter, 0}, record.diameter, "", "Nominal diameter in millimetres");
    diameter.inBend = true;
    ParameterPlan radius = parameter({kBendingRadius, 0}, record.mandrel / 2, "", "Inside of the bends: half the mandrel");
    radius.inBend = true;
    CategoryPlan const bar{"Bar",
                           {parameter({kStandard, 0}, std::string(kStandardName), "", "Came from a bar record"),
                            parameter({kSteelGrade, 0}, record.grade, ""), diameter,
                            parameter({kShapeStandard, 0}, std::string("BS 8666:2005"), "", "Codes only"),
                            parameter({kShapeCode, 0}, shape.code, "", shape.what),
                            parameter({kLength, 0}, record.length, "Length", "The sum of the legs"),
                            parameter({kNumber, 0}, record.count, "", "Bars"),
                            parameter({kNumber, kMass}, record.mass, "Mass", "Of one bar, in kilograms")}};
    auto const text = [](int index, std::string const &value, char const *name, char const *description) {
        return parameter({kStandard, index}, value, name, description);
    };
    CategoryPlan origin{"Record",
                        {text(kProject, record.project, "Project", "Field j"),
                         text(kDrawing, record.drawing, "Drawing", "Field r"), text(kIndex, record.index, "Index", "Field i"),
                         text(kPosition, record.position, "Position", "Field p")}};
    if (record.other)
        origin.parameters.push_back(text(kOther, *record.other, "Field v", "Kept as it came"));
    origin.parameters.push_back(text(kLine, line, "Line", "As it was read; it counts for as long as it says the same"));
    plan.categories = {bar, legsOf(record), {"Bend", {radius}}, origin};
    return plan;
}

Bf2dPlans bf2dPlans(std::filesystem::path const &file, BarTable const &bars)
{
    std::string const name = pathName(file);
    std::string const text = recordText(name, readText(file));
    std::string const stem = pathName(file.stem());
    Bf2dPlans plans;
    std::size_t number = 0;
    std::string_view rest = text;
    while (!rest.empty())
    {
        ++number;
        std::size_t const end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.empty())
            continue;
        auto const note = [&](std::size_t column, std::string const &reason) {
            std::string const place = sentence("{}:{}", number, column);
            plans.faults.emplace_back(Failure(name, place, reason).what());
        };
        try
        {
            Bf2dRecord const record = parseBf2d(line);
            if (std::string const reason = bf2dRefusal(record, bars); !reason.empty())
                note(1, printable(std::string_view(reason)));
            else
                plans.templates.push_back(bf2dPlan(record, std::string(line), sentence("{}-{}", stem, number)));
        }
        catch (Bf2dFault const &fault)
        {
            note(fault.column, fault.reason);
        }
    }
    if (plans.templates.empty() && plans.faults.empty())
        throw Failure(name, "", "the file has no bar record");
    return plans;
}

std::string bf2dLineOf(OKTDbPool &pool, std::string const &file)
{
    Figures const figures(pool, file);
    if (figures.text(kStandard, 0) != kStandardName)
        throw Failure(file, "", "this template did not come from a BF2D record");
    Bf2dRecord record;
    record.project = figures.needText(kStandard, kProject, "a project");
    record.drawing = figures.needText(kStandard, kDrawing, "a drawing");
    record.index = figures.needText(kStandard, kIndex, "an index");
    record.position = figures.needText(kStandard, kPosition, "a position");
    record.other = figures.text(kStandard, kOther);
    record.grade = figures.needText(kSteelGrade, 0, "a steel grade");
    record.length = figures.need(kLength, 0, "a length");
    double const count = figures.need(kNumber, 0, "a number of bars");
    if (!isBf2dCount(count))
        throw Failure(file, "", "the template gives no BF2D record: its number of bars is no whole number from 1 to 1000000");
    record.count = static_cast<int>(count);
    record.mass = figures.need(kNumber, kMass, "a mass");
    record.diameter = figures.need(kDiameter, 0, "a diameter");
    record.mandrel = snapped(2 * figures.need(kBendingRadius, 0, "a bending radius"));
    for (int i = 1; figures.real(kLength, i); ++i)
        record.legs.push_back({*figures.real(kLength, i), figures.need(kHookAngle1, i, "an angle behind each leg")});
    try
    {
        // A record can be written in several ways. The original line is used as long as nothing is changed.
        if (std::optional<std::string> const read = figures.text(kStandard, kLine); read && parseBf2d(*read) == record)
            return *read;
    }
    catch (Bf2dFault const &)
    {
        // Somebody changed it: it counts no more.
    }
    std::string line = bf2dLine(record);
    try
    {
        parseBf2d(line);
    }
    catch (Bf2dFault const &fault)
    {
        throw Failure(file, "", "the template gives no BF2D record: " + fault.reason);
    }
    return line;
}

} // namespace okt
