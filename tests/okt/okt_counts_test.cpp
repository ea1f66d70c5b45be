// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

// One of a thing has no s behind it.

namespace
{

using testing::EndsWith;
using testing::HasSubstr;

constexpr char const *kFirst = "{00000001-1111-1111-1111-111111111111}";

class OktCounts : public FolderTest
{
protected:
    static std::string out(std::vector<std::string> const &arguments) { return runOkt(arguments).out; }
};

TEST_F(OktCounts, PictureOfOneByte)
{
    OKTDbPool pool;
    CByteArray image;
    image.SetSize(1);
    auto *const picture = new OKTDbPicture;
    picture->setPictureData(image);
    ASSERT_TRUE(pool.appendObject(picture));
    IdArray pictures;
    pictures.append(picture->objectId());
    pool.setPicturesIds(pictures);
    for (int i = 0; i < 8; ++i) // so that it can be read in part
        ASSERT_TRUE(pool.appendObject(new OKTDbRelation));
    ASSERT_TRUE(pool.writeFile(m_folder.path("a.okt")));
    EXPECT_EQ(out({"picture", path("a.okt"), "-o", path("image")}), path("image") + ": no known format, 1 byte\n");
    EXPECT_THAT(out({"show", "--preview", path("a.okt")}), EndsWith("\n    image of 1 byte, no known format\n"));
    EXPECT_THAT(out({"show", path("a.okt")}), HasSubstr(", image of 1 byte, no known format\n"));
    EXPECT_THAT(out({"tree", "--ascii", path("a.okt")}), EndsWith("}, 1 byte, no known format\n"));
}

TEST_F(OktCounts, OneTemplate)
{
    std::filesystem::copy(OKT_EXAMPLES_DIR "/data", path("data"));
    std::string const records = contents(path("data/bar-records.bf2d"));
    put("data/one.bf2d", records.substr(0, records.find('\n') + 1));
    ProcessResult const result = runOkt({"build", path("data/one.bf2d"), "-o", path("out")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, EndsWith("\n1 template in " + path("out") + ", 0 not made\n"));
}

TEST_F(OktCounts, OneCategoryOneParameter)
{
    std::string const text = out({"show", golden("stirrup.okt")});
    EXPECT_THAT(out({"show", golden("every-class.okt")}), HasSubstr("}, 1 category\n"));
    EXPECT_THAT(text, HasSubstr(" categories\n"));
}

TEST_F(OktCounts, OneSectionOfAHeader)
{
    EXPECT_THAT(out({"info", "--header", golden("oldest-header.okt")}), HasSubstr("263 bytes from byte 5, section 1\n"));
    EXPECT_THAT(out({"info", "--header", golden("stirrup.okt")}), HasSubstr(", sections 1, 2"));
}

TEST_F(OktCounts, OneByteOfNoObject)
{
    StreamBuilder objects = relationFrame(kFirst);
    objects.raw({0xEE});
    EXPECT_THAT(out({"verify", put("one.okt", poolImage(HeaderFields(), objects))}),
                HasSubstr(": 1 byte that belongs to no object\n"));
    objects.raw({0xEE});
    EXPECT_THAT(out({"verify", put("two.okt", poolImage(HeaderFields(), objects))}),
                HasSubstr(": 2 bytes that belong to no object\n"));
}

} // namespace
