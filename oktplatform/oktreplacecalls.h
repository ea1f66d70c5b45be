// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktreplacefile.h>
#include <oktplatform/oktsystem.h>

#include <cstdint>
#include <filesystem>

// What a replacement of a file asks of the back end. The functions return the system's error number, or 0 for success. Not installed.
namespace OktSystem
{
inline constexpr std::intptr_t kNoFile = -1;

/// What a replacement knows of its target, which it holds open and locked where it is there.
struct ReplaceTarget
{
    bool isThere = false;
    std::intptr_t file = kNoFile;
};

/// The steps that change something on the disk, or make a change last. A test puts its own in front, which notes or fails them.
class ReplaceCalls
{
public:
    virtual ~ReplaceCalls() = default;

    /// Makes the part anew, empty and locked, and removes a dead one. A living one is in use. `isPrivate`: for its owner alone.
    virtual int createPart(std::filesystem::path const &part, bool isPrivate, std::intptr_t &file);
    virtual int write(std::intptr_t file, void const *bytes, std::size_t count);
    virtual int flush(std::intptr_t file);
    /// Gives the part the name of the target. Where the system cannot do that to open files, both are closed.
    virtual int place(std::intptr_t &file, std::filesystem::path const &part, ReplaceTarget &found,
                      std::filesystem::path const &target);
    virtual int flushFolder(std::intptr_t folder);
    virtual int remove(std::filesystem::path const &path);
    /// Gives a file a second name, or makes a copy where that cannot be.
    virtual int addName(std::filesystem::path const &file, std::filesystem::path const &second);
    /// Gives it the name back, over whatever has it now.
    virtual int giveBack(std::filesystem::path const &second, std::filesystem::path const &file);
};

ReplaceCalls &replaceCalls();
/// Null restores the system's own.
void setReplaceCalls(ReplaceCalls *calls);

/// False: no path can have such a text.
bool pathOfText(Unit const *text, std::size_t length, std::filesystem::path &path);
/// Follows symbolic links at the end of a path, also one that leads nowhere.
int followLinks(std::filesystem::path &path);
/// Looks at the target and holds it. `second` is a name that a killed process may have left it.
OktSaveRefusal openTarget(std::filesystem::path const &target, std::filesystem::path const &second, ReplaceTarget &found);
/// Whether the file is alone under its name now, with leftovers gone.
bool hasOneName(ReplaceTarget const &found);
/// Whether the path still names what it named then.
bool isSameTarget(std::filesystem::path const &target, ReplaceTarget const &found);
/// Opens a folder so that it can be flushed; kNoFile where the system has no such thing.
int openFolder(std::filesystem::path const &folder, std::intptr_t &handle);
/// Gives the part the owner, permissions and attributes of the target.
OktSaveRefusal keepAttributes(ReplaceTarget const &found, std::intptr_t part);
/// Others may open the file that is in place from now on.
void releaseReplaceFile(std::intptr_t file);
/// A handle of these may be kNoFile.
void closeReplaceFile(std::intptr_t file);
OktSaveStatus saveStatusOf(int error);
} // namespace OktSystem
