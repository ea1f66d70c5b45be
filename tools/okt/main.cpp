#include "commands.h"
#include "console.h"
#include "failure.h"
#include "modules.h"
#include "text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <new>
#include <sstream>

namespace
{

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::filesystem::path pathOf(std::string const &argument)
{
    return std::filesystem::path(std::u8string(argument.begin(), argument.end()));
}

/// Help and version go to standard output; wrong usage is one line.
int answerParser(CLI::App const &app, CLI::ParseError const &error)
{
    if (error.get_exit_code() == 0)
    {
        std::ostringstream text;
        app.exit(error, text, text);
        okt::print(text.str());
        return kDone;
    }
    std::string line = error.what();
    std::replace(line.begin(), line.end(), '\n', ' ');
    okt::printError(okt::printable(line) + " (see okt --help)");
    return kWrongUsage;
}

int run(int argc, char **argv)
{
    CLI::App app("Makes and shows template pools of reinforcement.\n"
                 "Exit code: 0 done, 1 failed (one line on standard error: file, place, reason), 2 wrong usage.",
                 "okt");
    app.allow_windows_style_options(false); // a path may begin with a slash on every system
    app.set_version_flag("--version", "okt " OKT_VERSION);
    app.require_subcommand(1);
    app.fallthrough(); // options for all commands stand before or behind the command

    std::vector<std::string> modules;
    app.add_option("--module", modules, "a client module that brings classes of its own; once for each")
        ->type_name("FILE")
        ->allow_extra_args(false);

    std::string data;
    std::string folder;
    CLI::App *const build = app.add_subcommand("build", "Makes one template per bar size and kind from published figures.\n"
                                                        "  okt build examples/data -o templates");
    build->add_option("DATA", data, "a bar table (CSV), or a folder with bar tables (bars-*.csv); the rule tables lie beside")
        ->required();
    build->add_option("-o,--output", folder, "the folder for the templates; made where it is missing")->required();

    std::vector<std::string> files;
    std::string unit = "mm";
    bool withIds = false;
    CLI::App *const show = app.add_subcommand("show", "Prints pool files: header, categories, parameters, relations, sizes.\n"
                                                      "  okt show templates/link-no4.okt --unit in");
    show->add_option("FILE", files, "pool files")->required();
    show->add_option("-u,--unit", unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        ->check(CLI::IsMember({"mm", "cm", "m", "in", "ft"}));
    show->add_flag("--ids", withIds, "also print the ids of parameters, their categories and owners");
    bool indexOnly = false;
    bool previewOnly = false;
    CLI::Option *const index =
        show->add_flag("--index", indexOnly, "only the index: title, keywords, counts; only this part of the file is read");
    show->add_flag("--preview", previewOnly, "only the pictures: where they lie, format, size; likewise")->excludes(index);

    std::string pool;
    int number = 0;
    std::string image;
    CLI::App *const picture = app.add_subcommand("picture", "Writes a picture of a pool file to a file, as it was stored.\n"
                                                            "  okt picture templates/link-d12.okt -o link.png");
    picture->add_option("FILE", pool, "a pool file")->required();
    picture->add_option("--index", number, "which picture of the pool, counted from 0; 0 without this option")
        ->check(CLI::NonNegativeNumber);
    picture->add_option("-o,--output", image, "the file for the picture; - for standard output")->required();

    std::string source;
    std::string target;
    std::string pictures;
    bool replaces = false;
    CLI::App *const exporter =
        app.add_subcommand("export", "Writes a pool file as text (JSON), which gives the same file again.\n"
                                     "  okt export templates/link-d12.okt -o link.json");
    CLI::App *const importer = app.add_subcommand("import", "Makes a pool file of its text.\n"
                                                            "  okt import link.json -o link.okt");
    exporter->add_option("FILE", source, "a pool file; - for standard input")->required();
    exporter->add_option("-o,--output", target, "the file for the text; standard output without this option, or with -");
    importer->add_option("JSON", source, "a text that okt export made; - for standard input")->required();
    importer->add_option("-o,--output", target, "the pool file; - for standard output")->required();
    exporter
        ->add_option("--pictures", pictures, "a folder for pictures and longer byte arrays, which stand in the text otherwise")
        ->type_name("DIR");
    importer->add_option("--pictures", pictures, "the folder with the pictures; that of the text without this option")
        ->type_name("DIR");
    for (CLI::App *const command : {exporter, importer})
        command->add_flag("--force", replaces, "replace files that exist");

    try
    {
        app.parse(argc, argv);
    }
    catch (CLI::ParseError const &error)
    {
        return answerParser(app, error);
    }
    okt::Modules loader;
    for (std::string const &module : modules)
        loader.load(pathOf(module));
    if (build->parsed())
    {
        okt::build(pathOf(data), pathOf(folder));
        return kDone;
    }
    if (picture->parsed())
        return okt::picture(pathOf(pool), number, pathOf(image)) ? kDone : kFailed;
    if (exporter->parsed())
    {
        okt::exportText(pathOf(source), pathOf(target.empty() ? "-" : target), pathOf(pictures), replaces);
        return kDone;
    }
    if (importer->parsed())
    {
        okt::importText(pathOf(source), pathOf(target), pathOf(pictures), replaces);
        return kDone;
    }
    std::vector<std::filesystem::path> paths;
    std::transform(files.begin(), files.end(), std::back_inserter(paths), pathOf);
    okt::ShowWhat const what = indexOnly ? okt::ShowWhat::Index : previewOnly ? okt::ShowWhat::Preview : okt::ShowWhat::All;
    return okt::show(paths, unit, withIds, what) ? kDone : kFailed;
}

} // namespace

int main(int argc, char **argv)
{
    okt::guardStandardStreams();
    try
    {
        return run(argc, argv);
    }
    catch (okt::Failure const &failure)
    {
        okt::printError(failure.what());
    }
    catch (std::bad_alloc const &)
    {
        okt::printError("there is not enough memory");
    }
    catch (std::exception const &exception)
    {
        okt::printError(okt::printable(std::string_view(exception.what())));
    }
    return kFailed;
}
