// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>
#include <oktinspect/finding.h>

#include <string_view>

namespace okt
{

struct TextPlace
{
    long line = 0;   ///< from 1; 0: it has none
    long column = 0; ///< in bytes, from 1
};

/// Where in the text form stands what a finding of its file is about: the id that is missing, else the beginning of the object or of the
/// header. The text is one that gave `image`.
TextPlace placeInText(std::string_view text, ByteSource &image, Finding const &finding);

} // namespace okt
