// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>

TEST(Version, OfTheLibraryThatRuns) { EXPECT_STREQ(oktVersion(), "10.0.0"); }

TEST(Version, IsTheSameTextEachTime) { EXPECT_EQ(static_cast<void const *>(oktVersion()), oktVersion()); }
