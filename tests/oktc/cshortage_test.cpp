// SPDX-License-Identifier: MIT
#include "oktc/answers.h"
#include "support/files.h"
#include "support/shortage.h"

#include <oktdatabase/oktcrashhandler.h>
#include <oktinspect/reportcollector.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

// Memory that runs out in each call of the C interface: the status says so, nothing is lost, and the pool is as it was.

namespace
{
constexpr std::size_t kMost = 200;

/// What a call works on. Made with memory before each try, and closed behind it.
struct Things
{
    OktcPool pool = 0;
    OktcObject parameter = 0;
    OktcObject other = 0;
    OktcObject category = 0;
    OktcObject group = 0;
    OktcObject picture = 0;
    OktcPool source = 0;
    OktcPool clone = 0;
    OktcPool made = 0;
    OktcReport report = 0;
    OktcObject object = 0;
    char *text = nullptr;
    std::uint8_t *bytes = nullptr;
    OktcObject *objects = nullptr;
    std::uint64_t length = 0;
    std::int32_t number = 0;
    double real = 0;
    std::uint8_t id[16] = {};
    std::uint8_t known[16] = {};

    void make()
    {
        *this = Things();
        oktcPoolCreate(&pool);
        oktcSetText(pool, OKTC_NAME, "a pool with a name that is rather long", -1);
        oktcParameterCreate(pool, 6, &parameter);
        oktcSetText(parameter, OKTC_VALUE, "a value that is rather long, too", -1);
        oktcParameterCreate(pool, 6, &other);
        oktcParameterSetInt(other, 1);
        oktcObjectCreate(pool, "OKTDbCategory", &category);
        oktcObjectCreate(pool, "OKTDbGroupParameter", &group);
        oktcObjectCreate(pool, "OKTDbPicture", &picture);
        oktcPictureSetData(picture, std::string(500, 'x').data(), 500);
        oktcReference(parameter, OKTC_ID, known);
        oktcListAppend(category, OKTC_PARAMETERS, known);
        oktcPoolClone(pool, 1, &source);
        oktcPoolClone(pool, 1, &clone);
    }
    void free()
    {
        oktcFree(text);
        oktcFree(bytes);
        oktcFree(objects);
        oktcPoolClose(source);
        oktcPoolClose(clone);
        oktcPoolClose(made);
        oktcReportClose(report);
        oktcPoolClose(pool);
        *this = Things();
    }
    std::string image() const
    {
        std::uint8_t *saved = nullptr;
        std::uint64_t size = 0;
        if (oktcPoolImage(pool, &saved, &size) != OKTC_OK)
            return "no image";
        std::string const result(reinterpret_cast<char const *>(saved), size);
        oktcFree(saved);
        return result;
    }
};

struct Trial
{
    char const *name;
    std::function<OktcStatus(Things &)> perform;
    bool isChanging = false; ///< it changes the pool where it succeeds; else never
    int mayLose = 0;         ///< objects that the operation under it loses by rule (quirk 18)
    bool mayTakeNone = false;
    bool isPartly = false; ///< it may have done a part
    bool usesFiles = false;
};

void tryIt(Trial const &trial)
{
    Things things;
    OktcStatus status = OKTC_OK;
    std::string before;
    forEveryFault({
        .name = std::string("C: ") + trial.name,
        .prepare =
            [&] {
                things.make();
                before = things.image();
            },
        .perform = [&] { status = trial.perform(things); },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            bool const isFile = isFileFault();
            if (status != OKTC_OK && !struck)
                wrong = "refused without cause: " + std::string(oktcStatusName(status)) + ", " + oktcLastMessage();
            else if (status != OKTC_OK && status != OKTC_NO_MEMORY && !isFile)
                wrong = std::string("the status is ") + oktcStatusName(status) + ", " + oktcLastMessage();
            else if (status != OKTC_OK && std::string(oktcLastMessage()).empty())
                wrong = "no message";
            else if ((status != OKTC_OK || !trial.isChanging) && !trial.isPartly && things.image() != before)
                wrong = "the pool is another one";
            else if (status == OKTC_NO_MEMORY &&
                     (things.text || things.bytes || things.objects || things.made || things.report))
                wrong = "a result, though it failed";
            else if (oktcPoolCount(things.pool, &things.length) != OKTC_OK)
                wrong = "the pool cannot be used";
            else if (status == OKTC_OK && trial.isChanging && things.image() == before)
                wrong = "nothing done";
            things.free();
            std::string().swap(before);
            return wrong;
        },
        .mayLose = trial.mayLose,
        .losesWithMemory = trial.mayLose > 0,
        .mayTakeNone = trial.mayTakeNone,
        .usesFiles = trial.usesFiles,
        .most = kMost,
    });
}

class ShortageC : public FolderTest
{
};

/// The text of collected reports stays for the next, and is no block that is lost.
void makeRoomForReports()
{
    okt::ReportCollector const collector;
    for (int i = 0; i < 100; ++i)
        OKTCrashHandler(L"\\a source with a name that is rather long", i);
    // What the first verification of a process makes stays.
    OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    ASSERT_OK(oktcReportClose(report));
}
} // namespace

TEST_F(ShortageC, Pools_NoMemoryAndNothingLost)
{
    for (Trial const &trial : {
             Trial{"PoolCreate", [](Things &t) { return oktcPoolCreate(&t.made); }},
             Trial{"PoolClone", [](Things &t) { return oktcPoolClone(t.pool, 0, &t.made); }, false, 1},
             Trial{"PoolClone with new ids", [](Things &t) { return oktcPoolClone(t.pool, 1, &t.made); }, false, 1},
             Trial{"PoolCopyFrom", [](Things &t) { return oktcPoolCopyFrom(t.pool, t.source); }, true, 1, false, true},
             Trial{"PoolNewId", [](Things &t) { return oktcPoolNewId(t.clone, t.known, t.id); }},
             Trial{"PoolAt", [](Things &t) { return oktcPoolAt(t.pool, 0, &t.object); }, false, 0, true},
             Trial{"PoolFind", [](Things &t) { return oktcPoolFind(t.pool, t.known, &t.object); }, false, 0, true},
             Trial{"PoolObjects", [](Things &t) { return oktcPoolObjects(t.pool, "OKTDbParameter", &t.objects, &t.length); }},
             Trial{"PoolCount", [](Things &t) { return oktcPoolCount(t.pool, &t.length); }, false, 0, true},
             Trial{"PoolImage", [](Things &t) { return oktcPoolImage(t.pool, &t.bytes, &t.length); }},
             Trial{"PoolEraseAll", [](Things &t) { return oktcPoolEraseAll(t.pool); }, true, 0, true},
         })
        tryIt(trial);
}

TEST_F(ShortageC, Objects_NoMemoryAndThePoolAsItWas)
{
    for (Trial const &trial : {
             Trial{"ObjectCreate", [](Things &t) { return oktcObjectCreate(t.pool, "OKTDbPicture", &t.object); }, true},
             Trial{"ParameterCreate", [](Things &t) { return oktcParameterCreate(t.pool, 6, &t.object); }, true},
             Trial{"ObjectErase", [](Things &t) { return oktcObjectErase(t.picture); }, true, 0, true},
             Trial{"ObjectReplace", [](Things &t) { return oktcObjectReplace(t.parameter, t.other); }, true, 0, true},
             Trial{"ObjectClass", [](Things &t) { return oktcObjectClass(t.parameter, &t.text, &t.length); }},
             Trial{"ObjectIsKind", [](Things &t) { return oktcObjectIsKind(t.parameter, "OKTDbObject", &t.number); }},
         })
        tryIt(trial);
}

TEST_F(ShortageC, Members_NoMemoryAndThePoolAsItWas)
{
    static std::string const kText(100, 'y');
    for (Trial const &trial : {
             Trial{"Text", [](Things &t) { return oktcText(t.parameter, OKTC_VALUE, &t.text, &t.length); }},
             Trial{"EscapedText", [](Things &t) { return oktcEscapedText(t.pool, OKTC_NAME, &t.text, &t.length); }},
             Trial{"SetText of a pool", [](Things &t) { return oktcSetText(t.pool, OKTC_NAME, kText.data(), 100); }, true},
             Trial{"SetText, name", [](Things &t) { return oktcSetText(t.parameter, OKTC_NAME, kText.data(), 100); }, true},
             Trial{"SetText, value", [](Things &t) { return oktcSetText(t.parameter, OKTC_VALUE, kText.data(), 100); }, true},
             Trial{"SetText, expression",
                   [](Things &t) { return oktcSetText(t.parameter, OKTC_EXPRESSION, kText.data(), 100); }, true},
             Trial{"SetText, description",
                   [](Things &t) { return oktcSetText(t.parameter, OKTC_DESCRIPTION, kText.data(), 100); }, true},
             Trial{"SetText of a category", [](Things &t) { return oktcSetText(t.category, OKTC_NAME, kText.data(), 100); },
                   true},
             Trial{"SetEscapedText", [](Things &t) { return oktcSetEscapedText(t.pool, OKTC_NAME, kText.data(), 100); }, true},
             Trial{"SetReference", [](Things &t) { return oktcSetReference(t.parameter, OKTC_CATEGORY, t.known); }, true, 0,
                   true},
             Trial{"List", [](Things &t) { return oktcList(t.category, OKTC_PARAMETERS, &t.bytes, &t.length); }},
             Trial{"ListAppend to a category", [](Things &t) { return oktcListAppend(t.category, OKTC_PARAMETERS, t.id); },
                   true},
             Trial{"ListAppend to uses", [](Things &t) { return oktcListAppend(t.parameter, OKTC_USES, t.known); }, true},
             Trial{"ListAppend to elements", [](Things &t) { return oktcListAppend(t.group, OKTC_ELEMENTS, t.known); }},
             Trial{"ListAppend to pictures", [](Things &t) { return oktcListAppend(t.pool, OKTC_PICTURES, t.known); }, true},
             Trial{"ListRemove", [](Things &t) { return oktcListRemove(t.category, OKTC_PARAMETERS, t.known); }, true},
             Trial{"TypeName", [](Things &t) { return oktcParameterTypeName(t.parameter, &t.text, &t.length); }},
             Trial{"ListCode", [](Things &t) { return oktcParameterListCode(t.parameter, &t.text, &t.length); }},
             Trial{"SetDouble", [](Things &t) { return oktcParameterSetDouble(t.parameter, 2.0); }, true, 0, true},
             Trial{"PictureData", [](Things &t) { return oktcPictureData(t.picture, &t.bytes, &t.length); }},
             Trial{"PictureSetData", [](Things &t) { return oktcPictureSetData(t.picture, kText.data(), 100); }, true},
             Trial{"IdToText", [](Things &t) { return oktcIdToText(t.known, &t.text, &t.length); }},
             Trial{"IdFromText", [](Things &t) { return oktcIdFromText("{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}", -1, t.id); }},
         })
        tryIt(trial);
}

TEST_F(ShortageC, Files_NoMemoryAndNothingLost)
{
    makeRoomForReports();
    std::string const whole = golden("stirrup.okt");
    std::string const saved = path("saved.okt");
    std::string const bytes = contents(whole);
    std::string const text =
        textOf([&](char **out, std::uint64_t *length) { return oktcTextForm(bytes.data(), bytes.size(), out, length); });
    char const *const names[] = {"OKTDbCategory"};
    for (Trial const &trial : {
             Trial{"PoolOpen", [&](Things &t) { return oktcPoolOpen(whole.c_str(), 1000.0, &t.made); }, false, 1000, false,
                   false, true},
             Trial{"PoolOpenOnly", [&](Things &t) { return oktcPoolOpenOnly(whole.c_str(), 1.0, names, 1, &t.made); }, false,
                   1000},
             Trial{"PoolLoad", [&](Things &t) { return oktcPoolLoad(bytes.data(), bytes.size(), 1.0, &t.made); }, false, 1000},
             Trial{"PoolReadHeader", [&](Things &t) { return oktcPoolReadHeader(whole.c_str(), &t.made); }},
             Trial{"PoolReadPictures", [&](Things &t) { return oktcPoolReadPictures(whole.c_str(), &t.made); }, false, 1},
             Trial{"PoolSave", [&](Things &t) { return oktcPoolSave(t.pool, saved.c_str()); }, false, 0, false, false, true},
             Trial{"TextForm", [&](Things &t) { return oktcTextForm(bytes.data(), bytes.size(), &t.text, &t.length); }, false,
                   1000},
             Trial{"ImageOfText",
                   [&](Things &t) {
                       return oktcImageOfText(text.data(), static_cast<std::int64_t>(text.size()), &t.bytes, &t.length);
                   },
                   false, 1000},
         })
        tryIt(trial);
}

TEST_F(ShortageC, Inspect_NoMemoryAndNoReport)
{
    makeRoomForReports();
    std::string bytes = contents(golden("stirrup.okt"));
    std::string const whole = golden("stirrup.okt");
    bytes[581] = 11;
    std::string const damaged = put("damaged.okt", bytes);
    std::string const made = path("made.okt");
    for (Trial const &trial : {
             Trial{"Verify", [&](Things &t) { return oktcVerify(whole.c_str(), nullptr, nullptr, &t.report); }, false, 1000,
                   false, false, true},
             Trial{"Recover",
                   [&](Things &t) { return oktcRecover(damaged.c_str(), made.c_str(), nullptr, nullptr, &t.report); }, false,
                   1000, false, false, true},
         })
        tryIt(trial);
}

TEST_F(ShortageC, Reports_NoMemory)
{
    static OktcReport report = 0;
    ASSERT_OK(oktcVerify(golden("stirrup.okt").c_str(), nullptr, nullptr, &report));
    for (Trial const &trial : {
             Trial{"FindingCode", [](Things &t) { return oktcFindingCode(report, 0, &t.text, &t.length); }},
             Trial{"FindingMessage", [](Things &t) { return oktcFindingMessage(report, 0, &t.text, &t.length); }},
             Trial{"FindingObject", [](Things &t) { return oktcFindingObject(report, 1, t.id); }, false, 0, true},
         })
        tryIt(trial);
    EXPECT_OK(oktcReportClose(report));
}
