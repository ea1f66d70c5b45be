// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/partialfile.h>

#include <string>

namespace okt
{

/// Part of a pool file as text, and its fault.
struct PartialText
{
    std::string text;
    std::string fault; ///< the line for the user about the first fault; empty when all is well
};

/// Name and id of the pool, and the index object with its members, lengths in metres.
PartialText describeIndex(PartialFile &file);
/// Name and id of the pool, and the pictures: where they lie, format and size of each.
PartialText describePictures(PartialFile &file);

} // namespace okt
