// SPDX-License-Identifier: MIT
#include "support/reportcatcher.h"

#include <oktplatform/oktwarning.h>

namespace
{
ReportCatcher *g_innermost = nullptr;

void keep(CString const &text) { g_innermost->take(text.ToUtf8()); }
} // namespace

ReportCatcher::ReportCatcher() : m_outer(g_innermost)
{
    g_innermost = this;
    OktSetWarningPresenter(keep);
}

ReportCatcher::~ReportCatcher()
{
    g_innermost = m_outer;
    OktSetWarningPresenter(m_outer != nullptr ? keep : nullptr);
}
