// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/okttextfault.h>

#include <optional>
#include <string>
#include <string_view>

/// The clean and smudge filters of git for pool files. The repository stores pool files as text, so that git compares and merges
/// them line by line.
///
///     smudged(cleaned(bytes)) == bytes    for every file but a text of this filter
///     cleaned(cleaned(bytes)) == cleaned(bytes)
///
/// A text of this filter in place of a pool file, left by the resolution of a merge conflict, is treated like
/// the pool file that it represents.
namespace okt
{

struct FilteredFile
{
    std::string bytes;
    std::optional<OKTTextFault> fault; ///< why the bytes are unchanged, if that should be reported
};

/// True for a text of this filter. Its first line differs from that of okt export, whose texts pass unchanged.
bool isFilterText(std::string_view bytes);

/// Such a text, possibly with conflict markers, with the first lines of okt export for the same file.
std::string asExported(std::string_view filterText);

/// On the way into the repository: converts a pool file to text, after checking that the text gives the same bytes again. Anything else
/// passes unchanged.
FilteredFile cleaned(std::string bytes);
/// On the way out: converts such a text to the pool file. Anything else passes unchanged.
FilteredFile smudged(std::string bytes);

} // namespace okt
