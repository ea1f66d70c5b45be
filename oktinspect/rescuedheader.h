// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktformat/bytesource.h>
#include <oktinspect/finding.h>

#include <oktdatabase/oktdbpool.h>

#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// What can be concluded from the objects about a damaged header.
struct HeaderHints
{
    std::optional<_GUID> owner; ///< the owner of most parameters, if it is not an object of the file
    std::optional<_GUID> construct;
    std::optional<_GUID> index;
    std::vector<_GUID> pictures; ///< in the order of the file
};

/// A header made of the readable fields of a damaged one, and of what can be concluded from the objects.
struct RescuedHeader
{
    std::string bytes;
    std::vector<Finding> notes; ///< the origin of the fields that could not be read
};

/// `remains`: the bytes of the file before its first object.
RescuedHeader rescueHeader(std::string_view remains, HeaderHints const &hints, InfoMap const &places);

} // namespace okt
