// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktbytefiler.h>
#include <oktdatabase/oktfiler.h>

class OKTIdReplacements;
class OKTTextTable;

/// The binary filer: the protocol as records of one buffer in memory, and buffers to and from files. Purely positional: names
/// are not stored, so members must be read in the order in which they were written.
///
/// Made in write mode; loadFiler or setInternalIsWriteEnabled(false) turn it to reading. With a pool it takes the pool's
/// translation flag and map; ids then get a new identity on their way in.
class OKT_API OKTMemoryFiler : public OKTFiler
{
public:
    /// In write mode, with an empty buffer.
    OKTMemoryFiler(OKTDbPool *pool = nullptr); // NOLINT(google-explicit-constructor): the published signature
    ~OKTMemoryFiler() override;

    bool beginWriteClass(CString name, CString className, int version) override;
    bool endWriteClass() override;
    bool beginWriteMembers(int section) override;
    bool endWriteMembers() override;
    bool writeDouble(CString const &name, double const &value) override;
    bool writeLong(CString const &name, unsigned long const &value) override;
    bool writeLong(CString const &name, long const &value) override;
    bool writeString(CString const &name, CString const &value) override;
    /// The id goes out as it is. With translation on, a valid id that the filer's map lacks gets a fresh id there.
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override;
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override;
    bool writeBool(CString const &name, bool const &value) override;
    /// A long record, not a bool record.
    bool writeBool(CString const &name, int const &value) override;
    bool writeInt(CString const &name, unsigned int const &value) override;
    bool writeInt(CString const &name, int const &value) override;
    bool writeShort(CString const &name, unsigned short const &value) override;
    bool writeShort(CString const &name, short const &value) override;
    bool writeVariant(CString const &name, tagVARIANT const &value) override;
    bool writeByteArray(CString const &name, CByteArray const &value) override;

    /// Case of the class name does not count, the version is not looked at. A frame of another class is entered all the same:
    /// the position then stands behind its version.
    bool beginReadClass(CString name, CString className) override;
    bool endReadClass() override;
    bool beginReadMembers(int section) override;
    bool endReadMembers() override;
    bool readString(CString const &name, CString &value) override;
    bool readLong(CString const &name, unsigned long &value) override;
    bool readLong(CString const &name, long &value) override;
    bool readDouble(CString const &name, double &value) override;
    /// Null first, then the id read; with translation on, the map's value where the map has the id.
    bool readObjectId(CString const &name, OKTDbObjectId &value) override;
    bool readPoint3d(CString const &name, OKTGeXYZ &value) override;
    /// A failed read stores true (quirk 33).
    bool readBool(CString const &name, bool &value) override;
    bool readBool(CString const &name, int &value) override;
    bool readInt(CString const &name, unsigned int &value) override;
    bool readInt(CString const &name, int &value) override;
    bool readShort(CString const &name, unsigned short &value) override;
    bool readShort(CString const &name, short &value) override;
    bool readVariant(CString const &name, tagVARIANT &value) override;
    bool readByteArray(CString const &name, CByteArray &value) override;

    /// Turns to reading, from position 0, a copy of the bytes. Always true.
    virtual bool loadFiler(CByteArray const &bytes);
    /// A copy of the buffer; false, and `bytes` emptied, while reading.
    virtual bool saveFiler(CByteArray &bytes);
    /// The class name of the next object frame at or behind the position, which comes to stand on it. False: none, position
    /// unmoved.
    virtual bool readNextObjectClass(CString &className);
    /// Always false.
    virtual bool skipToNextObject();
    /// The size of the buffer in bytes, in either mode.
    virtual long GetFilerLength() const;
    /// The read position in bytes; 0 while writing.
    virtual long GetFilerPosition() const;

    /// Makes or cuts the file and writes all bytes. False on any failure; a partly written file stays. Where the system can tell that
    /// the disk has no room, a file that exists is not cut.
    static bool saveFiler(CString const &path, CByteArray const &bytes);
    /// `size` bytes from byte `position` of the file. A negative position counts as 0, a negative size means up to the end.
    /// False, and `bytes` empty: the file cannot be opened or read, the position is not below its length, or the stretch runs
    /// past its end.
    static bool loadFiler(CString const &path, CByteArray &bytes, long const &position, long const &size);

    /// Turns to writing or reading without touching buffer or position. Always true.
    bool setInternalIsWriteEnabled(bool on);

    /// loadFiler without the copy: reads `bytes` where they lie. They must outlive the filer and stay unchanged.
    void readInPlace(CByteArray const &bytes);
    /// The written buffer, handed over without a copy; the filer is empty then.
    CByteArray takeBytes();

private:
    friend class OKTFramePath;
    friend class OKTFrameWriter;
    friend class OKTFrameReader;
    friend class OKTImageFiler;

    bool writesFramesWhole() const;
    OKTDbObjectId const &idToWrite(OKTDbObjectId const &id) const { return m_replacements == nullptr ? id : replaced(id); }
    OKTDbObjectId const &replaced(OKTDbObjectId const &id) const;

    OKTByteFiler m_bytes;
    OKTIdReplacements *m_replacements = nullptr;
    OKTTextTable *m_texts = nullptr;
};
