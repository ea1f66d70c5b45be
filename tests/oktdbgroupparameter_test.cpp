// SPDX-License-Identifier: MIT
#include "support/alloccount.h"
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"
#include "support/streambuilder.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>

using testing::ElementsAre;

namespace
{
class GroupParameterTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    /// A parameter of the pool with that name.
    OKTDbParameter *parameter(char16_t const *name)
    {
        auto *const made = new OKTDbParameter;
        made->setUserName(name, false);
        EXPECT_TRUE(m_pool.appendObject(made));
        return made;
    }

    /// The same, and an element of the group.
    OKTDbParameter *element(char16_t const *name)
    {
        OKTDbParameter *const made = parameter(name);
        m_group.addElement(made->objectId());
        return made;
    }

    std::vector<CString> names()
    {
        IdArray ids;
        m_group.getAllElements(ids);
        std::vector<CString> names;
        for (OKTDbObjectId const &id : ids)
            names.push_back(OKTDbParameter::cast(id)->UserName());
        return names;
    }

    int size()
    {
        IdArray ids;
        m_group.getAllElements(ids);
        return ids.getSize();
    }

    /// An array of doubles. The caller clears it.
    static tagVARIANT arrayOf(std::initializer_list<double> values, LONG lowerBound = 0)
    {
        tagVARIANT variant = {};
        variant.vt = VT_ARRAY | VT_R8;
        variant.parray = SafeArrayCreateVector(VT_R8, lowerBound, static_cast<ULONG>(values.size()));
        LONG index = lowerBound;
        for (double value : values)
        {
            EXPECT_EQ(SafeArrayPutElement(variant.parray, &index, &value), S_OK);
            ++index;
        }
        return variant;
    }

    std::vector<double> values()
    {
        tagVARIANT out = {};
        m_group.ValuesVariant(out);
        EXPECT_EQ(out.vt, VT_ARRAY | VT_R8);
        EXPECT_EQ(SafeArrayGetDim(out.parray), 1u);
        LONG lower = -1;
        LONG upper = -2;
        EXPECT_EQ(SafeArrayGetLBound(out.parray, 1, &lower), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(out.parray, 1, &upper), S_OK);
        EXPECT_EQ(lower, 0);
        std::vector<double> values;
        for (LONG i = lower; i <= upper; ++i)
        {
            double value = -1.0;
            EXPECT_EQ(SafeArrayGetElement(out.parray, &i, &value), S_OK);
            values.push_back(value);
        }
        VariantClear(&out);
        return values;
    }

    std::vector<CString> codes()
    {
        tagVARIANT out = {};
        m_group.UserNamesVariant(out);
        EXPECT_EQ(out.vt, VT_ARRAY | VT_BSTR);
        EXPECT_EQ(SafeArrayGetDim(out.parray), 1u);
        LONG lower = -1;
        LONG upper = -2;
        EXPECT_EQ(SafeArrayGetLBound(out.parray, 1, &lower), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(out.parray, 1, &upper), S_OK);
        EXPECT_EQ(lower, 0);
        std::vector<CString> codes;
        for (LONG i = lower; i <= upper; ++i)
        {
            BSTR text = nullptr;
            EXPECT_EQ(SafeArrayGetElement(out.parray, &i, &text), S_OK);
            codes.emplace_back(text, static_cast<int>(SysStringLen(text)));
            SysFreeString(text);
        }
        VariantClear(&out);
        return codes;
    }

    OKTDbPool m_pool;
    OKTDbGroupParameter m_group;
    ReportCatcher m_reports;
};

// --- The list of elements ----------------------------------------------------------------------------------------------------

TEST_F(GroupParameterTest, Constructor_ParameterWithoutTypeAndElements)
{
    EXPECT_EQ(m_group.Type(), -1);
    EXPECT_EQ(m_group.Value().vt, VT_I4);
    EXPECT_EQ(size(), 0);
    EXPECT_EQ(m_group.TabParams().getSize(), 0);
}

TEST_F(GroupParameterTest, ClassPattern_ParameterIsTheParent)
{
    EXPECT_EQ(OKTDbGroupParameter::desc()->ClassName(), u"OKTDbGroupParameter");
    EXPECT_EQ(OKTDbGroupParameter::desc()->BaseClassDesc(), OKTDbParameter::desc());
    EXPECT_TRUE(m_group.isKindOf(OKTDbParameter::desc()));
    EXPECT_TRUE(m_group.isA(u"OKTDbGroupParameter"));
    EXPECT_FALSE(m_group.isA(u"OKTDbParameter"));
    EXPECT_EQ(OKTDbParameter::cast(&m_group), &m_group);
    OKTDbParameter plain;
    EXPECT_EQ(OKTDbGroupParameter::cast(&plain), nullptr);
    std::unique_ptr<OKTDbObject> const made(m_group.createObject());
    EXPECT_NE(OKTDbGroupParameter::cast(made.get()), nullptr);
}

TEST_F(GroupParameterTest, AddElement_AnyOrder_ShorterNamesFirstThenWithoutCase)
{
    for (char16_t const *const name : {u"B", u"a", u"AA"})
        element(name);
    EXPECT_THAT(names(), ElementsAre(u"a", u"B", u"AA"));
    for (char16_t const *const name : {u"", u"c", u"Ab", u"aa", u"b"})
        element(name);
    EXPECT_THAT(names(), ElementsAre(u"", u"a", u"B", u"b", u"c", u"AA", u"aa", u"Ab"));
}

TEST_F(GroupParameterTest, AddElement_ListCodes_AreInTheOrderOfTheirIndexes)
{
    for (int const index : {27, 1, 26, 703, 2})
    {
        auto *const made = new OKTDbParameter;
        made->setListIndex(index);
        made->setUserName(u"Spacing", true);
        m_pool.appendObject(made);
        m_group.addElement(made->objectId());
    }
    EXPECT_THAT(names(), ElementsAre(u"Spacing A", u"Spacing B", u"Spacing Z", u"Spacing AA", u"Spacing AAA"));
}

TEST_F(GroupParameterTest, AddElement_EqualNames_LaterOneBehind)
{
    OKTDbParameter const *const first = element(u"Spacing");
    OKTDbParameter const *const second = element(u"SPACING");
    OKTDbParameter const *const third = element(u"spacing");
    IdArray ids;
    m_group.getAllElements(ids);
    ASSERT_EQ(ids.getSize(), 3);
    EXPECT_EQ(ids.at(0), first->objectId());
    EXPECT_EQ(ids.at(1), second->objectId());
    EXPECT_EQ(ids.at(2), third->objectId());
}

TEST_F(GroupParameterTest, AddElement_NoParameterOrTwice_IsIgnored)
{
    OKTDbParameter const *const kept = element(u"a");
    auto *const category = new OKTDbCategory;
    m_pool.appendObject(category);
    m_group.addElement(kept->objectId());
    m_group.addElement(category->objectId());
    m_group.addElement(OKTDbObjectId());
    m_group.addElement(idOf("{00000001-1111-1111-1111-111111111111}", &m_pool));
    m_group.addElement(idOf(textOf(kept->objectId())));
    EXPECT_EQ(size(), 1);
}

TEST_F(GroupParameterTest, AddElement_AfterARename_GoesByTheNamesOfTheTimeOfAdding)
{
    OKTDbParameter *const first = element(u"a");
    element(u"c");
    first->setUserName(u"zzzz", false);
    EXPECT_THAT(names(), ElementsAre(u"zzzz", u"c"));
    element(u"b");
    EXPECT_THAT(names(), ElementsAre(u"zzzz", u"b", u"c"));
}

TEST_F(GroupParameterTest, RemoveElement_ById_OthersStayInOrder)
{
    OKTDbParameter const *const a = element(u"a");
    OKTDbParameter const *const b = element(u"b");
    element(u"c");
    m_group.removeElement(b->objectId());
    EXPECT_THAT(names(), ElementsAre(u"a", u"c"));
    m_group.removeElement(b->objectId());
    m_group.removeElement(OKTDbObjectId());
    EXPECT_EQ(size(), 2);
    m_group.removeElement(a->objectId());
    element(u"b"); // the name of the removed entry is gone with it
    EXPECT_THAT(names(), ElementsAre(u"b", u"c"));
    EXPECT_EQ(m_pool.objectCount(), 4);
}

TEST_F(GroupParameterTest, EraseAll_EmptiesTheListAndKeepsTheObjects)
{
    element(u"a");
    element(u"b");
    m_group.eraseAll();
    EXPECT_EQ(size(), 0);
    EXPECT_EQ(m_pool.objectCount(), 2);
    element(u"c");
    EXPECT_THAT(names(), ElementsAre(u"c"));
}

TEST_F(GroupParameterTest, GetAllElements_ReplacesItsArgument)
{
    element(u"a");
    IdArray ids;
    ids.append(OKTDbObjectId(), 5);
    m_group.getAllElements(ids);
    EXPECT_EQ(ids.getSize(), 1);
    ids.removeAll();
    EXPECT_EQ(size(), 1);
}

TEST_F(GroupParameterTest, Copy_CarriesTheElements)
{
    element(u"a");
    OKTDbGroupParameter copy(m_group);
    element(u"b");
    IdArray ids;
    copy.getAllElements(ids);
    EXPECT_EQ(ids.getSize(), 1);
}

// --- Reading all values ------------------------------------------------------------------------------------------------------

TEST_F(GroupParameterTest, ArraysOfAnEmptyGroup_HoldNoEntry)
{
    EXPECT_THAT(values(), ElementsAre());
    EXPECT_THAT(codes(), ElementsAre());
}

TEST_F(GroupParameterTest, ValuesVariant_EachKind_OnlyDoublesCount_Quirk58)
{
    element(u"a")->setValue(1.5, 0);
    element(u"b")->setValue(7, 0);
    element(u"c")->setValue(u"3.5", 0);
    element(u"d")->setValue(true, 0);
    element(u"e")->setValue(-2.5, 0);
    element(u"f");
    EXPECT_THAT(values(), ElementsAre(1.5, 0.0, 0.0, 0.0, -2.5, 0.0));
}

TEST_F(GroupParameterTest, ValuesVariant_TargetThatHoldsSomething_IsClearedFirst)
{
    element(u"a")->setValue(1.5, 0);
    tagVARIANT out = {};
    out.vt = VT_BSTR;
    out.bstrVal = SysAllocString(u"freed by the call");
    m_group.ValuesVariant(out);
    EXPECT_EQ(out.vt, VT_ARRAY | VT_R8);
    m_group.UserNamesVariant(out);
    EXPECT_EQ(out.vt, VT_ARRAY | VT_BSTR);
    VariantClear(&out);
}

TEST_F(GroupParameterTest, UserNamesVariant_GivesListCodes_Quirk57)
{
    element(u"a")->setListIndex(2);
    element(u"b");
    element(u"c")->setListIndex(27);
    element(u"d")->setListIndex(-3);
    EXPECT_THAT(codes(), ElementsAre(u"B", u"", u"AA", u"3"));
}

TEST_F(GroupParameterTest, Arrays_ElementErasedFromThePool_KeepsItsPlace)
{
    OKTDbParameter *const a = element(u"a");
    OKTDbParameter *const b = element(u"b");
    OKTDbParameter *const c = element(u"c");
    a->setValue(1.0, 1);
    b->setValue(2.0, 2);
    c->setValue(3.0, 3);
    OKTDbObjectId id = b->objectId();
    ASSERT_TRUE(id.eraseObject());
    EXPECT_EQ(size(), 3);
    EXPECT_THAT(values(), ElementsAre(1.0, 0.0, 3.0));
    EXPECT_THAT(codes(), ElementsAre(u"A", u"", u"C"));
    tagVARIANT array = arrayOf({10.0, 20.0, 30.0});
    m_group.setValue(array);
    EXPECT_EQ(a->Value().dblVal, 10.0);
    EXPECT_EQ(c->Value().dblVal, 30.0);
    VariantClear(&array);
}

// --- Setting all values ------------------------------------------------------------------------------------------------------

TEST_F(GroupParameterTest, SetValue_AsManyAsElements_EachGetsADoubleAndKeepsItsListIndex)
{
    OKTDbParameter *const a = element(u"a");
    a->setValue(7, 4);
    OKTDbParameter *const b = element(u"b");
    b->setValue(u"text", 5);
    tagVARIANT array = arrayOf({1.5, 2.5});

    m_group.setValue(array);

    EXPECT_EQ(a->Value().vt, VT_R8);
    EXPECT_EQ(a->Value().dblVal, 1.5);
    EXPECT_EQ(a->ListIndex(), 4);
    EXPECT_EQ(b->Value().vt, VT_R8);
    EXPECT_EQ(b->Value().dblVal, 2.5);
    EXPECT_EQ(b->ListIndex(), 5);
    EXPECT_EQ(m_group.Value().vt, VT_I4); // its own value is not touched
    // The caller's array is whole and unlocked.
    EXPECT_EQ(array.vt, VT_ARRAY | VT_R8);
    LONG index = 1;
    double value = 0.0;
    EXPECT_EQ(SafeArrayGetElement(array.parray, &index, &value), S_OK);
    EXPECT_EQ(value, 2.5);
    EXPECT_EQ(VariantClear(&array), S_OK);
}

TEST_F(GroupParameterTest, SetValue_MoreOrFewerThanElements_TheCommonOnes)
{
    OKTDbParameter *const elements[] = {element(u"a"), element(u"b"), element(u"c")};
    tagVARIANT five = arrayOf({1, 2, 3, 4, 5});
    m_group.setValue(five);
    VariantClear(&five);
    EXPECT_THAT(values(), ElementsAre(1.0, 2.0, 3.0));
    tagVARIANT two = arrayOf({10, 20});
    m_group.setValue(two);
    VariantClear(&two);
    EXPECT_THAT(values(), ElementsAre(10.0, 20.0, 3.0));
    tagVARIANT none = arrayOf({});
    m_group.setValue(none);
    EXPECT_EQ(VariantClear(&none), S_OK);
    EXPECT_THAT(values(), ElementsAre(10.0, 20.0, 3.0));
    EXPECT_EQ(elements[2]->Value().dblVal, 3.0);
}

TEST_F(GroupParameterTest, SetValue_OtherLowerBounds_FirstEntryGoesToTheFirstElement)
{
    element(u"a");
    element(u"b");
    for (LONG const lower : {1, -5, 1000000})
    {
        tagVARIANT array = arrayOf({1.5 + lower, 2.5 + lower}, lower);
        m_group.setValue(array);
        VariantClear(&array);
        EXPECT_THAT(values(), ElementsAre(1.5 + lower, 2.5 + lower)) << lower;
    }
}

TEST_F(GroupParameterTest, SetValue_ArrayOfAnotherKind_BytesAreReadAsDoubles_Quirk58)
{
    element(u"a");
    tagVARIANT array = {};
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 2);
    double const value = 2.5;
    void *data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array.parray, &data), S_OK);
    std::memcpy(data, &value, sizeof value);
    SafeArrayUnaccessData(array.parray);
    m_group.setValue(array);
    EXPECT_THAT(values(), ElementsAre(2.5));
    VariantClear(&array);
}

TEST_F(GroupParameterTest, SetValue_EntriesNarrowerThanDoubles_NothingBeyondTheDataIsRead_Quirk58)
{
    element(u"a");
    element(u"b");
    element(u"c");
    tagVARIANT array = {};
    array.vt = VT_ARRAY | VT_UI1;
    array.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
    m_group.setValue(array); // three bytes for three doubles
    EXPECT_THAT(values(), ElementsAre(0.0, 0.0, 0.0));
    EXPECT_EQ(VariantClear(&array), S_OK);
}

TEST_F(GroupParameterTest, SetValue_NoArray_OneReportAndNothingElse)
{
    OKTDbParameter *const a = element(u"a");
    a->setValue(1.5, 0);
    tagVARIANT value = {};
    value.vt = VT_R8;
    value.dblVal = 2.5;
    m_group.setValue(value);
    EXPECT_EQ(m_reports.count(), 1u);
    m_reports.clear();
    EXPECT_EQ(a->Value().dblVal, 1.5);
    EXPECT_EQ(m_group.Value().vt, VT_I4);
    EXPECT_EQ(value.dblVal, 2.5);
}

TEST_F(GroupParameterTest, SetValue_TwoDimensions_NothingIsSetAndTheArrayIsDestroyed_Quirk56)
{
    OKTDbParameter *const a = element(u"a");
    a->setValue(1.5, 0);
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    tagVARIANT array = {};
    array.vt = VT_ARRAY | VT_R8;
    array.parray = SafeArrayCreate(VT_R8, 2, bounds);
    ASSERT_NE(array.parray, nullptr);
    m_group.setValue(array);
    // Not used again: that it was destroyed is for the leak checker to see.
    EXPECT_EQ(a->Value().dblVal, 1.5);
}

TEST_F(GroupParameterTest, SetValue_VariantWhoseArrayIsNull_NothingIsSetAndNoReport)
{
    OKTDbParameter *const a = element(u"a");
    a->setValue(1.5, 0);
    tagVARIANT array = {};
    array.vt = VT_ARRAY | VT_R8;
    m_group.setValue(array); // no dimension at all is not one
    EXPECT_EQ(a->Value().dblVal, 1.5);
}

TEST_F(GroupParameterTest, SetValue_ElementThatThrows_OneReportAndThoseBehindItStay)
{
    class Throwing : public OKTDbParameter
    {
    public:
        using OKTDbParameter::setValue;
        void setValue(tagVARIANT const &) override { throw std::runtime_error("told to"); }
    };
    OKTDbParameter *const a = element(u"a");
    auto *const b = new Throwing;
    b->setUserName(u"b", false);
    ASSERT_TRUE(m_pool.appendObject(b));
    m_group.addElement(b->objectId());
    OKTDbParameter *const c = element(u"c");
    c->setValue(0.5, 0);
    tagVARIANT array = arrayOf({1.5, 2.5, 3.5});
    m_group.setValue(array);
    ASSERT_EQ(m_reports.count(), 1u);
    EXPECT_THAT(m_reports.texts()[0], IsReportOf("oktdbgroupparameter"));
    m_reports.clear();
    EXPECT_EQ(a->Value().dblVal, 1.5);
    EXPECT_EQ(c->Value().dblVal, 0.5);
    // The data were still accessed: an array that is locked is not destroyed.
    EXPECT_EQ(array.parray->cLocks, 1u);
    EXPECT_EQ(SafeArrayUnaccessData(array.parray), S_OK);
    EXPECT_EQ(VariantClear(&array), S_OK);
}

TEST_F(GroupParameterTest, SetValue_ElementThatIsAGroup_ReportsAndTheOthersAreSet)
{
    element(u"a");
    auto *const inner = new OKTDbGroupParameter;
    inner->setUserName(u"b", false);
    m_pool.appendObject(inner);
    m_group.addElement(inner->objectId());
    element(u"c");
    tagVARIANT array = arrayOf({1.5, 2.5, 3.5});
    m_group.setValue(array);
    EXPECT_EQ(m_reports.count(), 1u);
    m_reports.clear();
    EXPECT_THAT(values(), ElementsAre(1.5, 0.0, 3.5));
    EXPECT_EQ(VariantClear(&array), S_OK);
}

TEST_F(GroupParameterTest, SetValue_OverloadsWithListIndex_SetTheGroupsOwnValue)
{
    OKTDbParameter *const a = element(u"a");
    a->setValue(1.5, 0);
    m_group.setValue(9.5, 3);
    EXPECT_EQ(m_group.Value().vt, VT_R8);
    EXPECT_EQ(m_group.Value().dblVal, 9.5);
    EXPECT_EQ(m_group.ListIndex(), 3);
    m_group.setValue(u"text", 4);
    EXPECT_EQ(m_group.Value().vt, VT_BSTR);
    EXPECT_EQ(m_group.ListIndex(), 4);
    EXPECT_EQ(a->Value().dblVal, 1.5);
}

// --- The stream form ---------------------------------------------------------------------------------------------------------

TEST_F(GroupParameterTest, XmlOut_WithElements_IsAnOrdinaryParameter_Quirk55)
{
    element(u"a");
    m_group.setObjectId(idOf("{00000001-1111-1111-1111-111111111111}"));
    m_group.setUserName(u"group", false);
    OKTMemoryFiler filer;
    ASSERT_EQ(m_group.xmlOut(&filer), eFilerOk);
    ParameterFields fields;
    fields.id = "{00000001-1111-1111-1111-111111111111}";
    fields.userName = u"group";
    EXPECT_EQ(filer.takeBytes(), parameterFrame(fields).bytes());
}

TEST_F(GroupParameterTest, XmlIn_FrameOfAParameter_IsReadAndTheElementsStay_Quirk55)
{
    element(u"a");
    ParameterFields fields;
    fields.userName = u"read";
    OKTMemoryFiler filer;
    filer.loadFiler(parameterFrame(fields).bytes());
    EXPECT_EQ(m_group.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(m_group.UserName(), u"read");
    EXPECT_EQ(size(), 1);
}

TEST_F(GroupParameterTest, PoolFile_Group_ComesBackAsAParameter_Quirk55)
{
    auto *const group = new OKTDbGroupParameter;
    group->setUserName(u"group", false);
    m_pool.appendObject(group);
    group->addElement(parameter(u"a")->objectId());
    CByteArray image;
    IdMap translated;
    ASSERT_TRUE(m_pool.saveFiler(image, translated));

    OKTDbPool loaded;
    ASSERT_TRUE(loaded.loadFiler(image));

    OKTDbObject *back = nullptr;
    ASSERT_TRUE(loaded.findObject(group->objectId(), back));
    EXPECT_TRUE(back->isA(u"OKTDbParameter"));
    EXPECT_EQ(OKTDbParameter::cast(back)->UserName(), u"group");
    EXPECT_EQ(OKTDbParameter::cast(back)->TabParams().getSize(), 0);
}

// --- Memory that runs out ----------------------------------------------------------------------------------------------------

TEST_F(GroupParameterTest, AddElement_EachAllocationFails_NamesAndIdsStayInStep)
{
    OKTDbParameter *const one = parameter(u"a");
    OKTDbParameter *const two = parameter(u"bb");
    OKTDbParameter *const three = parameter(u"ccc");
    OKTDbParameter *const four = parameter(u"dddd");
    bool isStriking = true;
    int faults = 0;
    for (std::size_t n = 0; isStriking && n < 100; ++n)
    {
        SCOPED_TRACE(n);
        OKTDbGroupParameter group;
        group.addElement(two->objectId());
        group.addElement(four->objectId());
        OKTDbObjectId const added = three->objectId();
        {
            AllocationFault const fault(n);
            group.addElement(added);
            isStriking = fault.struck();
        }
        faults += isStriking ? 1 : 0;
        EXPECT_EQ(m_reports.count(), isStriking ? 1u : 0u);
        m_reports.clear();
        IdArray ids;
        group.getAllElements(ids);
        EXPECT_EQ(ids.getSize(), isStriking ? 2 : 3);

        // A name without its id, or an id without its name, would put these in a wrong place.
        group.removeElement(two->objectId());
        group.addElement(one->objectId());
        group.addElement(three->objectId());
        group.addElement(two->objectId());
        group.getAllElements(ids);
        ASSERT_EQ(ids.getSize(), 4);
        EXPECT_EQ(ids.at(0), one->objectId());
        EXPECT_EQ(ids.at(1), two->objectId());
        EXPECT_EQ(ids.at(2), three->objectId());
        EXPECT_EQ(ids.at(3), four->objectId());
        for (OKTDbObjectId const &id : ids)
            group.removeElement(id);
        group.getAllElements(ids);
        EXPECT_EQ(ids.getSize(), 0);
        EXPECT_EQ(m_reports.count(), 0u);
    }
    EXPECT_GE(faults, 2); // the list of ids grows, and that of names
}
} // namespace
