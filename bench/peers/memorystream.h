// SPDX-License-Identifier: MIT
#pragma once

#include <streambuf>
#include <string>

/// Reads a buffer where it lies: a std::istringstream would copy it first.
class MemoryReader : public std::streambuf
{
public:
    explicit MemoryReader(std::string const &bytes)
    {
        char *const begin = const_cast<char *>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};
