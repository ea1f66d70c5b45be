// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmemoryfiler.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/oktidreplacements.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktshortage.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktfile.h>

#include <limits>
#include <typeinfo>

namespace
{
constexpr int kGrowBy = 1024;
constexpr int kSmall = 128 << 10; // bytes of a file that come into memory of the heap, not of the system

// The stream holds 32 bits, a long may have more.
bool fitsSigned(long value)
{
    return value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max();
}

bool fitsUnsigned(unsigned long value) { return value <= std::numeric_limits<std::uint32_t>::max(); }
} // namespace

OKTMemoryFiler::OKTMemoryFiler(OKTDbPool *pool) : OKTFiler(pool), m_bytes(kGrowBy)
{
    try
    {
        if (pool == nullptr)
            return;
        m_mapTranslatedIds = pool->m_mapTranslatedIds;
        setTranslatedIds(pool->BoolTranslatedIds()); // and not before the map is there
    }
    OKT_ANSWER_NOTHING
}

OKTMemoryFiler::~OKTMemoryFiler() = default;

// The frame of an id can be written and read in one piece, with the outcome of the calls that it stands for. Not in a derived
// filer, which may override these calls, nor where the code page changes the letters of the class name.
bool OKTMemoryFiler::writesFramesWhole() const
{
    return kFramesInMemory && typeid(*this) == typeid(OKTMemoryFiler) && OktThreadCodePageKeepsAscii();
}

OKTDbObjectId const &OKTMemoryFiler::replaced(OKTDbObjectId const &id) const { return m_replacements->forWriting(id); }

// --- Writing ---

bool OKTMemoryFiler::beginWriteClass(CString, CString className, int version)
try
{
    return m_bytes.beginFrame(className, version);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::endWriteClass()
try
{
    return m_bytes.endFrame();
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::beginWriteMembers(int section)
try
{
    return m_bytes.beginSection(section);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::endWriteMembers()
try
{
    return m_bytes.endSection();
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeDouble(CString const &, double const &value)
try
{
    return m_bytes.writeDouble(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeLong(CString const &, unsigned long const &value)
try
{
    return fitsUnsigned(value) && m_bytes.writeLong(static_cast<std::uint32_t>(value));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeLong(CString const &, long const &value)
try
{
    return fitsSigned(value) && m_bytes.writeLong(static_cast<std::uint32_t>(value));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeString(CString const &, CString const &value)
try
{
    return getIsAnsiString() ? m_bytes.writeAnsiString(value) : m_bytes.writeWideString(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeObjectId(CString const &name, OKTDbObjectId const &value)
try
{
    OKTDbObjectId const &id = idToWrite(value);
    bool const written = writesFramesWhole() ? m_bytes.writeIdFrame(reinterpret_cast<unsigned char const *>(&id.m_Guid))
                                             : id.xmlOut(name, this) == eFilerOk;
    if (!written || m_replacements != nullptr)
        return written;
    // The old id is in the stream; the new one is only noted, and replaces it on reading.
    if (getTranslatedIds() && value.isValid() && !m_mapTranslatedIds.contains(value))
        m_mapTranslatedIds[value] = OKTDbObjectId::createObjectId(m_pool);
    return true;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writePoint3d(CString const &name, OKTGeXYZ const &value)
try
{
    return value.xmlOut(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeBool(CString const &, bool const &value)
try
{
    return m_bytes.writeBool(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeBool(CString const &name, int const &value)
try
{
    return writeLong(name, static_cast<long>(value));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeInt(CString const &name, unsigned int const &value)
try
{
    return writeLong(name, static_cast<long>(static_cast<int>(value)));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeInt(CString const &name, int const &value)
try
{
    return writeLong(name, static_cast<long>(value));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeShort(CString const &, unsigned short const &value)
try
{
    return m_bytes.writeShort(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeShort(CString const &, short const &value)
try
{
    return m_bytes.writeShort(static_cast<unsigned short>(value));
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeVariant(CString const &name, tagVARIANT const &value)
try
{
    return xmlOutVariant(name, value, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::writeByteArray(CString const &, CByteArray const &value)
try
{
    return m_bytes.writeByteArray(value);
}
OKT_ANSWER_ZERO

// --- Reading ---

bool OKTMemoryFiler::beginReadClass(CString, CString className)
try
{
    return m_bytes.readClassBegin(className);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::endReadClass()
try
{
    return m_bytes.checkType(VarClassEnd) || m_bytes.skipMembers();
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::beginReadMembers(int section)
try
{
    return m_bytes.enterMembers(section);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::endReadMembers()
try
{
    return m_bytes.checkType(VarMembersEnd);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readString(CString const &, CString &value)
try
{
    int const before = m_bytes.getPosition();
    bool const done = getIsAnsiString() ? m_bytes.readAnsiString(value) : m_bytes.readWideString(value);
    // A derived filer may have more to give than its base.
    setReadingStalled(!done && m_bytes.getPosition() == before && typeid(*this) == typeid(OKTMemoryFiler));
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readLong(CString const &, unsigned long &value)
try
{
    std::uint32_t bits;
    bool const done = m_bytes.readLong(bits);
    value = bits;
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readLong(CString const &, long &value)
try
{
    std::uint32_t bits;
    bool const done = m_bytes.readLong(bits);
    value = static_cast<std::int32_t>(bits);
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readDouble(CString const &, double &value)
try
{
    return m_bytes.readDouble(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readObjectId(CString const &name, OKTDbObjectId &value)
try
{
    value.setNull();
    if (writesFramesWhole() && m_bytes.readIdFrame(reinterpret_cast<unsigned char *>(&value.m_Guid)))
        value.fixPoolPointer(m_pool);
    else if (value.xmlIn(name, this) != eFilerOk)
        return false;
    if (getTranslatedIds())
        if (OKTDbObjectId const *const translated = m_mapTranslatedIds.find(value))
            value = OKTDbObjectId(*translated);
    return true;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readPoint3d(CString const &name, OKTGeXYZ &value)
try
{
    return value.xmlIn(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readBool(CString const &, bool &value)
try
{
    unsigned char byte;
    bool const done = m_bytes.readBool(byte);
    value = byte != 0; // the failure value 255 gives true (quirk 33)
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readBool(CString const &name, int &value)
try
{
    long number = value;
    bool const done = readLong(name, number);
    value = static_cast<int>(number);
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readInt(CString const &name, unsigned int &value)
try
{
    long number = static_cast<int>(value);
    bool const done = readLong(name, number);
    value = static_cast<unsigned int>(number);
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readInt(CString const &name, int &value)
try
{
    long number = value;
    bool const done = readLong(name, number);
    value = static_cast<int>(number);
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readShort(CString const &, unsigned short &value)
try
{
    return m_bytes.readShort(value);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readShort(CString const &, short &value)
try
{
    unsigned short bits;
    bool const done = m_bytes.readShort(bits);
    value = static_cast<short>(bits);
    return done;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readVariant(CString const &name, tagVARIANT &value)
try
{
    return xmlInVariant(name, value, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readByteArray(CString const &, CByteArray &value)
try
{
    return m_bytes.readByteArray(value);
}
OKT_ANSWER_ZERO

// --- Buffers and files ---

bool OKTMemoryFiler::loadFiler(CByteArray const &bytes)
try
{
    m_bytes.setPosition(0);
    m_bytes.setWriteMode(0);
    return m_bytes.loadBytes(bytes);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::saveFiler(CByteArray &bytes)
try
{
    return m_bytes.saveBytes(bytes);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::readNextObjectClass(CString &className)
try
{
    int offset;
    if (!m_bytes.findNextObject(offset))
        return false;
    m_bytes.setPosition(offset);
    return m_bytes.findClassName(className);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::skipToNextObject() { return false; }

long OKTMemoryFiler::GetFilerLength() const { return m_bytes.getLength(); }

long OKTMemoryFiler::GetFilerPosition() const { return m_bytes.getPosition(); }

bool OKTMemoryFiler::saveFiler(CString const &path, CByteArray const &bytes)
try
{
    CFile file;
    constexpr UINT kFlags = CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite;
    if (!file.OpenWithRoom(path, kFlags, static_cast<ULONGLONG>(bytes.GetSize())))
        return false;
    try
    {
        file.Write(bytes.GetData(), static_cast<UINT>(bytes.GetSize()));
        file.Close(); // here, where a late failure of the system can still be told
    }
    catch (...)
    {
        OktNoteIfShortage();
        return false;
    }
    return true;
}
OKT_ANSWER_ZERO

std::int64_t OktLengthOf(CFile const &file)
try
{
    return static_cast<std::int64_t>(file.GetLength());
}
catch (CFileException const &)
{
    return -1;
}

bool OktReadFromHere(CFile &file, CByteArray &bytes, std::int64_t count)
{
    bytes.RemoveAll();
    // Sizes are signed 32-bit: a file beyond that is no pool file.
    if (count <= 0 || count > std::numeric_limits<std::int32_t>::max())
        return false;
    auto const size = static_cast<int>(count);
    try
    {
        // Of a small block every byte would be set to zero first.
        if (size < kSmall)
            bytes.Extend(size);
        else
            bytes.SetSize(size);
        if (file.Read(bytes.GetData(), static_cast<UINT>(size)) == static_cast<UINT>(size))
            return true;
    }
    catch (CFileException const &)
    {
    }
    bytes.RemoveAll();
    return false;
}

bool OktReadBytes(CFile &file, CByteArray &bytes, std::int64_t position, std::int64_t size)
try
{
    bytes.RemoveAll();
    std::int64_t const length = OktLengthOf(file);
    std::int64_t const start = position < 0 ? 0 : position;
    std::int64_t const count = size < 0 ? length - start : size;
    if (start >= length || count > length - start || length > std::numeric_limits<std::int32_t>::max())
        return false;
    if (file.Seek(start, CFile::begin) != static_cast<ULONGLONG>(start))
        return false;
    return count == 0 || OktReadFromHere(file, bytes, count);
}
catch (CFileException const &)
{
    return false;
}

bool OKTMemoryFiler::loadFiler(CString const &path, CByteArray &bytes, long const &position, long const &size)
try
{
    bytes.RemoveAll();
    CFile file;
    return file.Open(path, CFile::modeRead | CFile::shareDenyWrite) && OktReadBytes(file, bytes, position, size);
}
OKT_ANSWER_ZERO

bool OKTMemoryFiler::setInternalIsWriteEnabled(bool on)
{
    m_bytes.setWriteMode(on ? 1 : 0);
    return true;
}

void OKTMemoryFiler::readInPlace(CByteArray const &bytes) { m_bytes.readInPlace(bytes); }

CByteArray OKTMemoryFiler::takeBytes() { return m_bytes.takeBytes(); }
