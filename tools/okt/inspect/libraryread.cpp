#include "libraryread.h"

#include "../objectread.h"
#include "../reportcollector.h"
#include "../text.h"

#include <oktdatabase/oktdatabase.h>

#include <algorithm>

namespace okt
{

namespace
{

CByteArray bytesAt(ByteSource &source, std::int64_t begin, std::int64_t size)
{
    std::string const bytes = source.copy(begin, size);
    CByteArray stretch;
    std::copy(bytes.begin(), bytes.end(), stretch.Extend(static_cast<int>(bytes.size())));
    return stretch;
}

} // namespace

std::string libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest)
{
    CString const className = object.className();
    if (object.size() > largest || !isRegistered(className))
        return {};
    ReportCollector const collector;
    return readAlone(bytesAt(source, object.begin, object.size()), className).fault;
}

std::string libraryHeaderFault(ByteSource &source, HeaderPlace const &header)
{
    ReportCollector const collector;
    CByteArray const stretch = bytesAt(source, header.begin, header.end - header.begin);
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.readInPlace(stretch);
    InfoMap places;
    if (pool.xmlIn(&filer, places) != eFilerOk)
        return "the header is damaged: its members are not those of a pool";
    CString inner;
    if (filer.readNextObjectClass(inner))
        return "the header is damaged: " + withArticle(inner) + " is inside of it";
    return {};
}

} // namespace okt
