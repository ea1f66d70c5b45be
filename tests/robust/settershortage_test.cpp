// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/bytetext.h"
#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

// Memory that runs out while a member is set or a list changed: the object has its old state or the new one, never half of it, and
// what it keeps is reported.

namespace
{
constexpr int kMany = 40;

std::string stateOf(OKTDbObject const &object)
{
    OKTMemoryFiler filer;
    FilerStatusDb const status = object.xmlOut(&filer);
    return std::to_string(status) + textOf(written(filer));
}

IdArray newIds(int count)
{
    IdArray ids;
    for (int i = 0; i < count; ++i)
        ids.append(OKTDbObjectId::createObjectId(nullptr));
    return ids;
}

/// `change` is done to an object that `make` makes; `isAllowed` names further states.
template <typename T> void changeUnderFaults(
    char const *name, std::function<std::unique_ptr<T>()> const &make, std::function<void(T &)> const &change,
    std::function<std::string(T const &)> const &state = [](T const &object) { return stateOf(object); },
    std::function<bool(T const &)> const &isAllowed = [](T const &) { return false; }, bool mayTakeNone = false)
{
    std::unique_ptr<T> object = make();
    std::string const before = state(*object);
    change(*object);
    std::string const after = state(*object);
    ASSERT_NE(before, after) << name;
    object.reset();
    forEveryFault({
        .name = name,
        .prepare = [&] { object = make(); },
        .perform = [&] { change(*object); },
        .judge = [&](bool struck) -> std::string {
            std::string const found = state(*object);
            std::string wrong;
            if (found != after && !struck)
                wrong = "nothing changed, without cause";
            else if (found != after && found != before && !isAllowed(*object))
                wrong = "neither the old nor the new state";
            else if (found != after && ReportCounter::count() == 0)
                wrong = "the old state without a report";
            object = make();
            change(*object);
            if (state(*object) != after)
                wrong = firstOf(wrong, std::string("with memory back, nothing changes"));
            object.reset();
            return wrong;
        },
        .mayTakeNone = mayTakeNone,
    });
}

/// The same for what should need no memory.
template <typename T>
void changeInPlace(char const *name, std::function<std::unique_ptr<T>()> const &make, std::function<void(T &)> const &change)
{
    changeUnderFaults<T>(
        name, make, change, [](T const &object) { return stateOf(object); }, [](T const &) { return false; }, true);
}

// Wraps a literal, of which an object has to make a text of its own.
CString const kLong = u"a text that is longer than any that is kept in place, with Ø in it";

/// What a variant holds, a text or the elements of an array of texts or numbers. Clears it.
std::string takeText(tagVARIANT &value)
{
    std::string text;
    LONG upper = -1;
    if (value.vt == VT_BSTR)
        text = CString(value.bstrVal).ToUtf8();
    else if ((value.vt & VT_ARRAY) != 0 && SUCCEEDED(SafeArrayGetUBound(value.parray, 1, &upper)))
        for (LONG i = 0; i <= upper; ++i)
        {
            BSTR code = nullptr;
            double number = 0.0;
            bool const isText = (value.vt & ~VT_ARRAY) == VT_BSTR;
            if (FAILED(SafeArrayGetElement(value.parray, &i, isText ? static_cast<void *>(&code) : &number)))
                text += "none";
            text += (isText ? CString(code).ToUtf8() : std::to_string(number)) + "\n";
            SysFreeString(code);
        }
    VariantClear(&value);
    return text;
}

std::unique_ptr<OKTDbParameter> filledParameter()
{
    auto parameter = std::make_unique<OKTDbParameter>();
    parameter->setUserName(u"the name before", false);
    parameter->setDescription(u"the description before");
    parameter->setExpression(u"the expression before");
    parameter->setValue(u"the value before", 3);
    return parameter;
}

void changeParameter(char const *name, std::function<void(OKTDbParameter &)> const &change)
{
    changeUnderFaults<OKTDbParameter>(name, filledParameter, change);
}
} // namespace

TEST(ShortageSetters, ParameterTexts_EveryFault_OldOrNew)
{
    changeParameter("setUserName", [](OKTDbParameter &p) { p.setUserName(kLong, false); });
    changeParameter("setUserName, appending", [](OKTDbParameter &p) { p.setUserName(kLong, true); });
    changeParameter("setExpression", [](OKTDbParameter &p) { p.setExpression(kLong); });
    changeParameter("setDescription", [](OKTDbParameter &p) { p.setDescription(kLong); });
}

TEST(ShortageSetters, ParameterValues_EveryFault_OldOrNewOrAnErrorForAVariant)
{
    changeParameter("setValue of a CString", [](OKTDbParameter &p) { p.setValue(kLong, 7); });
    changeParameter("setValue of wchar_t", [](OKTDbParameter &p) { p.setValue(L"a text of wide characters", 7); });
    changeParameter("setValue of char16_t", [](OKTDbParameter &p) { p.setValue(u"a text of 16-bit characters", 7); });
    changeParameter("setValue of char", [](OKTDbParameter &p) { p.setValue("a text of 8-bit characters", 7); });

    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = kLong.AllocSysString();
    // A copy that fails leaves the kind of an error, and the list index.
    changeUnderFaults<OKTDbParameter>(
        "setValue of a variant", filledParameter, [&](OKTDbParameter &p) { p.setValue(value); },
        [](OKTDbParameter const &p) { return stateOf(p); },
        [](OKTDbParameter const &p) {
            return p.Value().vt == VT_ERROR && p.ListIndex() == 3 && p.UserName() == u"the name before";
        });
    VariantClear(&value);
}

TEST(ShortageSetters, ParameterLists_EveryFault_OldOrNew)
{
    IdArray const ids = newIds(kMany);
    changeUnderFaults<OKTDbParameter>(
        "setTabParams",
        [] {
            auto parameter = filledParameter();
            parameter->setTabParams(newIds(0));
            return parameter;
        },
        [&](OKTDbParameter &p) { p.setTabParams(ids); });
}

TEST(ShortageSetters, ParameterNumbersAndIds_EveryFault_OldOrNew)
{
    IdArray const ids = newIds(1);
    std::map<char const *, std::function<void(OKTDbParameter &)>> const changes = {
        {"setType", [](OKTDbParameter &p) { p.setType(static_cast<ParamType>(12)); }},
        {"setListIndex", [](OKTDbParameter &p) { p.setListIndex(9); }},
        {"setCategory", [&](OKTDbParameter &p) { p.setCategory(ids.at(0)); }},
        {"setOwnerId", [&](OKTDbParameter &p) { p.setOwnerId(ids.at(0)); }},
        {"setObjectId", [&](OKTDbParameter &p) { p.setObjectId(ids.at(0)); }},
        {"setValue of a double", [](OKTDbParameter &p) { p.setValue(2.5, 4); }},
        {"setValue of a long", [](OKTDbParameter &p) { p.setValue(70'000L, 4); }},
        {"setValue of an int", [](OKTDbParameter &p) { p.setValue(7, 4); }},
        {"setValue of a bool", [](OKTDbParameter &p) { p.setValue(true, 4); }},
        {"setValue of null", [](OKTDbParameter &p) { p.setValue(nullptr, 4); }},
    };
    for (auto const &[name, change] : changes)
        changeInPlace<OKTDbParameter>(name, filledParameter, change);
}

TEST(ShortageSetters, Lists_WhatIsTakenOut_EveryFault_OldOrNew)
{
    IdArray const ids = newIds(4);
    auto const makeCategory = [&] {
        auto category = std::make_unique<OKTDbCategory>();
        for (OKTDbObjectId const &id : ids)
            category->appendParameter(id);
        return category;
    };
    auto const makeGroups = [&] {
        auto group = std::make_unique<OKTDbGroupCategory>();
        for (OKTDbObjectId const &id : ids)
            group->appendCategory(id);
        return group;
    };
    auto const makeRelation = [&] {
        auto relation = std::make_unique<OKTDbParamRelation>();
        for (OKTDbObjectId const &id : ids)
            relation->appendParameter(id);
        return relation;
    };
    changeInPlace<OKTDbCategory>("OKTDbCategory::removeParameter", makeCategory,
                                 [&](OKTDbCategory &c) { c.removeParameter(ids.at(1)); });
    changeInPlace<OKTDbCategory>("OKTDbCategory::removeAllParameters", makeCategory,
                                 [](OKTDbCategory &c) { c.removeAllParameters(); });
    changeInPlace<OKTDbCategory>("setGroupCategory", makeCategory, [&](OKTDbCategory &c) { c.setGroupCategory(ids.at(0)); });
    changeInPlace<OKTDbGroupCategory>("removeCagegory", makeGroups,
                                      [&](OKTDbGroupCategory &g) { g.removeCagegory(ids.at(3)); });
    changeInPlace<OKTDbGroupCategory>("removeAllCategories", makeGroups,
                                      [](OKTDbGroupCategory &g) { g.removeAllCategories(); });
    changeInPlace<OKTDbParamRelation>("OKTDbParamRelation::removeParameter", makeRelation,
                                      [&](OKTDbParamRelation &r) { r.removeParameter(ids.at(0)); });
    changeInPlace<OKTDbParamRelation>("OKTDbParamRelation::removeAllParameters", makeRelation,
                                      [](OKTDbParamRelation &r) { r.removeAllParameters(); });
    changeInPlace<OKTDbPicture>(
        "setCameraData", [] { return std::make_unique<OKTDbPicture>(); },
        [](OKTDbPicture &p) { p.setCameraData(OKTGeXYZ(1, 2, 3), OKTGeXYZ(4, 5, 6), OKTGeXYZ(0, 0, 1)); });
    changeInPlace<OKTDbRelation>(
        "OKTDbRelation::setObjectId", [] { return std::make_unique<OKTDbRelation>(); },
        [&](OKTDbRelation &r) { r.setObjectId(ids.at(0)); });
}

TEST(ShortageSetters, GroupParameter_EveryFault_OldOrNew)
{
    OKTDbPool pool;
    fillWithParameters(pool, kMany);
    auto const names = [](OKTDbGroupParameter const &group) {
        auto &asked = const_cast<OKTDbGroupParameter &>(group);
        IdArray elements;
        asked.getAllElements(elements);
        tagVARIANT codes = {};
        asked.UserNamesVariant(codes);
        VariantClear(&codes);
        std::string text;
        for (OKTDbObjectId const &id : elements)
            text += id.getGuidAsString(true).ToUtf8() + "\n";
        return text;
    };
    auto const make = [&] {
        auto group = std::make_unique<OKTDbGroupParameter>();
        for (int i = 0; i < 8; ++i)
            group->addElement(pool.objectAt(i));
        return group;
    };
    changeUnderFaults<OKTDbGroupParameter>(
        "addElement", make, [&](OKTDbGroupParameter &group) { group.addElement(pool.objectAt(9)); }, names);
    for (bool const isOne : {true, false})
        changeUnderFaults<OKTDbGroupParameter>(
            isOne ? "removeElement" : "eraseAll", make,
            [&](OKTDbGroupParameter &group) { isOne ? group.removeElement(pool.objectAt(3)) : group.eraseAll(); }, names,
            [](OKTDbGroupParameter const &) { return false; }, true);
    // The lists of elements and of their names stay in step: what is added next finds its place, and what is removed goes from both.
    changeUnderFaults<OKTDbGroupParameter>(
        "addElement, then removeElement", make,
        [&](OKTDbGroupParameter &group) {
            group.addElement(pool.objectAt(9));
            group.removeElement(pool.objectAt(0));
        },
        names, [&](OKTDbGroupParameter const &) { return true; });
}

TEST(ShortageSetters, GroupParameterArrays_EveryFault_OldOrNew)
{
    OKTDbPool pool;
    fillWithParameters(pool, kMany);
    OKTDbGroupParameter group;
    for (int i = 0; i < kMany; ++i)
        group.addElement(pool.objectAt(i));
    struct Row
    {
        char const *name;
        void (OKTDbGroupParameter::*ask)(tagVARIANT &);
    };
    tagVARIANT out = {};
    for (Row const &row : {Row{"ValuesVariant", &OKTDbGroupParameter::ValuesVariant},
                           Row{"UserNamesVariant", &OKTDbGroupParameter::UserNamesVariant}})
    {
        (group.*row.ask)(out);
        std::string const whole = takeText(out);
        forEveryFault({
            .name = row.name,
            .prepare =
                [&] {
                    out.vt = VT_BSTR;
                    out.bstrVal = SysAllocString(u"what was there before");
                },
            .perform = [&] { (group.*row.ask)(out); },
            .judge = [&](bool struck) -> std::string {
                std::string const found = takeText(out);
                bool const isOld = found == "what was there before";
                if (isOld && !struck)
                    return "nothing came, without cause";
                return isOld || found == whole ? "" : "neither the old nor the new state";
            },
        });
    }
}

TEST(ShortageSetters, CategoriesAndRelations_EveryFault_OldOrNew)
{
    OKTDbObjectId const id = OKTDbObjectId::createObjectId(nullptr);
    auto const makeCategory = [] {
        auto category = std::make_unique<OKTDbCategory>();
        for (OKTDbObjectId const &parameter : newIds(4))
            category->appendParameter(parameter);
        category->setCategoryName(u"the name before");
        return category;
    };
    // The ids are random: what counts is their number, and that the last one is whole.
    changeUnderFaults<OKTDbCategory>(
        "OKTDbCategory::appendParameter", makeCategory, [&](OKTDbCategory &category) { category.appendParameter(id); },
        [&](OKTDbCategory const &c) {
            return std::to_string(c.parameterCount()) + (c.findParameterIndex(id) == 4 ? " with it" : "");
        });
    changeUnderFaults<OKTDbCategory>(
        "setCategoryName", makeCategory, [&](OKTDbCategory &category) { category.setCategoryName(kLong); },
        [](OKTDbCategory const &c) { return c.CategoryName().ToUtf8(); });
    changeUnderFaults<OKTDbGroupCategory>(
        "appendCategory", [] { return std::make_unique<OKTDbGroupCategory>(); },
        [&](OKTDbGroupCategory &group) { group.appendCategory(id); });
    changeUnderFaults<OKTDbParamRelation>(
        "OKTDbParamRelation::appendParameter", [] { return std::make_unique<OKTDbParamRelation>(); },
        [&](OKTDbParamRelation &relation) { relation.appendParameter(id); });
}

TEST(ShortageSetters, GetAll_EveryFault_OldOrNew)
{
    IdArray const ids = newIds(kMany);
    OKTDbCategory category;
    OKTDbGroupCategory groups;
    OKTDbParamRelation relation;
    for (OKTDbObjectId const &id : ids)
    {
        category.appendParameter(id);
        groups.appendCategory(id);
        relation.appendParameter(id);
    }
    IdArray found;
    std::map<std::string, std::function<void()>> const calls = {
        {"OKTDbCategory::getAllParameters", [&] { category.getAllParameters(found); }},
        {"getAllCategories", [&] { groups.getAllCategories(found); }},
        {"OKTDbParamRelation::getAllParameters", [&] { relation.getAllParameters(found); }},
    };
    for (auto const &[name, call] : calls)
        forEveryFault({
            .name = name,
            .prepare = [&] { found.append(ids.at(0)); },
            .perform = call,
            .judge = [&](bool struck) -> std::string {
                int const count = found.getSize();
                found = IdArray();
                if (count == 1 && !struck)
                    return "nothing came, without cause";
                return count == 1 || count == kMany ? "" : "neither the old nor the new state";
            },
        });
}

TEST(ShortageSetters, Picture_EveryFault_OldOrNew)
{
    CByteArray data;
    data.SetSize(50'000);
    CByteArray old;
    old.SetSize(10);
    changeUnderFaults<OKTDbPicture>(
        "setPictureData",
        [&] {
            auto picture = std::make_unique<OKTDbPicture>();
            picture->setPictureData(old);
            return picture;
        },
        [&](OKTDbPicture &picture) { picture.setPictureData(data); });
    OKTDbPicture picture;
    picture.setPictureData(data);
    CByteArray found;
    forEveryFault({
        .name = "getPictureData",
        .prepare = [&] { found.SetSize(3); },
        .perform = [&] { picture.getPictureData(found); },
        .judge = [&](bool struck) -> std::string {
            int const size = found.GetSize();
            found = CByteArray();
            if (size == 3 && !struck)
                return "nothing came, without cause";
            return size == 3 || size == data.GetSize() ? "" : "neither the old nor the new state";
        },
    });
}
