// SPDX-License-Identifier: MIT
#include <oktplatform/oktfile.h>

#include <oktplatform/oktsystem.h>

namespace
{
constexpr std::intptr_t kClosed = -1;
constexpr UINT kAccessMask = 0x0003;
constexpr UINT kShareMask = 0x0070;

void check(int error)
{
    if (error != 0)
        throw CFileException(error);
}

OktSystem::FileRequest requestOf(UINT flags)
{
    OktSystem::FileRequest request;
    if ((flags & kAccessMask) == CFile::modeWrite)
        request.access = OktSystem::FileAccess::Write;
    else if ((flags & kAccessMask) != CFile::modeRead)
        request.access = OktSystem::FileAccess::ReadWrite;
    request.create = (flags & CFile::modeCreate) != 0;
    request.truncate = request.create && (flags & CFile::modeNoTruncate) == 0;
    // No sharing mode means the exclusive one.
    UINT const share = flags & kShareMask;
    request.sharesReading = share == CFile::shareDenyWrite || share == CFile::shareDenyNone;
    request.sharesWriting = share == CFile::shareDenyRead || share == CFile::shareDenyNone;
    return request;
}
} // namespace

CFile::~CFile()
{
    if (m_handle != kClosed)
        OktSystem::closeFile(m_handle);
}

bool CFile::Open(CString const &path, UINT flags, CFileException *error) { return OpenWithRoom(path, flags, 0, error); }

bool CFile::OpenWithRoom(CString const &path, UINT flags, ULONGLONG room, CFileException *error)
{
    std::intptr_t handle = kClosed;
    OktSystem::FileRequest request = requestOf(flags);
    request.room = room;
    int const result = m_handle != kClosed
                           ? OktSystem::alreadyOpenError()
                           : OktSystem::openFile(path.GetString(), static_cast<std::size_t>(path.GetLength()), request, handle);
    if (error != nullptr)
        error->m_lOsError = result;
    if (result != 0)
        return false;
    m_handle = handle;
    return true;
}

void CFile::Close()
{
    if (m_handle == kClosed)
        return;
    std::intptr_t const handle = m_handle;
    m_handle = kClosed;
    check(OktSystem::closeFile(handle));
}

UINT CFile::Read(void *target, UINT count)
{
    std::size_t done = 0;
    check(OktSystem::readFile(m_handle, target, count, done));
    return static_cast<UINT>(done);
}

void CFile::Write(void const *source, UINT count) { check(OktSystem::writeFile(m_handle, source, count)); }

ULONGLONG CFile::Seek(LONGLONG offset, UINT from)
{
    ULONGLONG position = 0;
    check(OktSystem::seekFile(m_handle, offset, from, position));
    return position;
}

ULONGLONG CFile::GetLength() const
{
    ULONGLONG length = 0;
    check(OktSystem::fileLength(m_handle, length));
    return length;
}
