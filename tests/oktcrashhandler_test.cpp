// SPDX-License-Identifier: MIT
#include <oktdatabase/oktcrashhandler.h>

#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"

#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktwarning.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- The text of the report --------------------------------------------------------------------------------------------------

struct ReportRow
{
    wchar_t const *file;
    int line;
    char const *text;
};

class CrashHandlerText : public ::testing::TestWithParam<ReportRow>
{
};

TEST_P(CrashHandlerText, Construct_File_NameFromLastBackslashAndLine)
{
    ReportCatcher reports;
    OKTCrashHandler const handler(GetParam().file, GetParam().line);
    EXPECT_THAT(reports.texts(), ElementsAre(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CrashHandlerText,
    ::testing::Values(ReportRow{L"C:\\source\\database\\oktfiler", 159, "\n\\oktfiler@159"},
                      ReportRow{L"\\oktdbpool", 1, "\n\\oktdbpool@1"}, ReportRow{L"oktdbpool", 7, "\noktdbpool@7"},
                      ReportRow{L"/usr/src/database/oktdbpool.cpp", 7, "\n/usr/src/database/oktdbpool.cpp@7"},
                      ReportRow{L"C:\\source\\", 3, "\n\\@3"}, ReportRow{L"", 0, "\n@0"},
                      ReportRow{L"oktfiler", -5, "\noktfiler@-5"}, ReportRow{L"a\\b%d%s", INT_MAX, "\n\\b%d%s@2147483647"}));

TEST(CrashHandler, Construct_Default_ShowsPrompt21011)
{
    ReportCatcher reports;
    OKTCrashHandler const handler;
    CString const prompt = ZnPrompts::getPrompt(21011, L"OKTDATABASE", 0);
    EXPECT_FALSE(prompt.IsEmpty());
    EXPECT_THAT(reports.texts(), ElementsAre(prompt.ToUtf8()));
}

TEST(CrashHandler, Construct_NullFileWithLine_ShowsPrompt21011WithoutLine)
{
    ReportCatcher reports;
    OKTCrashHandler const handler(nullptr, 159);
    EXPECT_THAT(reports.texts(), ElementsAre(ZnPrompts::getPrompt(21011, L"OKTDATABASE", 0).ToUtf8()));
}

TEST(CrashHandler, CopyAndAssign_ShowNothing)
{
    ReportCatcher reports;
    OKTCrashHandler handler(L"a", 1);
    reports.clear();
    OKTCrashHandler copy(handler);
    copy = handler;
    EXPECT_THAT(reports.texts(), IsEmpty());
}

TEST(CrashHandler, MovRax0_IsZero)
{
    static_assert(std::is_same_v<decltype(OKTCrashHandler::mov_rax_0()), std::int64_t>);
    EXPECT_EQ(OKTCrashHandler::mov_rax_0(), 0);
}

TEST(CrashHandler, Construct_PresenterThrows_ExceptionTravelsOn)
{
    ReportCatcher const restoresThePresenter;
    OktSetWarningPresenter([](CString const &) { throw std::domain_error("no screen"); });
    EXPECT_THROW(OKTCrashHandler(L"oktfiler", 1), std::domain_error);
    EXPECT_THROW(OKTCrashHandler(), std::domain_error);
}

TEST(CrashHandler, Presenter_NullAfterOwn_DefaultReturns)
{
    ReportCatcher outer;
    OktSetWarningPresenter(nullptr);
    ::testing::internal::CaptureStderr();
    OKTCrashHandler const handler(L"x\\oktfiler", 12);
    std::string const shown = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(shown.find("\\oktfiler@12"), std::string::npos) << shown;
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 1) << shown;
    EXPECT_EQ(outer.count(), 0u);
}

// --- The zero of each kind of result -----------------------------------------------------------------------------------------

TEST(CrashHandlerZero, ZeroResult_EachKind_IsItsZero)
{
    EXPECT_FALSE(static_cast<bool>(OKTZeroResult()));
    EXPECT_EQ(static_cast<OKTDbObject *>(OKTZeroResult()), nullptr);
    EXPECT_EQ(static_cast<int>(OKTZeroResult()), 0);
    EXPECT_EQ(static_cast<FilerStatusDb>(OKTZeroResult()), eFilerOk);
    EXPECT_EQ(static_cast<double>(OKTZeroResult()), 0.0);
    EXPECT_EQ(static_cast<CString>(OKTZeroResult()), CString());
    EXPECT_EQ(static_cast<OKTDbObjectId>(OKTZeroResult()), OKTDbObjectId());
}

TEST(CrashHandlerZero, ReportText_FileNameAndLine_NameWithoutEndingBehindBackslash)
{
    static constexpr OKTReportText report(u"oktdbpool.cpp", 1207);
    EXPECT_EQ(CString(report.text), u"\n\\oktdbpool@1207");
    static constexpr OKTReportText bare(u"oktdbpool", 9);
    EXPECT_EQ(CString(bare.text), u"\n\\oktdbpool@9");
    static constexpr OKTReportText round(u"a.b.c", 1000);
    EXPECT_EQ(CString(round.text), u"\n\\a@1000");
}

// --- What a caller sees of an exception --------------------------------------------------------------------------------------

namespace
{
/// Throws, once it is told to, whatever the library asks of it.
class ThrowingObject : public OKTDbObject
{
public:
    enum class What
    {
        Standard,
        Number,
        Pointer
    };

    OKTDbObject *createObject() override
    {
        raise();
        return nullptr;
    }
    bool isKindOf(OKTRuntimeClass const *) const override
    {
        raise();
        return true;
    }
    using OKTDbObject::isA;
    bool isA(CString const &) const override { return false; }

    What m_what = What::Standard;
    bool m_armed = true;

private:
    void raise() const
    {
        static int const pointed = 0;
        if (!m_armed)
            return;
        switch (m_what)
        {
        case What::Standard: throw std::runtime_error("told to");
        case What::Number: throw 17;
        case What::Pointer: throw &pointed; // NOLINT(misc-throw-by-value-catch-by-reference): what a client may do
        }
    }
};
} // namespace

class CrashHandlerCatchAll : public ::testing::TestWithParam<ThrowingObject::What>
{
};

TEST_P(CrashHandlerCatchAll, BoolOperation_Throws_ReportFalseAndASecondCallIsPossible)
{
    OKTDbPool pool;
    auto *const object = new ThrowingObject;
    object->m_what = GetParam();
    ASSERT_TRUE(pool.appendObject(object));
    ReportCatcher reports;
    IdArray ids;
    EXPECT_FALSE(pool.collectEntities(OKTDbObject::desc(), ids));
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("oktdbpool"));

    object->m_armed = false;
    EXPECT_TRUE(pool.collectEntities(OKTDbObject::desc(), ids));
    EXPECT_EQ(ids.getSize(), 1);
    EXPECT_EQ(reports.count(), 1u);
}

TEST_P(CrashHandlerCatchAll, PointerOperation_Throws_ReportAndNull)
{
    auto *const prototype = new ThrowingObject;
    prototype->m_what = GetParam();
    OKTRuntimeClass const desc(u"ThrowingForOneTest", u"OKTDbObject", prototype, OKTDbObject::desc());
    ReportCatcher reports;
    EXPECT_EQ(desc.CreateObject(), nullptr);
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("oktruntimeclass"));

    OKTDbObject *object = nullptr;
    EXPECT_FALSE(OKTTools::getObjectFromClassName(u"ThrowingForOneTest", object));
    EXPECT_EQ(object, nullptr);
    g_RuntimeClass.erase(u"ThrowingForOneTest");
}

TEST_P(CrashHandlerCatchAll, Cast_Throws_ReportAndNull)
{
    OKTDbPool pool;
    auto *const object = new ThrowingObject;
    object->m_what = GetParam();
    ASSERT_TRUE(pool.appendObject(object));
    ReportCatcher const reports;
    EXPECT_EQ(OKTDbParameter::cast(object), nullptr);
    EXPECT_EQ(OKTDbParameter::cast(object->objectId()), nullptr);
    ASSERT_EQ(reports.count(), 2u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("oktdbparameter"));
}

INSTANTIATE_TEST_SUITE_P(Kinds, CrashHandlerCatchAll,
                         ::testing::Values(ThrowingObject::What::Standard, ThrowingObject::What::Number,
                                           ThrowingObject::What::Pointer));

TEST(CrashHandlerStatus, XmlOut_ThrowsBetweenTwoMembers_ReportAndSuccessAndFrameLeftOpen_Quirk6)
{
    OKTDbParameter parameter;
    RecordingFiler filer;
    filer.throwAt("writeInt", 1);
    ReportCatcher reports;
    EXPECT_EQ(parameter.xmlOut(&filer), eFilerOk);
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("oktdbparameter"));
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbParameter 2", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", "writeObjectId m_objectId {00000000-0000-0000-0000-000000000000}",
                            "endWriteMembers", "endWriteClass", "beginWriteMembers 1", "writeString m_strUserName \"\"",
                            "writeInt m_nParamType -1"));
}

TEST(CrashHandlerStatus, XmlIn_Throws_ReportAndSuccess_Quirk6)
{
    OKTDbParameter parameter;
    ScriptedFiler filer;
    filer.giveString(u"Cover");
    filer.throwAt("readInt", 1);
    ReportCatcher reports;
    EXPECT_EQ(parameter.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(reports.count(), 1u);
    EXPECT_EQ(parameter.UserName(), CString(u"Cover")); // the partial work stands
}

TEST(CrashHandlerStatus, WriteVariant_InnerOperationThrows_SuccessOfTheInnerStatus_Quirk6)
{
    RecordingFiler filer;
    filer.throwInsideAt("writeLong", 1);
    tagVARIANT value{};
    value.vt = VT_I4;
    ReportCatcher reports;
    EXPECT_TRUE(filer.writeVariant(u"v", value));
    EXPECT_EQ(reports.count(), 1u);
}
