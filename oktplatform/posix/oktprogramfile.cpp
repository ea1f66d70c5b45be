// SPDX-License-Identifier: MIT
#include <oktplatform/oktprogram.h>

#include <filesystem>
#include <system_error>

CString OktProgramFile()
{
    std::error_code error;
    std::filesystem::path const file = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? CString() : CString::FromUtf8(file.native());
}
