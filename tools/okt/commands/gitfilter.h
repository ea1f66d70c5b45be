// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/okttextfault.h>

#include <optional>
#include <string>
#include <string_view>

/// What git's clean and smudge filters make of a file: pool files lie in the repository as text, so that git compares and merges
/// them line by line.
///
///     smudged(cleaned(bytes)) == bytes    for every file but a text of this filter
///     cleaned(cleaned(bytes)) == cleaned(bytes)
///
/// A text of this filter that stands where a pool file should be, because somebody settled the conflict of a merge in it, is taken
/// for the pool file that it gives.
namespace okt
{

struct FilteredFile
{
    std::string bytes;
    std::optional<OKTTextFault> fault; ///< why they are those that came in, where that is worth telling
};

/// The first line is not the one that okt export writes: a text of that is somebody's file, and comes back as it is.
bool isFilterText(std::string_view bytes);

/// Such a text, in pieces perhaps by the conflict of a merge, with the first lines that okt export gives the same file.
std::string asExported(std::string_view filterText);

/// On the way into the repository: the text of a pool file, when it was checked that it gives the same bytes again. Anything else
/// passes as it is.
FilteredFile cleaned(std::string bytes);
/// On the way out: the pool file of such a text. Anything else passes as it is.
FilteredFile smudged(std::string bytes);

} // namespace okt
