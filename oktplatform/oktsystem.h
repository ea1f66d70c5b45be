#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What the common code of this layer asks of the system's back end, posix/ or win32/. Plain functions over plain types, so
/// that a back end can include the system's own headers next to it: no name here is one of theirs. Not installed.
namespace OktSystem
{
#if defined(_WIN32)
using Unit = wchar_t;
#else
using Unit = char16_t;
#endif

/// The library's one object of the calling thread, which is made at the first call and ends with the thread or the library. Null:
/// it could not be made, or the library ends. (A thread_local object with a destructor ends the process when there is no memory to
/// enter the destructor; with MinGW it is destroyed behind the thread's memory.)
void *threadObject(void *(*make)(), void (*end)(void *));

/// The decimal point of the current numeric locale: as the runtime library prints it, and as one unit.
struct DecimalPoint
{
    char const *bytes;
    std::size_t length;
    Unit unit;
};
DecimalPoint decimalPoint();

/// The code page of 8-bit text on the calling thread, as long as the host sets no other.
unsigned int initialCodePage();

/// True when the system converts this code page. Pages 0, 3, 1252 and 65001 are never asked for.
bool knowsCodePage(unsigned int page);

/// Converts to or from a code page. Stores the first `size` bytes (units) at `target` and sets `needed` to the number of all of
/// them; nothing is stored when `target` is null. A unit without a byte becomes `substitute` and sets `substituted`; bytes that
/// are no character become U+FFFD. False: the page is unknown.
bool toCodePage(unsigned int page, Unit const *text, std::size_t length, char substitute, bool &substituted, char *target,
                std::size_t size, std::size_t &needed);
bool fromCodePage(unsigned int page, char const *text, std::size_t length, Unit *target, std::size_t size, std::size_t &needed);

/// A text of the string table among the resources of this module. False: there is none of this number, or no such table.
bool resourceText(unsigned int id, Unit const *&text, std::size_t &length);

/// Shows a warning to a user, if the process has one. Never blocks a process that has none, never fails.
void showWarning(Unit const *text, std::size_t length);

/// Loads a shared library for good. `wasThere`: it was part of the process before. False: `reason` is what the system tells, in
/// UTF-8.
bool loadModule(Unit const *path, std::size_t length, bool &wasThere, std::string &reason);

// Files. Each gives the system's error number, 0 for success.

enum class FileAccess
{
    Read,
    Write,
    ReadWrite
};

struct FileRequest
{
    FileAccess access = FileAccess::Read;
    bool create = false;    ///< make the file when it is missing
    bool truncate = false;  ///< cut it to length 0, once it is locked and has room
    std::uint64_t room = 0; ///< bytes that it is going to take; no room on the disk for them leaves a file that is there uncut
    // What others may do meanwhile, where the system knows sharing modes.
    bool sharesReading = false;
    bool sharesWriting = false;
};

int openFile(Unit const *path, std::size_t length, FileRequest request, std::intptr_t &handle);
int closeFile(std::intptr_t handle);
/// `done` is below `count` only at the end of the file.
int readFile(std::intptr_t handle, void *target, std::size_t count, std::size_t &done);
int writeFile(std::intptr_t handle, void const *source, std::size_t count);
/// `from`: 0 the start, 1 the present position, 2 the end.
int seekFile(std::intptr_t handle, std::int64_t offset, unsigned int from, std::uint64_t &position);
int fileLength(std::intptr_t handle, std::uint64_t &length);
int alreadyOpenError();
} // namespace OktSystem
