// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace okt
{

/// The path of a file system path in the library's text form.
CString pathText(std::filesystem::path const &path);
/// A name in UTF-8, as arguments and texts have it, as a path.
std::filesystem::path utf8Path(std::string const &name);
/// The path as the user sees it in messages.
std::string pathName(std::filesystem::path const &path);

/// Throws Failure for a name that is not valid UTF-8: the database would open another name.
void checkFileName(std::filesystem::path const &path);

/// Why a file was not opened, in words, from the error number of the system.
std::string openFailure(int error);
/// The text of the system for an error number.
std::string systemReason(int error);

/// The length of a file that can be opened for reading; reads nothing. Throws Failure as readBytes does.
std::uintmax_t readableLength(std::filesystem::path const &path);
/// All bytes of a file. Throws Failure that names the reason: missing, a folder, not a plain file, not allowed, in use by
/// another program, too large, unreadable. An empty file gives no bytes.
CByteArray readBytes(std::filesystem::path const &path, OnProgress const &onProgress = {});
/// The same as text.
std::string readText(std::filesystem::path const &path);

/// The name that stands for standard input or output in place of a file.
inline constexpr char kStandardStream[] = "-";

/// How messages call an input that may be standard input.
std::string inputName(std::filesystem::path const &path);
/// True for standard input or a named pipe, as a shell makes for <(command). Such an input can be read only once.
bool isStream(std::filesystem::path const &path);
/// All bytes of a file or a stream. Throws Failure.
CByteArray readInput(std::filesystem::path const &path, OnProgress const &onProgress = {});

} // namespace okt
