#pragma once

#include <oktreport/templatefacts.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

struct PageOptions
{
    std::string title;    ///< HTML; empty: a title made of the templates
    std::size_t unit = 0; ///< place in kUnitNames of the unit at first
};

/// Writes a page about templates: one HTML document that needs nothing else. It is also well-formed XML, so that programs can
/// read it. `sink` gets it piece by piece.
void writePage(std::vector<TemplateFacts> const &templates, PageOptions const &options,
               std::function<void(std::string_view)> const &sink);

} // namespace okt
