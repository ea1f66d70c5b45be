#include "libraryread.h"

#include "../reportcollector.h"
#include "../standin.h"
#include "../text.h"

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <memory>

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

bool isRegistered(CString const &className) { return g_RuntimeClass.contains(className) && !StandIn::isRegistered(className); }

std::string libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest)
{
    CString const className = object.className();
    if (object.size() > largest || !isRegistered(className))
        return {};
    ReportCollector const collector;
    CByteArray const stretch = bytesAt(source, object.begin, object.size());
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.readInPlace(stretch);
    OKTDbObject *made = nullptr;
    bool const canBeMade = pool.CreateObjectFromClassName(className, made);
    std::unique_ptr<OKTDbObject> const read(made);
    if (!canBeMade || read == nullptr || read->xmlIn(&filer) != eFilerOk)
        return "the members of this " + printable(className) + " are not those of its class";
    // A load goes on behind the members that the class knows, and must not meet an object before this one ends.
    CString inner;
    if (filer.readNextObjectClass(inner))
        return "behind the members of this " + printable(className) + " stands " + withArticle(inner) +
               ", which is still inside of it";
    return {};
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
