// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/console.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// The functions of the operating system that okt needs besides the library: terminals, interrupts, the times of files. One of the sources
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

/// What a folder tells of a plain file, or of the one that a link leads to, by one question to the system.
struct FileTimes
{
    std::int64_t size = 0;
    std::int64_t modifiedNs = 0; ///< since 1970 UTC
};
/// Empty: there is none, or it cannot be asked.
std::optional<FileTimes> fileTimes(std::filesystem::path const &path);

} // namespace okt
