// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <functional>
#include <string>

namespace okt
{

/// Calls `onObject` for every whole object and `onFault` for every fault (HeaderDamaged, ObjectDamaged), in the order of the file.
/// Bytes that belong to no object are skipped. `name` is the name of the file for progress.
void passObjects(ByteSource &source, HeaderPlace const &header, std::string const &name, OnProgress const &onProgress,
                 std::function<void(Stretch const &)> const &onObject, std::function<void(Finding const &)> const &onFault);

/// The finding for a header that is not whole.
Finding headerFinding(HeaderPlace const &header);

} // namespace okt
