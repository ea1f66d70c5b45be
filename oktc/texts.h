// SPDX-License-Identifier: MIT
#pragma once

// Texts, bytes and paths on their way in and out. Not installed.

#include <oktc/call.h>
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktstring.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace oktc
{

/// Refuses null and what is not UTF-8.
std::string_view utf8(char const *text, std::int64_t length = -1);
CString textOf(char const *text, std::int64_t length = -1);
/// "-" is a file of that name here, and no stream.
std::filesystem::path pathOf(char const *path);

/// Refuses a text with lone surrogates.
std::string plain(CString const &text);
/// The notation of the text form, where they are escapes.
std::string escaped(CString const &text);
/// Refuses what is not in that notation.
CString unescaped(std::string_view text);

/// A copy for the caller, with a zero behind it.
void give(std::string_view text, char **out, std::uint64_t *length);
void give(void const *bytes, std::size_t size, std::uint8_t **out);
/// The bytes of a caller. Refuses null where there are any, and more than an array holds.
CByteArray bytesOf(void const *bytes, std::uint64_t length);

} // namespace oktc
