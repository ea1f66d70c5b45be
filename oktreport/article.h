// SPDX-License-Identifier: MIT
#pragma once

#include <oktreport/templatefacts.h>

#include <string>

namespace okt
{

// Not installed.

/// How the parts of the page about one template are written.
struct ArticleStyle
{
    std::size_t unit = 0; ///< place in kUnitNames of the unit at first
    int level = 2;        ///< of the heading of a template
};

/// A value within a line, with its unit.
std::string inlineValue(PageValue const &value, std::size_t unit);

/// The figures of a fact in one line.
std::string figuresText(KeyFact const &fact, std::size_t unit);

/// What stands first: the facts beside the picture, what could not be read, and all parameters.
std::string sheetPart(TemplateFacts const &facts, ArticleStyle const &style);

/// What is tied to what, folded away; empty where nothing is.
std::string relationsPart(TemplateFacts const &facts);

/// Ids, bytes and whatever else only those want who look into files, folded away.
std::string insidePart(TemplateFacts const &facts, ArticleStyle const &style);

} // namespace okt
