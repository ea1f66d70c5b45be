// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/interrupt.h>

#include <oktformat/fileread.h>

#include <oktplatform/oktplatform.h>
#include <oktplatform/oktreplacefile.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace okt
{

/// A name beside a file that no other file has. The destructor removes what has the name then, and so does an interrupt.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::filesystem::path const &neighbour);
    TemporaryFile(TemporaryFile const &) = delete;
    TemporaryFile &operator=(TemporaryFile const &) = delete;
    ~TemporaryFile();

    std::filesystem::path const &path() const { return m_path; }

private:
    std::filesystem::path m_path;
    std::optional<HalfWritten> m_halfWritten;
};

/// A file that is written under a name beside the final one first, as the library saves durably. All throw Failure, and nothing is
/// left then; an interrupt leaves nothing either. While one of the functions works, an interrupt waits for it.
class PendingFile
{
public:
    explicit PendingFile(std::filesystem::path target);
    PendingFile(PendingFile const &) = delete;
    PendingFile &operator=(PendingFile const &) = delete;
    ~PendingFile() { letGo(); }

    void write(std::string_view bytes);
    /// Ends the writing: the bytes are on the disk.
    void flush();
    /// Gives the file its final name; what had that name before is replaced in one step.
    void commit();
    /// Gives all of them their final names or, where one fails, none: what had the names before has them then.
    static void commitTogether(std::vector<PendingFile *> const &files);

private:
    [[noreturn]] void refuse(char const *what, std::string const &more = {}) const;
    void letGo() noexcept;

    std::filesystem::path m_target;
    std::optional<OktFileReplacement> m_file;
    std::optional<HalfWritten> m_part; // registered just as long as the file holds that name
};

/// Throws std::bad_alloc if the library was short of memory: what it answered then is not to be built on. Each file is put in place
/// behind this.
void checkMemory();

/// Throws Failure unless a file of that path may be made or replaced: it is a folder, is write-protected, in use, or has several
/// names, or its name is no UTF-8.
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

    void make(std::filesystem::path const &folder, std::error_code &error);
    void removeEmpty();

    std::deque<Made> m_made; ///< the outermost first
};

} // namespace okt
