// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktruntimeclass.h>

// Reading in part: the header alone, the objects that it names, and the classes that a load keeps.

namespace
{
constexpr long kHeaderProbe = 1024; // bytes that a partial reader asks for first; a shorter file is refused (quirk 23)
} // namespace

bool OKTDbPool::readFileHeader(CString const &path, InfoMap &info)
try
{
    info.removeAll();
    CByteArray bytes;
    if (!OKTMemoryFiler::loadFiler(path, bytes, 0, kHeaderProbe))
        return false;
    OKTMemoryFiler probe;
    probe.readInPlace(bytes);
    int headerLength = 0;
    if (!probe.readInt(CString(), headerLength))
        return false;
    long const headerStart = probe.GetFilerPosition();

    CByteArray header;
    if (!OKTMemoryFiler::loadFiler(path, header, headerStart, headerLength))
        return false;
    OKTMemoryFiler filer(this);
    filer.readInPlace(header);
    if (!hasTranslation(filer) || xmlIn(&filer, info) != eFilerOk)
        return false;
    // Places count from the start of the objects block; from here on they count from the start of the file, those of -1 too (quirk
    // 26). The sum wraps like any 32-bit number, since a damaged header may hold any number.
    auto const shift = static_cast<std::uint32_t>(headerStart) + static_cast<std::uint32_t>(headerLength);
    for (auto &[id, place] : info)
        place.nObjectPosition = static_cast<std::int32_t>(static_cast<std::uint32_t>(place.nObjectPosition) + shift);
    return true;
}
OKT_ANSWER_ZERO

bool OKTDbPool::readIndex(CString const &path)
try
{
    InfoMap info;
    return readFileHeader(path, info) && readObjectAlone(path, indexId(), info);
}
OKT_ANSWER_ZERO

bool OKTDbPool::readFilePicture(CString const &path)
try
{
    InfoMap info;
    if (!readFileHeader(path, info))
        return false;
    IdArray const pictures = m_tabPictures.ids(); // and no getter, which would give an empty list for want of memory
    for (OKTDbObjectId const &id : pictures)
        if (!readObjectAlone(path, translatedId(id), info))
            return false;
    return true;
}
OKT_ANSWER_ZERO

// Reads the stretch of one object and adds the first object found in it.
bool OKTDbPool::readObjectAlone(CString const &path, OKTDbObjectId const &id, InfoMap const &info)
{
    _ObjectInfo const *const place = info.find(id);
    CByteArray bytes;
    if (place == nullptr || !OKTMemoryFiler::loadFiler(path, bytes, place->nObjectPosition, place->nObjectSize))
        return false;
    OKTMemoryFiler filer(this);
    filer.readInPlace(bytes);
    CString className;
    OKTDbObject *object = nullptr;
    return hasTranslation(filer) && filer.readNextObjectClass(className) && CreateObjectFromClassName(className, object) &&
           readObject(filer, object) && appendReadObject(object);
}

bool OKTDbPool::skipObjectByReadFilter(OKTDbObject *object) const
try
{
    if (object == nullptr || m_readFilter.getSize() == 0)
        return false;
    for (OKTRuntimeClass const *descriptor : m_readFilter)
        if (descriptor != nullptr && object->isKindOf(descriptor))
            return false;
    return true;
}
OKT_ANSWER_ZERO

OKTDbPool::ReadFilter OKTDbPool::readFilter() const
try
{
    return m_readFilter;
}
OKT_ANSWER_ZERO
