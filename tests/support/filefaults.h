// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

// Calls of the file system that fail. Not on Windows.

/// What becomes of the call.
enum class FileFaultKind
{
    Error,       ///< it fails with an error number, and does nothing
    Interrupted, ///< a call that a signal can interrupt is interrupted, and has done nothing; another one passes
    Short        ///< a read or write does half of it; another call passes
};

/// While one lives, one call of the file system on this thread fails, after `passed` others. One at a time, and none with a
/// FileCallCount.
class FileFault
{
public:
    FileFault(FileFaultKind kind, int error, std::size_t passed);
    FileFault(FileFault const &) = delete;
    FileFault &operator=(FileFault const &) = delete;
    ~FileFault();

    bool struck() const;
    /// The name of the call that failed; null: none.
    static char const *call();
};

/// Counts the calls of this thread while it lives. `onRead`, if given, is done in front of each call that reads, with its number.
class FileCallCount
{
public:
    explicit FileCallCount(std::function<void(std::size_t)> onRead = {});
    FileCallCount(FileCallCount const &) = delete;
    FileCallCount &operator=(FileCallCount const &) = delete;
    ~FileCallCount();

    std::size_t calls() const;
    std::size_t reads() const;
};
