// SPDX-License-Identifier: MIT
// okt_host FOLDER [WORD]: what a host of the library meets: a pool that it has just built, a file that it opens once, a file on the
// disk, a small template. Each case runs in a process of its own, several times in turns with the others, and the medians count. With
// a word only the cases that have it in their name run. Writes host.md and host-targets.md into the folder.

#include "../report.h"
#include "../samplepool.h"
#include "../stopwatch.h"
#include "hostcase.h"

#include <oktdatabase/oktdbpool.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <utility>

namespace
{
constexpr int kCounts[] = {1, 10, 30, 100, 10'000, 1'000'000};

int turnsFor(int count) { return count >= 1'000'000 ? 3 : count >= 10'000 ? 9 : 15; }

std::vector<HostCase> allCases()
{
    std::vector<HostCase> all = ourHostCases();
    for (auto const &more : {floorHostCases(), peerHostCases()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

std::string pathOf(std::string const &folder, int count) { return folder + "/host-" + std::to_string(count) + ".okt"; }

/// The other half of measured(): the figures as a line.
int measureHere(std::string const &name, int count, std::string const &path)
{
    for (HostCase const &one : allCases())
        if (name == one.name)
        {
            HostFigures const figures = one.measure(count, path);
            std::printf("%.9g %.9g %.9g %.9g %.9g\n", figures.first, figures.later, figures.faults, figures.peak,
                        figures.bytes);
            return 0;
        }
    return 2;
}

/// In a process of its own, which begins as any program does.
HostFigures measured(std::string const &program, std::string const &name, int count, std::string const &path)
{
    std::string const command = "'" + program + "' --case " + name + " " + std::to_string(count) + " '" + path + "'";
    std::FILE *const out = popen(command.c_str(), "r");
    demand(out != nullptr, "starting a process");
    HostFigures figures;
    int const read =
        std::fscanf(out, "%lf %lf %lf %lf %lf", &figures.first, &figures.later, &figures.faults, &figures.peak, &figures.bytes);
    demand(pclose(out) == 0 && read == 5, name.c_str());
    return figures;
}

/// The medians of all turns.
class Medians
{
public:
    void add(HostFigures const &figures)
    {
        for (std::size_t i = 0; i < std::size(kFields); ++i)
            m_watches[i].add(figures.*kFields[i]);
    }
    HostFigures figures() const
    {
        HostFigures all;
        for (std::size_t i = 0; i < std::size(kFields); ++i)
            all.*kFields[i] = m_watches[i].median();
        return all;
    }

private:
    static constexpr double HostFigures::*kFields[] = {&HostFigures::first, &HostFigures::later, &HostFigures::faults,
                                                       &HostFigures::peak, &HostFigures::bytes};
    Stopwatch m_watches[std::size(kFields)];
};

using Table = std::map<std::pair<std::string, int>, HostFigures>;

Table measureAll(std::string const &program, std::string const &folder, std::string const &word)
{
    Table table;
    for (int const count : kCounts)
    {
        std::string const path = pathOf(folder, count);
        {
            OKTDbPool pool;
            fillWithTemplate(pool, count);
            demand(pool.writeFile(CString::FromUtf8(path)), "writing a file");
        }
        writePeerFiles(path);
        std::map<std::string, Medians> medians;
        for (int turn = 0; turn < turnsFor(count); ++turn)
            for (HostCase const &one : allCases())
                if (std::string(one.name).find(word) != std::string::npos)
                    medians[one.name].add(measured(program, one.name, count, path));
        for (auto const &[name, all] : medians)
            table[{name, count}] = all.figures();
    }
    return table;
}

void writeTable(std::ostream &out, Table const &table)
{
    out << "| Case | Objects | First in its process, ns per object | Later, ns per object | Page faults of the first per 1,000 "
           "objects | Most held in it beyond what stays, share of the file |\n|---|--:|--:|--:|--:|--:|\n";
    for (auto const &[key, figures] : table)
    {
        auto const &[name, count] = key;
        auto const each = [count = count](double seconds) { return rounded(seconds * 1e9 / count); };
        out << "| " << name << " | " << grouped(count) << " | " << each(figures.first) << " | " << each(figures.later) << " | "
            << rounded(figures.faults * 1000.0 / count) << " | " << rounded(figures.peak) << " |\n";
    }
}
} // namespace

int main(int argc, char **argv)
{
    if (argc == 5 && std::string(argv[1]) == "--case")
        return measureHere(argv[2], std::stoi(argv[3]), argv[4]);
    if (argc != 2 && argc != 3)
    {
        std::cerr << "usage: okt_host FOLDER [WORD]\n";
        return 2;
    }
    Table const table = measureAll(std::filesystem::read_symlink("/proc/self/exe"), argv[1], argc == 3 ? argv[2] : "");
    writeTable(std::cout, table);
    return 0;
}
