// SPDX-License-Identifier: MIT
#include "support/hexbytes.h"
#include "support/imageof.h"
#include "support/shortage.h"
#include "support/testobject.h"
#include "support/units.h"

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktwarning.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

// The report of a failure needs no memory that is not there already, and what raises an exception of its own keeps its rules.

namespace
{
std::string reportOf(wchar_t const *file, int line)
{
    ReportCounter const reports;
    bool escaped = false;
    {
        AllocationFault const fault(FaultKind::FromThere, 0);
        try
        {
            OKTCrashHandler(file, line);
        }
        catch (...)
        {
            escaped = true;
        }
    }
    EXPECT_FALSE(escaped);
    EXPECT_EQ(ReportCounter::count(), 1u);
    return ReportCounter::lastText();
}
} // namespace

TEST(ShortageReport, CrashHandler_NoMemoryAtAll_TheWholeReport)
{
    EXPECT_EQ(reportOf(L"C:\\source\\of\\the\\host\\and\\its\\many\\folders\\oktfiler", 159), "\n\\oktfiler@159");
    EXPECT_EQ(reportOf(L"\\oktdbpool", 7), "\n\\oktdbpool@7");
    EXPECT_EQ(reportOf(L"oktfiler", -2147483647 - 1), "\noktfiler@-2147483648");
}

TEST(ShortageReport, CrashHandlerWithoutPlace_NoMemoryAtAll_TheWholePrompt)
{
    CString const prompt = ZnPrompts::getPrompt(21011, L"OKTDATABASE", 0);
    ASSERT_FALSE(prompt.IsEmpty());
    EXPECT_EQ(reportOf(nullptr, 0), prompt.ToUtf8());
}

TEST(ShortageReport, DefaultPresenter_NoMemoryAtAll_NothingEscapes)
{
    OktSetWarningPresenter(nullptr);
    bool escaped = false;
    testing::internal::CaptureStderr();
    {
        AllocationFault const fault(FaultKind::FromThere, 0);
        try
        {
            OKTCrashHandler(L"\\oktdbpool", 7);
        }
        catch (...)
        {
            escaped = true;
        }
    }
    std::string const shown = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(escaped);
#if !defined(_WIN32)
    EXPECT_EQ(shown, "OKTDatabase10: \\oktdbpool@7\n");
#endif
}

// A host that cannot present a report raises its own exception, which travels.
TEST(ShortageReport, PresenterRaises_ItsExceptionTravels)
{
    OktSetWarningPresenter([](CString const &) { throw std::bad_alloc(); });
    EXPECT_THROW(OKTCrashHandler(L"\\oktdbpool", 7), std::bad_alloc);
    OktSetWarningPresenter(nullptr);
}

// A class of a client whose xmlOut raises counts as written, with what it wrote, as every exception of a client does.
TEST(ShortageReport, SaveFiler_ClassOfAClientRaises_ReportedAndTrue_Quirk6)
{
    OKTDbPool pool;
    auto *const object = new TestObject;
    ASSERT_TRUE(pool.appendObject(object));
    CByteArray const whole = imageOf(pool);
    object->m_throwInXmlOut = true;
    ReportCounter const reports;
    CByteArray image;
    IdMap translated;
    EXPECT_TRUE(pool.saveFiler(image, translated));
    EXPECT_EQ(ReportCounter::count(), 1u);
    EXPECT_LT(image.GetSize(), whole.GetSize());
}
