// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdurablesave.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktfileimage.h>

#include <cstdint>
#include <limits>

namespace
{
constexpr std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();

OktSaveStatus answer(OktSaveRefusal const &refusal, OktSaveRefusal *why)
{
    if (why != nullptr)
        *why = refusal;
    return refusal.status;
}
} // namespace

bool OktMakeFileImage(OKTDbPool &pool, CByteArray &image)
try
{
    OktFileImage const scope(pool);
    IdMap translated;
    return pool.saveFiler(image, translated);
}
OKT_ANSWER_ZERO

bool OktReadFileImage(OKTDbPool &pool, CByteArray const &image)
try
{
    OktFileImage const scope(pool);
    return pool.loadFiler(image);
}
OKT_ANSWER_ZERO

OktSaveStatus OktSaveDurably(OKTDbPool &pool, CString const &path, OktSaveRefusal *why)
{
    if (path.IsEmpty())
        return answer({OktSaveStatus::NoPath, 0}, why);
    CByteArray image;
    if (!OktMakeFileImage(pool, image))
        return answer({OktSaveStatus::NoImage, 0}, why);
    return OktSaveDurably(image, path, why);
}

OktSaveStatus OktSaveDurably(CByteArray const &bytes, CString const &path, OktSaveRefusal *why)
{
    return OktSaveDurably(bytes.GetData(), static_cast<std::size_t>(bytes.GetSize()), path, why);
}

OktSaveStatus OktSaveDurably(void const *bytes, std::size_t count, CString const &path, OktSaveRefusal *why)
{
    if (count > kLargestFile)
        return answer({OktSaveStatus::TooLarge, 0}, why);
    return answer(OktReplaceFile(path, bytes, count), why);
}
