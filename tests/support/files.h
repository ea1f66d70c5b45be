// SPDX-License-Identifier: MIT
#pragma once

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// The path of a golden pool file.
inline std::string golden(std::string const &name) { return OKT_TEST_DATA_DIR "/golden/" + name; }

#if defined(OKT_OWN_MODULES)
/// The example's client module where okt finds it without being told.
inline std::string ownModule()
{
    return std::filesystem::absolute(OKT_OWN_MODULES "/" OKT_EXAMPLE_MODULE_NAME).lexically_normal().generic_string();
}
#endif

inline std::string contents(std::filesystem::path const &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A test with files of its own in a folder that goes with it.
class FolderTest : public testing::Test
{
protected:
    std::string path(std::string const &name) const { return m_folder.path(name).ToUtf8(); }

    /// Writes a file and gives its path.
    std::string put(std::string const &name, CByteArray const &bytes) const { return m_folder.put(name, bytes).ToUtf8(); }
    std::string put(std::string const &name, std::string const &bytes) const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    ScratchFolder m_folder;
};
