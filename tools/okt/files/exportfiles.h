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

/// An input that has to be a file, since it is read at places: a stream is kept in a file for the time being.
class InputFile
{
public:
    /// Throws Failure when a stream cannot be read or kept. What is wrong with a file shows when it is read.
    explicit InputFile(std::filesystem::path const &path);

    std::filesystem::path const &path() const { return m_kept ? m_kept->path() : m_path; }
    /// For messages.
    std::string const &name() const { return m_name; }

private:
    std::filesystem::path m_path;
    std::string m_name;
    std::optional<TemporaryFile> m_kept;
};

/// Throws Failure where the output is the file that is read; `what` is that file in words.
void refuseSameFile(std::filesystem::path const &input, std::filesystem::path const &output, std::string const &what);
/// Throws Failure where standard input is asked for twice.
void checkReadOnce(std::vector<std::string> const &files);
/// Throws Failure where a file has that name, unless it may be replaced and can be.
void checkWritable(std::filesystem::path const &path, bool replaces);

/// What becomes a file in one step: it is written beside its final name, which it gets at the end, or goes to standard output
/// as it comes.
class OutputFile
{
public:
    /// Throws Failure where a file has that name and may not be replaced.
    OutputFile(std::filesystem::path path, bool replaces);
    ~OutputFile();

    void write(std::string_view bytes);
    /// Ends the writing; the file is complete then.
    void close();
    /// Gives it its final name.
    void commit();

private:
    friend class PictureFolder;

    std::filesystem::path m_path;
    std::optional<PendingFile> m_pending;
};

/// The folder for the pictures of a text. All of them and the text get their names together, or none does; nothing is left of
/// them then, and a folder that was made for them is gone.
class PictureFolder
{
public:
    PictureFolder(std::filesystem::path folder, bool replaces) : m_folder(std::move(folder)), m_replaces(replaces) {}

    /// Keeps the bytes under a name made of the stem and the ending of their format. A file there that holds these bytes
    /// already is left alone.
    std::string put(std::string const &stem, CByteArray const &bytes);
    /// True where one of the pictures has that path.
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
