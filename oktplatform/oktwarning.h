#pragma once

#include <oktplatform/oktstring.h>

/// Who shows a warning. The function is called modally, on the thread of the failing operation, with the text of the report;
/// null restores the default: a message box where the system has one, else one line on standard error. The default never
/// blocks a process that has no user.
OKT_API void OktSetWarningPresenter(void (*show)(CString const &text));

class CWnd;

class OKT_API CDialog
{
public:
    virtual ~CDialog() = default;
    virtual std::intptr_t DoModal() = 0;
};

/// The warning dialog of the support library; its parent window may be null.
class OKT_API CZnDlgWarningReport : public CDialog
{
public:
    explicit CZnDlgWarningReport(CWnd *parent = nullptr);
    void setWarningMsg(CString message);
    std::intptr_t DoModal() override;

private:
    CString m_message;
};

/// The prompt catalogue of the support library. The one project here is "OKTDATABASE"; an id it does not hold, 0 included,
/// answers the empty text.
class OKT_API ZnPrompts
{
public:
    static int getPrompt(CString &text, unsigned int id, wchar_t const *project, unsigned int flags);
    static CString getPrompt(unsigned int id, wchar_t const *project, unsigned int flags);
};
