// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <cstddef>
#include <string>
#include <string_view>

/// The bytes as a text, character for byte.
inline std::string textOf(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

/// The same back.
inline CByteArray bytesOf(std::string_view text)
{
    CByteArray bytes;
    bytes.SetSize(static_cast<int>(text.size()));
    text.copy(reinterpret_cast<char *>(bytes.GetData()), text.size());
    return bytes;
}
