#pragma once

#include <string>
#include <string_view>

namespace okt
{

/// To be called first in the process: a standard stream that the caller closed is held by a place holder that refuses every
/// write, so that no file of ours can be opened under its number and receive our messages.
void guardStandardStreams();

/// Writes to standard output, all of it, at once. Throws Failure when the system takes less than everything.
void print(std::string_view text);
/// One line on standard error: "okt: " and the text.
void printError(std::string_view text);

} // namespace okt
