// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/pooldiff.h>

#include <tools/okt/printing/poolprinter.h>

#include <string>

namespace okt
{

/// "--- old" and "+++ new".
std::string namesText(DiffPool const &first, DiffPool const &second);

/// For people: lines for each object and its changes, with the signs and colours of diff. With a unit: in the words of
/// users, with lengths in that unit. Without one: by the members of the classes, with the values in the file. Empty: all is the
/// same.
std::string describe(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const *unit);
/// For programs: one JSON document.
std::string describeAsJson(PoolDiff const &diff, DiffPool const &first, DiffPool const &second);
/// The same for two files with the same bytes, which were not parsed.
std::string sameAsJson(std::string const &first, std::string const &second, std::size_t objects);

} // namespace okt
