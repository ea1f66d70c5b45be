// SPDX-License-Identifier: MIT
// okt_growth FOLDER [WORD]: how the time of every public operation of pool and filers grows from 1,000 to 1,000,000. A step is a
// call, or an object, value or byte of an operation on a whole, so that an exponent of 0 means: as quick among many as among few.
// With a word only the operations that have it in their name are measured. Writes growth.md and growth-targets.md into the folder.

#include "../stopwatch.h"
#include "growth.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace
{
constexpr int kSizes[] = {1'000, 10'000, 100'000, 1'000'000};
constexpr double kMostSeconds = 30.0; // of one run; a size that would take longer is left out
constexpr double kSteady = 0.6;       // an exponent up to here is that of memory further away and of deeper trees

struct Measured
{
    double seconds;
    double steps;
};

/// In a process of its own: what other measurements have left on the heap does not count.
Measured measureOnce(GrowthCase const &one, int size)
{
    int ends[2];
    demand(pipe(ends) == 0, "making a pipe");
    pid_t const child = fork();
    demand(child >= 0, "making a process");
    Measured measured = {};
    if (child == 0)
    {
        Run const run = one.prepare(size);
        double const begin = secondsNow();
        long long const steps = run();
        measured = {secondsNow() - begin, static_cast<double>(steps)};
        bool const told = write(ends[1], &measured, sizeof measured) == sizeof measured;
        _exit(told ? 0 : 1); // without the work of taking everything down
    }
    close(ends[1]);
    bool const told = read(ends[0], &measured, sizeof measured) == sizeof measured;
    close(ends[0]);
    int status = -1;
    demand(waitpid(child, &status, 0) == child && status == 0 && told && measured.steps > 0, one.operation);
    return measured;
}

double secondsOf(GrowthCase const &one, int size, double &steps)
{
    int const turns = size >= 1'000'000 ? 1 : size >= 100'000 ? 3 : 7;
    Stopwatch watch;
    for (int i = 0; i < turns; ++i)
    {
        Measured const measured = measureOnce(one, size);
        watch.add(measured.seconds);
        steps = measured.steps;
    }
    return watch.median();
}

/// The slope of the straight line that fits the logarithms best.
double exponentOf(std::map<int, double> const &times)
{
    double sx = 0.0, sy = 0.0, sxx = 0.0, sxy = 0.0;
    for (auto const &[size, time] : times)
    {
        double const x = std::log(size);
        double const y = std::log(time);
        sx += x, sy += y, sxx += x * x, sxy += x * y;
    }
    auto const n = static_cast<double>(times.size());
    return n < 2 ? 0.0 : (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

/// ns per step by size.
std::map<int, double> measure(GrowthCase const &one)
{
    std::map<int, double> times;
    double last = 0.0;
    for (int const size : kSizes)
    {
        // As if it were quadratic, where the last two sizes say so.
        double const growth = times.size() < 2 ? 10.0 : std::pow(10.0, 1.0 + std::max(0.0, exponentOf(times)));
        if (last * growth > kMostSeconds)
            break;
        double steps = 1.0;
        last = secondsOf(one, size, steps);
        times[size] = std::max(last * 1e9 / steps, 0.001);
    }
    return times;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2 && argc != 3)
    {
        std::cerr << "usage: okt_growth FOLDER [WORD]\n";
        return 2;
    }
    std::filesystem::current_path(argv[1]);
    for (int const size : kSizes)
        std::filesystem::remove("growth-" + std::to_string(size) + ".okt");
    std::ofstream table("growth.md");
    table << "| Of | Operation | ns per step at 1,000 | 10,000 | 100,000 | 1,000,000 | Exponent "
             "|\n|---|---|--:|--:|--:|--:|--:|\n";
    std::vector<std::string> reasons;
    int unexplained = 0;
    for (auto const &cases : {poolCases(), memoryFilerCases(), byteFilerCases(), xmlFilerCases()})
        for (GrowthCase const &one : cases)
        {
            std::string const name = std::string(one.subject) + ": " + one.operation;
            if (argc == 3 && name.find(argv[2]) == std::string::npos)
                continue;
            std::cerr << name << std::endl;
            std::map<int, double> const times = measure(one);
            double const exponent = exponentOf(times);
            table << "| " << one.subject << " | " << one.operation;
            for (int const size : kSizes)
                table << " | " << (times.contains(size) ? rounded(times.at(size)) : "");
            char text[32];
            std::snprintf(text, sizeof text, "%.2f", exponent + 0.0);
            table << " | " << text;
            if (one.reason != nullptr)
            {
                if (std::find(reasons.begin(), reasons.end(), one.reason) == reasons.end())
                    reasons.emplace_back(one.reason);
                table << " (" << std::find(reasons.begin(), reasons.end(), one.reason) - reasons.begin() + 1 << ')';
            }
            else if (exponent > kSteady)
            {
                ++unexplained;
                table << ", **too steep**";
            }
            table << " |\n";
            table.flush();
        }
    table << "\nWhat makes a step take longer among many:\n\n";
    for (std::string const &reason : reasons)
        table << "1. " << reason << ".\n";
    Targets("growth-targets.md")
        .atMost("Operations whose step takes longer among many without need (exponent above 0.6)", "", 0, unexplained);
    for (int const size : kSizes)
        std::filesystem::remove("growth-" + std::to_string(size) + ".okt");
    table.close();
    demand(!table.fail(), "writing the figures");
    return 0;
}
