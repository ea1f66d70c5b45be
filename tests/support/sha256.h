// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

/// The SHA-256 digest (FIPS 180-4) of `size` bytes as 64 lower-case hexadecimal digits. For comparing images with the digests
/// that lie beside the golden files; not for secrets.
std::string sha256Hex(void const *data, std::size_t size);
