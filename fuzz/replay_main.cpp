// SPDX-License-Identifier: MIT
// Runs a fuzz target over files, for compilers without libFuzzer: every argument is a file or a folder of files.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size);

// The mutators of the targets are here, too, but nobody calls them.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *, std::size_t size, std::size_t) { return size; }

namespace
{
namespace fs = std::filesystem;

std::vector<fs::path> filesOf(fs::path const &place)
{
    if (!fs::is_directory(place))
        return {place};
    std::vector<fs::path> files;
    for (auto const &entry : fs::recursive_directory_iterator(place))
    {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(fs::path const &file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw std::runtime_error(file.string() + ": cannot be read");
    std::vector<char> const bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    // A copy of the exact size, so that a read past the end shows under a sanitizer.
    std::vector<std::uint8_t> const input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}
} // namespace

int main(int argc, char **argv)
try
{
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i)
    {
        for (auto const &file : filesOf(argv[i]))
        {
            std::printf("%s\n", file.string().c_str());
            std::fflush(stdout); // the last name printed is that of the input at fault
            replay(file);
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1; // a target without a corpus has shown nothing
}
catch (std::exception const &error)
{
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
