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

/// What the objects of a file tell about a header that is not whole.
struct HeaderHints
{
    std::optional<_GUID> owner; ///< of most parameters, where it is no object of the file
    std::optional<_GUID> construct;
    std::optional<_GUID> index;
    std::vector<_GUID> pictures; ///< in the order of the file
};

/// A header made of the fields that can still be read in what is left of one, and of what the objects tell.
struct RescuedHeader
{
    std::string bytes;
    std::vector<Finding> notes; ///< what became of the fields that could not be read
};

/// `remains`: the file up to its first object.
RescuedHeader rescueHeader(std::string_view remains, HeaderHints const &hints, InfoMap const &places);

} // namespace okt
