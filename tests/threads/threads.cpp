// SPDX-License-Identifier: MIT
// threads FOLDER GOLDEN MODULE: the first use of the library in this process comes from eight threads at once, each with pools and
// files of its own, while another loads a client module. Each thread has to see what one thread alone sees. Built with -fsanitize=thread it
// also shows who touches what others hold.

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace
{
namespace fs = std::filesystem;

constexpr int kThreads = 8;
constexpr char const *kFiles[] = {"stirrup",      "pictures",       "object-order", "value-kinds",
                                  "long-strings", "newer-sections", "quantities",   "old-sections"};
constexpr char16_t kClientClass[] = u"OKTDbConstruct";

std::atomic<int> g_failures = 0;
std::atomic<int> g_clientObjects = 0;
std::atomic<bool> g_isLoaded = false;

bool expect(bool holds, char const *what, char const *where)
{
    if (!holds)
    {
        std::fprintf(stderr, "not so: %s (%s)\n", what, where);
        ++g_failures;
    }
    return holds;
}

CString pathText(fs::path const &path)
{
    std::u8string const text = path.u8string();
    return CString::FromUtf8(std::string(text.begin(), text.end()));
}

bool loadModule(char const *path)
{
#if defined(_WIN32)
    return LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) != nullptr;
#else
    return dlopen(path, RTLD_NOW | RTLD_LOCAL) != nullptr;
#endif
}

bool isSame(CByteArray const &left, CByteArray const &right)
{
    return left.GetSize() == right.GetSize() &&
           std::memcmp(left.GetData(), right.GetData(), static_cast<std::size_t>(left.GetSize())) == 0;
}

/// What one thread sees of one file.
struct Seen
{
    bool isRead = false;
    int objects = 0;
    int parameters = 0;
    int pictures = 0;
    int copied = 0;
    int cloned = 0;
    int inDocument = 0;
    CByteArray image;

    bool operator==(Seen const &other) const
    {
        return isRead == other.isRead && objects == other.objects && parameters == other.parameters &&
               pictures == other.pictures && copied == other.copied && cloned == other.cloned &&
               inDocument == other.inDocument && isSame(image, other.image);
    }
};

/// Loads, saves in each way, clones, copies, reads parts, passes through a document, changes and erases.
Seen useFile(fs::path const &golden, fs::path const &own)
{
    Seen seen;
    CString const path = pathText(own);
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    seen.isRead = pool.readFile(pathText(golden));
    seen.objects = pool.objectCount();
    if (!OktMakeFileImage(pool, seen.image) || !pool.writeFile(path) || OktSaveDurably(pool, path) != OktSaveStatus::Saved)
        return {};

    OKTDbPool again;
    if (!again.readFile(path))
        return {};
    for (int i = 0; i < again.objectCount(); ++i)
        if (OKTDbParameter *const parameter = OKTDbParameter::cast(again.objectAt(i)))
        {
            ++seen.parameters;
            if (parameter->Value().vt == VT_R8)
                parameter->setValue(parameter->Value().dblVal + 1.0, 0);
            parameter->setDescription(u"changed by a thread");
        }

    OKTDbPool part;
    OKTDbPool::InfoMap info;
    part.readFileHeader(path, info);
    part.readIndex(path);
    OKTDbPool preview;
    preview.readFilePicture(path);
    seen.pictures = preview.objectCount();

    OKTDbPool copy;
    copy.copyFrom(&again);
    seen.copied = copy.objectCount();
    again.setBoolTranslatedIds(true);
    std::unique_ptr<OKTDbPool> const clone(again.clone());
    seen.cloned = clone == nullptr ? -1 : clone->objectCount();
    again.setBoolTranslatedIds(false);

    CString const document = path + u".xml";
    again.writeXMLFile(document);
    OKTDbPool read;
    read.readXMLFile(document);
    seen.inDocument = read.objectCount();

    again.eraseAllObjects();
    return seen;
}

/// An object of a class that the module brings, where that has come, goes through an image.
void useModule(char const *where)
{
    OKTDbPool pool;
    OKTDbObject *object = nullptr;
    if (!pool.CreateObjectFromClassName(kClientClass, object))
        return;
    ++g_clientObjects;
    CByteArray image;
    IdMap translated;
    OKTDbPool again;
    expect(pool.appendObject(object) && pool.saveFiler(image, translated) && again.loadFiler(image) &&
               again.objectCount() == 1 && again.objectAt(0) == object->objectId(),
           "an object of the module is saved and loaded", where);
}

void work(fs::path const &folder, fs::path const &golden, int rounds, std::vector<Seen> &seen, std::latch &start,
          std::latch &begun)
{
    fs::create_directories(folder);
    seen.resize(std::size(kFiles));
    start.arrive_and_wait();
    for (int round = 0, left = rounds; left > 0; ++round)
    {
        // A last round with the module. Relaxed, since an order would hide a look-up without a lock.
        if (left > 1 || g_isLoaded.load(std::memory_order_relaxed))
            --left;
        for (std::size_t i = 0; i < std::size(kFiles); ++i)
        {
            useModule(kFiles[i]);
            Seen now = useFile(golden / (std::string(kFiles[i]) + ".okt"), folder / (std::string(kFiles[i]) + ".okt"));
            if (round > 0)
                expect(now == seen[i], "each round sees the same", kFiles[i]);
            seen[i] = std::move(now);
            if (round == 0 && i == 0)
                begun.count_down();
        }
    }
}
} // namespace

int main(int count, char **arguments)
{
    if (count != 4)
        return 2;
    fs::path const folder = arguments[1];
    fs::path const golden = arguments[2];
    char const *const asked = std::getenv("OKT_THREAD_ROUNDS");
    int const rounds = asked == nullptr ? 3 : std::max(2, std::atoi(asked));
    fs::remove_all(folder);

    std::vector<std::vector<Seen>> seen(kThreads);
    std::latch start(kThreads);
    std::latch begun(kThreads); // with their first file
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&, i] { work(folder / std::to_string(i), golden, rounds, seen[static_cast<std::size_t>(i)], start, begun); });
    // It does nothing else, so that no lock of another's puts its load in order with what they do.
    threads.emplace_back([&] {
        begun.wait();
        expect(loadModule(arguments[3]), "the module is loaded", arguments[3]);
        g_isLoaded.store(true, std::memory_order_relaxed);
    });
    for (std::thread &thread : threads)
        thread.join();

    expect(g_clientObjects >= kThreads, "each thread has used the module", arguments[3]);

    std::vector<Seen> alone;
    std::latch none(1);
    std::latch done(1);
    work(folder / "alone", golden, 1, alone, none, done);
    for (std::size_t i = 0; i < alone.size(); ++i)
    {
        expect(alone[i].isRead, "the file is read", kFiles[i]);
        for (std::vector<Seen> const &each : seen)
            expect(each[i] == alone[i], "a thread among others sees what one alone sees", kFiles[i]);
    }
    std::printf("%d threads, %d rounds over %d files: %d failures\n", kThreads, rounds, static_cast<int>(std::size(kFiles)),
                g_failures.load());
    return g_failures == 0 ? 0 : 1;
}
