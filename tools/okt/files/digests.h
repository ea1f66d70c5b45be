// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/files/poollist.h>

#include <oktformat/bytesource.h>
#include <oktinspect/manifest.h>

#include <string>

namespace okt
{

/// All throw Failure where a file cannot be read, that of the contents also where it is damaged.
std::string byteDigestOf(std::string const &file);
std::string byteDigestOf(ByteSource &source);
std::string contentDigestOf(std::string const &file);
/// Both. What is wrong with a damaged file is told to `onFault`.
FileDigests digestsOf(std::string const &file, OnFault const &onFault);

/// The digests of all pool files below a folder. Throws Failure where it is none; what is wrong with a file is told.
Manifest manifestOf(std::string const &folder, OnFault const &onFault);

} // namespace okt
