// SPDX-License-Identifier: MIT
#include <oktplatform/generic/oktpath.h>
#include <oktplatform/oktsystem.h>

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t kNewFileMode = 0666;
constexpr int kOpenTries = 8;

template <typename Call> auto untilDone(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

int descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

/// Opens without waiting and without cutting. Sets `created` if the file is new.
int openPath(char const *path, OktSystem::FileRequest request, bool &created)
{
    bool const reads = request.access == OktSystem::FileAccess::Read && !request.truncate;
    int const access = reads ? O_RDONLY : request.access == OktSystem::FileAccess::Write ? O_WRONLY : O_RDWR;
    int const flags = access | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    created = false;
    for (int i = 0; i < kOpenTries; ++i)
    {
        int const existing = untilDone([&] { return open(path, flags); });
        if (existing >= 0 || errno != ENOENT || !request.create)
            return existing;
        int const fresh = untilDone([&] { return open(path, flags | O_CREAT | O_EXCL, kNewFileMode); });
        if (fresh >= 0)
        {
            created = true;
            return fresh;
        }
        if (errno != EEXIST)
            return -1;
        // Another process created the file meanwhile, or the path is a link to a missing file.
    }
    return untilDone([&] { return open(path, flags | O_CREAT, kNewFileMode); });
}

/// Allocates disk space for a file of `room` bytes whose present bytes will be replaced, without changing its length or its bytes.
/// Returns the system's error number, or 0, also where the system cannot do this.
int reserveRoom([[maybe_unused]] int file, [[maybe_unused]] struct stat const &status, [[maybe_unused]] std::uint64_t room)
{
#if defined(FALLOC_FL_KEEP_SIZE)
    constexpr std::uint64_t kBlock = 512; // the unit of st_blocks
    auto const held = kBlock * static_cast<std::uint64_t>(status.st_blocks);
    if (room <= held || room > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
        return 0;
    if (untilDone([&] { return fallocate(file, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(room)); }) == 0)
        return 0;
    int const error = errno;
    if (error != ENOSPC && error != EDQUOT && error != EFBIG)
        return 0;
    // Free what was allocated: cutting a file to its own length frees all space behind it.
    struct stat now = {};
    if (fstat(file, &now) == 0 && now.st_blocks != status.st_blocks)
    {
        int const result = ftruncate(file, status.st_size);
        static_cast<void>(result);
    }
    return error;
#else
    return 0;
#endif
}

/// Checks the type of an open file, locks it and cuts it. Returns the system's error number.
int prepare(int file, OktSystem::FileRequest request, bool created)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    bool const writes = request.access != OktSystem::FileAccess::Read || request.truncate;
    if (!S_ISREG(status.st_mode))
    {
        // A device or pipe may be written. It is neither locked nor cut. Reading one could wait forever.
        if (request.access != OktSystem::FileAccess::Write)
            return EINVAL;
        int const flags = fcntl(file, F_GETFL);
        return flags < 0 || fcntl(file, F_SETFL, flags & ~O_NONBLOCK) < 0 ? errno : 0;
    }
    if (untilDone([&] { return flock(file, (writes ? LOCK_EX : LOCK_SH) | LOCK_NB); }) != 0)
        return errno;
    if (!request.truncate)
        return 0;
    if (!created)
    {
        // Asked again: only under the lock the size does not change.
        int const error = fstat(file, &status) != 0 ? errno : reserveRoom(file, status, request.room);
        if (error != 0)
            return error;
    }
    return untilDone([&] { return ftruncate(file, 0); }) != 0 ? errno : 0;
}
} // namespace

int OktSystem::openFile(Unit const *path, std::size_t length, FileRequest request, std::intptr_t &handle)
{
    std::string name;
    if (!OktSystem::pathOf(path, length, name))
        return EINVAL;
    bool created = false;
    int const file = openPath(name.c_str(), request, created);
    if (file < 0)
        return errno;
    int const error = prepare(file, request, created);
    if (error == 0)
    {
        handle = file;
        return 0;
    }
    // Remove a new file again, unless another process has locked it meanwhile.
    if (created && error != EWOULDBLOCK)
        unlink(name.c_str());
    close(file);
    return error;
}

int OktSystem::closeFile(std::intptr_t handle)
{
    // An interrupted close has closed the file.
    return close(descriptor(handle)) == 0 || errno == EINTR ? 0 : errno;
}

int OktSystem::readFile(std::intptr_t handle, void *target, std::size_t count, std::size_t &done)
{
    done = 0;
    while (done < count)
    {
        ssize_t const step =
            untilDone([&] { return read(descriptor(handle), static_cast<char *>(target) + done, count - done); });
        if (step < 0)
            return errno;
        if (step == 0)
            return 0;
        done += static_cast<std::size_t>(step);
    }
    return 0;
}

int OktSystem::writeFile(std::intptr_t handle, void const *source, std::size_t count)
{
    std::size_t done = 0;
    while (done < count)
    {
        ssize_t const step =
            untilDone([&] { return write(descriptor(handle), static_cast<char const *>(source) + done, count - done); });
        if (step < 0)
            return errno;
        if (step == 0)
            return EIO; // a device that accepts no bytes would be called forever
        done += static_cast<std::size_t>(step);
    }
    return 0;
}

int OktSystem::seekFile(std::intptr_t handle, std::int64_t offset, unsigned int from, std::uint64_t &position)
{
    constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (from >= std::size(kOrigins))
        return EINVAL;
    off_t const place = lseek(descriptor(handle), offset, kOrigins[from]);
    if (place < 0)
        return errno;
    position = static_cast<std::uint64_t>(place);
    return 0;
}

int OktSystem::fileLength(std::intptr_t handle, std::uint64_t &length)
{
    struct stat status = {};
    if (fstat(descriptor(handle), &status) != 0)
        return errno;
    length = static_cast<std::uint64_t>(status.st_size);
    return 0;
}

int OktSystem::alreadyOpenError() { return EBUSY; }
