// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/printing/parameterjson.h>

#include <string>

namespace okt
{

/// Prints one of the JSON forms of a template on a line. False: the file cannot be read or has a fault, which was told; of a damaged one
/// what is whole is printed.
bool printJson(std::string const &file, LengthUnit const &unit,
               PlainJson (*form)(StoredTemplate const &pool, LengthUnit const &unit));

} // namespace okt
