// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace okt
{

// How shells complete command lines: the script of each asks "okt __complete -- WORDS..." what may stand at the cursor. Own code, because CLI11 completes nothing.

/// The script for bash, zsh or fish.
std::string completionScript(std::string const &shell);

/// The words to complete, if the line is "okt __complete -- WORDS...": the program first; the last one is at the cursor and may be empty.
/// Empty: another command line.
std::optional<std::vector<std::string>> wordsToComplete(std::vector<std::string> const &line);

/// The candidates for the last word, not filtered by what is typed: one a line, with a description after a tab. A single line ":file" or
/// ":folder": the shell completes a path. Call it after finishHelp.
std::string candidates(CLI::App const &app, std::vector<std::string> const &words);

} // namespace okt
