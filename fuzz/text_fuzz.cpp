// SPDX-License-Identifier: MIT
// The text form, with any bytes as a text and as a pool image. A text that is taken gives an image that is taken, and an image
// that is taken comes back from its text byte for byte.

#include "fuzzsupport.h"
#include "mutator.h"

#include <okttext/okttextfiler.h>
#include <okttext/okttextpool.h>

#include <oktdatabase/oktdbparameter.h>
#include <support/clientclasses.h>

#include <sstream>
#include <string>

namespace
{
void demandSameAgain(CByteArray const &image)
{
    std::string text;
    OKTTextFault fault;
    if (!OktExportText(
            image, [&text](std::string_view piece) { text += piece; }, fault))
    {
        FUZZ_DEMAND(text.empty() && fault.byte >= 0 && fault.byte <= image.GetSize() && !fault.reason.empty());
        return;
    }
    std::istringstream stream(text);
    CByteArray again;
    FUZZ_DEMAND(OktImportText(stream, again, fault));
    FUZZ_DEMAND(isEqual(again, image));
}

void demandText(std::string const &text)
{
    std::istringstream stream(text);
    CByteArray image;
    OKTTextFault fault;
    if (!OktImportText(stream, image, fault))
    {
        FUZZ_DEMAND(image.IsEmpty() && !fault.reason.empty());
        return;
    }
    OKTTextFault none;
    FUZZ_DEMAND(OktExportText(
        image, [](std::string_view) {}, none));
    demandSameAgain(image);
}

void demandRecords(std::string const &text)
{
    OKTTextFiler filer;
    OKTTextFault fault;
    if (!filer.loadText(text, fault))
    {
        FUZZ_DEMAND(!fault.reason.empty());
        return;
    }
    OKTDbParameter parameter;
    parameter.xmlIn(&filer);
    FUZZ_DEMAND(filer.setInternalIsWriteEnabled(true));
    std::string const again = filer.text();
    OKTTextFiler reader;
    // Raw bytes of a text may be no whole records.
    FUZZ_DEMAND(again.empty() || reader.loadText(again, fault));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    std::string const text(reinterpret_cast<char const *>(data), size);
    demandText(text);
    demandRecords(text);
    demandSameAgain(bytesOfInput(data, size));
    return 0;
}

FUZZ_STRUCTURE(input.starts_with('{') ? jsonStructure() : poolStructure());
