// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>
#include <oktformat/progress.h>

#include <functional>
#include <string>
#include <string_view>

namespace okt
{

/// Gives the digest of bytes in hexadecimal digits: the caller's, so that this library needs none that computes one. `okt` has SHA-256.
using Digester = std::function<std::string(std::string_view)>;

/// The digest of what a pool holds, whatever ids its objects have and in which order they stand: a clone, or a file that another program wrote
/// in another order, has the same. Each object counts with its records, and in place of each id with what the object of that id
/// holds; the header with its own records, but for the id of the pool, places and sizes. Bytes that belong to no object do not
/// count. Two pools whose objects are alike and refer to each other in another way may have one digest where no walk along the
/// references can tell them apart.
///
/// Throws Failure for a file that is damaged, under this name, and Cancelled.
std::string contentDigest(ByteSource &source, std::string const &name, Digester const &digestOf,
                          OnProgress const &onProgress = {});

} // namespace okt
