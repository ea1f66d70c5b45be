// SPDX-License-Identifier: MIT
#include <oktinspect/findingtext.h>

#include "support/streambuilder.h"

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

using What = Finding::What;

constexpr char kId[] = "{11111111-2222-3333-4444-555555555555}";

_GUID guid() { return idOf(kId).getGuid(); }

std::string said(What what, std::vector<Fact> facts = {}) { return sentenceOf(makeFinding(what, 7, std::move(facts))); }

/// The same about an object.
std::string saidOfObject(What what, std::vector<Fact> facts = {})
{
    Finding finding = makeFinding(what, 7, std::move(facts));
    finding.object = 5;
    finding.id = finding.named = guid();
    return sentenceOf(finding);
}

TEST(FindingText, Header)
{
    EXPECT_EQ(said(What::HeaderDamaged, {{"fault", "the header is damaged here"}}), "the header is damaged here");
    EXPECT_EQ(said(What::HeaderInner, {{"class", "OKTDbObject"}}), "the header is damaged: an OKTDbObject is inside of it");
    EXPECT_EQ(said(What::NoHeaderSize, {{"size", 200}}), "the file does not begin with the size of its header, which is 200");
    EXPECT_EQ(said(What::HeaderSizeDiffers, {{"stated", 3}, {"size", 200}}),
              "the file begins with 3 for the size of its header, which is 200");
    EXPECT_EQ(said(What::PlaceDiffers, {{"role", "picture"}, {"stated", 9}, {"statedSize", 1}, {"begin", 8}, {"size", 2}}),
              "the header places a picture at byte 9, 1 byte long, but it is at byte 8, 2 bytes long");
    EXPECT_EQ(said(What::NoPlace, {{"role", "radial reinforcement"}, {"begin", 8}}),
              "the header gives no place for the radial reinforcement, which is at byte 8");
}

TEST(FindingText, Records_OfTheHeaderAndOfAnObject)
{
    std::vector<Fact> const facts = {{"class", "OKTDbPool"}, {"section", 5}, {"count", 1}, {"of", "id"}};
    EXPECT_EQ(said(What::ListIsLong, facts), "the header: a list in section 5 of OKTDbPool has 1 id more than its count says");
    EXPECT_EQ(saidOfObject(What::ListIsShort, facts), "a list in section 5 of OKTDbPool has 1 id fewer than its count says");
    EXPECT_EQ(saidOfObject(What::MemberNotDue, {{"class", "A"}, {"section", 1}, {"member", "8-bit text"}, {"due", "long"}}),
              "an 8-bit text stands where a long is due, in section 1 of A");
    EXPECT_EQ(saidOfObject(What::SectionEnds, {{"class", "A"}, {"section", 1}, {"due", "id"}}),
              "section 1 of A ends where an id is due");
    EXPECT_EQ(saidOfObject(What::SectionFirst, {{"class", "A"}, {"section", -1}}), "a section -1 of A is the first");
    EXPECT_EQ(saidOfObject(What::SectionBehind, {{"class", "A"}, {"section", 2}, {"last", 2}}),
              "a section 2 of A stands behind section 2");
    EXPECT_EQ(saidOfObject(What::FrameNameNearly, {{"class", "OKTGeXYW"}, {"known", "OKTGeXYZ"}}),
              "the class name OKTGeXYZ stands here as \"OKTGeXYW\"");
    EXPECT_EQ(saidOfObject(What::VersionDiffers, {{"class", "A"}, {"version", 2}, {"last", 1}}),
              "the class version 2 of A is not that of its sections, the last of which is 1");
}

TEST(FindingText, Names)
{
    EXPECT_EQ(saidOfObject(What::ObjectNamesMissing, {{"noun", "parameter"}, {"role", "owner"}}),
              std::string("the owner ") + kId + " of this parameter is not in the file");
    EXPECT_EQ(saidOfObject(What::ListedNotNamed, {{"noun", "parameter"}, {"list", "category"}, {"id", guid()}}),
              std::string("the category ") + kId + " lists this parameter, which names none");
    EXPECT_EQ(
        saidOfObject(What::ListedNotNamed, {{"noun", "parameter"}, {"list", "category"}, {"id", guid()}, {"other", guid()}}),
        std::string("the category ") + kId + " lists this parameter, which names the category " + kId);
    EXPECT_EQ(saidOfObject(What::DuplicateId, {{"first", 30}}),
              std::string("the id ") + kId + " of this object is in the file already, at byte 30");
}

TEST(FindingText, UnknownClass_WithAndWithoutAModule)
{
    EXPECT_EQ(said(What::UnknownClass, {{"class", "Bar"}, {"count", 2}}),
              "2 objects of the class \"Bar\", which is not known here: only the records are checked, and a load stops at the "
              "first; a client module that brings the class is loaded with --module FILE");
    EXPECT_EQ(said(What::UnknownClass, {{"class", "Bar"}, {"count", 1}, {"module", "bars.so"}}),
              "1 object of the class \"Bar\", which is not known here: only the records are checked, and a load stops at the "
              "first; bars.so names it; --module loads it");
}

TEST(FindingText, Values)
{
    EXPECT_EQ(said(What::TextHalf, {{"at", 3}}), "the name of the pool has half a character at 3");
    EXPECT_EQ(saidOfObject(What::TextZero, {{"noun", "category"}, {"at", 3}}),
              "a text of this category has a zero at 3, where a reader ends it");
    EXPECT_EQ(saidOfObject(What::CoordinateOdd, {{"noun", "picture"}, {"number", 1e300}}),
              "a coordinate of this picture is 1e+300");
    EXPECT_EQ(saidOfObject(What::LengthKind, {{"kind", 11}}),
              "the value of this parameter is a length by its type, but of the kind VT_BOOL");
    EXPECT_EQ(saidOfObject(What::ImageOdd, {{"format", "PNG"}, {"at", 5}, {"size", 90}, {"fault", "it goes on"}}),
              "the PNG of this picture is odd at byte 5 of 90: it goes on");
    EXPECT_EQ(saidOfObject(What::ImageNotJudged), "the image of this picture is not judged: it has no known format");
}

TEST(FindingText, NewHeader)
{
    EXPECT_EQ(said(What::PoolIdFromOwner, {{"id", guid()}}),
              std::string("the id of the pool is taken from the owner of its parameters, ") + kId);
    EXPECT_EQ(said(What::IdsLost, {{"names", "ppActions, sketch"}}), "the ids of these are lost: ppActions, sketch");
}

TEST(FindingText, LabelText_IdAndName)
{
    EXPECT_EQ(labelText({}), "");
    EXPECT_EQ(labelText({guid(), CString()}), kId);
    EXPECT_EQ(labelText({guid(), CString(u"Leg")}), std::string(kId) + " \"Leg\"");
    EXPECT_EQ(labelText({std::nullopt, CString(u"Leg")}), "\"Leg\"");
}

} // namespace
