// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/pooldiff.h>

#include <tools/okt/printing/poolprinter.h>

#include <string>

namespace okt
{

/// "--- old" and "+++ new".
std::string namesText(DiffPool const &first, DiffPool const &second);

/// For people: a line for each object and what changed in it, with signs and colours as diff has them. With a unit in the words of
/// users, lengths in it; without one by the members of the classes, and everything as it is in the file. Nothing where all is the
/// same.
std::string describe(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const *unit);
/// For programs: one JSON document.
std::string describeAsJson(PoolDiff const &diff, DiffPool const &first, DiffPool const &second);
/// The same for two files of the same bytes, which were not taken apart.
std::string sameAsJson(std::string const &first, std::string const &second, std::size_t objects);

} // namespace okt
