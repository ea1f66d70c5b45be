// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/generic/oktpath.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <mutex>
#include <new>

// Files by the standard library alone. It has no locks between processes: the lock of a file holds within this process, and only
// against this library. Opening a pipe may wait. A link that leads nowhere is a missing file.

namespace
{
namespace fs = std::filesystem;

/// The error number of the call that failed. The standard streams leave it in errno, or tell nothing.
int lastError() { return errno == 0 ? EIO : errno; }

int numberOf(std::error_code const &error)
{
    std::error_condition const condition = error.default_error_condition();
    return condition.category() == std::generic_category() && condition.value() != 0 ? condition.value() : EIO;
}

// --- Locks within the process ------------------------------------------------------------------------------------------------

struct OpenFile
{
    fs::path path;
    bool isWriter;
};

struct OpenFiles
{
    std::mutex mutex;
    std::list<OpenFile> files;
};

/// Never destroyed: static objects of a host may close files at the end of the process.
OpenFiles &openFiles()
{
    static auto *const files = new OpenFiles;
    return *files;
}

/// A writer excludes readers and writers. A lock that cannot be had leaves the object without one.
class FileLock
{
public:
    FileLock() = default;
    FileLock(FileLock const &) = delete;
    FileLock &operator=(FileLock const &) = delete;
    ~FileLock()
    {
        if (!m_isHeld)
            return;
        std::lock_guard const guard(openFiles().mutex);
        openFiles().files.erase(m_entry);
    }

    bool take(fs::path const &path, bool isWriter)
    {
        std::lock_guard const guard(openFiles().mutex);
        for (OpenFile const &other : openFiles().files)
        {
            std::error_code error;
            if ((isWriter || other.isWriter) && fs::equivalent(other.path, path, error))
                return false;
        }
        openFiles().files.push_front({fs::absolute(path), isWriter});
        m_entry = openFiles().files.begin();
        m_isHeld = true;
        return true;
    }

private:
    std::list<OpenFile>::iterator m_entry;
    bool m_isHeld = false;
};

// --- Files -------------------------------------------------------------------------------------------------------------------

enum class LastCall
{
    Seek,
    Read,
    Write
};

struct File
{
    FileLock lock;
    std::filebuf buffer;
    OktSystem::FileAccess access = OktSystem::FileAccess::Read; ///< the buffer may be open for more
    LastCall last = LastCall::Seek;
};

File &fileOf(std::intptr_t handle) { return *reinterpret_cast<File *>(handle); }

/// The standard library asks for a seek between reading and writing.
void turnTo(File &file, LastCall call)
{
    if (file.last != call && file.last != LastCall::Seek)
        file.buffer.pubseekoff(0, std::ios::cur);
    file.last = call;
}

/// Opens without a buffer, so that errors show at once and other readers see each write. Returns the error number.
int openBuffer(File &file, fs::path const &path, std::ios::openmode mode)
{
    file.buffer.pubsetbuf(nullptr, 0);
    errno = 0;
    return file.buffer.open(path, mode | std::ios::binary) == nullptr ? lastError() : 0;
}

/// The error for a file that will not fit on its disk beside what is there, or 0. The bytes of the present file will be free.
int checkRoom(fs::path const &path, std::uint64_t room)
{
    std::error_code error;
    std::uint64_t const held = fs::file_size(path, error);
    if (error || room <= held)
        return 0;
    fs::space_info const space = fs::space(path, error);
    return !error && space.available < room - held ? ENOSPC : 0;
}

/// Makes an empty file where there is none.
int createFile(fs::path const &path)
{
    std::filebuf made;
    errno = 0;
    return made.open(path, std::ios::binary | std::ios::out | std::ios::app) == nullptr ? lastError() : 0;
}

int openRegular(File &file, fs::path const &path, OktSystem::FileRequest request, bool isThere)
{
    bool const writes = request.access != OktSystem::FileAccess::Read || request.truncate;
    if (!isThere)
    {
        int const error = createFile(path);
        if (error != 0)
            return error;
    }
    if (!file.lock.take(path, writes))
        return EWOULDBLOCK;
    if (request.truncate && isThere)
    {
        int const error = checkRoom(path, request.room);
        if (error != 0)
            return error;
    }
    // Writing without cutting needs a mode that reads, too.
    std::ios::openmode mode = writes ? std::ios::in | std::ios::out : std::ios::in;
    if (request.truncate)
        mode = request.access == OktSystem::FileAccess::Write ? std::ios::out | std::ios::trunc : mode | std::ios::trunc;
    int const error = openBuffer(file, path, mode);
    if (error != 0 && !isThere)
    {
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    return error;
}

int openPath(File &file, fs::path const &path, OktSystem::FileRequest request)
{
    std::error_code error;
    fs::file_status const status = fs::status(path, error);
    if (status.type() == fs::file_type::directory)
        return EISDIR;
    if (status.type() == fs::file_type::none)
        return numberOf(error);
    if (status.type() == fs::file_type::regular)
        return openRegular(file, path, request, true);
    if (status.type() == fs::file_type::not_found)
        return request.create ? openRegular(file, path, request, false) : ENOENT;
    // A device or pipe may be written. It is neither locked nor cut.
    return request.access == OktSystem::FileAccess::Write ? openBuffer(file, path, std::ios::out) : EINVAL;
}
} // namespace

int OktSystem::openFile(Unit const *path, std::size_t length, FileRequest request, std::intptr_t &handle)
try
{
    std::string name;
    if (!pathOf(path, length, name) || name.empty())
        return name.empty() && length == 0 ? ENOENT : EINVAL;
    auto file = std::make_unique<File>();
    file->access = request.access;
    int const error = openPath(*file, fs::path(std::u8string(name.begin(), name.end())), request);
    if (error == 0)
        handle = reinterpret_cast<std::intptr_t>(file.release());
    return error;
}
catch (fs::filesystem_error const &error)
{
    return numberOf(error.code());
}
catch (std::bad_alloc const &)
{
    return ENOMEM;
}
catch (std::exception const &)
{
    return EINVAL; // the path cannot be written in the system's encoding
}

int OktSystem::closeFile(std::intptr_t handle)
try
{
    std::unique_ptr<File> const file(&fileOf(handle));
    errno = 0;
    return file->buffer.close() == nullptr ? lastError() : 0;
}
catch (std::exception const &)
{
    return EIO;
}

int OktSystem::readFile(std::intptr_t handle, void *target, std::size_t count, std::size_t &done)
try
{
    done = 0;
    if (handle == -1)
        return EBADF;
    if (count == 0)
        return 0;
    File &file = fileOf(handle);
    if (file.access == OktSystem::FileAccess::Write)
        return EBADF;
    turnTo(file, LastCall::Read);
    errno = 0;
    std::streamsize const read = file.buffer.sgetn(static_cast<char *>(target), static_cast<std::streamsize>(count));
    done = static_cast<std::size_t>(std::max<std::streamsize>(read, 0));
    return done < count && errno != 0 ? errno : 0;
}
catch (std::exception const &)
{
    return lastError();
}

int OktSystem::writeFile(std::intptr_t handle, void const *source, std::size_t count)
try
{
    if (handle == -1)
        return EBADF;
    File &file = fileOf(handle);
    turnTo(file, LastCall::Write);
    errno = 0;
    auto const size = static_cast<std::streamsize>(count);
    bool const isWritten = file.buffer.sputn(static_cast<char const *>(source), size) == size && file.buffer.pubsync() == 0;
    return isWritten ? 0 : lastError();
}
catch (std::exception const &)
{
    return lastError();
}

int OktSystem::seekFile(std::intptr_t handle, std::int64_t offset, unsigned int from, std::uint64_t &position)
try
{
    constexpr std::ios::seekdir kOrigins[] = {std::ios::beg, std::ios::cur, std::ios::end};
    if (handle == -1)
        return EBADF;
    if (from >= std::size(kOrigins))
        return EINVAL;
    File &file = fileOf(handle);
    errno = 0;
    std::streamoff const place = file.buffer.pubseekoff(offset, kOrigins[from]);
    file.last = LastCall::Seek;
    if (place < 0)
        return errno == 0 ? EINVAL : errno;
    position = static_cast<std::uint64_t>(place);
    return 0;
}
catch (std::exception const &)
{
    return lastError();
}

int OktSystem::fileLength(std::intptr_t handle, std::uint64_t &length)
{
    std::uint64_t before = 0;
    std::uint64_t end = 0;
    int error = seekFile(handle, 0, 1, before);
    if (error == 0)
        error = seekFile(handle, 0, 2, end);
    if (error == 0)
        error = seekFile(handle, static_cast<std::int64_t>(before), 0, before);
    length = end;
    return error;
}

int OktSystem::alreadyOpenError() { return EBUSY; }
