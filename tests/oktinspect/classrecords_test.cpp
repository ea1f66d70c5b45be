#include <oktinspect/classrecords.h>

#include "support/streambuilder.h"

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

constexpr char kId[] = "{11111111-2222-3333-4444-555555555555}";
constexpr char kOther[] = "{66666666-2222-3333-4444-555555555555}";

/// The faults as "error 12: words", one a line, those that lead astray with a mark.
std::string faultsOf(StreamBuilder const &frame, bool *isLater = nullptr)
{
    CByteArray const bytes = frame.bytes();
    ByteSource source(bytes);
    RecordCheck const check = checkRecords(source, 0);
    std::string text;
    for (RecordFault const &fault : check.faults)
        text += std::string(severityName(fault.severity)) + " " + std::to_string(fault.at) + ": " + fault.text +
                (fault.isAstray ? " (astray)" : "") + "\n";
    if (isLater != nullptr)
        *isLater = check.isLater;
    return text;
}

/// A parameter's frame from a version and what stands behind that of its base.
StreamBuilder parameter(int version, StreamBuilder const &sections)
{
    return StreamBuilder().beginClass("OKTDbParameter", version).objectBase(kId).append(sections).endClass();
}

StreamBuilder members(int section)
{
    return StreamBuilder()
        .beginMembers(section)
        .wideText(u"a")
        .integer(6)
        .variantReal(1)
        .integer(0)
        .id("")
        .id("")
        .integer(1)
        .id(kOther)
        .wideText(u"")
        .endMembers();
}

StreamBuilder description(int section) { return StreamBuilder().beginMembers(section).wideText(u"").endMembers(); }

TEST(OktClassRecords, EveryClassAsItIsWritten_NoFault)
{
    EXPECT_EQ(faultsOf(poolHeader({})), "");
    EXPECT_EQ(faultsOf(parameterFrame({})), "");
    EXPECT_EQ(faultsOf(relationFrame(kId)), "");
    EXPECT_EQ(faultsOf(categoryFrame(kId, "", {kOther, kOther}, u"a")), "");
    EXPECT_EQ(faultsOf(groupCategoryFrame(kId, {kOther})), "");
    EXPECT_EQ(faultsOf(paramRelationFrame(kId, {})), "");
    EXPECT_EQ(faultsOf(pictureFrame(kId, {})), "");
    EXPECT_EQ(faultsOf(pictureFrame(kId, {"AQID", "AQID"})), "");
    EXPECT_EQ(faultsOf(clientFrame("Thing", kId, 1, u"a")), "");
    for (int kind : {0, 1, 7})
        EXPECT_EQ(faultsOf(parameter(2, StreamBuilder()
                                            .beginMembers(1)
                                            .wideText(u"a")
                                            .integer(6)
                                            .variant(kind, StreamBuilder())
                                            .integer(0)
                                            .id("")
                                            .id("")
                                            .integer(0)
                                            .wideText(u"")
                                            .endMembers()
                                            .append(description(2)))),
                  "")
            << kind;
}

TEST(OktClassRecords, OlderAndLaterReleases_NoFault)
{
    bool isLater = true;
    EXPECT_EQ(faultsOf(parameter(1, members(1)), &isLater), "");
    EXPECT_FALSE(isLater);
    EXPECT_EQ(faultsOf(parameter(9, StreamBuilder(members(1)).append(description(2)).append(description(4))), &isLater), "");
    EXPECT_TRUE(isLater);
}

TEST(OktClassRecords, SectionsAndVersions)
{
    EXPECT_EQ(faultsOf(parameter(2, members(1))),
              "warning 0: the class version 2 of OKTDbParameter is not that of its sections, the last of which is 1\n");
    EXPECT_EQ(faultsOf(parameter(-7, members(1))),
              "warning 0: the class version -7 of OKTDbParameter is not that of its sections, the last of which is 1\n");
    EXPECT_EQ(faultsOf(parameter(9, StreamBuilder(members(1)).append(description(2)))),
              "warning 0: the class version 9 of OKTDbParameter is not that of its sections, the last of which is 2\n");
    EXPECT_EQ(faultsOf(parameter(2, StreamBuilder(members(1)).append(description(66)))),
              "error 314: section 66 of OKTDbParameter stands where section 2 is due\n");
    EXPECT_EQ(faultsOf(parameter(2, StreamBuilder(members(3)).append(description(2)))),
              "error 99: section 3 of OKTDbParameter stands where section 1 is due\n");
    EXPECT_EQ(
        faultsOf(
            StreamBuilder().beginClass("Thing", 0).objectBase(kId).append(description(2)).append(description(2)).endClass()),
        "warning 100: a section 2 of Thing stands behind section 2\n"
        "warning 0: the class version 0 of Thing is none that a class can have\n");
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("Thing").objectBase(kId).append(description(-1)).endClass()),
              "warning 90: a section -1 of Thing is the first\n");
}

TEST(OktClassRecords, Bases)
{
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("OKTDbParameter", 2).append(members(1)).endClass()),
              "error 23: the frame of the base is missing in that of OKTDbParameter (astray)\n");
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("OKTDbCategory").append(relationFrame(kId)).endClass()),
              "error 22: the frame of OKTDbRelation stands in that of OKTDbCategory, where it is not due (astray)\n");
}

TEST(OktClassRecords, Names)
{
    EXPECT_EQ(faultsOf(StreamBuilder()
                           .beginClass("Thing")
                           .beginClass("OKTDbObJect")
                           .beginMembers(1)
                           .id(kId)
                           .endMembers()
                           .endClass()
                           .endClass()),
              "warning 14: the class name OKTDbObject stands here as \"OKTDbObJect\"\n");
    EXPECT_EQ(faultsOf(StreamBuilder()
                           .beginClass("Thing")
                           .objectBase(kId)
                           .beginMembers(1)
                           .beginClass("OKTGeXYW")
                           .endClass()
                           .beginClass("no name")
                           .endClass()
                           .endMembers()
                           .endClass()),
              "warning 96: the class name OKTGeXYZ stands here as \"OKTGeXYW\"\n"
              "warning 114: the class name \"no name\" is none that a class can have\n");
}

TEST(OktClassRecords, Members)
{
    auto const category = [](StreamBuilder const &members) {
        return faultsOf(StreamBuilder()
                            .beginClass("OKTDbCategory")
                            .objectBase(kId)
                            .beginMembers(1)
                            .append(members)
                            .endMembers()
                            .endClass());
    };
    EXPECT_EQ(category(StreamBuilder().id("").real(1).wideText(u"")),
              "error 152: a double stands where a long is due, in section 1 of OKTDbCategory (astray)\n");
    EXPECT_EQ(category(StreamBuilder().id("").integer(0)), "error 157: section 1 of OKTDbCategory ends where a text is due\n");
    EXPECT_EQ(category(StreamBuilder().id("").integer(0).wideText(u"").boolean(1)),
              "warning 160: a bool stands behind the last member of section 1 of OKTDbCategory\n");
    EXPECT_EQ(category(StreamBuilder().point(1, 2, 3)),
              "error 104: a point stands where an id is due, in section 1 of OKTDbCategory (astray)\n");
    EXPECT_EQ(category(StreamBuilder().beginClass("OKTObjectId").beginMembers(1).integer(1).endMembers().endClass()),
              "error 135: section 1 of OKTObjectId ends where a long is due\n"
              "error 137: section 1 of OKTDbCategory ends where a long is due\n");
    EXPECT_EQ(faultsOf(StreamBuilder().variant(3, StreamBuilder().real(1))),
              "error 30: a double stands where a long is due, in section 1 of OKTVariant (astray)\n");
    EXPECT_EQ(faultsOf(StreamBuilder().variant(0, StreamBuilder().real(1))),
              "error 30: a double stands behind the last member of section 1 of OKTVariant\n");
    EXPECT_EQ(faultsOf(StreamBuilder().variant(8, StreamBuilder().ansiText("a"))), "");
}

TEST(OktClassRecords, Lists)
{
    auto const group = [](int count, StreamBuilder const &ids) {
        return faultsOf(StreamBuilder()
                            .beginClass("OKTDbGroupCategory")
                            .objectBase(kId)
                            .beginMembers(1)
                            .integer(count)
                            .append(ids)
                            .endMembers()
                            .endClass());
    };
    EXPECT_EQ(group(2, StreamBuilder().id(kOther)),
              "error 109: a list in section 1 of OKTDbGroupCategory has 1 id fewer than its count says\n");
    EXPECT_EQ(group(2, StreamBuilder()),
              "error 109: a list in section 1 of OKTDbGroupCategory has 2 ids fewer than its count says\n");
    EXPECT_EQ(group(0, StreamBuilder().id(kOther)),
              "error 109: a list in section 1 of OKTDbGroupCategory has 1 id more than its count says\n");
    EXPECT_EQ(group(1, StreamBuilder().id(kOther).id(kOther).id(kOther)),
              "error 109: a list in section 1 of OKTDbGroupCategory has 2 ids more than its count says\n");
    EXPECT_EQ(group(-1, StreamBuilder()), "error 109: the count of a list in section 1 of OKTDbGroupCategory is -1\n");

    ParameterFields fields;
    fields.params = {kOther};
    fields.paramCount = 3;
    EXPECT_EQ(faultsOf(parameterFrame(fields)),
              "error 251: a list in section 1 of OKTDbParameter has 2 ids fewer than its count says\n");

    auto const picture = [](int count, StreamBuilder const &texts) {
        return faultsOf(StreamBuilder()
                            .beginClass("OKTDbPicture", 2)
                            .objectBase(kId)
                            .beginMembers(1)
                            .ansiText("AQID")
                            .endMembers()
                            .beginMembers(2)
                            .integer(count)
                            .append(texts)
                            .endMembers()
                            .endClass());
    };
    EXPECT_EQ(picture(-1, StreamBuilder()), "");
    EXPECT_EQ(picture(2, StreamBuilder().ansiText("AQID")),
              "error 117: a list in section 2 of OKTDbPicture has 1 text fewer than its count says\n");
    EXPECT_EQ(picture(-2, StreamBuilder()), "error 117: the count of a list in section 2 of OKTDbPicture is -2\n");

    HeaderFields header;
    header.pictures = {{kId, {0, 1}}, {kOther, {1, 1}}};
    header.pictureCount = 1;
    EXPECT_EQ(faultsOf(poolHeader(header)), "error 382: a list in section 5 of OKTDbPool has 1 id more than its count says\n");
    header.pictureCount = 3;
    EXPECT_EQ(faultsOf(poolHeader(header)), "error 382: a list in section 5 of OKTDbPool has 1 id fewer than its count says\n");
}

} // namespace
