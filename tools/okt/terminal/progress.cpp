// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/progress.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/interrupt.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

namespace okt
{

namespace
{

constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::chrono::milliseconds kPause{200};

bool g_isSpokenFor = false;

/// "12 s", "3 min 5 s", "2 h 10 min".
std::string timeText(double seconds)
{
    auto const whole = static_cast<long long>(std::ceil(std::max(seconds, 1.0)));
    if (whole < 60)
        return sentence("{} s", whole);
    if (whole < 3600)
        return sentence("{} min {} s", whole / 60, whole % 60);
    return sentence("{} h {} min", whole / 3600, whole % 3600 / 60);
}

} // namespace

ProgressClock::TimePoint ProgressClock::firstLine(std::chrono::milliseconds patience)
{
    if (!m_begin)
        m_begin = now();
    return *m_begin + patience;
}

ProgressClock &machineClock()
{
    static ProgressClock clock;
    return clock;
}

std::string bytesText(std::uintmax_t bytes)
{
    if (bytes < 1000)
        return plural(static_cast<std::int64_t>(bytes), "byte");
    static constexpr char const *kUnits[] = {"kB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; value >= 999.5 && unit + 1 < std::size(kUnits); ++unit)
        value /= 1000;
    return sentence("{} {}", rounded(value, value < 99.5 ? 2 : 3), kUnits[unit]);
}

std::string progressLine(std::string const &what, std::uintmax_t done, std::uintmax_t total, std::string const &unit,
                         std::uintmax_t objects, double seconds, Pass const &pass)
{
    auto const amount = [&unit](std::uintmax_t count) {
        return unit.empty() ? bytesText(count) : plural(static_cast<std::int64_t>(count), unit.c_str());
    };
    std::string line = what + ": ";
    done = total == 0 ? done : std::min(done, total);
    double const part = total == 0 ? 0 : static_cast<double>(done) / static_cast<double>(total);
    if (total == 0)
        line += amount(done);
    else
        line += sentence("{} % of {}", static_cast<int>(part * 100), amount(total));
    if (pass.of > 1)
        line += sentence(", pass {} of {}", pass.number, pass.of);
    if (objects != 0)
        line += ", " + plural(static_cast<std::int64_t>(objects), "object");
    double const whole = total == 0 ? 0 : (pass.number - 1 + part) / pass.of;
    if (whole > 0)
        line += sentence(", {} left", timeText(seconds / whole - seconds));
    return line;
}

ProgressLine::ProgressLine(std::string what, std::uintmax_t total, std::string unit, int passes, ProgressClock &clock)
    : m_clock(clock), m_what(std::move(what)), m_total(total), m_unit(std::move(unit)), m_pass{1, passes}, m_start(clock.now()),
      m_next(std::max(clock.firstLine(kPatience), m_start + kPause)), m_speaks(!std::exchange(g_isSpokenFor, true))
{
}

ProgressLine::~ProgressLine()
{
    if (!m_speaks)
        return;
    g_isSpokenFor = false;
    clearStatus();
}

void ProgressLine::at(std::uintmax_t done, std::uintmax_t objects)
{
    if (!m_speaks)
        return;
    ProgressClock::TimePoint const now = m_clock.now();
    if (now < m_next)
        return;
    m_next = now + kPause;
    double const seconds = std::chrono::duration<double>(now - m_start).count();
    showStatus(progressLine(m_what, done, m_total, m_unit, objects, seconds, m_pass));
}

std::string waitingLine(std::string const &what, std::uintmax_t size, double seconds)
{
    return sentence("{}: {}{} so far", what, size == 0 ? "" : bytesText(size) + ", ", timeText(seconds));
}

Waiting::Waiting(std::string what, std::uintmax_t size, std::chrono::milliseconds patience, ProgressClock &clock)
    : m_clock(clock), m_speaks(!std::exchange(g_isSpokenFor, true))
{
    m_clock.firstLine(patience); // starts the clock before the thread uses it
    if (!m_speaks || !showsStatus())
        return;
    InterruptHold const hold; // the thread gets none
    m_thread = std::thread([this, what = std::move(what), size, patience] { tell(what, size, patience); });
}

Waiting::~Waiting()
{
    if (!m_speaks)
        return;
    if (m_thread.joinable())
    {
        {
            std::scoped_lock const lock(m_mutex);
            m_isOver = true;
        }
        m_change.notify_one();
        m_thread.join();
        clearStatus();
    }
    g_isSpokenFor = false;
}

void Waiting::tell(std::string const &what, std::uintmax_t size, std::chrono::milliseconds patience)
{
    ProgressClock::TimePoint const start = m_clock.now();
    ProgressClock::TimePoint next = std::max(m_clock.firstLine(patience), start + kPause);
    std::unique_lock lock(m_mutex);
    while (!m_clock.waitUntil(lock, m_change, next, [this] { return m_isOver; }))
    {
        ProgressClock::TimePoint const now = m_clock.now();
        next = now + kPause;
        showStatus(waitingLine(what, size, std::chrono::duration<double>(now - start).count()));
    }
}

namespace
{

/// The line of the current step. Steps inside other steps show nothing.
class StepLines
{
public:
    explicit StepLines(ProgressClock &clock) : m_clock(clock) {}

    void hear(Progress const &progress)
    {
        switch (progress.event)
        {
        case Progress::Event::Begin: begin(progress); break;
        case Progress::Event::At: at(progress); break;
        case Progress::Event::End: end(); break;
        }
    }

private:
    void begin(Progress const &progress)
    {
        if (m_depth++ > 0)
            return;
        m_pass = 1;
        if (progress.isCounted)
            m_counted.emplace(*progress.what, progress.total, "", progress.passes, m_clock);
        else
            m_uncounted.emplace(*progress.what, progress.total, kPatience, m_clock);
    }

    void at(Progress const &progress)
    {
        if (m_depth != 1 || !m_counted)
            return;
        for (; m_pass < progress.pass; ++m_pass)
            m_counted->nextPass();
        m_counted->at(progress.done, progress.objects);
    }

    void end()
    {
        if (--m_depth > 0)
            return;
        m_counted.reset();
        m_uncounted.reset();
    }

    ProgressClock &m_clock;
    int m_depth = 0;
    int m_pass = 1;
    std::optional<ProgressLine> m_counted;
    std::optional<Waiting> m_uncounted;
};

} // namespace

OnProgress terminalProgress(ProgressClock &clock)
{
    return [lines = std::make_shared<StepLines>(clock)](Progress const &progress) {
        lines->hear(progress);
        return true;
    };
}

} // namespace okt
