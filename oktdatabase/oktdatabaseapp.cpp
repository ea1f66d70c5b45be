// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabaseapp.h>

AFX_MSGMAP const *COKTDatabaseApp::GetMessageMap() const
{
    static AFX_MSGMAP const messages = {CWinApp::GetMessageMap(), nullptr};
    return &messages;
}

BOOL COKTDatabaseApp::InitInstance()
{
    CWinApp::InitInstance();
    COleObjectFactory::RegisterAll();
    return TRUE;
}
