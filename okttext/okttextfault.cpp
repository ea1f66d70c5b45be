// SPDX-License-Identifier: MIT
#include <okttext/okttextfault.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

std::string OKTTextFault::place() const
{
    if (byte >= 0)
        return okt::byteAt(byte);
    return line > 0 ? okt::sentence("{}:{}", line, column) : std::string();
}
