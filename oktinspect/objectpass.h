// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <functional>
#include <string>

namespace okt
{

/// Gives every whole object of a file in one pass, and what is damaged, in the order of the file: HeaderDamaged and ObjectDamaged.
/// Bytes that belong to no object are passed over. `name` is how progress calls the file.
void passObjects(ByteSource &source, HeaderPlace const &header, std::string const &name, OnProgress const &onProgress,
                 std::function<void(Stretch const &)> const &onObject, std::function<void(Finding const &)> const &onFault);

/// What is wrong with a header that is not whole.
Finding headerFinding(HeaderPlace const &header);

} // namespace okt
