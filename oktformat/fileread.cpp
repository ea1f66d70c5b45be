// SPDX-License-Identifier: MIT
#include <oktformat/fileread.h>

#include <oktformat/failure.h>
#include <oktformat/text.h>

#include <oktplatform/oktprogram.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

// Positions in a pool file are signed 32-bit numbers.
constexpr std::uintmax_t kLargestFile = 0x7FFFFFFF;

/// Opens a plain file for reading and gives its length.
std::uintmax_t openedLength(fs::path const &path, CFile &file)
{
    std::string const name = pathName(path);
    std::error_code error;
    fs::file_status const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        throw Failure(name, "", "there is no such file");
    checkFileName(path);
    if (error)
        throw Failure(name, "", "the file cannot be reached: " + error.message());
    if (fs::is_directory(status))
        throw Failure(name, "", "this is a folder, not a file");
    // A pipe or a device may have no end and no length.
    if (!fs::is_regular_file(status))
        throw Failure(name, "", "this is no plain file");
    CFileException refused;
    if (!file.Open(pathText(path), CFile::modeRead | CFile::shareDenyWrite, &refused))
        throw Failure(name, "", openFailure(refused.m_lOsError));
    try
    {
        std::uintmax_t const length = file.GetLength();
        if (length > kLargestFile)
            throw Failure(name, "", "the file is larger than 2147483647 bytes");
        return length;
    }
    catch (CFileException const &exception)
    {
        throw Failure(name, "", "the file cannot be read: " + systemReason(exception.m_lOsError));
    }
}

/// Fills `bytes` and returns how many bytes the file had.
std::uintmax_t readAll(CFile &file, CByteArray &bytes, std::string const &name, OnProgress const &onProgress)
{
    constexpr UINT kPiece = 1 << 24;
    auto const length = static_cast<UINT>(bytes.GetSize());
    ProgressStep progress(onProgress, printable(name), length);
    UINT count = 0;
    while (count < length)
    {
        UINT const piece = file.Read(bytes.GetData() + count, std::min(kPiece, length - count));
        if (piece == 0)
            break;
        count += piece;
        progress.at(count);
    }
    return count;
}

constexpr int kLargestInput = 0x7FFFFFFF;

/// Fills a piece with the next bytes. A smaller count than the piece has means the end. Throws Failure.
using ReadPiece = std::function<std::size_t(char *piece, std::size_t count)>;

CByteArray readToEnd(std::string const &name, ReadPiece const &read, OnProgress const &onProgress)
{
    constexpr int kPiece = 1 << 16;
    CByteArray bytes;
    bytes.SetSize(0, 1 << 20);
    ProgressStep progress(onProgress, printable(name), 0);
    for (;;)
    {
        progress.at(static_cast<std::uintmax_t>(bytes.GetSize()));
        int const before = bytes.GetSize();
        if (before > kLargestInput - kPiece)
            throw Failure(name, "", "it is larger than 2147483647 bytes");
        std::size_t const count = read(reinterpret_cast<char *>(bytes.Extend(kPiece)), kPiece);
        bytes.SetSize(before + static_cast<int>(count));
        if (count < kPiece)
            return bytes;
    }
}

CByteArray readStandardInput(OnProgress const &onProgress)
{
    std::string const name = inputName(kStandardStream);
    return readToEnd(
        name,
        [&name](char *piece, std::size_t size) {
            errno = 0;
            std::size_t const count = std::fread(piece, 1, size, stdin);
            if (std::ferror(stdin) != 0)
                throw Failure(name, "", "it cannot be read: " + systemReason(errno));
            return count;
        },
        onProgress);
}

CByteArray readPipe(fs::path const &path, OnProgress const &onProgress)
{
    std::string const name = pathName(path);
    errno = 0;
    std::ifstream pipe(path, std::ios::binary);
    if (!pipe)
        throw Failure(name, "", "the file cannot be opened: " + systemReason(errno));
    return readToEnd(
        name,
        [&](char *piece, std::size_t size) {
            try
            {
                errno = 0;
                return static_cast<std::size_t>(pipe.rdbuf()->sgetn(piece, static_cast<std::streamsize>(size)));
            }
            catch (std::ios_base::failure const &)
            {
                throw Failure(name, "", "the file cannot be read: " + systemReason(errno));
            }
        },
        onProgress);
}

CByteArray readStream(fs::path const &path, OnProgress const &onProgress)
{
    return path == kStandardStream ? readStandardInput(onProgress) : readPipe(path, onProgress);
}

} // namespace

std::string openFailure(int error)
{
    return OktIsFileInUse(error) ? "the file is locked by another program"
                                 : "the file cannot be opened: " + systemReason(error);
}

void checkFileName(fs::path const &path)
{
    if (utf8Path(pathText(path).ToUtf8()) != path)
        throw Failure(pathName(path), "", "the name of the file is no UTF-8");
}

CString pathText(fs::path const &path)
{
    std::u8string const utf8 = path.u8string();
    return CString::FromUtf8({reinterpret_cast<char const *>(utf8.data()), utf8.size()});
}

fs::path utf8Path(std::string const &name) { return fs::path(std::u8string(name.begin(), name.end())); }

std::string pathName(fs::path const &path)
{
    std::u8string const utf8 = path.generic_u8string(); // a backslash would be taken for an escape
    return {reinterpret_cast<char const *>(utf8.data()), utf8.size()};
}

std::string systemReason(int error)
{
    return error == 0 ? "the system gives no reason" : std::system_category().message(error);
}

std::uintmax_t readableLength(fs::path const &path)
{
    CFile file;
    return openedLength(path, file);
}

CByteArray readBytes(fs::path const &path, OnProgress const &onProgress)
{
    std::string const name = pathName(path);
    CByteArray bytes;
    try
    {
        CFile file;
        std::uintmax_t const length = openedLength(path, file);
        bytes.SetSize(static_cast<int>(length));
        std::uintmax_t const count = readAll(file, bytes, name, onProgress);
        if (count != length)
            throw Failure(name, byteAt(static_cast<std::int64_t>(count)), "the file became shorter while it was read");
    }
    catch (CFileException const &exception)
    {
        throw Failure(name, "", "the file cannot be read: " + systemReason(exception.m_lOsError));
    }
    return bytes;
}

std::string readText(fs::path const &path)
{
    CByteArray const bytes = readBytes(path);
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

std::string inputName(fs::path const &path) { return path == kStandardStream ? "standard input" : pathName(path); }

bool isStream(fs::path const &path)
{
    std::error_code ignored;
    return path == kStandardStream || fs::is_fifo(path, ignored);
}

CByteArray readInput(fs::path const &path, OnProgress const &onProgress)
{
    return isStream(path) ? readStream(path, onProgress) : readBytes(path, onProgress);
}

} // namespace okt
