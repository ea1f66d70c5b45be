// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktplatform/oktarrays.h>

#include <string>

namespace okt
{

/// What is wrong with the base64 text of a stored picture, given the bytes of its object. The library passes over every character
/// that is no base64 and decodes the rest, so a damaged text gives an image that is damaged without a word. Empty: the text is
/// whole. An object that cannot be read is the reader's to tell, and gives an empty text here.
std::string pictureTextFault(CByteArray const &object);

} // namespace okt
