// SPDX-License-Identifier: MIT
// The readers of parts of a pool file, over any bytes: what they give is what a whole load gives where verify finds nothing wrong.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktmemoryfiler.h>
#include <oktinspect/verifier.h>
#include <support/clientclasses.h>

namespace
{
constexpr int kLeastFile = 1024; // quirk 23

CByteArray written(OKTDbObject const &object)
{
    OKTMemoryFiler filer;
    FUZZ_DEMAND(object.xmlOut(&filer) == eFilerOk);
    return filer.takeBytes();
}

/// Every object of the part is the one of that id in the whole.
void demandPart(OKTDbPool &part, OKTDbPool &whole)
{
    IdArray ids;
    part.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *read = nullptr;
        OKTDbObject *expected = nullptr;
        FUZZ_DEMAND(part.findObject(id, read) && whole.findObject(id, expected));
        FUZZ_DEMAND(isEqual(written(*read), written(*expected)));
    }
}

bool isSound(std::uint8_t const *data, std::size_t size)
{
    okt::ByteSource source{std::string_view(reinterpret_cast<char const *>(data), size)};
    okt::Verification const found = okt::verify(source);
    return found.verdict.errors == 0 && found.verdict.warnings == 0;
}

void readParts(InputFile const &file, int size, OKTDbPool &index, OKTDbPool &pictures)
{
    ExpectedLeak const lostObject;
    OKTDbPool header;
    InfoMap info;
    bool const hasHeader = header.readFileHeader(file.path(), info);
    FUZZ_DEMAND(!hasHeader || size >= kLeastFile);
    FUZZ_DEMAND(header.objectCount() == 0);
    bool const hasIndex = index.readIndex(file.path());
    FUZZ_DEMAND(hasIndex ? hasHeader && index.objectCount() == 1 : index.objectCount() == 0);
    bool const hasPictures = pictures.readFilePicture(file.path());
    FUZZ_DEMAND(!hasPictures || hasHeader);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    static InputFile file("input.okt");
    file.write(data, size);

    OKTDbPool index;
    OKTDbPool pictures;
    readParts(file, static_cast<int>(size), index, pictures);
    if (!isOneIn(8, data, size))
        return 0;
    demandRoundTrip(index);
    demandRoundTrip(pictures);
    if (static_cast<int>(size) < kLeastFile || !isSound(data, size))
        return 0;
    OKTDbPool whole;
    FUZZ_DEMAND(load(whole, bytesOfInput(data, size)));
    FUZZ_DEMAND(pictures.objectCount() == whole.picturesId().getSize());
    FUZZ_DEMAND(whole.indexId().isNull() || index.objectCount() == 1);
    whole.setMetricsFactor(pictures.metricsFactor());
    demandPart(pictures, whole);
    if (!whole.indexId().isNull())
        demandPart(index, whole);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
