// SPDX-License-Identifier: MIT
#include <oktdatabase/oktshortage.h>

#include "support/alloccount.h"
#include "support/bytetext.h"
#include "support/reportcatcher.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <stdexcept>

TEST(Shortages, OperationWithoutMemory_IsCounted)
{
    ReportCatcher const reports;
    OKTDbPool pool;
    CString const name(u"a name that is copied, and needs memory for it");
    std::uint64_t const before = OktShortages();
    {
        AllocationFault const fault(0);
        pool.setPoolName(name);
        EXPECT_TRUE(fault.struck());
    }
    EXPECT_EQ(OktShortages(), before + 1);
    EXPECT_EQ(pool.poolName(), CString());
    pool.setPoolName(name);
    EXPECT_EQ(OktShortages(), before + 1);
}

TEST(Shortages, DamagedBytes_AreNone)
{
    ReportCatcher const reports;
    std::uint64_t const before = OktShortages();
    OKTDbPool pool;
    EXPECT_FALSE(pool.loadFiler(bytesOf("\x02\x7F\xFF\xFF\x7F no pool at all")));
    EXPECT_EQ(OktShortages(), before);
}

TEST(Shortages, WithMemory_AnswerOrBadAlloc)
{
    EXPECT_EQ(OktWithMemory([] { return 7; }), 7);
    EXPECT_THROW(OktWithMemory([]() -> int { throw std::runtime_error("another reason"); }), std::runtime_error);
    EXPECT_THROW(OktWithMemory([] {
                     OktNoteShortage();
                     return 7;
                 }),
                 std::bad_alloc);
    EXPECT_THROW(OktWithMemory([]() -> int {
                     OktNoteShortage();
                     throw std::runtime_error("a wrong reason");
                 }),
                 std::bad_alloc);
}
