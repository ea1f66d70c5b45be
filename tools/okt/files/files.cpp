// SPDX-License-Identifier: MIT
#include <tools/okt/files/files.h>

#include <oktformat/failure.h>
#include <oktformat/text.h>
#include <oktplatform/oktprogram.h>
#include <tools/okt/terminal/progress.h>

#include <algorithm>
#include <random>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

/// Drawn anew, so that two runs into one folder do not meet.
fs::path pathBeside(fs::path const &target)
{
    fs::path name = ".";
    name += target.filename();
    name += "." + std::to_string(std::random_device()()) + ".part";
    return target.parent_path() / name;
}

} // namespace

fs::path behindLinks(fs::path path)
{
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i)
    {
        fs::path const next = fs::read_symlink(path, error);
        if (error)
            break;
        path = path.parent_path() / next; // an absolute one stands alone
    }
    return path;
}

TemporaryFile::TemporaryFile(fs::path const &neighbour)
    : m_path(pathBeside(neighbour)), m_halfWritten(std::in_place, pathName(m_path))
{
}

TemporaryFile::~TemporaryFile()
{
    std::error_code ignored;
    if (m_halfWritten)
        fs::remove(m_path, ignored);
}

std::error_code PendingFile::place()
{
    std::error_code error;
    if (fs::file_status const status = fs::status(m_target, error); fs::is_regular_file(status))
        fs::permissions(path(), status.permissions(), error); // those of the file that is replaced
    fs::rename(path(), m_target, error);
    return error;
}

void PendingFile::refuse(std::error_code const &error, std::string const &more) const
{
    throw Failure(pathName(m_target), "", "the file cannot be put in place: " + error.message() + more);
}

void PendingFile::commit()
{
    if (std::error_code const error = place())
        refuse(error);
}

/// The file keeps its own name meanwhile, so that it is never without one.
std::error_code PendingFile::keepPrevious()
{
    std::error_code error;
    if (!fs::is_regular_file(m_target, error))
        return {};
    m_previous.emplace(m_target);
    fs::create_hard_link(m_target, m_previous->path(), error);
    if (error) // not every file system has such links
        fs::copy_file(m_target, m_previous->path(), error);
    return error;
}

/// False: what the target was could not be given its name back, and stays under the other one.
bool PendingFile::takeBack()
{
    std::error_code error;
    if (!m_previous)
    {
        fs::remove(m_target, error);
        return true;
    }
    fs::rename(m_previous->path(), m_target, error);
    if (error)
        m_previous->keep();
    return !error;
}

void PendingFile::commitTogether(std::vector<PendingFile *> const &files)
{
    for (std::size_t i = 0; i + 1 < files.size(); ++i) // when the last one fails, it has replaced nothing
        if (std::error_code const error = files[i]->keepPrevious())
            files[i]->refuse(error);
    for (std::size_t done = 0; done < files.size(); ++done)
    {
        std::error_code const error = files[done]->place();
        if (!error)
            continue;
        std::string lost;
        for (std::size_t i = done; i-- > 0;)
            if (!files[i]->takeBack())
                lost += "; what " + printable(pathName(files[i]->m_target)) + " was is in " +
                        printable(pathName(files[i]->m_previous->path()));
        files[done]->refuse(error, lost);
    }
}

void checkReplaceable(fs::path const &path)
{
    checkFileName(path);
    std::string const name = pathName(path);
    std::error_code error;
    fs::file_status const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return;
    if (error)
        throw Failure(name, "", "the file cannot be reached: " + error.message());
    if (fs::is_directory(status))
        throw Failure(name, "", "the file cannot be written: a folder has this name");
    if (!fs::is_regular_file(status))
        throw Failure(name, "", "the file cannot be written: this is no plain file");
    if ((status.permissions() & fs::perms::owner_write) == fs::perms::none)
        throw Failure(name, "", "the file is write-protected");
    CFile file;
    CFileException refused;
    if (!file.Open(pathText(path), CFile::modeRead | CFile::shareDenyWrite, &refused) && OktIsFileInUse(refused.m_lOsError))
        throw Failure(name, "", openFailure(refused.m_lOsError));
}

MadeFolder::Made::Made(fs::path const &folder) : path(folder), halfWritten(pathName(folder)) {}

MadeFolder::MadeFolder(fs::path const &path)
{
    checkFileName(path);
    std::error_code error;
    if (fs::is_directory(path, error))
        return;
    if (fs::exists(path, error))
        throw Failure(pathName(path), "", "the output folder cannot be made: a file has this name");
    std::vector<fs::path> missing;
    for (fs::path folder = path; folder.has_relative_path() && !fs::exists(folder, error); folder = folder.parent_path())
        missing.push_back(folder);
    std::for_each(missing.rbegin(), missing.rend(), [this](fs::path const &folder) { m_made.emplace_back(folder); });
    fs::create_directories(path, error);
    if (!error)
        return;
    removeEmpty();
    throw Failure(pathName(path), "", "the output folder cannot be made: " + error.message());
}

void MadeFolder::removeEmpty()
{
    std::error_code ignored;
    for (; !m_made.empty(); m_made.pop_back())
        fs::remove(m_made.back().path, ignored);
}

} // namespace okt
