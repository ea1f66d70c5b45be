// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>

namespace okt
{

/// To be called once, early: an interrupt from the terminal, a request to end, or the end of the terminal removes what is half
/// written, and ends the process as it would have ended without us. Signals that the caller had switched off stay so.
void handleInterrupts();

/// Names a file that an interrupt is to remove, or a folder where it is empty, for as long as this lives.
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

/// Where the system cannot remove a file that is open, an interrupt only leaves word, and the process is to end itself soon:
/// this throws Interrupted then. Everywhere else it does nothing.
struct Interrupted
{
};
void endIfInterrupted();

} // namespace okt
