// SPDX-License-Identifier: MIT
// load FILE... : prints how many seconds it takes to open each of the files in millimetres, one after the other, and to delete what
// was opened. Of a single file the best of nine.
#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

bool open(std::string const &path, double &taken)
{
    Clock::time_point const begin = Clock::now();
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    bool const isRead = pool.readFile(CString::FromUtf8(path));
    taken = seconds(begin);
    return isRead;
}
} // namespace

int main(int argc, char **argv)
{
    // "@LIST" names a file with the names.
    std::vector<std::string> paths;
    for (int i = 1; i < argc; ++i)
    {
        std::string const argument = argv[i];
        if (argument.rfind('@', 0) != 0)
            paths.push_back(argument);
        else
        {
            std::ifstream list(argument.substr(1));
            for (std::string line; std::getline(list, line);)
                paths.push_back(line);
        }
    }
    double least = 1e9;
    int const rounds = paths.size() == 1 ? 9 : 1;
    for (int round = 0; round < rounds; ++round)
    {
        double sum = 0;
        Clock::time_point const begin = Clock::now();
        for (std::string const &path : paths)
        {
            double taken = 0;
            if (!open(path, taken))
                return 1;
            sum += taken;
        }
        least = std::min(least, rounds == 1 ? seconds(begin) : sum);
    }
    std::printf("%.9f\n", least);
}
