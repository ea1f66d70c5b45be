// SPDX-License-Identifier: MIT
#pragma once

// Without a source of its own, so that the tests of the database, which know no other library, can use it too.

#include <gcrypt.h>

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

/// The SHA-256 digest (FIPS 180-4) of bytes as 64 lower-case hexadecimal digits. It tells files apart; it keeps no secrets.
inline std::string sha256Hex(std::string_view bytes)
{
    static bool const isReady = [] {
        // There are no secrets to keep out of the swap file.
        return gcry_check_version(GCRYPT_VERSION) != nullptr && gcry_control(GCRYCTL_DISABLE_SECMEM) == 0 &&
               gcry_control(GCRYCTL_INITIALIZATION_FINISHED) == 0;
    }();
    if (!isReady)
        throw std::runtime_error("libgcrypt is older than " GCRYPT_VERSION);
    std::array<unsigned char, 32> digest{};
    gcry_md_hash_buffer(GCRY_MD_SHA256, digest.data(), bytes.data(), bytes.size());
    std::string text;
    for (unsigned char const byte : digest)
    {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

} // namespace okt
