// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

/// Sets the function that shows a warning. It is called on the thread of the failed operation, which waits for it, with the text
/// of the report. Null restores the default: a message box where the system has one, else one line on standard error. The default
/// does not block a process without a user, where the back end can tell.
OKT_API void OktSetWarningPresenter(void (*show)(CString const &text));
/// The function that is set; null for the default. For whoever sets another one for a while, and then this one again.
OKT_API void (*OktWarningPresenter())(CString const &text);

class CWnd;

/// A dialog.
class OKT_API CDialog
{
public:
    virtual ~CDialog() = default;

    /// Shows the dialog, waits for its end and returns how it ended.
    virtual std::intptr_t DoModal() = 0;
};

/// The warning dialog of the support library.
class OKT_API CZnDlgWarningReport : public CDialog
{
public:
    /// The parent window may be null.
    explicit CZnDlgWarningReport(CWnd *parent = nullptr);
    /// Sets the text to show.
    void setWarningMsg(CString message);
    /// Shows the text with the function that is set. Returns 1.
    std::intptr_t DoModal() override;

private:
    CString m_message;
};

/// The prompt catalogue of the support library. It has one project, "OKTDATABASE".
class OKT_API ZnPrompts
{
public:
    /// The text of a prompt, empty for an unknown id or project. The first form returns 1, or 0 for an empty text. The flags have no
    /// effect.
    static int getPrompt(CString &text, unsigned int id, wchar_t const *project, unsigned int flags);
    static CString getPrompt(unsigned int id, wchar_t const *project, unsigned int flags);
};
