// SPDX-License-Identifier: MIT
#pragma once

#include <oktreport/templatefacts.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// A page in three calls:
//
//     std::string fault;
//     std::vector<okt::TemplateFacts> facts = {okt::factsOf("link.okt", "link.okt", fault)}; // templatefacts.h
//     okt::arrange(facts);
//     okt::writePage(facts, {}, [&](std::string_view piece) { file << piece; });

struct PageOptions
{
    std::string title;    ///< UTF-8; empty: a title made of the templates
    std::size_t unit = 0; ///< index in kUnitNames (oktinspect/valuetext.h) of the initial unit
};

/// Writes a page about templates: one HTML document that needs nothing else. It is also well-formed XML, so that programs can
/// read it. `sink` gets it piece by piece, as UTF-8; its exceptions reach the caller. The templates
/// must have been passed to arrange() before. The same facts give the same bytes.
void writePage(std::vector<TemplateFacts> const &templates, PageOptions const &options,
               std::function<void(std::string_view)> const &sink);

} // namespace okt
