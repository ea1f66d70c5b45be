// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/okttextpool.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// JSON to records. Texts are read piece by piece and never kept whole. All throw OKTTextFault with the line. Not installed.
namespace okttext
{

/// A long of the header for which the text has a word: the place or the size of the object of that id.
struct PlaceWord
{
    std::size_t offset = 0; ///< of the record in the header
    bool isPosition = false;
    std::string id; ///< 16 bytes, or none: no id stands ahead of it
};

/// A pool in pieces.
struct PoolText
{
    std::optional<std::int32_t> headerSize;
    std::string header;
    std::string objects;
    std::vector<PlaceWord> words;
};

PoolText readPool(std::istream &text, OKTTextGetFile const &get);
/// The records of a document that is no pool.
std::string readRecords(std::istream &text);

} // namespace okttext
