// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

/// To be called first in the process: a standard stream that the caller closed is held by a place holder that refuses every
/// write, so that no file of ours can be opened under its number and receive our messages. Bytes pass through the streams as
/// they are, and a reader who goes away is told by print.
void guardStandardStreams();

enum class Stream
{
    Output,
    Error
};

bool isTerminal(Stream stream);

/// Thrown by print when whoever read standard output has gone: no failure to talk about. Whatever is pending is to be cleaned
/// up on the way out, and the process ends with kOutputClosed.
struct OutputClosed
{
};

/// Thrown by print when the system takes less than everything. No Failure: a command that tells one and goes on with the next
/// file has nowhere left to write to, and the user is told once.
class OutputFailed : public std::runtime_error
{
public:
    explicit OutputFailed(int error);
};

/// Writes to standard output, all of it, at once. Throws OutputFailed or OutputClosed.
void print(std::string_view text);
/// One line on standard error: "okt: " and the text.
void printError(std::string_view text);

enum class Colour
{
    Red,
    Green,
    Yellow,
    Bold
};

/// Colours are for a terminal that knows them, and not where the environment has a NO_COLOR that is not empty.
bool hasColours(Stream stream);
/// The text, between the signs for the colour where standard output has colours.
std::string coloured(std::string_view text, Colour colour);

/// Standard error is a terminal that can take a line away again.
bool showsStatus();
/// A line on standard error that the next one takes the place of, where showsStatus; else nothing happens, and neither does it
/// behind a line of results that is not complete on the same screen. print and printError take it away. Any thread may call it.
void showStatus(std::string_view line);
void clearStatus();
/// The same from a signal handler.
void clearStatusFromSignal();

} // namespace okt
