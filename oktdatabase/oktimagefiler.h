// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktmemoryfiler.h>

class CFile;
class OKTIdReplacements;
class OKTTextTable;

// Not installed.

/// The length of an open file, or -1 where the system does not tell.
std::int64_t OktLengthOf(CFile const &file);
/// That many bytes from where the file stands on. False, and `bytes` empty: they are not there, or they are none. Throws
/// std::bad_alloc.
bool OktReadFromHere(CFile &file, CByteArray &bytes, std::int64_t count);
/// What OKTMemoryFiler::loadFiler reads of a file, from one that is open. Throws std::bad_alloc.
bool OktReadBytes(CFile &file, CByteArray &bytes, std::int64_t position, std::int64_t size);

/// The memory filer of one pool image, with the operations that only the pool needs: they are no part of the filer protocol, and
/// the installed headers have none of them. The filer itself is a plain OKTMemoryFiler, so that frames go in and out as a whole.
class OKTImageFiler
{
public:
    explicit OKTImageFiler(OKTDbPool *pool = nullptr) : m_filer(pool) {}
    OKTImageFiler(OKTImageFiler const &) = delete;
    OKTImageFiler &operator=(OKTImageFiler const &) = delete;

    OKTMemoryFiler &filer() { return m_filer; }
    /// The size of the buffer and the read position, in bytes.
    int length() const { return m_filer.m_bytes.getLength(); }
    int position() const { return m_filer.m_bytes.getPosition(); }

    /// Allocates a buffer of that many bytes for what is going to be written. When there is no memory for it, or it would pass
    /// 2^31 - 1 bytes, nothing changes and the buffer grows as it is written.
    void reserve(std::int64_t size) noexcept { reserve(m_filer, size); }
    static void reserve(OKTMemoryFiler &filer, std::int64_t size) noexcept;
    /// The bytes for which the buffer has memory.
    static int capacity(OKTMemoryFiler const &filer) { return filer.m_bytes.m_buffer.GetCapacity(); }

    /// From now on ids are written as these say. They must outlive the filer; null: ids are written as they are.
    void replaceIds(OKTIdReplacements *replacements) { m_filer.m_replacements = replacements; }
    /// An object has asked for the map of translated ids; it has changed the map, or switched translation off.
    bool isMapAsked() const { return m_filer.m_bMapAsked; }
    bool isTranslationChanged() const { return m_filer.m_bMapChanged || !m_filer.getTranslatedIds(); }

    /// Texts of frames that are read as a whole are taken from this table. It must outlive the filer.
    void shareTexts(OKTTextTable &texts) { m_filer.m_texts = &texts; }
    /// A variant's data bytes are set to zero before they are read.
    void clearVariants() { m_filer.m_bClearsVariants = true; }

    /// Reads `bytes` where they lie, from that position on; they must outlive the reading.
    void readAt(CByteArray const &bytes, int position);
    /// Something would have been read that stands behind the end of the bytes; since the last call of forgetEnd.
    bool hasMetEnd() const { return m_filer.m_bytes.m_hasMetEnd; }
    void forgetEnd() { m_filer.m_bytes.m_hasMetEnd = false; }

    /// Goes to the next object frame at or behind the position and stores its offset. False: there is none, and the position stays.
    bool moveToNextObject(int &offset);
    /// The class name of the frame at the position, which stays. False: there is none. Throws std::bad_alloc.
    bool findClassName(CString &className);
    /// Frames begin at both offsets, and with the same class name.
    bool isSameClassAt(int first, int second) const;

private:
    OKTMemoryFiler m_filer;
};
