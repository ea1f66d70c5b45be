// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <oktplatform/oktstring.h>

#include <filesystem>
#include <string>

/// A new folder for the files of one test, removed with all that lies in it.
class ScratchFolder
{
public:
    ScratchFolder();
    ScratchFolder(ScratchFolder const &) = delete;
    ScratchFolder &operator=(ScratchFolder const &) = delete;
    ~ScratchFolder();

    /// The path of a file of that name in the folder; the file is not made.
    CString path(std::string const &name) const;
    /// Makes the file, and gives its path.
    CString put(std::string const &name, CByteArray const &bytes) const;

private:
    std::string m_folder; // UTF-8
};

/// The bytes of a file, read without the library. A file that cannot be opened fails the test and gives no bytes.
CByteArray contentsOf(CString const &path);
bool fileExists(CString const &path);

/// Such a path for the standard library, which takes narrow text of its own for text of the system's code page.
std::filesystem::path pathOf(CString const &path);
std::filesystem::path pathOf(std::string const &utf8);
