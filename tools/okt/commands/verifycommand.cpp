// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/verifier.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/manifest.h>
#include <oktinspect/moduletext.h>
#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/files/digests.h>
#include <tools/okt/terminal/console.h>

#include <nlohmann/json.hpp>

#include <memory>

namespace okt
{

namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

struct Options
{
    FileOperands files;
    std::string manifest;
    bool asJson = false;
    bool isQuiet = false;
};

std::string changeLine(ManifestChange const &change, bool asJson)
{
    using Kind = ManifestChange::Kind;
    char const *const word = change.kind == Kind::Missing     ? "missing"
                             : change.kind == Kind::New       ? "new"
                             : change.kind == Kind::Changed   ? "changed"
                             : change.kind == Kind::Rewritten ? "rewritten"
                                                              : "renamed";
    if (!asJson)
        return sentence("{}: {}{}{}", printable(std::string_view(change.path)), word,
                        change.kind == Kind::Rewritten ? ", and holds the same" : "",
                        change.other.empty() ? "" : " to " + printable(std::string_view(change.other)));
    Json json = {{"file", change.path}, {"change", word}};
    if (!change.other.empty())
        json["other"] = change.other;
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string findingLine(std::string const &file, Finding const &finding, bool asJson)
{
    if (!asJson)
        return Failure(file, byteAt(finding.offset), sentence("{}: {}", severityName(finding.severity), sentenceOf(finding)))
            .what();
    Json json;
    json["file"] = file;
    json["offset"] = finding.offset;
    json["severity"] = severityName(finding.severity);
    json["code"] = codeName(finding.code);
    if (finding.id && !isSame(*finding.id, kNoId))
        json["id"] = idText(*finding.id);
    if (finding.named)
        json["names"] = idText(*finding.named);
    json["finding"] = sentenceOf(finding);
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Verdict verdictOf(std::string const &file, Options const &given)
{
    fs::path const path = utf8Path(file);
    VerifyOptions options;
    options.name = inputName(path);
    options.onFinding = [&](Finding const &finding) {
        if (!given.isQuiet)
            print(findingLine(options.name, finding, given.asJson) + "\n");
    };
    options.onProgress = terminalProgress();
    options.moduleOf = moduleNaming;
    Verdict const verdict = verify(path, options).verdict;
    if (!given.asJson && !given.isQuiet)
        print(sentence("{}: {}, {}\n", printable(std::string_view(options.name)), plural(verdict.objects, "object"),
                       findingsText(verdict)));
    return verdict;
}

/// What of a folder is no longer as the manifest says. Other bytes that hold the same are told, and are no failure.
int verifyManifest(Options const &options)
{
    bool ok = true;
    Manifest before;
    try
    {
        before = parseManifest(readText(utf8Path(options.manifest)));
    }
    catch (ManifestError const &error)
    {
        throw Failure(options.manifest, std::to_string(error.line()), error.what());
    }
    Manifest const now = manifestOf(options.files.files.front(), [&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    std::string text;
    std::int64_t changes = 0;
    for (ManifestChange const &change : compare(before, now))
    {
        bool const isSame = change.kind == ManifestChange::Kind::Rewritten;
        changes += isSame ? 0 : 1;
        if (!options.isQuiet)
            text += changeLine(change, options.asJson) + "\n";
    }
    if (!options.asJson)
        text += sentence("{}, {}\n", plural(static_cast<std::int64_t>(now.size()), "file"), plural(changes, "change"));
    print(text);
    return ok && changes == 0 ? kDone : kFailed;
}

int verifyAll(Options const &options)
{
    bool ok = true;
    Verdict sum;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    for (std::string const &file : files)
    {
        try
        {
            Verdict const verdict = verdictOf(file, options);
            sum.objects += verdict.objects;
            sum.errors += verdict.errors;
            sum.warnings += verdict.warnings;
            sum.infos += verdict.infos;
        }
        catch (Failure const &failure)
        {
            printError(failure.what());
            ok = false;
        }
    }
    if (options.isQuiet && !options.asJson)
        print(sentence("{}, {}, {}\n", plural(static_cast<std::int64_t>(files.size()), "file"), plural(sum.objects, "object"),
                       findingsText(sum)));
    return ok && sum.errors == 0 ? kDone : kFailed;
}

} // namespace

void addVerify(CommandLine &line)
{
    DeclaredCommand const command(
        line, "verify",
        "Checks pool files: structure, ids and what names them, lists, places, values, images. One line for each finding.");
    command.footer("0 no error, with or without warnings and infos; 1 an error, or a file that cannot be read, or with "
                   "--manifest a change; 2 "
                   "wrong usage.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.flag("--json", options->asJson, "one JSON object a line, one for each finding");
    command.flag("-q,--quiet", options->isQuiet, "only the total");
    command.option("--manifest", options->manifest, "hold a folder against a manifest that okt hash --manifest made");
    command.onParsed([&line, options] {
        options->files.check();
        if (!options->manifest.empty() && (options->files.files.size() != 1 || !options->files.filesFrom.empty()))
            refuse("--manifest", "one folder is wanted");
        line.run = [options] { return options->manifest.empty() ? verifyAll(*options) : verifyManifest(*options); };
    });
}

} // namespace okt
