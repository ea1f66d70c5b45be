#include "exportfiles.h"

#include "console.h"
#include "failure.h"
#include "imageformat.h"
#include "progress.h"
#include "text.h"

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

constexpr int kLargestInput = 0x7FFFFFFF;

/// Fills a piece with what comes next; a count below that of the piece is the end. Throws Failure.
using ReadPiece = std::function<std::size_t(char *piece, std::size_t count)>;

CByteArray readToEnd(std::string const &name, ReadPiece const &read)
{
    constexpr int kPiece = 1 << 16;
    CByteArray bytes;
    bytes.SetSize(0, 1 << 20);
    Progress progress(printable(name), 0);
    for (;;)
    {
        progress.at(static_cast<std::uintmax_t>(bytes.GetSize()));
        int const before = bytes.GetSize();
        if (before > kLargestInput - kPiece)
            throw Failure(name, "", "it is larger than 2147483647 bytes");
        std::size_t const count = read(reinterpret_cast<char *>(bytes.Extend(kPiece)), kPiece);
        bytes.SetSize(before + static_cast<int>(count));
        if (count < kPiece)
            return bytes;
    }
}

CByteArray readStandardInput()
{
    std::string const name = inputName(kStandardStream);
    return readToEnd(name, [&name](char *piece, std::size_t size) {
        errno = 0;
        std::size_t const count = std::fread(piece, 1, size, stdin);
        if (std::ferror(stdin) != 0)
            throw Failure(name, "", "it cannot be read: " + systemReason(errno));
        return count;
    });
}

CByteArray readPipe(fs::path const &path)
{
    std::string const name = pathName(path);
    errno = 0;
    std::ifstream pipe(path, std::ios::binary);
    if (!pipe)
        throw Failure(name, "", "the file cannot be opened: " + systemReason(errno));
    return readToEnd(name, [&](char *piece, std::size_t size) {
        try
        {
            errno = 0;
            return static_cast<std::size_t>(pipe.rdbuf()->sgetn(piece, static_cast<std::streamsize>(size)));
        }
        catch (std::ios_base::failure const &)
        {
            throw Failure(name, "", "the file cannot be read: " + systemReason(errno));
        }
    });
}

CByteArray readStream(fs::path const &path) { return path == kStandardStream ? readStandardInput() : readPipe(path); }

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

std::string inputName(fs::path const &path) { return path == kStandardStream ? "standard input" : pathName(path); }

bool isStream(fs::path const &path)
{
    std::error_code ignored;
    return path == kStandardStream || fs::is_fifo(path, ignored);
}

CByteArray readInput(fs::path const &path) { return isStream(path) ? readStream(path) : readBytes(path); }

InputFile::InputFile(fs::path const &path) : m_path(path), m_name(inputName(path))
{
    if (!isStream(path))
        return;
    CByteArray const bytes = readStream(path);
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
    m_pending.emplace(behindLinks(m_path));
    CFileException refused;
    if (!m_file.Open(pathText(m_pending->path()), CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, &refused))
        throw Failure(pathName(m_path), "", "the file cannot be written: " + systemReason(refused.m_lOsError));
}

OutputFile::~OutputFile() = default;

void OutputFile::write(std::string_view bytes)
{
    if (!m_pending)
        return print(bytes);
    constexpr std::size_t kPiece = 1 << 24;
    try
    {
        std::size_t const size = bytes.size();
        std::optional<Progress> progress;
        if (size > kPiece)
            progress.emplace(printable(pathName(m_path)), size);
        for (; !bytes.empty(); bytes.remove_prefix(std::min(kPiece, bytes.size())))
        {
            endIfInterrupted();
            if (progress)
                progress->at(size - bytes.size());
            m_file.Write(bytes.data(), static_cast<UINT>(std::min(kPiece, bytes.size())));
        }
    }
    catch (CFileException const &exception)
    {
        throw Failure(pathName(m_path), "", "the file cannot be written: " + systemReason(exception.m_lOsError));
    }
}

void OutputFile::close()
{
    if (!m_pending)
        return;
    try
    {
        m_file.Close();
    }
    catch (CFileException const &exception)
    {
        throw Failure(pathName(m_path), "", "the file cannot be written: " + systemReason(exception.m_lOsError));
    }
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
        name = stem + "-" + std::to_string(number) + ending;
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
