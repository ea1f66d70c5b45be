// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace okt
{

// Documents made from the help of the commands.

/// The man page of the program, in the language of man pages.
std::string manPage(CLI::App const &app);
/// That of one command.
std::string manPage(CLI::App const &app, CLI::App const &command);

} // namespace okt
