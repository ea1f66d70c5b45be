// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace okt
{

/// The state of one step of a long operation.
struct Progress
{
    enum class Event
    {
        Begin, ///< of the step
        At,    ///< `done` and `objects` have grown
        End    ///< of the step, also where it failed
    };

    Event event = Event::At;
    std::string const *what = nullptr; ///< the name of the file or of the step, printable
    std::uint64_t total = 0;           ///< bytes of the file; 0: not known
    std::uint64_t done = 0;            ///< of the total, in this pass
    std::uint64_t objects = 0;         ///< objects done so far; 0: they are not counted
    int pass = 1;                      ///< number of this pass over the bytes
    int passes = 1;
    bool isCounted = true; ///< false: a single call whose progress is not known; there are no At events
};

/// Called with the progress. If it returns false for At, the operation throws Cancelled and changes nothing. The result for Begin and
/// End is ignored. It may be empty. It is called often and should return at once.
using OnProgress = std::function<bool(Progress const &)>;

/// The OnProgress of an operation returned false.
class Cancelled : public std::runtime_error
{
public:
    /// Its text says no more than that.
    Cancelled() : std::runtime_error("cancelled") {}
};

/// Reports one step: Begin in the constructor, End in the destructor.
class ProgressStep
{
public:
    /// A step over `total` things, which goes over them that many times. `onProgress` must outlive it.
    ProgressStep(OnProgress const &onProgress, std::string what, std::uint64_t total, int passes = 1)
        : ProgressStep(onProgress, std::move(what), total, passes, true)
    {
    }
    /// A step whose progress is not known.
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
        catch (...) // a destructor must not throw
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
    /// Starts the next pass over the same bytes.
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
