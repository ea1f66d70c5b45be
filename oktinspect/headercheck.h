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

/// Checks what a whole header says against the objects of the file, and gives the id of the pool.
_GUID checkHeader(ByteSource &source, HeaderPlace const &header, ObjectTable const &objects, Findings &findings);

/// Whether the header has the size that the file begins with; nothing: it has.
std::optional<Finding> headerSizeFault(HeaderPlace const &header);

/// What the header says about the place of an object whose place is known; nothing: the truth.
std::optional<Finding> placeFault(HeaderPlace const &header, StoredValue const &id, std::int32_t position, std::int32_t size,
                                  std::int64_t realBegin, std::int64_t realSize);

} // namespace okt
