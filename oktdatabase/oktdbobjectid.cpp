// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbobjectid.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/okttools.h>

namespace
{
// Four bytes of an id as the number that a stream holds: the lowest byte comes first.
int wordAt(unsigned char const *bytes)
{
    auto const byte = [bytes](int at) { return static_cast<std::uint32_t>(bytes[at]) << (8 * at); };
    return static_cast<int>(byte(0) | byte(1) | byte(2) | byte(3));
}

void setWordAt(unsigned char *bytes, int word)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(static_cast<std::uint32_t>(word) >> (8 * i));
}
} // namespace

OKTDbObjectId OKTDbObjectId::createObjectId(OKTDbPool *pool)
try
{
    OKTDbObjectId id;
    _GUID guid;
    if (SUCCEEDED(CoCreateGuid(&guid)))
        id.setGuid(guid);
    id.m_pool = pool;
    return id;
}
OKT_ANSWER_ZERO

CString OKTDbObjectId::getGuidAsString(bool withoutBraces) const
try
{
    CString text = OKTTools::getStringFromGUID(m_Guid);
    if (withoutBraces)
    {
        text.TrimLeft(u'{');
        text.TrimRight(u'}');
    }
    return text;
}
OKT_ANSWER_ZERO

void OKTDbObjectId::setGuidFromString(CString const &text)
try
{
    m_Guid = OKTTools::getGUIDFromString(text);
}
OKT_ANSWER_NOTHING

OKTDbObject *OKTDbObjectId::getObject() const
try
{
    if (isNull())
        return nullptr;
    if (m_object == nullptr && m_pool != nullptr)
        m_pool->findObject(*this, m_object);
    return m_object;
}
OKT_ANSWER_ZERO

bool OKTDbObjectId::isValid() const
try
{
    if (isNull() || m_pool == nullptr)
        return false;
    OKTDbObject *object = nullptr;
    return m_pool->findObject(*this, object) && object != nullptr;
}
OKT_ANSWER_ZERO

bool OKTDbObjectId::eraseObject()
try
{
    OKTDbObject *const object = getObject();
    if (object == nullptr || m_pool == nullptr)
        return false;
    if (!m_pool->removeObject(object))
        return false;
    setNull(); // before the object goes, which may hold this id
    delete object;
    return true;
}
OKT_ANSWER_ZERO

// The names are part of the stored vocabulary, and those of reading differ (quirk 38).

FilerStatusDb OKTDbObjectId::xmlOut(CString const &name, OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(name, u"OKTObjectId", 1))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeInt(u"(int) m_Guid.Data1", static_cast<int>(m_Guid.Data1)));
        frame.fold(filer->writeInt(u"( (int) m_Guid.Data2 ) | ( ( (int) m_Guid.Data3 ) << 16 )",
                                   static_cast<int>(m_Guid.Data2 | static_cast<std::uint32_t>(m_Guid.Data3) << 16)));
        frame.fold(filer->writeInt(u"*( (int*) m_Guid.Data4 )", wordAt(m_Guid.Data4)));
        frame.fold(filer->writeInt(u"*( (int*) ( m_Guid.Data4 + 4 ) )", wordAt(m_Guid.Data4 + 4)));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbObjectId::xmlIn(CString const &name, OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    m_pool = filer->m_pool; // also for an id that stays null (quirk 43)
    if (!filer->beginReadClass(name, u"OKTObjectId"))
        return eFilerClassFailed;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        int first = static_cast<int>(m_Guid.Data1);
        int second = 0;
        int words[2] = {};
        frame.fold(filer->readInt(u"(int&) m_Guid.Data1", first));
        frame.fold(filer->readInt(u"Data", second));
        frame.fold(filer->readInt(u"nDataA", words[0]));
        frame.fold(filer->readInt(u"nDataB", words[1]));
        m_Guid.Data1 = static_cast<std::uint32_t>(first);
        m_Guid.Data2 = static_cast<std::uint16_t>(second & 0xFFFF);
        m_Guid.Data3 = static_cast<std::uint16_t>(static_cast<std::uint32_t>(second) >> 16);
        setWordAt(m_Guid.Data4, words[0]);
        setWordAt(m_Guid.Data4 + 4, words[1]);
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO
