// SPDX-License-Identifier: MIT
// How often memory is asked for where a template has many objects: literal numbers, so that a further allocation shows in
// review.

#include "support/alloccount.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktframe.h>

#include OKT_NATIVE(oktnativememory.h)

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{
constexpr int kFilled = 100'000; // an array of this size grows by an eighth, which is room for 12,500 bytes

/// Writes until the buffer has just grown, so that there is room.
void makeRoom(OKTMemoryFiler &filer)
{
    CByteArray filling;
    filling.SetSize(kFilled);
    filer.writeByteArray(u"filling", filling);
    for (AllocationCount const counter; counter.count() == 0;)
        filer.writeInt(u"filling", 0);
}

/// A filer that gets every frame member by member, because of its class.
class MemberFiler : public OKTMemoryFiler
{
};

template <typename Filer, typename F> std::size_t allocationsWith(F write)
{
    Filer filer;
    makeRoom(filer);
    long const before = filer.GetFilerLength();
    AllocationCount const counter;
    bool const done = write(filer);
    std::size_t const count = counter.count();
    EXPECT_TRUE(done);
    EXPECT_GT(filer.GetFilerLength(), before);
    EXPECT_LT(filer.GetFilerLength(), before + kFilled / 8) << "more than there was room for";
    return count;
}

/// The allocations that `write` makes when it is given a filer with room, be frames written as a whole or not. It answers
/// whether it was done. A first call is not counted: a thread keeps the memory in which it makes names.
template <typename F> std::size_t allocationsOf(F write)
{
    allocationsWith<MemberFiler>(write);
    std::size_t const count = allocationsWith<OKTMemoryFiler>(write);
    EXPECT_EQ(allocationsWith<MemberFiler>(write), count);
    return count;
}

std::size_t allocationsOfObject(OKTDbObject const &object)
{
    return allocationsOf([&](OKTMemoryFiler &filer) { return object.xmlOut(&filer) == eFilerOk; });
}

/// A text in a buffer of its own, unlike a literal.
CString ownText(char16_t const *text) { return CString(text); }

OKTDbObjectId newId(OKTDbPool &pool) { return OKTDbObjectId::createObjectId(&pool); }

IdArray newIds(OKTDbPool &pool, int count)
{
    IdArray ids;
    for (int i = 0; i < count; ++i)
        ids.append(newId(pool));
    return ids;
}

std::unique_ptr<OKTDbParameter> makeParameter(OKTDbPool &pool, ParamType type)
{
    auto parameter = std::make_unique<OKTDbParameter>(type, newId(pool));
    parameter->setValue(2500.0, 27);
    parameter->setUserName(u"Spacing of the outer bars", true);
    parameter->setCategory(newId(pool));
    parameter->setExpression(ownText(u"2 * D + 40"));
    parameter->setDescription(ownText(u"Centre to centre"));
    return parameter;
}

/// The allocations of loading an image of `count` such parameters into an empty pool.
std::size_t allocationsOfLoad(int count, bool withTexts)
{
    OKTDbPool source;
    for (int i = 0; i < count; ++i)
    {
        auto parameter = makeParameter(source, 6);
        if (!withTexts)
        {
            parameter->setUserName(CString(), false);
            parameter->setExpression(CString());
            parameter->setDescription(CString());
        }
        source.appendObject(parameter.release());
    }
    CByteArray image;
    IdMap translated;
    EXPECT_TRUE(source.saveFiler(image, translated));

    OKTDbPool pool;
    AllocationCount const counter;
    bool const loaded = pool.loadFiler(image);
    std::size_t const allocations = counter.count();
    EXPECT_TRUE(loaded);
    EXPECT_EQ(pool.objectCount(), count);
    return allocations;
}
} // namespace

// --- Writing into a buffer with room ---

TEST(Allocations, WriteOfPlainMembers_None)
{
    CString const text = ownText(u"Spacing");
    CByteArray bytes;
    bytes.SetSize(100);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeInt(u"n", 1); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeInt(u"n", 1u); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeLong(u"n", 1l); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeLong(u"n", 1ul); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeShort(u"n", short{1}); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeBool(u"b", true); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeBool(u"b", 1); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) { return filer.writeDouble(u"df", 1.0); }), 0u);
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeString(u"str", text); }), 0u);
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeByteArray(u"bytes", bytes); }), 0u);
}

TEST(Allocations, WriteOfAnsiText_None)
{
    CString const text = ownText(u"QUJDREVG");
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) {
                  filer.setIsAnsiString(true);
                  return filer.writeString(u"str", text);
              }),
              0u);
}

TEST(Allocations, WriteOfFrames_None)
{
    OKTDbPool pool;
    OKTDbObjectId const id = newId(pool);
    OKTGeXYZ const point(1.0, 2.0, 3.0);
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeObjectId(u"id", id); }), 0u);
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writePoint3d(u"pnt", point); }), 0u);
    EXPECT_EQ(allocationsOf([](OKTMemoryFiler &filer) {
                  return filer.beginWriteClass(u"Object", u"OKTDbParameter", 2) && filer.beginWriteMembers(1) &&
                         filer.endWriteMembers() && filer.endWriteClass();
              }),
              0u);
}

TEST(Allocations, WriteOfVariants_None)
{
    for (VARTYPE const kind : {VT_I2, VT_I4, VT_R4, VT_R8, VT_BOOL})
    {
        tagVARIANT value = {};
        value.vt = kind;
        EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeVariant(u"var", value); }), 0u) << kind;
    }
}

TEST(Allocations, WriteOfVariantText_None)
{
    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(u"B500B");
    allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeVariant(u"var", value); }); // the first on the thread
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeVariant(u"var", value); }), 0u);
    VariantClear(&value);
}

// An empty text must not cost the thread the buffer in which it makes names and texts.
TEST(Allocations, WriteOfEmptyVariantText_NoneThenNorLater)
{
    tagVARIANT empty = {};
    empty.vt = VT_BSTR;
    tagVARIANT text = {};
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(u"B500B");
    auto const writeBoth = [&](OKTMemoryFiler &filer) {
        return filer.writeVariant(u"var", empty) && filer.writeVariant(u"var", text);
    };
    allocationsOf(writeBoth);
    EXPECT_EQ(allocationsOf(writeBoth), 0u);
    VariantClear(&text);
}

TEST(Allocations, WriteOfIdArray_None)
{
    OKTDbPool pool;
    IdArray const ids = newIds(pool, 100);
    CString const name(u"m_tabIds");
    OKTMemoryFiler warm;
    warm.writeObjectIdArray(name, ids); // makes the name buffer of the thread
    EXPECT_EQ(allocationsOf([&](OKTMemoryFiler &filer) { return filer.writeObjectIdArray(name, ids); }), 0u);
}

TEST(Allocations, WriteOfParameter_None)
{
    OKTDbPool pool;
    auto const parameter = makeParameter(pool, 3);
    parameter->setTabParams(newIds(pool, 20));
    OKTMemoryFiler warm;
    parameter->xmlOut(&warm);
    EXPECT_EQ(allocationsOfObject(*parameter), 0u);
}

TEST(Allocations, WriteOfConvertedLength_None)
{
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    auto const parameter = makeParameter(pool, 6);
    OKTMemoryFiler warm;
    parameter->xmlOut(&warm);
    EXPECT_EQ(allocationsOfObject(*parameter), 0u);
}

TEST(Allocations, WriteOfParameterWithText_None)
{
    OKTDbPool pool;
    auto const parameter = makeParameter(pool, 3);
    parameter->setValue(u"B500B", 0);
    OKTMemoryFiler warm;
    parameter->xmlOut(&warm);
    EXPECT_EQ(allocationsOfObject(*parameter), 0u);
}

TEST(Allocations, WriteOfListsOfIds_None)
{
    OKTDbPool pool;
    OKTDbCategory category;
    OKTDbGroupCategory group;
    OKTDbParamRelation relation;
    OKTDbRelation const bareRelation;
    category.setCategoryName(ownText(u"Geometry"));
    category.setGroupCategory(newId(pool));
    for (OKTDbObjectId const &id : newIds(pool, 100))
    {
        category.appendParameter(id);
        group.appendCategory(id);
        relation.appendParameter(id);
    }
    OKTMemoryFiler warm;
    category.xmlOut(&warm);
    group.xmlOut(&warm);
    relation.xmlOut(&warm);
    EXPECT_EQ(allocationsOfObject(category), 0u);
    EXPECT_EQ(allocationsOfObject(group), 0u);
    EXPECT_EQ(allocationsOfObject(relation), 0u);
    EXPECT_EQ(allocationsOfObject(bareRelation), 0u);
}

TEST(Allocations, WriteOfEmptyPicture_None)
{
    OKTDbPicture const picture;
    EXPECT_EQ(allocationsOfObject(picture), 0u);
}

// The base64 text is made in one chunk at a time, as the text of its record.
TEST(Allocations, WriteOfPicture_OneForTheText)
{
    OKTDbPicture picture;
    CByteArray bytes;
    bytes.SetSize(3000);
    picture.setPictureData(bytes);
    EXPECT_EQ(allocationsOfObject(picture), 1u);
}

// --- Names that the binary filer ignores ---

TEST(Allocations, ListNames_NoneAfterTheFirstOnTheThread)
{
    std::size_t first = 0;
    std::size_t later = 0;
    CString last;
    std::thread([&] {
        AllocationCount const counter;
        {
            OKTListNames names(u"m_tabParameters");
            names.at(0);
        }
        first = counter.count();
        {
            OKTListNames names(u"m_tabParameters");
            for (int i = 0; i < 100'000; ++i)
                names.at(i);
        }
        OKTListNames names(u"m_tabCategory");
        names.at(99);
        later = counter.count() - first;
        last = *names.at(99'999);
    }).join();
    EXPECT_LE(first, 2u);
    EXPECT_EQ(later, 0u);
    EXPECT_EQ(last, u"m_tabCategory.99999");
}

TEST(Allocations, NameAsLiteral_None)
{
    AllocationCount const counter;
    CString const narrow = u"m_varValue";
    CString const wide = L"m_varValue";
    CString const copy = wide; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(counter.count(), 0u);
    EXPECT_EQ(narrow, copy);
}

// --- Pools ---

// The object, its place in the pool, the class name that stands ahead of it; and one for each of its three texts.
TEST(Allocations, LoadOfParameter_SixWithTexts)
{
    std::size_t const extra = allocationsOfLoad(200, true) - allocationsOfLoad(100, true);
    EXPECT_LE(extra, 6u * 100u);
}

TEST(Allocations, LoadOfParameter_ThreeWithoutTexts)
{
    std::size_t const extra = allocationsOfLoad(200, false) - allocationsOfLoad(100, false);
    EXPECT_LE(extra, 3u * 100u);
}

// What the buffers need to grow is all: no object of a pool costs an allocation of its own.
TEST(Allocations, SaveOfPool_FewHoweverManyObjects)
{
    OKTDbPool pool;
    for (int i = 0; i < 2000; ++i)
        pool.appendObject(makeParameter(pool, 6).release());
    CByteArray image;
    IdMap translated;
    AllocationCount const counter;
    bool const saved = pool.saveFiler(image, translated);
    std::size_t const allocations = counter.count();
    EXPECT_TRUE(saved);
    EXPECT_LE(allocations, 60u);
}

#if defined(__GLIBC__)
// The block of a large array that had grown serves the next one that grows to about that size.
TEST(Allocations, GrowthToASizeOfBefore_None)
{
    for (int const size : {1 << 20, 40 << 20})
    {
        {
            CByteArray before;
            before.Reserve(size);
            if (size > 16 << 20 && !OktLendPages(before.GetData(), static_cast<std::size_t>(size)))
                return; // this system does not borrow pages, so that so large a block is freed
        }
        CByteArray bytes;
        AllocationCount const counter;
        bytes.Reserve(size - size / 16);
        std::size_t const allocations = counter.count();
        EXPECT_EQ(allocations, 0u) << size;
        EXPECT_EQ(bytes.GetCapacity(), size);
    }
}

// That of an array which got its size at once, as what is read from a file, is not kept.
TEST(Allocations, GrowthToASizeThatWasSetBefore_One)
{
    CByteArray small;
    small.Reserve(2 << 20); // takes the place of a spare of this size or another
    {
        CByteArray before;
        before.SetSize(2 << 20);
    }
    CByteArray bytes;
    AllocationCount const counter;
    bytes.Reserve(2 << 20);
    EXPECT_EQ(counter.count(), 1u);
}

TEST(Allocations, NoMemoryWhileABlockIsKept_ItIsGivenUp)
{
    {
        CByteArray before;
        before.Reserve(1 << 20);
    }
    CByteArray bytes;
    {
        AllocationFault const fault(0);
        EXPECT_NO_THROW(bytes.SetSize(3 << 20));
        EXPECT_EQ(fault.struck(), AllocationFault::reachesCAllocator());
    }
    EXPECT_EQ(bytes.GetSize(), 3 << 20);
}

TEST(Allocations, NoMemoryForASmallArrayWhileABlockIsKept_Fails)
{
    {
        CByteArray before;
        before.Reserve(1 << 20);
    }
    CByteArray bytes;
    {
        AllocationFault const fault(0);
        bool failed = false;
        try
        {
            bytes.SetSize(3000);
        }
        catch (std::bad_alloc const &)
        {
            failed = true;
        }
        EXPECT_EQ(failed, AllocationFault::reachesCAllocator());
    }
}
#endif
