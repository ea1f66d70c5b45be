// SPDX-License-Identifier: MIT
// growth xmlvalues|xmlpool|xmlread|picture COUNT FILE: a piece of work on so many things, between the begin and the end of counted_work, where
// callgrind counts (see linear).

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
/// So many values under one frame.
bool writeValues(CString const &path, int count)
{
    OKTXmlFiler filer;
    bool done = filer.NewFiler(path, true) && filer.beginWriteClass(u"Object", u"C", 1) && filer.beginWriteMembers(1);
    for (int i = 0; i < count; ++i)
        done = filer.writeInt(CString::FromUtf8("v" + std::to_string(i)), i) && done;
    return filer.endWriteMembers() && filer.endWriteClass() && filer.CloseFiler() && done;
}

/// No object of a pool has a place in a document: the answer is false behind the last one.
bool writePool(OKTDbPool &pool, CString const &path) { return !pool.writeXMLFile(path); }

bool readObjects(CString const &path)
{
    OKTDbPool pool;
    return !pool.readXMLFile(path);
}

/// A picture that declares so many chunks and has two.
bool putPicture(OKTMemoryFiler &filer, int count)
{
    OKTSmartAnsiString const ansi(&filer, true);
    return filer.beginWriteClass(u"Object", u"OKTDbPicture", 3) && OKTDbPicture().OKTDbObject::xmlOut(&filer) == eFilerOk &&
           filer.beginWriteMembers(1) && filer.writeString(u"", u"AQID") && filer.endWriteMembers() &&
           filer.beginWriteMembers(2) && filer.writeInt(u"", count) && filer.writeString(u"", u"BAUG") &&
           filer.endWriteMembers() && filer.endWriteClass();
}

bool readPicture(int count)
{
    OKTMemoryFiler written;
    OKTMemoryFiler filer;
    OKTDbPicture picture;
    CByteArray bytes;
    return putPicture(written, count) && filer.loadFiler(written.takeBytes()) && picture.xmlIn(&filer) == eFilerMemberFailed &&
           (picture.getPictureData(bytes), bytes.GetSize() == 6);
}

bool putObjects(std::string const &path, int count)
{
    std::FILE *const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    bool done = std::fputs("<Document>", file) >= 0;
    for (int i = 0; i < count; ++i)
        done = std::fputs(i % 2 == 0 ? "<Object class='NoSuchClass'/>" : "<foreign/>", file) >= 0 && done;
    done = std::fputs("</Document>", file) >= 0 && done;
    return std::fclose(file) == 0 && done;
}
} // namespace

// Found by callgrind under this name.
extern "C" __attribute__((noinline, visibility("default"))) bool counted_work(char const *kind, OKTDbPool &pool,
                                                                              CString const &path, int count)
{
    if (std::strcmp(kind, "xmlvalues") == 0)
        return writeValues(path, count);
    if (std::strcmp(kind, "xmlpool") == 0)
        return writePool(pool, path);
    if (std::strcmp(kind, "picture") == 0)
        return readPicture(count);
    return std::strcmp(kind, "xmlread") == 0 && readObjects(path);
}

int main(int argc, char **argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: okt_growth_counts xmlvalues|xmlpool|xmlread|picture COUNT FILE\n");
        return 2;
    }
    int const count = static_cast<int>(std::strtol(argv[2], nullptr, 10));
    OKTDbPool pool;
    for (int i = 0; i < count; ++i)
        pool.appendObject(new OKTDbRelation);
    if (!putObjects(argv[3], count))
        return 1;
    return counted_work(argv[1], pool, CString::FromUtf8(argv[3]), count) ? 0 : 1;
}
