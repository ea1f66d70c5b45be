// SPDX-License-Identifier: MIT
#include <oktinspect/objectread.h>

#include <oktinspect/standin.h>

#include <oktformat/recordtype.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

namespace okt
{

bool isRegistered(CString const &className) { return g_RuntimeClass.contains(className) && !StandIn::isRegistered(className); }

namespace
{

ReadObject readWithin(CByteArray const &frame, CString const &className, double metricsFactor)
{
    ReadObject read;
    read.pool = std::make_unique<OKTDbPool>();
    read.pool->setMetricsFactor(metricsFactor);
    OKTMemoryFiler filer(read.pool.get());
    filer.readInPlace(frame);
    OKTDbObject *made = nullptr;
    bool const canBeMade = read.pool->CreateObjectFromClassName(className, made);
    read.object.reset(made);
    if (!canBeMade || made == nullptr || made->xmlIn(&filer) != eFilerOk)
    {
        read.fault.kind = ReadFault::Kind::Members;
        return read;
    }
    // A load continues after the members that the class knows. It must not find an object before the end of this one.
    if (std::optional<CString> const inner = nextObjectIn(filer, frame))
        read.fault = {ReadFault::Kind::Inner, *inner};
    return read;
}

} // namespace

std::optional<CString> nextObjectIn(OKTMemoryFiler &filer, CByteArray const &bytes)
{
    int at = static_cast<int>(filer.GetFilerPosition());
    if (CString name; filer.readNextObjectClass(name))
        return name;
    auto const is = [&bytes](int place, RecordType type) { return bytes[place] == static_cast<BYTE>(type); };
    for (; at + 1 < bytes.GetSize(); ++at)
        if ((at == 0 || is(at - 1, RecordType::FrameEnd)) && is(at, RecordType::FrameBegin) && is(at + 1, RecordType::Text8))
            return CString();
    return std::nullopt;
}

ReadObject readAlone(CByteArray const &frame, CString const &className, double metricsFactor)
{
    return OktWithMemory([&] { return readWithin(frame, className, metricsFactor); });
}

} // namespace okt
