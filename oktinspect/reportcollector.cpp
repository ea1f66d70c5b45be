// SPDX-License-Identifier: MIT
#include <oktinspect/reportcollector.h>

#include <oktformat/text.h>

#include <oktplatform/oktwarning.h>

#include <utility>
#include <vector>

namespace okt
{

namespace
{

// What the library reported while a file was read: an exception inside it, which its answers hide.
std::string g_reports;
std::vector<std::string> g_outer;            // those of the collectors around the innermost one
void (*g_before)(CString const &) = nullptr; // whoever showed warnings before the outermost one

void noteReport(CString const &text) { g_reports += (g_reports.empty() ? "" : " ") + printable(text); }

} // namespace

ReportCollector::ReportCollector()
{
    g_outer.push_back(std::move(g_reports));
    g_reports.clear();
    if (g_outer.size() == 1)
        g_before = OktWarningPresenter();
    OktSetWarningPresenter(noteReport);
}

ReportCollector::~ReportCollector()
{
    g_reports = std::move(g_outer.back());
    g_outer.pop_back();
    if (g_outer.empty())
        OktSetWarningPresenter(g_before);
}

std::string const &ReportCollector::reports() const { return g_reports; }

bool ReportCollector::forgetBehind(std::size_t length) const
{
    bool const isLonger = g_reports.size() > length;
    g_reports.resize(isLonger ? length : g_reports.size());
    return isLonger;
}

} // namespace okt
