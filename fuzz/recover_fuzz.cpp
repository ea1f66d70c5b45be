// SPDX-License-Identifier: MIT
// Recovery of any bytes: the new file has no damage but for what is told as doubtful, the library loads it with all objects whose
// class it knows, and another recovery keeps all of it.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>
#include <support/clientclasses.h>

#include <algorithm>
#include <string>

namespace
{
using okt::Finding;

struct Rescue
{
    okt::Recovered outcome;
    std::string file;
};

Rescue rescued(std::string_view bytes)
{
    ExpectedLeak const lostObject;
    Rescue rescue;
    okt::ByteSource source{bytes};
    rescue.outcome = okt::recover(source, [&](std::string_view piece) { rescue.file += piece; });
    FUZZ_DEMAND(rescue.outcome.isNothing() == rescue.file.empty());
    return rescue;
}

/// What an object that is read, but written differently, has: it may be of another release. A recovery keeps it as doubtful.
bool isDoubt(Finding const &finding) { return finding.what == Finding::What::WrittenDifferently; }

bool isDamage(Finding const &finding)
{
    if (isDoubt(finding))
        return false;
    switch (finding.code)
    {
    case Finding::Code::Header:
    case Finding::Code::HeaderSize:
    case Finding::Code::Object:
    case Finding::Code::ForeignBytes:
    case Finding::Code::NotLoaded:
    case Finding::Code::DuplicateId:
    case Finding::Code::Library:
    case Finding::Code::Place: return true;
    default: return false;
    }
}

CByteArray asBytes(std::string const &text)
{
    return bytesOfInput(reinterpret_cast<std::uint8_t const *>(text.data()), text.size());
}

void demandSound(Rescue const &rescue)
{
    okt::ByteSource source{std::string_view(rescue.file)};
    okt::Verification const found = [&] {
        ExpectedLeak const lostObject;
        return okt::verify(source);
    }();
    auto const damage = std::find_if(found.findings.begin(), found.findings.end(), isDamage);
    if (damage != found.findings.end())
        std::fprintf(stderr, "byte %lld: %s\n", static_cast<long long>(damage->offset), okt::sentenceOf(*damage).c_str());
    FUZZ_DEMAND(damage == found.findings.end());
    FUZZ_DEMAND(std::count_if(found.findings.begin(), found.findings.end(), isDoubt) <= rescue.outcome.check.doubtfulObjects);
    FUZZ_DEMAND(found.verdict.objects == static_cast<std::int64_t>(rescue.outcome.objects.size()));
    FUZZ_DEMAND(found.verdict.errors == rescue.outcome.check.verdict.errors);

    OKTDbPool pool;
    bool const isLoaded = load(pool, asBytes(rescue.file));
    auto const all = static_cast<int>(rescue.outcome.objects.size());
    FUZZ_DEMAND(pool.objectCount() == all - rescue.outcome.unknownObjects);
    FUZZ_DEMAND(isLoaded == (rescue.outcome.unknownObjects == 0));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    CByteArray const bytes = bytesOfInput(data, size);
    Rescue const rescue = rescued({reinterpret_cast<char const *>(bytes.GetData()), size});
    if (rescue.file.empty())
        return 0;
    for (okt::RecoveredObject const &object : rescue.outcome.objects)
        FUZZ_DEMAND(object.begin >= 0 && object.size > 0 && object.begin + object.size <= static_cast<std::int64_t>(size));
    demandSound(rescue);
    if (isOneIn(4, data, size))
        FUZZ_DEMAND(rescued(rescue.file).outcome.objects.size() == rescue.outcome.objects.size());
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
