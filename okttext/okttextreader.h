// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/okttextpool.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Converts JSON to records. Texts are read piece by piece. All functions throw OKTTextFault with the line. Not installed.
namespace okttext
{

/// A number of the header for which the text has the word "position" or "size" of an object.
struct PlaceWord
{
    std::size_t offset = 0; ///< of the record in the header
    bool isPosition = false;
    std::string id; ///< 16 bytes of the id of that object; empty: there is no id before it
};

/// The parts of a pool.
struct PoolText
{
    std::optional<std::int32_t> headerSize;
    std::string header;
    std::string objects;
    std::vector<PlaceWord> words;
};

PoolText readPool(std::istream &text, OKTTextGetFile const &get);
/// The records of a document that is not a pool.
std::string readRecords(std::istream &text);

} // namespace okttext
