// SPDX-License-Identifier: MIT
#include "support/iocount.h"
#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>

// What a partial reader reads of a large file: the first 1024 bytes, the header, and the stretches of the wanted objects. Counted
// by the books of the system, which Linux has, or on the way to it.

#if defined(__linux__) || defined(_WIN32)

namespace
{
constexpr int kBallast = 560;
constexpr int kBallastUnits = 60'000; // of 2 bytes each in the file

/// A file of 64 MB: ballast, an index and two pictures. Any object can have the role of the index.
class OKTDbPoolPartialCost : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_folder = new ScratchFolder;
        OKTDbPool pool;
        CString const ballast = CString::FromUtf8(std::string(kBallastUnits, 'x'));
        for (int i = 0; i < kBallast; ++i)
        {
            auto *const parameter = new OKTDbParameter;
            ASSERT_TRUE(pool.appendObject(parameter));
            parameter->setDescription(ballast);
        }
        auto *const index = new OKTDbRelation;
        ASSERT_TRUE(pool.appendObject(index));
        pool.setIndexId(index->objectId());
        CByteArray image;
        for (int const size : {300, 90'000})
        {
            auto *const picture = new OKTDbPicture;
            image.SetSize(size);
            ASSERT_TRUE(pool.appendObject(picture));
            picture->setPictureData(image);
        }
        ASSERT_TRUE(pool.writeFile(path()));
    }

    static void TearDownTestSuite()
    {
        delete s_folder;
        s_folder = nullptr;
    }

    static CString path() { return s_folder->path("large.okt"); }

    static inline ScratchFolder *s_folder = nullptr;
};
} // namespace

// The header block: 444 bytes without a name and pictures, and 58 for each picture.
constexpr int kHeaderSize = 560;

TEST_F(OKTDbPoolPartialCost, ReadFileHeader_LargeFile_1024BytesAndTheHeader)
{
    OKTDbPool pool;
    InfoMap info;
    ReadCount const count;
    ASSERT_TRUE(count.isCounting());
    bool const read = pool.readFileHeader(path(), info);
    ReadCount::Reads const reads = count.reads();
    EXPECT_TRUE(read);
    EXPECT_EQ(reads.bytes, 1024 + kHeaderSize);
    EXPECT_EQ(reads.calls, 2);
}

TEST_F(OKTDbPoolPartialCost, ReadIndex_LargeFile_TheHeaderAndTheIndex)
{
    OKTDbPool pool;
    ReadCount const count;
    ASSERT_TRUE(count.isCounting());
    bool const read = pool.readIndex(path());
    ReadCount::Reads const reads = count.reads();
    EXPECT_TRUE(read);
    EXPECT_NE(OKTDbRelation::cast(pool.indexId()), nullptr);
    EXPECT_EQ(reads.bytes, 1024 + kHeaderSize + 106);
    EXPECT_EQ(reads.calls, 3);
}

TEST_F(OKTDbPoolPartialCost, ReadFilePicture_LargeFile_TheHeaderAndThePictures)
{
    OKTDbPool pool;
    ReadCount const count;
    ASSERT_TRUE(count.isCounting());
    bool const read = pool.readFilePicture(path());
    ReadCount::Reads const reads = count.reads();
    EXPECT_TRUE(read);
    EXPECT_EQ(pool.objectCount(), 2);
    // Frames of 283 bytes and the base64 text: 400 bytes of it, and 120,000 in two chunks.
    EXPECT_EQ(reads.bytes, 1024 + kHeaderSize + 683 + 120'286);
    EXPECT_EQ(reads.calls, 4);
}

TEST_F(OKTDbPoolPartialCost, ReadFile_LargeFile_AllOfIt)
{
    OKTDbPool pool;
    ReadCount const count;
    ASSERT_TRUE(count.isCounting());
    bool const read = pool.readFile(path());
    ReadCount::Reads const reads = count.reads();
    EXPECT_TRUE(read);
    EXPECT_EQ(pool.objectCount(), kBallast + 3);
    EXPECT_GT(reads.bytes, 64'000'000);
    EXPECT_EQ(reads.bytes, contentsOf(path()).GetSize()); // each byte once
    EXPECT_LT(reads.calls, 700);                          // a window of 256 KB has one or two of these objects
}

#endif
