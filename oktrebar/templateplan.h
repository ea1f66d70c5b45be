// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/bartable.h>
#include <oktrebar/bendtables.h>
#include <oktrebar/cuttinglength.h>

#include <string>
#include <variant>
#include <vector>

namespace okt
{

// A template as plain values, which a host can create, read and change. buildPool makes a pool of them.

/// The numbers of the parameter types that the templates use.
namespace types
{
inline constexpr int kStandard = 3;
inline constexpr int kSteelGrade = 4;
inline constexpr int kDiameter = 5;
inline constexpr int kCover = 6;
inline constexpr int kHook1 = 7;
inline constexpr int kHookAngle1 = 9;
inline constexpr int kHookLength1 = 10;
inline constexpr int kHook2 = 11;
inline constexpr int kHookAngle2 = 13;
inline constexpr int kHookLength2 = 14;
inline constexpr int kHookFilletRadius = 16;
inline constexpr int kBendFilletRadius = 25;
inline constexpr int kBendingRadius = 26;
inline constexpr int kShapeStandard = 27;
inline constexpr int kShapeCode = 28;
inline constexpr int kExtension1 = 33;
inline constexpr int kExtension2 = 34;
inline constexpr int kQuantityType = 36;
inline constexpr int kSpacing = 37;
inline constexpr int kNumber = 38;
inline constexpr int kQuantityExpression = 39;
inline constexpr int kMeshStandard = 52;
inline constexpr int kMeshType = 53;
inline constexpr int kLength = 54;
inline constexpr int kWidth = 55;
inline constexpr int kLongitudinalOverlap = 64;
inline constexpr int kTransversalOverlap = 65;
} // namespace types

/// The key of a parameter in its template: its type and its list index for that type (0: it is the only one).
struct ParameterKey
{
    int type = -1;
    int listIndex = 0;

    bool operator==(ParameterKey const &) const = default;
};

/// One parameter of a planned template. Lengths are in drawing units.
struct ParameterPlan
{
    ParameterKey key;
    std::variant<double, int, bool, std::string> value;
    std::string name;         ///< empty: the name of the type
    bool isNameWhole = false; ///< the list index is not appended to the name
    std::string expression;   ///< with names of parameters without blanks, such as "2*Diameter"; stored as text
    std::string description;
    std::vector<ParameterKey> uses; ///< parameters in its expression
    bool inBend = false;            ///< a member of the relation over the bend
};

/// A page of parameters in the host's dialogue.
struct CategoryPlan
{
    std::string name;
    std::vector<ParameterPlan> parameters;
};

/// The kind of a template.
enum class TemplateKind
{
    Other,
    Link,
    Hooked,
    Mesh,
    Bent ///< a bar of legs and bends, from a bar record
};

/// A template as plain data, from which a pool is made.
struct TemplatePlan
{
    TemplateKind kind = TemplateKind::Other;
    std::string fileName; ///< "link-d12.okt"; no folder
    std::string poolName; ///< the title for a reader
    Units units = Units::Millimetre;
    std::vector<CategoryPlan> categories;

    /// Null: the template has no such parameter.
    ParameterPlan const *find(ParameterKey key) const;
};

/// A template that was not made, and why.
struct SkippedTemplate
{
    std::string stem;
    std::string reason;
};

/// What was made of one table.
struct Plans
{
    std::vector<TemplatePlan> templates;
    std::vector<SkippedTemplate> skipped;
};

/// One template per size and kind: closed link, bar with hooks at both ends, mesh sheet. docs/templates.md describes the rules and
/// their standards. A size for which the tables have no rule is among the skipped.
Plans metricPlans(BarTable const &bars, SchedulingBends const &bends, BendRules const &rules, ShapeLengths const &shapes);
Plans inchPlans(BarTable const &bars, BendRules const &rules);

} // namespace okt
