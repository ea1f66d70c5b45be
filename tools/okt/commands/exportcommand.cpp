// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/poolreader.h>
#include <oktinspect/reportcollector.h>
#include <oktrebar/recordtemplate.h>
#include <okttext/damagedpool.h>
#include <tools/okt/commands/gitfilter.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <okttext/oktpoolparts.h>
#include <okttext/okttextpool.h>

#include <memory>
#include <optional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string file;
    std::string output = kStandardStream;
    std::string pictures;
    std::string format = "json";
    bool replaces = false;
    bool forGit = false;
};

/// Writes the text form of a pool file to a file in one step, or to standard output. With a folder for pictures, they go there.
void exportText(fs::path const &path, fs::path const &output, fs::path const &pictures, bool replaces)
{
    refuseSameFile(path, output, "the pool file itself");
    CByteArray const image = readInput(path, terminalProgress());
    if (image.IsEmpty())
        throw Failure(inputName(path), "", "the file is empty");
    PictureFolder folder(pictures, replaces); // before the text, which may be written into the same folder
    std::optional<OutputFile> text;
    auto const refuseOneName = [&] {
        if (folder.has(output))
            throw Failure(pathName(output), "", "the file cannot be written: one of the pictures has this name");
    };
    OKTTextPutFile put;
    if (!pictures.empty())
        put = [&](std::string const &stem, CByteArray const &bytes) {
            try
            {
                return folder.put(stem, bytes);
            }
            catch (Failure const &)
            {
                refuseOneName(); // otherwise the text would be called locked
                throw;
            }
        };
    auto const sink = [&](std::string_view piece) {
        if (!text)
        {
            refuseOneName();
            text.emplace(output, replaces);
        }
        text->write(piece);
    };
    OKTTextFault fault;
    ReportCollector const collector; // if an object cannot be read, only the names of its members are missing
    std::string const name = printable(inputName(path));
    auto const size = static_cast<std::uintmax_t>(image.GetSize());
    std::optional<Waiting> waiting(std::in_place, name, size); // while the file is parsed
    std::optional<ProgressLine> progress;
    auto const tell = [&](std::size_t bytes, std::size_t objects) {
        waiting.reset();
        if (!progress)
            progress.emplace(name, size);
        progress->at(bytes, objects);
    };
    if (!OktExportText(image, sink, fault, put, tell))
        throw Failure(inputName(path), fault.place(), fault.reason);
    text->close();
    folder.commitWith(*text);
}

/// For the text conversion of git. A damaged file is not a failure, because that would end a whole log.
void exportForGit(fs::path const &path)
{
    ReportCollector const collector;
    CByteArray image;
    try
    {
        image = readInput(path, terminalProgress());
        if (image.IsEmpty())
            throw Failure(inputName(path), "", "the file is empty");
    }
    catch (Failure const &failure)
    {
        // Git gives copies of files other names each time.
        return print(sentence("! {}\n", failure.withoutFile()));
    }
    std::optional<Waiting> waiting(std::in_place, printable(inputName(path)), static_cast<std::uintmax_t>(image.GetSize()));
    auto const sink = [&waiting](std::string_view piece) {
        waiting.reset();
        print(piece);
    };
    OKTTextFault fault;
    if (isFilterText(okttext::bytesOf(image)))
        sink(asExported(okttext::bytesOf(image)));
    else if (!OktExportText(image, sink, fault))
        writeDamagedText(okttext::bytesOf(image), fault, sink);
}

/// The bar record of a template. Empty: a fault of the file prevents it, which was reported. A fault
/// elsewhere does not matter.
std::optional<std::string> recordOf(fs::path const &path)
{
    constexpr double kMillimetres = 1000;
    InputFile const input(path);
    PoolFile const file = readPool(input.path(), kMillimetres, input.name(), terminalProgress());
    try
    {
        return bf2dLineOf(*file.pool, input.name());
    }
    catch (Failure const &)
    {
        if (file.fault.empty())
            throw;
        printError(file.fault);
        return std::nullopt;
    }
}

bool exportRecord(fs::path const &path, fs::path const &output, bool replaces)
{
    refuseSameFile(path, output, "the pool file itself");
    std::optional<std::string> const line = recordOf(path);
    if (!line)
        return false;
    OutputFile text(output, replaces);
    text.write(*line + "\n");
    text.close();
    text.commit();
    return true;
}

} // namespace

void addExport(CommandLine &line)
{
    DeclaredCommand const command(line, "export",
                                  "Writes a pool file as text (JSON), which gives the same file again, or as a bar record.");
    auto const options = std::make_shared<Options>();
    command.option("FILE", options->file, "a pool file; - for standard input").required();
    DeclaredOption const git = command.flag(
        "--git", options->forGit,
        "as git's text conversion: a damaged file gives its faults and what is whole, and is no failure. What follows is FILE");
    command.option("-o,--output", options->output, "the file for the text; standard output without this option, or with -")
        .excludes(git);
    command
        .option("--pictures", options->pictures,
                "a folder for pictures and longer byte arrays, which stand in the text otherwise")
        .valueName("DIR")
        .excludes(git);
    command
        .option("--format", options->format,
                "json (default): the whole file; bf2d: the bar record that a template of okt build came from")
        .oneOf({"json", "bf2d"})
        .excludes(git);
    command.flag("--force", options->replaces, "replace files that exist");
    command.onParsed([&line, options] {
        if (options->format == "bf2d" && !options->pictures.empty())
            refuse("--pictures", "a bar record has no pictures");
        line.run = [options] {
            if (options->forGit)
            {
                exportForGit(utf8Path(options->file));
                return kDone;
            }
            if (options->format == "bf2d")
                return exportRecord(utf8Path(options->file), utf8Path(options->output), options->replaces) ? kDone : kFailed;
            exportText(utf8Path(options->file), utf8Path(options->output), utf8Path(options->pictures), options->replaces);
            return kDone;
        };
    });
}

} // namespace okt
