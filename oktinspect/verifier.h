#pragma once

#include <oktformat/filescan.h>
#include <oktinspect/finding.h>

#include <functional>
#include <string>

namespace okt
{

/// Looks through a whole file: its structure, ids and what names them, lists and places, values and images, and whether the library
/// reads each object. In memory stay some 40 bytes for each object. Findings come as they are met: first those of the structure,
/// then those of the header, then those of each object, then those of lists and of what is not known here.
Verdict verify(FileScan &scan, std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf = {});

/// The same for any bytes; `name` is how a progress line calls them.
Verdict verify(std::string const &name, ByteSource &source, HeaderPlace const &header,
               std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf = {},
               OnProgress const &onProgress = {});

} // namespace okt
