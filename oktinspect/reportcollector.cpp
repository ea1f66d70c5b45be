// SPDX-License-Identifier: MIT
#include <oktinspect/reportcollector.h>

#include <oktformat/text.h>

#include <oktplatform/oktwarning.h>

namespace okt
{

namespace
{

// What the library reported while a file was read: an exception inside it, which its answers hide.
std::string g_reports;

void noteReport(CString const &text) { g_reports += (g_reports.empty() ? "" : " ") + printable(text); }

} // namespace

ReportCollector::ReportCollector()
{
    g_reports.clear();
    OktSetWarningPresenter(noteReport);
}

ReportCollector::~ReportCollector() { OktSetWarningPresenter(nullptr); }

std::string const &ReportCollector::reports() const { return g_reports; }

bool ReportCollector::forgetBehind(std::size_t length) const
{
    bool const isLonger = g_reports.size() > length;
    g_reports.resize(isLonger ? length : g_reports.size());
    return isLonger;
}

} // namespace okt
