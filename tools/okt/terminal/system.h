// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/console.h>

#include <filesystem>
#include <string>
#include <vector>

/// What okt asks of the operating system beside the library: terminals and interrupts. One of the sources
/// system_*.cpp answers.
namespace okt
{

/// The arguments of the program in UTF-8, its name first.
std::vector<std::string> arguments(int argc, char const *const *argv);

/// Bytes pass through the standard streams as they are, and a write to a pipe without a reader fails like any other.
void prepareStreams();
/// The error of a write that nobody reads.
bool isClosedPipe(int error);

/// The stream is a terminal that takes escape sequences; the system may have to ask it to.
bool takesSequences(Stream stream);
/// Writes to standard error with nothing but what a signal handler may do.
void writeErrorFromSignal(char const *bytes, std::size_t count);

} // namespace okt
