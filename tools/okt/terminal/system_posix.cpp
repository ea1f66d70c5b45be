// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/system.h>

#include <tools/okt/terminal/interrupt.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace okt
{

namespace
{

constexpr int kInterrupts[] = {SIGINT, SIGTERM, SIGHUP};

sigset_t interrupts()
{
    sigset_t set;
    sigemptyset(&set);
    for (int const signal : kInterrupts)
        sigaddset(&set, signal);
    return set;
}

int g_holds = 0;
sigset_t g_beforeHold;

bool removeFile(char const *path) { return unlink(path) == 0; }

bool removeFolder(char const *path) { return rmdir(path) == 0; }

// Runs in the main thread, and no other interrupt meanwhile.
extern "C" void onInterrupt(int signal)
{
    removeHalfWritten(removeFile, removeFolder);
    clearStatusFromSignal();
    // Held off until this function returns, it ends the process with that signal. The system could bring the default back by itself,
    // but does so before it holds off the next one, which would end the process then and there.
    std::signal(signal, SIG_DFL);
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
    for (int const signal : kInterrupts)
    {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = onInterrupt;
        action.sa_mask = interrupts();
        sigaction(signal, &action, nullptr);
    }
}

InterruptHold::InterruptHold()
{
    if (g_holds++ != 0)
        return;
    sigset_t const held = interrupts();
    pthread_sigmask(SIG_BLOCK, &held, &g_beforeHold);
}

InterruptHold::~InterruptHold()
{
    if (--g_holds == 0)
        pthread_sigmask(SIG_SETMASK, &g_beforeHold, nullptr);
}

void endLeavingNothing(int exitCode) noexcept
{
    InterruptHold const hold;
    removeHalfWritten(removeFile, removeFolder);
    std::_Exit(exitCode);
}

void endIfInterrupted() {}

std::optional<FileTimes> fileTimes(std::filesystem::path const &path)
{
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return std::nullopt;
    constexpr std::int64_t kSecond = 1'000'000'000;
    return FileTimes{found.st_size, found.st_mtim.tv_sec * kSecond + found.st_mtim.tv_nsec};
}

} // namespace okt
