// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/poolheader.h>
#include <oktinspect/finding.h>
#include <oktinspect/objecttable.h>

#include <cstdint>
#include <optional>
#include <string>

namespace okt
{

/// Checks a whole header against the objects of the file. Returns the id of the pool.
_GUID checkHeader(ByteSource &source, HeaderPlace const &header, ObjectTable const &objects, Findings &findings);

/// Compares the size of the header with that at the start of the file. Empty: they are equal.
std::optional<Finding> headerSizeFault(HeaderPlace const &header);

/// Compares position and size of an object in the header with the true ones. Empty: they are equal.
std::optional<Finding> placeFault(HeaderPlace const &header, StoredValue const &id, std::int32_t position, std::int32_t size,
                                  std::int64_t realBegin, std::int64_t realSize);

} // namespace okt
