#pragma once

#include <oktplatform/oktstring.h>

/// What a CFile throws when the system refuses an operation: the system's error number.
class OKT_API CFileException
{
public:
    explicit CFileException(int error = 0) : m_lOsError(error) {}
    int m_lOsError;
};

/// A file. Paths are UTF-16 and go out as UTF-8 where the system's paths are bytes. Where the system knows advisory locks only,
/// a writer holds a lock that keeps out writers and readers and readers share one, whatever sharing mode is asked for; the
/// lock is taken before the file is cut, and a lock that is not to be had is a failed open.
class OKT_API CFile
{
public:
    enum OpenFlags : UINT
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeCreate = 0x1000, ///< makes the file, or cuts an existing one to length 0
        modeNoTruncate = 0x2000
    };
    enum SeekPosition
    {
        begin = 0,
        current = 1,
        end = 2
    };

    CFile() = default;
    CFile(CFile const &) = delete;
    CFile &operator=(CFile const &) = delete;
    ~CFile(); ///< closes, without a word of failure

    /// False: the system refuses, the path is a folder, or the lock is held. `error`, if given, gets the system's number.
    bool Open(CString const &path, UINT flags, CFileException *error = nullptr);
    /// Open for a file that is to take `room` bytes: with modeCreate, room for them is found on the disk before a file that exists is
    /// cut, where the system can tell. False: there is none, and the file is as it was.
    bool OpenWithRoom(CString const &path, UINT flags, ULONGLONG room, CFileException *error = nullptr);
    /// Throws CFileException when the system reports a late write failure.
    void Close();

    /// The bytes read: fewer than asked for only at the end of the file. Throws CFileException.
    UINT Read(void *target, UINT count);
    /// Writes all of it or throws CFileException; what was written by then stays.
    void Write(void const *source, UINT count);
    /// The new position from the start. Throws CFileException.
    ULONGLONG Seek(LONGLONG offset, UINT from);
    ULONGLONG GetLength() const;

private:
    std::intptr_t m_handle = -1;
};
