// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/system.h>

#include <tools/okt/terminal/interrupt.h>

#include <oktplatform/oktstring.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace okt
{

namespace
{

std::atomic<bool> g_isInterrupted = false;

/// Never destroyed: an interrupt may come while the process ends.
std::recursive_mutex &holds()
{
    static auto *const mutex = new std::recursive_mutex;
    return *mutex;
}

bool removeFile(char const *path) { return DeleteFileW(CString::FromUtf8(path).GetString()) != 0; }

bool removeFolder(char const *path) { return RemoveDirectoryW(CString::FromUtf8(path).GetString()) != 0; }

/// Runs in its own thread. The main thread notices the flag, cleans up and ends the process. If it does not, because it waits for
/// a disk or a pipe, this thread does both, when the main thread is at no step that changes files, and will be at none.
BOOL WINAPI onInterrupt(DWORD)
{
    constexpr DWORD kPatience = 4000; // the system ends the process after five seconds in any case
    g_isInterrupted = true;
    Sleep(kPatience);
    holds().lock();
    removeHalfWritten(removeFile, removeFolder);
    return FALSE;
}

} // namespace

// The runtime library would give them in the code page of the system.
std::vector<std::string> arguments(int, char const *const *)
{
    int count = 0;
    wchar_t **const texts = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> all;
    for (int i = 0; i < count; ++i)
        all.push_back(CString(texts[i]).ToUtf8());
    LocalFree(texts);
    return all;
}

void prepareStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool isClosedPipe(int error) { return error == EPIPE || error == EINVAL; }

bool isTerminal(Stream stream)
{
    std::FILE *const file = stream == Stream::Output ? stdout : stderr;
    return _isatty(_fileno(file)) != 0;
}

bool takesSequences(Stream stream)
{
    char const *const terminal = std::getenv("TERM");
    if (!isTerminal(stream) || (terminal != nullptr && std::string_view(terminal) == "dumb"))
        return false;
    HANDLE const console = GetStdHandle(stream == Stream::Error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    constexpr DWORD kSequences = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack
    return GetConsoleMode(console, &mode) != 0 && SetConsoleMode(console, mode | kSequences) != 0;
}

void writeErrorFromSignal(char const *, std::size_t) {}

void handleInterrupts() { SetConsoleCtrlHandler(onInterrupt, TRUE); }

InterruptHold::InterruptHold() { holds().lock(); }

InterruptHold::~InterruptHold() { holds().unlock(); }

void endLeavingNothing(int exitCode) noexcept
{
    InterruptHold const hold;
    removeHalfWritten(removeFile, removeFolder);
    std::_Exit(exitCode);
}

void endIfInterrupted()
{
    if (g_isInterrupted)
        throw Interrupted();
}

std::optional<FileTimes> fileTimes(std::filesystem::path const &path)
{
    WIN32_FILE_ATTRIBUTE_DATA found = {};
    if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &found) == 0 ||
        (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return std::nullopt;
    auto const joined = [](DWORD high, DWORD low) {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(high) << 32 | low);
    };
    constexpr std::int64_t kFrom1601To1970 = 116'444'736'000'000'000; // in steps of 100 ns
    return FileTimes{joined(found.nFileSizeHigh, found.nFileSizeLow),
                     (joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime) - kFrom1601To1970) *
                         100};
}

} // namespace okt
