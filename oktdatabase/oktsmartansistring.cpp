// SPDX-License-Identifier: MIT
#include <oktdatabase/oktsmartansistring.h>

#include <oktdatabase/oktfiler.h>

OKTSmartAnsiString::OKTSmartAnsiString(OKTFiler *filer, bool ansi) : m_filer(filer)
{
    if (m_filer == nullptr)
        return;
    m_saved = m_filer->getIsAnsiString();
    m_filer->setIsAnsiString(ansi);
}

OKTSmartAnsiString::~OKTSmartAnsiString()
{
    if (m_filer != nullptr)
        m_filer->setIsAnsiString(m_saved);
}
