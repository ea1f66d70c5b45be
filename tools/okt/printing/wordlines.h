// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/pooldiff.h>

#include <tools/okt/printing/poolprinter.h>

#include <string>

namespace okt
{

/// The differences in the words of users of templates: objects by their names, lengths in a given unit.
/// A member without such a word is shown by its own name, with the value in the file.
std::string inWords(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const &unit);

} // namespace okt
