// SPDX-License-Identifier: MIT
// Verification of any bytes, held against a load: a file without findings is loaded with all its objects, and one that is not loaded
// has findings. The other readers of the inspection go over the same bytes and agree on the objects.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktdbpool.h>
#include <oktformat/frames.h>
#include <oktinspect/dump.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/info.h>
#include <oktinspect/list.h>
#include <oktinspect/verifier.h>
#include <support/clientclasses.h>

#include <algorithm>

namespace
{
using okt::Finding;

bool keepsFromLoading(Finding const &finding)
{
    switch (finding.code)
    {
    case Finding::Code::Header:
    case Finding::Code::HeaderSize:
    case Finding::Code::Object:
    case Finding::Code::ForeignBytes:
    case Finding::Code::NotLoaded:
    case Finding::Code::ClassName:
    case Finding::Code::UnknownClass:
    case Finding::Code::DuplicateId:
    case Finding::Code::Id:
    case Finding::Code::Library:
    case Finding::Code::Records: return true;
    default: return false;
    }
}

void demandLoad(okt::Verification const &found, CByteArray const &bytes)
{
    OKTDbPool pool;
    bool const isLoaded = load(pool, bytes);
    bool const isDoubted = std::any_of(found.findings.begin(), found.findings.end(), keepsFromLoading);
    FUZZ_DEMAND(isDoubted || (isLoaded && pool.objectCount() == found.verdict.objects));
    bool const isBroken = std::any_of(found.findings.begin(), found.findings.end(), [](Finding const &finding) {
        return finding.code == Finding::Code::DuplicateId || finding.what == Finding::What::UnknownClass ||
               finding.what == Finding::What::HeaderDamaged;
    });
    FUZZ_DEMAND(!isBroken || !isLoaded || pool.objectCount() <= found.verdict.objects);
}

void demandTexts(okt::Verification const &found)
{
    for (Finding const &finding : found.findings)
        FUZZ_DEMAND(!okt::sentenceOf(finding).empty());
}

/// list, info and dump name the objects that verify has counted.
void demandAgreement(std::string_view bytes, okt::Verification const &found)
{
    okt::ByteSource source{bytes};
    std::int64_t listed = 0;
    std::int64_t behind = 0;
    okt::ListOptions options;
    options.onObject = [&](okt::ListedObject const &object) {
        FUZZ_DEMAND(object.offset >= behind && object.size > 0);
        behind = object.offset + object.size;
        FUZZ_DEMAND(behind <= source.size());
        ++listed;
    };
    okt::list(source, {}, options);
    FUZZ_DEMAND(listed == found.verdict.objects);
    okt::PoolInfo const counted = okt::info(source);
    FUZZ_DEMAND(counted.size == source.size());
    FUZZ_DEMAND(!counted.hasObjects || counted.objects == listed);

    std::int64_t end = 0;
    okt::dump(source, {}, [&](okt::DumpEntry const &entry) {
        FUZZ_DEMAND(entry.size >= 0 && entry.offset + entry.size <= source.size());
        if (entry.kind == okt::DumpEntry::Kind::Gap || entry.kind == okt::DumpEntry::Kind::Fault)
            return;
        // Every byte is in an entry. A damaged record may have swallowed what is found to be whole behind it.
        FUZZ_DEMAND(entry.offset <= end);
        end = std::max(end, entry.offset + entry.size);
    });
    FUZZ_DEMAND(end == source.size());
}

/// The objects behind the header, in a file in memory and through a window.
void demandFrames(CByteArray const &bytes, std::string_view text)
{
    okt::ByteSource source{text};
    okt::HeaderPlace const header = okt::findHeader(source);
    okt::ObjectScan scan(source, header.end);
    std::int64_t at = header.end;
    std::vector<okt::Stretch> stretches;
    while (std::optional<okt::Stretch> const stretch = scan.next())
    {
        FUZZ_DEMAND(stretch->begin == at && stretch->end > at);
        at = stretch->end;
        if (stretch->kind != okt::Stretch::Kind::Gap)
            stretches.push_back(*stretch);
    }
    FUZZ_DEMAND(at == source.size() || stretches.empty());
    std::vector<okt::Frame> const frames = okt::readFrames(bytes, static_cast<int>(header.end));
    FUZZ_DEMAND(frames.size() == stretches.size());
    for (std::size_t i = 0; i < frames.size(); ++i)
        FUZZ_DEMAND(frames[i].offset == stretches[i].begin);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    CByteArray const bytes = bytesOfInput(data, size);
    std::string_view const text(reinterpret_cast<char const *>(bytes.GetData()), size);
    okt::ByteSource source{text};
    okt::VerifyOptions options;
    okt::Verification const found = [&] {
        ExpectedLeak const lostObject;
        return okt::verify(source, options);
    }();
    demandLoad(found, bytes);
    if (!isOneIn(4, data, size))
        return 0;
    demandTexts(found);
    demandAgreement(text, found);
    demandFrames(bytes, text);
    return 0;
}

FUZZ_STRUCTURE(poolStructure());
