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

/// A pool file taken apart as far as it is whole. What is no whole object is a raw stretch at its place, so that every byte of the
/// file is in one of the parts.
struct DamagedPool
{
    okttext::PoolParts parts; ///< the header is only that of a file that has one
    bool hasHeader = false;
    std::vector<PoolFault> faults; ///< at least one, in the order of the file

    /// Neither a header nor an object is whole.
    bool isNothing() const;
};

/// `fault` is why okttext::takeApart refuses the file: what is wrong with it where nothing else can be told. The bytes must outlive
/// what is returned.
DamagedPool takeApartDamaged(okttext::Bytes bytes, OKTTextFault const &fault);

/// The text form of a damaged pool file as far as that is whole, for people who read what differs between two texts: the faults, a
/// line each, then the objects in the order of the file, and the bytes between them in lines of base64. A file that is no pool file
/// but a text stands there as it is. Nothing can be made of it again.
void writeDamagedText(okttext::Bytes bytes, OKTTextFault const &fault, OKTTextSink const &sink);

} // namespace okt
