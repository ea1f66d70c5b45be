// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktwinapp.h>

/// The application object of this module. Not installed.
class COKTDatabaseApp : public CWinApp
{
public:
    /// An empty map of its own.
    AFX_MSGMAP const *GetMessageMap() const override;
    BOOL InitInstance() override;
};
