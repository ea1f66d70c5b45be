// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktstring.h>
#include <oktplatform/oktvariant.h>

class OKTDbPool;
class OKTGeXYZ;

/// The abstract stream of named, typed values in nested class frames, each frame with numbered member sections. A stored class
/// has one xmlOut and one xmlIn, written once against it:
///
///     frame    beginWriteClass(name, class, version), the frame of the base class, sections, endWriteClass
///     section  beginWriteMembers(number), values and frames, endWriteMembers
///
/// Sections are numbered from 1 and are the versioning of all storage. A class that gains members adds a section: an older
/// reader passes over it in endReadClass, a newer reader takes a false from beginReadMembers as "not in this stream" and keeps
/// its defaults. Members are written and read in the same order and under the same names: a filer may find them by order or by name.
///
/// Every operation gives true when it was done. A false from a member does not stop the walk over a class. The two end results
/// are ignored by the stored classes. One thread uses a filer from its making to its end. The pool is not owned and may be
/// null.
class OKT_API OKTFiler
{
public:
    /// For objects of that pool, which must outlive the filer; null is allowed.
    OKTFiler(OKTDbPool *pool = nullptr); // NOLINT(google-explicit-constructor): the published signature
    OKTFiler(OKTFiler const &) = default;
    OKTFiler &operator=(OKTFiler const &) = default;
    virtual ~OKTFiler();

    /// `name` is the name of the value in its parent, "Object" for the root of a record; `version` the highest section written.
    virtual bool beginWriteClass(CString name, CString className, int version) = 0;
    virtual bool endWriteClass() = 0;
    /// Sections go from 1 up. False: the section is left out.
    virtual bool beginWriteMembers(int section) = 0;
    virtual bool endWriteMembers() = 0;
    /// Each write stores one member under its name.
    virtual bool writeDouble(CString const &name, double const &value) = 0;
    /// The stream holds 32 bits: a value of a wider long that does not fit is refused.
    virtual bool writeLong(CString const &name, unsigned long const &value) = 0;
    virtual bool writeLong(CString const &name, long const &value) = 0;
    virtual bool writeString(CString const &name, CString const &value) = 0;
    virtual bool writeObjectId(CString const &name, OKTDbObjectId const &value) = 0;
    virtual bool writePoint3d(CString const &name, OKTGeXYZ const &value) = 0;
    virtual bool writeBool(CString const &name, bool const &value) = 0;
    virtual bool writeBool(CString const &name, int const &value) = 0;
    virtual bool writeInt(CString const &name, unsigned int const &value) = 0;
    virtual bool writeInt(CString const &name, int const &value) = 0;
    virtual bool writeShort(CString const &name, unsigned short const &value) = 0;
    virtual bool writeShort(CString const &name, short const &value) = 0;
    virtual bool writeVariant(CString const &name, tagVARIANT const &value) = 0;
    virtual bool writeByteArray(CString const &name, CByteArray const &value) = 0;

    /// Enters the frame that stands next. False: it is none of that class.
    virtual bool beginReadClass(CString name, CString className) = 0;
    /// Leaves the frame, passing over whatever of it was not read.
    virtual bool endReadClass() = 0;
    /// False when no such section stands here; the position then stays.
    virtual bool beginReadMembers(int section) = 0;
    virtual bool endReadMembers() = 0;
    /// Each read stores the value of the member. What is stored after a false is the filer's own affair.
    virtual bool readString(CString const &name, CString &value) = 0;
    virtual bool readLong(CString const &name, unsigned long &value) = 0;
    virtual bool readLong(CString const &name, long &value) = 0;
    virtual bool readDouble(CString const &name, double &value) = 0;
    virtual bool readObjectId(CString const &name, OKTDbObjectId &value) = 0;
    virtual bool readPoint3d(CString const &name, OKTGeXYZ &value) = 0;
    virtual bool readBool(CString const &name, bool &value) = 0;
    virtual bool readBool(CString const &name, int &value) = 0;
    virtual bool readInt(CString const &name, unsigned int &value) = 0;
    virtual bool readInt(CString const &name, int &value) = 0;
    virtual bool readShort(CString const &name, unsigned short &value) = 0;
    virtual bool readShort(CString const &name, short &value) = 0;
    /// The type word of `value` is overwritten, not cleared: a string that it held is not freed.
    virtual bool readVariant(CString const &name, tagVARIANT &value) = 0;
    virtual bool readByteArray(CString const &name, CByteArray &value) = 0;

    /// Whether ids pass through the map of translated ids.
    void setTranslatedIds(bool on) { m_bTranslatedIds = on; }
    bool getTranslatedIds() const { return m_bTranslatedIds; }
    /// Whether strings of the binary stream are 8-bit records.
    void setIsAnsiString(bool on) { m_bAnsiString = on; }
    bool getIsAnsiString() { return m_bAnsiString; }
    /// One-shot hint from the pool: the next beginReadClass is that of a root object. The binary filer has no use for it.
    void setIsReadingObjectFromRoot(bool on) { m_bReadingObjectFromRoot = on; }
    bool getIsReadingObjectFromRoot() { return m_bReadingObjectFromRoot; }

    /// A count under "Length" joined with the name, then each id under "name.index". Stops at the first failure.
    bool writeObjectIdArray(CString const &name, IdArray const &ids);
    /// Empties `ids` first; a failure leaves what was read so far. A count of 0 or below is an empty list.
    bool readObjectIdArray(CString const &name, IdArray &ids);
    /// Merges the map into the filer's; a key that is there takes the new value. Always true.
    bool loadMapTranslatedIds(IdMap map);
    /// Merges into `map` each entry of the filer's map whose key and value are not null and whose key is valid. Always true.
    bool saveMapTranslatedIds(IdMap &map);

    /// True after a readString that failed without moving, so that another one would fail the same way. A filer says so by
    /// setReadingStalled; one that never does is asked for every string that a stream declares.
    bool isReadingStalled() const { return m_bReadingStalled; }

protected:
    void setIsWriteEnabled(bool on) { m_bWriteEnabled = on; }
    bool getIsWriteEnabled() const { return m_bWriteEnabled; }
    void setReadingStalled(bool stalled) { m_bReadingStalled = stalled; }

    /// The stored form of a variant of kind VT_I2, VT_I4, VT_R4, VT_R8, VT_BSTR or VT_BOOL; any other kind leaves a frame
    /// without a value and gives eFilerMemberFailed. A VT_R4 is widened on its way out and comes back as the eight bytes of a
    /// double in a variant that still says float (quirk 39).
    static FilerStatusDb xmlOutVariant(CString const &name, tagVARIANT const &value, OKTFiler *filer);
    static FilerStatusDb xmlInVariant(CString const &name, tagVARIANT &value, OKTFiler *filer);
    bool clearsVariants() const { return m_bClearsVariants; }

    OKTDbPool *m_pool;

private:
    friend class OKTDbObjectId; // an id takes the pool of the filer that reads it
    friend class OKTImageFiler; // by which the pool sets the flags below

    bool m_bReadingObjectFromRoot = false;
    bool m_bWriteEnabled = false;
    bool m_bAnsiString = false;

protected:
    IdMap m_mapTranslatedIds;

private:
    bool m_bTranslatedIds = false;
    bool m_bReadingStalled = false;
    bool m_bClearsVariants = false; // a variant's data bytes are zero before they are read, for an object that is set back
    // For a clone with new ids: whether a class has asked for the map or changed it.
    bool m_bMapAsked = false;
    bool m_bMapChanged = false;
};
