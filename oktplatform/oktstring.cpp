// SPDX-License-Identifier: MIT
#include <oktplatform/oktstring.h>

#include <oktplatform/oktbuffer_internal.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktvariant.h>

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

using namespace OktText;

namespace
{
constexpr WCHAR kEmpty[] = {0};

// --- Conversion --------------------------------------------------------------------------------------------------------------

std::size_t unitsOfWide(wchar_t const *text, std::size_t length)
{
    std::size_t count = length;
    for (std::size_t i = 0; i < length; ++i)
    {
        if (OktText::fromWide(text[i]) > 0xFFFF)
            ++count;
    }
    return count;
}

OktTextBuffer *bufferOf(wchar_t const *text, std::size_t length)
{
    OktTextBuffer *const buffer = allocateBuffer(unitsOfWide(text, length));
    WCHAR *place = buffer->units();
    for (std::size_t i = 0; i < length; ++i)
    {
        // A character beyond U+FFFF takes two units, which were counted.
        char32_t const character = OktText::fromWide(text[i]);
        place += OktText::putCharacter(character, place);
    }
    setLength(buffer, static_cast<std::size_t>(place - buffer->units()));
    return buffer;
}

OktTextBuffer *bufferOf(char16_t const *text, std::size_t length)
{
    OktTextBuffer *const buffer = allocateBuffer(length);
    std::copy_n(text, length, buffer->units());
    setLength(buffer, length);
    return buffer;
}

template <typename U> std::size_t terminatedLength(U const *text)
{
    return text == nullptr ? 0 : std::char_traits<U>::length(text);
}

// --- Comparison --------------------------------------------------------------------------------------------------------------

constexpr WCHAR foldAscii(WCHAR unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<WCHAR>(unit + ('a' - 'A')) : unit; }

/// Reads the units of the folded form of a text.
class FoldedUnits
{
public:
    explicit FoldedUnits(OktTextView text) : m_place(text.data()), m_end(text.data() + text.size()) {}

    /// The next unit, -1 at the end.
    int next()
    {
        if (m_pending != 0)
            return std::exchange(m_pending, static_cast<WCHAR>(0));
        if (m_place == m_end)
            return -1;
        if (*m_place < 0x80)
            return foldAscii(*m_place++);
        WCHAR units[2];
        char32_t const character = OktText::nextCharacter(m_place, m_end);
        if (OktText::putCharacter(OktText::isSurrogate(character) ? character : OktText::foldCase(character), units) == 2)
            m_pending = units[1];
        return units[0];
    }

private:
    WCHAR const *m_place;
    WCHAR const *m_end;
    WCHAR m_pending = 0;
};

} // namespace

// --- Construction and assignment ----------------------------------------------------------------------------------------------------------

CString::CString(WCHAR const *units, int length)
{
    if (units == nullptr || length < 1)
        return;
    m_word.store(reinterpret_cast<std::uintptr_t>(makeBuffer({units, static_cast<std::size_t>(length)})),
                 std::memory_order_relaxed);
}

CString::CString(OktTextView units)
{
    if (!units.empty())
        m_word.store(reinterpret_cast<std::uintptr_t>(makeBuffer(units)), std::memory_order_relaxed);
}

CString::CString(OktOtherWide const *text, int length)
{
    if (text == nullptr || length < 1)
        return;
    auto const count = static_cast<std::size_t>(length);
    m_word.store(reinterpret_cast<std::uintptr_t>(bufferOf(text, count)), std::memory_order_relaxed);
}

CString CString::of(wchar_t character) { return CString(bufferOf(&character, 1)); }

CString CString::of(char16_t character)
{
    auto const unit = static_cast<WCHAR>(character);
    return CString(&unit, 1);
}

CString CString::of(char character)
{
    char const text[] = {character, '\0'};
    return CString(static_cast<char const *>(text));
}

void CString::assignUnits(char16_t const *text)
{
    std::size_t const length = terminatedLength(text);
    if (length == 0)
        return;
    m_word.store(reinterpret_cast<std::uintptr_t>(bufferOf(text, length)), std::memory_order_relaxed);
}

void CString::assignWide(wchar_t const *text)
{
    std::size_t const length = terminatedLength(text);
    if (length > 0)
        m_word.store(reinterpret_cast<std::uintptr_t>(bufferOf(text, length)), std::memory_order_relaxed);
}

void CString::assignNarrow(char const *text)
{
    std::size_t const length = terminatedLength(text);
    if (length == 0)
        return;
    if (length > kMaxLength)
        throw std::bad_alloc();
    if (OktThreadCodePageKeepsAscii() && countAscii(text, length) == length)
    {
        OktTextBuffer *const plain = allocateBuffer(length);
        std::copy_n(text, length, plain->units());
        setLength(plain, length);
        m_word.store(reinterpret_cast<std::uintptr_t>(plain), std::memory_order_relaxed);
        return;
    }
    auto const bytes = static_cast<int>(length);
    int const count = OktToWideChar(CP_THREAD_ACP, text, bytes, nullptr, 0);
    if (count <= 0)
        return;
    OktTextBuffer *const made = allocateBuffer(static_cast<std::size_t>(count));
    OktToWideChar(CP_THREAD_ACP, text, bytes, made->units(), count);
    setLength(made, static_cast<std::size_t>(count));
    m_word.store(reinterpret_cast<std::uintptr_t>(made), std::memory_order_relaxed);
}

void CString::release() { releaseBuffer(buffer()); }

// Two threads may convert the same wrapped literal at once. One result is kept, the other is freed.
OktTextView CString::wrappedView() const
{
    std::uintptr_t current = word();
    if ((current & kUnits) != 0)
    {
        auto const *const units = reinterpret_cast<WCHAR const *>(current & ~kUnits);
        return {units, std::char_traits<WCHAR>::length(units)};
    }
    if ((current & kWide) != 0)
    {
        auto const *const wide = reinterpret_cast<wchar_t const *>(current & ~kWide);
        std::size_t const length = terminatedLength(wide);
        OktTextBuffer *const made = length == 0 ? nullptr : bufferOf(wide, length);
        if (!m_word.compare_exchange_strong(current, reinterpret_cast<std::uintptr_t>(made), std::memory_order_acq_rel) &&
            made != nullptr)
            freeBuffer(made);
    }
    return View();
}

void CString::Empty() { *this = CString(); }

void CString::Truncate(int length)
{
    auto const kept = static_cast<std::size_t>(std::max(length, 0));
    if (kept >= View().size())
        return;
    if (isBuffer() && isOwn(buffer()))
        setLength(buffer(), kept);
    else
        *this = CString(View().substr(0, kept));
}

// Sets the length, which must be at least 1, in a buffer that is not shared. The contents are undefined.
WCHAR *CString::ownUnits(int length)
{
    auto const wanted = static_cast<std::size_t>(length);
    if (!isBuffer() || !isOwn(buffer()) || !hasRoomFor(buffer(), wanted))
    {
        OktTextBuffer *const made = allocateBuffer(wanted);
        setLength(made, wanted);
        *this = adopt(made);
    }
    else
        setLength(buffer(), wanted);
    return buffer()->units();
}

// --- UTF-8 -------------------------------------------------------------------------------------------------------------------

CString CString::FromUtf8(std::string_view text)
{
    char const *const end = text.data() + text.size();
    std::size_t count = 0;
    for (char const *place = text.data(); place != end;)
        count += OktText::nextUtf8(place, end) > 0xFFFF ? 2 : 1;
    if (count == 0)
        return CString();
    OktTextBuffer *const made = allocateBuffer(count);
    WCHAR *unit = made->units();
    for (char const *place = text.data(); place != end;)
        unit += OktText::putCharacter(OktText::nextUtf8(place, end), unit);
    setLength(made, count);
    return adopt(made);
}

std::string CString::ToUtf8() const
{
    OktTextView const view = View();
    WCHAR const *const end = view.data() + view.size();
    std::string result;
    result.reserve(view.size());
    for (WCHAR const *place = view.data(); place != end;)
    {
        char32_t const character = OktText::nextCharacter(place, end);
        char bytes[4];
        int const count = OktText::putUtf8(OktText::isSurrogate(character) ? OktText::kReplacement : character, bytes);
        result.append(bytes, static_cast<std::size_t>(count));
    }
    return result;
}

// --- Access ------------------------------------------------------------------------------------------------------------------

WCHAR CString::GetAt(int index) const
{
    OktTextView const view = View();
    if (index < 0 || static_cast<std::size_t>(index) > view.size())
        throw std::out_of_range("CString::GetAt");
    return static_cast<std::size_t>(index) == view.size() ? WCHAR(0) : view[static_cast<std::size_t>(index)];
}

void CString::SetAt(int index, WCHAR unit)
{
    if (index < 0 || index >= GetLength())
        throw std::out_of_range("CString::SetAt");
    if (!isBuffer() || !isOwn(buffer()))
        *this = adopt(makeBuffer(View()));
    buffer()->units()[index] = unit;
}

WCHAR const *CString::GetString() const
{
    OktTextView const view = View();
    return view.data() == nullptr ? kEmpty : view.data();
}

CString CString::Left(int count) const { return Mid(0, count); }

CString CString::Right(int count) const
{
    int const length = GetLength();
    return Mid(length - std::clamp(count, 0, length));
}

CString CString::Mid(int first) const { return Mid(first, std::numeric_limits<int>::max()); }

CString CString::Mid(int first, int count) const
{
    OktTextView const view = View();
    int const length = static_cast<int>(view.size());
    int const from = std::clamp(first, 0, length);
    int const units = std::clamp(count, 0, length - from);
    if (units == length)
        return *this;
    return CString(view.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(units)));
}

// --- Search ------------------------------------------------------------------------------------------------------------------

int CString::Find(CString const &part, int start) const
{
    OktTextView const view = View();
    if (start < 0 || static_cast<std::size_t>(start) > view.size())
        return -1;
    std::size_t const place = view.find(part.View(), static_cast<std::size_t>(start));
    return place == OktTextView::npos ? -1 : static_cast<int>(place);
}

int CString::Find(WCHAR unit, int start) const
{
    OktTextView const view = View();
    if (start < 0 || static_cast<std::size_t>(start) > view.size())
        return -1;
    std::size_t const place = view.find(unit, static_cast<std::size_t>(start));
    return place == OktTextView::npos ? -1 : static_cast<int>(place);
}

int CString::ReverseFind(WCHAR unit) const
{
    std::size_t const place = View().rfind(unit);
    return place == OktTextView::npos ? -1 : static_cast<int>(place);
}

int CString::ReverseFind(CString const &part) const
{
    std::size_t const place = View().rfind(part.View());
    return place == OktTextView::npos ? -1 : static_cast<int>(place);
}

// --- Change ------------------------------------------------------------------------------------------------------------------

namespace
{
template <typename Predicate> std::size_t countLeading(OktTextView view, Predicate matches)
{
    return static_cast<std::size_t>(std::find_if_not(view.begin(), view.end(), matches) - view.begin());
}

template <typename Predicate> std::size_t countTrailing(OktTextView view, Predicate matches)
{
    return static_cast<std::size_t>(std::find_if_not(view.rbegin(), view.rend(), matches) - view.rbegin());
}

auto isOneOf(OktTextView set)
{
    return [set](WCHAR unit) { return set.find(unit) != OktTextView::npos; };
}

/// Cuts a buffer in place. False: it is null or shared.
bool cutInPlace(OktTextBuffer *buffer, std::size_t front, std::size_t back)
{
    if (buffer == nullptr || !isOwn(buffer))
        return false;
    std::size_t const length = static_cast<std::size_t>(buffer->length) - front - back;
    if (front != 0)
        std::copy_n(buffer->units() + front, length, buffer->units());
    setLength(buffer, length);
    return true;
}
} // namespace

CString &CString::TrimLeft()
{
    std::size_t const count = countLeading(View(), OktText::isSpace);
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, count, 0))
        *this = Mid(static_cast<int>(count));
    return *this;
}

CString &CString::TrimLeft(WCHAR unit)
{
    std::size_t const count = countLeading(View(), [unit](WCHAR other) { return other == unit; });
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, count, 0))
        *this = Mid(static_cast<int>(count));
    return *this;
}

CString &CString::TrimLeft(CString const &set)
{
    std::size_t const count = countLeading(View(), isOneOf(set.View()));
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, count, 0))
        *this = Mid(static_cast<int>(count));
    return *this;
}

CString &CString::TrimRight()
{
    std::size_t const count = countTrailing(View(), OktText::isSpace);
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, 0, count))
        *this = Left(GetLength() - static_cast<int>(count));
    return *this;
}

CString &CString::TrimRight(WCHAR unit)
{
    std::size_t const count = countTrailing(View(), [unit](WCHAR other) { return other == unit; });
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, 0, count))
        *this = Left(GetLength() - static_cast<int>(count));
    return *this;
}

CString &CString::TrimRight(CString const &set)
{
    std::size_t const count = countTrailing(View(), isOneOf(set.View()));
    if (count != 0 && !cutInPlace(isBuffer() ? buffer() : nullptr, 0, count))
        *this = Left(GetLength() - static_cast<int>(count));
    return *this;
}

// The new text is complete before the old one is freed: both arguments may be this text.
int CString::Replace(CString const &from, CString const &to)
{
    OktTextView const view = View();
    OktTextView const old = from.View();
    OktTextView const fresh = to.View();
    if (old.empty())
        return 0;
    std::size_t places = 0;
    for (std::size_t place = view.find(old); place != OktTextView::npos; place = view.find(old, place + old.size()))
        ++places;
    if (places == 0)
        return 0;

    std::size_t const kept = view.size() - places * old.size();
    if (!fresh.empty() && places > (kMaxLength - kept) / fresh.size())
        throw std::bad_alloc();
    OktTextBuffer *const made = allocateBuffer(kept + places * fresh.size());
    WCHAR *target = made->units();
    std::size_t done = 0;
    for (std::size_t place = view.find(old); place != OktTextView::npos; place = view.find(old, done))
    {
        target = std::copy(view.begin() + static_cast<std::ptrdiff_t>(done), view.begin() + static_cast<std::ptrdiff_t>(place),
                           target);
        target = std::copy(fresh.begin(), fresh.end(), target);
        done = place + old.size();
    }
    std::copy(view.begin() + static_cast<std::ptrdiff_t>(done), view.end(), target);
    setLength(made, kept + places * fresh.size());
    *this = adopt(made);
    return static_cast<int>(places);
}

int CString::Replace(WCHAR from, WCHAR to)
{
    OktTextView const view = View();
    auto const places = std::count(view.begin(), view.end(), from);
    if (places == 0)
        return 0;
    if (!isBuffer() || !isOwn(buffer()))
        *this = adopt(makeBuffer(view));
    WCHAR *const units = buffer()->units();
    std::replace(units, units + buffer()->length, from, to);
    return static_cast<int>(places);
}

CString &CString::operator+=(CString const &text)
{
    if (word() == 0)
        return *this = text;
    return append(text.View());
}

CString &CString::operator+=(WCHAR unit) { return append({&unit, 1}); }

// The units may be those of this text.
CString &CString::append(OktTextView added)
{
    if (added.empty())
        return *this;
    OktTextView const view = View();
    std::size_t const length = view.size() + added.size();
    if (isBuffer() && isOwn(buffer()) && hasRoomFor(buffer(), length))
    {
        std::copy(added.begin(), added.end(), buffer()->units() + view.size());
        setLength(buffer(), length);
        return *this;
    }
    OktTextBuffer *const made = allocateBuffer(grown(length, view.size()));
    std::copy(added.begin(), added.end(), std::copy(view.begin(), view.end(), made->units()));
    setLength(made, length);
    return *this = adopt(made);
}

CString CString::joined(CString const &left, CString const &right)
{
    OktTextView const first = left.View();
    OktTextView const second = right.View();
    if (second.empty())
        return left;
    if (first.empty())
        return right;
    OktTextBuffer *const made = allocateBuffer(first.size() + second.size());
    std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), made->units()));
    setLength(made, first.size() + second.size());
    return adopt(made);
}

// --- Comparison --------------------------------------------------------------------------------------------------------------

bool CString::isSame(CString const &other) const
{
    WCHAR const *literal = Literal();
    CString const &text = literal != nullptr ? other : *this;
    if (literal == nullptr)
        literal = other.Literal();
    if (literal == nullptr)
        return View() == other.View();
    if (literal == text.Literal())
        return true;
    // The literal is not measured: most texts differ after a few units.
    for (WCHAR const unit : text.View())
    {
        if (unit == 0 || unit != *literal)
            return false;
        ++literal;
    }
    return *literal == 0;
}

int CString::Compare(CString const &other) const
{
    int const order = View().compare(other.View());
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int CString::CompareNoCase(CString const &other) const
{
    OktTextView const first = View();
    OktTextView const second = other.View();
    std::size_t same = 0;
    std::size_t const most = std::min(first.size(), second.size());
    while (same < most && first[same] < 0x80 && foldAscii(first[same]) == foldAscii(second[same]))
        ++same;
    FoldedUnits left(first.substr(same));
    FoldedUnits right(second.substr(same));
    for (;;)
    {
        int const a = left.next();
        int const b = right.next();
        if (a != b)
            return a < b ? -1 : 1;
        if (a < 0)
            return 0;
    }
}

int CString::compareWide(wchar_t const *text) const
{
    wchar_t const *place = text == nullptr ? L"" : text;
    OktTextView const view = View();
    WCHAR units[2];
    int pending = 0;
    for (WCHAR const unit : view)
    {
        WCHAR other = 0;
        if (pending != 0)
        {
            other = units[1];
            pending = 0;
        }
        else
        {
            if (*place == 0)
                return 1;
            pending = OktText::putCharacter(OktText::fromWide(*place++), units) - 1;
            other = units[0];
        }
        if (unit != other)
            return unit < other ? -1 : 1;
    }
    return pending != 0 || *place != 0 ? -1 : 0;
}

int CString::compareUnits(char16_t const *text) const
{
    char16_t const *place = text == nullptr ? u"" : text;
    for (WCHAR const unit : View())
    {
        if (*place == 0)
            return 1;
        auto const other = static_cast<WCHAR>(*place++);
        if (unit != other)
            return unit < other ? -1 : 1;
    }
    return *place != 0 ? -1 : 0;
}

OLECHAR *CString::AllocSysString() const
{
    OktTextView const view = View();
    OLECHAR *const made = SysAllocStringLen(GetString(), static_cast<UINT>(view.size()));
    if (made == nullptr)
        throw std::bad_alloc();
    return made;
}
