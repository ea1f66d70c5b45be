// SPDX-License-Identifier: MIT
#include <oktc/call.h>

#include <oktdatabase/oktshortage.h>
#include <oktformat/failure.h>
#include <oktformat/progress.h>
#include <oktplatform/oktfile.h>
#include <oktplatform/oktwarning.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>

namespace oktc
{

namespace
{

/// What a thread keeps from one call to the next. It has no constructor and no destructor, so that it needs no memory of its own.
struct ThreadState
{
    static constexpr std::size_t kRoom = 512;

    char message[kRoom];
    char report[64]; ///< the beginning of the last one
    bool isInCall;
    bool isReported;
    std::uint64_t shortages; ///< when the call began
};
thread_local ThreadState t_state;

/// The presenter that was set before calls ran, and how many run.
struct Presenting
{
    std::mutex mutex;
    int calls = 0;
    std::atomic<void (*)(CString const &)> before = nullptr;
};
Presenting g_presenting;

std::shared_mutex g_apart;

void noteReport(CString const &text)
{
    if (!t_state.isInCall)
    {
        // Of the host's own use of the library, while another thread is in a call.
        if (auto *const before = g_presenting.before.load())
            before(text);
        return;
    }
    t_state.isReported = true;
    std::size_t at = 0;
    for (WCHAR const unit : text.View())
        if (unit > 0x20 && unit < 0x7F && at + 1 < sizeof t_state.report)
            t_state.report[at++] = static_cast<char>(unit);
    t_state.report[at] = 0;
}

} // namespace

void setMessage(std::string_view message) noexcept
{
    std::size_t size = std::min(message.size(), ThreadState::kRoom - 1);
    // No character is cut in two.
    while (size < message.size() && size > 0 && (static_cast<unsigned char>(message[size]) & 0xC0) == 0x80)
        --size;
    std::copy_n(message.data(), size, t_state.message);
    t_state.message[size] = 0;
}

char const *message() noexcept { return t_state.message; }

void refuse(OktcStatus status, std::string_view message)
{
    setMessage(message);
    throw Refused{status};
}

Call::Call() noexcept : m_isNested(t_state.isInCall)
{
    if (m_isNested)
    {
        setMessage("a function that is called back may not call this one");
        return;
    }
    t_state.isInCall = true;
    t_state.message[0] = 0;
    t_state.isReported = false;
    t_state.shortages = OktShortages();
    try
    {
        std::lock_guard const lock(g_presenting.mutex);
        if (g_presenting.calls++ == 0)
        {
            g_presenting.before = OktWarningPresenter();
            OktSetWarningPresenter(noteReport);
        }
        m_isNoting = true;
    }
    catch (...)
    {
        // The system has no lock to give: reports are shown as ever.
    }
}

Call::~Call()
{
    if (m_isNested)
        return;
    t_state.isInCall = false;
    if (!m_isNoting)
        return;
    try
    {
        std::lock_guard const lock(g_presenting.mutex);
        if (--g_presenting.calls == 0)
            OktSetWarningPresenter(g_presenting.before);
    }
    catch (...)
    {
        // As above.
    }
}

OktcStatus Call::statusOfException() noexcept
{
    try
    {
        throw;
    }
    catch (Refused const &refused)
    {
        return refused.status;
    }
    catch (std::bad_alloc const &)
    {
        setMessage("there is no memory");
        return OKTC_NO_MEMORY;
    }
    catch (okt::Cancelled const &)
    {
        setMessage("cancelled");
        return OKTC_CANCELLED;
    }
    catch (okt::Failure const &failure)
    {
        setMessage(failure.what());
        return OKTC_FILE;
    }
    catch (CFileException const &)
    {
        setMessage("the file cannot be read");
        return OKTC_FILE;
    }
    catch (std::exception const &exception)
    {
        setMessage(exception.what());
        return OKTC_FAILED;
    }
    catch (...)
    {
        setMessage("an exception of another kind");
        return OKTC_FAILED;
    }
}

void checkReports()
{
    if (!t_state.isReported)
        return;
    t_state.isReported = false;
    if (OktShortages() != t_state.shortages)
        throw std::bad_alloc();
    setMessage("an operation of the library failed: ");
    std::string_view const begin(t_state.message);
    std::copy_n(t_state.report, sizeof t_state.report, t_state.message + begin.size());
    throw Refused{OKTC_FAILED};
}

void refuseFailed(OktcStatus status, std::string_view message)
{
    if (OktShortages() != t_state.shortages)
        throw std::bad_alloc();
    refuse(status, message);
}

Beside::Beside() { g_apart.lock_shared(); }
Beside::~Beside() { g_apart.unlock_shared(); }
Alone::Alone() { g_apart.lock(); }
Alone::~Alone() { g_apart.unlock(); }

void needed(void const *pointer, char const *name)
{
    if (pointer == nullptr)
        refuse(OKTC_NULL_ARGUMENT, std::string(name) + " is null");
}

} // namespace oktc

char const *OKTC_CALL oktcLastMessage(void) { return oktc::message(); }
