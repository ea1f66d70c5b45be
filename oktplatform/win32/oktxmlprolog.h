#pragma once

#include <cstddef>
#include <string>

// Not installed. What stands ahead of the root of a document, for what the system's parser does not bound or tell.

namespace OktXmlProlog
{
struct Prolog
{
    /// A parameter entity is declared. One that unfolds into others costs the parser time without bound, and declarations are not
    /// looked at here.
    bool declaresParameterEntity = false;
    /// The name behind DOCTYPE, empty without one. A character beyond ASCII stands there as U+007F.
    std::string documentType;
};

/// Looks at the bytes of a file. In an encoding of four bytes a character nothing can be seen, and a declaration is supposed.
Prolog look(unsigned char const *bytes, std::size_t count);
} // namespace OktXmlProlog
