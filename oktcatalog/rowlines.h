// SPDX-License-Identifier: MIT
#pragma once

#include <oktcatalog/rows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace okt
{

// The rows of files as JSON, one object a line, for programs that load them: the tables and columns of a catalogue, but for the time at
// which a file was looked at, which is another in each run. The same rows give the same bytes.

/// The tables, in the order in which RowLines has them.
inline constexpr std::array<char const *, 7> kRowTables = {"file",    "object",  "parameter", "reference",
                                                           "picture", "finding", "words"};

struct RowLines
{
    std::array<std::string, kRowTables.size()> text;   ///< of each table, with a line feed behind each row
    std::array<std::int64_t, kRowTables.size()> count; ///< rows
};

/// `file` is the number of the file, by which its rows name it. JSON has no word for a number that is not finite: it is null.
RowLines linesOf(PoolRows const &rows, std::int64_t file);

} // namespace okt
