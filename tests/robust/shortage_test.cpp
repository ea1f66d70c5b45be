// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/imageof.h"
#include "support/poolcontents.h"
#include "support/printers.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <set>

// Memory that runs out while a pool of all classes is saved, loaded, cloned and copied: the answer is false, or the outcome is
// complete.

namespace
{
constexpr std::size_t kMostOfLarge = 60;

/// Whether a pool can still be saved to that image.
std::string savedAgain(OKTDbPool const &pool, CByteArray const &image)
{
    return imageOf(pool) == image ? "" : "with memory back, another image is saved";
}

ShortageCount saveUnderFaults(char const *name, PoolSize size, bool translates, std::size_t most)
{
    AllClassesPool source(size);
    source.pool().setBoolTranslatedIds(translates);
    CByteArray image;
    IdMap translated;
    bool saved = false;
    return forEveryFault({
        .name = name,
        .prepare =
            [&] {
                image.SetSize(3);
                saved = false;
            },
        .perform = [&] { saved = source.pool().saveFiler(image, translated); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (saved && image != source.image())
                wrong = "true, and the image is another";
            else if (saved && translates && translated.getSize() != source.pool().objectCount())
                wrong = "true, and the map of translated ids is not complete";
            else if (!saved && !image.IsEmpty())
                wrong = "false, and there is an image";
            else if (!saved && !struck)
                wrong = "false without cause";
            image = CByteArray();
            translated.removeAll();
            return firstOf(wrong, savedAgain(source.pool(), source.image()));
        },
        .most = most,
    });
}

/// Loads the image into the pool again, which some objects are in already.
std::string loadedAgain(OKTDbPool &pool, CByteArray const &image)
{
    if (!pool.eraseAllObjects())
        return "with memory back, the pool cannot be emptied";
    if (!pool.loadFiler(image))
        return "with memory back, the image cannot be loaded";
    return imageOf(pool) == image ? "" : "with memory back, the image is loaded in part";
}

ShortageCount loadUnderFaults(char const *name, PoolSize size, std::size_t most)
{
    AllClassesPool source(size);
    PoolContents const expected = contentsOf(source.pool());
    std::unique_ptr<OKTDbPool> pool;
    bool loaded = false;
    return forEveryFault({
        .name = name,
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                loaded = false;
            },
        .perform = [&] { loaded = pool->loadFiler(source.image()); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (loaded)
                wrong = difference(expected, contentsOf(*pool));
            else
                wrong = struck ? differenceOfPart(expected, contentsOf(*pool)) : "without cause";
            if (!wrong.empty())
                wrong = (loaded ? "true, and " : "false, and ") + wrong;
            wrong = firstOf(wrong, loadedAgain(*pool, source.image()));
            pool.reset();
            return wrong;
        },
        .mayLose = 1, // quirk 18
        .most = most,
    });
}

ShortageCount cloneUnderFaults(char const *name, PoolSize size, bool translates, std::size_t most)
{
    AllClassesPool source(size);
    source.pool().setBoolTranslatedIds(translates);
    PoolContents const expected = contentsOf(source.pool());
    std::unique_ptr<OKTDbPool> copy;
    return forEveryFault({
        .name = name,
        .perform = [&] { copy.reset(source.pool().clone()); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (copy != nullptr)
            {
                IdMap const newIds = copy->MapTranslatedIds();
                wrong = newIds.getSize() != (translates ? source.pool().objectCount() : 0)
                            ? "the map of translated ids is not complete"
                            : difference(expected, contentsOf(*copy, newIds));
                copy.reset();
            }
            else if (!struck)
                wrong = "null without cause";
            return firstOf(wrong, savedAgain(source.pool(), source.image()));
        },
        .mayLose = 1, // quirk 18
        .most = most,
    });
}
} // namespace

TEST(ShortagePool, EveryClassOfTheLibrary_IsInThePool)
{
    for (PoolSize const size : {PoolSize::Small, PoolSize::Large})
    {
        AllClassesPool pool(size); // fails where a class is missing
        OKTDbPool other;
        EXPECT_TRUE(other.loadFiler(pool.image()));
        EXPECT_EQ(imageOf(other), pool.image());
        EXPECT_EQ(difference(contentsOf(pool.pool()), contentsOf(other)), "");
    }
    OKTDbPool empty;
    EXPECT_GE(missingClasses(empty).size(), 8u);
}

TEST(ShortageSave, SaveFiler_EveryFault_FalseOrTheWholeImage) { saveUnderFaults("saveFiler", PoolSize::Small, false, 0); }

TEST(ShortageSave, SaveFiler_TranslatingAndEveryFault_FalseOrTheWholeImageAndMap)
{
    saveUnderFaults("saveFiler, translating", PoolSize::Small, true, 0);
}

TEST(ShortageSave, SaveFiler_LargePoolAndFaultsAllOver_FalseOrTheWholeImage)
{
    saveUnderFaults("saveFiler, large pool", PoolSize::Large, false, kMostOfLarge);
}

TEST(ShortageLoad, LoadFiler_EveryFault_FalseOrEveryObject_Quirk18) { loadUnderFaults("loadFiler", PoolSize::Small, 0); }

TEST(ShortageLoad, LoadFiler_LargePoolAndFaultsAllOver_FalseOrEveryObject_Quirk18)
{
    loadUnderFaults("loadFiler, large pool", PoolSize::Large, kMostOfLarge);
}

TEST(ShortageLoad, LoadFiler_FilteringAndEveryFault_FalseOrEveryWantedObject_Quirk18)
{
    AllClassesPool source(PoolSize::Small);
    OKTDbPool::ReadFilter filter;
    filter.append(OKTDbParameter::desc());
    filter.append(OKTDbPicture::desc());
    auto const makePool = [&] {
        auto pool = std::make_unique<OKTDbPool>();
        pool->setReadFilter(filter);
        return pool;
    };
    auto wanted = makePool();
    ASSERT_TRUE(wanted->loadFiler(source.image()));
    ASSERT_LT(wanted->objectCount(), source.pool().objectCount());
    PoolContents const expected = contentsOf(*wanted);
    std::unique_ptr<OKTDbPool> pool;
    bool loaded = false;
    forEveryFault({
        .name = "loadFiler, filtering",
        .prepare =
            [&] {
                pool = makePool();
                loaded = false;
            },
        .perform = [&] { loaded = pool->loadFiler(source.image()); },
        .judge = [&](bool struck) -> std::string {
            std::string const wrong = loaded   ? difference(expected, contentsOf(*pool))
                                      : struck ? differenceOfPart(expected, contentsOf(*pool))
                                               : "without cause";
            pool.reset();
            return wrong.empty() ? "" : (loaded ? "true, and " : "false, and ") + wrong;
        },
        .mayLose = 1,
        .pool = [&] { return pool.get(); },
    });
}

TEST(ShortageClone, Clone_EveryFault_NullOrTheWholePool) { cloneUnderFaults("clone", PoolSize::Small, false, 0); }

TEST(ShortageClone, Clone_TranslatingAndEveryFault_NullOrTheWholePoolUnderNewIds)
{
    cloneUnderFaults("clone, translating", PoolSize::Small, true, 0);
}

TEST(ShortageClone, Clone_LargePoolAndFaultsAllOver_NullOrTheWholePool)
{
    cloneUnderFaults("clone, large pool", PoolSize::Large, false, kMostOfLarge);
    cloneUnderFaults("clone, large pool, translating", PoolSize::Large, true, kMostOfLarge);
}

TEST(ShortageClone, CopyFrom_EveryFault_FalseOrEveryObject_Quirk18)
{
    AllClassesPool source(PoolSize::Small);
    PoolContents const expected = contentsOf(source.pool());
    std::unique_ptr<OKTDbPool> pool;
    bool copied = false;
    forEveryFault({
        .name = "copyFrom",
        .prepare =
            [&] {
                pool = std::make_unique<OKTDbPool>();
                copied = false;
            },
        .perform = [&] { copied = pool->copyFrom(&source.pool()); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong = copied   ? difference(expected, contentsOf(*pool))
                                : struck ? differenceOfPart(expected, contentsOf(*pool))
                                         : "without cause";
            pool.reset();
            if (!wrong.empty())
                wrong = (copied ? "true, and " : "false, and ") + wrong;
            return firstOf(wrong, savedAgain(source.pool(), source.image()));
        },
        .mayLose = 1,
        .pool = [&] { return pool.get(); },
    });
}
