// SPDX-License-Identifier: MIT
#include <okttext/okttextpool.h>

#include <sstream>

int main()
{
    std::istringstream text("no text form");
    CByteArray image;
    OKTTextFault fault;
    return !OktImportText(text, image, fault) && !fault.reason.empty() ? 0 : 1;
}
