// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/oktstring.h>

#include <cstddef>
#include <memory>

// Files that are put in place whole: until the last step the old file is there, from then on the new one, whatever ends the
// process or the machine in between.

/// What became of a durable save. In all cases but Saved and NotFlushed the old file is as it was. The numbers stay, since
/// bindings pass them on.
enum class OktSaveStatus : int
{
    Saved = 0,
    NoPath = 1,         ///< the path is empty, or none that the system could take
    Folder = 2,         ///< a folder has this name
    NoPlainFile = 3,    ///< a device, a pipe or a socket has this name
    WriteProtected = 4, ///< the file may not be written
    InUse = 5,          ///< another program holds the file locked, or saves it right now
    SeveralNames = 6,   ///< the file has further names (hard links), which would go on naming the old contents
    OwnerLost = 7,      ///< the file belongs to a user or group that the new one cannot be given to
    AttributesLost = 8, ///< the new file cannot be given the permissions or the extended attributes of the old one
    NoRoom = 9,         ///< the disk is full, a quota is used up, or the file would be too large for the file system
    NoMemory = 10,
    NoImage = 11,  ///< the pool makes no image: an object refuses, memory is short, or there would be more than 2^31 - 1 bytes
    TooLarge = 12, ///< more than 2^31 - 1 bytes
    Changed = 13,  ///< somebody else made, replaced or removed the file since the save began
    Failed = 14,   ///< the system refuses a step, with its error number as the reason
    /// The new file is in place, whole, but the system could not promise that its name outlives a loss of power: either the old
    /// file or the new one is there then.
    NotFlushed = 15
};

/// Why a save was refused.
struct OktSaveRefusal
{
    OktSaveStatus status = OktSaveStatus::Saved;
    /// The error number of the system, as in CFileException; 0 where the system was not what refused.
    int systemError = 0;
};

/// A file that is written under a name beside its target, and takes the place of the target in one step:
///
///     OktFileReplacement file;
///     if (!file.begin(path) || !file.write(bytes, count) || !file.flush() || !file.commit())
///         tell(file.refusal());
///
/// No operation throws. One that answers false has removed what was written, and all behind it answer false, too. What is refused
/// is refused by `begin`, before a byte is written, save for what only shows while the file grows, or when its turn comes.
///
/// The target: a symbolic link is followed, and the file behind it is replaced, or made where the link leads nowhere. A file that
/// is replaced leaves its permissions to the new one, its owner and group, and on Linux its extended attributes, access lists
/// among them. On Windows it leaves what the system's call for replacing files keeps, and a link that leads nowhere is refused.
///
/// The name beside it is ".NAME.saving.part". A process that is killed may leave it there; the next save of that target removes
/// it. One that a living process holds is another save of the same target: the second one is refused as InUse, it does not wait.
/// Until it takes its place the old file can be read, but not opened for writing by CFile.
///
/// With the standard library alone (the generic back end) nothing is flushed, owners and extended attributes are not looked at,
/// and other processes are not seen, as with CFile.
class OKT_API OktFileReplacement
{
public:
    OktFileReplacement() noexcept; ///< of no file yet
    OktFileReplacement(OktFileReplacement const &) = delete;
    OktFileReplacement &operator=(OktFileReplacement const &) = delete;
    /// Removes what was written and is not in place.
    ~OktFileReplacement();

    /// Looks at the target and makes the new file, empty.
    bool begin(CString const &path) noexcept;
    /// Adds bytes to the new file.
    bool write(void const *bytes, std::size_t count) noexcept;
    /// Ends the writing: all bytes are on the disk, where the system keeps its word.
    bool flush() noexcept;
    /// Puts the new file in place. It needs no memory. With NotFlushed it answers false, and the file is in place.
    bool commit() noexcept;
    /// Puts all of them in place or, where one is refused, none: what had the names before has them then. The answer is the one
    /// that was refused, or null. A process that is killed in between may leave some of them in place.
    static OktFileReplacement *commitTogether(OktFileReplacement *const *files, std::size_t count) noexcept;

    /// The first reason for which an operation answered false.
    OktSaveRefusal refusal() const noexcept { return m_refusal; }
    /// The path of the new file until it is in place.
    CString partPath() const;
    /// The second name that commitTogether gives to the old file for the time being. Where a name could not be given back, the
    /// old file stays under it: `isOldKept` tells so.
    CString oldPath() const;
    bool isOldKept() const noexcept;

private:
    struct State;

    bool refuse(OktSaveStatus status, int systemError = 0) noexcept;
    bool place() noexcept;
    bool keepOld() noexcept;
    void takeBack() noexcept;
    bool flushFolder() noexcept;

    std::unique_ptr<State> m_state;
    OktSaveRefusal m_refusal;
};

/// What `begin` would refuse by looking at the target alone. Changes nothing.
OKT_API OktSaveRefusal OktCheckReplaceable(CString const &path) noexcept;
/// All four steps.
OKT_API OktSaveRefusal OktReplaceFile(CString const &path, void const *bytes, std::size_t count) noexcept;
