#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace okt
{

// Exit codes of all commands.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1; ///< and "different" of okt diff
inline constexpr int kWrongUsage = 2;

/// The command line while it is declared and parsed. Each command adds itself as a subcommand of `app` and, when it was given,
/// sets `run`, which main calls once the client modules are loaded. What `run` needs it owns.
struct CommandLine
{
    CLI::App &app;
    /// Gives the exit code. Throws Failure for what stops the command: one line for the user, exit code kFailed.
    std::function<int()> run;
};

// One function for each command, in the file named after it.
void addBuild(CommandLine &line);
void addShow(CommandLine &line);
void addPicture(CommandLine &line);
void addExport(CommandLine &line);
void addImport(CommandLine &line);
void addRecover(CommandLine &line);
void addInfo(CommandLine &line);
void addLs(CommandLine &line);
void addVerify(CommandLine &line);

} // namespace okt
