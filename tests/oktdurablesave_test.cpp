// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdurablesave.h>

#include "support/allclasses.h"
#include "support/expectedleak.h"
#include "support/hexbytes.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// Pools that are saved durably. How a file is put in place is tested in platform/replacefile_test.cpp.

namespace
{
namespace fs = std::filesystem;
using Status = OktSaveStatus;

class OktDurableSave : public testing::Test
{
protected:
    CString path() const { return m_folder.path("pool.okt"); }
    std::ptrdiff_t filesInFolder() const
    {
        return std::distance(fs::directory_iterator(pathOf(m_folder.path(""))), fs::directory_iterator());
    }

    ScratchFolder m_folder;
};
} // namespace

TEST_F(OktDurableSave, Save_PoolOfEveryClass_TheBytesOfWriteFile)
{
    AllClassesPool source(PoolSize::Small); // its factor is 1000
    CString const plain = m_folder.path("plain.okt");
    ASSERT_TRUE(source.pool().writeFile(plain));
    OktSaveRefusal why = {Status::Failed, 7};
    EXPECT_EQ(OktSaveDurably(source.pool(), path(), &why), Status::Saved);
    EXPECT_EQ(why.status, Status::Saved);
    EXPECT_EQ(why.systemError, 0);
    EXPECT_EQ(contentsOf(path()), contentsOf(plain));
    EXPECT_EQ(source.pool().metricsFactor(), 1000.0);
    EXPECT_EQ(imageOf(source.pool()), source.image());
    // Over itself, and once more into the same bytes.
    EXPECT_EQ(OktSaveDurably(source.pool(), path()), Status::Saved);
    EXPECT_EQ(contentsOf(path()), contentsOf(plain));
    EXPECT_EQ(filesInFolder(), 2);
}

TEST_F(OktDurableSave, MakeFileImage_TheBytesOfWriteFile)
{
    AllClassesPool source(PoolSize::Small);
    ASSERT_TRUE(source.pool().writeFile(path()));
    CByteArray image = hex("01 02");
    EXPECT_TRUE(OktMakeFileImage(source.pool(), image));
    EXPECT_EQ(image, contentsOf(path()));
    EXPECT_NE(image, source.image()); // which says the factor 1000
}

TEST_F(OktDurableSave, ReadFileImage_AsReadFile_KeepsTheFactorAndConverts)
{
    AllClassesPool source(PoolSize::Small);
    CByteArray image;
    ASSERT_TRUE(OktMakeFileImage(source.pool(), image));
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    EXPECT_TRUE(OktReadFileImage(pool, image));
    EXPECT_EQ(pool.metricsFactor(), 1000.0);
    EXPECT_EQ(pool.objectCount(), source.pool().objectCount());
    CByteArray again;
    ASSERT_TRUE(OktMakeFileImage(pool, again));
    EXPECT_EQ(again, image);
    image.SetSize(image.GetSize() / 2);
    OKTDbPool other;
    ExpectedLeak const lostObject; // quirk 18
    EXPECT_FALSE(OktReadFileImage(other, image));
}

TEST_F(OktDurableSave, Save_Bytes_AreTheFile)
{
    EXPECT_EQ(OktSaveDurably(hex("01 02 03"), path()), Status::Saved);
    EXPECT_EQ(contentsOf(path()), hex("01 02 03"));
    EXPECT_EQ(OktSaveDurably(CByteArray(), path()), Status::Saved);
    EXPECT_EQ(contentsOf(path()), CByteArray());
    EXPECT_EQ(OktSaveDurably("xyz", 2, path()), Status::Saved);
    EXPECT_EQ(contentsOf(path()), hex("78 79"));
}

TEST_F(OktDurableSave, Save_PoolThatMakesNoImage_IsRefusedAndTheFileStays)
{
    m_folder.put("pool.okt", hex("01 02 03"));
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    object->m_refuseXmlOut = true;
    OktSaveRefusal why;
    EXPECT_EQ(OktSaveDurably(pool, path(), &why), Status::NoImage);
    EXPECT_EQ(why.status, Status::NoImage);
    EXPECT_EQ(contentsOf(path()), hex("01 02 03"));
    EXPECT_EQ(filesInFolder(), 1);
    CByteArray image = hex("01");
    EXPECT_FALSE(OktMakeFileImage(pool, image));
    EXPECT_TRUE(image.IsEmpty());
}

TEST_F(OktDurableSave, Save_MoreThanAPoolFileCanHold_IsRefusedUnread)
{
    OktSaveRefusal why;
    EXPECT_EQ(OktSaveDurably(nullptr, 2'147'483'648u, path(), &why), Status::TooLarge);
    EXPECT_EQ(why.status, Status::TooLarge);
    EXPECT_EQ(filesInFolder(), 0);
}

TEST_F(OktDurableSave, Save_NoPath_IsRefused)
{
    OKTDbPool pool;
    EXPECT_EQ(OktSaveDurably(pool, CString()), Status::NoPath);
    EXPECT_EQ(OktSaveDurably(hex("01"), CString()), Status::NoPath);
}

TEST_F(OktDurableSave, Save_LockedFile_IsRefusedAsByWriteFile)
{
    OKTDbPool pool;
    ASSERT_TRUE(pool.writeFile(path()));
    CByteArray const before = contentsOf(path());
    pool.setPoolName(u"another");
    {
        CFile held;
        ASSERT_TRUE(held.Open(path(), CFile::modeRead | CFile::shareExclusive));
        EXPECT_FALSE(pool.writeFile(path()));
        EXPECT_EQ(OktSaveDurably(pool, path()), Status::InUse);
    }
    EXPECT_EQ(contentsOf(path()), before);
    EXPECT_EQ(OktSaveDurably(pool, path()), Status::Saved);
    OKTDbPool back;
    EXPECT_TRUE(back.readFile(path()));
    EXPECT_EQ(back.poolName(), CString(u"another"));
}
