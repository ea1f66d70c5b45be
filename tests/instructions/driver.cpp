// SPDX-License-Identifier: MIT
// driver save|load: saves or loads one pool, always the same, between the begin and the end of the function of that name, where
// callgrind counts (see compare). What goes ahead of it also warms up what only a first run does.

#include <oktdatabase/oktdatabase.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace
{
constexpr int kObjects = 2'000;
constexpr int kParametersOfCategory = 20;
constexpr int kPictureBytes = 50'000;
constexpr ParamType kTypes[] = {6, 3, 10, 7, 14, 36, 16, 27}; // half of them lengths, which are converted

/// Ids that are the same in every run, in no order: the pool would give random ones.
OKTDbObjectId fixedId(int number, OKTDbPool *pool)
{
    std::uint64_t const spread = 0x9E3779B97F4A7C15u * static_cast<std::uint64_t>(number + 1);
    _GUID guid = {};
    std::memcpy(&guid, &spread, sizeof spread);
    std::memcpy(guid.Data4, &spread, sizeof spread);
    OKTDbObjectId id;
    id.setGuid(guid);
    id.fixPoolPointer(pool);
    return id;
}

std::unique_ptr<OKTDbObject> parameterOf(int number, OKTDbPool *pool)
{
    auto parameter = std::make_unique<OKTDbParameter>(kTypes[number % 8], fixedId(-1, pool));
    parameter->setValue(12.5 * (number % 97), 1 + number % 40);
    parameter->setUserName(parameter->getTypeName(), true);
    parameter->setCategory(fixedId(number - number % (kParametersOfCategory + 1), pool));
    CString text;
    text.Format(u"2 * D%d + 40", number % 50);
    parameter->setExpression(text);
    text.Format(u"Position %d, see drawing", number);
    parameter->setDescription(text);
    return parameter;
}

std::unique_ptr<OKTDbObject> categoryOf(int number, OKTDbPool *pool)
{
    auto category = std::make_unique<OKTDbCategory>();
    category->setCategoryName(u"Bars of the mesh");
    for (int i = 1; i <= kParametersOfCategory; ++i)
        category->appendParameter(fixedId(number + i, pool));
    return category;
}

std::unique_ptr<OKTDbObject> picture()
{
    CByteArray bytes;
    bytes.SetSize(kPictureBytes);
    for (int i = 0; i < kPictureBytes; ++i)
        bytes[i] = static_cast<BYTE>(static_cast<unsigned int>(i) * static_cast<unsigned int>(i) / 7);
    auto made = std::make_unique<OKTDbPicture>();
    made->setPictureData(bytes);
    return made;
}

std::unique_ptr<OKTDbObject> objectOf(int number, OKTDbPool *pool)
{
    if (number == kObjects - 1)
        return picture();
    return number % (kParametersOfCategory + 1) == 0 ? categoryOf(number, pool) : parameterOf(number, pool);
}

/// A pool image of these objects: that of an empty pool, and behind it what the objects write.
CByteArray imageOfObjects()
{
    OKTDbPool pool;
    pool.setObjectId(fixedId(-1, &pool));
    pool.setMetricsFactor(1000.0);
    CByteArray image;
    IdMap translated;
    pool.saveFiler(image, translated);
    for (int i = 0; i < kObjects; ++i)
    {
        std::unique_ptr<OKTDbObject> const object = objectOf(i, &pool);
        object->setObjectId(fixedId(i, &pool));
        OKTMemoryFiler filer;
        object->xmlOut(&filer);
        image.Append(filer.takeBytes());
    }
    return image;
}
} // namespace

// Found by callgrind under these names.
extern "C" __attribute__((noinline, visibility("default"))) bool counted_save(OKTDbPool const &pool, CByteArray &image)
{
    IdMap translated;
    return pool.saveFiler(image, translated);
}

extern "C" __attribute__((noinline, visibility("default"))) bool counted_load(OKTDbPool &pool, CByteArray const &image)
{
    return pool.loadFiler(image);
}

int main(int argc, char **argv)
{
    bool const save = argc == 2 && std::strcmp(argv[1], "save") == 0;
    if (argc != 2 || (!save && std::strcmp(argv[1], "load") != 0))
    {
        std::fprintf(stderr, "usage: okt_instructions save|load\n");
        return 2;
    }
    OKTDbPool unordered;
    OKTDbPool source;
    CByteArray image;
    IdMap translated;
    if (!unordered.loadFiler(imageOfObjects()) || !unordered.saveFiler(image, translated) || !source.loadFiler(image) ||
        source.objectCount() != kObjects)
        return 1;
    if (save)
    {
        CByteArray again;
        return counted_save(source, again) && again.GetSize() == image.GetSize() &&
                       std::memcmp(again.GetData(), image.GetData(), static_cast<std::size_t>(image.GetSize())) == 0
                   ? 0
                   : 1;
    }
    OKTDbPool pool;
    return counted_load(pool, image) && pool.objectCount() == kObjects ? 0 : 1;
}
