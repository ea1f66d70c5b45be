// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/interrupt.h>

#include <oktformat/fileread.h>

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace okt
{

/// The file that a symbolic link leads to in the end, whether it is there or not; any other path as it is.
std::filesystem::path behindLinks(std::filesystem::path path);

/// A name beside a file that no other file has. The destructor removes what has the name then, and so does an interrupt.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::filesystem::path const &neighbour);
    TemporaryFile(TemporaryFile const &) = delete;
    TemporaryFile &operator=(TemporaryFile const &) = delete;
    ~TemporaryFile();

    std::filesystem::path const &path() const { return m_path; }
    /// From now on it is not removed.
    void keep() { m_halfWritten.reset(); }

private:
    std::filesystem::path m_path;
    std::optional<HalfWritten> m_halfWritten;
};

/// A file that is written under a name beside the final one first.
class PendingFile
{
public:
    explicit PendingFile(std::filesystem::path target) : m_target(std::move(target)), m_part(m_target) {}

    std::filesystem::path const &path() const { return m_part.path(); }
    /// Gives the file its final name; what had that name before is replaced in one step, and leaves its permissions. Throws
    /// Failure.
    void commit();
    /// Gives all of them their final names or, where one fails, none: what had the names before has them then. Throws Failure.
    static void commitTogether(std::vector<PendingFile *> const &files);

private:
    std::error_code place();
    std::error_code keepPrevious();
    bool takeBack();
    [[noreturn]] void refuse(std::error_code const &error, std::string const &more = {}) const;

    std::filesystem::path m_target;
    TemporaryFile m_part;
    std::optional<TemporaryFile> m_previous; ///< a second name for what the target was
};

/// Throws Failure unless a file of that path may be made or replaced: it is a folder, is write-protected, or in use, or its name
/// is no UTF-8.
void checkReplaceable(std::filesystem::path const &path);

/// A folder that is made where it is missing, with those above it. The destructor removes those that were made here and are
/// empty: nothing came into them. So does an interrupt.
class MadeFolder
{
public:
    /// Throws Failure.
    explicit MadeFolder(std::filesystem::path const &path);
    MadeFolder(MadeFolder const &) = delete;
    MadeFolder &operator=(MadeFolder const &) = delete;
    ~MadeFolder() { removeEmpty(); }

private:
    struct Made
    {
        explicit Made(std::filesystem::path const &folder);

        std::filesystem::path path;
        HalfWritten halfWritten;
    };

    void removeEmpty();

    std::deque<Made> m_made; ///< the outermost first
};

} // namespace okt
