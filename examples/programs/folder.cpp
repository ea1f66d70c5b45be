// SPDX-License-Identifier: MIT
// Lists the pool files of a folder by their headers. Of each file some thousand bytes are read, however large it is.
//   folder FOLDER

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

namespace fs = std::filesystem;

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    std::set<fs::path> files; // in order
    for (fs::directory_entry const &entry : fs::directory_iterator(arguments[1]))
        if (entry.path().extension() == ".okt")
            files.insert(entry.path());
    for (fs::path const &file : files)
    {
        std::string const name = file.filename().string();
        std::u8string const path = file.generic_u8string();
        OKTDbPool pool;
        InfoMap places; // where the construct, the index and the pictures lie
        if (!pool.readFileHeader(CString::FromUtf8(std::string(path.begin(), path.end())), places))
        {
            std::printf("%s: no header can be read\n", name.c_str());
            continue;
        }
        int bytes = 0;
        for (auto const &[id, place] : places)
            bytes += place.nObjectSize > 0 ? place.nObjectSize : 0;
        std::printf("%s: \"%s\", %d pictures, %d bytes for what it names\n", name.c_str(), pool.poolName().ToUtf8().c_str(),
                    pool.picturesId().getSize(), bytes);
    }
}
