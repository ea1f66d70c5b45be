// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace okt
{

// How shells complete command lines: the script of each asks "okt __complete -- WORDS..." what may stand at the cursor.

/// The script for bash, zsh or fish.
std::string completionScript(std::string const &shell);

/// The words of a line that asks so, its program first, without what asks; the last one is that at the cursor and may be empty.
/// Nothing: the line is another one.
std::optional<std::vector<std::string>> wordsToComplete(std::vector<std::string> const &line);

/// What may stand at the last of the words, whatever it begins with: a line each, behind a tab what it does. A line ":file" or
/// ":folder" alone: a path, which the shell knows better. Behind finishHelp.
std::string candidates(CLI::App const &app, std::vector<std::string> const &words);

} // namespace okt
