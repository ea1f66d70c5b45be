#include "commands.h"
#include "console.h"
#include "failure.h"
#include "files.h"
#include "modules.h"
#include "text.h"

#include <algorithm>
#include <new>
#include <sstream>

namespace
{

using okt::kDone;
using okt::kFailed;
using okt::kWrongUsage;

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

    okt::CommandLine line{app, {}};
    for (auto const add : {okt::addBuild, okt::addShow, okt::addPicture, okt::addExport, okt::addImport,
                           okt::addRecover, okt::addInfo, okt::addLs, okt::addVerify})
        add(line);

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
        loader.load(okt::utf8Path(module));
    return line.run();
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
