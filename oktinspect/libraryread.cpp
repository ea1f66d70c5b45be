// SPDX-License-Identifier: MIT
#include <oktinspect/libraryread.h>

#include <oktinspect/objectread.h>
#include <oktinspect/reportcollector.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

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

std::optional<Finding> headerFault(CByteArray const &stretch, std::int64_t begin)
{
    OKTDbPool pool;
    OKTMemoryFiler filer(&pool);
    filer.readInPlace(stretch);
    InfoMap places;
    if (pool.xmlIn(&filer, places) != eFilerOk)
        return makeFinding(Finding::What::HeaderMembers, begin);
    if (std::optional<CString> const inner = nextObjectIn(filer, stretch))
        return makeFinding(Finding::What::HeaderInner, begin, {{"class", inner->ToUtf8()}});
    return std::nullopt;
}

LibraryRead readWhole(CByteArray const &bytes, Stretch const &object, CString const &className)
{
    LibraryRead result;
    ReadObject const read = readAlone(bytes, className);
    result.fault = libraryFinding(read.fault, object.begin, className);
    if (result.fault)
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

} // namespace

std::optional<Finding> libraryFinding(ReadFault const &fault, std::int64_t at, CString const &className)
{
    switch (fault.kind)
    {
    case ReadFault::Kind::Members: return makeFinding(Finding::What::LibraryMembers, at, {{"class", className.ToUtf8()}});
    case ReadFault::Kind::Inner:
        return makeFinding(Finding::What::LibraryInner, at, {{"class", className.ToUtf8()}, {"inner", fault.inner.ToUtf8()}});
    case ReadFault::Kind::None: break;
    }
    return std::nullopt;
}

std::optional<Finding> libraryReadFault(ByteSource &source, Stretch const &object, std::int64_t largest)
{
    CString const className = object.className();
    if (object.size() > largest || !isRegistered(className))
        return std::nullopt;
    ReportCollector const collector;
    CByteArray const bytes = bytesAt(source, object.begin, object.size());
    return libraryFinding(readAlone(bytes, className).fault, object.begin, className);
}

LibraryRead readByLibrary(ByteSource &source, Stretch const &object)
{
    CString const className = object.className();
    if (!isRegistered(className))
        return {};
    ReportCollector const collector;
    CByteArray const bytes = bytesAt(source, object.begin, object.size());
    return OktWithMemory([&] { return readWhole(bytes, object, className); });
}

std::optional<Finding> libraryHeaderFault(ByteSource &source, HeaderPlace const &header)
{
    ReportCollector const collector;
    CByteArray const stretch = bytesAt(source, header.begin, header.end - header.begin);
    return OktWithMemory([&] { return headerFault(stretch, header.begin); });
}

} // namespace okt
