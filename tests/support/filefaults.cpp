// SPDX-License-Identifier: MIT
#if !defined(_WIN32)

#include "support/filefaults.h"

#include "support/diskroom.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#if defined(__linux__)
#include <sys/xattr.h>
#endif

namespace
{
constexpr std::size_t kNever = static_cast<std::size_t>(-1);

thread_local bool t_isWatching = false;
thread_local std::size_t t_left = kNever;
thread_local FileFaultKind t_kind = FileFaultKind::Error;
thread_local int t_error = 0;
thread_local char const *t_struck = nullptr;
thread_local std::size_t t_calls = 0;
thread_local std::size_t t_reads = 0;
thread_local std::function<void(std::size_t)> const *t_onRead = nullptr;

/// The C library's own function. Looked up once, ahead of all tests, since that may take memory.
template <typename Call> Call *realCall(char const *name)
{
    void *const found = dlsym(RTLD_NEXT, name);
    if (found == nullptr)
        std::abort();
    return reinterpret_cast<Call *>(found);
}

enum class Can
{
    Fail,
    BeInterrupted,
    BeShort // and interrupted
};

enum class Fate
{
    Pass,
    Fail,
    Half
};

/// Counts a call of this name and tells what becomes of it.
Fate fateOf(char const *name, Can can)
{
    if (!t_isWatching)
        return Fate::Pass;
    ++t_calls;
    if (t_left == kNever || t_left-- != 0)
        return Fate::Pass;
    t_left = kNever;
    if (t_kind == FileFaultKind::Short)
    {
        t_struck = can == Can::BeShort ? name : nullptr;
        return can == Can::BeShort ? Fate::Half : Fate::Pass;
    }
    if (t_kind == FileFaultKind::Interrupted && can == Can::Fail)
        return Fate::Pass;
    t_struck = name;
    errno = t_kind == FileFaultKind::Interrupted ? EINTR : t_error;
    return Fate::Fail;
}

std::size_t half(std::size_t count) { return std::max<std::size_t>(count / 2, std::min<std::size_t>(count, 1)); }

/// The number of a call that reads is told ahead of it.
void tellRead()
{
    if (!t_isWatching)
        return;
    std::size_t const number = t_reads++;
    if (t_onRead == nullptr || !*t_onRead)
        return;
    t_isWatching = false;
    (*t_onRead)(number);
    t_isWatching = true;
}

void start(bool isWatching)
{
    t_isWatching = isWatching;
    t_struck = nullptr;
    t_calls = t_reads = 0;
    t_onRead = nullptr;
    t_left = kNever;
}
} // namespace

// NOLINTBEGIN: the functions of the C library, ahead of it for this whole program
#define OKT_REAL_CALL(name) static auto *const real = realCall<decltype(name)>(#name)

#define OKT_TAKE(name, can, arguments, values)                                                                                 \
    extern "C" int name arguments                                                                                              \
    {                                                                                                                          \
        OKT_REAL_CALL(name);                                                                                                   \
        return fateOf(#name, can) == Fate::Pass ? real values : -1;                                                            \
    }

extern "C" int open(char const *path, int flags, ...)
{
    OKT_REAL_CALL(open);
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0)
    {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return fateOf("open", Can::BeInterrupted) == Fate::Pass ? real(path, flags, mode) : -1;
}

extern "C" ssize_t read(int file, void *target, std::size_t count)
{
    OKT_REAL_CALL(read);
    tellRead();
    Fate const fate = fateOf("read", Can::BeShort);
    return fate == Fate::Fail ? -1 : real(file, target, fate == Fate::Half ? half(count) : count);
}

extern "C" ssize_t write(int file, void const *source, std::size_t count)
{
    OKT_REAL_CALL(write);
    Fate const fate = fateOf("write", Can::BeShort);
    return fate == Fate::Fail ? -1 : real(file, source, fate == Fate::Half ? half(count) : count);
}

// The file is closed whatever the call answers.
extern "C" int close(int file)
{
    OKT_REAL_CALL(close);
    Fate const fate = fateOf("close", Can::BeInterrupted);
    int const error = errno;
    int const result = real(file);
    if (fate == Fate::Pass)
        return result;
    errno = error;
    return -1;
}

extern "C" off_t lseek(int file, off_t offset, int from) noexcept
{
    OKT_REAL_CALL(lseek);
    return fateOf("lseek", Can::Fail) == Fate::Pass ? real(file, offset, from) : -1;
}

#if defined(__linux__)
extern "C" int fallocate(int file, int mode, off_t offset, off_t length)
{
    OKT_REAL_CALL(fallocate);
    if (int const error = NoDiskRoom::ask(); error != 0)
    {
        errno = error;
        return -1;
    }
    return fateOf("fallocate", Can::BeInterrupted) == Fate::Pass ? real(file, mode, offset, length) : -1;
}

extern "C" ssize_t flistxattr(int file, char *list, std::size_t size) noexcept
{
    OKT_REAL_CALL(flistxattr);
    return fateOf("flistxattr", Can::Fail) == Fate::Pass ? real(file, list, size) : -1;
}

extern "C" ssize_t fgetxattr(int file, char const *name, void *value, std::size_t size) noexcept
{
    OKT_REAL_CALL(fgetxattr);
    return fateOf("fgetxattr", Can::Fail) == Fate::Pass ? real(file, name, value, size) : -1;
}
#endif

OKT_TAKE(fsync, Can::BeInterrupted, (int file), (file))
OKT_TAKE(fstat, Can::Fail, (int file, struct stat *status) noexcept, (file, status))
OKT_TAKE(lstat, Can::Fail, (char const *path, struct stat *status) noexcept, (path, status))
OKT_TAKE(ftruncate, Can::BeInterrupted, (int file, off_t length) noexcept, (file, length))
OKT_TAKE(flock, Can::BeInterrupted, (int file, int kind) noexcept, (file, kind))
OKT_TAKE(rename, Can::Fail, (char const *from, char const *to) noexcept, (from, to))
OKT_TAKE(unlink, Can::Fail, (char const *path) noexcept, (path))
OKT_TAKE(link, Can::Fail, (char const *from, char const *to) noexcept, (from, to))
OKT_TAKE(fchmod, Can::Fail, (int file, mode_t mode) noexcept, (file, mode))
OKT_TAKE(fchown, Can::Fail, (int file, uid_t user, gid_t group) noexcept, (file, user, group))
#if defined(__linux__)
OKT_TAKE(fsetxattr, Can::Fail, (int file, char const *name, void const *value, size_t size, int flags) noexcept,
         (file, name, value, size, flags))
#endif
// NOLINTEND

FileFault::FileFault(FileFaultKind kind, int error, std::size_t passed)
{
    start(true);
    t_kind = kind;
    t_error = error;
    t_left = passed;
}

FileFault::~FileFault()
{
    char const *const call = t_struck;
    start(false);
    t_struck = call;
}

bool FileFault::struck() const { return t_struck != nullptr; }

char const *FileFault::call() { return t_struck; }

FileCallCount::FileCallCount(std::function<void(std::size_t)> onRead)
{
    start(false);
    static thread_local std::function<void(std::size_t)> kept;
    kept = std::move(onRead);
    t_onRead = &kept;
    t_isWatching = true;
}

FileCallCount::~FileCallCount() { start(false); }

std::size_t FileCallCount::calls() const { return t_calls; }

std::size_t FileCallCount::reads() const { return t_reads; }

#endif
