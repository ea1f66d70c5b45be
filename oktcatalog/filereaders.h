// SPDX-License-Identifier: MIT
#pragma once

// Files that are read, and made into rows, in threads beside the one that stores the rows. Not installed.

#include <oktcatalog/update.h>

#include <oktplatform/oktarrays.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace okt
{

/// A file that is to be read.
struct FileTask
{
    FoundFile const *file = nullptr;
    std::int64_t known = 0;  ///< its number in the catalogue; 0: it has none
    std::string knownDigest; ///< where it is only in doubt: with this one its rows still hold
};

/// What became of it.
struct FileAnswer
{
    std::optional<PoolRows> rows; ///< nothing: its rows still hold, it is gone, or there is a fault
    CByteArray bytes;             ///< where rows are not plain, to look for findings in
    bool isGone = false;
    std::string fault; ///< why it cannot be read
    FileStamp stamp;
    std::int64_t lookedNs = 0;
};

/// The time as stamps have it.
std::int64_t currentNanoseconds();

/// Reads one.
FileAnswer answerTo(FileTask const &task, UpdateOptions const &options);

/// Answers to tasks in their order, made ahead in as many threads as the machine has processors, with no more than a few files in memory.
class FileReaders
{
public:
    /// Both must outlive this.
    FileReaders(std::vector<FileTask> const &tasks, UpdateOptions const &options);
    ~FileReaders();
    FileReaders(FileReaders const &) = delete;
    FileReaders &operator=(FileReaders const &) = delete;

    /// The next one. Throws what its reader threw.
    FileAnswer next();

private:
    struct Slot
    {
        std::optional<FileAnswer> answer;
        std::exception_ptr thrown;
        bool isReady = false;
    };

    void work();

    std::vector<FileTask> const &m_tasks;
    UpdateOptions const &m_options;
    std::mutex m_mutex;
    std::condition_variable m_change;
    std::vector<Slot> m_slots;  ///< of a task its number modulo their number
    std::size_t m_begun = 0;    ///< tasks that a thread has taken
    std::size_t m_answered = 0; ///< tasks that next() gave
    bool m_isOver = false;
    std::vector<std::thread> m_threads;
};

} // namespace okt
