// SPDX-License-Identifier: MIT
#include <okttext/okttextfault.h>

std::string OKTTextFault::place() const
{
    if (byte >= 0)
        return "byte " + std::to_string(byte);
    return line > 0 ? std::to_string(line) + ":" + std::to_string(column) : std::string();
}
