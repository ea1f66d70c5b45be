// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/poolreader.h>
#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/commands/jsonoutput.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/printing/partialprinter.h>
#include <tools/okt/printing/poolprinter.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace okt
{

namespace
{

/// The part of a pool file that is shown.
enum class ShowWhat
{
    All,
    Index,  ///< the index object; only this part of the file is read
    Preview ///< the pictures, likewise
};

struct Options
{
    FileOperands files;
    std::string unit = "mm";
    bool withIds = false;
    bool indexOnly = false;
    bool previewOnly = false;
    bool asJson = false;
    bool isQuiet = false;
};

struct Shown
{
    std::string text;
    std::string fault; ///< empty when all is well
};

Shown whole(InputFile const &input, DisplayUnit const &unit, bool withIds)
{
    PoolFile const file = readPool(input.path(), unit.factor, input.name(), terminalProgress());
    Waiting const waiting(printable(input.name()), static_cast<std::uintmax_t>(file.size));
    return {describe(file, unit, withIds), file.fault};
}

Shown part(InputFile const &input, ShowWhat what)
{
    PartialFile file(input.path(), input.name());
    PartialText text = what == ShowWhat::Index ? describeIndex(file) : describePictures(file);
    return {std::move(text.text), std::move(text.fault)};
}

/// Empty: the file cannot be shown at all, which was reported.
std::optional<Shown> shownOrTold(std::filesystem::path const &path, DisplayUnit const &unit, bool withIds, ShowWhat what)
{
    try
    {
        InputFile const input(path);
        return what == ShowWhat::All ? whole(input, unit, withIds) : part(input, what);
    }
    catch (Failure const &failure)
    {
        printError(failure.what());
        return std::nullopt;
    }
}

/// A fault in one file goes to standard error, after the readable part of it, and the next file is shown anyway.
int show(Options const &options)
{
    DisplayUnit const *const displayed = findUnit(options.unit);
    if (displayed == nullptr)
        throw Failure("--unit", "", "there is no unit " + options.unit);
    ShowWhat const what = options.indexOnly ? ShowWhat::Index : options.previewOnly ? ShowWhat::Preview : ShowWhat::All;
    bool ok = true;
    bool first = true;
    std::int64_t faulty = 0;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    for (std::string const &file : files)
    {
        if (options.asJson && !options.isQuiet)
        {
            ok = printJson(file, *findLengthUnit(options.unit), templateJson) && ok;
            continue;
        }
        std::optional<Shown> const shown = shownOrTold(utf8Path(file), *displayed, options.withIds, what);
        if (shown)
        {
            if (!options.isQuiet)
                print((first ? "" : "\n") + shown->text);
            first = false;
            if (!shown->fault.empty())
                printError(shown->fault);
        }
        faulty += shown && shown->fault.empty() ? 0 : 1;
    }
    ok = ok && faulty == 0;
    if (options.isQuiet)
        print(sentence("{}, {} with a fault\n", plural(static_cast<std::int64_t>(files.size()), "file"), faulty));
    return ok ? kDone : kFailed;
}

} // namespace

void addShow(CommandLine &line)
{
    DeclaredCommand const command(line, "show", "Prints pool files: header, categories, parameters, relations, sizes.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    command.flag("--ids", options->withIds, "also print the ids of parameters, their categories and owners");
    DeclaredOption const index = command.flag("--index", options->indexOnly,
                                              "only the index: title, keywords, counts; only this part of the file is read");
    DeclaredOption const preview =
        command.flag("--preview", options->previewOnly, "only the pictures: where they lie, format, size; likewise")
            .excludes(index);
    command.flag("--json", options->asJson, "one JSON object a line, one for each file: names, values, units, ids")
        .excludes(index)
        .excludes(preview);
    command.flag("-q,--quiet", options->isQuiet, "only how many files there are and how many of them have a fault");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return show(*options); };
    });
}

} // namespace okt
