// SPDX-License-Identifier: MIT
#include <oktdatabase/oktfiler.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktframe.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktdatabytes.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{
// What the count of an id array is called: without a separator (quirk 42).
class CountName : public OKTScratchText
{
public:
    explicit CountName(CString const &array)
    {
        text() += u"Length";
        text() += array;
    }
};
} // namespace

OKTFiler::OKTFiler(OKTDbPool *pool) : m_pool(pool) {}

OKTFiler::~OKTFiler() = default;

bool OKTFiler::writeObjectIdArray(CString const &name, IdArray const &ids)
try
{
    int const count = ids.getSize();
    if (!writeInt(CountName(name).text(), count))
        return false;
    OKTListNames names(name);
    for (int i = 0; i < count; ++i)
        if (CString const *const key = names.at(i); key == nullptr || !writeObjectId(*key, ids.at(i)))
            return false;
    return true;
}
OKT_ANSWER_ZERO

bool OKTFiler::readObjectIdArray(CString const &name, IdArray &ids)
try
{
    ids.removeAll();
    int count = 0;
    if (!readInt(CountName(name).text(), count))
        return false;
    OKTListNames names(name);
    for (int i = 0; i < count; ++i)
    {
        OKTDbObjectId id;
        if (CString const *const key = names.at(i); key == nullptr || !readObjectId(*key, id))
            return false;
        ids.append(id);
    }
    return true;
}
OKT_ANSWER_ZERO

bool OKTFiler::loadMapTranslatedIds(IdMap map)
try
{
    m_bMapChanged = true;
    for (auto const &[id, translated] : map)
        m_mapTranslatedIds[id] = translated;
    return true;
}
OKT_ANSWER_ZERO

bool OKTFiler::saveMapTranslatedIds(IdMap &map)
try
{
    m_bMapAsked = true;
    for (auto const &[id, translated] : m_mapTranslatedIds)
        if (!id.isNull() && !translated.isNull() && id.isValid())
            map[id] = translated;
    return true;
}
OKT_ANSWER_ZERO

FilerStatusDb OKTFiler::xmlOutVariant(CString const &name, tagVARIANT const &value, OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(name, u"OKTVariant", 1))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeLong(u"vartype", static_cast<long>(value.vt)));
        CString const member = u"varvalue";
        switch (value.vt)
        {
        case VT_I2: frame.fold(filer->writeShort(member, value.iVal)); break;
        case VT_I4: frame.fold(filer->writeLong(member, static_cast<long>(value.lVal))); break;
        case VT_R4: frame.fold(filer->writeDouble(member, static_cast<double>(value.fltVal))); break;
        case VT_R8: frame.fold(filer->writeDouble(member, value.dblVal)); break;
        case VT_BSTR:
        {
            OKTScratchText text;
            bool const hasMemory = OktHasMemory([&] {
                text.text().SetUnits(lstrlenW(value.bstrVal),
                                     [&](WCHAR *units, int length) { std::copy_n(value.bstrVal, length, units); });
            });
            frame.fold(hasMemory && filer->writeString(member, text.text()));
            break;
        }
        case VT_BOOL: frame.fold(filer->writeLong(member, static_cast<long>(value.boolVal))); break;
        default: frame.fold(false); break;
        }
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTFiler::xmlInVariant(CString const &name, tagVARIANT &value, OKTFiler *filer)
try
{
    value.vt = VT_NULL; // and a string that the variant held is not freed (quirk 41)
    if (filer == nullptr)
        return eFilerNoFiler;
    if (filer->m_bClearsVariants)
        std::memset(&value.llVal, 0, sizeof value - offsetof(tagVARIANT, llVal));
    if (!filer->beginReadClass(name, u"OKTVariant"))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        long kind = 0;
        frame.fold(filer->readLong(u"vartype", kind));
        value.vt = static_cast<VARTYPE>(kind & 0xFFFF);
        CString const member = u"varvalue";
        switch (value.vt)
        {
        case VT_I2: frame.fold(filer->readShort(member, value.iVal)); break;
        case VT_I4:
        case VT_BOOL:
        {
            // The stored number is 32 bits wide, of which a flag takes the low ones.
            long number = OktDataAsLong(value);
            frame.fold(filer->readLong(member, number));
            OktSetDataAsLong(value, static_cast<LONG>(number));
            break;
        }
        case VT_R4: // eight bytes, although the kind says float (quirk 39)
        {
            double number = OktDataAsDouble(value);
            frame.fold(filer->readDouble(member, number));
            OktSetDataAsDouble(value, number);
            break;
        }
        case VT_R8: frame.fold(filer->readDouble(member, value.dblVal)); break;
        case VT_BSTR:
        {
            CString text;
            value.bstrVal = nullptr;
            frame.fold(filer->readString(member, text));
            frame.fold(OktHasMemory([&] { value.bstrVal = text.AllocSysString(); }));
            break;
        }
        default:
            // No pointer where the kind, which the stream chose, says that one is owned.
            std::memset(&value.llVal, 0, sizeof value - offsetof(tagVARIANT, llVal));
            frame.fold(false);
            break;
        }
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO
