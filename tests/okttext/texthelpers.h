// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/okttextpool.h>

#include <sstream>
#include <string>

/// The text of an image, or what was wrong with it.
inline std::string textOfImage(CByteArray const &image, OKTTextPutFile const &put = {})
{
    std::string text;
    OKTTextFault fault;
    if (OktExportText(
            image, [&text](std::string_view piece) { text += piece; }, fault, put))
        return text;
    return fault.place() + ": " + fault.reason;
}

/// The image of a text; empty, and the fault told, where there is none.
inline CByteArray imageOfText(std::string const &text, std::string &fault, OKTTextGetFile const &get = {})
{
    std::istringstream stream(text);
    CByteArray image;
    OKTTextFault found;
    if (!OktImportText(stream, image, found, get))
        fault = found.place() + ": " + found.reason;
    return image;
}
