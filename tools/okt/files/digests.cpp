// SPDX-License-Identifier: MIT
#include <tools/okt/files/digests.h>

#include <tools/okt/files/sha256.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktinspect/contentdigest.h>

#include <memory>

namespace okt
{

std::string byteDigestOf(std::string const &file) { return byteDigestOf(*openSource(utf8Path(file), terminalProgress())); }

std::string byteDigestOf(ByteSource &source) { return sha256Hex(source.copy(0, source.size())); }

std::string contentDigestOf(std::string const &file)
{
    std::filesystem::path const path = utf8Path(file);
    return contentDigest(*openSource(path, terminalProgress()), inputName(path), sha256Hex, terminalProgress());
}

FileDigests digestsOf(std::string const &file, OnFault const &onFault)
{
    std::filesystem::path const path = utf8Path(file);
    std::unique_ptr<ByteSource> const source = openSource(path, terminalProgress());
    FileDigests digests{byteDigestOf(*source), ""};
    try
    {
        digests.contents = contentDigest(*source, inputName(path), sha256Hex, terminalProgress());
    }
    catch (Failure const &failure)
    {
        onFault(failure.what());
    }
    return digests;
}

Manifest manifestOf(std::string const &folder, OnFault const &onFault)
{
    if (!isFolder(folder))
        throw Failure(folder, "", "this is no folder");
    std::filesystem::path const root = utf8Path(folder);
    Manifest manifest;
    for (std::string const &file : poolFilesIn(folder, onFault))
    {
        std::u8string const path = utf8Path(file).lexically_relative(root).generic_u8string();
        try
        {
            manifest.emplace(std::string(path.begin(), path.end()), digestsOf(file, onFault));
        }
        catch (Failure const &failure)
        {
            onFault(failure.what());
        }
    }
    return manifest;
}

} // namespace okt
