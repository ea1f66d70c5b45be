// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacecalls.h>

#include <oktplatform/generic/oktpath.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>
#if defined(__linux__)
#include <sys/xattr.h>
#endif

namespace
{
namespace fs = std::filesystem;

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kPermissions = 07777;
constexpr int kTries = 8;
constexpr int kMostLinks = 40;

template <typename Call> auto untilDone(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// The error of a call that answers below 0 where it fails.
template <typename Call> int errorOf(Call call) { return untilDone(call) < 0 ? errno : 0; }

int descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

int openNamed(fs::path const &path, int flags, mode_t mode = 0)
{
    return untilDone([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK, mode); });
}

int lockFile(int file, int kind)
{
    return errorOf([&] { return flock(file, kind | LOCK_NB); });
}

bool isSameFile(struct stat const &left, struct stat const &right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Whether the path names the open file.
bool names(fs::path const &path, int file)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && isSameFile(opened, named);
}

/// Removes a part whose process is gone, which has left no lock on it.
int removeDead(OktSystem::ReplaceCalls &calls, fs::path const &part)
{
    int const file = openNamed(part, O_RDONLY);
    if (file < 0)
        return errno == ENOENT ? 0 : errno;
    struct stat status = {};
    int error = fstat(file, &status) != 0 ? errno : S_ISREG(status.st_mode) ? lockFile(file, LOCK_EX) : EEXIST;
    if (error == 0 && names(part, file)) // otherwise somebody else has removed it or put it in place
        error = calls.remove(part);
    close(file);
    return error == ENOENT ? 0 : error;
}

#if defined(__linux__)

// --- Extended attributes -----------------------------------------------------------------------------------------------------

using Attribute = std::vector<char>;

/// The list or value of a call that asks for the size first. The error, or 0.
template <typename Call> int readAll(Attribute &target, Call call)
{
    for (int i = 0; i < kTries; ++i)
    {
        ssize_t const size = untilDone([&] { return call(nullptr, 0); });
        if (size <= 0)
        {
            target.clear();
            return size < 0 ? errno : 0;
        }
        target.resize(static_cast<std::size_t>(size));
        ssize_t const done = untilDone([&] { return call(target.data(), target.size()); });
        if (done >= 0)
        {
            target.resize(static_cast<std::size_t>(done));
            return 0;
        }
        if (errno != ERANGE) // it has grown meanwhile
            return errno;
    }
    return ERANGE;
}

int listAttributes(int file, Attribute &list)
{
    int const error = readAll(list, [&](char *target, std::size_t size) { return flistxattr(file, target, size); });
    if (error == ENOTSUP || error == ENOSYS)
        list.clear();
    return error == ENOTSUP || error == ENOSYS ? 0 : error;
}

int readAttribute(int file, char const *name, Attribute &value)
{
    return readAll(value, [&](char *target, std::size_t size) { return fgetxattr(file, name, target, size); });
}

/// Check sums of the contents are made by the system itself.
bool belongsToContents(std::string_view name) { return name == "security.ima" || name == "security.evm"; }

template <typename Act> int forEachName(Attribute const &list, Act act)
{
    for (std::string_view rest(list.data(), list.size()); !rest.empty();)
    {
        std::string_view const name = rest.substr(0, rest.find('\0'));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        if (belongsToContents(name))
            continue;
        if (int const error = act(name.data()); error != 0)
            return error;
    }
    return 0;
}

/// What the part has by itself, as an access list of its folder, and the target has not, goes.
int copyAttributes(int from, int to)
{
    Attribute wanted;
    Attribute own;
    Attribute value;
    Attribute present;
    int error = listAttributes(from, wanted);
    if (error == 0)
        error = listAttributes(to, own);
    if (error == 0)
        error = forEachName(own, [&](char const *name) {
            if (fgetxattr(from, name, nullptr, 0) >= 0 || errno != ENODATA)
                return 0;
            // Labels of a security module cannot be taken off; a new file has one by its rules.
            bool const isLabel = std::string_view(name).starts_with("security.");
            return isLabel ? 0 : errorOf([&] { return fremovexattr(to, name); });
        });
    if (error != 0)
        return error;
    return forEachName(wanted, [&](char const *name) {
        if (int const unread = readAttribute(from, name, value); unread != 0)
            return unread == ENODATA ? 0 : unread;
        if (readAttribute(to, name, present) == 0 && present == value)
            return 0;
        return errorOf([&] { return fsetxattr(to, name, value.data(), value.size(), 0); });
    });
}

#else

int copyAttributes(int, int) { return 0; }

#endif
} // namespace

// --- The steps ---------------------------------------------------------------------------------------------------------------

int OktSystem::ReplaceCalls::createPart(fs::path const &part, bool isPrivate, std::intptr_t &file)
{
    for (int i = 0; i < kTries; ++i)
    {
        int const made = openNamed(part, O_RDWR | O_CREAT | O_EXCL, isPrivate ? kPrivateMode : kNewFileMode);
        if (made >= 0)
        {
            int const error = lockFile(made, LOCK_EX);
            if (error == 0 && names(part, made))
            {
                file = made;
                return 0;
            }
            // Before the lock was there, somebody else could take it for a dead one.
            if (error != 0 && error != EWOULDBLOCK)
                remove(part);
            close(made);
            if (error != 0 && error != EWOULDBLOCK)
                return error;
            continue;
        }
        if (errno != EEXIST)
            return errno;
        if (int const error = removeDead(*this, part); error != 0)
            return error;
    }
    return EWOULDBLOCK;
}

int OktSystem::ReplaceCalls::write(std::intptr_t file, void const *bytes, std::size_t count)
{
    return OktSystem::writeFile(file, bytes, count);
}

int OktSystem::ReplaceCalls::flush(std::intptr_t file)
{
    return errorOf([&] { return fsync(descriptor(file)); });
}

int OktSystem::ReplaceCalls::place(std::intptr_t &, fs::path const &part, ReplaceTarget &, fs::path const &target)
{
    return errorOf([&] { return rename(part.c_str(), target.c_str()); });
}

int OktSystem::ReplaceCalls::flushFolder(std::intptr_t folder)
{
    int const error = errorOf([&] { return fsync(descriptor(folder)); });
    return error == EINVAL || error == ENOTSUP ? 0 : error; // a file system that has no such thing
}

int OktSystem::ReplaceCalls::remove(fs::path const &path) { return unlink(path.c_str()) == 0 ? 0 : errno; }

int OktSystem::ReplaceCalls::addName(fs::path const &file, fs::path const &second)
{
    if (link(file.c_str(), second.c_str()) == 0)
        return 0;
    int const refused = errno;
    if (refused != EPERM && refused != EOPNOTSUPP && refused != ENOSYS && refused != EMLINK)
        return refused;
    std::error_code error; // not every file system has such links
    fs::copy_file(file, second, error);
    return error.value();
}

int OktSystem::ReplaceCalls::giveBack(fs::path const &second, fs::path const &file)
{
    return errorOf([&] { return rename(second.c_str(), file.c_str()); });
}

// --- What is looked at -------------------------------------------------------------------------------------------------------

bool OktSystem::pathOfText(Unit const *text, std::size_t length, fs::path &path)
{
    std::string name;
    if (!OktSystem::pathOf(text, length, name))
        return false;
    path = std::move(name);
    return true;
}

int OktSystem::followLinks(fs::path &path)
{
    for (int i = 0; i < kMostLinks; ++i)
    {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(path, error)))
            return 0; // what is wrong with it otherwise shows when it is opened
        fs::path const next = fs::read_symlink(path, error);
        if (error)
            return error.value();
        path = path.parent_path() / next; // an absolute one stands alone
    }
    return ELOOP;
}

OktSaveRefusal OktSystem::openTarget(fs::path const &target, fs::path const &second, ReplaceTarget &found)
{
    struct stat status = {};
    if (lstat(target.c_str(), &status) != 0)
        return errno == ENOENT ? OktSaveRefusal() : OktSaveRefusal{saveStatusOf(errno), errno};
    if (S_ISDIR(status.st_mode))
        return {OktSaveStatus::Folder, EISDIR};
    if (!S_ISREG(status.st_mode))
        return {OktSaveStatus::NoPlainFile, 0};
    if ((status.st_mode & S_IWUSR) == 0)
        return {OktSaveStatus::WriteProtected, 0};
    int const file = openNamed(target, O_WRONLY);
    if (file < 0)
    {
        int const error = errno;
        bool const isProtected = error == EACCES || error == EPERM;
        bool const isOther = error == ENOENT || error == ELOOP || error == EISDIR || error == ENXIO;
        return {isProtected ? OktSaveStatus::WriteProtected : isOther ? OktSaveStatus::Changed : saveStatusOf(error), error};
    }
    // A lock that keeps out all is asked for, as a writer has it; held is one that lets readers in.
    struct stat opened = {};
    int error = lockFile(file, LOCK_EX);
    if (error == 0)
        error = lockFile(file, LOCK_SH);
    if (error == 0 && fstat(file, &opened) != 0)
        error = errno;
    OktSaveRefusal refusal = {error == 0 ? OktSaveStatus::Saved : saveStatusOf(error), error};
    struct stat left = {};
    bool const isLeft = opened.st_nlink == 2 && lstat(second.c_str(), &left) == 0 && isSameFile(left, opened);
    if (error == 0 && !S_ISREG(opened.st_mode))
        refusal.status = OktSaveStatus::Changed;
    else if (error == 0 && opened.st_nlink > 1 && !isLeft)
        refusal.status = OktSaveStatus::SeveralNames;
    if (refusal.status != OktSaveStatus::Saved)
    {
        close(file);
        return refusal;
    }
    found.isThere = true;
    found.file = file;
    return refusal;
}

bool OktSystem::hasOneName(ReplaceTarget const &found)
{
    struct stat status = {};
    return fstat(descriptor(found.file), &status) == 0 && status.st_nlink == 1;
}

bool OktSystem::isSameTarget(fs::path const &target, ReplaceTarget const &found)
{
    struct stat status = {};
    return found.isThere ? names(target, descriptor(found.file)) : lstat(target.c_str(), &status) != 0 && errno == ENOENT;
}

int OktSystem::openFolder(fs::path const &folder, std::intptr_t &handle)
{
    // The folder itself may be reached by a link.
    int const file = untilDone([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (file < 0)
        return errno;
    handle = file;
    return 0;
}

OktSaveRefusal OktSystem::keepAttributes(ReplaceTarget const &found, std::intptr_t part)
{
    int const from = descriptor(found.file);
    int const to = descriptor(part);
    struct stat wanted = {};
    struct stat own = {};
    if (fstat(from, &wanted) != 0 || fstat(to, &own) != 0)
        return {saveStatusOf(errno), errno};
    if (wanted.st_uid != own.st_uid || wanted.st_gid != own.st_gid)
        if (int const error = errorOf([&] { return fchown(to, wanted.st_uid, wanted.st_gid); }); error != 0)
            return {OktSaveStatus::OwnerLost, error};
    int error = copyAttributes(from, to);
    if (error == 0)
        error = errorOf([&] { return fchmod(to, wanted.st_mode & kPermissions); });
    if (error == ENOMEM)
        return {OktSaveStatus::NoMemory, error};
    return {error == 0 ? OktSaveStatus::Saved : OktSaveStatus::AttributesLost, error};
}

void OktSystem::releaseReplaceFile(std::intptr_t file) { flock(descriptor(file), LOCK_UN); }

void OktSystem::closeReplaceFile(std::intptr_t file)
{
    if (file != kNoFile)
        close(descriptor(file));
}

OktSaveStatus OktSystem::saveStatusOf(int error)
{
    switch (error)
    {
    case EWOULDBLOCK:
    case ETXTBSY: return OktSaveStatus::InUse;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return OktSaveStatus::NoRoom;
    case ENOMEM: return OktSaveStatus::NoMemory;
    case EISDIR: return OktSaveStatus::Folder;
    default: return OktSaveStatus::Failed;
    }
}
