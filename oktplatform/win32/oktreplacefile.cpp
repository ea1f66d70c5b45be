// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacecalls.h>

#include <oktplatform/okttypes.h>
#include <oktplatform/win32/oktpath.h>

#include <string>
#include <utility>

// ReplaceFileW keeps what the old file has: attributes, access lists, streams, the time of its making. It takes names, so that the
// handles, and with them the locks, are given up a moment before. A folder cannot be flushed; the system logs its changes itself.

namespace
{
namespace fs = std::filesystem;

constexpr DWORD kDiskQuotaExceeded = 1295; // not all headers have the name
constexpr DWORD kUnableToRemoveReplaced = 1175;
constexpr DWORD kUnableToMoveReplacement2 = 1177;

HANDLE handleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); } // NOLINT: handles are numbers

int lastError()
{
    DWORD const error = GetLastError();
    return error == 0 ? ERROR_GEN_FAILURE : static_cast<int>(error);
}

int move(fs::path const &from, fs::path const &to, DWORD flags)
{
    return MoveFileExW(from.c_str(), to.c_str(), flags | MOVEFILE_WRITE_THROUGH) ? 0 : lastError();
}
} // namespace

// --- The steps ---------------------------------------------------------------------------------------------------------------

int OktSystem::ReplaceCalls::createPart(fs::path const &part, bool, std::intptr_t &file)
{
    // One that a living process holds open is in use; a dead one is cut. This one can be removed while it is open.
    HANDLE const made = CreateFileW(part.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made == INVALID_HANDLE_VALUE)
        return lastError();
    file = reinterpret_cast<std::intptr_t>(made);
    return 0;
}

int OktSystem::ReplaceCalls::write(std::intptr_t file, void const *bytes, std::size_t count)
{
    return OktSystem::writeFile(file, bytes, count);
}

int OktSystem::ReplaceCalls::flush(std::intptr_t file) { return FlushFileBuffers(handleOf(file)) ? 0 : lastError(); }

int OktSystem::ReplaceCalls::place(std::intptr_t &file, fs::path const &part, ReplaceTarget &found, fs::path const &target)
{
    closeReplaceFile(std::exchange(file, kNoFile));
    closeReplaceFile(std::exchange(found.file, kNoFile));
    if (!found.isThere)
        return move(part, target, 0);
    if (ReplaceFileW(target.c_str(), part.c_str(), nullptr, 0, nullptr, nullptr))
        return 0;
    DWORD const error = GetLastError();
    // The old file has lost its name already.
    if (error == kUnableToMoveReplacement2)
        return move(part, target, MOVEFILE_REPLACE_EXISTING);
    return error == kUnableToRemoveReplaced ? ERROR_SHARING_VIOLATION : static_cast<int>(error);
}

int OktSystem::ReplaceCalls::flushFolder(std::intptr_t) { return 0; }

int OktSystem::ReplaceCalls::remove(fs::path const &path) { return DeleteFileW(path.c_str()) ? 0 : lastError(); }

int OktSystem::ReplaceCalls::addName(fs::path const &file, fs::path const &second)
{
    if (CreateHardLinkW(second.c_str(), file.c_str(), nullptr))
        return 0;
    return CopyFileW(file.c_str(), second.c_str(), FALSE) ? 0 : lastError();
}

int OktSystem::ReplaceCalls::giveBack(fs::path const &second, fs::path const &file)
{
    return move(second, file, MOVEFILE_REPLACE_EXISTING);
}

// --- What is looked at -------------------------------------------------------------------------------------------------------

bool OktSystem::pathOfText(Unit const *text, std::size_t length, fs::path &path)
{
    std::wstring name;
    if (!OktWin32::pathOf(text, length, name))
        return false;
    path = std::move(name);
    return true;
}

int OktSystem::followLinks(fs::path &path)
{
    DWORD const attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 ||
        (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return 0;
    HANDLE const file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return lastError();
    std::wstring name(32768, L'\0'); // no path is longer
    DWORD const length = GetFinalPathNameByHandleW(file, name.data(), static_cast<DWORD>(name.size()), FILE_NAME_NORMALIZED);
    int const error = length == 0 || length >= name.size() ? lastError() : 0;
    CloseHandle(file);
    if (error != 0)
        return error;
    name.resize(length);
    path = std::move(name);
    return 0;
}

OktSaveRefusal OktSystem::openTarget(fs::path const &target, fs::path const &, ReplaceTarget &found)
{
    DWORD const attributes = GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
    {
        int const error = lastError();
        return error == ERROR_FILE_NOT_FOUND ? OktSaveRefusal() : OktSaveRefusal{saveStatusOf(error), error};
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return {OktSaveStatus::Folder, ERROR_ACCESS_DENIED};
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        return {OktSaveStatus::WriteProtected, 0};
    // A second name of an open file can be removed only where its removal is shared.
    HANDLE const file = CreateFileW(target.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        int const error = lastError();
        return {error == ERROR_ACCESS_DENIED ? OktSaveStatus::WriteProtected : saveStatusOf(error), error};
    }
    OktSaveRefusal refusal;
    BY_HANDLE_FILE_INFORMATION facts = {};
    if (GetFileType(file) != FILE_TYPE_DISK)
        refusal.status = OktSaveStatus::NoPlainFile;
    else if (!GetFileInformationByHandle(file, &facts))
        refusal = {OktSaveStatus::Failed, lastError()};
    else if (facts.nNumberOfLinks > 2)
        refusal.status = OktSaveStatus::SeveralNames; // a second one may be left of a process that was killed
    if (refusal.status != OktSaveStatus::Saved)
    {
        CloseHandle(file);
        return refusal;
    }
    found.isThere = true;
    found.file = reinterpret_cast<std::intptr_t>(file);
    return refusal;
}

bool OktSystem::hasOneName(ReplaceTarget const &found)
{
    BY_HANDLE_FILE_INFORMATION facts = {};
    return GetFileInformationByHandle(handleOf(found.file), &facts) && facts.nNumberOfLinks <= 1;
}

bool OktSystem::isSameTarget(fs::path const &target, ReplaceTarget const &found)
{
    if (!found.isThere)
        return GetFileAttributesW(target.c_str()) == INVALID_FILE_ATTRIBUTES;
    HANDLE const named = CreateFileW(target.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (named == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION before = {};
    BY_HANDLE_FILE_INFORMATION now = {};
    bool const isSame = GetFileInformationByHandle(handleOf(found.file), &before) && GetFileInformationByHandle(named, &now) &&
                        before.dwVolumeSerialNumber == now.dwVolumeSerialNumber &&
                        before.nFileIndexHigh == now.nFileIndexHigh && before.nFileIndexLow == now.nFileIndexLow;
    CloseHandle(named);
    return isSame;
}

int OktSystem::openFolder(fs::path const &, std::intptr_t &) { return 0; }

// ReplaceFileW keeps them, or refuses.
OktSaveRefusal OktSystem::keepAttributes(ReplaceTarget const &, std::intptr_t) { return {}; }

void OktSystem::releaseReplaceFile(std::intptr_t) {}

void OktSystem::closeReplaceFile(std::intptr_t file)
{
    if (file != kNoFile)
        CloseHandle(handleOf(file));
}

OktSaveStatus OktSystem::saveStatusOf(int error)
{
    switch (static_cast<DWORD>(error))
    {
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION: return OktSaveStatus::InUse;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded: return OktSaveStatus::NoRoom;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return OktSaveStatus::NoMemory;
    default: return OktSaveStatus::Failed;
    }
}
