// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/filescan.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace okt
{

/// What of a file is dumped.
struct DumpRange
{
    std::optional<std::int64_t> offset; ///< the record there, to the end of its frame
    std::optional<_GUID> id;            ///< the objects of that id
};

/// The records of a file, one a line: offset, bytes in hexadecimal, depth, kind and value. Damaged stretches are followed to their
/// fault, which is told, and then passed over up to the next whole object. False: there was a fault, or nothing of the range.
bool dump(FileScan &scan, DumpRange const &range, std::function<void(std::string_view)> const &sink,
          std::function<void(std::string const &)> const &onFault);

} // namespace okt
