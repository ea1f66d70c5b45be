#include "interrupt.h"

#include "console.h"

#include <csignal>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace okt
{

/// A list that only grows, with atomic links: a handler may walk it whenever it comes.
struct HalfWritten::Slot
{
    std::atomic<char const *> path = nullptr; ///< null: free
    std::string text;
    Slot *next = nullptr;
};

namespace
{

std::atomic<HalfWritten::Slot *> g_slots = nullptr;

#if defined(_WIN32)

std::atomic<bool> g_isInterrupted = false;

/// Runs in a thread of its own. The one that writes notices soon, cleans up and ends the process; one that does not is ended.
BOOL WINAPI onInterrupt(DWORD)
{
    constexpr DWORD kPatience = 4000; // the system ends the process after five seconds in any case
    g_isInterrupted = true;
    Sleep(kPatience);
    return FALSE;
}

#else

extern "C" void onInterrupt(int signal)
{
    for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
        if (char const *const path = slot->path)
            unlink(path);
    clearStatusFromSignal();
    // The handler is gone already, so this ends the process, and its parent learns why.
    raise(signal);
}

#endif

HalfWritten::Slot *takeSlot()
{
    for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
        if (slot->path == nullptr)
            return slot;
    auto *const slot = new HalfWritten::Slot; // for the rest of the process
    slot->next = g_slots;
    g_slots = slot;
    return slot;
}

} // namespace

void handleInterrupts()
{
#if defined(_WIN32)
    SetConsoleCtrlHandler(onInterrupt, TRUE);
#else
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
#endif
}

HalfWritten::HalfWritten(std::string path) : m_slot(takeSlot())
{
    m_slot->text = std::move(path);
    m_slot->path = m_slot->text.c_str();
}

HalfWritten::~HalfWritten() { m_slot->path = nullptr; }

void endIfInterrupted()
{
#if defined(_WIN32)
    if (g_isInterrupted)
        throw Interrupted();
#endif
}

} // namespace okt
