// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

// Not installed. What the system's parser does not limit or report of the text before the root of a document.

namespace OktXmlProlog
{
struct Prolog
{
    /// A parameter entity is declared, or the encoding is unknown, so one may be. Its expansion may cost the parser unlimited time.
    bool mayDeclareParameterEntity = false;
    /// The name behind DOCTYPE, or an empty text. Characters beyond ASCII are U+007F.
    std::string documentType;
};

/// Reads the bytes of a file. Known encodings are UTF-16 and those of one byte for each ASCII character.
Prolog look(unsigned char const *bytes, std::size_t count);
} // namespace OktXmlProlog
