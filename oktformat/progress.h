// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace okt
{

/// A step of a long operation and how far it is.
struct Progress
{
    enum class Event
    {
        Begin, ///< of the step
        At,    ///< `done` and `objects` have grown
        End    ///< of the step, also where it failed
    };

    Event event = Event::At;
    std::string const *what = nullptr; ///< the file, or what is done, printable
    std::uint64_t total = 0;           ///< bytes of the file; 0: not known
    std::uint64_t done = 0;            ///< of the total, in this pass
    std::uint64_t objects = 0;         ///< so far; 0: they are not counted
    int pass = 1;                      ///< which time the bytes are gone through
    int passes = 1;
    bool isCounted = true; ///< false: one call that does not tell how far it is; no At comes
};

/// Hears of progress. False ends the operation: it throws Cancelled and changes nothing. The answer to Begin and End does not count.
/// An empty function hears nothing. It is called often and should return at once.
using OnProgress = std::function<bool(Progress const &)>;

/// The operation was ended by its OnProgress.
class Cancelled : public std::runtime_error
{
public:
    /// Its text says no more than that.
    Cancelled() : std::runtime_error("cancelled") {}
};

/// Reports one step for as long as it lives.
class ProgressStep
{
public:
    /// A step over `total` things, which goes over them that many times. `onProgress` must outlive it.
    ProgressStep(OnProgress const &onProgress, std::string what, std::uint64_t total, int passes = 1)
        : ProgressStep(onProgress, std::move(what), total, passes, true)
    {
    }
    /// A step that does not tell how far it is.
    static ProgressStep uncounted(OnProgress const &onProgress, std::string what, std::uint64_t total)
    {
        return ProgressStep(onProgress, std::move(what), total, 1, false);
    }
    ProgressStep(ProgressStep const &) = delete;
    ProgressStep &operator=(ProgressStep const &) = delete;
    ~ProgressStep()
    {
        try
        {
            tell(Progress::Event::End);
        }
        catch (...) // the step ends whatever the listener throws
        {
        }
    }

    /// Throws Cancelled.
    void at(std::uint64_t done, std::uint64_t objects = 0)
    {
        m_progress.done = done;
        m_progress.objects = objects;
        if (!tell(Progress::Event::At))
            throw Cancelled();
    }
    /// The bytes are gone through once more from their start.
    void nextPass() { ++m_progress.pass; }

private:
    ProgressStep(OnProgress const &onProgress, std::string what, std::uint64_t total, int passes, bool isCounted)
        : m_onProgress(onProgress), m_what(std::move(what))
    {
        m_progress.what = &m_what;
        m_progress.total = total;
        m_progress.passes = passes;
        m_progress.isCounted = isCounted;
        tell(Progress::Event::Begin);
    }

    bool tell(Progress::Event event)
    {
        if (!m_onProgress)
            return true;
        m_progress.event = event;
        return m_onProgress(m_progress);
    }

    OnProgress const &m_onProgress;
    std::string m_what;
    Progress m_progress;
};

} // namespace okt
