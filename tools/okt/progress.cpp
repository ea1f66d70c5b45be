#include "progress.h"

#include "console.h"
#include "text.h"

#include <algorithm>
#include <cmath>
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
        return std::to_string(whole) + " s";
    if (whole < 3600)
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

} // namespace

std::string bytesText(std::uintmax_t bytes)
{
    if (bytes < 1000)
        return std::to_string(bytes) + " bytes";
    static constexpr char const *kUnits[] = {"kB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; value >= 999.5 && unit + 1 < std::size(kUnits); ++unit)
        value /= 1000;
    return rounded(value, value < 99.5 ? 2 : 3) + " " + kUnits[unit];
}

std::string progressLine(std::string const &what, std::uintmax_t done, std::uintmax_t total, std::string const &unit,
                         std::uintmax_t objects, double seconds)
{
    auto const amount = [&unit](std::uintmax_t count) {
        return unit.empty() ? bytesText(count) : std::to_string(count) + " " + unit;
    };
    std::string line = what + ": ";
    done = total == 0 ? done : std::min(done, total);
    double const part = total == 0 ? 0 : static_cast<double>(done) / static_cast<double>(total);
    if (total == 0)
        line += amount(done);
    else
        line += std::to_string(static_cast<int>(part * 100)) + " % of " + amount(total);
    if (objects != 0)
        line += ", " + std::to_string(objects) + " objects";
    if (part > 0)
        line += ", " + timeText(seconds / part - seconds) + " left";
    return line;
}

Progress::Progress(std::string what, std::uintmax_t total, std::string unit)
    : m_what(std::move(what)), m_total(total), m_unit(std::move(unit)), m_start(Clock::now()), m_next(m_start + kPatience),
      m_speaks(!std::exchange(g_isSpokenFor, true))
{
}

Progress::~Progress()
{
    if (!m_speaks)
        return;
    g_isSpokenFor = false;
    clearStatus();
}

void Progress::at(std::uintmax_t done, std::uintmax_t objects)
{
    if (!m_speaks)
        return;
    Clock::time_point const now = Clock::now();
    if (now < m_next)
        return;
    m_next = now + kPause;
    showStatus(progressLine(m_what, done, m_total, m_unit, objects, std::chrono::duration<double>(now - m_start).count()));
}

} // namespace okt
