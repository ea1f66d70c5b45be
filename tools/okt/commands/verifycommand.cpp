// SPDX-License-Identifier: MIT
#include <tools/okt/commands/commands.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/verifier.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/moduletext.h>
#include <tools/okt/files/exportfiles.h>
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
    std::vector<std::string> files;
    bool asJson = false;
};

std::string findingLine(std::string const &file, Finding const &finding, bool asJson)
{
    if (!asJson)
        return Failure(file, byteAt(finding.offset), std::string(severityName(finding.severity)) + ": " + sentenceOf(finding))
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

bool isSound(std::string const &file, bool asJson)
{
    fs::path const path = utf8Path(file);
    VerifyOptions options;
    options.name = inputName(path);
    options.onFinding = [&](Finding const &finding) { print(findingLine(options.name, finding, asJson) + "\n"); };
    options.onProgress = terminalProgress();
    options.moduleOf = moduleNaming;
    Verdict const verdict = verify(path, options).verdict;
    if (!asJson)
        print(printable(std::string_view(options.name)) + ": " + plural(verdict.objects, "object") + ", " +
              findingsText(verdict) + "\n");
    return verdict.errors == 0;
}

int verifyAll(Options const &options)
{
    checkReadOnce(options.files);
    bool ok = true;
    for (std::string const &file : options.files)
    {
        try
        {
            ok = isSound(file, options.asJson) && ok;
        }
        catch (Failure const &failure)
        {
            printError(failure.what());
            ok = false;
        }
    }
    return ok ? kDone : kFailed;
}

} // namespace

void addVerify(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand(
        "verify",
        "Checks pool files: structure, ids and what names them, lists, places, values, images. One line for each finding.\n"
        "  okt verify templates/*.okt");
    command->footer(
        "0 no error, with or without warnings and infos; 1 an error, or a file that cannot be read; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command->add_option("FILE", options->files, "pool files; - for standard input")->required();
    command->add_flag("--json", options->asJson, "one JSON object a line, one for each finding");
    command->callback([&line, options] { line.run = [options] { return verifyAll(*options); }; });
}

} // namespace okt
