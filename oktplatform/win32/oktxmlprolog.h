#pragma once

#include <cstddef>
#include <string>

// Not installed. What stands ahead of the root of a document, for what the system's parser does not bound or tell.

namespace OktXmlProlog
{
struct Prolog
{
    /// A parameter entity is declared, or it cannot be told whether one is. What such an entity unfolds to may cost the parser
    /// time without bound.
    bool mayDeclareParameterEntity = false;
    /// The name behind DOCTYPE, empty without one. A character beyond ASCII stands there as U+007F.
    std::string documentType;
};

/// Looks at the bytes of a file. It can be told for UTF-16, and for encodings of one byte a character in which ASCII stands for
/// itself.
Prolog look(unsigned char const *bytes, std::size_t count);
} // namespace OktXmlProlog
