// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <okttext/okttextpool.h>

#include <okttext/oktpoolparts.h>

#include <cstdint>
#include <string>
#include <vector>

namespace okt
{

/// What is wrong with a pool file, and where.
struct PoolFault
{
    std::int64_t byte = 0;
    std::string reason;

    /// "byte 1595: the file ends inside ...".
    std::string text() const;
};

/// The parts of a damaged pool file. Bytes that are not a whole object are a raw part, so that every byte of the
/// file is in exactly one part.
struct DamagedPool
{
    okttext::PoolParts parts; ///< the header is only that of a file that has one
    bool hasHeader = false;
    std::vector<PoolFault> faults; ///< at least one, in the order of the file

    /// Neither a header nor an object is whole.
    bool isNothing() const;
};

/// `fault` is what okttext::takeApart reported; it is used where no other fault is found. The bytes must outlive
/// the result.
DamagedPool takeApartDamaged(okttext::Bytes bytes, OKTTextFault const &fault);

/// Writes what is whole of a damaged pool file as text, for people who compare two such texts: the faults, one
/// a line, then the objects in the order of the file, and the bytes between them in lines of base64. A file that is not a pool file
/// but a text is written unchanged. The output cannot be imported.
void writeDamagedText(okttext::Bytes bytes, OKTTextFault const &fault, OKTTextSink const &sink);

} // namespace okt
