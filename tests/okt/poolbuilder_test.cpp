// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>
#include <oktrebar/poolbuilder.h>
#include <tools/okt/files/files.h>
#include <tools/okt/files/poolfile.h>

#include "support/files.h"
#include "support/printers.h"
#include "support/process.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace okt;

namespace
{

namespace fs = std::filesystem;

ParameterPlan length(int type, double value, int listIndex = 0)
{
    ParameterPlan plan;
    plan.key = {type, listIndex};
    plan.value = value;
    return plan;
}

TemplatePlan samplePlan(Units units)
{
    TemplatePlan plan;
    plan.fileName = "sample.okt";
    plan.poolName = "Sample";
    plan.units = units;
    ParameterPlan grade;
    grade.key = {types::kSteelGrade, 0};
    grade.value = "B500B";
    grade.description = "Grade";
    ParameterPlan diameter = length(types::kDiameter, 12);
    diameter.inBend = true;
    ParameterPlan radius = length(types::kBendingRadius, 24);
    radius.inBend = true;
    radius.expression = "2*Diameter";
    ParameterPlan hook;
    hook.key = {types::kHook1, 0};
    hook.value = true;
    ParameterPlan count;
    count.key = {types::kNumber, 0};
    count.value = 7;
    ParameterPlan quantity;
    quantity.key = {types::kQuantityExpression, 0};
    quantity.value = "4x150 2x100";
    quantity.uses = {{types::kSpacing, 2}, {types::kSpacing, 1}};
    ParameterPlan leg = length(types::kLength, 400, 1);
    leg.name = "Leg";
    plan.categories = {{"Bar", {grade, diameter, radius, hook, leg}},
                       {"Distribution", {length(types::kSpacing, 150, 1), length(types::kSpacing, 100, 2), count, quantity}}};
    return plan;
}

OKTDbParameter const &find(OKTDbPool const &pool, int type, int listIndex = 0)
{
    IdArray ids;
    pool.collectEntities(OKTDbParameter::desc(), ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbParameter const *const parameter = OKTDbParameter::cast(id);
        if (parameter->Type() == type && parameter->ListIndex() == listIndex)
            return *parameter;
    }
    throw std::runtime_error("no parameter of the type " + std::to_string(type));
}

CString textOf(OKTDbParameter const &parameter)
{
    tagVARIANT const value = parameter.Value();
    EXPECT_EQ(value.vt, VT_BSTR);
    return CString(value.bstrVal);
}

class OktPoolBuilder : public FolderTest
{
protected:
    fs::path path(std::string const &name) const { return pathOf(m_folder.path(name)); }
    std::size_t filesInFolder() const
    {
        fs::directory_iterator const entries(path(""));
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
};

TEST_F(OktPoolBuilder, BuildPool_Plan_ObjectsLinkedBothWays)
{
    auto const pool = buildPool(samplePlan(Units::Millimetre));
    EXPECT_EQ(pool->poolName(), CString(u"Sample"));
    EXPECT_EQ(pool->metricsFactor(), 1000.0);
    EXPECT_EQ(pool->objectCount(), 9 + 2 + 1 + 1);

    IdArray groups;
    pool->collectEntities(OKTDbGroupCategory::desc(), groups);
    ASSERT_EQ(groups.getSize(), 1);
    OKTDbGroupCategory const &group = *OKTDbGroupCategory::cast(groups.at(0));
    ASSERT_EQ(group.categoryCount(), 2);
    int parameters = 0;
    for (int i = 0; i < group.categoryCount(); ++i)
    {
        OKTDbCategory const *const category = OKTDbCategory::cast(group.categoryAt(i));
        ASSERT_NE(category, nullptr);
        EXPECT_EQ(category->GroupCategory(), group.objectId());
        for (int k = 0; k < category->parameterCount(); ++k, ++parameters)
        {
            OKTDbParameter const *const parameter = OKTDbParameter::cast(category->parameterAt(k));
            ASSERT_NE(parameter, nullptr);
            EXPECT_EQ(parameter->Category(), category->objectId());
            EXPECT_EQ(parameter->OwnerId().getPool(), pool.get());
            EXPECT_NE(OKTDbParamRelation::cast(parameter->OwnerId()), nullptr);
        }
    }
    EXPECT_EQ(parameters, 9);

    IdArray relations;
    pool->collectEntities(OKTDbParamRelation::desc(), relations);
    ASSERT_EQ(relations.getSize(), 1);
    OKTDbParamRelation const &relation = *OKTDbParamRelation::cast(relations.at(0));
    ASSERT_EQ(relation.parameterCount(), 2);
    EXPECT_EQ(relation.parameterAt(0), find(*pool, types::kDiameter).objectId());
    EXPECT_EQ(relation.parameterAt(1), find(*pool, types::kBendingRadius).objectId());
}

TEST_F(OktPoolBuilder, BuildPool_Parameters_NamesValuesAndUses)
{
    auto const pool = buildPool(samplePlan(Units::Millimetre));
    EXPECT_EQ(find(*pool, types::kSteelGrade).UserName(), CString(u"Steelgrade"));
    EXPECT_EQ(find(*pool, types::kSteelGrade).Description(), CString(u"Grade"));
    EXPECT_EQ(find(*pool, types::kSpacing, 2).UserName(), CString(u"Spacing B"));
    EXPECT_EQ(find(*pool, types::kLength, 1).UserName(), CString(u"Leg A"));
    EXPECT_EQ(find(*pool, types::kBendingRadius).Expression(), CString(u"2*Diameter"));
    EXPECT_EQ(find(*pool, types::kBendingRadius).Value().vt, VT_R8);
    EXPECT_EQ(find(*pool, types::kBendingRadius).Value().dblVal, 24);
    EXPECT_EQ(find(*pool, types::kHook1).Value().vt, VT_BOOL);
    EXPECT_EQ(find(*pool, types::kHook1).Value().boolVal, VARIANT_TRUE);
    EXPECT_EQ(find(*pool, types::kNumber).Value().vt, VT_I4);
    EXPECT_EQ(find(*pool, types::kNumber).Value().lVal, 7);
    IdArray const uses = find(*pool, types::kQuantityExpression).TabParams();
    ASSERT_EQ(uses.getSize(), 2);
    EXPECT_EQ(uses.at(0), find(*pool, types::kSpacing, 2).objectId());
    EXPECT_EQ(uses.at(1), find(*pool, types::kSpacing, 1).objectId());
}

TEST_F(OktPoolBuilder, WritePool_Millimetres_FileHoldsMetres)
{
    auto const pool = buildPool(samplePlan(Units::Millimetre));
    int const size = writePool(*pool, path("sample.okt"));
    EXPECT_EQ(static_cast<std::uintmax_t>(size), fs::file_size(path("sample.okt")));

    OKTDbPool metres;
    ASSERT_TRUE(metres.readFile(m_folder.path("sample.okt")));
    EXPECT_EQ(find(metres, types::kBendingRadius).Value().dblVal, 0.024);
    EXPECT_EQ(textOf(find(metres, types::kQuantityExpression)), CString(u"4x0.15 2x0.1 "));
    // A diameter is no length by its type: it stays in the unit of its template.
    EXPECT_EQ(find(metres, types::kDiameter).Value().dblVal, 12);

    OKTDbPool millimetres;
    millimetres.setMetricsFactor(1000);
    ASSERT_TRUE(millimetres.readFile(m_folder.path("sample.okt")));
    EXPECT_EQ(find(millimetres, types::kBendingRadius).Value().dblVal, 24);
    EXPECT_EQ(textOf(find(millimetres, types::kQuantityExpression)), CString(u"4x150 2x100 "));

    OKTDbPool inches;
    inches.setMetricsFactor(1 / 0.0254);
    ASSERT_TRUE(inches.readFile(m_folder.path("sample.okt")));
    EXPECT_DOUBLE_EQ(find(inches, types::kBendingRadius).Value().dblVal, 24 / 25.4);
    EXPECT_EQ(textOf(find(inches, types::kQuantityExpression)), CString(u"4x5.906 2x3.937 "));
}

TEST_F(OktPoolBuilder, WritePool_Inches_SpacingsSurviveTheFile)
{
    TemplatePlan plan = samplePlan(Units::Inch);
    plan.categories[1].parameters.back().value = "4x10 2x5";
    auto const pool = buildPool(plan);
    EXPECT_EQ(pool->metricsFactor(), 39.37007874015748);
    writePool(*pool, path("sample.okt"));
    OKTDbPool inches;
    inches.setMetricsFactor(1 / 0.0254);
    ASSERT_TRUE(inches.readFile(m_folder.path("sample.okt")));
    EXPECT_EQ(textOf(find(inches, types::kQuantityExpression)), CString(u"4x10 2x5 "));
    EXPECT_DOUBLE_EQ(find(inches, types::kBendingRadius).Value().dblVal, 24);
}

TEST_F(OktPoolBuilder, WritePool_ExistingFile_ReplacedAndNothingLeftBeside)
{
    CByteArray old;
    old.Add(1);
    m_folder.put("sample.okt", old);
    writePool(*buildPool(samplePlan(Units::Millimetre)), path("sample.okt"));
    EXPECT_GT(fs::file_size(path("sample.okt")), 1000u);
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(OktPoolBuilder, WritePool_PoolThatCannotBeSaved_FailureAndOldFileStays)
{
    CByteArray old;
    old.Add(1);
    m_folder.put("sample.okt", old);
    auto const pool = buildPool(samplePlan(Units::Millimetre));
    // A parameter without a value cannot be stored.
    auto *const broken = new OKTDbParameter(types::kCover, OKTDbObjectId());
    ASSERT_TRUE(pool->appendObject(broken));
    try
    {
        writePool(*pool, path("sample.okt"));
        FAIL();
    }
    catch (Failure const &failure)
    {
        EXPECT_EQ(std::string(failure.what()),
                  path("sample.okt").generic_string() + ": the file cannot be written: the template makes no image");
    }
    EXPECT_EQ(fs::file_size(path("sample.okt")), 1u);
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(OktPoolBuilder, WritePool_FolderIsMissing_FailureWithTheSystemsReason)
{
    try
    {
        writePool(*buildPool(samplePlan(Units::Millimetre)), path("none/sample.okt"));
        FAIL();
    }
    catch (Failure const &failure)
    {
        EXPECT_EQ(std::string(failure.what()), path("none/sample.okt").generic_string() + ": the file cannot be written: " +
                                                   systemWords("No such file or directory", 3));
    }
}

TEST_F(OktPoolBuilder, CheckReplaceable_FolderProtectedAndFree_FailureOrNone)
{
    auto const failureOf = [this](std::string const &name) -> std::string {
        try
        {
            checkReplaceable(path(name));
        }
        catch (Failure const &failure)
        {
            return std::string(failure.what()).substr(path("").generic_string().size());
        }
        return "none";
    };
    CByteArray byte;
    byte.Add(1);
    m_folder.put("plain", byte);
    m_folder.put("protected", byte);
    fs::permissions(path("protected"), fs::perms::owner_read);
    fs::create_directory(path("folder"));
    EXPECT_EQ(failureOf("plain"), "none");
    EXPECT_EQ(failureOf("missing"), "none");
    EXPECT_EQ(failureOf("folder"), "folder: the file cannot be written: a folder has this name");
    EXPECT_EQ(failureOf("protected"), "protected: the file is write-protected");
    CFile held;
    ASSERT_TRUE(held.Open(m_folder.path("plain"), CFile::modeWrite | CFile::shareDenyWrite));
    EXPECT_EQ(failureOf("plain"), "plain: the file is locked by another program");
}

} // namespace
