// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateedit.h>

#include <string>

namespace okt
{

/// What okt set has to tell of one template: values that were given and calculated, what was left, what became of the picture.
struct SetStory
{
    std::string file;
    StoredTemplate const *pool = nullptr;
    LengthUnit const *shown = nullptr;
    LengthUnit const *drawn = nullptr;
    Recalculation const *changes = nullptr;
    EditedTemplate const *made = nullptr; ///< null: nothing is changed
};

std::string setText(SetStory const &story);
/// One JSON object on a line. `state` is "changed", "unchanged", "would change" or "failed".
std::string setJson(SetStory const &story, std::string const &state);

} // namespace okt
