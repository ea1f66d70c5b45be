// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>

#include <gtest/gtest.h>

/// The image of a pool, which can be saved.
inline CByteArray imageOf(OKTDbPool const &pool)
{
    CByteArray image;
    IdMap translated;
    EXPECT_TRUE(pool.saveFiler(image, translated));
    return image;
}
