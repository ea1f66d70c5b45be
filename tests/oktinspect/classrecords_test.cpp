// SPDX-License-Identifier: MIT
#include <oktinspect/classrecords.h>

#include "support/streambuilder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <variant>

using namespace okt;

namespace
{

constexpr char kId[] = "{11111111-2222-3333-4444-555555555555}";
constexpr char kOther[] = "{66666666-2222-3333-4444-555555555555}";

std::string factText(Fact const &fact)
{
    std::string const name = std::string(" ") + fact.name + "=";
    if (auto const *const text = std::get_if<std::string>(&fact.value))
        return name + *text;
    return name + std::to_string(std::get<std::int64_t>(fact.value));
}

/// The faults as "error 12: code name=fact", one a line, those that lead astray with a mark.
std::string faultsOf(StreamBuilder const &frame, bool *isLater = nullptr)
{
    CByteArray const bytes = frame.bytes();
    ByteSource source(bytes);
    RecordCheck const check = checkRecords(source, 0);
    std::string text;
    for (RecordFault const &fault : check.faults)
    {
        Finding const &finding = fault.finding;
        text += std::string(severityName(finding.severity)) + " " + std::to_string(finding.offset) + ": " +
                codeName(finding.code) + (finding.what == Finding::What::ListIsLong ? " long" : "");
        for (Fact const &fact : finding.facts)
            text += factText(fact);
        text += fault.isAstray ? " (astray)\n" : "\n";
        EXPECT_EQ(finding.object, 0);
    }
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
    EXPECT_EQ(faultsOf(parameter(2, members(1))), "warning 0: records class=OKTDbParameter version=2 last=1\n");
    EXPECT_EQ(faultsOf(parameter(-7, members(1))), "warning 0: records class=OKTDbParameter version=-7 last=1\n");
    EXPECT_EQ(faultsOf(parameter(9, StreamBuilder(members(1)).append(description(2)))),
              "warning 0: records class=OKTDbParameter version=9 last=2\n");
    EXPECT_EQ(faultsOf(parameter(2, StreamBuilder(members(1)).append(description(66)))),
              "error 314: records class=OKTDbParameter section=66 due=2\n");
    EXPECT_EQ(faultsOf(parameter(2, StreamBuilder(members(3)).append(description(2)))),
              "error 99: records class=OKTDbParameter section=3 due=1\n");
    EXPECT_EQ(
        faultsOf(
            StreamBuilder().beginClass("Thing", 0).objectBase(kId).append(description(2)).append(description(2)).endClass()),
        "warning 100: records class=Thing section=2 last=2\n"
        "warning 0: records class=Thing version=0\n");
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("Thing").objectBase(kId).append(description(-1)).endClass()),
              "warning 90: records class=Thing section=-1 last=0\n");
}

TEST(OktClassRecords, Bases)
{
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("OKTDbParameter", 2).append(members(1)).endClass()),
              "error 23: records class=OKTDbParameter (astray)\n");
    EXPECT_EQ(faultsOf(StreamBuilder().beginClass("OKTDbCategory").append(relationFrame(kId)).endClass()),
              "error 22: records class=OKTDbRelation outer=OKTDbCategory (astray)\n");
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
              "warning 14: records class=OKTDbObJect known=OKTDbObject\n");
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
              "warning 96: records class=OKTGeXYW known=OKTGeXYZ\n"
              "warning 114: records class=no name\n");
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
              "error 152: records class=OKTDbCategory section=1 member=double due=long (astray)\n");
    EXPECT_EQ(category(StreamBuilder().id("").integer(0)), "error 157: records class=OKTDbCategory section=1 due=text\n");
    EXPECT_EQ(category(StreamBuilder().id("").integer(0).wideText(u"").boolean(1)),
              "warning 160: records class=OKTDbCategory section=1 member=bool\n");
    EXPECT_EQ(category(StreamBuilder().point(1, 2, 3)),
              "error 104: records class=OKTDbCategory section=1 member=point due=id (astray)\n");
    EXPECT_EQ(category(StreamBuilder().beginClass("OKTObjectId").beginMembers(1).integer(1).endMembers().endClass()),
              "error 135: records class=OKTObjectId section=1 due=long\n"
              "error 137: records class=OKTDbCategory section=1 due=long\n");
    EXPECT_EQ(faultsOf(StreamBuilder().variant(3, StreamBuilder().real(1))),
              "error 30: records class=OKTVariant section=1 member=double due=long (astray)\n");
    EXPECT_EQ(faultsOf(StreamBuilder().variant(0, StreamBuilder().real(1))),
              "error 30: records class=OKTVariant section=1 member=double\n");
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
    EXPECT_EQ(group(2, StreamBuilder().id(kOther)), "error 109: list-count class=OKTDbGroupCategory section=1 count=1 of=id\n");
    EXPECT_EQ(group(2, StreamBuilder()), "error 109: list-count class=OKTDbGroupCategory section=1 count=2 of=id\n");
    EXPECT_EQ(group(0, StreamBuilder().id(kOther)),
              "error 109: list-count long class=OKTDbGroupCategory section=1 count=1 of=id\n");
    EXPECT_EQ(group(1, StreamBuilder().id(kOther).id(kOther).id(kOther)),
              "error 109: list-count long class=OKTDbGroupCategory section=1 count=2 of=id\n");
    EXPECT_EQ(group(-1, StreamBuilder()), "error 109: list-count class=OKTDbGroupCategory section=1 count=-1\n");

    ParameterFields fields;
    fields.params = {kOther};
    fields.paramCount = 3;
    EXPECT_EQ(faultsOf(parameterFrame(fields)), "error 251: list-count class=OKTDbParameter section=1 count=2 of=id\n");

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
              "error 117: list-count class=OKTDbPicture section=2 count=1 of=text\n");
    EXPECT_EQ(picture(-2, StreamBuilder()), "error 117: list-count class=OKTDbPicture section=2 count=-2\n");

    HeaderFields header;
    header.pictures = {{kId, {0, 1}}, {kOther, {1, 1}}};
    header.pictureCount = 1;
    EXPECT_EQ(faultsOf(poolHeader(header)), "error 382: list-count long class=OKTDbPool section=5 count=1 of=id\n");
    header.pictureCount = 3;
    EXPECT_EQ(faultsOf(poolHeader(header)), "error 382: list-count class=OKTDbPool section=5 count=1 of=id\n");
}

} // namespace
