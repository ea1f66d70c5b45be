// SPDX-License-Identifier: MIT
#pragma once

#include <oktreport/templatefacts.h>

#include <string>

namespace okt
{

// Not installed.

/// How to write the parts of the page about one template.
struct ArticleStyle
{
    std::size_t unit = 0; ///< index in kUnitNames of the initial unit
    int level = 2;        ///< of the heading of a template
};

/// A value within a line, with its unit.
std::string inlineValue(PageValue const &value, std::size_t unit);

/// The figures of a fact in one line.
std::string figuresText(KeyFact const &fact, std::size_t unit);

/// The first part: the facts beside the picture, what could not be read, and all parameters.
std::string sheetPart(TemplateFacts const &facts, ArticleStyle const &style);

/// The graph of the relations, folded; empty: there are none.
std::string relationsPart(TemplateFacts const &facts);

/// Details about the file, such as ids and bytes, folded.
std::string insidePart(TemplateFacts const &facts, ArticleStyle const &style);

} // namespace okt
