// SPDX-License-Identifier: MIT
#include <oktplatform/oktprogram.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace
{
std::filesystem::path pathOf(CString const &text)
{
    std::string const utf8 = text.ToUtf8();
    return {std::u8string(utf8.begin(), utf8.end())};
}
} // namespace

CString OktEnvironmentVariable(CString const &name)
{
    char const *const value = std::getenv(name.ToUtf8().c_str());
    return value == nullptr ? CString() : CString::FromUtf8(value);
}

char OktListSeparator() { return ':'; }

CString OktLibraryEnding() { return L".so"; }

bool OktIsWritableByAll(CString const &path)
{
    using std::filesystem::perms;
    std::error_code error;
    std::filesystem::file_status const status = std::filesystem::status(pathOf(path), error);
    return !error && (status.permissions() & perms::others_write) != perms::none;
}

bool OktIsFileInUse(int systemError)
{
    std::error_code const code(systemError, std::system_category());
    return code == std::errc::operation_would_block || code == std::errc::resource_unavailable_try_again ||
           code == std::errc::text_file_busy;
}
