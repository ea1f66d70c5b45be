// SPDX-License-Identifier: MIT
// Writes a pool as an XML document, and reads that into another pool. The document holds no ids: they are new, and references are
// lost. Both operations answer false for that reason; the document and the objects are there.
//   xml FILE DOCUMENT

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <filesystem>

int main(int count, char **arguments)
{
    if (count != 3)
        return 2;
    CString const document = CString::FromUtf8(arguments[2]);
    OKTDbPool pool;
    if (!pool.readFile(CString::FromUtf8(arguments[1])))
        return 1;
    bool const isWhole = pool.writeXMLFile(document);
    std::printf("written: %s, with ids: %s\n", std::filesystem::exists(arguments[2]) ? "yes" : "no", isWhole ? "yes" : "no");

    OKTDbPool other;
    bool const isReadWhole = other.readXMLFile(document);
    std::printf("%d of %d objects read, with ids: %s\n", other.objectCount(), pool.objectCount(), isReadWhole ? "yes" : "no");
}
