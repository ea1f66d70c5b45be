// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

/// What a CFile throws when the system refuses an operation.
class OKT_API CFileException
{
public:
    /// 0: no error.
    explicit CFileException(int error = 0) : m_lOsError(error) {}

    /// The error number of the system.
    int m_lOsError;
};

/// A file. Paths are UTF-16, and are converted to UTF-8 where the system's paths are bytes.
///
/// Locks: on Windows the sharing mode asked for is the system's. With POSIX a writer takes an exclusive advisory lock and a reader
/// a shared one, whatever mode is asked for. With the standard library alone the same locks hold within this process only: other
/// processes are neither seen nor kept out. The lock is taken before the file is cut. A lock that cannot be had is a failed open.
class OKT_API CFile
{
public:
    /// How a file is opened: one access, one sharing mode, and modeCreate or not.
    enum OpenFlags : UINT
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeCreate = 0x1000,    ///< creates the file, or cuts an existing one to length 0
        modeNoTruncate = 0x2000 ///< with modeCreate: an existing file is not cut
    };
    /// What an offset counts from.
    enum SeekPosition
    {
        begin = 0,
        current = 1,
        end = 2
    };

    /// A file that is not open.
    CFile() = default;
    CFile(CFile const &) = delete;
    CFile &operator=(CFile const &) = delete;
    /// Closes the file. A failure is not reported.
    ~CFile();

    /// Opens a file. False: the system refuses, the path is a folder, or the lock is held. `error`, if given, gets the system's
    /// number.
    bool Open(CString const &path, UINT flags, CFileException *error = nullptr);
    /// Opens a file that is going to take `room` bytes. With modeCreate the disk must have room for them before an existing file is
    /// cut, where the system can tell. False: as for Open, or there is no room. The file is then unchanged.
    bool OpenWithRoom(CString const &path, UINT flags, ULONGLONG room, CFileException *error = nullptr);
    /// Closes the file. Throws CFileException when the system reports a late write failure.
    void Close();

    /// Reads up to `count` bytes and returns their number, which is smaller only at the end of the file. Throws CFileException.
    UINT Read(void *target, UINT count);
    /// Writes all bytes. Throws CFileException: a part of them may be written then.
    void Write(void const *source, UINT count);
    /// Sets the position and returns it, counted from the start. Throws CFileException.
    ULONGLONG Seek(LONGLONG offset, UINT from);
    /// The length in bytes. Throws CFileException.
    ULONGLONG GetLength() const;

private:
    std::intptr_t m_handle = -1;
};
