// SPDX-License-Identifier: MIT
#include <oktdatabase/oktframe.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktshortage.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktplatform/oktsystem.h>

#include <algorithm>
#include <new>
#include <utility>

namespace
{
constexpr int kLongestKept = 1024; // units; a longer text is not worth its memory

// Null: there is no memory for it, or the library ends. Static objects of a host may save a pool even then.
CString *spareText()
{
    return static_cast<CString *>(OktSystem::threadObject([]() -> void * { return new (std::nothrow) CString; },
                                                          [](void *text) { delete static_cast<CString *>(text); }));
}
} // namespace

OKTScratchText::OKTScratchText()
{
    if (CString *const spare = spareText())
        m_text = std::move(*spare);
    m_text.Truncate(0);
}

OKTScratchText::~OKTScratchText()
{
    CString *const spare = spareText();
    if (spare != nullptr && m_text.GetLength() <= kLongestKept)
        *spare = std::move(m_text);
}

void OktReportShortage(){OKT_SHOW_REPORT}

CString const *OKTListNames::at(int index)
{
    constexpr int kMostDigits = 10;
    char16_t digits[kMostDigits];
    int count = 0;
    for (auto rest = static_cast<unsigned int>(index); count == 0 || rest != 0; rest /= 10)
        digits[count++] = static_cast<char16_t>(u'0' + rest % 10);
    CString &name = m_name.text();
    bool const made = OktHasMemory([&] {
        int const stem = m_list.GetLength() + 1;
        if (name.GetLength() < stem)
        {
            name.Truncate(0);
            name += m_list;
            name += u'.';
        }
        name.Truncate(stem);
        while (count > 0)
            name += digits[--count];
    });
    return made ? &name : nullptr;
}

OKTDbObjectId idForList(OKTDbObjectId id)
{
    if (id.getPool() != nullptr)
        id.setObject(nullptr);
    return id;
}

namespace
{
// The fast path: all ids at once. False: nothing was written.
bool writeIds(OKTFiler &filer, IdArray const &ids)
{
    OKTFrameWriter frames(filer, static_cast<std::int64_t>(kIdFrame.size()) * ids.getSize());
    return frames && frames.ids(ids.getSize(), ids);
}

// The same on the way in. False: nothing was read, and the list is empty.
bool readIds(OKTFiler &filer, IdArray &ids, int count)
{
    try
    {
        OKTFrameReader frames(filer);
        if (frames.ids(count, ids))
        {
            frames.finish();
            return true;
        }
    }
    catch (std::bad_alloc const &)
    {
        OktNoteShortage(); // they are read one by one, as far as there is memory
    }
    ids.removeAll();
    return false;
}
} // namespace

void writeIdList(OKTFiler &filer, CString const &list, CString const &length, IdArray const &ids, OKTFrame &frame)
{
    int const count = ids.getSize();
    frame.fold(filer.writeInt(length, count));
    if (count == 0 || !frame.isOk() || writeIds(filer, ids))
        return;
    OKTListNames names(list);
    for (int i = 0; i < count && frame.isOk(); ++i)
    {
        CString const *const name = names.at(i);
        frame.fold(name != nullptr && filer.writeObjectId(*name, ids.at(i)));
    }
}

void readIdList(OKTFiler &filer, CString const &list, CString const &length, IdArray &ids, OKTFrame &frame)
{
    ids.removeAll();
    int count = 0;
    frame.fold(filer.readInt(length, count));
    if (count <= 0)
        return;
    if (frame.isOk() && readIds(filer, ids, count))
        return;
    OKTListNames names(list);
    for (int i = 0; i < count && frame.isOk(); ++i)
    {
        OKTDbObjectId id;
        CString const *const name = names.at(i);
        frame.fold(name != nullptr && filer.readObjectId(*name, id));
        frame.fold(OktHasMemory([&] { ids.append(idForList(id)); }));
    }
}
