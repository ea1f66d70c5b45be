// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacefile.h>

#include "support/replacecalls.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#if defined(__linux__)
#include <sys/xattr.h>
#endif

// What a durable save keeps, follows and refuses where files have owners, links, and kinds.

namespace
{
namespace fs = std::filesystem;
using Status = OktSaveStatus;

constexpr uid_t kNobody = 65534;

class ReplaceFilePosix : public testing::Test
{
protected:
    CString path(std::string const &name) const { return m_folder.path(name); }
    std::string name(std::string const &file) const { return path(file).ToUtf8(); }
    void put(std::string const &file, std::string const &text, mode_t mode = 0644) const
    {
        std::ofstream(name(file), std::ios::binary) << text;
        ASSERT_EQ(chmod(name(file).c_str(), mode), 0);
    }
    std::string text(std::string const &file) const
    {
        std::ifstream stream(name(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    std::set<std::string> names() const
    {
        std::set<std::string> all;
        for (fs::directory_entry const &entry : fs::directory_iterator(name("")))
            all.insert(entry.path().filename().string());
        return all;
    }
    OktSaveRefusal save(std::string const &file, std::string_view bytes = "new") const
    {
        return OktReplaceFile(path(file), bytes.data(), bytes.size());
    }
    struct stat look(std::string const &file) const
    {
        struct stat status = {};
        EXPECT_EQ(lstat(name(file).c_str(), &status), 0) << file;
        return status;
    }

    /// Runs a call in a process of its own and gives its exit code.
    template <typename Call> static int inChild(Call call)
    {
        pid_t const child = fork();
        if (child == 0)
            _exit(call());
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status);
    }
    /// The status of a save by a user without rights.
    int statusAsNobody(std::string const &file) const
    {
        return inChild([&] {
            if (setgroups(0, nullptr) != 0 || setegid(kNobody) != 0 || seteuid(kNobody) != 0)
                return 99;
            return static_cast<int>(save(file).status);
        });
    }

    ScratchFolder m_folder;
};
} // namespace

// --- Links -------------------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFilePosix, SymbolicLinks_TheFileBehindThemIsReplaced)
{
    put("old", "old");
    ASSERT_EQ(mkdir(name("folder").c_str(), 0700), 0);
    ASSERT_EQ(symlink("../old", name("folder/near").c_str()), 0);
    ASSERT_EQ(symlink(name("folder/near").c_str(), name("far").c_str()), 0);
    EXPECT_EQ(save("far").status, Status::Saved);
    EXPECT_EQ(text("old"), "new");
    EXPECT_TRUE(S_ISLNK(look("far").st_mode));
    EXPECT_TRUE(S_ISLNK(look("folder/near").st_mode));
    EXPECT_TRUE(S_ISREG(look("old").st_mode));
    EXPECT_EQ(names(), (std::set<std::string>{"far", "folder", "old"}));
}

TEST_F(ReplaceFilePosix, SymbolicLinkThatLeadsNowhere_MakesItsTarget)
{
    ASSERT_EQ(symlink("missing", name("link").c_str()), 0);
    EXPECT_EQ(save("link").status, Status::Saved);
    EXPECT_TRUE(S_ISLNK(look("link").st_mode));
    EXPECT_EQ(text("missing"), "new");
    ASSERT_EQ(symlink("none/missing", name("nowhere").c_str()), 0);
    EXPECT_EQ(save("nowhere").systemError, ENOENT);
    EXPECT_EQ(names(), (std::set<std::string>{"link", "missing", "nowhere"}));
}

TEST_F(ReplaceFilePosix, SymbolicLinksInACircle_AreRefused)
{
    ASSERT_EQ(symlink("b", name("a").c_str()), 0);
    ASSERT_EQ(symlink("a", name("b").c_str()), 0);
    OktSaveRefusal const refusal = save("a");
    EXPECT_EQ(refusal.status, Status::Failed);
    EXPECT_EQ(refusal.systemError, ELOOP);
    EXPECT_EQ(names(), (std::set<std::string>{"a", "b"}));
}

TEST_F(ReplaceFilePosix, SeveralHardLinks_AreRefusedAndAllStay)
{
    put("a", "old");
    ASSERT_EQ(link(name("a").c_str(), name("b").c_str()), 0);
    EXPECT_EQ(save("a").status, Status::SeveralNames);
    EXPECT_EQ(OktCheckReplaceable(path("a")).status, Status::SeveralNames);
    EXPECT_EQ(text("a") + text("b"), "oldold");
    // One of them left by a killed process does not make the other allowed.
    ASSERT_EQ(link(name("a").c_str(), name(".a.before.part").c_str()), 0);
    EXPECT_EQ(save("a").status, Status::SeveralNames);
    EXPECT_EQ(look("a").st_ino, look("b").st_ino);
    unlink(name(".a.before.part").c_str());
    unlink(name("b").c_str());
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

// --- Kinds of files ----------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFilePosix, PipeSocketAndDevice_AreRefusedWithoutWaiting)
{
    ASSERT_EQ(mkfifo(name("pipe").c_str(), 0600), 0);
    EXPECT_EQ(save("pipe").status, Status::NoPlainFile);
    EXPECT_TRUE(S_ISFIFO(look("pipe").st_mode));
    char const byte = 'x';
    EXPECT_EQ(OktReplaceFile(u"/dev/null", &byte, 1).status, Status::NoPlainFile);
    EXPECT_EQ(names(), std::set<std::string>{"pipe"});
}

TEST_F(ReplaceFilePosix, FileBelowAFile_IsRefusedWithTheSystemsReason)
{
    put("a", "old");
    OktSaveRefusal const refusal = save("a/b");
    EXPECT_EQ(refusal.status, Status::Failed);
    EXPECT_EQ(refusal.systemError, ENOTDIR);
    EXPECT_EQ(save("a/").systemError, ENOTDIR);
    EXPECT_EQ(text("a"), "old");
}

TEST_F(ReplaceFilePosix, RelativePath_InTheCurrentFolder)
{
    EXPECT_EQ(inChild([&] {
                  if (chdir(name("").c_str()) != 0)
                      return 99;
                  return static_cast<int>(OktReplaceFile(u"a", "new", 3).status);
              }),
              0);
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

// --- Owners and permissions --------------------------------------------------------------------------------------------------

TEST_F(ReplaceFilePosix, Permissions_AreKept)
{
    for (mode_t const mode : std::initializer_list<mode_t>{0600, 0640, 0755, 0666, 0200, 04755, 02775})
    {
        put("a", "old", mode);
        EXPECT_EQ(save("a").status, Status::Saved);
        EXPECT_EQ(look("a").st_mode & 07777, mode);
        EXPECT_EQ(text("a"), "new");
        unlink(name("a").c_str());
    }
}

TEST_F(ReplaceFilePosix, NewFile_HasThePermissionsOfTheMask)
{
    mode_t const before = umask(027);
    EXPECT_EQ(save("a").status, Status::Saved);
    umask(before);
    EXPECT_EQ(look("a").st_mode & 07777, 0640u);
}

TEST_F(ReplaceFilePosix, Owner_IsKept)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    put("a", "old", 0640);
    ASSERT_EQ(chown(name("a").c_str(), kNobody, 7), 0);
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(look("a").st_uid, kNobody);
    EXPECT_EQ(look("a").st_gid, 7u);
    EXPECT_EQ(look("a").st_mode & 07777, 0640u);
}

TEST_F(ReplaceFilePosix, OwnerCannotBeKept_IsRefusedAndTheFileStays)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes somebody else";
    ASSERT_EQ(chmod(name("").c_str(), 0777), 0);
    put("a", "old", 0666);
    struct stat const before = look("a");
    EXPECT_EQ(statusAsNobody("a"), static_cast<int>(Status::OwnerLost));
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(look("a").st_ino, before.st_ino);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
    // The group alone counts, too.
    ASSERT_EQ(chown(name("a").c_str(), kNobody, 0), 0);
    EXPECT_EQ(statusAsNobody("a"), static_cast<int>(Status::OwnerLost));
    ASSERT_EQ(chown(name("a").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(statusAsNobody("a"), 0);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFilePosix, NoRights_AreRefusedAndTheFileStays)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes somebody else";
    put("a", "old", 0644);
    EXPECT_EQ(statusAsNobody("a"), static_cast<int>(Status::WriteProtected)) << "a file of root";
    ASSERT_EQ(chown(name("a").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(statusAsNobody("a"), static_cast<int>(Status::Failed)) << "in a folder of root";
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

// --- Extended attributes -----------------------------------------------------------------------------------------------------

#if defined(__linux__)

namespace
{
/// Sets an attribute; false where the file system has none.
bool set(std::string const &file, char const *attribute, std::string_view value)
{
    if (setxattr(file.c_str(), attribute, value.data(), value.size(), 0) == 0)
        return true;
    EXPECT_TRUE(errno == ENOTSUP || errno == EPERM) << attribute << ": " << std::strerror(errno);
    return false;
}

std::optional<std::string> get(std::string const &file, char const *attribute)
{
    char value[4096];
    ssize_t const size = getxattr(file.c_str(), attribute, value, sizeof value);
    return size < 0 ? std::nullopt : std::optional<std::string>(std::in_place, value, static_cast<std::size_t>(size));
}

/// An access list as the kernel takes it: the owner, one more user, the group, the mask, the others.
std::string accessList(unsigned char ofUser)
{
    std::string list(1, '\2');
    list.append(3, '\0');
    auto const entry = [&list](unsigned char tag, unsigned char rights, unsigned int id) {
        list += static_cast<char>(tag);
        list += '\0';
        list += static_cast<char>(rights);
        list += '\0';
        for (int shift = 0; shift < 32; shift += 8)
            list += static_cast<char>(id >> shift & 255);
    };
    entry(0x01, 6, 0xFFFFFFFF);
    entry(0x02, ofUser, kNobody);
    entry(0x04, 4, 0xFFFFFFFF);
    entry(0x10, 6, 0xFFFFFFFF);
    entry(0x20, 0, 0xFFFFFFFF);
    return list;
}
} // namespace

TEST_F(ReplaceFilePosix, ExtendedAttributes_AreKept)
{
    put("a", "old");
    std::string const large(2000, 'v');
    if (!set(name("a"), "user.okt.note", "of the user") || !set(name("a"), "user.empty", "") ||
        !set(name("a"), "user.large", large))
        GTEST_SKIP() << "this file system has no extended attributes";
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(get(name("a"), "user.okt.note"), "of the user");
    EXPECT_EQ(get(name("a"), "user.empty"), "");
    EXPECT_EQ(get(name("a"), "user.large"), large);
}

TEST_F(ReplaceFilePosix, AccessList_IsKept)
{
    put("a", "old", 0640);
    if (!set(name("a"), "system.posix_acl_access", accessList(6)))
        GTEST_SKIP() << "this file system has no access lists";
    mode_t const mode = look("a").st_mode;
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(get(name("a"), "system.posix_acl_access"), accessList(6));
    EXPECT_EQ(look("a").st_mode, mode);
}

TEST_F(ReplaceFilePosix, AccessListOfTheFolder_IsNotTakenOver)
{
    put("a", "old", 0640);
    if (!set(name(""), "system.posix_acl_default", accessList(7)))
        GTEST_SKIP() << "this file system has no access lists";
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(get(name("a"), "system.posix_acl_access"), std::nullopt);
    EXPECT_EQ(look("a").st_mode & 07777, 0640u);
    EXPECT_EQ(save("b").status, Status::Saved);
    EXPECT_NE(get(name("b"), "system.posix_acl_access"), std::nullopt) << "a new file has what the folder gives";
}

TEST_F(ReplaceFilePosix, AttributeOfRoot_CannotBeKept_IsRefusedAndTheFileStays)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes somebody else";
    put("a", "old", 0644);
    ASSERT_EQ(chown(name("a").c_str(), kNobody, kNobody), 0);
    // A capability, which only root can give: read and bind to low ports.
    std::string const capability("\1\0\0\2\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
    if (!set(name("a"), "security.capability", capability))
        GTEST_SKIP() << "this file system has no capabilities";
    ASSERT_EQ(chown(name("").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(statusAsNobody("a"), static_cast<int>(Status::AttributesLost));
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(get(name("a"), "security.capability"), capability) << "taken away by writing, and given back";
}

#endif

// --- Others meanwhile --------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFilePosix, Commit_FileReplacedOrRemovedMeanwhile_IsRefused)
{
    put("a", "old");
    {
        OktFileReplacement file;
        ASSERT_TRUE(file.begin(path("a")) && file.write("new", 3));
        put("b", "somebody's");
        ASSERT_EQ(rename(name("b").c_str(), name("a").c_str()), 0);
        EXPECT_FALSE(file.commit());
        EXPECT_EQ(file.refusal().status, Status::Changed);
        EXPECT_EQ(text("a"), "somebody's");
    }
    OktFileReplacement file;
    ASSERT_TRUE(file.begin(path("a")) && file.write("new", 3));
    unlink(name("a").c_str());
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.refusal().status, Status::Changed);
    EXPECT_EQ(names(), std::set<std::string>());
}

TEST_F(ReplaceFilePosix, Save_AnotherProcessSaves_IsRefused)
{
    put("a", "old");
    OktFileReplacement file;
    ASSERT_TRUE(file.begin(path("a")) && file.write("new", 3));
    EXPECT_EQ(inChild([&] { return static_cast<int>(save("a", "other").status); }), static_cast<int>(Status::InUse));
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(inChild([&] { return static_cast<int>(save("a", "other").status); }), 0);
    EXPECT_EQ(text("a"), "other");
}

TEST_F(ReplaceFilePosix, Save_PartOfALivingProcess_IsRefusedAndStays)
{
    put(".a.saving.part", "of somebody who lives");
    int const held = open(name(".a.saving.part").c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_SH), 0);
    EXPECT_EQ(save("a").status, Status::InUse);
    EXPECT_EQ(text(".a.saving.part"), "of somebody who lives");
    close(held);
    EXPECT_EQ(save("a").status, Status::Saved);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFilePosix, Save_SomethingElseHasTheNameOfThePart_IsRefusedAndLeftAlone)
{
    put("other", "precious");
    ASSERT_EQ(symlink("other", name(".a.saving.part").c_str()), 0);
    EXPECT_EQ(save("a").status, Status::Failed);
    EXPECT_EQ(text("other"), "precious");
    EXPECT_TRUE(S_ISLNK(look(".a.saving.part").st_mode));
    unlink(name(".a.saving.part").c_str());
    ASSERT_EQ(mkdir(name(".a.saving.part").c_str(), 0700), 0);
    EXPECT_EQ(save("a").status, Status::Failed);
    EXPECT_EQ(names(), (std::set<std::string>{".a.saving.part", "other"}));
}

TEST_F(ReplaceFilePosix, Save_ManyProcessesAtOnce_EachWholeOrRefused)
{
    constexpr int kSavers = 6;
    constexpr int kSaves = 10;
    constexpr int kMostTries = 100'000;
    put("a", std::string(3000, '0'));
    std::vector<pid_t> children;
    for (int saver = 1; saver <= kSavers; ++saver)
    {
        pid_t const child = fork();
        if (child == 0)
        {
            std::string const bytes(static_cast<std::size_t>(saver) * 3000, static_cast<char>('0' + saver));
            int saved = 0;
            for (int i = 0; i < kMostTries && saved < kSaves; ++i)
            {
                Status const status = save("a", bytes).status;
                if (status != Status::Saved && status != Status::InUse && status != Status::Changed)
                    _exit(100 + static_cast<int>(status));
                saved += status == Status::Saved ? 1 : 0;
                usleep(static_cast<useconds_t>(200 * saver)); // none keeps the others out for long
            }
            _exit(saved == kSaves ? 0 : 1);
        }
        children.push_back(child);
    }
    int looked = 0;
    for (pid_t const child : children)
    {
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0)
        {
            std::string const found = text("a");
            ++looked;
            ASSERT_FALSE(found.empty());
            ASSERT_EQ(found, std::string(found[0] == '0' ? 3000u : static_cast<std::size_t>(found[0] - '0') * 3000u, found[0]));
        }
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    EXPECT_GT(looked, 0);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}
