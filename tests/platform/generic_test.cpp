// SPDX-License-Identifier: MIT
// What the back end on the standard library alone does in its own way. Built with that back end.

#include <oktplatform/oktclientmodule.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktfile.h>
#include <oktplatform/oktguid.h>

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

namespace
{
constexpr UINT kCreate = CFile::modeCreate | CFile::modeWrite;

struct GenericFile : testing::Test
{
    CString put(std::string const &name, std::string_view text)
    {
        CByteArray bytes;
        for (char const byte : text)
            bytes.Add(static_cast<BYTE>(byte));
        return m_folder.put(name, bytes);
    }
    CString path(std::string const &name) { return m_folder.path(name); }
    int errorOf(CString const &where, UINT flags, ULONGLONG room = 0)
    {
        CFile file;
        CFileException error;
        return file.OpenWithRoom(where, flags, room, &error) ? 0 : error.m_lOsError;
    }

private:
    ScratchFolder m_folder;
};
} // namespace

TEST_F(GenericFile, SecondWriterInTheProcess_IsRefused)
{
    CString const where = put("f", "contents");
    CFile writer;
    ASSERT_TRUE(writer.Open(where, CFile::modeWrite));
    EXPECT_EQ(errorOf(where, CFile::modeRead), EWOULDBLOCK);
    EXPECT_EQ(errorOf(where, kCreate), EWOULDBLOCK);
    writer.Close();
    EXPECT_EQ(errorOf(where, CFile::modeRead), 0);
}

TEST_F(GenericFile, OtherNameOfALockedFile_IsRefused)
{
    CString const where = put("f", "contents");
    CString const link = path("link");
    CString const hard = path("hard");
    std::filesystem::create_symlink(where.ToUtf8(), link.ToUtf8());
    std::filesystem::create_hard_link(where.ToUtf8(), hard.ToUtf8());
    CFile reader;
    ASSERT_TRUE(reader.Open(where, CFile::modeRead));
    EXPECT_EQ(errorOf(link, kCreate), EWOULDBLOCK);
    EXPECT_EQ(errorOf(hard, CFile::modeWrite), EWOULDBLOCK);
    EXPECT_EQ(errorOf(link, CFile::modeRead), 0);
}

TEST_F(GenericFile, NoRoomOnTheDisk_IsRefusedAndTheFileKept)
{
    CString const where = put("f", "contents");
    EXPECT_EQ(errorOf(where, kCreate, ULONGLONG(1) << 60), ENOSPC);
    EXPECT_EQ(std::filesystem::file_size(where.ToUtf8()), 8u);
}

TEST_F(GenericFile, ReadAfterWrite_WithoutSeek_GoesOnBehind)
{
    CString const where = put("f", "abcdef");
    CFile file;
    ASSERT_TRUE(file.Open(where, CFile::modeReadWrite));
    file.Write("XY", 2);
    char two[2] = {};
    EXPECT_EQ(file.Read(two, 2), 2u);
    EXPECT_EQ(std::string(two, 2), "cd");
    file.Write("Z", 1);
    file.Close();
    EXPECT_EQ(std::string(reinterpret_cast<char const *>(contentsOf(where).GetData()), 6), "XYcdZf");
}

TEST(GenericCodePages, OthersThanWindows1252AndUtf8_AreUnknown)
{
    char bytes[8] = {};
    EXPECT_EQ(OktToMultiByte(932, u"a", 1, bytes, 8), 0);
    WCHAR units[8] = {};
    EXPECT_EQ(OktToWideChar(1250, "a", 1, units, 8), 0);
    EXPECT_EQ(OktToWideChar(1252, "\x80", 1, units, 8), 1);
    EXPECT_EQ(units[0], 0x20AC);
    OktSetThreadCodePage(932);
    EXPECT_EQ(OktThreadCodePage(), 1252u);
}

TEST(GenericModules, AnyModule_IsRefusedWithTheReason)
{
    CString reason;
    bool isNew = true;
    EXPECT_FALSE(OktLoadModule(u"./libany.so", reason, &isNew));
    EXPECT_EQ(reason.ToUtf8(), "this build of the library cannot load modules");
    EXPECT_FALSE(isNew);
}

TEST(GenericLiterals, Literal_IsCopied)
{
    CString const text = u"text";
    EXPECT_EQ(text.Literal(), nullptr);
    EXPECT_EQ(text.ToUtf8(), "text");
}
