// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>

class OKTFiler;

/// Sets a filer's 8-bit string mode for a scope and puts the earlier mode back at its end. The filer may be null. A copy puts
/// it back too, so two guards restore twice.
class OKT_API OKTSmartAnsiString
{
public:
    /// The filer is not owned and must outlive the guard.
    OKTSmartAnsiString(OKTFiler *filer, bool ansi);
    OKTSmartAnsiString(OKTSmartAnsiString const &) = default;
    OKTSmartAnsiString &operator=(OKTSmartAnsiString const &) = default;
    virtual ~OKTSmartAnsiString();

private:
    bool m_saved = false;
    OKTFiler *m_filer;
};
