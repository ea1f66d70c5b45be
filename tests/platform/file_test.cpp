// SPDX-License-Identifier: MIT
#include <oktplatform/oktfile.h>

#include "support/bytetext.h"
#include "support/printers.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#if defined(__linux__)
#include "support/diskroom.h"

#include <oktdatabase/oktmemoryfiler.h>

#include <sched.h>
#include <sys/mount.h>
#endif
#if !defined(_WIN32)
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{
constexpr UINT kCreate = CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite;
constexpr UINT kRead = CFile::modeRead | CFile::shareDenyWrite;

std::string textAt(CString const &path) { return textOf(contentsOf(path)); }

void write(CFile &file, std::string_view text) { file.Write(text.data(), static_cast<UINT>(text.size())); }

std::string read(CFile &file, UINT count)
{
    std::string text(count, '#');
    text.resize(file.Read(text.data(), count));
    return text;
}

/// The system's error number of a refused open; 0 when it was not refused.
int openError(CString const &path, UINT flags)
{
    CFile file;
    CFileException error(-1);
    bool const opened = file.Open(path, flags, &error);
    EXPECT_EQ(opened, error.m_lOsError == 0);
    return error.m_lOsError;
}

template <typename Call> int thrownError(Call call)
{
    try
    {
        call();
        return 0;
    }
    catch (CFileException const &exception)
    {
        return exception.m_lOsError;
    }
}

class File : public ::testing::Test
{
protected:
    CString put(std::string const &name, std::string_view text) { return m_folder.put(name, bytesOf(text)); }
    CString path(std::string const &name) { return m_folder.path(name); }

    ScratchFolder m_folder;
};
} // namespace

// --- Reading and writing -----------------------------------------------------------------------------------------------------

TEST_F(File, WrittenBytes_AreReadBack)
{
    CString const where = path("new");
    CFile file;
    ASSERT_TRUE(file.Open(where, kCreate));
    write(file, std::string_view("a\0b", 3));
    write(file, "");
    write(file, "cd");
    EXPECT_EQ(file.GetLength(), 5u);
    file.Close();
    ASSERT_TRUE(file.Open(where, kRead));
    EXPECT_EQ(file.GetLength(), 5u);
    EXPECT_EQ(read(file, 5), std::string("a\0bcd", 5));
    file.Close();
    file.Close(); // closed is closed
}

TEST_F(File, Read_AtTheEnd_GivesFewer)
{
    CFile file;
    ASSERT_TRUE(file.Open(put("f", "abcde"), kRead));
    EXPECT_EQ(read(file, 3), "abc");
    EXPECT_EQ(read(file, 3), "de");
    EXPECT_EQ(read(file, 3), "");
    EXPECT_EQ(read(file, 0), "");
}

TEST_F(File, Seek_FromEveryOrigin)
{
    CFile file;
    ASSERT_TRUE(file.Open(put("f", "abcde"), kRead));
    EXPECT_EQ(file.Seek(2, CFile::begin), 2u);
    EXPECT_EQ(read(file, 1), "c");
    EXPECT_EQ(file.Seek(-2, CFile::current), 1u);
    EXPECT_EQ(read(file, 1), "b");
    EXPECT_EQ(file.Seek(-1, CFile::end), 4u);
    EXPECT_EQ(read(file, 9), "e");
    EXPECT_EQ(file.Seek(100, CFile::begin), 100u);
    EXPECT_EQ(read(file, 1), "");
    EXPECT_NE(thrownError([&] { file.Seek(-1, CFile::begin); }), 0);
    EXPECT_NE(thrownError([&] { file.Seek(0, 3); }), 0);
    EXPECT_EQ(file.Seek(0, CFile::current), 100u); // a refused seek moves nothing
}

TEST_F(File, ModeCreate_CutsUnlessToldNotTo)
{
    CString const where = put("f", "old contents");
    CFile file;
    ASSERT_TRUE(file.Open(where, kCreate | CFile::modeNoTruncate));
    write(file, "OLD");
    file.Close();
    EXPECT_EQ(textAt(where), "OLD contents");
    ASSERT_TRUE(file.Open(where, kCreate));
    write(file, "new");
    file.Close();
    EXPECT_EQ(textAt(where), "new");
}

TEST_F(File, ModeWrite_NeedsTheFileAndDoesNotCut)
{
    EXPECT_EQ(openError(path("missing"), CFile::modeWrite), ENOENT);
    EXPECT_FALSE(fileExists(path("missing")));
    CString const where = put("f", "abc");
    CFile file;
    ASSERT_TRUE(file.Open(where, CFile::modeWrite));
    write(file, "X");
    EXPECT_NE(thrownError([&] { read(file, 1); }), 0); // opened for writing only
    file.Close();
    EXPECT_EQ(textAt(where), "Xbc");
}

TEST_F(File, ModeReadWrite_DoesBoth)
{
    CFile file;
    ASSERT_TRUE(file.Open(path("f"), CFile::modeCreate | CFile::modeReadWrite));
    write(file, "abc");
    file.Seek(0, CFile::begin);
    EXPECT_EQ(read(file, 9), "abc");
}

TEST_F(File, ModeRead_RefusesWrites)
{
    CString const where = put("f", "abc");
    CFile file;
    ASSERT_TRUE(file.Open(where, kRead));
    EXPECT_NE(thrownError([&] { write(file, "X"); }), 0);
    file.Close();
    EXPECT_EQ(textAt(where), "abc");
}

TEST_F(File, Destructor_Closes)
{
    CString const where = path("f");
    {
        CFile file;
        ASSERT_TRUE(file.Open(where, kCreate));
        write(file, "kept");
    }
    EXPECT_EQ(textAt(where), "kept");
    EXPECT_EQ(openError(where, kRead), 0);
}

TEST_F(File, ClosedFile_ThrowsInEveryOperation)
{
    CFile file;
    EXPECT_NE(thrownError([&] { read(file, 1); }), 0);
    EXPECT_NE(thrownError([&] { write(file, "x"); }), 0);
    EXPECT_NE(thrownError([&] { file.Seek(0, CFile::begin); }), 0);
    EXPECT_NE(thrownError([&] { file.GetLength(); }), 0);
    EXPECT_EQ(thrownError([&] { file.Close(); }), 0);
}

TEST_F(File, OpenFile_IsNotOpenedAgain)
{
    CString const where = put("f", "abc");
    CFile file;
    ASSERT_TRUE(file.Open(where, kRead));
    CFileException error;
    EXPECT_FALSE(file.Open(where, kRead, &error));
    EXPECT_NE(error.m_lOsError, 0);
    EXPECT_EQ(read(file, 9), "abc");
}

TEST_F(File, NamesInEveryScript)
{
    for (char const *const name : {"Gr\xC3\xB6\xC3\x9F"
                                   "e.okt",
                                   "\xE6\x97\xA5\xE6\x9C\xAC.okt", "\xF0\x9F\x98\x80 blank.okt"})
    {
        CFile file;
        ASSERT_TRUE(file.Open(path(name), kCreate)) << name;
        write(file, name);
        file.Close();
        EXPECT_TRUE(fileExists(path(name))) << name;
        EXPECT_EQ(textAt(path(name)), name);
    }
}

// --- Refusals ----------------------------------------------------------------------------------------------------------------

TEST_F(File, BadPaths_AreRefused)
{
    CString const where = put("f", "abc");
    EXPECT_NE(openError(u"", kRead), 0);
    EXPECT_NE(openError(u"", kCreate), 0);
    EXPECT_EQ(openError(path("missing"), kRead), ENOENT);
    EXPECT_NE(openError(path("missing/f"), kCreate), 0);
    EXPECT_NE(openError(where + u"/f", kCreate), 0);
    EXPECT_NE(openError(path(std::string(5000, 'x')), kCreate), 0);
    EXPECT_NE(openError(where + CString(&u"\0tail"[0], 5), kRead), 0); // would be another file
    constexpr char16_t kLone[] = {0xD800, 0};
    EXPECT_NE(openError(path("x") + kLone, kCreate), 0);
    EXPECT_FALSE(fileExists(path("x\xEF\xBF\xBD")));
    EXPECT_EQ(textAt(where), "abc");
}

TEST_F(File, Folder_IsRefused)
{
    CString const folder = path("");
#if defined(_WIN32)
    EXPECT_EQ(openError(folder, kRead), ERROR_ACCESS_DENIED);
#else
    EXPECT_EQ(openError(folder, kRead), EISDIR);
#endif
    EXPECT_NE(openError(folder, CFile::modeWrite), 0);
    EXPECT_NE(openError(folder, kCreate), 0);
    EXPECT_NE(openError(folder, CFile::modeReadWrite), 0);
}

TEST_F(File, Lock_OfAWriter_KeepsOutEverybodyAndTheFileWhole)
{
    CString const where = put("f", "contents");
    CFile writer;
    ASSERT_TRUE(writer.Open(where, CFile::modeWrite));
    EXPECT_NE(openError(where, kRead), 0);
    EXPECT_NE(openError(where, CFile::modeWrite), 0);
    EXPECT_NE(openError(where, kCreate), 0);
    EXPECT_NE(openError(where, CFile::modeReadWrite | CFile::shareDenyNone), 0);
    EXPECT_EQ(writer.GetLength(), 8u);
    writer.Close();
    EXPECT_EQ(textAt(where), "contents");
    EXPECT_EQ(openError(where, kRead), 0);
}

TEST_F(File, Lock_OfAReader_KeepsOutWritersAndTheFileWhole)
{
    CString const where = put("f", "contents");
    CFile reader;
    ASSERT_TRUE(reader.Open(where, kRead));
    CFile other;
    EXPECT_TRUE(other.Open(where, kRead)); // readers share
    EXPECT_NE(openError(where, CFile::modeWrite), 0);
    EXPECT_NE(openError(where, kCreate), 0);
    EXPECT_EQ(read(reader, 99), "contents");
    reader.Close();
    EXPECT_NE(openError(where, kCreate), 0);
    other.Close();
    EXPECT_EQ(textAt(where), "contents");
    EXPECT_EQ(openError(where, kCreate), 0);
}

#if !defined(_WIN32)

namespace
{
/// Runs a call in a process of its own and gives its exit code.
template <typename Call> int inChild(Call call)
{
    pid_t const child = fork();
    if (child == 0)
        _exit(call());
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

/// The open error numbers of another process.
int openErrorElsewhere(CString const &path, UINT flags)
{
    return inChild([&] {
        CFile file;
        CFileException error;
        file.Open(path, flags, &error);
        return error.m_lOsError;
    });
}
} // namespace

TEST_F(File, Lock_IsSeenByOtherProcesses)
{
    CString const where = put("f", "contents");
    CFile file;
    ASSERT_TRUE(file.Open(where, kRead));
    EXPECT_EQ(openErrorElsewhere(where, kRead), 0);
    EXPECT_EQ(openErrorElsewhere(where, kCreate), EWOULDBLOCK);
    file.Close();
    ASSERT_TRUE(file.Open(where, CFile::modeWrite));
    EXPECT_EQ(openErrorElsewhere(where, kRead), EWOULDBLOCK);
    EXPECT_EQ(openErrorElsewhere(where, kCreate), EWOULDBLOCK);
    file.Close();
    EXPECT_EQ(textAt(where), "contents");
    EXPECT_EQ(openErrorElsewhere(where, kCreate), 0);
    EXPECT_EQ(textAt(where), "");
}

TEST_F(File, WithoutPermission_IsRefused)
{
    CString const where = put("f", "contents");
    ASSERT_EQ(chmod(where.ToUtf8().c_str(), 0), 0);
    auto const asNobody = [&](UINT flags) {
        return inChild([&] {
            constexpr uid_t kNobody = 65534;
            if (geteuid() == 0 && seteuid(kNobody) != 0)
                return -1;
            CFile file;
            CFileException error;
            file.Open(where, flags, &error);
            return error.m_lOsError;
        });
    };
    EXPECT_EQ(asNobody(kRead), EACCES);
    EXPECT_EQ(asNobody(kCreate), EACCES);
    ASSERT_EQ(chmod(where.ToUtf8().c_str(), 0444), 0);
    EXPECT_EQ(asNobody(kRead), 0);
    EXPECT_EQ(asNobody(kCreate), EACCES);
    EXPECT_EQ(asNobody(CFile::modeWrite), EACCES);
    EXPECT_EQ(textAt(where), "contents");
}

TEST_F(File, FullDisk_Throws)
{
    CFile file;
    ASSERT_TRUE(file.Open(u"/dev/full", kCreate));
    EXPECT_EQ(thrownError([&] { write(file, "anything"); }), ENOSPC);
    EXPECT_EQ(thrownError([&] { file.Close(); }), 0);
}

TEST_F(File, DiskThatFillsUp_KeepsWhatWasWritten)
{
    CString const where = path("f");
    int const result = inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{1000, 1000};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 1;
        CFile file;
        if (!file.Open(where, kCreate))
            return 2;
        std::string const text(3000, 'x');
        return thrownError([&] { write(file, text); }) == EFBIG ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(textAt(where), std::string(1000, 'x'));
}

TEST_F(File, Pipes_DoNotHang)
{
    CString const where = path("pipe");
    ASSERT_EQ(mkfifo(where.ToUtf8().c_str(), 0600), 0);
    EXPECT_EQ(openError(where, kRead), EINVAL);
    EXPECT_EQ(openError(where, CFile::modeReadWrite), EINVAL);
    EXPECT_EQ(openError(where, kCreate), ENXIO); // nobody reads
    int const reader = open(where.ToUtf8().c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    {
        CFile file;
        ASSERT_TRUE(file.Open(where, kCreate));
        write(file, "through");
        char text[16] = {};
        EXPECT_EQ(::read(reader, text, sizeof text), 7);
        EXPECT_STREQ(text, "through");
    }
    close(reader);
    EXPECT_EQ(openError(u"/dev/zero", kRead), EINVAL);
}

TEST_F(File, LinkThatLeadsNowhere_IsFollowedByCreate)
{
    std::string const link = path("link").ToUtf8();
    ASSERT_EQ(symlink("target", link.c_str()), 0);
    EXPECT_EQ(openError(path("link"), kRead), ENOENT);
    CFile file;
    ASSERT_TRUE(file.Open(path("link"), kCreate));
    write(file, "there");
    file.Close();
    EXPECT_EQ(textAt(path("target")), "there");
}

TEST_F(File, Descriptor_IsNotHandedToOtherPrograms)
{
    CString const where = put("f", "abc");
    CFile file;
    ASSERT_TRUE(file.Open(where, kRead));
    DIR *const folder = opendir("/proc/self/fd");
    ASSERT_NE(folder, nullptr);
    int seen = 0;
    while (dirent const *const entry = readdir(folder))
    {
        char target[4096];
        ssize_t const length = readlinkat(dirfd(folder), entry->d_name, target, sizeof target);
        if (length < 0 || std::string(target, static_cast<std::size_t>(length)) != where.ToUtf8())
            continue;
        ++seen;
        int const flags = fcntl(std::stoi(entry->d_name), F_GETFD);
        EXPECT_NE(flags & FD_CLOEXEC, 0);
    }
    closedir(folder);
    EXPECT_EQ(seen, 1);
}

#endif

// --- Room on the disk --------------------------------------------------------------------------------------------------------

#if defined(__linux__)

namespace
{
bool openWithRoom(CString const &path, ULONGLONG room, int &error)
{
    CFile file;
    CFileException told(-1);
    bool const opened = file.OpenWithRoom(path, kCreate, room, &told);
    error = told.m_lOsError;
    return opened;
}
} // namespace

TEST_F(File, OpenWithRoom_NoRoomForAFileThatExists_RefusedAndTheFileStays)
{
    CString const path = m_folder.path("old");
    put("old", "what was there");
    for (int const refusal : {ENOSPC, EDQUOT, EFBIG})
    {
        NoDiskRoom const full(refusal);
        int error = 0;
        EXPECT_FALSE(openWithRoom(path, 1'000'000, error));
        EXPECT_EQ(error, refusal);
        EXPECT_EQ(NoDiskRoom::asked(), 1);
        EXPECT_EQ(textAt(path), "what was there");
    }
}

TEST_F(File, OpenWithRoom_SystemWithoutReservation_OpensAndCuts)
{
    CString const path = m_folder.path("old");
    for (int const refusal : {EOPNOTSUPP, ENOSYS, EINVAL, EPERM})
    {
        put("old", "what was there");
        NoDiskRoom const unknown(refusal);
        int error = -1;
        EXPECT_TRUE(openWithRoom(path, 1'000'000, error)) << refusal;
        EXPECT_EQ(error, 0);
        EXPECT_EQ(textAt(path), "");
    }
}

TEST_F(File, OpenWithRoom_NewFileOrRoomEnough_NothingIsAsked)
{
    NoDiskRoom const full(ENOSPC);
    int error = -1;
    EXPECT_TRUE(openWithRoom(m_folder.path("new"), 1'000'000, error)); // writing tells
    CString const path = m_folder.path("old");
    put("old", std::string(100'000, 'x'));
    EXPECT_TRUE(openWithRoom(path, 90'000, error));
    EXPECT_EQ(NoDiskRoom::asked(), 0);
    EXPECT_EQ(textAt(path), "");
}

TEST_F(File, OpenWithRoom_Succeeds_LengthIsZeroAndOnlyThen)
{
    CString const path = m_folder.path("old");
    put("old", "what was there");
    {
        CFile file;
        ASSERT_TRUE(file.OpenWithRoom(path, kCreate, 1'000'000));
        EXPECT_EQ(file.GetLength(), 0u);
        file.Write("new", 3);
    }
    EXPECT_EQ(textAt(path), "new");
}

// A real disk that is full: one of 64 KB in the memory of a child process, which no other process sees.
TEST_F(File, SaveFiler_FullDisk_FalseAndTheOldFileIsWhole)
{
    std::string const folder = m_folder.path("disk").ToUtf8();
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            _exit(10);
        if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 && errno != EINVAL)
            _exit(11);
        if (mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") != 0)
            _exit(12);
        CString const path = m_folder.path("disk/template.okt");
        CByteArray const good = bytesOf(std::string(20'000, 'g'));
        CByteArray large;
        large.SetSize(100'000);
        if (!OKTMemoryFiler::saveFiler(path, good))
            _exit(13);
        if (OKTMemoryFiler::saveFiler(path, large))
            _exit(14);
        if (textAt(path) != std::string(20'000, 'g'))
            _exit(15);
        CByteArray const fits = bytesOf(std::string(50'000, 'f')); // what the refused one had found is free again
        if (!OKTMemoryFiler::saveFiler(path, fits) || textAt(path) != std::string(50'000, 'f'))
            _exit(16);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

#endif
