// SPDX-License-Identifier: MIT
#include "oktc/answers.h"
#include "support/files.h"
#include "support/hookedobject.h"

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktwarning.h>

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// Handles of what is there, gone, closed, or never was; and null in place of a pointer.

namespace
{
char const kName[] = "Cover";
constexpr double kPoint[3] = {1, 2, 3};
constexpr std::uint8_t kId[16] = {1};

struct Results
{
    char *text = nullptr;
    std::uint8_t *bytes = nullptr;
    std::uint64_t length = 0;
    std::uint64_t handle = 0;
    std::int64_t number = 0;
    std::int32_t small = 0;
    double real[3] = {};
    std::uint8_t id[16] = {};
    OktcObject *objects = nullptr;
};

using Function = std::pair<char const *, std::function<OktcStatus(OktcHandle, Results &)>>;

std::vector<Function> const kOfPools = {
    {"Place", [](OktcHandle h, Results &r) { return oktcPoolPlace(h, kId, &r.number, &r.number); }},
    {"Image", [](OktcHandle h, Results &r) { return oktcPoolImage(h, &r.bytes, &r.length); }},
    {"Save", [](OktcHandle h, Results &) { return oktcPoolSave(h, "never"); }},
    {"Clone", [](OktcHandle h, Results &r) { return oktcPoolClone(h, 0, &r.handle); }},
    {"NewId", [](OktcHandle h, Results &r) { return oktcPoolNewId(h, kId, r.id); }},
    {"CopyFrom", [](OktcHandle h, Results &) { return oktcPoolCopyFrom(h, 0); }},
    {"Factor", [](OktcHandle h, Results &r) { return oktcPoolFactor(h, r.real); }},
    {"SetFactor", [](OktcHandle h, Results &) { return oktcPoolSetFactor(h, 1); }},
    {"Count", [](OktcHandle h, Results &r) { return oktcPoolCount(h, &r.length); }},
    {"At", [](OktcHandle h, Results &r) { return oktcPoolAt(h, 0, &r.handle); }},
    {"Find", [](OktcHandle h, Results &r) { return oktcPoolFind(h, kId, &r.handle); }},
    {"Objects", [](OktcHandle h, Results &r) { return oktcPoolObjects(h, nullptr, &r.objects, &r.length); }},
    {"EraseAll", [](OktcHandle h, Results &) { return oktcPoolEraseAll(h); }},
    {"Create", [](OktcHandle h, Results &r) { return oktcObjectCreate(h, "OKTDbCategory", &r.handle); }},
    {"ParameterCreate", [](OktcHandle h, Results &r) { return oktcParameterCreate(h, 6, &r.handle); }},
    {"Close", [](OktcHandle h, Results &) { return oktcPoolClose(h); }},
};

std::vector<Function> const kOfObjects = {
    {"Erase", [](OktcHandle h, Results &) { return oktcObjectErase(h); }},
    {"Replace", [](OktcHandle h, Results &) { return oktcObjectReplace(h, h); }},
    {"Pool", [](OktcHandle h, Results &r) { return oktcObjectPool(h, &r.handle); }},
    {"Class", [](OktcHandle h, Results &r) { return oktcObjectClass(h, &r.text, &r.length); }},
    {"IsKind", [](OktcHandle h, Results &r) { return oktcObjectIsKind(h, "OKTDbObject", &r.small); }},
    {"Type", [](OktcHandle h, Results &r) { return oktcParameterType(h, &r.small); }},
    {"SetType", [](OktcHandle h, Results &) { return oktcParameterSetType(h, 6); }},
    {"TypeName", [](OktcHandle h, Results &r) { return oktcParameterTypeName(h, &r.text, &r.length); }},
    {"IsLength", [](OktcHandle h, Results &r) { return oktcParameterIsLength(h, &r.small); }},
    {"ListIndex", [](OktcHandle h, Results &r) { return oktcParameterListIndex(h, &r.small); }},
    {"SetListIndex", [](OktcHandle h, Results &) { return oktcParameterSetListIndex(h, 1); }},
    {"ListCode", [](OktcHandle h, Results &r) { return oktcParameterListCode(h, &r.text, &r.length); }},
    {"Kind", [](OktcHandle h, Results &r) { return oktcParameterKind(h, &r.small); }},
    {"Double", [](OktcHandle h, Results &r) { return oktcParameterDouble(h, r.real); }},
    {"Int", [](OktcHandle h, Results &r) { return oktcParameterInt(h, &r.small); }},
    {"Bool", [](OktcHandle h, Results &r) { return oktcParameterBool(h, &r.small); }},
    {"SetDouble", [](OktcHandle h, Results &) { return oktcParameterSetDouble(h, 1); }},
    {"SetInt", [](OktcHandle h, Results &) { return oktcParameterSetInt(h, 1); }},
    {"SetBool", [](OktcHandle h, Results &) { return oktcParameterSetBool(h, 1); }},
    {"Data", [](OktcHandle h, Results &r) { return oktcPictureData(h, &r.bytes, &r.length); }},
    {"SetData", [](OktcHandle h, Results &) { return oktcPictureSetData(h, "", 0); }},
    {"Camera", [](OktcHandle h, Results &r) { return oktcPictureCamera(h, r.real, r.real, r.real); }},
    {"SetCamera", [](OktcHandle h, Results &) { return oktcPictureSetCamera(h, kPoint, kPoint, kPoint); }},
};

std::vector<Function> const kOfEither = {
    {"Text", [](OktcHandle h, Results &r) { return oktcText(h, OKTC_NAME, &r.text, &r.length); }},
    {"SetText", [](OktcHandle h, Results &) { return oktcSetText(h, OKTC_NAME, kName, -1); }},
    {"EscapedText", [](OktcHandle h, Results &r) { return oktcEscapedText(h, OKTC_NAME, &r.text, &r.length); }},
    {"SetEscapedText", [](OktcHandle h, Results &) { return oktcSetEscapedText(h, OKTC_NAME, kName, -1); }},
    {"Reference", [](OktcHandle h, Results &r) { return oktcReference(h, OKTC_ID, r.id); }},
    {"SetReference", [](OktcHandle h, Results &) { return oktcSetReference(h, OKTC_ID, nullptr); }},
    {"List", [](OktcHandle h, Results &r) { return oktcList(h, OKTC_USES, &r.bytes, &r.length); }},
    {"ListAppend", [](OktcHandle h, Results &) { return oktcListAppend(h, OKTC_USES, kId); }},
    {"ListRemove", [](OktcHandle h, Results &) { return oktcListRemove(h, OKTC_USES, kId); }},
};

std::vector<Function> const kOfReports = {
    {"Close", [](OktcHandle h, Results &) { return oktcReportClose(h); }},
    {"Sum", [](OktcHandle h, Results &r) { return oktcReportSum(h, OKTC_ERRORS, &r.number); }},
    {"Count", [](OktcHandle h, Results &r) { return oktcReportCount(h, &r.length); }},
    {"Severity", [](OktcHandle h, Results &r) { return oktcFindingSeverity(h, 0, &r.small); }},
    {"Role", [](OktcHandle h, Results &r) { return oktcFindingRole(h, 0, &r.small); }},
    {"Code", [](OktcHandle h, Results &r) { return oktcFindingCode(h, 0, &r.text, &r.length); }},
    {"Message", [](OktcHandle h, Results &r) { return oktcFindingMessage(h, 0, &r.text, &r.length); }},
    {"Offset", [](OktcHandle h, Results &r) { return oktcFindingOffset(h, 0, &r.number); }},
    {"Object", [](OktcHandle h, Results &r) { return oktcFindingObject(h, 0, r.id); }},
    {"Named", [](OktcHandle h, Results &r) { return oktcFindingNamed(h, 0, r.id); }},
};

void expectAll(std::vector<Function> const &functions, OktcHandle handle, OktcStatus status)
{
    for (auto const &[name, function] : functions)
    {
        Results results;
        EXPECT_EQ(function(handle, results), status) << name;
        EXPECT_STRNE(oktcLastMessage(), "") << name;
        EXPECT_EQ(results.text, nullptr) << name;
        EXPECT_EQ(results.bytes, nullptr) << name;
        EXPECT_EQ(results.objects, nullptr) << name;
        EXPECT_EQ(results.handle, 0u) << name;
    }
}
} // namespace

TEST(CHandles, NumbersThatNeverWereHandles_BadHandle)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    std::vector<OktcHandle> const never = {0, 1, 0xFFFFFFFF, parameter + 1, 0x7FFFFFFF00000000, 0xFFFFFFFFFFFFFFFF};
    for (OktcHandle const handle : never)
        for (auto const *functions : {&kOfPools, &kOfObjects, &kOfEither, &kOfReports})
            expectAll(*functions, handle, OKTC_BAD_HANDLE);
    // Those of another kind.
    expectAll(kOfPools, parameter, OKTC_BAD_HANDLE);
    expectAll(kOfPools, report, OKTC_BAD_HANDLE);
    expectAll(kOfObjects, pool.pool, OKTC_BAD_HANDLE);
    expectAll(kOfObjects, report, OKTC_BAD_HANDLE);
    expectAll(kOfEither, report, OKTC_BAD_HANDLE);
    expectAll(kOfReports, pool.pool, OKTC_BAD_HANDLE);
    expectAll(kOfReports, parameter, OKTC_BAD_HANDLE);
    EXPECT_EQ(pool.count(), 1u);
    EXPECT_OK(oktcReportClose(report));
}

TEST(CHandles, ClosedPool_ClosedForItAndItsObjects)
{
    OktcPool pool = 0;
    OktcObject object = 0;
    ASSERT_OK(oktcPoolCreate(&pool));
    ASSERT_OK(oktcObjectCreate(pool, "OKTDbPicture", &object));
    EXPECT_OK(oktcPoolClose(pool));
    expectAll(kOfPools, pool, OKTC_CLOSED);
    expectAll(kOfEither, pool, OKTC_CLOSED);
    expectAll(kOfObjects, object, OKTC_CLOSED);
    expectAll(kOfEither, object, OKTC_CLOSED);
    EXPECT_EQ(oktcPoolClose(pool), OKTC_CLOSED);
    EXPECT_STREQ(oktcLastMessage(), "the pool is closed");
}

TEST(CHandles, ClosedReport_Closed)
{
    OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    EXPECT_OK(oktcReportClose(report));
    expectAll(kOfReports, report, OKTC_CLOSED);
}

TEST(CHandles, ErasedObject_Gone)
{
    TestPool pool;
    OktcObject const object = pool.parameter();
    TestId const id = idOf(object);
    EXPECT_OK(oktcObjectErase(object));
    expectAll(kOfObjects, object, OKTC_GONE);
    expectAll(kOfEither, object, OKTC_GONE);
    EXPECT_STREQ(oktcLastMessage(), "the object is gone");
    EXPECT_EQ(pool.count(), 0u);
    OktcObject found = 5;
    EXPECT_EQ(oktcPoolFind(pool.pool, id.bytes, &found), OKTC_NOT_FOUND);
    EXPECT_EQ(found, 0u);
}

TEST(CHandles, AllErased_AllGoneAndNewOnesHaveOtherHandles)
{
    TestPool pool;
    std::set<OktcObject> seen = {pool.parameter(), pool.parameter()};
    EXPECT_OK(oktcPoolEraseAll(pool.pool));
    for (OktcObject const object : seen)
        expectAll(kOfObjects, object, OKTC_GONE);
    EXPECT_TRUE(seen.insert(pool.parameter()).second);
    EXPECT_EQ(pool.count(), 1u);
}

TEST(CHandles, ObjectAskedForTwice_TheSameHandle)
{
    TestPool pool;
    OktcObject const made = pool.parameter();
    OktcObject found = 0;
    EXPECT_OK(oktcPoolFind(pool.pool, idOf(made).bytes, &found));
    EXPECT_EQ(found, made);
    EXPECT_OK(oktcPoolAt(pool.pool, 0, &found));
    EXPECT_EQ(found, made);
    EXPECT_EQ(objectsOf(pool.pool, nullptr), std::vector<OktcObject>{made});
    OktcPool owner = 0;
    EXPECT_OK(oktcObjectPool(made, &owner));
    EXPECT_EQ(owner, pool.pool);
}

TEST(CHandles, Replace_TheOtherHasTheIdAndTheFirstIsGone)
{
    TestPool pool;
    OktcObject const first = pool.parameter();
    OktcObject const other = pool.parameter();
    EXPECT_OK(oktcSetText(other, OKTC_NAME, "the other", -1));
    TestId const id = idOf(first);
    TestId const gone = idOf(other);
    EXPECT_OK(oktcObjectReplace(first, other));
    expectAll(kOfObjects, first, OKTC_GONE);
    EXPECT_EQ(idOf(other), id);
    EXPECT_EQ(member(other, OKTC_NAME), "the other");
    OktcObject found = 0;
    EXPECT_OK(oktcPoolFind(pool.pool, id.bytes, &found));
    EXPECT_EQ(found, other);
    EXPECT_EQ(oktcPoolFind(pool.pool, gone.bytes, &found), OKTC_NOT_FOUND);
    EXPECT_EQ(pool.count(), 1u);
    std::string const bytes = image(pool.pool);
    EXPECT_OK(oktcObjectErase(other));
    EXPECT_EQ(pool.count(), 0u);
}

TEST(CHandles, ReplaceByItself_Nothing_ByAnotherClassOrPool_Refused)
{
    TestPool pool;
    TestPool elsewhere;
    OktcObject const first = pool.parameter();
    EXPECT_OK(oktcObjectReplace(first, first));
    EXPECT_EQ(oktcObjectReplace(first, pool.object("OKTDbCategory")), OKTC_WRONG_CLASS);
    EXPECT_EQ(oktcObjectReplace(first, elsewhere.parameter()), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(oktcObjectReplace(first, pool.pool), OKTC_BAD_HANDLE);
    EXPECT_EQ(oktcObjectReplace(first, 0), OKTC_BAD_ARGUMENT);
    EXPECT_EQ(pool.count(), 2u);
    EXPECT_EQ(elsewhere.count(), 1u);
}

TEST(CHandles, ReplacedPicture_ListOfPicturesHasTheIdThatStays)
{
    TestPool pool;
    OktcObject const first = pool.object("OKTDbPicture");
    OktcObject const other = pool.object("OKTDbPicture");
    TestId const id = idOf(first);
    EXPECT_OK(oktcObjectReplace(first, other));
    EXPECT_EQ(listOf(pool.pool, OKTC_PICTURES), std::vector<TestId>{id});
}

TEST(CHandles, ObjectThatAClientsObjectTakesAway_Gone)
{
    Hooks const hooks;
    TestPool pool;
    OktcObject const other = pool.parameter();
    pool.object("HookedObject");
    std::string const id = idOf(other).text();
    OktcStatus within = OKTC_OK;
    HookedObject::s_whileWritten = [&](HookedObject const &self, OKTFiler &) {
        OKTDbObjectId wanted(self.objectId());
        wanted.setObject(nullptr);
        wanted.setGuidFromString(CString::FromUtf8(id));
        wanted.eraseObject();
        std::uint64_t count = 0;
        within = oktcPoolCount(pool.pool, &count);
    };
    image(pool.pool);
    EXPECT_EQ(within, OKTC_BUSY);
    expectAll(kOfObjects, other, OKTC_GONE);
    EXPECT_EQ(pool.count(), 1u);
}

TEST(CHandles, ObjectWhoseReplacementAClientMade_GoneAndTheNewOneHasAnotherHandle)
{
    Hooks const hooks;
    TestPool pool;
    OktcObject const other = pool.parameter();
    pool.object("HookedObject");
    TestId const id = idOf(other);
    std::string const text = id.text();
    bool isDone = false;
    HookedObject::s_whileWritten = [&](HookedObject const &self, OKTFiler &) {
        if (std::exchange(isDone, true))
            return;
        OKTDbObjectId wanted(self.objectId());
        wanted.setObject(nullptr);
        wanted.setGuidFromString(CString::FromUtf8(text));
        OKTDbObject *const before = wanted.getObject();
        auto *const after = new OKTDbParameter(*OKTDbParameter::cast(before));
        after->setObjectId(wanted);
        self.objectId().getPool()->replaceObject(wanted, after);
        delete before;
    };
    image(pool.pool);
    expectAll(kOfObjects, other, OKTC_GONE);
    OktcObject found = 0;
    EXPECT_OK(oktcPoolFind(pool.pool, id.bytes, &found));
    EXPECT_NE(found, other);
    EXPECT_EQ(member(found, OKTC_NAME), "Cover");
}

TEST(CHandles, NullForAResult_NullArgument)
{
    TestPool pool;
    OktcObject const parameter = pool.parameter();
    OktcObject const picture = pool.object("OKTDbPicture");
    Results r;
    EXPECT_EQ(oktcPoolCreate(nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_STREQ(oktcLastMessage(), "a pointer for a result is null");
    EXPECT_EQ(oktcPoolOpen("x", 1, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolOpenOnly("x", 1, nullptr, 0, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolLoad("x", 1, 1, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolLoad(nullptr, 1, 1, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolReadHeader("x", nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolReadIndex("x", nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolReadPictures("x", nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolPlace(pool.pool, nullptr, &r.number, &r.number), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolPlace(pool.pool, kId, nullptr, &r.number), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolImage(pool.pool, nullptr, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolImage(pool.pool, &r.bytes, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(r.bytes, nullptr);
    EXPECT_EQ(oktcPoolClone(pool.pool, 0, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolNewId(pool.pool, nullptr, r.id), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolNewId(pool.pool, kId, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolFactor(pool.pool, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolCount(pool.pool, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolAt(pool.pool, 0, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolFind(pool.pool, nullptr, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolObjects(pool.pool, nullptr, nullptr, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcObjectCreate(pool.pool, nullptr, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterCreate(pool.pool, 6, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcObjectPool(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcObjectClass(parameter, nullptr, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcObjectIsKind(parameter, nullptr, &r.small), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcText(parameter, OKTC_NAME, nullptr, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcSetText(parameter, OKTC_NAME, nullptr, 0), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcEscapedText(parameter, OKTC_NAME, &r.text, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcSetEscapedText(parameter, OKTC_NAME, nullptr, -1), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcReference(parameter, OKTC_ID, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcList(parameter, OKTC_USES, nullptr, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcListAppend(parameter, OKTC_USES, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcListRemove(parameter, OKTC_USES, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterType(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterTypeName(parameter, nullptr, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterIsLength(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterListIndex(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterListCode(parameter, nullptr, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterKind(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterDouble(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterInt(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcParameterBool(parameter, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPictureData(picture, nullptr, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPictureSetData(picture, nullptr, 1), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPictureCamera(picture, r.real, nullptr, r.real), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPictureSetCamera(picture, nullptr, kPoint, kPoint), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcIdToText(nullptr, &r.text, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcIdFromText(nullptr, -1, r.id), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcTextForm(nullptr, 1, &r.text, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcImageOfText(nullptr, -1, &r.bytes, &r.length), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcVerify(nullptr, nullptr, nullptr, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcVerifyImage(nullptr, 1, nullptr, nullptr, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcRecover("a", nullptr, nullptr, nullptr, &r.handle), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcReportSum(0, 1, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcLoadModule(nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(oktcPoolSave(pool.pool, nullptr), OKTC_NULL_ARGUMENT);
    EXPECT_EQ(r.handle, 0u);
    oktcFree(nullptr);
}

namespace
{
struct Callback
{
    OktcPool pool = 0;
    OktcObject object = 0;
    std::vector<OktcStatus> statuses;
};

std::int32_t OKTC_CALL callsBack(void *context, std::uint64_t, std::uint64_t)
{
    auto &state = *static_cast<Callback *>(context);
    if (!state.statuses.empty())
        return 0;
    Results results;
    OktcPool made = 0;
    state.statuses = {oktcPoolCount(state.pool, &results.length), oktcPoolClose(state.pool), oktcObjectErase(state.object),
                      oktcPoolCreate(&made), oktcVerify("x", nullptr, nullptr, &results.handle)};
    return 0;
}
} // namespace

TEST(CHandles, FunctionThatIsCalledBack_MayCallNone)
{
    TestPool pool;
    Callback state{pool.pool, pool.parameter(), {}};
    OktcReport report = 0;
    EXPECT_OK(oktcVerify(golden("stirrup.okt").c_str(), callsBack, &state, &report));
    EXPECT_EQ(state.statuses, std::vector<OktcStatus>(5, OKTC_BUSY));
    EXPECT_STREQ(oktcLastMessage(), "");
    EXPECT_OK(oktcReportClose(report));
    EXPECT_EQ(pool.count(), 1u);
}

TEST(CHandles, ThreadsWithPoolsOfTheirOwn_EachHasItsMessageAndObjects)
{
    std::vector<std::thread> threads;
    std::vector<int> wrong(4);
    for (int &faults : wrong)
        threads.emplace_back([&faults] {
            OktcPool pool = 0;
            faults += oktcPoolCreate(&pool) != OKTC_OK;
            for (int i = 0; i < 200; ++i)
            {
                OktcObject object = 0;
                faults += oktcParameterCreate(pool, 6, &object) != OKTC_OK;
                faults += oktcParameterSetInt(object, i) != OKTC_OK;
                faults += std::string(oktcLastMessage()) != "";
                double value = 1.0;
                faults += oktcParameterDouble(object, &value) != OKTC_WRONG_KIND;
                faults += std::string(oktcLastMessage()) != "the value is of another kind";
            }
            OktcReport report = 0;
            faults += oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report) != OKTC_OK;
            faults += oktcReportClose(report) != OKTC_OK;
            std::uint64_t count = 0;
            faults += oktcPoolCount(pool, &count) != OKTC_OK || count != 200;
            faults += oktcPoolClose(pool) != OKTC_OK;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4));
}

TEST(CHandles, OnePoolOnTwoThreads_DoneOrBusy)
{
    TestPool pool;
    std::vector<std::thread> threads;
    std::vector<int> done(4);
    std::vector<int> others(4);
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            for (int n = 0; n < 500; ++n)
            {
                OktcObject object = 0;
                OktcStatus const status = oktcParameterCreate(pool.pool, 6, &object);
                done[i] += status == OKTC_OK ? 1 : 0;
                others[i] += status != OKTC_OK && status != OKTC_BUSY ? 1 : 0;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(others, std::vector<int>(4));
    EXPECT_EQ(pool.count(), static_cast<std::uint64_t>(done[0] + done[1] + done[2] + done[3]));
}

TEST(CHandles, HostsPresenter_IsThereAgainBehindEachCall)
{
    auto const show = [](CString const &) {};
    OktSetWarningPresenter(show);
    TestPool pool;
    OktcReport report = 0;
    EXPECT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    EXPECT_OK(oktcReportClose(report));
    EXPECT_EQ(OktWarningPresenter(), static_cast<void (*)(CString const &)>(show));
    OktSetWarningPresenter(nullptr);
}

TEST(CLibrary, Version_ThatOfTheHeader) { EXPECT_EQ(oktcVersion(), 10000000u); }

TEST(CLibrary, StatusNames_Table)
{
    char const *const names[] = {"ok",
                                 "null argument",
                                 "bad argument",
                                 "bad handle",
                                 "closed",
                                 "gone",
                                 "busy",
                                 "out of memory",
                                 "not found",
                                 "wrong class",
                                 "wrong kind",
                                 "bad text",
                                 "lone surrogate",
                                 "file refused",
                                 "damaged",
                                 "unknown class",
                                 "not storable",
                                 "too large",
                                 "cancelled",
                                 "not flushed",
                                 "nothing to rescue",
                                 "failed"};
    for (OktcStatus status = 0; status <= OKTC_FAILED; ++status)
        EXPECT_STREQ(oktcStatusName(status), names[status]);
    EXPECT_STREQ(oktcStatusName(-1), "unknown status");
    EXPECT_STREQ(oktcStatusName(22), "unknown status");
}

TEST(CLibrary, Ids_BytesAsInAFileAndTexts)
{
    std::uint8_t const bytes[16] = {0xD3, 0x9A, 0x06, 0x56, 0x1A, 0x84, 0xC4, 0x4F,
                                    0xB6, 0xD9, 0x6A, 0x2A, 0xBE, 0xC4, 0xA0, 0xD8};
    EXPECT_EQ(idText(bytes), "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}");
    std::uint8_t id[16] = {};
    EXPECT_OK(oktcIdFromText("{56069ad3-841a-4fc4-b6d9-6a2abec4a0d8}", 38, id));
    EXPECT_EQ(std::vector<std::uint8_t>(id, id + 16), std::vector<std::uint8_t>(bytes, bytes + 16));
    EXPECT_EQ(oktcIdFromText("{56069AD3}", -1, id), OKTC_BAD_TEXT);
    EXPECT_EQ(std::vector<std::uint8_t>(id, id + 16), std::vector<std::uint8_t>(16));
}
