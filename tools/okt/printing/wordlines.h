// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/pooldiff.h>

#include <tools/okt/printing/poolprinter.h>

#include <string>

namespace okt
{

/// What differs in the words of those who work with templates: objects by the names that they gave them, lengths in their unit.
/// What there is no word for is told by its member, as it is in the file.
std::string inWords(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const &unit);

} // namespace okt
