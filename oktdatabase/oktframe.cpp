#include <oktdatabase/oktframe.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktwholeframe.h>

#include <oktplatform/oktsystem.h>

#include <new>
#include <utility>

namespace
{
constexpr int kLongestKept = 1024; // units; a longer text is not worth its memory

// Static objects of a host may save a pool after the thread's own objects have ended.
thread_local bool t_spareEnded = false;

struct Spare
{
    ~Spare() { t_spareEnded = true; }

    CString text;
};

CString *spareText()
{
    if constexpr (OktSystem::kThreadObjectsMayEnd)
    {
        if (t_spareEnded)
            return nullptr;
        thread_local Spare spare;
        return &spare.text;
    }
    else
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

OKTListNames::OKTListNames(CString const &list) : m_stemLength(list.GetLength() + 1)
{
    m_name.text() += list;
    m_name.text() += u'.';
}

CString const &OKTListNames::at(int index)
{
    char16_t digits[10];
    int count = 0;
    for (auto rest = static_cast<unsigned int>(index); count == 0 || rest != 0; rest /= 10)
        digits[count++] = static_cast<char16_t>(u'0' + rest % 10);
    m_name.text().Truncate(m_stemLength);
    while (count > 0)
        m_name.text() += digits[--count];
    return m_name.text();
}

OKTDbObjectId idForList(OKTDbObjectId id)
{
    if (id.getPool() != nullptr)
        id.setObject(nullptr);
    return id;
}

namespace
{
// All at once where nobody asks for the names. False: nothing was written.
bool writeIds(OKTFiler &filer, IdArray const &ids)
{
    OKTFrameWriter frames(filer, static_cast<std::int64_t>(kIdFrame.size()) * ids.getSize());
    if (!frames)
        return false;
    for (OKTDbObjectId const &id : ids)
        frames.putId(id);
    return true;
}

// Those at the front that can be read as whole frames.
void readIds(OKTFiler &filer, IdArray &ids, int count)
{
    OKTFrameReader frames(filer);
    ids.reserve(
        static_cast<int>(std::min<std::ptrdiff_t>(count, frames.left() / static_cast<std::ptrdiff_t>(kIdFrame.size()))));
    while (ids.getSize() < count)
    {
        BYTE const *const id = frames.take(kAnyId);
        if (id == nullptr)
            break;
        ids.append(frames.makeId(id));
    }
    if (ids.getSize() > 0)
        frames.finish();
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
        frame.fold(filer.writeObjectId(names.at(i), ids.at(i)));
}

void readIdList(OKTFiler &filer, CString const &list, CString const &length, IdArray &ids, OKTFrame &frame)
{
    ids.removeAll();
    int count = 0;
    frame.fold(filer.readInt(length, count));
    if (count <= 0)
        return;
    if (frame.isOk())
        readIds(filer, ids, count);
    if (ids.getSize() == count)
        return;
    OKTListNames names(list);
    for (int i = ids.getSize(); i < count && frame.isOk(); ++i)
    {
        OKTDbObjectId id;
        frame.fold(filer.readObjectId(names.at(i), id));
        ids.append(idForList(id));
    }
}
