// SPDX-License-Identifier: MIT
// Writes the previews of all pool files of a folder into another, and a page that shows them. Of each file only the header and the
// pictures are read.
//   gallery FOLDER NEWFOLDER

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace fs = std::filesystem;

int main(int count, char **arguments)
{
    if (count != 3)
        return 2;
    fs::path const made = arguments[2];
    fs::create_directories(made);
    std::ofstream page(made / "gallery.html");
    page << "<!doctype html><title>Gallery</title>\n";
    std::set<fs::path> files; // in order
    for (fs::directory_entry const &entry : fs::directory_iterator(arguments[1]))
        if (entry.path().extension() == ".okt")
            files.insert(entry.path());
    for (fs::path const &file : files)
    {
        OKTDbPool pool;
        std::u8string const path = file.generic_u8string();
        if (!pool.readFilePicture(CString::FromUtf8(std::string(path.begin(), path.end()))))
            continue; // too short, damaged, or of classes that are not here
        int shown = 0;
        for (OKTDbObjectId const &id : pool.picturesId())
        {
            OKTDbObject *object = nullptr;
            pool.findObject(id, object);
            OKTDbPicture *const picture = OKTDbPicture::cast(object);
            CByteArray bytes;
            if (picture != nullptr)
                picture->getPictureData(bytes);
            if (bytes.GetSize() < 4 || bytes[1] != 'P' || bytes[2] != 'N' || bytes[3] != 'G')
                continue; // a client may keep any format
            std::string const name = file.stem().string() + "-" + std::to_string(++shown) + ".png";
            std::ofstream(made / name, std::ios::binary)
                .write(reinterpret_cast<char const *>(bytes.GetData()), bytes.GetSize());
            page << "<figure><img src='" << name << "'><figcaption>" << file.stem().string() << "</figcaption></figure>\n";
        }
        std::printf("%s: %d of %d pictures shown\n", file.filename().string().c_str(), shown, pool.picturesId().getSize());
    }
}
