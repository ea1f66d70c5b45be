// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>

namespace okt
{

/// Call it once, early. SIGINT, SIGTERM and SIGHUP (or their like) then remove half-written
/// files, and end the process as they would without us. Signals that the caller ignores stay ignored.
void handleInterrupts();

/// Registers a file, or an empty folder, that an interrupt removes, as long as this object lives.
class HalfWritten
{
public:
    /// `path` as the system takes it.
    explicit HalfWritten(std::string path);
    ~HalfWritten();
    HalfWritten(HalfWritten const &) = delete;
    HalfWritten &operator=(HalfWritten const &) = delete;

    struct Slot;

private:
    Slot *m_slot;
};

/// For a signal handler.
void forEachHalfWritten(void (*act)(char const *path));

/// On systems that cannot remove open files, an interrupt only sets a flag, and the process must end itself soon:
/// this throws Interrupted then. Everywhere else it does nothing.
struct Interrupted
{
};
void endIfInterrupted();

} // namespace okt
