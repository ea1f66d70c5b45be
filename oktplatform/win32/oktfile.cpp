// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/okttypes.h>
#include <oktplatform/win32/oktpath.h>

#include <algorithm>

namespace
{
constexpr std::size_t kMostAtOnce = 1u << 30;
constexpr DWORD kDiskQuotaExceeded = 1295; // not all headers have the name

HANDLE handleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); } // NOLINT: handles are numbers

int lastError()
{
    DWORD const error = GetLastError();
    return error == 0 ? ERROR_GEN_FAILURE : static_cast<int>(error);
}

DWORD accessOf(OktSystem::FileAccess access)
{
    switch (access)
    {
    case OktSystem::FileAccess::Read: return GENERIC_READ;
    case OktSystem::FileAccess::Write: return GENERIC_WRITE;
    default: return GENERIC_READ | GENERIC_WRITE;
    }
}

DWORD sharingOf(OktSystem::FileRequest request)
{
    return (request.sharesReading ? static_cast<DWORD>(FILE_SHARE_READ) : 0) |
           (request.sharesWriting ? static_cast<DWORD>(FILE_SHARE_WRITE) : 0);
}

DWORD makingOf(OktSystem::FileRequest request)
{
    if (request.truncate && request.room == 0)
        return CREATE_ALWAYS;
    return request.create ? OPEN_ALWAYS : OPEN_EXISTING;
}

/// Allocates disk space for that many bytes without changing the file, and then cuts it.
int cutWithRoom(HANDLE file, std::uint64_t room, bool isNew)
{
    LARGE_INTEGER length;
    if (!isNew && GetFileSizeEx(file, &length) && room > static_cast<std::uint64_t>(length.QuadPart))
    {
        FILE_ALLOCATION_INFO wanted = {};
        wanted.AllocationSize.QuadPart = static_cast<LONGLONG>(room);
        if (!SetFileInformationByHandle(file, FileAllocationInfo, &wanted, sizeof wanted) &&
            (GetLastError() == ERROR_DISK_FULL || GetLastError() == ERROR_HANDLE_DISK_FULL ||
             GetLastError() == kDiskQuotaExceeded))
            return lastError();
    }
    return SetEndOfFile(file) ? 0 : lastError(); // the position is the start
}
} // namespace

int OktSystem::openFile(Unit const *path, std::size_t length, FileRequest request, std::intptr_t &handle)
{
    std::wstring name;
    if (!OktWin32::pathOf(path, length, name))
        return ERROR_INVALID_NAME;
    HANDLE const file = CreateFileW(name.c_str(), accessOf(request.access), sharingOf(request), nullptr, makingOf(request),
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return lastError();
    bool const isNew = GetLastError() != ERROR_ALREADY_EXISTS;
    // A device may be written. Reading one could wait forever.
    if (request.access != FileAccess::Write && GetFileType(file) != FILE_TYPE_DISK)
    {
        CloseHandle(file);
        return ERROR_INVALID_FUNCTION;
    }
    if (request.truncate && request.room != 0 && GetFileType(file) == FILE_TYPE_DISK)
        if (int const error = cutWithRoom(file, request.room, isNew); error != 0)
        {
            CloseHandle(file);
            return error;
        }
    handle = reinterpret_cast<std::intptr_t>(file);
    return 0;
}

int OktSystem::closeFile(std::intptr_t handle) { return CloseHandle(handleOf(handle)) ? 0 : lastError(); }

int OktSystem::readFile(std::intptr_t handle, void *target, std::size_t count, std::size_t &done)
{
    done = 0;
    while (done < count)
    {
        DWORD step = 0;
        if (!ReadFile(handleOf(handle), static_cast<char *>(target) + done,
                      static_cast<DWORD>(std::min(count - done, kMostAtOnce)), &step, nullptr))
            return lastError();
        if (step == 0)
            return 0;
        done += step;
    }
    return 0;
}

int OktSystem::writeFile(std::intptr_t handle, void const *source, std::size_t count)
{
    std::size_t done = 0;
    while (done < count)
    {
        DWORD step = 0;
        if (!WriteFile(handleOf(handle), static_cast<char const *>(source) + done,
                       static_cast<DWORD>(std::min(count - done, kMostAtOnce)), &step, nullptr))
            return lastError();
        if (step == 0)
            return ERROR_WRITE_FAULT; // a device that accepts no bytes would be called forever
        done += step;
    }
    return 0;
}

int OktSystem::seekFile(std::intptr_t handle, std::int64_t offset, unsigned int from, std::uint64_t &position)
{
    static_assert(FILE_BEGIN == 0 && FILE_CURRENT == 1 && FILE_END == 2);
    if (from > FILE_END)
        return ERROR_INVALID_PARAMETER;
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    LARGE_INTEGER place;
    if (!SetFilePointerEx(handleOf(handle), distance, &place, from))
        return lastError();
    position = static_cast<std::uint64_t>(place.QuadPart);
    return 0;
}

int OktSystem::fileLength(std::intptr_t handle, std::uint64_t &length)
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(handleOf(handle), &size))
        return lastError();
    length = static_cast<std::uint64_t>(size.QuadPart);
    return 0;
}

int OktSystem::alreadyOpenError() { return ERROR_SHARING_VIOLATION; }
