// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/modules.h>
#include <oktinspect/reportcollector.h>
#include <tools/okt/commands/arguments.h>
#include <tools/okt/commands/commands.h>
#include <tools/okt/commands/complete.h>
#include <tools/okt/commands/gitcall.h>
#include <tools/okt/commands/help.h>
#include <tools/okt/commands/tableoperands.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/interrupt.h>
#include <tools/okt/terminal/system.h>

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using okt::kDone;
using okt::kFailed;
using okt::kWrongUsage;

constexpr char kNoMemory[] = "there is not enough memory";

void tell(std::exception const &exception)
try
{
    okt::printError(okt::printable(std::string_view(exception.what())));
}
catch (std::bad_alloc const &)
{
    okt::printError(kNoMemory);
}

int g_trouble = kFailed; ///< the exit code for what is thrown

/// A destructor that needs memory can do no better.
[[noreturn]] void endWithoutMemory()
{
    try
    {
        if (std::current_exception())
            throw;
    }
    catch (std::bad_alloc const &)
    {
        okt::printError(kNoMemory);
        okt::endLeavingNothing(g_trouble);
    }
    catch (...)
    {
        // As without this.
    }
    std::abort();
}

int answerWrongUsage(okt::WrongUsage const &wrong)
{
    std::string const help =
        wrong.command() == nullptr ? "okt --help" : okt::sentence("okt {} --help", wrong.command()->get_name());
    okt::printError(okt::sentence("{}; see \"{}\"", okt::printable(std::string_view(wrong.what())), help));
    return kWrongUsage;
}

/// Help and version go to standard output; wrong usage is one line.
int answerParser(CLI::App const &app, CLI::ParseError const &error)
{
    if (error.get_exit_code() != 0)
        return answerWrongUsage(okt::wrongUsage(app, error));
    std::ostringstream text;
    app.exit(error, text, text);
    okt::print(text.str());
    return kDone;
}

/// Of an option that is given more than once the last one counts, but for those that are given once for each of something.
void letTheLastCount(CLI::App &app)
{
    for (CLI::Option *const option : app.get_options())
        if (option->nonpositional() && option->get_expected_max() == 1)
            option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    for (CLI::App *const command : app.get_subcommands(nullptr))
        letTheLastCount(*command);
}

int run(int argc, char **argv)
{
    CLI::App app("Makes template pools of reinforcement, looks into them, compares and converts them.", "okt");
    app.allow_windows_style_options(false); // a path may begin with a slash on every system
    app.set_version_flag("--version", "okt " OKT_VERSION);
    app.require_subcommand(1);
    app.fallthrough(); // options for all commands stand before or behind the command

    std::vector<std::string> modules;
    app.add_option("--module", modules, "a client module that brings classes of its own; once for each")
        ->type_name("FILE")
        ->allow_extra_args(false);
    bool withoutSearch = false;
    app.add_flag("--no-modules", withoutSearch, "look for no client modules; only those that --module names are loaded");

    okt::CommandLine line{app, {}};
    for (auto const add :
         {okt::addInfo,    okt::addLs,      okt::addShow,       okt::addTree,    okt::addFind,  okt::addDump,   okt::addReport,
          okt::addTable,   okt::addGet,     okt::addSet,        okt::addPicture, okt::addBuild, okt::addExport, okt::addImport,
          okt::addFilter,  okt::addDiff,    okt::addVerify,     okt::addLint,    okt::addHash,  okt::addEdit,   okt::addRecover,
          okt::addCatalog, okt::addModules, okt::addCompletion, okt::addPages,   okt::addHelp})
        add(line);
    letTheLastCount(app);
    okt::finishHelp(app);

    try
    {
        std::vector<std::string> typed = okt::arguments(argc, argv);
        if (auto const words = okt::wordsToComplete(typed))
        {
            okt::print(okt::candidates(app, *words));
            return kDone;
        }
        okt::markGitOperands(typed);
        okt::markTableFiles(typed);
        std::vector<std::string> const texts = okt::arranged(app, typed);
        std::vector<char const *> words;
        words.reserve(texts.size());
        for (std::string const &text : texts)
            words.push_back(text.c_str());
        app.parse(static_cast<int>(words.size()), words.data());
    }
    catch (CLI::ParseError const &error)
    {
        return answerParser(app, error);
    }
    catch (okt::WrongUsage const &wrong)
    {
        return answerWrongUsage(wrong);
    }
    g_trouble = line.trouble;
    for (std::string const &module : modules)
        okt::modules().load(okt::utf8Path(module));
    okt::modules().searchIn(okt::moduleFolders(), !withoutSearch);
    okt::ReportCollector const collector; // what the library reports where nobody collects it
    int const result = line.run();
    okt::checkMemory();
    if (!collector.reports().empty())
        okt::printError(collector.reports());
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    okt::guardStandardStreams();
    okt::handleInterrupts();
    std::set_terminate(endWithoutMemory);
    try
    {
        return run(argc, argv);
    }
    catch (okt::OutputClosed const &)
    {
        return okt::kOutputClosed;
    }
    catch (okt::Interrupted const &)
    {
        return okt::kInterrupted;
    }
    catch (okt::Failure const &failure)
    {
        okt::printError(failure.what());
    }
    catch (okt::OutputFailed const &failure)
    {
        okt::printError(failure.what());
    }
    catch (std::bad_alloc const &)
    {
        okt::printError(kNoMemory);
    }
    catch (std::exception const &exception)
    {
        tell(exception);
    }
    return g_trouble;
}
