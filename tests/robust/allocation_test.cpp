// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbgroupcategory.h>
#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbparamrelation.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/oktmemoryfiler.h>

#include "support/alloccount.h"
#include "support/expectedleak.h"
#include "support/hexbytes.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"
#include "support/testobject.h"
#include "support/units.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

// Memory that runs out: each operation is run again and again, and every time a later one of its allocations fails, until none
// is left to fail. What escapes an operation is caught there, reported, and answered with a zero; nothing crashes, nothing
// half-made is handed out, and what a pool owns is freed with it. Under a sanitizer fewer allocations can fail, and leaks show.

namespace
{
/// Calls `attempt(n)` with the n-th allocation failing, from the first on, until one is not reached. The attempt arms the fault
/// itself, around what it tests and nothing else, and answers whether it struck.
int forEachAllocation(std::function<bool(std::size_t)> const &attempt)
{
    for (std::size_t n = 0; n < 20000; ++n)
    {
        SCOPED_TRACE("allocation " + std::to_string(n));
        if (!attempt(n))
            return static_cast<int>(n);
        if (testing::Test::HasFatalFailure())
            return static_cast<int>(n);
    }
    ADD_FAILURE() << "the operation never ends";
    return 0;
}

#if defined(OKT_TESTS_UNDER_LEAK_CHECK)
constexpr int kLeastFaults = 0; // the C allocator cannot be made to fail
#else
constexpr int kLeastFaults = 1;
#endif

/// A text in a buffer of its own.
CString ownText(int number)
{
    CString text;
    text.Format(u"Ø%d bars, longer than any short text kept in place, %d", number, number);
    return text;
}

/// Objects that refer to each other in a pool with a name, well-known ids and pictures.
class FilledPool
{
public:
    FilledPool()
    {
        OKTDbObjectId before;
        for (int i = 0; i < 6; ++i)
        {
            TestObject *const object = i == 2   ? static_cast<TestObject *>(new OKTDbConstruct)
                                       : i == 4 ? static_cast<TestObject *>(new OKTDbIndexData)
                                                : new TestObject;
            object->m_strText = ownText(i);
            object->m_nNumber = i;
            object->m_idOther = before;
            EXPECT_TRUE(m_pool.appendObject(object));
            before = object->objectId();
        }
        m_pool.setPoolName(u"Stirrup");
        m_pool.setMetricsFactor(2.5);
        m_pool.setSketchId(before);
        IdArray pictures;
        pictures.append(before);
        m_pool.setPicturesIds(pictures);
    }

    OKTDbPool &pool() { return m_pool; }
    CByteArray image() const
    {
        CByteArray bytes;
        IdMap translated;
        EXPECT_TRUE(m_pool.saveFiler(bytes, translated));
        return bytes;
    }

private:
    OKTDbPool m_pool;
};

} // namespace

// --- Classes -----------------------------------------------------------------------------------------------------------------

TEST(AllocationFaults, ClassDescriptor_EachAllocationFails_EmptyAndNotRegistered)
{
    CString const name = u"ADescriptorWithoutMemory"; // a literal, of which the registry makes a text of its own
    CString const base = u"ItsBase";
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        std::unique_ptr<OKTDbObject> prototype(OKTDbParameter::desc()->CreateObject());
        std::optional<OKTRuntimeClass> descriptor;
        bool struck = false;
        {
            AllocationFault const fault(n);
            descriptor.emplace(name, base, prototype.get(), OKTDbObject::desc());
            struck = fault.struck();
        }
        EXPECT_EQ(descriptor->ClassName(), struck ? CString() : name);
        EXPECT_EQ(descriptor->BaseClass(), struck ? CString() : base);
        EXPECT_EQ(descriptor->ClassCounter() < 0, struck);
        EXPECT_EQ(g_RuntimeClass.contains(name), !struck);
        if (!struck)
            (void)prototype.release(); // the descriptor deletes it
        g_RuntimeClass.erase(name);
        return struck;
    });
    EXPECT_GE(faults, 1);
}

// --- Copies ------------------------------------------------------------------------------------------------------------------

/// A copy or an assignment whose n-th allocation fails reports that, and both objects can be used on.
template <typename T> void copyWithFaults(T const &source)
{
    int const copied = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        std::optional<T> copy;
        bool struck = false;
        {
            AllocationFault const fault(n);
            copy.emplace(source);
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        *copy = source;
        OKTMemoryFiler first;
        OKTMemoryFiler second;
        EXPECT_EQ(copy->xmlOut(&first), eFilerOk);
        EXPECT_EQ(source.xmlOut(&second), eFilerOk);
        EXPECT_EQ(written(first), written(second));
        return struck;
    });
    EXPECT_GE(copied, kLeastFaults);
    int const assigned = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        T copy;
        bool struck = false;
        {
            AllocationFault const fault(n);
            copy = source;
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        return struck;
    });
    EXPECT_GE(assigned, kLeastFaults);
}

TEST(AllocationFaults, Copies_EachAllocationFails_AReport)
{
    OKTDbObjectId const id = OKTDbObjectId::createObjectId(nullptr);
    IdArray ids;
    ids.append(id);

    OKTDbParameter parameter(6, id);
    parameter.setValue(u"a text as value", 2);
    parameter.setTabParams(ids);
    copyWithFaults(parameter);

    OKTDbPool pool;
    auto *const element = new OKTDbParameter(6, id);
    pool.appendObject(element);
    OKTDbGroupParameter group;
    group.addElement(element->objectId());
    copyWithFaults(group);

    OKTDbCategory category;
    category.appendParameter(id);
    copyWithFaults(category);

    OKTDbGroupCategory groups;
    groups.appendCategory(id);
    copyWithFaults(groups);

    OKTDbParamRelation relation;
    relation.appendParameter(id);
    copyWithFaults(relation);

    OKTDbPicture picture;
    CByteArray data;
    data.SetSize(3000);
    picture.setPictureData(data);
    copyWithFaults(picture);
}

// --- Filers ------------------------------------------------------------------------------------------------------------------

TEST(AllocationFaults, Write_EachAllocationFails_FalseWithAReportAndTheOtherRecordsWhole)
{
    struct Record
    {
        char const *what;
        std::function<bool(OKTMemoryFiler &)> write;
        CByteArray bytes;
    };
    CByteArray large;
    large.SetSize(3000);
    CString const text = ownText(1);
    std::vector<Record> records = {
        {"int", [](OKTMemoryFiler &f) { return f.writeInt(u"n", 5); }, {}},
        {"string", [&](OKTMemoryFiler &f) { return f.writeString(u"s", text); }, {}},
        {"byte array", [&](OKTMemoryFiler &f) { return f.writeByteArray(u"b", large); }, {}},
        {"8-bit string",
         [&](OKTMemoryFiler &f) {
             f.setIsAnsiString(true);
             bool const done = f.writeString(u"s", text);
             f.setIsAnsiString(false);
             return done;
         },
         {}},
        {"another byte array", [&](OKTMemoryFiler &f) { return f.writeByteArray(u"b", large); }, {}},
        {"bool", [](OKTMemoryFiler &f) { return f.writeBool(u"b", true); }, {}},
        {"double", [](OKTMemoryFiler &f) { return f.writeDouble(u"n", 1.5); }, {}},
        {"short", [](OKTMemoryFiler &f) { return f.writeShort(u"n", short{3}); }, {}},
    };
    for (Record &record : records)
    {
        OKTMemoryFiler filer;
        ASSERT_TRUE(record.write(filer));
        record.bytes = written(filer);
    }

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        std::vector<char> results(records.size());
        OKTMemoryFiler filer;
        bool struck = false;
        {
            AllocationFault const fault(n);
            for (std::size_t i = 0; i < records.size(); ++i)
                results[i] = records[i].write(filer);
            struck = fault.struck();
        }
        CByteArray expected;
        std::size_t refused = 0;
        for (std::size_t i = 0; i < records.size(); ++i)
        {
            if (results[i])
                expected.Append(records[i].bytes);
            else
                ++refused;
        }
        EXPECT_EQ(written(filer), expected);
        EXPECT_EQ(refused, struck ? 1u : 0u);
        EXPECT_EQ(reports.count(), refused);
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

TEST(AllocationFaults, WriteFrames_EachAllocationFails_ReportedAndFalse)
{
    FilledPool source;
    OKTDbObjectId const id = source.pool().objectAt(0);
    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(u"2x100 3x200 and more than a short text");

    auto const writeAll = [&](OKTMemoryFiler &filer) {
        bool all = filer.beginWriteClass(u"Object", u"Bügel", 1);
        all = filer.beginWriteMembers(1) && all;
        for (int i = 0; i < 40; ++i)
        {
            all = filer.writeObjectId(u"id", id) && all;
            all = filer.writePoint3d(u"pnt", OKTGeXYZ(1.0, 2.0, 3.0)) && all;
            all = filer.writeVariant(u"var", value) && all;
        }
        all = filer.endWriteMembers() && all;
        return filer.endWriteClass() && all;
    };
    OKTMemoryFiler reference;
    ASSERT_TRUE(writeAll(reference));

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler filer;
        bool done = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            done = writeAll(filer);
            struck = fault.struck();
        }
        EXPECT_EQ(done, !struck);
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(written(filer) == written(reference), !struck);
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
    VariantClear(&value);
}

TEST(AllocationFaults, WriteObjectId_TranslatingAndEachAllocationFails_NoHalfEntryInTheMap)
{
    FilledPool source;
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler filer(&source.pool());
        filer.setTranslatedIds(true);
        int refused = 0;
        bool struck = false;
        {
            AllocationFault const fault(n);
            for (int i = 0; i < source.pool().objectCount(); ++i)
                refused += filer.writeObjectId(u"id", source.pool().objectAt(i)) ? 0 : 1;
            struck = fault.struck();
        }
        EXPECT_LE(refused, 1);
        EXPECT_EQ(refused != 0, reports.count() != 0);
        IdMap map;
        EXPECT_TRUE(filer.saveMapTranslatedIds(map));
        EXPECT_GE(map.getSize(), source.pool().objectCount() - refused);
        for (auto const &[id, fresh] : map)
            EXPECT_FALSE(fresh.isNull());
        return struck;
    });
    EXPECT_GE(faults, 1); // the entries of a map are made by operator new
}

TEST(AllocationFaults, Read_EachAllocationFails_FalseWithAReportAndAnEmptyTarget)
{
    OKTMemoryFiler writing;
    CByteArray large;
    large.SetSize(3000);
    writing.writeString(u"s", ownText(1));
    writing.setIsAnsiString(true);
    writing.writeString(u"a", ownText(2));
    writing.writeByteArray(u"b", large);
    writing.endWriteClass();
    CByteArray const stream = written(writing);

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler filer;
        filer.readInPlace(stream);
        CString wide(u"before");
        CString ansi(u"before");
        CByteArray bytes;
        bool gotWide = false;
        bool gotAnsi = false;
        bool gotBytes = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            gotWide = filer.readString(u"s", wide);
            filer.setIsAnsiString(true);
            gotAnsi = filer.readString(u"a", ansi);
            gotBytes = filer.readByteArray(u"b", bytes);
            struck = fault.struck();
        }
        EXPECT_EQ(wide, gotWide ? ownText(1) : CString());
        EXPECT_EQ(ansi, gotAnsi ? ownText(2) : CString());
        EXPECT_EQ(bytes.GetSize(), gotBytes ? 3000 : 0);
        EXPECT_EQ(gotWide && gotAnsi && gotBytes, reports.count() == 0);
        EXPECT_LE(reports.count(), 1u);
        EXPECT_LE(filer.GetFilerPosition(), filer.GetFilerLength());
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

TEST(AllocationFaults, ReadVariant_EachAllocationFails_NoDanglingString)
{
    OKTMemoryFiler writing;
    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(u"2x100 3x200 and more than a short text");
    EXPECT_TRUE(writing.writeVariant(u"v", value));
    VariantClear(&value);
    CByteArray const stream = written(writing);

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler filer;
        filer.readInPlace(stream);
        bool done = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            done = filer.readVariant(u"v", value);
            struck = fault.struck();
        }
        EXPECT_EQ(value.vt, VT_BSTR);
        if (reports.count() == 0)
        {
            EXPECT_TRUE(done);
            EXPECT_EQ(CString(value.bstrVal), CString(u"2x100 3x200 and more than a short text"));
        }
        EXPECT_EQ(VariantClear(&value), S_OK); // whatever it holds now can be freed
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

TEST(AllocationFaults, ReadObjectIdArray_EachAllocationFails_WhatWasReadStays)
{
    FilledPool source;
    IdArray all;
    source.pool().getAllObjects(all);
    OKTMemoryFiler writing;
    EXPECT_TRUE(writing.writeObjectIdArray(u"m_tabIds", all));
    CByteArray const stream = written(writing);

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler filer;
        filer.readInPlace(stream);
        IdArray ids;
        bool done = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            done = filer.readObjectIdArray(u"m_tabIds", ids);
            struck = fault.struck();
        }
        EXPECT_EQ(done, reports.count() == 0);
        EXPECT_LE(ids.getSize(), all.getSize());
        if (done)
        {
            EXPECT_EQ(ids.getSize(), all.getSize());
        }
        for (int i = 0; i < ids.getSize(); ++i)
            EXPECT_EQ(ids.at(i), all.at(i));
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, Construct_FilerOfATranslatingPoolAndEachAllocationFails_NothingEscapes)
{
    FilledPool source;
    IdMap map;
    for (int i = 0; i < source.pool().objectCount(); ++i)
        map[source.pool().objectAt(i)] = OKTDbObjectId::createObjectId(&source.pool());
    source.pool().setMapTranslatedIds(map);
    source.pool().setBoolTranslatedIds(true);

    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        std::optional<OKTMemoryFiler> filer;
        bool struck = false;
        {
            AllocationFault const fault(n);
            filer.emplace(&source.pool());
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        IdMap taken;
        EXPECT_TRUE(filer->saveMapTranslatedIds(taken));
        EXPECT_EQ(taken.getSize(), struck ? 0 : 6);
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, LoadAndSaveFiler_EachAllocationFails_FalseAndEmpty)
{
    CByteArray stream;
    stream.SetSize(5000);
    OKTMemoryFiler writing;
    ASSERT_TRUE(writing.writeByteArray(u"b", stream));
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTMemoryFiler reading;
        CByteArray saved;
        bool didLoad = false;
        bool didSave = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            didLoad = reading.loadFiler(stream);
            didSave = writing.saveFiler(saved);
            struck = fault.struck();
        }
        EXPECT_EQ(reading.GetFilerLength(), didLoad ? 5000 : 0);
        EXPECT_EQ(saved.GetSize(), didSave ? 5005 : 0);
        EXPECT_EQ(didLoad && didSave, !struck);
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

TEST(AllocationFaults, Files_EachAllocationFails_FalseAndTheFileIsTheOldOrTheNewOne)
{
    ScratchFolder const folder;
    CByteArray const before = hex("01 02 03");
    CByteArray after;
    after.SetSize(5000);
    CString const path = folder.path("file.okt");
    int const faults = forEachAllocation([&](std::size_t n) {
        folder.put("file.okt", before);
        ReportCatcher const reports;
        CByteArray loaded;
        bool didSave = false;
        bool didLoad = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            didSave = OKTMemoryFiler::saveFiler(path, after);
            didLoad = OKTMemoryFiler::loadFiler(path, loaded, -1, -1);
            struck = fault.struck();
        }
        CByteArray const found = contentsOf(path);
        EXPECT_EQ(found, didSave ? after : before);
        if (didLoad)
        {
            EXPECT_EQ(loaded, found);
        }
        else
        {
            EXPECT_TRUE(loaded.IsEmpty());
        }
        if (!struck)
        {
            EXPECT_TRUE(didSave && didLoad);
        }
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

// --- A small pool ------------------------------------------------------------------------------------------------------------

TEST(AllocationFaults, SaveFiler_EachAllocationFails_FalseEmptyImageAndThePoolAsItWas)
{
    FilledPool source;
    CByteArray const reference = source.image();
    int const living = TestObject::living();
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        CByteArray image = hex("01 02 03");
        IdMap translated;
        bool saved = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            saved = source.pool().saveFiler(image, translated);
            struck = fault.struck();
        }
        if (!struck)
        {
            EXPECT_TRUE(saved);
        }
        if (saved)
        {
            EXPECT_EQ(reports.count(), 0u);
            EXPECT_EQ(image, reference);
        }
        else
        {
            EXPECT_GE(reports.count(), 1u);
            EXPECT_TRUE(image.IsEmpty());
        }
        EXPECT_EQ(source.image(), reference); // and the next save succeeds
        EXPECT_EQ(TestObject::living(), living);
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, WriteFile_EachAllocationFails_FalseAndTheOldFileStays)
{
    ScratchFolder const folder;
    FilledPool source;
    CByteArray const before = hex("01 02 03");
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    CByteArray const reference = contentsOf(path);
    CByteArray const image = source.image();
    int const faults = forEachAllocation([&](std::size_t n) {
        folder.put("pool.okt", before);
        ReportCatcher const reports;
        bool saved = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            saved = source.pool().writeFile(path);
            struck = fault.struck();
        }
        EXPECT_EQ(contentsOf(path), saved ? reference : before);
        EXPECT_EQ(source.pool().metricsFactor(), 2.5);
        EXPECT_EQ(source.image(), image); // with the factor 2.5: the pool is not left in the state of a file save
        if (!struck)
        {
            EXPECT_TRUE(saved);
        }
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, LoadFiler_EachAllocationFails_WhatWasReadIsThePoolsAndAtMostOneObjectIsLost_Quirk18)
{
    FilledPool source;
    CByteArray const image = source.image();
    int const faults = forEachAllocation([&](std::size_t n) {
        int const living = TestObject::living();
        ReportCatcher const reports;
        bool loaded = false;
        bool struck = false;
        int count = 0;
        int made = 0;
        CByteArray back;
        {
            OKTDbPool pool;
            {
                ExpectedLeak const lostObject;
                AllocationFault const fault(n);
                loaded = pool.loadFiler(image);
                struck = fault.struck();
            }
            count = pool.objectCount();
            made = TestObject::living() - living;
            for (int i = 0; i < count; ++i)
                EXPECT_NE(TestObject::cast(pool.objectAt(i)), nullptr);
            if (loaded)
                back = imageOf(pool);

            // The pool goes on: emptied, it takes the whole image.
            EXPECT_TRUE(pool.eraseAllObjects());
            EXPECT_TRUE(pool.loadFiler(image));
            EXPECT_EQ(imageOf(pool), image);
        }
        int const lost = TestObject::living() - living;
        EXPECT_EQ(lost, made - count);
        EXPECT_LE(lost, loaded ? 0 : 1);
        if (!struck)
        {
            EXPECT_TRUE(loaded);
        }
        if (loaded && reports.count() == 0)
        {
            EXPECT_EQ(back, image);
        }
        if (!loaded)
        {
            EXPECT_GE(reports.count(), 1u);
        }
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, ReadFile_EachAllocationFails_ThePoolKeepsItsFactorAndFreesItsObjects_Quirk17)
{
    ScratchFolder const folder;
    FilledPool source;
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    CByteArray const reference = contentsOf(path);
    int const faults = forEachAllocation([&](std::size_t n) {
        int const living = TestObject::living();
        ReportCatcher const reports;
        bool loaded = false;
        bool struck = false;
        {
            OKTDbPool pool;
            pool.setMetricsFactor(3.0);
            {
                ExpectedLeak const lostObject;
                AllocationFault const fault(n);
                loaded = pool.readFile(path);
                struck = fault.struck();
            }
            EXPECT_EQ(pool.metricsFactor(), 3.0);
            // A class name that cannot be read ends the load like the end of the file: true, with what was read before.
            if (loaded && reports.count() == 0)
            {
                EXPECT_EQ(pool.objectCount(), 6);
            }
        }
        EXPECT_LE(TestObject::living() - living, loaded ? 0 : 1);
        EXPECT_EQ(contentsOf(path), reference);
        if (!struck)
        {
            EXPECT_TRUE(loaded);
        }
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, AppendObject_EachAllocationFails_FalseAndTheObjectStaysTheCallers)
{
    int const faults = forEachAllocation([&](std::size_t n) {
        int const living = TestObject::living();
        ReportCatcher const reports;
        bool struck = false;
        {
            OKTDbPool pool;
            auto object = std::make_unique<TestObject>();
            bool appended = false;
            {
                AllocationFault const fault(n);
                appended = pool.appendObject(object.get());
                struck = fault.struck();
            }
            EXPECT_EQ(appended, !struck);
            EXPECT_EQ(pool.objectCount(), appended ? 1 : 0);
            EXPECT_EQ(reports.count(), appended ? 0u : 1u);
            if (appended)
                static_cast<void>(object.release());
        }
        EXPECT_EQ(TestObject::living(), living);
        return struck;
    });
    EXPECT_GE(faults, 1);
}

// --- The settings of a pool --------------------------------------------------------------------------------------------------

namespace
{
std::vector<CString> textsOf(IdArray const &ids)
{
    std::vector<CString> texts;
    for (OKTDbObjectId const &id : ids)
        texts.push_back(id.getGuidAsString(true));
    return texts;
}
} // namespace

TEST(AllocationFaults, SetPicturesIds_EachAllocationFails_ReportedAndTheListAsItWas)
{
    IdArray others;
    for (int i = 0; i < 20; ++i)
        others.append(OKTDbObjectId::createObjectId(nullptr));
    int const faults = forEachAllocation([&](std::size_t n) {
        OKTDbPool pool;
        auto *const first = new OKTDbPicture;
        auto *const second = new OKTDbPicture;
        EXPECT_TRUE(pool.appendObject(first));
        EXPECT_TRUE(pool.appendObject(second));
        std::vector<CString> const before = textsOf(pool.picturesId());
        ReportCatcher const reports;
        bool struck = false;
        {
            AllocationFault const fault(n);
            pool.setPicturesIds(others);
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(textsOf(pool.picturesId()), struck ? before : textsOf(others));
        if (!struck)
            return false;
        // The list goes on following its objects.
        OKTDbObjectId id = first->objectId();
        EXPECT_TRUE(id.eraseObject());
        EXPECT_EQ(textsOf(pool.picturesId()), textsOf([&] {
                      IdArray rest;
                      rest.append(second->objectId());
                      return rest;
                  }()));
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, PicturesId_EachAllocationFails_ReportedAndEmpty)
{
    OKTDbPool pool;
    IdArray pictures;
    for (int i = 0; i < 20; ++i)
        pictures.append(OKTDbObjectId::createObjectId(nullptr));
    pool.setPicturesIds(pictures);
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        IdArray found;
        bool struck = false;
        {
            AllocationFault const fault(n);
            found = pool.picturesId();
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(found.getSize(), struck ? 0 : 20);
        EXPECT_EQ(textsOf(pool.picturesId()), textsOf(pictures));
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, MapTranslatedIds_EachAllocationFails_ReportedAndEmpty)
{
    OKTDbPool pool;
    IdMap map;
    for (int i = 0; i < 20; ++i)
        map[OKTDbObjectId::createObjectId(nullptr)] = OKTDbObjectId::createObjectId(&pool);
    pool.setMapTranslatedIds(map);
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        IdMap found;
        bool struck = false;
        {
            AllocationFault const fault(n);
            found = pool.MapTranslatedIds();
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(found.getSize(), struck ? 0 : 20);
        EXPECT_EQ(textsOf(pool.MapTranslatedIds().keys()), textsOf(map.keys()));
        EXPECT_EQ(textsOf(pool.MapTranslatedIds().values()), textsOf(map.values()));
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, ReadFilter_EachAllocationFails_ReportedAndEmpty)
{
    OKTDbPool pool;
    OKTDbPool::ReadFilter filter;
    filter.append(TestObject::desc());
    filter.append(OKTDbPicture::desc());
    pool.setReadFilter(filter);
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTDbPool::ReadFilter found;
        bool struck = false;
        {
            AllocationFault const fault(n);
            found = pool.readFilter();
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(found.getSize(), struck ? 0 : 2);
        EXPECT_EQ(pool.readFilter().getSize(), 2);
        return struck;
    });
    EXPECT_GE(faults, 1);
}

TEST(AllocationFaults, SetPoolName_EachAllocationFails_ReportedAndTheNameAsItWas)
{
    int const faults = forEachAllocation([&](std::size_t n) {
        OKTDbPool pool;
        pool.setPoolName(u"before");
        ReportCatcher const reports;
        bool struck = false;
        {
            AllocationFault const fault(n);
            pool.setPoolName(L"a name that needs a buffer of its own");
            struck = fault.struck();
        }
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        EXPECT_EQ(pool.poolName(), CString(struck ? u"before" : u"a name that needs a buffer of its own"));
        return struck;
    });
    EXPECT_GE(faults, kLeastFaults);
}

namespace
{
constexpr int kEntriesOfABlock = 8; // the pool's map asks for memory for that many at first

/// Appends an object of special role under each fault. `role` gives what the pool says of such objects.
template <typename T> void expectAppendLeavesAllAsItWas(std::function<std::vector<CString>(OKTDbPool &)> const &role)
{
    OKTDbPool const elsewhere;
    int const faults = forEachAllocation([&](std::size_t n) {
        OKTDbPool pool;
        for (int i = 1; i < kEntriesOfABlock; ++i)
            EXPECT_TRUE(pool.appendObject(new OKTDbRelation));
        EXPECT_TRUE(pool.appendObject(new T));
        std::vector<CString> const before = role(pool);
        auto object = std::make_unique<T>();
        object->setObjectId(elsewhere.objectId());
        ReportCatcher const reports;
        bool appended = false;
        bool struck = false;
        {
            AllocationFault const fault(n);
            appended = pool.appendObject(object.get());
            struck = fault.struck();
        }
        EXPECT_EQ(appended, !struck);
        EXPECT_EQ(reports.count(), struck ? 1u : 0u);
        if (struck)
        {
            EXPECT_EQ(pool.objectCount(), kEntriesOfABlock);
            EXPECT_EQ(role(pool), before);
            EXPECT_EQ(object->objectId(), elsewhere.objectId());
            EXPECT_EQ(object->objectId().getPool(), elsewhere.objectId().getPool());
            EXPECT_TRUE(pool.appendObject(object.get())); // now it is taken
        }
        EXPECT_EQ(pool.objectCount(), kEntriesOfABlock + 1);
        EXPECT_NE(role(pool), before);
        EXPECT_EQ(object->objectId().getObject(), object.get());
        static_cast<void>(object.release());
        return struck;
    });
    EXPECT_GE(faults, 1);
}
} // namespace

TEST(AllocationFaults, AppendObject_PictureAndEachAllocationFails_ObjectIdAndPicturesAsTheyWere)
{
    expectAppendLeavesAllAsItWas<OKTDbPicture>([](OKTDbPool &pool) { return textsOf(pool.picturesId()); });
}

TEST(AllocationFaults, AppendObject_ConstructAndEachAllocationFails_ObjectIdAndConstructAsTheyWere)
{
    expectAppendLeavesAllAsItWas<OKTDbConstruct>(
        [](OKTDbPool &pool) { return std::vector<CString>{pool.constructId().getGuidAsString(true)}; });
}

TEST(AllocationFaults, AppendObject_IndexAndEachAllocationFails_ObjectIdAndIndexAsTheyWere)
{
    expectAppendLeavesAllAsItWas<OKTDbIndexData>(
        [](OKTDbPool &pool) { return std::vector<CString>{pool.indexId().getGuidAsString(true)}; });
}

TEST(AllocationFaults, LoadFiler_EachAllocationFailsBehindTheFirstPicture_TheHeadersPicturesStay_Quirk18)
{
    OKTDbPool source;
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(source.appendObject(new OKTDbPicture));
    IdArray reversed;
    for (int i = 5; i > 0; --i)
        reversed.append(source.objectAt(i - 1));
    source.setPicturesIds(reversed);
    CByteArray const image = imageOf(source);
    int behindTheHeader = 0;
    int const faults = forEachAllocation([&](std::size_t n) {
        ReportCatcher const reports;
        OKTDbPool pool;
        bool loaded = false;
        bool struck = false;
        {
            ExpectedLeak const lostObject;
            AllocationFault const fault(n);
            loaded = pool.loadFiler(image);
            struck = fault.struck();
        }
        // One object was read, so that the header had been.
        if (!loaded && pool.objectCount() > 0)
        {
            ++behindTheHeader;
            EXPECT_EQ(textsOf(pool.picturesId()), textsOf(reversed));
        }
        return struck;
    });
    EXPECT_GE(faults, 1);
    EXPECT_GE(behindTheHeader, 1);
}
