// SPDX-License-Identifier: MIT
#include <oktdatabase/oktwholeframe.h>

#include <oktdatabase/oktshortage.h>
#include <oktplatform/oktcodepage.h>

#include <limits>
#include <new>
#include <typeinfo>

OKTMemoryFiler *OKTFramePath::filerOf(OKTFiler &filer)
{
    if (!kFramesInMemory || typeid(filer) != typeid(OKTMemoryFiler) || !OktThreadCodePageKeepsAscii())
        return nullptr;
    auto *const memory = static_cast<OKTMemoryFiler *>(&filer);
    // 8-bit texts and ids that are noted or translated one by one take the calls.
    bool const isPlain = !memory->getIsAnsiString() && (!memory->getTranslatedIds() || memory->m_replacements != nullptr);
    return isPlain ? memory : nullptr;
}

OKTFramePath::Room OKTFramePath::append(OKTFiler &filer, std::int64_t size)
try
{
    OKTMemoryFiler *const memory = filerOf(filer);
    if (memory == nullptr || size > std::numeric_limits<int>::max())
        return {};
    return {memory, memory->m_bytes.extend(static_cast<int>(size))};
}
catch (std::bad_alloc const &)
{
    OktNoteShortage();
    return {};
}

OKTFramePath::Unread OKTFramePath::unreadOf(OKTFiler &filer)
{
    Unread unread;
    unread.filer = filerOf(filer);
    if (unread.filer != nullptr)
        unread.begin = unread.filer->m_bytes.unreadBytes(unread.end);
    return unread;
}

OKTFramePath::Unread OKTFramePath::unreadNarrowOf(OKTFiler &filer)
{
    Unread unread;
    if (typeid(filer) != typeid(OKTMemoryFiler) || !filer.getIsAnsiString() || !OktThreadCodePageKeepsAscii())
        return unread;
    unread.filer = static_cast<OKTMemoryFiler *>(&filer);
    unread.begin = unread.filer->m_bytes.unreadBytes(unread.end);
    return unread;
}

bool OKTFramePath::makeText(OKTMemoryFiler const &filer, OKTStoredText const &stored, CString &text)
{
    if (filer.m_texts != nullptr)
        return filer.m_texts->find(stored, text);
    if (OktHasZeroUnit(stored))
        return false;
    text.SetUnits(stored.count,
                  [&](WCHAR *units, int count) { std::memcpy(units, stored.units, 2 * static_cast<std::size_t>(count)); });
    return true;
}

void OKTFramePath::moveBy(OKTMemoryFiler &filer, std::ptrdiff_t bytes)
{
    filer.m_bytes.setPosition(filer.m_bytes.getPosition() + static_cast<int>(bytes));
}
