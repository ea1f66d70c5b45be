// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// What a folder of pool files held at one time.

struct FileDigests
{
    std::string bytes;
    std::string contents; ///< empty: the file was damaged

    bool operator==(FileDigests const &) const = default;
};

/// By the path below the folder, with slashes.
using Manifest = std::map<std::string, FileDigests>;

/// Why a text is no manifest, and the line (from 1).
class ManifestError : public std::runtime_error
{
public:
    /// `line` counts from 1.
    ManifestError(std::size_t line, std::string const &reason) : std::runtime_error(reason), m_line(line) {}
    /// The line that cannot be read, from 1.
    std::size_t line() const { return m_line; }

private:
    std::size_t m_line;
};

/// Digests and a name as sha256sum writes them: a line that begins with a backslash has escapes in its name, for a backslash and for what
/// ends a line.
std::string digestLine(std::string_view digests, std::string_view separator, std::string_view name);

/// A heading, then a line for each file: the digest of the bytes, that of the contents or a dash, the path.
std::string manifestText(Manifest const &manifest);
/// Throws ManifestError.
Manifest parseManifest(std::string_view text);

struct ManifestChange
{
    enum class Kind
    {
        Missing,   ///< a file that was there
        New,       ///< one that was not
        Changed,   ///< its contents
        Rewritten, ///< its bytes, which hold the same
        Renamed    ///< the contents stand under another name, `other`
    };

    Kind kind = Kind::Changed;
    std::string path; ///< the one that the manifest has; of a new file its own
    std::string other;
};

/// In the order of the paths. A file that is renamed to a name that another one had is told as renamed, and so is that other one where it
/// has a new name; else the other one is changed.
std::vector<ManifestChange> compare(Manifest const &before, Manifest const &now);

} // namespace okt
