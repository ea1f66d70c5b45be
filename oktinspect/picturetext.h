// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktformat/bytesource.h>

#include <oktplatform/oktarrays.h>

#include <cstdint>
#include <optional>
#include <string>

namespace okt
{

/// Checks the base64 text of a stored picture, given the bytes of its object. The library skips every character
/// that is not base64 and decodes the rest, so a damaged text gives a damaged image without any report. Empty: the text is
/// whole. Also empty for an object that cannot be read: that is reported elsewhere.
std::string pictureTextFault(CByteArray const &object);

/// The base64 text of a stored picture whose frame begins there, its chunks in one; of each as much as a reader takes, up to its first
/// zero. For classes derived from a picture, too.
std::string pictureText(ByteSource &source, std::int64_t begin);

/// The image, where the text is just what the library's coder writes for it, on one line. Empty: it is another, and may be at fault.
std::optional<CByteArray> imageOfPlainText(ByteSource &source, std::int64_t begin);

} // namespace okt
