// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace okt
{

/// Which of several times through the same bytes.
struct Pass
{
    int number = 1;
    int of = 1;
};

/// Tells how far something is that takes longer than a second: a line on standard error, where that is a terminal, with bytes,
/// objects and the time that is left.
///
///     ProgressLine progress(name, size);
///     for (...)
///         progress.at(position, ++objects);
///
/// The line goes away with the object. Of several at the same time the first one speaks. The second counts from the first of
/// all on, so that many short steps are told too. at() costs no more than a look at the clock.
class ProgressLine
{
public:
    /// `what` is printable: the file, or what is done. `total` is what counts: bytes, or pieces where `unit` names one of
    /// them ("template"). 0: not known. Bytes are those of the file, however many times it is gone through.
    ProgressLine(std::string what, std::uintmax_t total, std::string unit = "", int passes = 1);
    ~ProgressLine();
    ProgressLine(ProgressLine const &) = delete;
    ProgressLine &operator=(ProgressLine const &) = delete;

    /// `done` of the total, in this pass; with objects, their number so far.
    void at(std::uintmax_t done, std::uintmax_t objects = 0);
    /// What comes now counts from the start again.
    void nextPass() { ++m_pass.number; }

private:
    using Clock = std::chrono::steady_clock;

    std::string m_what;
    std::uintmax_t m_total;
    std::string m_unit;
    Pass m_pass;
    Clock::time_point m_start;
    Clock::time_point m_next; ///< when the line is to be written again
    bool m_speaks;
};

/// The same for one long call that does not tell how far it is: the line has the size and the time that has passed.
///
///     {
///         Waiting const waiting(name, size);
///         pool.readFile(path);
///     }
///
/// A thread of its own writes the line, and lives only where there is a terminal to write it to.
class Waiting
{
public:
    /// `patience`: until the line first shows.
    explicit Waiting(std::string what, std::uintmax_t size = 0,
                     std::chrono::milliseconds patience = std::chrono::milliseconds(1000));
    ~Waiting();
    Waiting(Waiting const &) = delete;
    Waiting &operator=(Waiting const &) = delete;

private:
    void tell(std::string const &what, std::uintmax_t size, std::chrono::milliseconds patience);

    bool m_speaks;
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isOver = false;
    std::thread m_thread;
};

/// Shows the progress of a library's operation in such lines.
OnProgress terminalProgress();

/// Its line: "link.okt: 1.2 GB, 12 s so far"; without a size that it does not know, 0.
std::string waitingLine(std::string const &what, std::uintmax_t size, double seconds);

/// The line: "link.okt: 34 % of 1.2 GB, pass 1 of 2, 12345 objects, 12 s left". The time is that of all passes.
std::string progressLine(std::string const &what, std::uintmax_t done, std::uintmax_t total, std::string const &unit,
                         std::uintmax_t objects, double seconds, Pass const &pass = {});

/// "999 bytes", "1.5 kB", "34 MB", "1.2 GB": powers of 1000, two digits at least.
std::string bytesText(std::uintmax_t bytes);

} // namespace okt
