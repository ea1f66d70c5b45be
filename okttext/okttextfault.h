// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Why a stream or a text was refused, and where.
struct OKTTextFault
{
    std::string reason;
    long byte = -1;  ///< in a stream; -1: not there
    long line = 0;   ///< in a text, from 1; 0: not there
    long column = 0; ///< in bytes, from 1

    /// "byte 581", "12:7", or nothing.
    std::string place() const;
};
