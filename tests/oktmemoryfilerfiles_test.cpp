// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmemoryfiler.h>

#include <oktplatform/oktfile.h>

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <climits>

#if !defined(_WIN32)
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#endif

// Buffers to and from files: the two static operations of the binary filer. Neither shows a report, whatever the file does.

namespace
{
class MemoryFilerFiles : public testing::Test
{
protected:
    ~MemoryFilerFiles() override { EXPECT_EQ(m_reports.count(), 0u); }

    bool save(CString const &path, CByteArray const &bytes) { return OKTMemoryFiler::saveFiler(path, bytes); }

    /// Reads into an array that held something else before.
    bool load(CString const &path, long position, long size)
    {
        m_read = hex("AA BB CC DD");
        return OKTMemoryFiler::loadFiler(path, m_read, position, size);
    }
    void expectLoad(CString const &path, long position, long size, CByteArray const &expected)
    {
        EXPECT_TRUE(load(path, position, size)) << position << ", " << size;
        EXPECT_EQ(m_read, expected) << position << ", " << size;
    }
    void expectRefused(CString const &path, long position, long size)
    {
        EXPECT_FALSE(load(path, position, size)) << position << ", " << size;
        EXPECT_TRUE(m_read.IsEmpty()) << position << ", " << size;
    }

    ScratchFolder m_folder;
    CByteArray m_read;
    CByteArray const m_ten = hex("00 01 02 03 04 05 06 07 08 09");

private:
    ReportCatcher const m_reports;
};
} // namespace

// --- Saving ------------------------------------------------------------------------------------------------------------------

TEST_F(MemoryFilerFiles, Save_NewFile_HoldsTheBytes)
{
    CString const path = m_folder.path("new.okt");
    EXPECT_TRUE(save(path, m_ten));
    EXPECT_EQ(contentsOf(path), m_ten);
}

TEST_F(MemoryFilerFiles, Save_LongerFileThere_CutToTheNewBytes)
{
    CString const path = m_folder.put("old.okt", hex("FF FF FF FF FF FF FF FF FF FF FF FF"));
    EXPECT_TRUE(save(path, m_ten));
    EXPECT_EQ(contentsOf(path), m_ten);
}

TEST_F(MemoryFilerFiles, Save_NoBytes_EmptyFile)
{
    CString const path = m_folder.put("old.okt", hex("FF FF"));
    EXPECT_TRUE(save(path, CByteArray()));
    EXPECT_TRUE(fileExists(path));
    EXPECT_TRUE(contentsOf(path).IsEmpty());
}

TEST_F(MemoryFilerFiles, Save_LargeArray_WrittenInFull)
{
    CByteArray large;
    large.SetSize(3000000);
    for (int i = 0; i < large.GetSize(); ++i)
        large.GetData()[i] = static_cast<BYTE>(i * 7 / 3);
    CString const path = m_folder.path("large.okt");
    EXPECT_TRUE(save(path, large));
    expectLoad(path, -1, -1, large);
}

TEST_F(MemoryFilerFiles, Save_NameBeyondAscii_FileOfThatName)
{
    CString const path = m_folder.path("Bügel Ø10 鉄筋 😀.okt");
    EXPECT_TRUE(save(path, m_ten));
    EXPECT_EQ(contentsOf(path), m_ten);
    expectLoad(path, 8, -1, hex("08 09"));
}

TEST_F(MemoryFilerFiles, Save_MissingFolder_False)
{
    EXPECT_FALSE(save(m_folder.path("missing/new.okt"), m_ten));
    EXPECT_FALSE(fileExists(m_folder.path("missing")));
}

TEST_F(MemoryFilerFiles, Save_PathIsAFolder_False) { EXPECT_FALSE(save(m_folder.path(""), m_ten)); }

TEST_F(MemoryFilerFiles, Save_EmptyPath_False) { EXPECT_FALSE(save(CString(), m_ten)); }

TEST_F(MemoryFilerFiles, Save_ReaderHoldsTheFile_FalseAndTheFileIsWhole)
{
    CString const path = m_folder.put("held.okt", m_ten);
    CFile reader;
    ASSERT_TRUE(reader.Open(path, CFile::modeRead | CFile::shareDenyWrite));
    EXPECT_FALSE(save(path, hex("FF")));
    EXPECT_EQ(contentsOf(path), m_ten);
    reader.Close();
    EXPECT_TRUE(save(path, hex("FF")));
    EXPECT_EQ(contentsOf(path), hex("FF"));
}

TEST_F(MemoryFilerFiles, Save_WriterHoldsTheFile_FalseAndTheFileIsWhole)
{
    CString const path = m_folder.path("held.okt");
    CFile writer;
    ASSERT_TRUE(writer.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite));
    writer.Write(m_ten.GetData(), 10);
    EXPECT_FALSE(save(path, hex("FF")));
    writer.Close();
    EXPECT_EQ(contentsOf(path), m_ten);
}

TEST_F(MemoryFilerFiles, Save_Done_LeavesTheFileOpenToOthers)
{
    CString const path = m_folder.path("free.okt");
    EXPECT_TRUE(save(path, m_ten));
    CFile writer;
    EXPECT_TRUE(writer.Open(path, CFile::modeWrite | CFile::shareExclusive));
}

#if defined(__linux__)
TEST_F(MemoryFilerFiles, Save_FullDisk_False) { EXPECT_FALSE(save(u"/dev/full", m_ten)); }

TEST_F(MemoryFilerFiles, Save_DiskFullInTheMiddle_FalseAndThePartStays)
{
    CByteArray large;
    large.SetSize(5000);
    CString const path = m_folder.path("cut.okt");

    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    auto *const handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = before;
    limit.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    bool const saved = save(path, large);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_FALSE(saved);
    EXPECT_EQ(contentsOf(path).GetSize(), 1000);
    CFile other;
    EXPECT_TRUE(other.Open(path, CFile::modeWrite | CFile::shareExclusive)); // closed and unlocked all the same
}
#endif

// --- Loading -----------------------------------------------------------------------------------------------------------------

TEST_F(MemoryFilerFiles, Load_Stretches_TheBytesAskedFor)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectLoad(path, 0, 10, m_ten);
    expectLoad(path, 0, 1, hex("00"));
    expectLoad(path, 9, 1, hex("09"));
    expectLoad(path, 4, 3, hex("04 05 06"));
    expectLoad(path, 4, 6, hex("04 05 06 07 08 09"));
    expectLoad(path, 4, 0, CByteArray());
}

TEST_F(MemoryFilerFiles, Load_NegativeSize_ToTheEndOfTheFile)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectLoad(path, 4, -1, hex("04 05 06 07 08 09"));
    expectLoad(path, 9, -100, hex("09"));
    expectLoad(path, 0, LONG_MIN, m_ten);
}

TEST_F(MemoryFilerFiles, Load_NegativePosition_FromTheStart)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectLoad(path, -1, -1, m_ten);
    expectLoad(path, -5, 3, hex("00 01 02"));
    expectLoad(path, LONG_MIN, 10, m_ten);
}

TEST_F(MemoryFilerFiles, Load_PositionAtOrPastTheEnd_FalseAndEmpty)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectRefused(path, 10, -1);
    expectRefused(path, 10, 0);
    expectRefused(path, 11, 1);
    expectRefused(path, INT_MAX, -1);
    expectRefused(path, LONG_MAX, LONG_MAX);
}

TEST_F(MemoryFilerFiles, Load_StretchPastTheEnd_FalseAndEmpty)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectRefused(path, 0, 11);
    expectRefused(path, 4, 7);
    expectRefused(path, 9, 2);
    expectRefused(path, 4, INT_MAX);
    expectRefused(path, 4, LONG_MAX);
}

#if LONG_MAX > 2147483647L
TEST_F(MemoryFilerFiles, Load_NumbersBeyond32Bits_NotTakenForTheirLowHalf)
{
    CString const path = m_folder.put("ten.okt", m_ten);
    expectRefused(path, 0, 4294967297L);
    expectRefused(path, 4294967296L, 1);
    expectRefused(path, 4294967296L, -1);
}
#endif

TEST_F(MemoryFilerFiles, Load_EmptyFile_FalseAndEmpty)
{
    CString const path = m_folder.put("empty.okt", CByteArray());
    expectRefused(path, -1, -1);
    expectRefused(path, 0, 0);
}

TEST_F(MemoryFilerFiles, Load_NoSuchFileOrAFolderOrNoPath_FalseAndEmpty)
{
    expectRefused(m_folder.path("missing.okt"), -1, -1);
    EXPECT_FALSE(fileExists(m_folder.path("missing.okt")));
    expectRefused(m_folder.path(""), -1, -1);
    expectRefused(CString(), -1, -1);
}

TEST_F(MemoryFilerFiles, Load_OtherReadersHoldTheFile_Shared)
{
    CString const path = m_folder.put("shared.okt", m_ten);
    CFile reader;
    ASSERT_TRUE(reader.Open(path, CFile::modeRead | CFile::shareDenyWrite));
    expectLoad(path, -1, -1, m_ten);
}

TEST_F(MemoryFilerFiles, Load_WriterHoldsTheFile_FalseAndEmpty)
{
    CString const path = m_folder.put("held.okt", m_ten);
    CFile writer;
    ASSERT_TRUE(writer.Open(path, CFile::modeWrite | CFile::shareDenyWrite));
    expectRefused(path, -1, -1);
    writer.Close();
    expectLoad(path, -1, -1, m_ten);
}

TEST_F(MemoryFilerFiles, Load_DoneOrRefused_LeavesTheFileOpenToWriters)
{
    CString const path = m_folder.put("free.okt", m_ten);
    EXPECT_TRUE(load(path, 0, 10));
    EXPECT_FALSE(load(path, 10, 1));
    CFile writer;
    EXPECT_TRUE(writer.Open(path, CFile::modeWrite | CFile::shareDenyWrite));
}

#if !defined(_WIN32)
TEST_F(MemoryFilerFiles, Load_FileOfTwoGigabytes_FalseAndEmptyWithoutReadingIt)
{
    CString const path = m_folder.put("large.okt", m_ten);
    std::filesystem::resize_file(pathOf(path), 0x80000000u); // a hole takes no room
    expectRefused(path, -1, -1);
}
#endif

TEST_F(MemoryFilerFiles, SaveAndLoad_WhatAFilerWrote_ReadsBack)
{
    OKTMemoryFiler writing;
    writing.writeString(u"s", u"Ø10");
    writing.endWriteClass();
    CString const path = m_folder.path("filer.okt");
    EXPECT_TRUE(save(path, written(writing)));
    EXPECT_TRUE(load(path, -1, -1));
    OKTMemoryFiler reading;
    EXPECT_TRUE(reading.loadFiler(m_read));
    CString text;
    EXPECT_TRUE(reading.readString(u"s", text));
    EXPECT_EQ(text, CString(u"Ø10"));
}
