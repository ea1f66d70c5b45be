// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/system.h>

#include <tools/okt/terminal/interrupt.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace okt
{

namespace
{

extern "C" void onInterrupt(int signal)
{
    forEachHalfWritten([](char const *path) { unlink(path); });
    forEachHalfWritten([](char const *path) { rmdir(path); }); // folders, which are empty now
    clearStatusFromSignal();
    // The default handler is active again, so this ends the process with that signal.
    raise(signal);
}

} // namespace

std::vector<std::string> arguments(int argc, char const *const *argv) { return {argv, argv + argc}; }

void prepareStreams() { std::signal(SIGPIPE, SIG_IGN); }

bool isClosedPipe(int error) { return error == EPIPE; }

bool isTerminal(Stream stream)
{
    std::FILE *const file = stream == Stream::Output ? stdout : stderr;
    return isatty(fileno(file)) != 0;
}

bool takesSequences(Stream stream)
{
    char const *const terminal = std::getenv("TERM");
    return isTerminal(stream) && terminal != nullptr && *terminal != '\0' && std::string_view(terminal) != "dumb";
}

void writeErrorFromSignal(char const *bytes, std::size_t count)
{
    [[maybe_unused]] auto const written = write(STDERR_FILENO, bytes, count);
}

void handleInterrupts()
{
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = onInterrupt;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        sigaction(signal, &action, nullptr);
    }
}

void endIfInterrupted() {}

} // namespace okt
