// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>

namespace okt
{

/// Call it once, early. SIGINT, SIGTERM and SIGHUP (or their like) then remove half-written
/// files, and end the process as they would without us. Signals that the caller ignores stay ignored.
void handleInterrupts();

/// While one lives, an interrupt waits. What is made or removed on the disk and what is registered change together under one, so
/// that an interrupt finds them the same. For the main thread; they can be nested. A thread that is started under one gets no
/// interrupts, so that the main thread stands still while one is handled.
class InterruptHold
{
public:
    InterruptHold();
    ~InterruptHold();
    InterruptHold(InterruptHold const &) = delete;
    InterruptHold &operator=(InterruptHold const &) = delete;
};

/// Registers a file, or an empty folder, that an interrupt removes, as long as this object lives.
class HalfWritten
{
public:
    enum class Kind
    {
        File,
        Folder
    };

    /// `path` as the system takes it, in UTF-8 on Windows.
    HalfWritten(std::string path, Kind kind);
    ~HalfWritten();
    HalfWritten(HalfWritten const &) = delete;
    HalfWritten &operator=(HalfWritten const &) = delete;

    struct Slot;

private:
    Slot *m_slot;
};

/// For a signal handler: removes what is registered, the files first, then the folders that are empty. The functions answer
/// whether they have removed it.
void removeHalfWritten(bool (*removeFile)(char const *path), bool (*removeFolder)(char const *path));

/// Does that, and ends the process at once, with no destructor.
[[noreturn]] void endLeavingNothing(int exitCode) noexcept;

/// On systems where an interrupt runs beside the main thread, it only sets a flag at first, and the process must end itself soon:
/// this throws Interrupted then. Everywhere else it does nothing.
struct Interrupted
{
};
void endIfInterrupted();

} // namespace okt
