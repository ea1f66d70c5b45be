// SPDX-License-Identifier: MIT
#include <oktcatalog/rows.h>

#include "oktrebar/builttemplate.h"
#include "support/files.h"

#include <oktformat/guids.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/verifier.h>
#include <oktrebar/expressions.h>
#include <oktrebar/parametertable.h>
#include <support/sha256.h>

#include <oktdatabase/oktdurablesave.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace
{

namespace fs = std::filesystem;

std::string digestOf(std::string_view bytes) { return sha256Hex(bytes.data(), bytes.size()); }

/// A template as okt build writes it.
std::string builtFile(std::string const &name)
{
    CByteArray image;
    EXPECT_TRUE(OktMakeFileImage(*okt::buildPool(examplePlan(name)), image));
    return {reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize())};
}

okt::PoolRows rowsOf(std::string const &bytes) { return okt::rowsOf(bytes, digestOf); }

okt::PoolRows wholeRowsOf(std::string const &bytes)
{
    okt::PoolRows rows = rowsOf(bytes);
    if (!rows.isPlain)
        okt::addFindings(rows, bytes, {});
    return rows;
}

std::map<std::string, std::string> goldenFiles()
{
    std::map<std::string, std::string> files;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
            files.emplace(entry.path().filename().string(), contents(entry.path()));
    return files;
}

std::vector<okt::Finding> findingsOf(std::string const &bytes)
{
    okt::ByteSource source(bytes);
    return okt::verify(source).findings;
}

bool isSound(std::string const &bytes)
{
    okt::ByteSource source(bytes);
    return okt::isSoundByRecords(source);
}

TEST(CatalogRows, Stirrup_EveryTable)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    okt::PoolRows const rows = rowsOf(bytes);
    okt::StoredTemplate const pool = [&bytes] {
        okt::ByteSource source(bytes);
        return okt::readTemplate(source);
    }();
    EXPECT_EQ(rows.size, static_cast<std::int64_t>(bytes.size()));
    EXPECT_EQ(rows.sha256, digestOf(bytes));
    EXPECT_EQ(rows.poolName, pool.poolName);
    ASSERT_TRUE(rows.poolId);
    EXPECT_TRUE(okt::isSame(*rows.poolId, *pool.poolId));
    EXPECT_EQ(rows.state, okt::FileState::Whole);
    EXPECT_EQ(rows.unit, "m"); // as its diameter says

    // In the order of the file, one behind the other.
    ASSERT_FALSE(rows.objects.empty());
    EXPECT_EQ(rows.objects.front().offset, pool.header.end);
    for (std::size_t i = 1; i < rows.objects.size(); ++i)
        EXPECT_EQ(rows.objects[i].offset, rows.objects[i - 1].offset + rows.objects[i - 1].size);
    EXPECT_EQ(rows.objects.back().offset + rows.objects.back().size, rows.size);

    auto const found = std::find_if(rows.parameters.begin(), rows.parameters.end(),
                                    [](okt::ParameterRow const &row) { return row.name == "Hook length 1"; });
    ASSERT_NE(found, rows.parameters.end());
    EXPECT_EQ(okt::idText(found->id), "{9B38EB57-18BC-4FFE-8B5E-E30D431643D5}");
    EXPECT_EQ(found->kind, VT_R8);
    EXPECT_TRUE(found->isLength);
    EXPECT_TRUE(found->number.has_value());
    EXPECT_FALSE(found->text.has_value());
    auto const object = std::find_if(rows.objects.begin(), rows.objects.end(),
                                     [&](okt::ObjectRow const &row) { return okt::isSame(row.id, found->id); });
    ASSERT_NE(object, rows.objects.end());
    EXPECT_EQ(object->name, "Hook length 1");
    EXPECT_EQ(object->className, "OKTDbParameter");
    EXPECT_NE(rows.words.names.find("Hook length 1\n"), std::string::npos);

    std::map<std::string, std::size_t> roles;
    for (okt::ReferenceRow const &row : rows.references)
        ++roles[row.role];
    std::size_t listed = 0;
    for (okt::StoredCategory const &category : pool.categories)
        listed += category.parameters.size();
    std::size_t used = 0;
    for (okt::StoredParameter const &parameter : pool.parameters)
        used += parameter.uses.size();
    std::size_t members = 0;
    for (okt::StoredRelation const &relation : pool.relations)
        members += relation.parameters.size();
    EXPECT_EQ(roles["parameter"], listed + used);
    EXPECT_EQ(roles["member"], members);
    EXPECT_EQ(roles["owner"], pool.parameters.size());
}

TEST(CatalogRows, EveryKindOfValue_AsTheFileHasIt)
{
    okt::PoolRows const rows = rowsOf(contents(golden("value-kinds.okt")));
    ASSERT_FALSE(rows.parameters.empty());
    for (okt::ParameterRow const &row : rows.parameters)
        switch (row.kind)
        {
        case VT_I2:
        case VT_I4:
        case VT_R4:
        case VT_R8:
        case VT_BOOL:
            EXPECT_TRUE(row.number.has_value() && !row.text) << row.name;
            EXPECT_TRUE(row.kind != VT_BOOL || *row.number == 0 || *row.number == 1) << row.name;
            break;
        case VT_BSTR: EXPECT_TRUE(row.text.has_value() && !row.number) << row.name; break;
        default: EXPECT_TRUE(!row.text && !row.number) << row.name;
        }
}

TEST(CatalogRows, GoldenFiles_FindingsAreThoseOfVerify)
{
    for (auto const &[name, bytes] : goldenFiles())
    {
        SCOPED_TRACE(name);
        okt::PoolRows const rows = wholeRowsOf(bytes);
        std::vector<okt::Finding> const findings = findingsOf(bytes);
        ASSERT_EQ(rows.findings.size(), findings.size());
        bool isDamaged = false;
        for (std::size_t i = 0; i < findings.size(); ++i)
        {
            isDamaged = isDamaged || findings[i].severity == okt::Finding::Severity::Error;
            EXPECT_EQ(rows.findings[i].code, okt::codeName(findings[i].code));
            EXPECT_EQ(rows.findings[i].severity, okt::severityName(findings[i].severity));
            EXPECT_EQ(rows.findings[i].offset, findings[i].offset);
            EXPECT_EQ(rows.findings[i].message, okt::sentenceOf(findings[i]));
        }
        EXPECT_EQ(rows.state, isDamaged ? okt::FileState::Damaged : okt::FileState::Whole);
    }
}

TEST(CatalogRows, WholeGoldenFiles_SomeAreSoundByRecords)
{
    EXPECT_TRUE(isSound(contents(golden("quantities.okt"))));
    EXPECT_TRUE(isSound(builtFile("link-d12.okt")));
    EXPECT_FALSE(isSound(contents(golden("stirrup.okt")))); // a warning
    EXPECT_FALSE(isSound(contents(golden("unknown-class.okt"))));
    EXPECT_FALSE(isSound(contents(golden("duplicate-id.okt"))));
    EXPECT_FALSE(isSound(contents(golden("truncated.okt"))));
    EXPECT_FALSE(isSound(""));
}

/// The quick look claims nothing that the long one does not find: each byte changed, and the file cut at each length.
TEST(CatalogRows, SoundByRecords_VerifyFindsNothing)
{
    std::minstd_rand random(3);
    std::size_t sound = 0;
    std::map<std::string, std::string> files = goldenFiles();
    files.emplace("link-d12.okt", builtFile("link-d12.okt"));
    for (auto const &[name, bytes] : files)
    {
        std::size_t const step = std::max<std::size_t>(1, bytes.size() / 100);
        for (std::size_t at = 0; at < bytes.size(); at += step)
        {
            std::string changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ (1 << random() % 8));
            for (std::string const &each : {changed, bytes.substr(0, at), bytes.substr(0, at) + bytes.substr(at + 1)})
                if (isSound(each))
                {
                    ++sound;
                    EXPECT_TRUE(findingsOf(each).empty()) << name << " at " << at;
                }
        }
    }
    EXPECT_GT(sound, 10u); // changed letters and numbers: it does not refuse everything
}

TEST(CatalogRows, NoPoolFile_Foreign)
{
    okt::PoolRows const empty = wholeRowsOf("");
    EXPECT_EQ(empty.state, okt::FileState::Foreign);
    ASSERT_EQ(empty.findings.size(), 1u);
    EXPECT_EQ(empty.findings[0].code, "header");
    EXPECT_EQ(empty.findings[0].message, "the file is empty");
    EXPECT_EQ(wholeRowsOf("<html>no pool</html>").state, okt::FileState::Foreign);
    std::string const bytes = contents(golden("stirrup.okt"));
    EXPECT_EQ(wholeRowsOf(bytes.substr(0, 40)).state, okt::FileState::Damaged); // it begins as one
    EXPECT_EQ(wholeRowsOf("xx" + bytes.substr(40)).state, okt::FileState::Damaged);
}

TEST(CatalogRows, TemplateOfRows_SameTable)
{
    for (std::string const &bytes :
         {contents(golden("quantities.okt")), builtFile("link-d12.okt"), builtFile("hooked-no4.okt")})
    {
        okt::ByteSource source(bytes);
        okt::StoredTemplate const pool = okt::readTemplate(source);
        okt::PoolRows const rows = rowsOf(bytes);
        ASSERT_TRUE(rows.isPlain);
        okt::StoredTemplate const again = okt::templateOf(rows);
        EXPECT_EQ(again.classes, pool.classes);
        EXPECT_EQ(again.inOrder(), pool.inOrder());
        EXPECT_EQ(rows.unit, okt::TemplateExpressions(pool).unit().name);
        std::vector<okt::ParameterSelector> columns;
        for (okt::StoredParameter const &parameter : pool.parameters)
            columns.emplace_back(parameter.name);
        columns.emplace_back("type:5");
        okt::LengthUnit const &mm = *okt::findLengthUnit("mm");
        okt::TableRow const left = okt::rowOf(pool, "f", columns, mm);
        okt::TableRow const right = okt::rowOf(again, "f", columns, mm, *okt::findLengthUnit(rows.unit));
        EXPECT_EQ(left.several, right.several);
        ASSERT_EQ(left.fields.size(), right.fields.size());
        for (std::size_t i = 0; i < left.fields.size(); ++i)
        {
            ASSERT_EQ(left.fields[i].has_value(), right.fields[i].has_value()) << columns[i].text();
            if (left.fields[i])
            {
                EXPECT_EQ(okt::shownText(*left.fields[i]), okt::shownText(*right.fields[i])) << columns[i].text();
            }
        }
    }
}

} // namespace
