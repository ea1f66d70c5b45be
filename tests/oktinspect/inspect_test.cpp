// SPDX-License-Identifier: MIT
// The entries for a host program: what they find is data.

#include <oktinspect/compare.h>
#include <oktinspect/find.h>
#include <oktinspect/info.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>

#include "oktinspect/stopper.h"
#include "support/bytetext.h"
#include "support/files.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktformat/failure.h>
#include <oktformat/guids.h>

#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktwarning.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using namespace okt;

namespace
{

using Code = Finding::Code;
using Severity = Finding::Severity;
using What = Finding::What;

constexpr char kCategory[] = "{11111111-0000-0000-0000-000000000001}";
constexpr char kFirst[] = "{11111111-0000-0000-0000-000000000002}";
constexpr char kSecond[] = "{11111111-0000-0000-0000-000000000003}";

/// "Severity code offset object", one a line.
std::string outline(std::vector<Finding> const &findings)
{
    std::string text;
    for (Finding const &finding : findings)
        text += std::string(severityName(finding.severity)) + " " + codeName(finding.code) + " " +
                std::to_string(finding.offset) + " " + std::to_string(finding.object) + "\n";
    return text;
}

TEST(Verify, GoldenFile_CodesPlacesIds)
{
    Verification const found = verify(golden("stirrup.okt"));
    EXPECT_EQ(outline(found.findings), "warning missing 388 -1\ninfo image-not-judged 3571 3571\n");
    EXPECT_TRUE(found.isSound());
    EXPECT_EQ(found.verdict.objects, 21);
    EXPECT_EQ(found.verdict.warnings, 1);
    EXPECT_TRUE(found.header.isWhole);
    EXPECT_EQ(found.findings[0].what, What::HeaderNamesMissing);
    EXPECT_EQ(found.findings[0].text("role"), "sketch");
    EXPECT_EQ(idText(found.findings[0].named.value()), "{5926E432-8963-4BA0-9B8A-63BD13355F3E}");
    EXPECT_EQ(found.findings[1].fact("format"), nullptr);
}

TEST(Verify, DuplicateId_WhereTheFirstIs)
{
    Verification const found = verify(golden("duplicate-id.okt"));
    EXPECT_EQ(outline(found.findings), "error duplicate-id 1061 1061\nwarning order 764 -1\n");
    EXPECT_FALSE(found.isSound());
    EXPECT_EQ(found.findings[0].integer("first"), 467);
    EXPECT_EQ(idText(found.findings[0].id.value()), "{3D5E7580-1FAD-4FE8-AC3A-689A00668CB1}");
    EXPECT_EQ(found.findings[1].integer("further"), 1);
}

TEST(Verify, ListenerForFindings_GetsThemAndNoneAreKept)
{
    std::vector<Finding> heard;
    VerifyOptions options;
    options.onFinding = [&heard](Finding const &finding) { heard.push_back(finding); };
    Verification const found = verify(golden("stirrup.okt"), options);
    EXPECT_EQ(outline(heard), "warning missing 388 -1\ninfo image-not-judged 3571 3571\n");
    EXPECT_TRUE(found.findings.empty());
    EXPECT_EQ(found.verdict.warnings, 1);
}

TEST(Verify, PresenterOfTheHost_IsThereAgain)
{
    auto const show = [](CString const &) {};
    OktSetWarningPresenter(show);
    verify(golden("stirrup.okt"));
    EXPECT_EQ(OktWarningPresenter(), static_cast<void (*)(CString const &)>(show));
    OktSetWarningPresenter(nullptr);
}

TEST(Verify, NoFile_Failure) { EXPECT_THROW(verify(golden("no such.okt")), Failure); }

TEST(Verify, Cancelled_AtEachStep)
{
    std::string const whole = outline(verify(golden("stirrup.okt")).findings);
    VerifyOptions options;
    EXPECT_GE(cancelledAtEachCall([&](OnProgress onProgress) {
                  options.onProgress = std::move(onProgress);
                  EXPECT_EQ(outline(verify(golden("stirrup.okt"), options).findings), whole);
              }),
              42);
    EXPECT_EQ(outline(verify(golden("stirrup.okt")).findings), whole);
}

std::string made(std::string const &damaged, Recovered &result, RecoverOptions const &options = {})
{
    ByteSource source{std::string_view(damaged)};
    std::string bytes;
    result = recover(
        source, [&bytes](std::string_view piece) { bytes += piece; }, options);
    return bytes;
}

TEST(Recover, OneObjectDamaged_LossAndWhatIsMissing)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11; // no record
    Recovered result;
    std::string const good = made(bytes, result);
    EXPECT_EQ(good.size(), bytes.size() - 463);
    EXPECT_EQ(result.objects.size(), 20u);
    ASSERT_EQ(result.losses.size(), 1u);
    EXPECT_EQ(result.losses[0].begin, 563);
    EXPECT_EQ(result.losses[0].end, 1026);
    EXPECT_TRUE(result.losses[0].isObject);
    EXPECT_EQ(result.losses[0].why.what, What::ObjectDamaged);
    EXPECT_EQ(result.losses[0].why.offset, 581);
    EXPECT_TRUE(result.losses[0].object.isEmpty());
    EXPECT_EQ(result.check.lost, 1);
    EXPECT_EQ(result.check.doubts.size(), 0u);
    ASSERT_EQ(result.check.missing.size(), 2u);
    EXPECT_EQ(idText(result.check.missing[1].id), "{3DDC822C-47DB-4729-83F4-04AD06AC28C8}");
    EXPECT_EQ(result.check.missing[1].namer.name, CString(u"Layout"));
    EXPECT_EQ(result.check.missing[1].first.what, What::ObjectNamesMissing);
    EXPECT_FALSE(result.check.isClean);
    EXPECT_TRUE(result.header.isWhole);
    EXPECT_TRUE(result.mends.empty());
}

TEST(Recover, HeaderCut_NotesOfItsFields)
{
    Recovered result;
    made(contents(golden("stirrup.okt")).erase(200, 300), result);
    EXPECT_FALSE(result.header.isWhole);
    ASSERT_FALSE(result.losses.empty());
    EXPECT_EQ(result.losses[0].why.what, What::HeaderDamaged);
    EXPECT_EQ(result.losses[0].why.offset, 193);
    ASSERT_GE(result.headerNotes.size(), 2u);
    EXPECT_EQ(result.headerNotes[0].what, What::PoolNameLost);
    EXPECT_EQ(result.headerNotes[1].what, What::IndexLost);
}

TEST(Recover, NothingThere_SinkNotCalled)
{
    std::string const bytes = "no pool file at all";
    ByteSource source{std::string_view(bytes)};
    EXPECT_TRUE(recover(source, [](std::string_view) { FAIL(); }).isNothing());
}

TEST(Recover, Cancelled_AtEachStep)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    Recovered result;
    std::string const good = made(bytes, result);
    RecoverOptions options;
    EXPECT_GE(cancelledAtEachCall([&](OnProgress onProgress) {
                  options.onProgress = std::move(onProgress);
                  EXPECT_EQ(made(bytes, result, options), good);
              }),
              60);
    EXPECT_EQ(made(bytes, result), good);
}

/// A category with two parameters. `second`: what the other one holds.
std::string twoParameters(ParameterFields second)
{
    ParameterFields first;
    first.id = kFirst;
    first.category = second.category = kCategory;
    first.userName = u"Leg";
    first.expression = u"2 * Depth";
    first.type = second.type = 6;
    first.value = StreamBuilder().variantReal(0.25);
    second.id = kSecond;
    CByteArray const image = poolImage({}, StreamBuilder(categoryFrame(kCategory, "", {kFirst, kSecond}, u"Layout"))
                                               .append(parameterFrame(first))
                                               .append(parameterFrame(second)));
    return textOf(image);
}

ParameterFields otherParameter()
{
    ParameterFields fields;
    fields.userName = u"Depth";
    fields.value = StreamBuilder().variantReal(0.5);
    return fields;
}

/// The contents of one parameter in another, whose id is kept, are whole records of its class: such a splice cannot be told.
TEST(Recover, ContentsOfAnotherParameter_CannotBeTold)
{
    ParameterFields copied;
    copied.userName = u"Leg";
    copied.expression = u"2 * Depth";
    copied.value = StreamBuilder().variantReal(0.25);
    for (ParameterFields const &second : {copied, otherParameter()})
    {
        Recovered result;
        made(twoParameters(second), result);
        EXPECT_TRUE(result.check.doubts.empty());
        EXPECT_TRUE(result.check.isClean);
    }
}

std::vector<FoundObject> foundIn(std::string const &bytes, FindQuery const &query)
{
    ByteSource source{std::string_view(bytes)};
    std::vector<FoundObject> all;
    FindOptions options;
    options.onFound = [&all](FoundObject const &found) { all.push_back(found); };
    bool const isFound = find(source, query, options);
    EXPECT_EQ(isFound, !all.empty());
    return all;
}

TEST(Find, NamesValuesIds_MatchesAsData)
{
    std::string const bytes = twoParameters(otherParameter());
    std::vector<FoundObject> const byName = foundIn(bytes, {"depth", FindQuery::Where::Names, ""});
    ASSERT_EQ(byName.size(), 1u);
    EXPECT_EQ(byName[0].className, CString(u"OKTDbParameter"));
    EXPECT_EQ(idText(byName[0].label.id.value()), kSecond);
    ASSERT_EQ(byName[0].matches.size(), 1u);
    EXPECT_EQ(byName[0].matches[0].kind, FindMatch::Kind::Name);
    EXPECT_EQ(byName[0].matches[0].text, CString(u"Depth"));
    EXPECT_GT(byName[0].matches[0].offset, byName[0].begin);

    std::vector<FoundObject> const byValue = foundIn(bytes, {"depth", FindQuery::Where::Values, ""});
    ASSERT_EQ(byValue.size(), 1u);
    EXPECT_EQ(idText(byValue[0].label.id.value()), kFirst);
    EXPECT_EQ(byValue[0].matches[0].kind, FindMatch::Kind::Text);
    EXPECT_EQ(byValue[0].matches[0].text, CString(u"2 * Depth"));

    std::vector<FoundObject> const number = foundIn(bytes, {"0.5", FindQuery::Where::Anywhere, ""});
    ASSERT_EQ(number.size(), 1u);
    EXPECT_EQ(number[0].matches[0].kind, FindMatch::Kind::Value);

    std::vector<FoundObject> const byId = foundIn(bytes, {kSecond, FindQuery::Where::Anywhere, ""});
    ASSERT_EQ(byId.size(), 2u);
    EXPECT_EQ(byId[0].matches[0].kind, FindMatch::Kind::Naming); // by the category
    EXPECT_EQ(byId[1].matches[0].kind, FindMatch::Kind::Id);
    EXPECT_EQ(foundIn(bytes, {kSecond, FindQuery::Where::Anywhere, "*Category"}).size(), 1u);
    EXPECT_TRUE(foundIn(bytes, {"no such text", FindQuery::Where::Anywhere, ""}).empty());
}

TEST(Find, DamagedObject_ToldAndTheRestSearched)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    ByteSource source{std::string_view(bytes)};
    std::vector<Finding> faults;
    FindOptions options;
    options.onFault = [&faults](Finding const &fault) { faults.push_back(fault); };
    EXPECT_TRUE(find(source, {"OKTDbParameter", FindQuery::Where::Anywhere, ""}, options));
    EXPECT_EQ(outline(faults), "error object 581 -1\n");
}

TEST(Find, Cancelled_AtEachStep)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    ByteSource source{std::string_view(bytes)};
    FindOptions options;
    FindQuery const query{"e", FindQuery::Where::Anywhere, ""};
    EXPECT_EQ(cancelledAtEachCall([&](OnProgress onProgress) {
                  options.onProgress = std::move(onProgress);
                  find(source, query, options);
              }),
              21);
}

TEST(Info, HeaderAndCounts)
{
    std::string bytes = contents(golden("stirrup.okt"));
    ByteSource source{std::string_view(bytes)};
    PoolInfo const whole = info(source);
    EXPECT_EQ(whole.size, static_cast<std::int64_t>(bytes.size()));
    EXPECT_EQ(whole.fields.name.value(), CString(u"Stirrup, closed, 135 degrees"));
    EXPECT_EQ(whole.fields.metricsFactor.value(), 1.0);
    EXPECT_EQ(whole.fields.sections, (std::vector<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(whole.objects, 21);
    EXPECT_EQ(whole.objectBytes, whole.size - whole.header.end);
    EXPECT_TRUE(whole.faults.empty());

    bytes[581] = 11;
    ByteSource damaged{std::string_view(bytes)};
    EXPECT_EQ(outline(info(damaged).faults), "error object 581 -1\n");
    InfoOptions headerOnly;
    headerOnly.headerOnly = true;
    EXPECT_FALSE(info(damaged, headerOnly).hasObjects);
    EXPECT_TRUE(info(damaged, headerOnly).faults.empty());

    InfoOptions stopped;
    Stopper stopper{3};
    stopped.onProgress = stopper.listener();
    EXPECT_THROW(info(source, stopped), Cancelled);
}

TEST(Compare, TwoFiles_ChangesAsData)
{
    ParameterFields longer = otherParameter();
    longer.value = StreamBuilder().variantReal(0.75);
    Comparison const found = compare(twoParameters(otherParameter()), twoParameters(longer));
    EXPECT_FALSE(found.isSame());
    EXPECT_EQ(found.same, 2u);
    EXPECT_TRUE(found.header.empty() && found.added.empty() && found.removed.empty());
    ASSERT_EQ(found.changed.size(), 1u);
    ComparedChange const &change = found.changed[0];
    EXPECT_EQ(change.before.className, "OKTDbParameter");
    EXPECT_EQ(change.before.name, "Depth");
    EXPECT_EQ(idText(change.after.id.value()), kSecond);
    EXPECT_EQ(change.before.begin, change.after.begin);
    ASSERT_EQ(change.members.size(), 1u);
    EXPECT_EQ(change.members[0].member, "varConverted");
    EXPECT_NE(change.members[0].before.value().find("0.5"), std::string::npos);
    EXPECT_NE(change.members[0].after.value().find("0.75"), std::string::npos);
}

TEST(Compare, GoldenFiles_AddedRemovedSame)
{
    EXPECT_TRUE(compareFiles(golden("stirrup.okt"), golden("stirrup.okt")).isSame());
    EXPECT_EQ(compareFiles(golden("stirrup.okt"), golden("stirrup.okt")).same, 21u);
    Comparison const gone = compareFiles(golden("stirrup.okt"), golden("empty.okt"));
    EXPECT_EQ(gone.removed.size(), 21u);
    EXPECT_FALSE(gone.header.empty());
    Comparison const came = compareFiles(golden("empty.okt"), golden("stirrup.okt"));
    EXPECT_EQ(came.added.size(), 21u);
}

TEST(Compare, DamagedFile_RefusedOrTold)
{
    std::string const whole = contents(golden("stirrup.okt"));
    std::string damaged = whole;
    damaged[581] = 11;
    EXPECT_THROW(compare(damaged, whole), Failure);
    CompareOptions options;
    options.toleratesDamage = true;
    Comparison const found = compare(damaged, whole, options);
    EXPECT_EQ(found.firstFaults.size(), 1u);
    EXPECT_TRUE(found.secondFaults.empty());
    EXPECT_FALSE(found.isSame());
}

TEST(Compare, Cancelled_AtEachStep)
{
    std::string const first = contents(golden("stirrup.okt"));
    CompareOptions options;
    EXPECT_GE(cancelledAtEachCall([&](OnProgress onProgress) {
                  options.onProgress = std::move(onProgress);
                  compare(first, first, options);
              }),
              60);
}

} // namespace
