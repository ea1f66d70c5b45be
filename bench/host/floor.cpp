// SPDX-License-Identifier: MIT
#include "../report.h"
#include "hostcase.h"
#include "process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

// What nobody can do quicker: bytes copied, memory touched, a file read by one call.

namespace
{
std::size_t sizeOf(std::string const &path)
{
    struct stat status = {};
    demand(stat(path.c_str(), &status) == 0, "looking at a file");
    return static_cast<std::size_t>(status.st_size);
}

HostFigures copy(int count, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    auto const source = std::make_unique<char[]>(size);
    auto const target = std::make_unique<char[]>(size);
    std::memset(source.get(), 1, size);
    return measureFirstAndLater(hostTurns(count), [&] {
        std::memcpy(target.get(), source.get(), size);
        keep(target.get());
    });
}

/// The first access to memory that the process has just been given.
HostFigures touch(int, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    char *const memory = static_cast<char *>(std::malloc(size));
    demand(memory != nullptr, "asking for memory");
    HostFigures figures = measureFirst([&] {
        std::memset(memory, 1, size);
        keep(memory);
    });
    figures.bytes = static_cast<double>(size);
    return figures;
}

HostFigures readOnly(int count, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    auto const target = std::make_unique<char[]>(size);
    return measureFirstAndLater(hostTurns(count), [&] {
        int const file = open(path.c_str(), O_RDONLY);
        demand(file >= 0 && read(file, target.get(), size) == static_cast<ssize_t>(size) && close(file) == 0, "reading bytes");
    });
}
} // namespace

std::vector<HostCase> floorHostCases() { return {{"copy", copy}, {"touch", touch}, {"read", readOnly}}; }
