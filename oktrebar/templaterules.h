// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateedit.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// Values that are set in any number of templates by the same rules. Nothing is written: a template's bytes give those of the new one.

/// What a text gives a parameter, such as "Cover=35 mm".
struct TemplateAssignment
{
    ParameterSelector name;
    std::string value;

    /// Throws ValueError for a text that is no NAME=VALUE.
    static TemplateAssignment of(std::string const &text);
};

struct TemplateRules
{
    std::vector<TemplateAssignment> values;
    LengthUnit const *plain = nullptr; ///< of lengths without unit; null: there must be one
    /// Which templates are meant; empty: all. `drawn` is the unit in which the template was made. May throw Failure.
    std::function<bool(StoredTemplate const &pool, LengthUnit const &drawn)> isMeant;
};

/// What the rules give for a template.
struct RuledTemplate
{
    StoredTemplate pool; ///< as it was
    LengthUnit const *drawn = nullptr;
    Recalculation changes;
    std::optional<EditedTemplate> made; ///< nothing: it is so already
};

/// Nothing: the template is not meant. The same bytes give the same each time. `file` is how messages call it. Throws Failure for a damaged
/// file, a parameter that is not there or is there several times, a wrong value, and expressions that go round in a circle.
std::optional<RuledTemplate> ruled(std::string const &file, std::string_view bytes, TemplateRules const &rules,
                                   EditOptions const &options = {});

} // namespace okt
