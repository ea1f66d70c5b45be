// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktplatform/oktarrays.h>

#include <string>

namespace okt
{

/// Checks the base64 text of a stored picture, given the bytes of its object. The library skips every character
/// that is not base64 and decodes the rest, so a damaged text gives a damaged image without any report. Empty: the text is
/// whole. Also empty for an object that cannot be read: that is reported elsewhere.
std::string pictureTextFault(CByteArray const &object);

} // namespace okt
