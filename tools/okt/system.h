#pragma once

#include "console.h"

#include <filesystem>
#include <string>
#include <vector>

/// What okt asks of the operating system beside the library: terminals, interrupts, where it stands itself. One of the sources
/// system_*.cpp answers.
namespace okt
{

/// The arguments of the program in UTF-8, its name first.
std::vector<std::string> arguments(int argc, char const *const *argv);

/// The file of this program; empty where the system does not tell.
std::filesystem::path programFile();
/// A variable of the environment in UTF-8; empty where there is none.
std::string environmentVariable(char const *name);
/// What stands between the folders that such a variable lists.
extern char const kListSeparator;
/// How the names of shared libraries end.
extern char const *const kLibraryEnding;
/// Whoever uses the machine may change the file, or what is in the folder, as far as the system tells.
bool isWritableByAll(std::filesystem::path const &path);

/// Bytes pass through the standard streams as they are, and a write to a pipe without a reader fails like any other.
void prepareStreams();
/// The error of a write that nobody reads.
bool isClosedPipe(int error);

/// The stream is a terminal that takes escape sequences; the system may have to ask it to.
bool takesSequences(Stream stream);
/// Writes to standard error with nothing but what a signal handler may do.
void writeErrorFromSignal(char const *bytes, std::size_t count);

} // namespace okt
