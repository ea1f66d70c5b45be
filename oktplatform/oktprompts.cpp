// SPDX-License-Identifier: MIT
#include <oktplatform/oktwarning.h>

#include <oktplatform/oktsystem.h>

namespace
{
/// The text from the string table, where the system has one, else a wrapped literal, which needs no memory. Empty for an unknown
/// id.
CString catalogueText(unsigned int id)
{
    OktSystem::Unit const *stored = nullptr;
    std::size_t length = 0;
    if (OktSystem::resourceText(id, stored, length))
        return CString(stored, static_cast<int>(length));
    switch (id)
    {
#define OKT_PROMPT(number, text)                                                                                               \
    case number:                                                                                                               \
        return CString(u"" text);
#define OKT_SUPPORT_PROMPT(number, text) OKT_PROMPT(number, text)
#include <oktdatabase/res/oktprompts.inc>
#undef OKT_SUPPORT_PROMPT
#undef OKT_PROMPT
    default: return CString();
    }
}
} // namespace

CString ZnPrompts::getPrompt(unsigned int id, wchar_t const *project, unsigned int)
{
    if (CString(u"OKTDATABASE") != project)
        return CString();
    return catalogueText(id);
}

int ZnPrompts::getPrompt(CString &text, unsigned int id, wchar_t const *project, unsigned int flags)
{
    text = getPrompt(id, project, flags);
    return text.IsEmpty() ? 0 : 1;
}
