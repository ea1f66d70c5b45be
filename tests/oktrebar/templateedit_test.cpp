// SPDX-License-Identifier: MIT
#include "builttemplate.h"

#include <oktrebar/storedplan.h>
#include <oktrebar/templateedit.h>

#include "support/files.h"

#include <oktformat/poolheader.h>

#include <gtest/gtest.h>

#include <filesystem>

using namespace okt;

namespace
{

struct Made
{
    StoredTemplate before;
    EditedTemplate result;
    StoredTemplate after;
};

Made edit(std::string const &bytes, std::vector<std::pair<std::string, ParameterValue>> const &values)
{
    Made made{readBytes(bytes), {}, {}};
    ChangedValues changes;
    for (auto const &[name, value] : values)
        changes[indexOf(made.before, name)] = value;
    made.result = edited(bytes, made.before, TemplateExpressions(made.before).unit(), changes);
    made.after = readBytes(made.result.bytes);
    return made;
}

std::string frame(std::string const &bytes, std::int64_t begin, std::int64_t end)
{
    return bytes.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

TEST(TemplateEdit, Number_OnlyItsBytesDiffer)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    Made const made = edit(bytes, {{"Cover", 0.035}});
    ASSERT_EQ(made.result.bytes.size(), bytes.size());
    std::size_t differing = 0;
    StoredParameter const &cover = made.before.parameters[indexOf(made.before, "Cover")];
    for (std::size_t i = 0; i < bytes.size(); ++i)
        if (bytes[i] != made.result.bytes[i])
        {
            ++differing;
            EXPECT_GE(static_cast<std::int64_t>(i), cover.begin);
            EXPECT_LT(static_cast<std::int64_t>(i), cover.end);
        }
    EXPECT_GT(differing, 0u);
    EXPECT_LE(differing, 8u);
    EXPECT_EQ(made.result.picture, PictureChange::Same); // the cover does not show in it
    EXPECT_EQ(made.after.parameters[indexOf(made.after, "Cover")].value, ParameterValue(0.035));
}

/// A text of another length moves what stands behind it, and the header tells where.
TEST(TemplateEdit, LongerText_PlacesInTheHeaderFollow)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    Made const made = edit(bytes, {{"Steelgrade", std::string("B500B, \xC3\xA4hnlich")}});
    EXPECT_EQ(made.result.bytes.size(), bytes.size() + 2 * 9);
    ByteSource source{std::string_view(made.result.bytes)};
    PoolHeader const header = readPoolHeader(source, made.after.header.begin);
    ASSERT_EQ(header.pictures.size(), 1u);
    StoredPicture const &picture = made.after.pictures.front();
    EXPECT_EQ(header.pictures.front().position + made.after.header.end, picture.begin);
    EXPECT_EQ(header.pictures.front().size, picture.end - picture.begin);
    EXPECT_EQ(frame(made.result.bytes, picture.begin, picture.end),
              frame(bytes, made.before.pictures.front().begin, made.before.pictures.front().end));
}

TEST(TemplateEdit, LegOfADrawnTemplate_PictureThatABuildWouldMake)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    Made const made = edit(bytes, {{"Leg A", 0.43}, {"Cutting length", 1.552}});
    EXPECT_EQ(made.result.picture, PictureChange::Drawn);
    EXPECT_TRUE(made.result.outOfDate.empty());
    std::string const built = exampleBytes("link-d12.okt", [](TemplatePlan &plan) {
        planned(plan, {types::kLength, 1}).value = 430.0;
        planned(plan, {types::kLength, 0}).value = 1552.0;
    });
    StoredTemplate const other = readBytes(built);
    std::string const drawn = frame(made.result.bytes, made.after.pictures[0].begin, made.after.pictures[0].end);
    std::string const expected = frame(built, other.pictures[0].begin, other.pictures[0].end);
    std::optional<CByteArray> const image = imageIn(drawn);
    std::optional<CByteArray> const expectedImage = imageIn(expected);
    ASSERT_TRUE(image && expectedImage);
    EXPECT_TRUE(std::equal(image->GetData(), image->GetData() + image->GetSize(), expectedImage->GetData(),
                           expectedImage->GetData() + expectedImage->GetSize()));
    EXPECT_EQ(drawn.substr(drawn.size() - 190), expected.substr(expected.size() - 190)); // the camera moves with the bar
}

TEST(TemplateEdit, WithoutPictures_TheyStay)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    StoredTemplate const before = readBytes(bytes);
    ChangedValues const values = {{indexOf(before, "Leg A"), 0.43}};
    EditedTemplate const made = edited(bytes, before, *findLengthUnit("mm"), values, {.withPictures = false});
    EXPECT_EQ(made.picture, PictureChange::None);
    EXPECT_TRUE(made.outOfDate.empty());
    EXPECT_EQ(made.bytes.size(), bytes.size());
    StoredTemplate const after = readBytes(made.bytes);
    EXPECT_EQ(after.parameters[indexOf(after, "Leg A")].value, ParameterValue(0.43));
    EXPECT_EQ(frame(made.bytes, after.pictures[0].begin, after.pictures[0].end),
              frame(bytes, before.pictures[0].begin, before.pictures[0].end));
}

/// A picture of the size of those drawn here, with a value in it that the file does not have.
TEST(TemplateEdit, PictureOfOtherValues_KeptAndNamed)
{
    std::string const bytes = exampleBytes("link-d12.okt");
    StoredTemplate const before = readBytes(bytes);
    ChangedValues const thicker = {{indexOf(before, "Diameter"), 14.0}};
    std::string const old = edited(bytes, before, *findLengthUnit("mm"), thicker, {.withPictures = false}).bytes;
    Made const made = edit(old, {{"Leg A", 0.43}});
    EXPECT_EQ(made.result.picture, PictureChange::OutOfDate);
    EXPECT_EQ(made.result.outOfDate.size(), 1u);
}

TEST(TemplateEdit, OtherPicture_KeptAndNamed)
{
    TemplatePlan const plan = examplePlan("link-d12.okt");
    std::unique_ptr<OKTDbPool> const pool = buildPool(plan);
    IdArray ids;
    pool->collectEntities(OKTDbPicture::desc(), ids);
    OKTDbObject *object = nullptr;
    pool->findObject(ids.at(0), object);
    CByteArray image;
    image.Add(1);
    OKTDbPicture::cast(object)->setPictureData(image);
    std::string const bytes = imageOf(*pool);
    Made const made = edit(bytes, {{"Leg A", 0.43}});
    EXPECT_EQ(made.result.picture, PictureChange::OutOfDate);
    ASSERT_EQ(made.result.outOfDate.size(), 1u);
    EXPECT_EQ(frame(made.result.bytes, made.after.pictures[0].begin, made.after.pictures[0].end),
              frame(bytes, made.before.pictures[0].begin, made.before.pictures[0].end));
}

/// All golden files: each value that can be is changed, and every frame but that of its parameter keeps its bytes, those of classes
/// that nobody knows and of files whose objects stand in another order among them.
TEST(TemplateEdit, GoldenFiles_EveryOtherFrameByteForByte)
{
    int edits = 0;
    for (std::filesystem::directory_entry const &entry : std::filesystem::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
    {
        if (entry.path().extension() != ".okt")
            continue;
        std::string const bytes = contents(entry.path());
        StoredTemplate const pool = readBytes(bytes);
        for (std::size_t i = 0; i < pool.parameters.size(); ++i)
        {
            ParameterValue value = pool.parameters[i].value;
            if (double *const real = std::get_if<double>(&value))
                *real = 0.125;
            else if (std::int32_t *const whole = std::get_if<std::int32_t>(&value))
                *whole = 3;
            else if (bool *const flag = std::get_if<bool>(&value))
                *flag = !*flag;
            else if (std::string *const text = std::get_if<std::string>(&value))
                *text = "another text";
            else
                continue;
            if (!pool.faults.empty())
            {
                EXPECT_THROW(edited(bytes, pool, *findLengthUnit("mm"), {{i, value}}), EditRefused) << entry.path();
                continue;
            }
            EditedTemplate const made = edited(bytes, pool, *findLengthUnit("mm"), {{i, value}});
            ++edits;
            StoredTemplate const after = readBytes(made.bytes);
            ASSERT_EQ(after.parameters.size(), pool.parameters.size()) << entry.path();
            for (std::size_t k = 0; k < pool.parameters.size(); ++k)
            {
                if (k == i)
                    continue;
                EXPECT_EQ(frame(made.bytes, after.parameters[k].begin, after.parameters[k].end),
                          frame(bytes, pool.parameters[k].begin, pool.parameters[k].end))
                    << entry.path();
            }
            ASSERT_EQ(after.others.size(), pool.others.size());
            for (std::size_t k = 0; k < pool.others.size(); ++k)
                EXPECT_EQ(frame(made.bytes, after.others[k].begin, after.others[k].end),
                          frame(bytes, pool.others[k].begin, pool.others[k].end));
            EXPECT_EQ(after.parameters[i].value, value) << entry.path();
        }
    }
    EXPECT_GT(edits, 60);
}

TEST(TemplateEdit, DamagedFile_Refused)
{
    std::string const bytes = contents(golden("truncated.okt"));
    StoredTemplate const pool = readBytes(bytes);
    EXPECT_THROW(edited(bytes, pool, *findLengthUnit("mm"), {}), EditRefused);
}

} // namespace
