// SPDX-License-Identifier: MIT
#include <oktc/files.h>
#include <oktc/handles.h>
#include <oktc/texts.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>
#include <oktplatform/oktreplacefile.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

// Checks and recovery.

using namespace oktc;

namespace
{

okt::OnProgress told(OktcProgress progress, void *context)
{
    if (progress == nullptr)
        return {};
    return [progress, context](okt::Progress const &state) {
        if (state.event != okt::Progress::Event::At)
            return true; // an answer would not be heard
        auto const pass = static_cast<std::uint64_t>(state.pass - 1);
        return progress(context, pass * state.total + state.done, static_cast<std::uint64_t>(state.passes) * state.total) == 0;
    };
}

void addSums(HeldReport &report, okt::Verdict const &verdict)
{
    report.sums = {{OKTC_OBJECTS, verdict.objects},
                   {OKTC_ERRORS, verdict.errors},
                   {OKTC_WARNINGS, verdict.warnings},
                   {OKTC_INFOS, verdict.infos}};
}

void verifySource(okt::ByteSource &source, OktcProgress progress, void *context, OktcReport *report)
{
    auto made = std::make_unique<HeldReport>();
    okt::VerifyOptions options;
    options.onFinding = [&](okt::Finding const &finding) { made->entries.push_back({OKTC_FOUND, finding}); };
    options.onProgress = told(progress, context);
    addSums(*made, okt::verify(source, options).verdict);
    *report = hold(std::move(made));
}

std::unique_ptr<HeldReport> reportOf(okt::Recovered const &recovered)
{
    auto report = std::make_unique<HeldReport>();
    okt::RecoveryCheck const &check = recovered.check;
    auto const add = [&](std::int32_t role, okt::Finding const &finding) { report->entries.push_back({role, finding}); };
    for (std::size_t i = 0; i < recovered.losses.size(); ++i)
    {
        okt::RecoveryLoss const &loss = recovered.losses[i];
        bool const isHeader = i == 0 && !recovered.header.isWhole;
        add(loss.isObject || isHeader ? OKTC_FOUND_LOST : OKTC_FOUND_LEFT_OUT, loss.why);
        if (loss.object.id)
            report->entries.back().finding.id = loss.object.id;
    }
    for (okt::Finding const &mend : recovered.mends)
        add(OKTC_FOUND_MENDED, mend);
    for (okt::Finding const &note : recovered.headerNotes)
        add(OKTC_FOUND_MADE, note);
    for (okt::RecoveryCheck::MissingId const &missing : check.missing)
        add(OKTC_FOUND_MISSING, missing.first);
    for (okt::RecoveryCheck::Remark const &doubt : check.doubts)
        add(OKTC_FOUND_DOUBT, doubt.finding);
    for (okt::RecoveryCheck::Remark const &info : check.infos)
        add(OKTC_FOUND, info.finding);
    addSums(*report, check.verdict);
    report->sums[OKTC_RESCUED] = static_cast<std::int64_t>(recovered.objects.size()) - check.doubtfulObjects;
    report->sums[OKTC_DOUBTFUL] = check.doubtfulObjects;
    report->sums[OKTC_LOST] = check.lost;
    report->sums[OKTC_MISSING_IDS] = static_cast<std::int64_t>(check.missing.size());
    report->sums[OKTC_LEFT_OUT] = check.leftOut;
    report->sums[OKTC_UNKNOWN_OBJECTS] = recovered.unknownObjects;
    report->sums[OKTC_CLEAN] = check.isClean ? 1 : 0;
    return report;
}

std::unique_ptr<okt::ByteSource> sourceOf(std::filesystem::path const &path)
{
    std::unique_ptr<okt::ByteSource> source = okt::openSource(path);
    if (source->size() == 0)
        throw okt::Failure(okt::pathName(path), "", "the file is empty");
    return source;
}

} // namespace

OktcStatus OKTC_CALL oktcVerify(char const *path, OktcProgress progress, void *context, OktcReport *report)
{
    return call<Alone>(Results(report), [&] { verifySource(*sourceOf(pathOf(path)), progress, context, report); });
}

OktcStatus OKTC_CALL oktcVerifyImage(void const *bytes, uint64_t length, OktcProgress progress, void *context,
                                     OktcReport *report)
{
    return call<Alone>(Results(report), [&] {
        if (length > 0)
            needed(bytes, "the pointer to the bytes");
        if (length > 0x7FFFFFFF)
            refuse(OKTC_TOO_LARGE, "there are more than 2147483647 bytes");
        okt::ByteSource source(std::string_view(static_cast<char const *>(bytes), static_cast<std::size_t>(length)));
        verifySource(source, progress, context, report);
    });
}

OktcStatus OKTC_CALL oktcRecover(char const *damaged, char const *path, OktcProgress progress, void *context,
                                 OktcReport *report)
{
    return call<Alone>(Results(report), [&] {
        std::filesystem::path const from = pathOf(damaged);
        std::filesystem::path const to = pathOf(path);
        std::unique_ptr<okt::ByteSource> source = sourceOf(from);
        std::error_code error;
        if (std::filesystem::equivalent(from, to, error))
            refuse(OKTC_BAD_ARGUMENT, okt::Failure(okt::pathName(to), "", "this is the damaged file itself").what());
        OktFileReplacement file;
        auto const check = [&](bool isDone) {
            if (!isDone)
                refuseSave(to, file.refusal());
        };
        bool isBegun = false;
        okt::RecoverOptions options;
        options.onProgress = told(progress, context);
        options.name = okt::pathName(to);
        auto const sink = [&](std::string_view piece) {
            if (!isBegun)
                check(file.begin(okt::pathText(to)));
            isBegun = true;
            check(file.write(piece.data(), piece.size()));
        };
        okt::Recovered const recovered = okt::recover(*source, sink, options);
        source.reset();
        if (recovered.isNothing())
            refuse(OKTC_NOTHING, okt::Failure(okt::pathName(from), "", "there is neither a header nor a whole object").what());
        std::unique_ptr<HeldReport> made = reportOf(recovered);
        check(file.flush());
        OktcReport const handle = hold(std::move(made)); // before the file has its name, as nothing may fail behind that
        bool const isPlaced = file.commit();
        if (!isPlaced && file.refusal().status != OktSaveStatus::NotFlushed)
        {
            closeReport(handle);
            refuseSave(to, file.refusal());
        }
        *report = handle;
        check(isPlaced);
    });
}

// --- Reports -----------------------------------------------------------------------------------------------------------------

OktcStatus OKTC_CALL oktcReportClose(OktcReport report)
{
    return call<Unlocked>([&] { closeReport(report); });
}

OktcStatus OKTC_CALL oktcReportSum(OktcReport report, int32_t which, int64_t *sum)
{
    return call<Unlocked>(Results(sum), [&] {
        UsedReport used(report);
        auto const found = used.report().sums.find(which);
        if (found == used.report().sums.end())
            refuse(which < OKTC_OBJECTS || which > OKTC_CLEAN ? OKTC_BAD_ARGUMENT : OKTC_NOT_FOUND,
                   "the report has no such sum");
        *sum = found->second;
    });
}

OktcStatus OKTC_CALL oktcReportCount(OktcReport report, uint64_t *count)
{
    return call<Unlocked>(Results(count), [&] { *count = UsedReport(report).report().entries.size(); });
}

OktcStatus OKTC_CALL oktcFindingSeverity(OktcReport report, uint64_t index, int32_t *severity)
{
    return call<Unlocked>(Results(severity), [&] {
        switch (UsedReport(report).entry(index).finding.severity)
        {
        case okt::Finding::Severity::Error: *severity = OKTC_ERROR; break;
        case okt::Finding::Severity::Warning: *severity = OKTC_WARNING; break;
        case okt::Finding::Severity::Info: *severity = OKTC_INFO; break;
        }
    });
}

OktcStatus OKTC_CALL oktcFindingRole(OktcReport report, uint64_t index, int32_t *role)
{
    return call<Unlocked>(Results(role), [&] { *role = UsedReport(report).entry(index).role; });
}

OktcStatus OKTC_CALL oktcFindingCode(OktcReport report, uint64_t index, char **code, uint64_t *length)
{
    return call<Unlocked>(Results(code, length), [&] {
        UsedReport used(report);
        oktc::give(okt::codeName(used.entry(index).finding.code), code, length);
    });
}

OktcStatus OKTC_CALL oktcFindingMessage(OktcReport report, uint64_t index, char **message, uint64_t *length)
{
    return call<Unlocked>(Results(message, length), [&] {
        UsedReport used(report);
        oktc::give(okt::sentenceOf(used.entry(index).finding), message, length);
    });
}

OktcStatus OKTC_CALL oktcFindingOffset(OktcReport report, uint64_t index, int64_t *offset)
{
    return call<Unlocked>(Results(offset), [&] { *offset = UsedReport(report).entry(index).finding.offset; });
}

OktcStatus OKTC_CALL oktcFindingObject(OktcReport report, uint64_t index, uint8_t id[16])
{
    return call<Unlocked>(Results::ofId(id), [&] {
        UsedReport used(report);
        okt::Finding const &finding = used.entry(index).finding;
        if (!finding.id)
            refuse(OKTC_NOT_FOUND, "the finding concerns no object that has an id");
        oktc::give(idOf(*finding.id), id);
    });
}

OktcStatus OKTC_CALL oktcFindingNamed(OktcReport report, uint64_t index, uint8_t id[16])
{
    return call<Unlocked>(Results::ofId(id), [&] {
        UsedReport used(report);
        okt::Finding const &finding = used.entry(index).finding;
        if (!finding.named)
            refuse(OKTC_NOT_FOUND, "the finding names no missing id");
        oktc::give(idOf(*finding.named), id);
    });
}
