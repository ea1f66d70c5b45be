// SPDX-License-Identifier: MIT
#include <tools/okt/files/exportfiles.h>

#include <oktformat/failure.h>
#include <oktformat/imageformat.h>
#include <oktformat/text.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

/// ".png", ".jpeg", ...; ".bin" where the format is not known.
std::string endingOf(CByteArray const &image)
{
    std::string name = formatOf(image).name;
    if (name.empty())
        return ".bin";
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return "." + name;
}

bool holds(fs::path const &path, CByteArray const &bytes)
{
    CByteArray const there = readBytes(path);
    return there.GetSize() == bytes.GetSize() &&
           std::equal(there.GetData(), there.GetData() + there.GetSize(), bytes.GetData());
}

} // namespace

InputFile::InputFile(fs::path const &path) : m_path(path), m_name(inputName(path))
{
    if (!isStream(path))
        return;
    CByteArray const bytes = readInput(path, terminalProgress());
    std::error_code error;
    fs::path const folder = fs::temp_directory_path(error);
    if (error)
        throw Failure(m_name, "", "there is no folder to keep it in: " + error.message());
    m_kept.emplace(folder / "okt-input");
    try
    {
        CFile file;
        CFileException refused;
        if (!file.Open(pathText(m_kept->path()), CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, &refused))
            throw Failure(m_name, "", "it cannot be kept in a file: " + systemReason(refused.m_lOsError));
        file.Write(bytes.GetData(), static_cast<UINT>(bytes.GetSize()));
        file.Close();
    }
    catch (CFileException const &exception)
    {
        throw Failure(m_name, "", "it cannot be kept in a file: " + systemReason(exception.m_lOsError));
    }
}

void refuseSameFile(fs::path const &input, fs::path const &output, std::string const &what)
{
    std::error_code ignored;
    if (input != kStandardStream && output != kStandardStream && fs::equivalent(input, output, ignored))
        throw Failure(pathName(output), "", "the file cannot be written: this is " + what);
}

void checkReadOnce(std::vector<std::string> const &files)
{
    if (std::count(files.begin(), files.end(), kStandardStream) > 1)
        throw Failure(inputName(kStandardStream), "", "it can be read only once");
}

void checkWritable(fs::path const &path, bool replaces)
{
    checkReplaceable(path);
    std::error_code ignored;
    if (!replaces && fs::exists(fs::symlink_status(path, ignored)))
        throw Failure(pathName(path), "", "the file exists already; --force replaces it");
}

OutputFile::OutputFile(fs::path path, bool replaces) : m_path(std::move(path))
{
    if (m_path == kStandardStream)
        return;
    checkWritable(m_path, replaces);
    m_pending.emplace(m_path);
}

OutputFile::~OutputFile() = default;

void OutputFile::write(std::string_view bytes)
{
    if (!m_pending)
        return print(bytes);
    constexpr std::size_t kPiece = 1 << 24;
    std::size_t const size = bytes.size();
    std::optional<ProgressLine> progress;
    if (size > kPiece)
        progress.emplace(printable(pathName(m_path)), size);
    for (; !bytes.empty(); bytes.remove_prefix(std::min(kPiece, bytes.size())))
    {
        endIfInterrupted();
        if (progress)
            progress->at(size - bytes.size());
        m_pending->write(bytes.substr(0, kPiece));
    }
}

void OutputFile::close()
{
    if (m_pending)
        m_pending->flush();
}

void OutputFile::commit()
{
    if (m_pending)
        m_pending->commit();
}

std::string PictureFolder::put(std::string const &stem, CByteArray const &bytes)
{
    std::string const ending = endingOf(bytes);
    std::string name = stem + ending;
    for (int number = 2; !m_names.insert(name).second; ++number)
        name = std::string(stem).append("-").append(std::to_string(number)).append(ending);
    fs::path const path = m_folder / utf8Path(name);
    std::error_code ignored;
    if (fs::is_regular_file(path, ignored) && holds(path, bytes))
        return name;
    if (!m_made)
        m_made.emplace(m_folder);
    auto file = std::make_unique<OutputFile>(path, m_replaces);
    file->write({reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())});
    file->close();
    m_files.push_back(std::move(file));
    return name;
}

bool PictureFolder::has(fs::path const &path) const
{
    std::error_code ignored;
    fs::path const folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    return m_names.contains(pathName(path.filename())) && fs::equivalent(folder, m_folder, ignored);
}

void PictureFolder::commitWith(OutputFile &text)
{
    std::vector<PendingFile *> pending;
    for (std::unique_ptr<OutputFile> const &file : m_files)
        pending.push_back(&*file->m_pending);
    if (text.m_pending)
        pending.push_back(&*text.m_pending);
    PendingFile::commitTogether(pending);
}

} // namespace okt
