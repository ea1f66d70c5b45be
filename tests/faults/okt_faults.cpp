// SPDX-License-Identifier: MIT
// A library that is loaded ahead of the C library into okt, and lets allocations and calls on files of the process fail. OKT_FAULT in
// the environment tells which, counted from the beginning of main:
//     memory N once|on      the N-th allocation fails; `on`: and all behind it
//     call N ERROR once|on  the N-th call on a file fails with that error number
//     interrupt N once      it is interrupted by a signal, where a call can be
//     short N once|on       it does half, if it reads or writes
// The numbers begin with 0. OKT_FAULT_COUNT names a file that gets the number of allocations and of calls at the end. What the C library
// calls of its own passes, and so does what is written to standard error.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{
enum class Kind
{
    None,
    Memory,
    Call,
    Interrupt,
    Short
};

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

std::atomic<bool> g_isCounting = false;
std::atomic<unsigned long> g_allocations = 0;
std::atomic<unsigned long> g_calls = 0;
Kind g_kind = Kind::None;
unsigned long g_number = 0;
int g_error = 0;
bool g_goesOn = false;

bool isMeant(unsigned long number) { return number == g_number || (g_goesOn && number > g_number); }

bool hasMemory()
{
    if (!g_isCounting)
        return true;
    unsigned long const number = g_allocations++;
    if (g_kind != Kind::Memory || !isMeant(number))
        return true;
    errno = ENOMEM;
    return false;
}

Fate fateOf(Can can)
{
    if (!g_isCounting)
        return Fate::Pass;
    unsigned long const number = g_calls++;
    if (g_kind == Kind::None || g_kind == Kind::Memory || !isMeant(number))
        return Fate::Pass;
    if (g_kind == Kind::Short)
        return can == Can::BeShort ? Fate::Half : Fate::Pass;
    if (g_kind == Kind::Interrupt && can == Can::Fail)
        return Fate::Pass;
    errno = g_kind == Kind::Interrupt ? EINTR : g_error;
    return Fate::Fail;
}

std::size_t half(std::size_t count) { return std::max<std::size_t>(count / 2, std::min<std::size_t>(count, 1)); }

bool isMessages(int file) { return file == STDERR_FILENO; }

template <typename Call> Call *realCall(char const *name)
{
    void *const found = dlsym(RTLD_NEXT, name);
    if (found == nullptr)
        std::abort();
    return reinterpret_cast<Call *>(found);
}

void readOrder()
{
    char const *const order = std::getenv("OKT_FAULT");
    if (order == nullptr)
        return;
    char kind[16] = {};
    char lasts[8] = {};
    if (std::sscanf(order, "call %lu %d %7s", &g_number, &g_error, lasts) == 3)
        g_kind = Kind::Call;
    else if (std::sscanf(order, "%15s %lu %7s", kind, &g_number, lasts) == 3)
        g_kind = std::strcmp(kind, "memory") == 0      ? Kind::Memory
                 : std::strcmp(kind, "interrupt") == 0 ? Kind::Interrupt
                 : std::strcmp(kind, "short") == 0     ? Kind::Short
                                                       : Kind::None;
    g_goesOn = std::strcmp(lasts, "on") == 0;
    if (g_kind == Kind::None)
        std::abort();
}

void writeCounts()
{
    g_isCounting = false;
    char const *const path = std::getenv("OKT_FAULT_COUNT");
    int const file = path == nullptr ? -1 : open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    dprintf(file, "%lu %lu\n", g_allocations.load(), g_calls.load());
    close(file);
}

int (*g_main)(int, char **, char **) = nullptr;

int countedMain(int count, char **arguments, char **environment)
{
    readOrder();
    std::atexit(writeCounts);
    g_isCounting = true;
    return g_main(count, arguments, environment);
}
} // namespace

// NOLINTBEGIN: the functions of the C library, ahead of it for the whole process
#pragma GCC visibility push(default)
#define OKT_REAL(name) static auto *const real = realCall<decltype(name)>(#name)

#define OKT_TAKE(result, failed, name, can, arguments, values)                                                                 \
    extern "C" result name arguments                                                                                           \
    {                                                                                                                          \
        OKT_REAL(name);                                                                                                        \
        return fateOf(can) == Fate::Pass ? real values : failed;                                                               \
    }

// What reads or writes through a descriptor.
#define OKT_TAKE_BYTES(name, bytes, more, values, halfValues)                                                                  \
    extern "C" ssize_t name(int file, bytes, std::size_t count more)                                                           \
    {                                                                                                                          \
        OKT_REAL(name);                                                                                                        \
        Fate const fate = isMessages(file) ? Fate::Pass : fateOf(Can::BeShort);                                                \
        if (fate == Fate::Fail)                                                                                                \
            return -1;                                                                                                         \
        return fate == Fate::Half ? real halfValues : real values;                                                             \
    }

#define OKT_COMMA ,

#define OKT_TAKE_OPEN(name)                                                                                                    \
    extern "C" int name(char const *path, int flags, ...)                                                                      \
    {                                                                                                                          \
        OKT_REAL(name);                                                                                                        \
        mode_t mode = 0;                                                                                                       \
        if ((flags & O_CREAT) != 0)                                                                                            \
        {                                                                                                                      \
            va_list rest;                                                                                                      \
            va_start(rest, flags);                                                                                             \
            mode = va_arg(rest, mode_t);                                                                                       \
            va_end(rest);                                                                                                      \
        }                                                                                                                      \
        return fateOf(Can::BeInterrupted) == Fate::Pass ? real(path, flags, mode) : -1;                                        \
    }

#define OKT_TAKE_OPENAT(name)                                                                                                  \
    extern "C" int name(int folder, char const *path, int flags, ...)                                                          \
    {                                                                                                                          \
        OKT_REAL(name);                                                                                                        \
        mode_t mode = 0;                                                                                                       \
        if ((flags & O_CREAT) != 0)                                                                                            \
        {                                                                                                                      \
            va_list rest;                                                                                                      \
            va_start(rest, flags);                                                                                             \
            mode = va_arg(rest, mode_t);                                                                                       \
            va_end(rest);                                                                                                      \
        }                                                                                                                      \
        return fateOf(Can::BeInterrupted) == Fate::Pass ? real(folder, path, flags, mode) : -1;                                \
    }

extern "C"
{
    void *__libc_malloc(std::size_t);
    void *__libc_calloc(std::size_t, std::size_t);
    void *__libc_realloc(void *, std::size_t);
    void *__libc_memalign(std::size_t, std::size_t);

    void *malloc(std::size_t size) { return hasMemory() ? __libc_malloc(size) : nullptr; }

    void *calloc(std::size_t count, std::size_t size) { return hasMemory() ? __libc_calloc(count, size) : nullptr; }

    void *realloc(void *memory, std::size_t size) { return hasMemory() ? __libc_realloc(memory, size) : nullptr; }

    void *aligned_alloc(std::size_t alignment, std::size_t size)
    {
        return hasMemory() ? __libc_memalign(alignment, size) : nullptr;
    }

    // The first function of a program: calls of the loader and what static objects need pass.
    int __libc_start_main(int (*main)(int, char **, char **), int count, char **arguments, void (*init)(), void (*fini)(),
                          void (*end)(), void *stack)
    {
        using Start = int(int (*)(int, char **, char **), int, char **, void (*)(), void (*)(), void (*)(), void *);
        g_main = main;
        return realCall<Start>("__libc_start_main")(countedMain, count, arguments, init, fini, end, stack);
    }
}

OKT_TAKE_OPEN(open)
OKT_TAKE_OPEN(open64)
OKT_TAKE_OPENAT(openat)
OKT_TAKE_OPENAT(openat64)
OKT_TAKE(std::FILE *, nullptr, fopen, Can::BeInterrupted, (char const *path, char const *mode), (path, mode))
OKT_TAKE(std::FILE *, nullptr, fopen64, Can::BeInterrupted, (char const *path, char const *mode), (path, mode))
OKT_TAKE(DIR *, nullptr, opendir, Can::BeInterrupted, (char const *path), (path))
OKT_TAKE(struct dirent *, nullptr, readdir, Can::Fail, (DIR * folder), (folder))
OKT_TAKE(struct dirent64 *, nullptr, readdir64, Can::Fail, (DIR * folder), (folder))

OKT_TAKE_BYTES(read, void *target, , (file, target, count), (file, target, half(count)))
OKT_TAKE_BYTES(pread, void *target, OKT_COMMA off_t offset, (file, target, count, offset), (file, target, half(count), offset))
OKT_TAKE_BYTES(pread64, void *target, OKT_COMMA off_t offset, (file, target, count, offset),
               (file, target, half(count), offset))
OKT_TAKE_BYTES(write, void const *source, , (file, source, count), (file, source, half(count)))
OKT_TAKE_BYTES(pwrite, void const *source, OKT_COMMA off_t offset, (file, source, count, offset),
               (file, source, half(count), offset))
OKT_TAKE_BYTES(pwrite64, void const *source, OKT_COMMA off_t offset, (file, source, count, offset),
               (file, source, half(count), offset))

extern "C" ssize_t writev(int file, struct iovec const *parts, int count)
{
    OKT_REAL(writev);
    Fate const fate = isMessages(file) ? Fate::Pass : fateOf(Can::BeShort);
    if (fate == Fate::Fail)
        return -1;
    return fate == Fate::Half ? real(file, parts, std::max(count / 2, std::min(count, 1))) : real(file, parts, count);
}

// These call the system themselves. A failure stays with the stream, as that of the system would.
static bool passes(std::FILE *stream)
{
    if (fateOf(Can::Fail) == Fate::Pass)
        return true;
    stream->_flags |= _IO_ERR_SEEN;
    return false;
}

extern "C" std::size_t fread(void *target, std::size_t size, std::size_t count, std::FILE *stream)
{
    OKT_REAL(fread);
    return passes(stream) ? real(target, size, count, stream) : 0;
}

extern "C" std::size_t fwrite(void const *source, std::size_t size, std::size_t count, std::FILE *stream)
{
    OKT_REAL(fwrite);
    return stream == stderr || passes(stream) ? real(source, size, count, stream) : 0;
}

extern "C" int fflush(std::FILE *stream)
{
    OKT_REAL(fflush);
    return stream == stderr || passes(stream) ? real(stream) : EOF;
}

// The file is closed whatever the call answers.
extern "C" int close(int file)
{
    OKT_REAL(close);
    Fate const fate = fateOf(Can::BeInterrupted);
    int const error = errno;
    int const result = real(file);
    if (fate == Fate::Pass)
        return result;
    errno = error;
    return -1;
}

extern "C" void *mmap(void *place, std::size_t size, int access, int flags, int file, off_t offset) noexcept
{
    OKT_REAL(mmap);
    return file < 0 || fateOf(Can::Fail) == Fate::Pass ? real(place, size, access, flags, file, offset) : MAP_FAILED;
}

OKT_TAKE(off_t, -1, lseek, Can::Fail, (int file, off_t offset, int from) noexcept, (file, offset, from))
OKT_TAKE(off_t, -1, lseek64, Can::Fail, (int file, off_t offset, int from) noexcept, (file, offset, from))
OKT_TAKE(int, -1, fsync, Can::BeInterrupted, (int file), (file))
OKT_TAKE(int, -1, ftruncate, Can::BeInterrupted, (int file, off_t length) noexcept, (file, length))
OKT_TAKE(int, -1, fallocate, Can::BeInterrupted, (int file, int mode, off_t offset, off_t length), (file, mode, offset, length))
OKT_TAKE(int, -1, flock, Can::BeInterrupted, (int file, int kind) noexcept, (file, kind))
OKT_TAKE(int, -1, stat, Can::Fail, (char const *path, struct stat *status) noexcept, (path, status))
OKT_TAKE(int, -1, lstat, Can::Fail, (char const *path, struct stat *status) noexcept, (path, status))
OKT_TAKE(int, -1, fstat, Can::Fail, (int file, struct stat *status) noexcept, (file, status))
OKT_TAKE(int, -1, stat64, Can::Fail, (char const *path, struct stat64 *status) noexcept, (path, status))
OKT_TAKE(int, -1, lstat64, Can::Fail, (char const *path, struct stat64 *status) noexcept, (path, status))
OKT_TAKE(int, -1, fstat64, Can::Fail, (int file, struct stat64 *status) noexcept, (file, status))
OKT_TAKE(int, -1, rename, Can::Fail, (char const *from, char const *to) noexcept, (from, to))
OKT_TAKE(int, -1, link, Can::Fail, (char const *from, char const *to) noexcept, (from, to))
OKT_TAKE(int, -1, unlink, Can::Fail, (char const *path) noexcept, (path))
OKT_TAKE(int, -1, remove, Can::Fail, (char const *path) noexcept, (path))
OKT_TAKE(int, -1, mkdir, Can::Fail, (char const *path, mode_t mode) noexcept, (path, mode))
OKT_TAKE(int, -1, rmdir, Can::Fail, (char const *path) noexcept, (path))
OKT_TAKE(int, -1, fchmod, Can::Fail, (int file, mode_t mode) noexcept, (file, mode))
OKT_TAKE(int, -1, fchown, Can::Fail, (int file, uid_t user, gid_t group) noexcept, (file, user, group))
OKT_TAKE(ssize_t, -1, readlink, Can::Fail, (char const *path, char *target, std::size_t size) noexcept, (path, target, size))
OKT_TAKE(ssize_t, -1, flistxattr, Can::Fail, (int file, char *list, std::size_t size) noexcept, (file, list, size))
OKT_TAKE(ssize_t, -1, fgetxattr, Can::Fail, (int file, char const *name, void *value, std::size_t size) noexcept,
         (file, name, value, size))
OKT_TAKE(int, -1, fsetxattr, Can::Fail, (int file, char const *name, void const *value, std::size_t size, int flags) noexcept,
         (file, name, value, size, flags))
#pragma GCC visibility pop
// NOLINTEND
