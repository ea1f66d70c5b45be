// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace okt
{

/// One of several passes over the same bytes.
struct Pass
{
    int number = 1;
    int of = 1;
};

/// The clock of progress lines. Tests replace it.
class ProgressClock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    ProgressClock() = default;
    ProgressClock(ProgressClock const &) = delete;
    ProgressClock &operator=(ProgressClock const &) = delete;
    virtual ~ProgressClock() = default;

    virtual TimePoint now() { return std::chrono::steady_clock::now(); }
    /// Waits until that time, or until `isOver` holds, which `change` tells. True: it holds.
    virtual bool waitUntil(std::unique_lock<std::mutex> &lock, std::condition_variable &change, TimePoint end,
                           std::function<bool()> const &isOver)
    {
        return change.wait_until(lock, end, isOver);
    }

    /// When the first line may be shown: `patience` after the first call.
    TimePoint firstLine(std::chrono::milliseconds patience);

private:
    std::optional<TimePoint> m_begin;
};

/// The clock of the machine.
ProgressClock &machineClock();

/// Shows the progress of an operation that takes longer than a second: a line on standard error, if that is a terminal, with bytes,
/// objects and the remaining time.
///
///     ProgressLine progress(name, size);
///     for (...)
///         progress.at(position, ++objects);
///
/// The destructor erases the line. Of several at the same time only the first is shown. The second starts with the first of
/// all lines, so that many short steps are shown too. at() costs no more than reading the clock.
class ProgressLine
{
public:
    /// `what` is the printable name of the file or step. `total` is the number of bytes, or of items if `unit` names one of
    /// them ("template"). 0: not known. With several passes it is that of one pass.
    ProgressLine(std::string what, std::uintmax_t total, std::string unit = "", int passes = 1,
                 ProgressClock &clock = machineClock());
    ~ProgressLine();
    ProgressLine(ProgressLine const &) = delete;
    ProgressLine &operator=(ProgressLine const &) = delete;

    /// `done` of the total, in this pass; with objects, their number so far.
    void at(std::uintmax_t done, std::uintmax_t objects = 0);
    /// Starts the next pass.
    void nextPass() { ++m_pass.number; }

private:
    ProgressClock &m_clock;
    std::string m_what;
    std::uintmax_t m_total;
    std::string m_unit;
    Pass m_pass;
    ProgressClock::TimePoint m_start;
    ProgressClock::TimePoint m_next; ///< when the line is to be written again
    bool m_speaks;
};

/// The same for one long call without known progress: the line shows the size and the elapsed time.
///
///     {
///         Waiting const waiting(name, size);
///         pool.readFile(path);
///     }
///
/// A separate thread writes the line; it exists only if there is a terminal.
class Waiting
{
public:
    /// `patience`: until the line first shows.
    explicit Waiting(std::string what, std::uintmax_t size = 0,
                     std::chrono::milliseconds patience = std::chrono::milliseconds(1000),
                     ProgressClock &clock = machineClock());
    ~Waiting();
    Waiting(Waiting const &) = delete;
    Waiting &operator=(Waiting const &) = delete;

private:
    void tell(std::string const &what, std::uintmax_t size, std::chrono::milliseconds patience);

    ProgressClock &m_clock;
    bool m_speaks;
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isOver = false;
    std::thread m_thread;
};

/// Shows the progress of a library's operation in such lines. The clock must outlive it.
OnProgress terminalProgress(ProgressClock &clock = machineClock());

/// Its line: "link.okt: 1.2 GB, 12 s so far"; without a size that it does not know, 0.
std::string waitingLine(std::string const &what, std::uintmax_t size, double seconds);

/// The line: "link.okt: 34 % of 1.2 GB, pass 1 of 2, 12345 objects, 12 s left". The time is that of all passes.
std::string progressLine(std::string const &what, std::uintmax_t done, std::uintmax_t total, std::string const &unit,
                         std::uintmax_t objects, double seconds, Pass const &pass = {});

/// "999 bytes", "1.5 kB", "34 MB", "1.2 GB": powers of 1000, two digits at least.
std::string bytesText(std::uintmax_t bytes);

} // namespace okt
