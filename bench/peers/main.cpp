// SPDX-License-Identifier: MIT
// okt_peers FOLDER: pools to an image in memory and back, by this library and by the serialisers that one would take instead, each
// from and into a map by id that owns polymorphic objects. All run in one process in turns, and so does a copy of the image; what
// counts are the medians. Writes peers.md, peers-targets.md and peers.dat, which peers.gnuplot draws, into the folder.

#include "../report.h"
#include "../samplepool.h"
#include "../stopwatch.h"
#include "mirror.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <span>
#include <vector>

namespace
{
constexpr int kCounts[] = {1'000, 10'000, 100'000, 1'000'000};
constexpr int kMiddle = 10'000;
constexpr int kLarge = 1'000'000;
constexpr int kLists = 20;
constexpr int kListLength = 10'000;

int turnsFor(int count) { return count >= kLarge ? 5 : count >= 100'000 ? 7 : count >= kMiddle ? 21 : 101; }
// A small pool is worked on several times before the next library has its turn, as in a program that has but one of them.
int runsInTurn(int count) { return count >= kLarge ? 1 : 3; }

/// ns per object.
struct Times
{
    double save = 0.0;
    double load = 0.0;
    double bytes = 0.0; ///< of the image, per object
};

struct Row
{
    int count = 0;
    std::vector<Times> of; ///< this library, then the peers
    double copy = 0.0;     ///< memcpy of our image, ns per object

    /// How many times the objects per second of the fastest peer.
    double gain(double Times::*which) const
    {
        double least = of[1].*which;
        for (Times const &times : std::span(of).subspan(2))
            least = std::min(least, times.*which);
        return least / (of[0].*which);
    }
};

std::unique_ptr<OKTDbPool> loaded(CByteArray const &image)
{
    auto pool = std::make_unique<OKTDbPool>();
    demand(pool->loadFiler(image), "loading a pool");
    return pool;
}

/// One library: a run saves what it has loaded and loads what it has saved.
class Contestant
{
public:
    virtual ~Contestant() = default;
    virtual void run() = 0;

    double savePerObject(int count) const { return m_save.median() * 1e9 / count; }
    Times perObject(int count) const { return {savePerObject(count), m_load.median() * 1e9 / count, m_bytes / count}; }

protected:
    Stopwatch m_save;
    Stopwatch m_load;
    double m_bytes = 0.0;
};

class Ours : public Contestant
{
public:
    explicit Ours(CByteArray const &image) : m_pool(loaded(image))
    {
        CByteArray const again = imageOf(*m_pool);
        demand(again.GetSize() == image.GetSize() &&
                   std::memcmp(again.GetData(), image.GetData(), static_cast<std::size_t>(image.GetSize())) == 0,
               "saving a pool");
    }

    void run() override
    {
        CByteArray image;
        IdMap translated;
        bool done = false;
        m_save.time([&] { done = m_pool->saveFiler(image, translated); });
        demand(done, "saving a pool");
        auto pool = std::make_unique<OKTDbPool>();
        m_load.time([&] { done = pool->loadFiler(image); });
        demand(done && pool->objectCount() == m_pool->objectCount(), "loading a pool");
        m_bytes = image.GetSize();
    }

private:
    std::unique_ptr<OKTDbPool> m_pool;
};

/// What nobody can do quicker: our image copied into memory that is in use.
class Copy : public Contestant
{
public:
    explicit Copy(CByteArray const &image) : m_image(image), m_target(image) { m_bytes = image.GetSize(); }

    void run() override
    {
        m_save.time([&] {
            std::memcpy(m_target.GetData(), m_image.GetData(), static_cast<std::size_t>(m_image.GetSize()));
            keep(m_target.GetData());
        });
    }

private:
    CByteArray m_image;
    CByteArray m_target;
};

class Other : public Contestant
{
public:
    Other(peers::Peer const &peer, peers::Objects const &source) : m_peer(peer), m_objects(peer.load(peer.save(source)))
    {
        demand(peers::areEqual(m_objects, source), peer.name);
    }

    void run() override
    {
        std::string image;
        m_save.time([&] { image = m_peer.save(m_objects); });
        peers::Objects objects;
        m_load.time([&] { objects = m_peer.load(image); });
        demand(objects.size() == m_objects.size(), m_peer.name);
        m_bytes = static_cast<double>(image.size());
    }

private:
    peers::Peer const &m_peer;
    peers::Objects m_objects;
};

std::vector<peers::Peer const *> const kPeers = {&peers::kCereal, &peers::kBoost, &peers::kProtobuf, &peers::kFlatBuffers,
                                                 &peers::kCapnProto};

Row measure(int count)
{
    CByteArray image;
    {
        OKTDbPool pool;
        fillWithTemplate(pool, count);
        image = imageOf(pool);
    }
    std::vector<std::unique_ptr<Contestant>> all;
    all.push_back(std::make_unique<Ours>(image));
    {
        std::unique_ptr<OKTDbPool> const pool = loaded(image);
        peers::Objects const mirror = peers::mirrorOf(*pool);
        for (peers::Peer const *const peer : kPeers)
            all.push_back(std::make_unique<Other>(*peer, mirror));
    }
    Copy copy(image);
    image.RemoveAll();
    for (int i = 0; i < turnsFor(count); ++i)
    {
        for (auto const &one : all)
            for (int run = 0; run < runsInTurn(count); ++run)
                one->run();
        for (int run = 0; run < runsInTurn(count); ++run)
            copy.run();
    }
    Row row;
    row.count = count;
    for (auto const &one : all)
        row.of.push_back(one->perObject(count));
    row.copy = copy.savePerObject(count);
    return row;
}

/// GB of the image per second.
Times measureLists()
{
    CByteArray image;
    {
        OKTDbPool pool;
        fillWithCategories(pool, kLists, kListLength);
        image = imageOf(pool);
    }
    Ours ours(image);
    for (int i = 0; i < turnsFor(kMiddle); ++i)
        ours.run();
    Times const times = ours.perObject(1);
    return {times.bytes / times.save, times.bytes / times.load, times.bytes};
}

void writeTable(std::ostream &out, std::vector<Row> const &rows, char const *what, double Times::*which)
{
    out << "| " << what << ", ns per object | Objects | This library ";
    for (peers::Peer const *const peer : kPeers)
        out << "| " << peer->name << ' ';
    out << "| `memcpy` | Fastest peer, times ours | Share of `memcpy` speed |\n|---|--:|--:|";
    for (std::size_t i = 0; i < kPeers.size(); ++i)
        out << "--:|";
    out << "--:|--:|--:|\n";
    for (Row const &row : rows)
    {
        out << "| " << what << " | " << grouped(row.count);
        for (Times const &times : row.of)
            out << " | " << rounded(times.*which);
        out << " | " << rounded(row.copy) << " | " << rounded(row.gain(which)) << " | 1/"
            << rounded(row.of[0].*which / row.copy) << " |\n";
    }
    out << '\n';
}

void writeSizes(std::ostream &out, Row const &row)
{
    out << "In the image an object takes " << rounded(row.of[0].bytes) << " bytes";
    for (std::size_t i = 0; i < kPeers.size(); ++i)
        out << (i + 1 == kPeers.size() ? " and " : ", ") << rounded(row.of[i + 1].bytes) << " in that of " << kPeers[i]->name;
    out << ".\n";
}

void writeData(std::ostream &out, std::vector<Row> const &rows)
{
    out << "# objects, memcpy, then save and load of this library and of each peer, in ns per object\n";
    for (Row const &row : rows)
    {
        out << row.count << ' ' << row.copy;
        for (Times const &times : row.of)
            out << ' ' << times.save << ' ' << times.load;
        out << '\n';
    }
}

Row const &rowOf(std::vector<Row> const &rows, int count)
{
    return *std::find_if(rows.begin(), rows.end(), [count](Row const &row) { return row.count == count; });
}

void writeTargets(Targets targets, std::vector<Row> const &rows, Times const &lists)
{
    Row const &middle = rowOf(rows, kMiddle);
    Row const &large = rowOf(rows, kLarge);
    for (Row const *const row : {&middle, &large})
        targets.atLeast("Save, " + grouped(row->count) + " objects: objects per second, times those of the fastest peer", "",
                        2.0, row->gain(&Times::save));
    for (Row const *const row : {&middle, &large})
        targets.atLeast("Load, " + grouped(row->count) + " objects: objects per second, times those of the fastest peer", "",
                        1.5, row->gain(&Times::load));
    targets.atMost("Save, 10,000 objects: time, times that of `memcpy` of the image", "", 6.0, middle.of[0].save / middle.copy);
    targets.atMost("Save of a pool that was loaded: time per object of 1,000,000, times that of 10,000", "", 1.6,
                   large.of[0].save / middle.of[0].save);
    targets.atMost("Load: time per object of 1,000,000, times that of 10,000", "", 1.6, large.of[0].load / middle.of[0].load);
    targets.atLeast("Save, categories of 10,000 ids", " GB/s", 1.0, lists.save);
    targets.atLeast("Load, categories of 10,000 ids", " GB/s", 1.0, lists.load);
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: okt_peers FOLDER\n";
        return 2;
    }
    std::string const folder = argv[1];
    std::vector<Row> rows;
    for (int const count : kCounts)
        rows.push_back(measure(count));
    std::ofstream table(folder + "/peers.md");
    writeTable(table, rows, "Save", &Times::save);
    writeTable(table, rows, "Load", &Times::load);
    writeSizes(table, rowOf(rows, kMiddle));
    std::ofstream data(folder + "/peers.dat");
    writeData(data, rows);
    writeTargets(Targets(folder + "/peers-targets.md"), rows, measureLists());
    table.close();
    data.close();
    demand(!table.fail() && !data.fail(), "writing the figures");
    return 0;
}
