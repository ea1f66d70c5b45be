// SPDX-License-Identifier: MIT
#include <tools/okt/files/poolfile.h>

#include <oktformat/failure.h>
#include <tools/okt/files/files.h>

#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdurablesave.h>

namespace okt
{

int writePool(OKTDbPool &pool, std::filesystem::path const &path)
{
    std::string const name = pathName(path);
    checkReplaceable(path);
    CByteArray image;
    if (!OktMakeFileImage(pool, image))
        throw Failure(name, "", "the file cannot be written: the template makes no image");
    OKTDbPool back;
    if (!back.loadFiler(image) || back.objectCount() != pool.objectCount())
        throw Failure(name, "", "the file cannot be written: it does not read back whole");
    PendingFile pending(path);
    pending.write({reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize())});
    pending.commit();
    return image.GetSize();
}

} // namespace okt
