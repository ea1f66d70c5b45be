// SPDX-License-Identifier: MIT
#include <oktreport/page.h>

#include <oktformat/failure.h>
#include <tools/okt/commands/declaration.h>
#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    FileOperands files;
    std::string output;
    std::string title;
    std::string unit = "mm";
    bool replaces = false;
};

/// 0: it has no file, or cannot be read.
std::uintmax_t sizeOf(std::string const &file)
{
    std::error_code error;
    std::uintmax_t const size = file == kStandardStream ? 0 : fs::file_size(utf8Path(file), error);
    return error ? 0 : size;
}

int report(Options const &options)
{
    fs::path const output = utf8Path(options.output);
    bool ok = true;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    std::vector<TemplateFacts> templates;
    for (std::string const &file : files)
        refuseSameFile(utf8Path(file), output, "one of the pool files");
    if (output != kStandardStream)
        checkWritable(output, options.replaces);
    std::optional<ProgressLine> progress; // of one file the steps tell more
    if (files.size() > 1)
        progress.emplace("report",
                         std::accumulate(files.begin(), files.end(), std::uintmax_t(0),
                                         [](std::uintmax_t sum, std::string const &file) { return sum + sizeOf(file); }));
    std::uintmax_t done = 0;
    for (std::string const &file : files)
    {
        if (progress)
            progress->at(done);
        done += sizeOf(file);
        fs::path const path = utf8Path(file);
        std::string fault;
        try
        {
            InputFile const input(path);
            templates.push_back(factsOf(input.path(), path, fault, terminalProgress()));
        }
        catch (Failure const &failure) // a stream that cannot be kept
        {
            fault = failure.what();
            templates.push_back(factsOfUnread(path, fault));
        }
        if (!fault.empty())
            printError(fault);
    }
    progress.reset();
    Waiting const waiting("report");
    PageOptions page;
    arrange(templates);
    page.title = options.title;
    page.unit = static_cast<std::size_t>(std::find(kUnitNames.begin(), kUnitNames.end(), options.unit) - kUnitNames.begin());
    OutputFile file(output, options.replaces);
    writePage(templates, page, [&file](std::string_view piece) { file.write(piece); });
    file.close();
    file.commit();
    return ok && std::all_of(templates.begin(), templates.end(), [](TemplateFacts const &facts) { return facts.fault.empty(); })
               ? kDone
               : kFailed;
}

} // namespace

void addReport(CommandLine &line)
{
    DeclaredCommand const command(line, "report",
                                  "Makes one page (HTML) of pool files, which needs nothing else and can be sent on.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    addIndex(command, options->files);
    command.option("-o,--output", options->output, "the file for the page; - for standard output").required();
    command
        .option("-u,--unit", options->unit, "the unit of lengths at first: mm (default), cm, m, in, ft; the page has a switch")
        .oneOf(unitNames());
    command.option("--title", options->title, "the heading of the page").valueName("HEADING");
    command.flag("--force", options->replaces, "replace a file that exists");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return report(*options); };
    });
}

} // namespace okt
