// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/files/files.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// An input with random access. A stream is copied to a temporary file.
class InputFile
{
public:
    /// Throws Failure if a stream cannot be read or copied. A file is not opened here.
    explicit InputFile(std::filesystem::path const &path);

    std::filesystem::path const &path() const { return m_kept ? m_kept->path() : m_path; }
    /// For messages.
    std::string const &name() const { return m_name; }

private:
    std::filesystem::path m_path;
    std::string m_name;
    std::optional<TemporaryFile> m_kept;
};

/// Throws Failure if the output is the input file; `what` is that file in words.
void refuseSameFile(std::filesystem::path const &input, std::filesystem::path const &output, std::string const &what);
/// Throws Failure if standard input is given twice.
void checkReadOnce(std::vector<std::string> const &files);
/// Throws Failure if the file exists and may not or cannot be replaced.
void checkWritable(std::filesystem::path const &path, bool replaces);

/// An output file that appears in one step: it is written under another name and renamed at the end. Or standard output, written
/// at once.
class OutputFile
{
public:
    /// Throws Failure if the file exists and may not be replaced.
    OutputFile(std::filesystem::path path, bool replaces);
    ~OutputFile();

    void write(std::string_view bytes);
    /// Ends writing; the file is then complete.
    void close();
    /// Renames it to its final name.
    void commit();

private:
    friend class PictureFolder;

    std::filesystem::path m_path;
    std::optional<PendingFile> m_pending;
};

/// The folder for the pictures of a text. All of them and the text are renamed together, or none is; then nothing is left of
/// them then, and a folder that was made for them is gone.
class PictureFolder
{
public:
    PictureFolder(std::filesystem::path folder, bool replaces) : m_folder(std::move(folder)), m_replaces(replaces) {}

    /// Stores the bytes under a name made of the stem and the extension of their format. A file that already has these bytes
    /// is not touched.
    std::string put(std::string const &stem, CByteArray const &bytes);
    /// True if one of the pictures has that path.
    bool has(std::filesystem::path const &path) const;
    void commitWith(OutputFile &text);

private:
    std::filesystem::path m_folder;
    bool m_replaces;
    std::set<std::string> m_names;
    std::optional<MadeFolder> m_made;
    std::vector<std::unique_ptr<OutputFile>> m_files;
};

} // namespace okt
