// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/console.h>

#include <filesystem>
#include <string>
#include <vector>

/// The functions of the operating system that okt needs besides the library: terminals and interrupts. One of the sources
/// system_*.cpp implements them.
namespace okt
{

/// The arguments of the program in UTF-8, its name first.
std::vector<std::string> arguments(int argc, char const *const *argv);

/// Makes the standard streams pass bytes unchanged, and a write to a closed pipe return an error.
void prepareStreams();
/// The error of a write to a closed pipe.
bool isClosedPipe(int error);

/// The stream is a terminal that accepts escape sequences; they are switched on if necessary.
bool takesSequences(Stream stream);
/// Writes to standard error; safe in a signal handler.
void writeErrorFromSignal(char const *bytes, std::size_t count);

} // namespace okt
