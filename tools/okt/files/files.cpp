// SPDX-License-Identifier: MIT
#include <tools/okt/files/files.h>

#include <oktdatabase/oktshortage.h>
#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktplatform/oktprogram.h>
#include <tools/okt/terminal/progress.h>

#include <algorithm>
#include <new>
#include <random>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

constexpr char const *kNotWritten = "the file cannot be written";

/// Drawn anew, so that two runs into one folder do not meet.
fs::path pathBeside(fs::path const &target)
{
    fs::path name = ".";
    name += target.filename();
    name += sentence(".{}.part", std::random_device()());
    return target.parent_path() / name;
}

/// Why a file was not saved, in words.
std::string saveFailure(OktSaveRefusal const &refusal, std::string const &what)
{
    int const error = refusal.systemError;
    switch (refusal.status)
    {
    case OktSaveStatus::NoPath: return what + ": this is no name for a file";
    case OktSaveStatus::Folder: return what + ": a folder has this name";
    case OktSaveStatus::NoPlainFile: return what + ": this is no plain file";
    case OktSaveStatus::WriteProtected: return "the file is write-protected";
    case OktSaveStatus::InUse: return openFailure(error);
    case OktSaveStatus::SeveralNames: return what + ": it has further names (hard links), which would keep the old contents";
    case OktSaveStatus::OwnerLost: return what + ": it belongs to somebody else, and would not any more";
    case OktSaveStatus::AttributesLost:
        return sentence("{}: its permissions or attributes would be lost: {}", what, systemReason(error));
    case OktSaveStatus::NoMemory: return what + ": there is not enough memory";
    case OktSaveStatus::Changed: return what + ": somebody else has changed it meanwhile";
    case OktSaveStatus::NotFlushed: return "the file is in place, but may be lost with the power: " + systemReason(error);
    default: return sentence("{}: {}", what, systemReason(error));
    }
}

} // namespace

TemporaryFile::TemporaryFile(fs::path const &neighbour)
    : m_path(pathBeside(neighbour)), m_halfWritten(std::in_place, pathName(m_path), HalfWritten::Kind::File)
{
}

TemporaryFile::~TemporaryFile()
{
    InterruptHold const hold;
    std::error_code ignored;
    if (m_halfWritten)
        fs::remove(m_path, ignored);
    m_halfWritten.reset();
}

PendingFile::PendingFile(fs::path target) : m_target(std::move(target))
{
    InterruptHold const hold;
    try
    {
        m_file.emplace();
        if (!m_file->begin(pathText(m_target)))
            refuse(kNotWritten);
        m_part.emplace(m_file->partPath().ToUtf8(), HalfWritten::Kind::File);
    }
    catch (...)
    {
        letGo();
        throw;
    }
}

void PendingFile::letGo() noexcept
{
    InterruptHold const hold;
    m_file.reset();
    m_part.reset();
}

void PendingFile::refuse(char const *what, std::string const &more) const
{
    OktSaveRefusal const refusal = m_file->refusal();
    throw Failure(pathName(m_target), "", saveFailure(refusal, what) + more);
}

void PendingFile::write(std::string_view bytes)
{
    InterruptHold const hold;
    if (m_file->write(bytes.data(), bytes.size()))
        return;
    m_part.reset(); // from now on the name may be that of somebody else, who saves the same file
    refuse(kNotWritten);
}

void PendingFile::flush()
{
    InterruptHold const hold;
    if (m_file->flush())
        return;
    m_part.reset();
    refuse(kNotWritten);
}

void PendingFile::commit() { commitTogether({this}); }

void PendingFile::commitTogether(std::vector<PendingFile *> const &files)
{
    checkMemory();
    InterruptHold const hold;
    std::vector<OktFileReplacement *> replacements;
    replacements.reserve(files.size());
    for (PendingFile *const file : files)
        replacements.push_back(&*file->m_file);
    OktFileReplacement *const failed = OktFileReplacement::commitTogether(replacements.data(), replacements.size());
    for (PendingFile *const file : files)
        file->m_part.reset();
    if (failed == nullptr)
        return;
    std::string lost;
    for (PendingFile const *const file : files)
        if (file->m_file->isOldKept())
            lost += sentence("; what {} was is in {}", printable(pathName(file->m_target)),
                             printable(file->m_file->oldPath().ToUtf8()));
    for (PendingFile const *const file : files)
        if (&*file->m_file == failed)
            file->refuse("the file cannot be put in place", lost);
}

void checkMemory()
{
    if (OktShortages() != 0)
        throw std::bad_alloc();
}

void checkReplaceable(fs::path const &path)
{
    checkFileName(path);
    std::string const name = pathName(path);
    std::error_code error;
    if (fs::file_status const status = fs::status(path, error); status.type() == fs::file_type::not_found)
        return;
    if (error)
        throw Failure(name, "", "the file cannot be reached: " + error.message());
    OktSaveRefusal const refusal = OktCheckReplaceable(pathText(path));
    if (refusal.status != OktSaveStatus::Saved)
        throw Failure(name, "", saveFailure(refusal, kNotWritten));
}

MadeFolder::Made::Made(fs::path const &folder) : path(folder), halfWritten(pathName(folder), HalfWritten::Kind::Folder) {}

MadeFolder::MadeFolder(fs::path const &path)
{
    checkFileName(path);
    std::error_code error;
    if (fs::is_directory(path, error))
        return;
    if (fs::exists(path, error))
        throw Failure(pathName(path), "", "the output folder cannot be made: a file has this name");
    std::vector<fs::path> missing;
    fs::path there = path;
    for (; there.has_relative_path() && !fs::exists(there, error); there = there.parent_path())
        missing.push_back(there);
    if (!error && there.has_relative_path() && !fs::is_directory(there, error) && !error)
        error = std::make_error_code(std::errc::not_a_directory); // Windows would call it no file or folder
    try
    {
        for (auto folder = missing.rbegin(); folder != missing.rend() && !error; ++folder)
            make(*folder, error);
        if (error)
            throw Failure(pathName(path), "", "the output folder cannot be made: " + error.message());
    }
    catch (...)
    {
        removeEmpty();
        throw;
    }
}

void MadeFolder::make(fs::path const &folder, std::error_code &error)
{
    InterruptHold const hold;
    m_made.emplace_back(folder);
    if (!fs::create_directory(folder, error))
        m_made.pop_back(); // somebody else's
}

void MadeFolder::removeEmpty()
{
    InterruptHold const hold;
    std::error_code ignored;
    for (; !m_made.empty(); m_made.pop_back())
        fs::remove(m_made.back().path, ignored);
}

} // namespace okt
