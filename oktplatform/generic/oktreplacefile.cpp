// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacecalls.h>

#include <oktplatform/generic/oktpath.h>

#include <cerrno>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

// Files put in place by the standard library alone: it cannot flush, and its locks hold within this process only.

namespace
{
namespace fs = std::filesystem;

constexpr int kMostLinks = 40;

int numberOf(std::error_code const &error)
{
    if (!error)
        return 0;
    std::error_condition const condition = error.default_error_condition();
    return condition.category() == std::generic_category() && condition.value() != 0 ? condition.value() : EIO;
}

/// Opens with the lock of a writer.
int openForWriting(fs::path const &path, bool makesAnew, std::intptr_t &file)
{
    CString const text = CString::FromUtf8(path.string());
    OktSystem::FileRequest request;
    request.access = OktSystem::FileAccess::Write;
    request.create = request.truncate = makesAnew;
    return OktSystem::openFile(text.GetString(), static_cast<std::size_t>(text.GetLength()), request, file);
}
} // namespace

int OktSystem::ReplaceCalls::createPart(fs::path const &part, bool, std::intptr_t &file)
{
    return openForWriting(part, true, file);
}

int OktSystem::ReplaceCalls::write(std::intptr_t file, void const *bytes, std::size_t count)
{
    return OktSystem::writeFile(file, bytes, count);
}

int OktSystem::ReplaceCalls::flush(std::intptr_t) { return 0; }

int OktSystem::ReplaceCalls::place(std::intptr_t &file, fs::path const &part, ReplaceTarget &found, fs::path const &target)
{
    std::error_code error;
    if (found.isThere)
    {
        fs::perms const kept = fs::status(target, error).permissions();
        if (!error)
            fs::permissions(part, kept, error);
        if (error)
            return numberOf(error);
    }
    if (int const late = OktSystem::closeFile(std::exchange(file, kNoFile)); late != 0)
        return late;
    fs::rename(part, target, error);
    return numberOf(error);
}

int OktSystem::ReplaceCalls::flushFolder(std::intptr_t) { return 0; }

int OktSystem::ReplaceCalls::remove(fs::path const &path)
{
    std::error_code error;
    fs::remove(path, error);
    return numberOf(error);
}

int OktSystem::ReplaceCalls::addName(fs::path const &file, fs::path const &second)
{
    std::error_code error;
    fs::create_hard_link(file, second, error);
    if (error) // not every file system has such links
        fs::copy_file(file, second, error);
    return numberOf(error);
}

int OktSystem::ReplaceCalls::giveBack(fs::path const &second, fs::path const &file)
{
    std::error_code error;
    fs::rename(second, file, error);
    return numberOf(error);
}

bool OktSystem::pathOfText(Unit const *text, std::size_t length, fs::path &path)
{
    std::string name;
    if (!OktSystem::pathOf(text, length, name))
        return false;
    path = std::u8string(name.begin(), name.end());
    return true;
}

int OktSystem::followLinks(fs::path &path)
{
    for (int i = 0; i < kMostLinks; ++i)
    {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(path, error)))
            return 0;
        fs::path const next = fs::read_symlink(path, error);
        if (error)
            return numberOf(error);
        path = path.parent_path() / next;
    }
    return EINVAL;
}

OktSaveRefusal OktSystem::openTarget(fs::path const &target, fs::path const &second, ReplaceTarget &found)
{
    std::error_code error;
    fs::file_status const status = fs::symlink_status(target, error);
    if (status.type() == fs::file_type::not_found)
        return {};
    if (status.type() == fs::file_type::none)
        return {saveStatusOf(numberOf(error)), numberOf(error)};
    if (status.type() == fs::file_type::directory)
        return {OktSaveStatus::Folder, EISDIR};
    if (status.type() != fs::file_type::regular)
        return {OktSaveStatus::NoPlainFile, 0};
    if ((status.permissions() & fs::perms::owner_write) == fs::perms::none)
        return {OktSaveStatus::WriteProtected, 0};
    std::uintmax_t const names = fs::hard_link_count(target, error);
    if (!error && names > 1 && !(names == 2 && fs::equivalent(target, second, error)))
        return {OktSaveStatus::SeveralNames, 0};
    if (int const refused = openForWriting(target, false, found.file); refused != 0)
        return {refused == EACCES || refused == EPERM ? OktSaveStatus::WriteProtected : saveStatusOf(refused), refused};
    found.isThere = true;
    return {};
}

bool OktSystem::hasOneName(ReplaceTarget const &) { return true; } // openTarget has looked

bool OktSystem::isSameTarget(fs::path const &target, ReplaceTarget const &found)
{
    std::error_code error;
    fs::file_type const type = fs::symlink_status(target, error).type();
    return type == (found.isThere ? fs::file_type::regular : fs::file_type::not_found);
}

int OktSystem::openFolder(fs::path const &folder, std::intptr_t &)
{
    std::error_code error;
    return fs::is_directory(folder, error) ? 0 : ENOENT;
}

OktSaveRefusal OktSystem::keepAttributes(ReplaceTarget const &, std::intptr_t) { return {}; }

void OktSystem::releaseReplaceFile(std::intptr_t) {}

void OktSystem::closeReplaceFile(std::intptr_t file)
{
    if (file != kNoFile)
        OktSystem::closeFile(file);
}

OktSaveStatus OktSystem::saveStatusOf(int error)
{
    switch (error)
    {
    case EWOULDBLOCK: return OktSaveStatus::InUse;
    case ENOSPC:
    case EFBIG: return OktSaveStatus::NoRoom;
    case ENOMEM: return OktSaveStatus::NoMemory;
    case EISDIR: return OktSaveStatus::Folder;
    default: return OktSaveStatus::Failed;
    }
}
