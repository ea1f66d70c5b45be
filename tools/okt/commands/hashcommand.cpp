// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/files/digests.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <memory>

namespace okt
{

namespace
{

struct Options
{
    FileOperands files;
    bool ofBytes = false;
    bool asManifest = false;
    bool asJson = false;
    bool isQuiet = false;
};

int printManifest(Options const &options)
{
    bool ok = true;
    Manifest const manifest = manifestOf(options.files.files.front(), [&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    if (manifest.empty())
        throw Failure(options.files.files.front(), "", "there is no pool file in this folder");
    print(manifestText(manifest));
    return ok ? kDone : kFailed;
}

int hashAll(Options const &options)
{
    bool ok = true;
    auto const told = [&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    };
    std::int64_t files = 0;
    std::int64_t digested = 0;
    for (std::string const &file : options.files.expanded(told))
    {
        ++files;
        try
        {
            std::string const name = inputName(utf8Path(file));
            if (options.asJson)
            {
                FileDigests const digests = digestsOf(file, told);
                PlainJson json = {{"file", name}, {"bytes", digests.bytes}, {"contents", nullptr}};
                if (!digests.contents.empty())
                    json["contents"] = digests.contents;
                if (!options.isQuiet)
                    print(lineOf(json));
                digested += digests.contents.empty() ? 0 : 1;
                continue;
            }
            std::string const digest = options.ofBytes ? byteDigestOf(file) : contentDigestOf(file);
            ++digested;
            if (!options.isQuiet)
                print(options.ofBytes ? digestLine(digest, "  ", name)
                                      : sentence("{}  {}\n", digest, printable(std::string_view(name))));
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }
    if (options.isQuiet)
        print(sentence("{}, {}\n", plural(files, "file"), plural(digested, "digest")));
    return ok ? kDone : kFailed;
}

} // namespace

void addHash(CommandLine &line)
{
    DeclaredCommand const command(
        line, "hash", "Prints digests of pool files: of what they hold, whatever ids their objects have, or of their bytes.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    DeclaredOption const bytes = command.flag("--bytes", options->ofBytes, "of the bytes, as sha256sum has them");
    DeclaredOption const manifest = command.flag("--manifest", options->asManifest,
                                                 "both digests of all pool files below a folder, for okt verify --manifest");
    DeclaredOption const json = command.flag("--json", options->asJson, "one JSON object a line, with both digests");
    manifest.excludes(bytes);
    json.excludes(bytes).excludes(manifest);
    command.flag("-q,--quiet", options->isQuiet, "only how many files there are, and how many of them have a digest")
        .excludes(manifest);
    command.onParsed([&line, options] {
        options->files.check();
        if (options->asManifest && (options->files.files.size() != 1 || !options->files.filesFrom.empty()))
            refuse("--manifest", "one folder is wanted");
        line.run = [options] { return options->asManifest ? printManifest(*options) : hashAll(*options); };
    });
}

} // namespace okt
