// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include <filesystem>
#include <random>
#include <string>

/// The name of a file of this process, in memory where the system has such a place: disks are not what is measured. What is there
/// in the end is removed.
class SampleFile
{
public:
    SampleFile()
    {
        std::filesystem::path const memory = "/dev/shm";
        std::filesystem::path const base =
            std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        m_path = base / ("okt-bench-" + std::to_string(std::random_device()()) + ".okt");
    }
    SampleFile(SampleFile const &) = delete;
    SampleFile &operator=(SampleFile const &) = delete;
    ~SampleFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    CString path() const { return CString::FromUtf8(m_path.string()); }
    std::string name() const { return m_path.string(); }
    double size() const { return static_cast<double>(std::filesystem::file_size(m_path)); }

private:
    std::filesystem::path m_path;
};
