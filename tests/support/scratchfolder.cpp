// SPDX-License-Identifier: MIT
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder()
{
    static std::atomic<unsigned int> s_number{0};
    std::random_device random;
    for (;;)
    {
        fs::path const folder =
            fs::temp_directory_path() / ("okt-test-" + std::to_string(random()) + "-" + std::to_string(s_number++));
        if (!fs::create_directory(folder))
            continue;
        auto const text = folder.generic_u8string();
        m_folder.assign(text.begin(), text.end());
        return;
    }
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    fs::remove_all(pathOf(path("")), ignored);
}

CString ScratchFolder::path(std::string const &name) const { return CString::FromUtf8(m_folder + "/" + name); }

CString ScratchFolder::put(std::string const &name, CByteArray const &bytes) const
{
    CString const where = path(name);
    std::ofstream file(pathOf(where), std::ios::binary);
    file.write(reinterpret_cast<char const *>(bytes.GetData()), bytes.GetSize());
    EXPECT_TRUE(file.good()) << where.ToUtf8();
    return where;
}

CByteArray contentsOf(CString const &path)
{
    std::ifstream file(pathOf(path), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path.ToUtf8();
    std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    CByteArray bytes;
    bytes.SetSize(static_cast<int>(text.size()));
    for (int i = 0; i < bytes.GetSize(); ++i)
        bytes.SetAt(i, static_cast<BYTE>(text[static_cast<std::size_t>(i)]));
    return bytes;
}

bool fileExists(CString const &path) { return fs::exists(pathOf(path)); }

fs::path pathOf(CString const &path) { return pathOf(path.ToUtf8()); }

fs::path pathOf(std::string const &utf8) { return fs::path(std::u8string(utf8.begin(), utf8.end())); }
