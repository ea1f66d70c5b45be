// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/clientobjects.h>
#include <oktrebar/plansource.h>
#include <oktrebar/poolbuilder.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/files/poolfile.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdbpool.h>

#include <memory>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string data;
    std::string folder;
    bool replaces = false;
};

/// Makes templates from a bar table or bar records, or from all of a folder, with the rule tables beside them. Nothing is
/// written before all are read. Reports on standard output what was made, what was not, and why. False: a record is wrong, which
/// was reported.
bool build(fs::path const &data, fs::path const &outputFolder, bool replaces)
{
    SourcePlans const plans = plansFrom(data);
    for (std::string const &fault : plans.faults)
        printError(fault);
    MadeFolder const folder(outputFolder);
    for (TemplatePlan const &plan : plans.templates)
        checkWritable(outputFolder / plan.fileName, replaces);
    ProgressLine progress(printable(pathName(outputFolder)), plans.templates.size(), "template");
    std::size_t done = 0;
    for (TemplatePlan const &plan : plans.templates)
    {
        progress.at(done++);
        fs::path const path = outputFolder / plan.fileName;
        std::unique_ptr<OKTDbPool> const pool = buildPool(plan);
        addClientObjects(*pool, plan);
        int const size = writePool(*pool, path);
        print(sentence("{}: {}, {}\n", printable(pathName(path)), printable(std::string_view(plan.poolName)),
                       plural(size, "byte")));
    }
    for (SkippedTemplate const &skipped : plans.skipped)
        print(sentence("no {}: {}\n", skipped.stem, printable(skipped.reason)));
    print(sentence("{} in {}, {} not made\n", plural(static_cast<std::int64_t>(plans.templates.size()), "template"),
                   printable(pathName(outputFolder)), plans.skipped.size() + plans.faults.size()));
    return plans.faults.empty();
}

} // namespace

void addBuild(CommandLine &line)
{
    DeclaredCommand const command(
        line, "build", "Makes templates from tables of bar sizes, one per size and kind, and from bar records (BF2D).");
    command.footer("0 all made, 1 failed, or a bar record is wrong: one line on standard error for each, the good ones are "
                   "made; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command
        .option("DATA", options->data,
                "a bar table (CSV), bar records (*.bf2d), or a folder with such files (bars-*.csv, *.bf2d); the rule "
                "tables lie beside")
        .required();
    command.option("-o,--output", options->folder, "the folder for the templates; made where it is missing")
        .required()
        .valueName("DIR");
    command.flag("--force", options->replaces, "replace templates that exist");
    command.onParsed([&line, options] {
        line.run = [options] {
            return build(utf8Path(options->data), utf8Path(options->folder), options->replaces) ? kDone : kFailed;
        };
    });
}

} // namespace okt
