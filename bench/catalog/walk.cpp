// SPDX-License-Identifier: MIT
// walk FOLDER: the files below it, their sizes and times, by the standard library alone.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    std::uintmax_t files = 0;
    std::uintmax_t size = 0;
    std::intmax_t newest = 0;
    for (std::filesystem::directory_entry const &entry : std::filesystem::recursive_directory_iterator(argv[1]))
        if (entry.is_regular_file())
        {
            ++files;
            size += entry.file_size();
            newest = std::max<std::intmax_t>(newest, entry.last_write_time().time_since_epoch().count());
        }
    std::printf("%ju files, %ju bytes, the newest at %jd\n", files, size, newest);
    return 0;
}
