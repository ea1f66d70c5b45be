// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktbackend.h>

#include OKT_NATIVE(oktnativeunit.h)

#include <cstddef>
#include <cstdint>
#include <string>

/// What the common code of this layer asks of the back end. The functions have plain types, and none of their names is one of the
/// system's: a back end can include the system's headers next to this one. Not installed.
namespace OktSystem
{
/// The library's one object of the calling thread. It is made by the first call and ends with the thread or the library. Null: it
/// could not be made, or the library is being unloaded. (Where the system has a store for threads it is used, because a thread_local
/// object with a destructor ends the process when the destructor cannot be registered for lack of memory, and MinGW destroys it after
/// the thread's memory.)
void *threadObject(void *(*make)(), void (*end)(void *));

/// The decimal point of the current numeric locale: the bytes that printf writes, and the unit.
struct DecimalPoint
{
    char const *bytes;
    std::size_t length;
    Unit unit;
};
DecimalPoint decimalPoint();

/// The code page of 8-bit text on the calling thread, until the host sets another.
unsigned int initialCodePage();

/// True: the back end converts this code page. It is not called for the pages 0, 3, 1252 and 65001.
bool knowsCodePage(unsigned int page);

/// Convert to or from a code page. They store the first `size` bytes or units at `target`, or nothing if it is null, and set `needed`
/// to the number of all of them. A unit without a byte becomes `substitute` and sets `substituted`. Bytes that are no character become
/// U+FFFD. False: the page is unknown.
bool toCodePage(unsigned int page, Unit const *text, std::size_t length, char substitute, bool &substituted, char *target,
                std::size_t size, std::size_t &needed);
bool fromCodePage(unsigned int page, char const *text, std::size_t length, Unit *target, std::size_t size, std::size_t &needed);

/// Finds a text in the string table of this module. False: it has no such text, or the system no such tables.
bool resourceText(unsigned int id, Unit const *&text, std::size_t &length);

/// Shows a warning. It never fails, and does not block a process without a user, where the back end can tell.
void showWarning(Unit const *text, std::size_t length);

/// Loads a shared library, which stays loaded. `wasThere`: it was loaded before. False: `reason` is the system's message, in UTF-8.
bool loadModule(Unit const *path, std::size_t length, bool &wasThere, std::string &reason);

// Files. The functions return the system's error number, or 0 for success.

enum class FileAccess
{
    Read,
    Write,
    ReadWrite
};

struct FileRequest
{
    FileAccess access = FileAccess::Read;
    bool create = false;    ///< create the file if it is missing
    bool truncate = false;  ///< cut it to length 0, after the lock and the check of room
    std::uint64_t room = 0; ///< the bytes that will be written; without room for them an existing file is not cut
    // What others may do while the file is open, where the system has sharing modes.
    bool sharesReading = false;
    bool sharesWriting = false;
};

int openFile(Unit const *path, std::size_t length, FileRequest request, std::intptr_t &handle);
int closeFile(std::intptr_t handle);
/// `done` is smaller than `count` only at the end of the file.
int readFile(std::intptr_t handle, void *target, std::size_t count, std::size_t &done);
int writeFile(std::intptr_t handle, void const *source, std::size_t count);
/// `from`: 0 the start, 1 the present position, 2 the end.
int seekFile(std::intptr_t handle, std::int64_t offset, unsigned int from, std::uint64_t &position);
int fileLength(std::intptr_t handle, std::uint64_t &length);
int alreadyOpenError();
} // namespace OktSystem
