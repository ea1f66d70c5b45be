// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/oktrecords.h>
#include <okttext/okttextwriter.h>

#include <cstdint>
#include <vector>

/// A pool image taken apart into records. Not installed.
namespace okttext
{

/// Bytes of the record before the header.
inline constexpr std::size_t kLengthRecord = 5;

Bytes bytesOf(CByteArray const &array);
CByteArray arrayOf(Bytes bytes);

struct PoolParts
{
    std::int32_t headerSize = 0; ///< what its first record says
    Record header;
    std::vector<PoolPiece> objects;
    TextWriter::Places places;
};

/// Throws OKTTextFault with the offset of the fault.
PoolParts takeApart(Bytes bytes);

/// Set the names of the records to those that the object, or the pool, uses when it writes itself. If the class is not
/// registered, the names stay unchanged.
void nameObject(Record &frame, Bytes image);
void nameHeader(Record &frame, Bytes image);

} // namespace okttext
