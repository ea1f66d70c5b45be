// SPDX-License-Identifier: MIT
// kill FOLDER COUNT: kills that many processes in the middle of a loop of durable saves over one file. Behind each of them the file has to
// be one of the two that they save, whole, and the next save has to leave nothing beside it.

#include "support/bytetext.h"

#include <oktdatabase/oktdatabase.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

constexpr int kMostMicroseconds = 15'000;

CByteArray imageWith(int parameters)
{
    OKTDbPool pool;
    auto *const owner = new OKTDbParamRelation;
    pool.appendObject(owner);
    for (int i = 0; i < parameters; ++i)
    {
        auto *const parameter = new OKTDbParameter(10, owner->objectId());
        pool.appendObject(parameter);
        parameter->setValue(0.25 * i, 0);
    }
    CByteArray image;
    OktMakeFileImage(pool, image);
    return image;
}

bool holds(fs::path const &path, CByteArray const &bytes)
{
    std::ifstream file(path, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return text == textOf(bytes);
}

[[noreturn]] void saveForEver(CByteArray const &first, CByteArray const &second, CString const &path)
{
    for (;;)
        if (OktSaveDurably(first, path) != OktSaveStatus::Saved || OktSaveDurably(second, path) != OktSaveStatus::Saved)
            _exit(1);
}

int fail(int kill, char const *what)
{
    std::fprintf(stderr, "kill %d: %s\n", kill, what);
    return 1;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return fail(0, "usage: kill FOLDER COUNT");
    fs::path const folder = argv[1];
    char const *const asked = std::getenv("OKT_KILLS");
    int const count = static_cast<int>(std::strtol(asked != nullptr ? asked : argv[2], nullptr, 10));
    fs::remove_all(folder);
    fs::create_directories(folder);
    fs::path const file = folder / "pool.okt";
    CString const path = CString::FromUtf8(file.string());
    CByteArray const first = imageWith(400);
    CByteArray const second = imageWith(3000);
    if (first.GetSize() < 10'000 || OktSaveDurably(first, path) != OktSaveStatus::Saved)
        return fail(0, "the first save fails");

    std::minstd_rand random(7);
    int changed = 0;
    int left = 0;
    for (int i = 1; i <= count; ++i)
    {
        pid_t const child = fork();
        if (child == 0)
            saveForEver(second, first, path);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % kMostMicroseconds));
        kill(child, SIGKILL);
        int status = 0;
        if (waitpid(child, &status, 0) != child || !WIFSIGNALED(status))
            return fail(i, "a save is refused");
        bool const isSecond = holds(file, second);
        if (!isSecond && !holds(file, first))
            return fail(i, "the file is neither of the two");
        changed += isSecond ? 1 : 0;
        left += std::distance(fs::directory_iterator(folder), fs::directory_iterator()) > 1 ? 1 : 0;
        if (OktSaveDurably(first, path) != OktSaveStatus::Saved)
            return fail(i, "the next save is refused");
        if (!holds(file, first) || std::distance(fs::directory_iterator(folder), fs::directory_iterator()) != 1)
            return fail(i, "the next save leaves something beside the file");
    }
    std::printf(
        "%d kills: %d left the first of the two, %d the second, whole; %d left something beside it, until the next save\n",
        count, count - changed, changed, left);
    // Kills that come at no step of a save prove nothing.
    if (count >= 100 && (left < count / 20 || changed == 0 || changed == count))
        return fail(count, "the kills do not meet the saves");
    fs::remove_all(folder);
    return 0;
}
