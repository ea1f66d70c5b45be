// SPDX-License-Identifier: MIT
#include <oktdatabase/oktsmartansistring.h>

#include "support/hexbytes.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <memory>

// The scope guard of the 8-bit string mode.

TEST(OKTSmartAnsiString, Guard_OfAWideFiler_AnsiInsideAndWideBehind)
{
    OKTMemoryFiler filer;
    {
        OKTSmartAnsiString const guard(&filer, true);
        EXPECT_TRUE(filer.getIsAnsiString());
    }
    EXPECT_FALSE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Guard_OfAnAnsiFiler_PutsAnsiBack)
{
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    {
        OKTSmartAnsiString const guard(&filer, false);
        EXPECT_FALSE(filer.getIsAnsiString());
    }
    EXPECT_TRUE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Guard_ModeChangedInside_PutsTheEarlierModeBack)
{
    OKTMemoryFiler filer;
    {
        OKTSmartAnsiString const guard(&filer, false);
        filer.setIsAnsiString(true);
    }
    EXPECT_FALSE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Guards_Nested_RestoreInReverseOrder)
{
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    {
        OKTSmartAnsiString const outer(&filer, false);
        {
            OKTSmartAnsiString const middle(&filer, true);
            {
                OKTSmartAnsiString const inner(&filer, true);
                EXPECT_TRUE(filer.getIsAnsiString());
            }
            EXPECT_TRUE(filer.getIsAnsiString());
        }
        EXPECT_FALSE(filer.getIsAnsiString());
    }
    EXPECT_TRUE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Guard_NullFiler_DoesNothing)
{
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    {
        OKTSmartAnsiString guard(nullptr, true);
        OKTSmartAnsiString const copy(guard);
        OKTSmartAnsiString const ofFiler(&filer, false);
        guard = ofFiler;
        guard = copy;
    }
    EXPECT_TRUE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Copy_OfAGuard_RestoresASecondTime)
{
    OKTMemoryFiler filer;
    auto guard = std::make_unique<OKTSmartAnsiString>(&filer, true);
    auto copy = std::make_unique<OKTSmartAnsiString>(*guard);
    EXPECT_TRUE(filer.getIsAnsiString());
    guard.reset();
    EXPECT_FALSE(filer.getIsAnsiString());
    filer.setIsAnsiString(true);
    copy.reset();
    EXPECT_FALSE(filer.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Assign_FromAnotherGuard_RestoresTheOthersFilerAndMode)
{
    OKTMemoryFiler first;
    OKTMemoryFiler second;
    second.setIsAnsiString(true);
    {
        OKTSmartAnsiString const ofSecond(&second, false);
        OKTSmartAnsiString ofFirst(&first, true);
        ofFirst = ofSecond;
    } // both restore the second filer, none the first
    EXPECT_TRUE(first.getIsAnsiString());
    EXPECT_TRUE(second.getIsAnsiString());
}

TEST(OKTSmartAnsiString, Guard_AroundAString_OnlyThatOneIsAnEightBitRecord)
{
    OKTMemoryFiler filer;
    filer.writeString(u"before", u"A");
    {
        OKTSmartAnsiString const guard(&filer, true);
        filer.writeString(u"inside", u"A");
    }
    filer.writeString(u"behind", u"A");
    EXPECT_EQ(written(filer), hex("04 01 00 41 00 05 01 00 41 04 01 00 41 00"));
}
