// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace okt
{

/// Call it first in the process. A standard stream that the caller closed is replaced by a file that refuses every
/// write, so that no file of ours gets its number and receives our messages. The streams pass bytes
/// unchanged, and print reports a closed pipe.
void guardStandardStreams();

enum class Stream
{
    Output,
    Error
};

bool isTerminal(Stream stream);

/// Thrown by print when the reader of standard output has closed it. There is no message. Pending files are cleaned
/// up on the way out, and the process ends with kOutputClosed.
struct OutputClosed
{
};

/// Thrown by print when the system cannot write everything. It is not a Failure: a command that reports one and continues with the next
/// file could write nowhere, and the user should get one message.
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

/// True if standard output is a terminal with colours and NO_COLOR is empty or not set.
bool hasColours(Stream stream);
/// The text with the escape sequences for the colour, if standard output has colours.
std::string coloured(std::string_view text, Colour colour);

/// Standard error is a terminal that can erase a line.
bool showsStatus();
/// Writes a status line on standard error that the next one replaces. Does nothing unless showsStatus, or
/// after an incomplete line of results on the same screen. print and printError erase it. Any thread may call it.
void showStatus(std::string_view line);
void clearStatus();
/// The same from a signal handler.
void clearStatusFromSignal();

} // namespace okt
