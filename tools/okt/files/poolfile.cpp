// SPDX-License-Identifier: MIT
#include <tools/okt/files/poolfile.h>

#include <oktformat/failure.h>
#include <tools/okt/files/files.h>

#include <oktdatabase/oktdbpool.h>

namespace okt
{

namespace
{

/// Why a file could not be written, which the pool does not tell: by writing the same amount once more.
std::string writeRefusal(OKTDbPool const &pool, std::filesystem::path const &path)
{
    CByteArray image;
    IdMap translated;
    if (!pool.saveFiler(image, translated))
        return "the template makes no image";
    try
    {
        CFile file;
        CFileException refused;
        if (!file.Open(pathText(path), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite, &refused))
            return systemReason(refused.m_lOsError);
        file.Write(image.GetData(), static_cast<UINT>(image.GetSize()));
        file.Close();
    }
    catch (CFileException const &exception)
    {
        return systemReason(exception.m_lOsError);
    }
    return systemReason(0);
}

} // namespace

int writePool(OKTDbPool &pool, std::filesystem::path const &path)
{
    std::string const name = pathName(path);
    checkReplaceable(path);
    PendingFile pending(behindLinks(path));
    if (!pool.writeFile(pathText(pending.path())))
        throw Failure(name, "", "the file cannot be written: " + writeRefusal(pool, pending.path()));
    // A late failure of the medium shows when the file is read back.
    OKTDbPool back;
    back.setMetricsFactor(pool.metricsFactor());
    if (!back.readFile(pathText(pending.path())) || back.objectCount() != pool.objectCount())
        throw Failure(name, "", "the file cannot be written: it does not read back whole");
    int const size = static_cast<int>(std::filesystem::file_size(pending.path()));
    pending.commit();
    return size;
}

} // namespace okt
