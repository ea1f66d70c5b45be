#pragma once

#include "interrupt.h"

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace okt
{

/// The path of a file system path in the library's text form.
CString pathText(std::filesystem::path const &path);
/// A name in UTF-8, as arguments and texts have it, as a path.
std::filesystem::path utf8Path(std::string const &name);
/// The path as the user sees it in messages.
std::string pathName(std::filesystem::path const &path);

/// The words for a system's error number, without its number.
std::string systemReason(int error);

/// The length of a file that can be read; none of it is. Throws Failure as readBytes does.
std::uintmax_t readableLength(std::filesystem::path const &path);
/// All bytes of a file. Throws Failure that names the reason: missing, a folder, not a plain file, not allowed, in use by
/// another program, too large, unreadable. An empty file gives no bytes.
CByteArray readBytes(std::filesystem::path const &path);
/// The same as text.
std::string readText(std::filesystem::path const &path);

/// The file that a symbolic link leads to in the end, whether it is there or not; any other path as it is.
std::filesystem::path behindLinks(std::filesystem::path path);

/// A name beside the final file under which its contents are written first. The destructor removes what still has the name,
/// and so does an interrupt.
class PendingFile
{
public:
    explicit PendingFile(std::filesystem::path target);
    PendingFile(PendingFile const &) = delete;
    PendingFile &operator=(PendingFile const &) = delete;
    ~PendingFile();

    std::filesystem::path const &path() const { return m_path; }
    /// Gives the file its final name; what had that name before is replaced in one step, and leaves its permissions. Throws
    /// Failure.
    void commit();

private:
    std::filesystem::path m_target;
    std::filesystem::path m_path;
    HalfWritten m_halfWritten;
};

/// Throws Failure unless a file of that path may be made or replaced: it is a folder, is write-protected, or in use, or its name
/// is no UTF-8.
void checkReplaceable(std::filesystem::path const &path);
/// Makes the folder where it is missing, with those above it. Throws Failure.
void makeFolder(std::filesystem::path const &path);

} // namespace okt
