// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/bytetext.h"
#include "support/hexbytes.h"
#include "support/imageof.h"
#include "support/poolcontents.h"
#include "support/printers.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

// Memory that runs out while one object of each class is written, read and reset, by the filer of the pool files and by a filer of a
// client, to which every member is passed alone: the status is not 0, or the outcome is complete.

namespace
{
/// As a client derives one. The members of a frame pass it one by one.
class DerivedFiler : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;
};

/// The objects of the pool, the last of each class and kind of value, by a name.
std::map<std::string, OKTDbObject *> objectsOf(OKTDbPool &pool)
{
    std::map<std::string, OKTDbObject *> objects;
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *const object = id.getObject();
        std::string name = object->isA()->ClassName().ToUtf8();
        if (auto const *const parameter = OKTDbParameter::cast(object))
            name += " " + parameter->UserName().Left(30).ToUtf8();
        if (auto *const picture = OKTDbPicture::cast(object))
        {
            CByteArray data;
            picture->getPictureData(data);
            name += " of " + std::to_string(data.GetSize()) + " bytes";
        }
        if (auto const *const category = OKTDbCategory::cast(object))
            name += " of " + std::to_string(category->parameterCount());
        objects[name] = object;
    }
    return objects;
}

CByteArray frameOf(OKTDbObject const &object)
{
    OKTMemoryFiler filer;
    EXPECT_EQ(object.xmlOut(&filer), eFilerOk);
    return written(filer);
}

template <typename Filer> void writeEachUnderFaults(char const *kind, PoolSize size, std::size_t most)
{
    AllClassesPool source(size);
    for (auto const &[name, object] : objectsOf(source.pool()))
    {
        CByteArray const whole = frameOf(*object);
        std::optional<Filer> filer;
        FilerStatusDb status = eFilerOk;
        forEveryFault({
            .name = std::string("xmlOut of ") + name + kind,
            .prepare =
                [&] {
                    filer.emplace();
                    status = eFilerOk;
                },
            .perform = [&, object = object] { status = object->xmlOut(&*filer); },
            .judge = [&, object = object](bool struck) -> std::string {
                CByteArray const found = written(*filer);
                filer.reset();
                if (status == eFilerOk && found != whole)
                    return "status 0, and the frame is not whole";
                if (status != eFilerOk && !struck)
                    return "status " + std::to_string(status) + " without cause";
                return frameOf(*object) == whole ? "" : "with memory back, another frame is written";
            },
            .most = most,
        });
    }
}

/// The class under which the frame is stored.
std::unique_ptr<OKTDbObject> newObjectLike(OKTDbObject const &object)
{
    OKTRuntimeClass const *const descriptor = object.isA(OKTDbGroupParameter::desc()) ? OKTDbParameter::desc() : object.isA();
    return std::unique_ptr<OKTDbObject>(descriptor->CreateObject());
}

template <typename Filer> void readEachUnderFaults(char const *kind, PoolSize size, std::size_t most)
{
    AllClassesPool source(size);
    for (auto const &[name, object] : objectsOf(source.pool()))
    {
        CByteArray whole = frameOf(*object);
        std::optional<Filer> filer;
        std::unique_ptr<OKTDbObject> fresh;
        FilerStatusDb status = eFilerOk;
        forEveryFault({
            .name = std::string("xmlIn of ") + name + kind,
            .prepare =
                [&, object = object] {
                    filer.emplace(&source.pool());
                    filer->loadFiler(whole);
                    fresh = newObjectLike(*object);
                    status = eFilerOk;
                },
            .perform = [&] { status = fresh->xmlIn(&*filer); },
            .judge = [&](bool struck) -> std::string {
                std::string wrong;
                OKTMemoryFiler again;
                if (status == eFilerOk && (fresh->xmlOut(&again) != eFilerOk || written(again) != whole))
                    wrong = "status 0, and the object is not whole";
                else if (status != eFilerOk && !struck)
                    wrong = "status " + std::to_string(status) + " without cause";
                filer.emplace(&source.pool());
                filer->loadFiler(whole);
                if (wrong.empty() && (fresh->xmlIn(&*filer) != eFilerOk || frameOf(*fresh) != whole))
                    wrong = "with memory back, the object is not read whole";
                fresh.reset();
                filer.reset();
                return wrong;
            },
            .mayTakeNone = true, // ids and numbers
            .most = most,
        });
    }
}
} // namespace

TEST(ShortageXmlOut, EachClass_EveryFault_AStatusOrTheWholeFrame)
{
    writeEachUnderFaults<OKTMemoryFiler>("", PoolSize::Small, 0);
}

TEST(ShortageXmlOut, EachClassToAFilerOfAClient_EveryFault_AStatusOrTheWholeFrame)
{
    writeEachUnderFaults<DerivedFiler>(", member by member", PoolSize::Small, 0);
}

TEST(ShortageXmlIn, EachClass_EveryFault_AStatusOrTheWholeObject)
{
    readEachUnderFaults<OKTMemoryFiler>("", PoolSize::Small, 0);
}

TEST(ShortageXmlIn, EachClassFromAFilerOfAClient_EveryFault_AStatusOrTheWholeObject)
{
    readEachUnderFaults<DerivedFiler>(", member by member", PoolSize::Small, 0);
}

TEST(ShortageReset, ResetObject_EveryFault_FalseOrANewObject_Quirk22)
{
    AllClassesPool source(PoolSize::Small);
    PoolContents const expected = contentsOf(source.pool());
    for (int i = 0; i < source.pool().objectCount(); ++i)
    {
        OKTDbObjectId const id = source.pool().objectAt(i);
        std::unique_ptr<OKTDbPool> pool;
        std::string const className = id.getObject()->isA()->ClassName().ToUtf8();
        std::unique_ptr<OKTDbObject> const fresh = newObjectLike(*id.getObject());
        fresh->setObjectId(id);
        CByteArray const asNew = frameOf(*fresh);
        bool reset = false;
        forEveryFault({
            .name = "resetObject of " + className,
            .prepare =
                [&] {
                    pool = std::make_unique<OKTDbPool>();
                    pool->loadFiler(source.image());
                    reset = false;
                },
            .perform = [&] { reset = pool->resetObject(id); },
            .judge = [&](bool struck) -> std::string {
                std::string wrong;
                OKTDbObject *object = nullptr;
                if (pool->objectCount() != source.pool().objectCount() || !pool->findObject(id, object))
                    wrong = "the object is not in the pool";
                else if (reset && (object->objectId() != id || frameOf(*object) != asNew))
                    wrong = "true, and the object is not as a new one";
                else if (!reset && !struck)
                    wrong = "false without cause";
                if (!pool->resetObject(id) || frameOf(*object) != asNew)
                    wrong = firstOf(wrong, std::string("with memory back, the object is not reset"));
                PoolContents others = contentsOf(*pool);
                std::erase_if(others.objects, [&](auto const &entry) { return entry.second.frame == textOf(asNew); });
                wrong = firstOf(wrong, differenceOfPart(expected, others));
                pool.reset();
                return wrong;
            },
            .mayLose = 1, // quirk 22
        });
    }
}
