// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/dump.h>

#include <string>

namespace okt
{

/// An entry of a dump as a line, without its end: offset, bytes in hexadecimal, depth as indent, kind and value. `options` are
/// those of the dump.
std::string dumpLine(DumpEntry const &entry, DumpOptions const &options);

} // namespace okt
