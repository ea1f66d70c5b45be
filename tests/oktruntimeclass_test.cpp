// SPDX-License-Identifier: MIT
#include <oktdatabase/oktruntimeclass.h>

#include "support/expectedleak.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/testobject.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace
{
/// A descriptor for one test, whose name leaves the registry at the end.
class TemporaryClass
{
public:
    TemporaryClass(CString const &name, OKTDbObject *prototype, CString const &base = u"OKTDbObject",
                   OKTRuntimeClass *baseDesc = OKTDbObject::desc())
        : m_name(name), m_desc(std::make_unique<OKTRuntimeClass>(name, base, prototype, baseDesc))
    {
    }
    TemporaryClass(TemporaryClass const &) = delete;
    TemporaryClass &operator=(TemporaryClass const &) = delete;
    ~TemporaryClass()
    {
        if (!m_desc->ClassName().IsEmpty())
            g_RuntimeClass.erase(m_name);
    }

    OKTRuntimeClass &operator*() const { return *m_desc; }
    OKTRuntimeClass *operator->() const { return m_desc.get(); }
    OKTRuntimeClass *get() const { return m_desc.get(); }

private:
    CString m_name;
    std::unique_ptr<OKTRuntimeClass> m_desc;
};

struct ClassRow
{
    char16_t const *name;
    char16_t const *base;
    OKTRuntimeClass *(*desc)();
    OKTRuntimeClass *(*baseDesc)();
    int number;
};

OKTRuntimeClass *none() { return nullptr; }

constexpr ClassRow kClasses[] = {
    {u"OKTDbCategory", u"OKTDbObject", OKTDbCategory::desc, OKTDbObject::desc, 0},
    {u"OKTDbGroupCategory", u"OKTDbObject", OKTDbGroupCategory::desc, OKTDbObject::desc, 1},
    {u"OKTDbGroupParameter", u"OKTDbParameter", OKTDbGroupParameter::desc, OKTDbParameter::desc, 2},
    {u"OKTDbObject", u"", OKTDbObject::desc, none, 3},
    {u"OKTDbParameter", u"OKTDbObject", OKTDbParameter::desc, OKTDbObject::desc, 4},
    {u"OKTDbParamRelation", u"OKTDbRelation", OKTDbParamRelation::desc, OKTDbRelation::desc, 5},
    {u"OKTDbPicture", u"OKTDbObject", OKTDbPicture::desc, OKTDbObject::desc, 6},
    {u"OKTDbRelation", u"OKTDbObject", OKTDbRelation::desc, OKTDbObject::desc, 7},
};
} // namespace

// --- The stored classes of the library ---------------------------------------------------------------------------------------

TEST(OKTRuntimeClass, Registry_AtStart_TableOfClasses)
{
    for (ClassRow const &row : kClasses)
    {
        SCOPED_TRACE(CString(row.name).ToUtf8());
        OKTRuntimeClass const *const desc = row.desc();
        EXPECT_EQ(desc->ClassName(), CString(row.name));
        EXPECT_EQ(desc->BaseClass(), CString(row.base));
        EXPECT_EQ(desc->BaseClassDesc(), row.baseDesc());
        EXPECT_EQ(desc->ClassCounter(), row.number);
        ASSERT_TRUE(g_RuntimeClass.contains(row.name));
        EXPECT_EQ(*g_RuntimeClass.find(row.name), desc);
    }
}

TEST(OKTRuntimeClass, ClassNumbers_AllOfTheRegistry_Distinct)
{
    for (int i = 0; i < g_RuntimeClass.getSize(); ++i)
        for (int j = 0; j < i; ++j)
        {
            OKTRuntimeClass const *const a = std::as_const(g_RuntimeClass).valueAt(static_cast<unsigned int>(i));
            OKTRuntimeClass const *const b = std::as_const(g_RuntimeClass).valueAt(static_cast<unsigned int>(j));
            EXPECT_NE(a->ClassCounter(), b->ClassCounter()) << a->ClassName().ToUtf8() << ' ' << b->ClassName().ToUtf8();
        }
}

TEST(OKTRuntimeClass, CreateObject_EachClass_NewObjectOfExactlyThatClassEachTime)
{
    for (ClassRow const &row : kClasses)
    {
        SCOPED_TRACE(CString(row.name).ToUtf8());
        std::unique_ptr<OKTDbObject> const first(row.desc()->CreateObject());
        std::unique_ptr<OKTDbObject> const second(row.desc()->CreateObject());
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
        EXPECT_NE(first, second);
        EXPECT_EQ(first->isA(), row.desc());
        EXPECT_TRUE(first->isA(CString(row.name)));
        EXPECT_TRUE(first->objectId().isNull());
        std::unique_ptr<OKTDbObject> const third(first->createObject());
        ASSERT_NE(third, nullptr);
        EXPECT_EQ(third->isA(), row.desc());
    }
}

TEST(OKTRuntimeClass, ObjectsOfEachClass_AskedForEachClass_ExactTestAndKind)
{
    for (ClassRow const &row : kClasses)
    {
        std::unique_ptr<OKTDbObject> const object(row.desc()->CreateObject());
        for (ClassRow const &other : kClasses)
        {
            SCOPED_TRACE(CString(row.name).ToUtf8() + " asked for " + CString(other.name).ToUtf8());
            bool const same = row.number == other.number;
            bool kind = false;
            for (OKTRuntimeClass const *d = row.desc(); d != nullptr; d = d->BaseClassDesc())
                kind = kind || d == other.desc();
            EXPECT_EQ(object->isA(CString(other.name)), same);
            EXPECT_EQ(object->isA(other.desc()), same);
            EXPECT_EQ(row.desc()->isA(other.desc()), same);
            EXPECT_EQ(object->isKindOf(other.desc()), kind);
            EXPECT_EQ(row.desc()->IsDerivedFrom(other.desc()), kind);
        }
    }
}

TEST(OKTRuntimeClass, IsDerivedFrom_ThroughTheBaseOfTheBase)
{
    EXPECT_TRUE(OKTDbGroupParameter::desc()->IsDerivedFrom(OKTDbObject::desc()));
    EXPECT_TRUE(OKTDbGroupParameter::desc()->IsDerivedFrom(OKTDbParameter::desc()));
    EXPECT_TRUE(OKTDbGroupParameter::desc()->IsDerivedFrom(OKTDbGroupParameter::desc()));
    EXPECT_FALSE(OKTDbObject::desc()->IsDerivedFrom(OKTDbParameter::desc()));
    EXPECT_FALSE(OKTDbCategory::desc()->IsDerivedFrom(OKTDbParameter::desc()));
    EXPECT_FALSE(OKTDbObject::desc()->IsDerivedFrom(nullptr));
    EXPECT_FALSE(OKTDbObject::desc()->isA(nullptr));
}

TEST(OKTRuntimeClass, IsAByName_EmptyBaseAndOtherCase_False)
{
    OKTDbGroupParameter const group;
    EXPECT_FALSE(group.isA(CString()));
    EXPECT_FALSE(group.isA(CString(u"OKTDbParameter")));
    EXPECT_FALSE(group.isA(CString(u"oktdbgroupparameter")));
    EXPECT_TRUE(group.isA(CString(u"OKTDbGroupParameter")));
    EXPECT_TRUE(group.isKindOf(OKTDbParameter::desc()));
    EXPECT_FALSE(group.isKindOf(nullptr));
    EXPECT_FALSE(group.isA(static_cast<OKTRuntimeClass const *>(nullptr)));
}

TEST(OKTRuntimeClass, Cast_OfObjects_SamePointerOrNull)
{
    OKTDbGroupParameter group;
    OKTDbObject const *const object = &group;
    EXPECT_EQ(OKTDbGroupParameter::cast(object), &group);
    EXPECT_EQ(OKTDbParameter::cast(object), static_cast<OKTDbParameter *>(&group));
    EXPECT_EQ(OKTDbObject::cast(object), static_cast<OKTDbObject *>(&group));
    EXPECT_EQ(OKTDbCategory::cast(object), nullptr);
    EXPECT_EQ(OKTDbRelation::cast(object), nullptr);
    OKTDbParameter parameter;
    EXPECT_EQ(OKTDbGroupParameter::cast(&parameter), nullptr);
    EXPECT_EQ(OKTDbParameter::cast(static_cast<OKTDbObject const *>(nullptr)), nullptr);
}

TEST(OKTRuntimeClass, Cast_OfIds_ResolvedOrNull)
{
    OKTDbPool pool;
    auto *const parameter = new OKTDbParameter;
    ASSERT_TRUE(pool.appendObject(parameter));
    EXPECT_EQ(OKTDbParameter::cast(parameter->objectId()), parameter);
    EXPECT_EQ(OKTDbCategory::cast(parameter->objectId()), nullptr);
    EXPECT_EQ(OKTDbParameter::cast(OKTDbObjectId()), nullptr);
    EXPECT_EQ(OKTDbParameter::cast(OKTDbObjectId::createObjectId(&pool)), nullptr);
}

TEST(OKTRuntimeClass, ClientClass_RegisteredFromItsOwnSource_LikeThoseOfTheLibrary)
{
    EXPECT_EQ(TestDerivedObject::desc()->ClassName(), CString(u"TestDerivedObject"));
    EXPECT_EQ(TestDerivedObject::desc()->BaseClass(), CString(u"TestObject"));
    EXPECT_EQ(TestDerivedObject::desc()->BaseClassDesc(), TestObject::desc());
    EXPECT_GT(TestDerivedObject::desc()->ClassCounter(), 7);
    TestDerivedObject derived;
    EXPECT_EQ(TestObject::cast(&derived), &derived);
    EXPECT_TRUE(derived.isKindOf(OKTDbObject::desc()));
}

// --- Objects by name ---------------------------------------------------------------------------------------------------------

TEST(OKTRuntimeClass, GetObjectFromClassName_KnownName_BothFunctionsMakeOne)
{
    for (ClassRow const &row : kClasses)
    {
        OKTDbObject *first = nullptr;
        OKTDbObject *second = nullptr;
        EXPECT_TRUE(OKTRuntimeClass::getObjectFromClassName(row.name, first));
        EXPECT_TRUE(OKTTools::getObjectFromClassName(row.name, second));
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
        EXPECT_EQ(first->isA(), row.desc());
        EXPECT_EQ(second->isA(), row.desc());
        delete first;
        delete second;
    }
}

TEST(OKTRuntimeClass, GetObjectFromClassName_UnknownName_FalseAndOutputUntouched)
{
    TestObject stays;
    for (auto const *const name : {u"NoSuchClass", u"", u"oktdbparameter", u"OKTDbParameter ", u"OKTDBPARAMETER"})
    {
        int const size = g_RuntimeClass.getSize();
        OKTDbObject *object = &stays;
        EXPECT_FALSE(OKTRuntimeClass::getObjectFromClassName(name, object)) << CString(name).ToUtf8();
        EXPECT_EQ(object, &stays);
        EXPECT_FALSE(OKTTools::getObjectFromClassName(name, object)) << CString(name).ToUtf8();
        EXPECT_EQ(object, &stays);
        EXPECT_EQ(g_RuntimeClass.getSize(), size);
    }
}

TEST(OKTRuntimeClass, GetObjectFromClassName_NullEntry_FalseAndOutputUntouched)
{
    g_RuntimeClass[u"EntryWithoutDescriptor"] = nullptr;
    TestObject stays;
    OKTDbObject *object = &stays;
    EXPECT_FALSE(OKTTools::getObjectFromClassName(u"EntryWithoutDescriptor", object));
    EXPECT_FALSE(OKTRuntimeClass::getObjectFromClassName(u"EntryWithoutDescriptor", object));
    EXPECT_EQ(object, &stays);
    g_RuntimeClass.erase(u"EntryWithoutDescriptor");
}

// --- Making descriptors ------------------------------------------------------------------------------------------------------

TEST(OKTRuntimeClass, Construct_NewName_NextNumberAndEntered)
{
    TemporaryClass const first(u"TemporaryOne", new TestObject);
    TemporaryClass const second(u"TemporaryTwo", new TestObject, u"TemporaryOne", first.get());
    EXPECT_EQ(second->ClassCounter(), first->ClassCounter() + 1);
    EXPECT_EQ(second->ClassName(), CString(u"TemporaryTwo"));
    EXPECT_EQ(second->BaseClass(), CString(u"TemporaryOne"));
    EXPECT_EQ(second->BaseClassDesc(), first.get());
    EXPECT_EQ(*g_RuntimeClass.find(u"TemporaryTwo"), second.get());
    EXPECT_TRUE(second->IsDerivedFrom(OKTDbObject::desc()));
    EXPECT_FALSE(first->IsDerivedFrom(second.get()));
}

TEST(OKTRuntimeClass, Construct_SecondOfAName_FirstStaysAndPrototypeIsNeitherKeptNorDeleted_Quirk5)
{
    auto const prototype = std::make_unique<TestObject>();
    int const living = TestObject::living();
    {
        OKTRuntimeClass const second(u"OKTDbParameter", u"OKTDbObject", prototype.get(), OKTDbObject::desc());
        EXPECT_EQ(second.ClassCounter(), -1);
        EXPECT_TRUE(second.ClassName().IsEmpty());
        EXPECT_TRUE(second.BaseClass().IsEmpty());
        EXPECT_EQ(second.BaseClassDesc(), nullptr);
        EXPECT_EQ(second.CreateObject(), nullptr);
    }
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_EQ(*g_RuntimeClass.find(u"OKTDbParameter"), OKTDbParameter::desc());
    OKTDbObject *object = nullptr;
    ASSERT_TRUE(OKTTools::getObjectFromClassName(u"OKTDbParameter", object));
    EXPECT_EQ(object->isA(), OKTDbParameter::desc());
    delete object;
}

TEST(OKTRuntimeClass, Construct_NullPrototypeOrEmptyName_RefusedAndNoNumberUsed)
{
    TemporaryClass const before(u"TemporaryOne", new TestObject);
    int const size = g_RuntimeClass.getSize();
    auto const prototype = std::make_unique<TestObject>();
    ReportCatcher reports;
    OKTRuntimeClass const withoutPrototype(u"TemporaryTwo", u"OKTDbObject", nullptr, OKTDbObject::desc());
    OKTRuntimeClass const withoutName(u"", u"OKTDbObject", prototype.get(), OKTDbObject::desc());
    for (OKTRuntimeClass const *const refused : {&withoutPrototype, &withoutName})
    {
        EXPECT_EQ(refused->ClassCounter(), -1);
        EXPECT_TRUE(refused->ClassName().IsEmpty());
        EXPECT_TRUE(refused->BaseClass().IsEmpty());
        EXPECT_EQ(refused->BaseClassDesc(), nullptr);
        EXPECT_EQ(refused->CreateObject(), nullptr);
    }
    EXPECT_EQ(g_RuntimeClass.getSize(), size);
    EXPECT_EQ(reports.count(), 0u);
    TemporaryClass const after(u"TemporaryTwo", new TestObject);
    EXPECT_EQ(after->ClassCounter(), before->ClassCounter() + 1);
}

TEST(OKTRuntimeClass, IsA_TwoRefused_SameClassYetNotDerived_Quirk4)
{
    OKTRuntimeClass const first(u"", u"", nullptr, nullptr);
    OKTRuntimeClass const second(u"TemporaryOne", u"", nullptr, nullptr);
    EXPECT_TRUE(first.isA(&second));
    EXPECT_TRUE(second.isA(&first));
    EXPECT_FALSE(first.isA(OKTDbObject::desc()));
    EXPECT_FALSE(first.IsDerivedFrom(&second));
    EXPECT_FALSE(first.IsDerivedFrom(&first));
    EXPECT_FALSE(first.IsDerivedFrom(OKTDbObject::desc()));
    EXPECT_FALSE(OKTDbObject::desc()->IsDerivedFrom(&first));
}

TEST(OKTRuntimeClass, Destroy_Registered_PrototypeDeletedAndEntryStays)
{
    int const living = TestObject::living();
    {
        OKTRuntimeClass const desc(u"TemporaryOne", u"OKTDbObject", new TestObject, OKTDbObject::desc());
        EXPECT_EQ(TestObject::living(), living + 1);
    }
    EXPECT_EQ(TestObject::living(), living);
    EXPECT_TRUE(g_RuntimeClass.contains(u"TemporaryOne"));
    g_RuntimeClass.erase(u"TemporaryOne");
}

TEST(OKTRuntimeClass, Construct_BaseNotYetMade_DerivedOnceItIs)
{
    // Only the address of the base counts: it is made after its derived class, as in a static table in any order.
    alignas(OKTRuntimeClass) unsigned char room[sizeof(OKTRuntimeClass)] = {};
    auto *const base = reinterpret_cast<OKTRuntimeClass *>(room);
    TemporaryClass const derived(u"TemporaryDerived", new TestObject, u"TemporaryBase", base);
    new (room) OKTRuntimeClass(u"TemporaryBase", u"OKTDbObject", new TestObject, OKTDbObject::desc());
    EXPECT_EQ(derived->BaseClassDesc(), base);
    EXPECT_TRUE(derived->IsDerivedFrom(base));
    EXPECT_TRUE(derived->IsDerivedFrom(OKTDbObject::desc()));
    EXPECT_FALSE(base->IsDerivedFrom(derived.get()));
    g_RuntimeClass.erase(u"TemporaryBase");
    base->~OKTRuntimeClass();
}

TEST(OKTRuntimeClass, Copy_AllFieldsPrototypeIncluded)
{
    // A copy shares the prototype and must not be destroyed, so it lies in bare memory, and its share of the names is lost.
    ExpectedLeak const leak;
    TemporaryClass const original(u"TemporaryOne", new TestObject);
    alignas(OKTRuntimeClass) unsigned char room[sizeof(OKTRuntimeClass)];
    auto *const copy = new (room) OKTRuntimeClass(*original);
    EXPECT_EQ(copy->ClassName(), CString(u"TemporaryOne"));
    EXPECT_EQ(copy->BaseClass(), CString(u"OKTDbObject"));
    EXPECT_EQ(copy->BaseClassDesc(), OKTDbObject::desc());
    EXPECT_EQ(copy->ClassCounter(), original->ClassCounter());
    EXPECT_TRUE(copy->isA(original.get()));
    std::unique_ptr<OKTDbObject> const object(copy->CreateObject());
    EXPECT_EQ(TestObject::cast(object.get()), object.get());
}
