// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace CLI
{
class App;
}

namespace okt
{

// Exit codes of all commands.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kDifferent = 1;      ///< of okt diff; the same as diff has
inline constexpr int kTrouble = 2;        ///< likewise
inline constexpr int kOutputClosed = 141; ///< as a shell reports for SIGPIPE
inline constexpr int kInterrupted = 130;  ///< as a shell reports for SIGINT

/// The command line while it is declared and parsed. Each command adds itself as a subcommand of `app` and, when it was given,
/// sets `run`, which main calls after the client modules are loaded. `run` owns everything that it needs.
struct CommandLine
{
    CLI::App &app;
    /// Returns the exit code. May throw Failure: its text is shown to the user, and `trouble` is the exit code.
    std::function<int()> run;
    /// The exit code for a Failure.
    int trouble = kFailed;
};

// One function for each command, in the file named after it; completion and man pages share one.
void addBuild(CommandLine &line);
void addShow(CommandLine &line);
void addPicture(CommandLine &line);
void addExport(CommandLine &line);
void addImport(CommandLine &line);
void addFilter(CommandLine &line);
void addReport(CommandLine &line);
void addDiff(CommandLine &line);
void addRecover(CommandLine &line);
void addCompletion(CommandLine &line);
void addPages(CommandLine &line);
void addInfo(CommandLine &line);
void addLs(CommandLine &line);
void addVerify(CommandLine &line);
void addDump(CommandLine &line);
void addFind(CommandLine &line);
void addTree(CommandLine &line);
void addTable(CommandLine &line);
void addGet(CommandLine &line);
void addSet(CommandLine &line);
void addLint(CommandLine &line);
void addHash(CommandLine &line);
void addEdit(CommandLine &line);
void addCatalog(CommandLine &line);
void addModules(CommandLine &line);
void addHelp(CommandLine &line); ///< after all other commands

} // namespace okt
