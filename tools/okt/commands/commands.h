// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace okt
{

// Exit codes of all commands.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kDifferent = 1;      ///< of okt diff, which answers as diff does
inline constexpr int kTrouble = 2;        ///< likewise
inline constexpr int kOutputClosed = 141; ///< what a shell has for a program that a closed pipe ended
inline constexpr int kInterrupted = 130;  ///< and for an interrupt

/// The command line while it is declared and parsed. Each command adds itself as a subcommand of `app` and, when it was given,
/// sets `run`, which main calls once the client modules are loaded. What `run` needs it owns.
struct CommandLine
{
    CLI::App &app;
    /// Gives the exit code. Throws Failure for what stops the command: one line for the user, and `trouble` as exit code.
    std::function<int()> run;
    /// The exit code for what stops the command.
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
void addModules(CommandLine &line);
void addHelp(CommandLine &line); ///< behind all that it tells of

} // namespace okt
