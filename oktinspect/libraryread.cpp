#include <oktinspect/libraryread.h>

#include <oktformat/text.h>
#include <oktinspect/objectread.h>
#include <oktinspect/reportcollector.h>

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

LibraryRead readByLibrary(ByteSource &source, Stretch const &object)
{
    LibraryRead result;
    CString const className = object.className();
    if (!isRegistered(className))
        return result;
    ReportCollector const collector;
    CByteArray const bytes = bytesAt(source, object.begin, object.size());
    ReadObject const read = readAlone(bytes, className);
    result.fault = read.fault;
    if (!read.fault.empty())
        return result;
    if (OKTDbPicture *const picture = OKTDbPicture::cast(read.object.get()); picture != nullptr)
        picture->getPictureData(result.image.emplace());
    if (object.classNames.empty() || knownClass(object.classNames.front()) != KnownClass::Other)
        return result;
    OKTMemoryFiler filer(read.pool.get());
    result.isSameAgain = read.object->xmlOut(&filer) == eFilerOk;
    CByteArray const again = filer.takeBytes();
    result.isSameAgain = result.isSameAgain && again.GetSize() == bytes.GetSize() &&
                         std::equal(bytes.GetData(), bytes.GetData() + bytes.GetSize(), again.GetData());
    return result;
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
