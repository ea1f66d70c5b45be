// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/console.h>

#include <tools/okt/terminal/system.h>

#include <oktformat/sentence.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <system_error>

namespace okt
{

namespace
{

// Moves to the start of the line and erases it.
constexpr char kEraseLine[] = "\r\x1b[K";
constexpr std::size_t kEraseLength = sizeof kEraseLine - 1;

std::atomic<bool> g_hasStatus = false;
/// Protects the screen and the variables here.
std::mutex g_screen;
/// Standard output is a terminal, and its last line has no end yet.
bool g_isMidLine = false;

void eraseStatus()
{
    if (!g_hasStatus.exchange(false))
        return;
    std::fwrite(kEraseLine, 1, kEraseLength, stderr);
    std::fflush(stderr);
}

char const *sequenceOf(Colour colour)
{
    switch (colour)
    {
    case Colour::Red: return "\x1b[31m";
    case Colour::Green: return "\x1b[32m";
    case Colour::Yellow: return "\x1b[33m";
    case Colour::Bold: return "\x1b[1m";
    }
    return "";
}

bool isSet(char const *variable)
{
    char const *const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

void guardStandardStreams()
{
    // A file that is opened takes the lowest free number. These take those of the closed streams, if any, and being open for
    // reading alone they refuse what is written to them.
    static std::FILE *held[3];
    for (std::FILE *&file : held)
        file = std::fopen("/dev/null", "rb");
    prepareStreams();
}

OutputFailed::OutputFailed(int error)
    : std::runtime_error("standard output: the output cannot be written: " + std::generic_category().message(error))
{
}

void print(std::string_view text)
{
    static bool const isOnTerminal = isTerminal(Stream::Output);
    std::scoped_lock const lock(g_screen);
    eraseStatus();
    if (isOnTerminal && !text.empty())
        g_isMidLine = text.back() != '\n';
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return;
    if (isClosedPipe(errno))
        throw OutputClosed();
    throw OutputFailed(errno);
}

void printError(std::string_view text)
{
    std::scoped_lock const lock(g_screen);
    eraseStatus();
    // Without memory: it may be short. In one piece where it can be, as others may write there, too.
    char line[1024];
    constexpr std::string_view kProgram = "okt: ";
    if (kProgram.size() + text.size() + 1 <= sizeof line)
    {
        std::size_t const size = text.copy(line + kProgram.copy(line, kProgram.size()), text.size()) + kProgram.size();
        line[size] = '\n';
        std::fwrite(line, 1, size + 1, stderr);
    }
    else
    {
        std::fwrite(kProgram.data(), 1, kProgram.size(), stderr);
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fputc('\n', stderr);
    }
    std::fflush(stderr);
}

bool hasColours(Stream stream) { return !isSet("NO_COLOR") && takesSequences(stream); }

std::string coloured(std::string_view text, Colour colour)
{
    static bool const isColoured = hasColours(Stream::Output);
    if (!isColoured)
        return std::string(text);
    return sentence("{}{}\x1b[0m", sequenceOf(colour), text);
}

bool showsStatus() { return takesSequences(Stream::Error); }

void showStatus(std::string_view line)
{
    std::scoped_lock const lock(g_screen);
    if (g_isMidLine || !showsStatus())
        return;
    std::string const text = kEraseLine + std::string(line);
    g_hasStatus = true;
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void clearStatus()
{
    std::scoped_lock const lock(g_screen);
    eraseStatus();
}

void clearStatusFromSignal()
{
    if (g_hasStatus.exchange(false))
        writeErrorFromSignal(kEraseLine, kEraseLength);
}

} // namespace okt
