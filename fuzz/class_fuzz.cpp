// SPDX-License-Identifier: MIT
// Each stored class reads itself from any bytes, the quick way and member by member, which a filer of another class makes it go. Both
// end with the same status at the same place, and with objects that write the same bytes, again both ways.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktdatabase.h>
#include <support/clientclasses.h>

#include <array>
#include <memory>

namespace
{
/// The same filer, of which nobody can know what it overrides.
class MemberFiler : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;
};

struct Outcome
{
    FilerStatusDb status = eFilerOk;
    long position = 0;

    bool operator==(Outcome const &) const = default;
};

template <typename Filer> Outcome read(OKTDbObject &object, CByteArray const &bytes, OKTDbPool *pool)
{
    Filer filer(pool);
    filer.readInPlace(bytes);
    Outcome outcome;
    outcome.status = object.xmlIn(&filer);
    outcome.position = filer.GetFilerPosition();
    FUZZ_DEMAND(outcome.position >= 0 && outcome.position <= bytes.GetSize());
    return outcome;
}

template <typename Filer> CByteArray written(OKTDbObject const &object, FilerStatusDb &status)
{
    Filer filer;
    status = object.xmlOut(&filer);
    return filer.takeBytes();
}

void demandClass(OKTRuntimeClass const &descriptor, CByteArray const &bytes, OKTDbPool *pool)
{
    std::unique_ptr<OKTDbObject> const quick(descriptor.CreateObject());
    std::unique_ptr<OKTDbObject> const plain(descriptor.CreateObject());
    Outcome const outcome = read<OKTMemoryFiler>(*quick, bytes, pool);
    FUZZ_DEMAND(read<MemberFiler>(*plain, bytes, pool) == outcome);
    FUZZ_DEMAND(quick->objectId() == plain->objectId());

    FilerStatusDb status = eFilerOk;
    FilerStatusDb otherStatus = eFilerOk;
    CByteArray const image = written<OKTMemoryFiler>(*quick, status);
    FUZZ_DEMAND(isEqual(written<MemberFiler>(*quick, otherStatus), image) && otherStatus == status);
    FUZZ_DEMAND(isEqual(written<OKTMemoryFiler>(*plain, otherStatus), image) && otherStatus == status);
    if (outcome.status != eFilerOk) // a value that was not read may be one without a stored form (quirk 40)
        return;
    FUZZ_DEMAND(status == eFilerOk);
    std::unique_ptr<OKTDbObject> const again(descriptor.CreateObject());
    FUZZ_DEMAND(read<OKTMemoryFiler>(*again, image, pool).status == eFilerOk);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    static std::array const classes = {OKTDbObject::desc(),        OKTDbParameter::desc(),     OKTDbGroupParameter::desc(),
                                       OKTDbCategory::desc(),      OKTDbGroupCategory::desc(), OKTDbRelation::desc(),
                                       OKTDbParamRelation::desc(), OKTDbPicture::desc(),       ClientConstruct::desc(),
                                       ClientIndexData::desc()};
    CByteArray const bytes = bytesOfInput(data, size);
    OKTDbPool millimetres;
    millimetres.setMetricsFactor(1000.0);
    for (OKTRuntimeClass const *const descriptor : classes)
        demandClass(*descriptor, bytes, &millimetres);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
