#include <tools/okt/commands/commands.h>

#include <oktformat/failure.h>
#include <oktformat/text.h>
#include <oktrebar/clientobjects.h>
#include <oktrebar/poolbuilder.h>
#include <oktrebar/recordtemplate.h>
#include <oktrebar/templateplan.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/files/poolfile.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdbpool.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <system_error>

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

bool hasEnding(fs::path const &path, char16_t const *ending) { return pathText(path.extension()).CompareNoCase(ending) == 0; }

bool isBarTable(fs::path const &path) { return pathName(path.filename()).starts_with("bars-") && hasEnding(path, u".csv"); }

bool isBarRecords(fs::path const &path) { return hasEnding(path, u".bf2d"); }

/// The bar tables and the files of bar records that are meant.
std::vector<fs::path> sourcesIn(fs::path const &data)
{
    std::error_code error;
    fs::file_status const status = fs::status(data, error);
    if (status.type() == fs::file_type::not_found)
        throw Failure(pathName(data), "", "there is no such file or folder");
    if (!fs::is_directory(status))
        return {data};
    std::vector<fs::path> tables;
    fs::directory_iterator entries(data, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error))
        if (isBarTable(entries->path()) || isBarRecords(entries->path()))
            tables.push_back(entries->path());
    if (error)
        throw Failure(pathName(data), "", "the folder cannot be read: " + error.message());
    if (tables.empty())
        throw Failure(pathName(data), "", "the folder has no bar table (bars-*.csv) and no bar records (*.bf2d)");
    std::sort(tables.begin(), tables.end());
    return tables;
}

Plans plansFrom(fs::path const &table)
{
    BarTable const bars = BarTable::load(table);
    fs::path const folder = table.parent_path();
    BendRules const rules = BendRules::load(folder / "bend-rules.csv");
    if (bars.units == Units::Inch)
        return inchPlans(bars, rules);
    SchedulingBends const bends = SchedulingBends::load(folder / "bends-bs8666.csv");
    ShapeLengths const shapes = ShapeLengths::load(folder / "shape-lengths-bs8666.csv");
    return metricPlans(bars, bends, rules, shapes);
}

/// Of bar records. The faults are lines for the user.
Plans plansFromRecords(fs::path const &records, std::vector<std::string> &faults)
{
    Bf2dPlans made = bf2dPlans(records, BarTable::load(records.parent_path() / "bars-en10080.csv"));
    std::move(made.faults.begin(), made.faults.end(), std::back_inserter(faults));
    return {std::move(made.templates), {}};
}

/// Two tables of one folder may hold the same size, and names of records differ in the case of their endings.
void refuseSameFiles(std::vector<TemplatePlan> const &templates, std::string const &data)
{
    std::map<std::string, TemplatePlan const *> seen;
    for (TemplatePlan const &plan : templates)
        if (!seen.emplace(plan.fileName, &plan).second)
            throw Failure(data, "",
                          (plan.kind == TemplateKind::Bent ? "two files of bar records have the same name: "
                                                           : "two bar tables hold the same size: ") +
                              plan.fileName + " would be made twice");
}

/// Makes templates from a bar table or bar records, or from all of a folder, with the rule tables beside them. Nothing is
/// written before all are read. Says on standard output what was made and what not, and why. False: a record is wrong, and it
/// was told.
bool build(fs::path const &data, fs::path const &outputFolder, bool replaces)
{
    Plans plans;
    std::vector<std::string> faults;
    for (fs::path const &source : sourcesIn(data))
    {
        Plans more = isBarRecords(source) ? plansFromRecords(source, faults) : plansFrom(source);
        std::move(more.templates.begin(), more.templates.end(), std::back_inserter(plans.templates));
        std::move(more.skipped.begin(), more.skipped.end(), std::back_inserter(plans.skipped));
    }
    refuseSameFiles(plans.templates, pathName(data));

    for (std::string const &fault : faults)
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
        print(printable(pathName(path)) + ": " + printable(std::string_view(plan.poolName)) + ", " + plural(size, "byte") +
              "\n");
    }
    for (SkippedTemplate const &skipped : plans.skipped)
        print("no " + skipped.stem + ": " + printable(skipped.reason) + "\n");
    print(plural(static_cast<std::int64_t>(plans.templates.size()), "template") + " in " + printable(pathName(outputFolder)) +
          ", " + std::to_string(plans.skipped.size() + faults.size()) + " not made\n");
    return faults.empty();
}

} // namespace

void addBuild(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand(
        "build", "Makes templates from tables of bar sizes, one per size and kind, and from bar records (BF2D).\n"
                 "  okt build examples/data -o templates\n"
                 "  okt build examples/data/bar-records.bf2d -o bars --force\n"
                 "  okt --module libokt_example_module.so build examples/data -o templates");
    command->footer("0 all made, 1 failed, or a bar record is wrong: one line on standard error for each, the good ones are "
                    "made; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command
        ->add_option("DATA", options->data,
                     "a bar table (CSV), bar records (*.bf2d), or a folder with such files (bars-*.csv, *.bf2d); the rule "
                     "tables lie beside")
        ->required();
    command->add_option("-o,--output", options->folder, "the folder for the templates; made where it is missing")
        ->required()
        ->type_name("DIR");
    command->add_flag("--force", options->replaces, "replace templates that exist");
    command->callback([&line, options] {
        line.run = [options] {
            return build(utf8Path(options->data), utf8Path(options->folder), options->replaces) ? kDone : kFailed;
        };
    });
}

} // namespace okt
