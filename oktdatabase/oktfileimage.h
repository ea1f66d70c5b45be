// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>

/// While one lives, the image of a pool is that of a file and not a copy in memory. Not installed.
class OktFileImage
{
public:
    explicit OktFileImage(OKTDbPool &pool) : m_flag(pool.m_bFileScope) { m_flag = true; }
    OktFileImage(OktFileImage const &) = delete;
    OktFileImage &operator=(OktFileImage const &) = delete;
    ~OktFileImage() { m_flag = false; }

private:
    bool &m_flag;
};
