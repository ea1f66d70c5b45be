// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

#include OKT_NATIVE(oktnativecount.h)
#include OKT_NATIVE(oktnativeimage.h)

#include <atomic>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

class CString;

/// A character type other than the unit of texts.
template <typename C>
concept OktOtherCharacter = (std::same_as<C, char> || std::same_as<C, char16_t> ||
                             std::same_as<C, wchar_t>)&&!std::same_as<C, WCHAR>;

/// Of wchar_t and char16_t the one that is not the unit of texts.
using OktOtherWide = std::conditional_t<std::same_as<WCHAR, wchar_t>, char16_t, wchar_t>;

/// A run of UTF-16 code units. It owns nothing.
using OktTextView = std::basic_string_view<WCHAR>;

/// The head of a text buffer. The units and a closing zero unit follow it in memory.
struct OktTextBuffer
{
    OktHolderCount references;
    int length;   ///< in units, without the closing zero
    int capacity; ///< in units, without the closing zero; a negative value is the offset of its block's head, in bytes

    /// The units.
    WCHAR *units() { return reinterpret_cast<WCHAR *>(this + 1); }
};

/// One argument of CString::Format. It is made by implicit conversion and must be used within the same expression.
class OktFormatArgument
{
public:
    // A number, an enumerator, a pointer or a text.
    template <std::integral T> OktFormatArgument(T value) // NOLINT(google-explicit-constructor)
        : m_kind(std::is_signed_v<T> ? Kind::Signed : Kind::Unsigned), m_integer(static_cast<std::int64_t>(value))
    {
    }
    template <typename T>
        requires std::is_enum_v<T> OktFormatArgument(T value)                  // NOLINT(google-explicit-constructor)
            : OktFormatArgument(static_cast<std::underlying_type_t<T>>(value)) // NOLINT
        {
        }
        OktFormatArgument(void const *pointer) : OktFormatArgument(reinterpret_cast<std::uintptr_t>(pointer)) {} // NOLINT
        OktFormatArgument(double value) : m_kind(Kind::Real), m_real(value) {}                                   // NOLINT
        OktFormatArgument(char const *text) : m_kind(Kind::Narrow), m_pointer(text) {}                           // NOLINT
        OktFormatArgument(wchar_t const *text) : m_kind(Kind::Wide), m_pointer(text) {}                          // NOLINT
        OktFormatArgument(char16_t const *text) : m_kind(Kind::Units), m_pointer(text) {}                        // NOLINT
        OktFormatArgument(CString const &text) : m_kind(Kind::Text), m_pointer(&text) {}                         // NOLINT

    private:
        friend class CString;
        enum class Kind
        {
            Signed,
            Unsigned,
            Real,
            Narrow,
            Wide,
            Units,
            Text
        };
        Kind m_kind;
        union
        {
            std::int64_t m_integer;
            double m_real;
            void const *m_pointer;
        };
};

/// A text of UTF-16 code units. Lone surrogates and zero units are allowed. Lengths, indexes, comparisons and order count units.
///
/// A text has the size of a pointer. A copy shares the buffer and allocates nothing; the first change of a shared text allocates a
/// buffer of its own. A literal is wrapped: it is not copied, and it is measured and converted only when it is read, so passing the
/// name of a member costs nothing. A back end that cannot recognise literals copies them. A failed allocation throws std::bad_alloc
/// and leaves the text unchanged.
class OKT_API CString
{
    template <typename P, typename C> static constexpr bool isPointerTo = std::same_as<P, C const *> || std::same_as<P, C *>;

public:
    /// The empty text.
    constexpr CString() noexcept = default;
    /// Copies share the buffer. Moves leave the source empty.
    CString(CString const &other) noexcept : m_word(other.word())
    {
        if (isBuffer())
            buffer()->references.add();
    }
    CString(CString &&other) noexcept : m_word(other.word()) { other.m_word.store(0, std::memory_order_relaxed); }
    ~CString()
    {
        if (isBuffer())
            release();
    }
    CString &operator=(CString const &other) noexcept { return *this = CString(other); }
    CString &operator=(CString &&other) noexcept
    {
        if (this == &other)
            return *this;
        std::uintptr_t const taken = other.word();
        other.m_word.store(0, std::memory_order_relaxed);
        if (isBuffer())
            release();
        m_word.store(taken, std::memory_order_relaxed);
        return *this;
    }

    /// Copies a zero-terminated text. Null gives the empty text. A wchar_t above U+FFFF becomes a surrogate pair. 8-bit text is
    /// converted from the code page of the thread.
    template <typename P> CString(P const &text) requires isPointerTo<P, char16_t> { assignUnits(text); } // NOLINT
    template <typename P> CString(P const &text) requires isPointerTo<P, wchar_t> { assignWide(text); }   // NOLINT
    CString(char const *text) { assignNarrow(text); } // NOLINT(google-explicit-constructor)
    CString(std::nullptr_t) {}                        // NOLINT(google-explicit-constructor)

    /// Wraps a literal, or another constant array of the calling program or library. All other arrays are copied.
    template <std::size_t N> OKT_INLINE CString(char16_t const (&text)[N]) // NOLINT
    {
        if (OktIsImageConstant(text))
            m_word.store(reinterpret_cast<std::uintptr_t>(text) | kUnits, std::memory_order_relaxed);
        else
            assignUnits(text);
    }
    template <std::size_t N> OKT_INLINE CString(wchar_t const (&text)[N]) // NOLINT
    {
        if (OktIsImageConstant(text))
            m_word.store(reinterpret_cast<std::uintptr_t>(text) | (sizeof(wchar_t) == 2 ? kUnits : kWide),
                         std::memory_order_relaxed);
        else
            assignWide(text);
    }
    // Arrays that are not constant are copied.
    template <std::size_t N> CString(char16_t (&text)[N]) { assignUnits(text); } // NOLINT
    template <std::size_t N> CString(wchar_t (&text)[N]) { assignWide(text); }   // NOLINT

    /// Copies `length` units, which may be zero units. A length below 1 gives the empty text.
    CString(WCHAR const *units, int length);
    CString(OktOtherWide const *text, int length);
    explicit CString(OktTextView units);
    /// Takes over one reference of a buffer. Null gives the empty text.
    explicit CString(OktTextBuffer *owned) noexcept : m_word(reinterpret_cast<std::uintptr_t>(owned)) {}

    /// Wraps a zero-terminated text. It must stay in memory as long as any copy of the result.
    static CString OfConstant(char16_t const *text) noexcept
    {
        CString wrapped;
        wrapped.m_word.store(reinterpret_cast<std::uintptr_t>(text) | kUnits, std::memory_order_relaxed);
        return wrapped;
    }

    /// Conversion from and to UTF-8. Each maximal ill-formed subpart of UTF-8, and each lone surrogate, becomes U+FFFD.
    static CString FromUtf8(std::string_view text);
    std::string ToUtf8() const;

    /// The length in units.
    int GetLength() const { return static_cast<int>(View().size()); }
    bool IsEmpty() const { return View().empty(); }
    /// Makes the text empty.
    void Empty();
    /// Cuts the text to its first `length` units. A buffer that is not shared keeps its memory.
    void Truncate(int length);

    /// One unit. The length as index reads the closing zero. An index below 0 or beyond that throws std::out_of_range.
    WCHAR GetAt(int index) const;
    WCHAR operator[](int index) const { return GetAt(index); }
    void SetAt(int index, WCHAR unit);

    /// The literal of 16-bit units that the text wraps, or null. Texts that wrap the same literal are equal.
    WCHAR const *Literal() const
    {
        std::uintptr_t const w = word();
        return (w & kUnits) != 0 ? reinterpret_cast<WCHAR const *>(w & ~kUnits) : nullptr;
    }

    /// Where the memory of the text begins, which is not accessed, or null. For hints to the processor.
    void const *Memory() const { return reinterpret_cast<void const *>(word() & ~kTagMask); }

    /// The units. They are valid until the text changes or is destroyed. GetString is zero-terminated.
    WCHAR const *GetString() const;
    OktTextView View() const
    {
        std::uintptr_t const w = word();
        if (w == 0)
            return {};
        if ((w & kTagMask) == 0)
        {
            auto *const buffer = reinterpret_cast<OktTextBuffer *>(w);
            return {buffer->units(), static_cast<std::size_t>(buffer->length)};
        }
        return wrappedView();
    }

    /// Sets the length and calls `fill(units, length)`, which must set all units. A length below 1 gives the empty text.
    template <typename F> void SetUnits(int length, F fill)
    {
        if (length > 0)
            fill(ownUnits(length), length);
        else
            Truncate(0);
    }

    /// Parts of the text. A negative count or index is taken as 0, a too large one as the end.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// The index of the first place from `start` on, or of the last place, or -1. A start below 0 or beyond the end finds nothing.
    int Find(CString const &part, int start = 0) const;
    int Find(WCHAR unit, int start = 0) const;
    int ReverseFind(WCHAR unit) const;
    int ReverseFind(CString const &part) const;

    /// Removes white space, one unit, or all units of a set, from one end. Returns this text.
    CString &TrimLeft();
    CString &TrimLeft(WCHAR unit);
    CString &TrimLeft(CString const &set);
    CString &TrimRight();
    CString &TrimRight(WCHAR unit);
    CString &TrimRight(CString const &set);

    /// Replaces all places and returns their number. An empty `from` replaces nothing.
    int Replace(CString const &from, CString const &to);
    int Replace(WCHAR from, WCHAR to);

    /// Returns -1, 0 or 1. CompareNoCase folds ASCII, and other characters by their simple case mapping.
    int Compare(CString const &other) const;
    int CompareNoCase(CString const &other) const;

    /// Formats with printf's conversions d i u x X o c s S p e E f F g G a A and %, flags, width, precision and '*'. Both s and S take
    /// texts of every kind. Numbers follow the numeric locale. Decimals are rounded exactly, half to even.
    template <typename... A> void Format(CString const &format, A const &...arguments)
    {
        formatList(format, {OktFormatArgument(arguments)...});
    }

    /// The same text in a buffer: a wrapped literal is copied, a buffer is shared. Needed for a text that outlives the module of its
    /// literal.
    CString Owned() const { return isBuffer() ? *this : CString(View()); }

    /// Allocates a system string with this text, zero units included. The caller frees it by SysFreeString.
    OLECHAR *AllocSysString() const;

    /// Appends a text or a unit.
    CString &operator+=(CString const &text);
    CString &operator+=(WCHAR unit);

    // The same operations with a character of another type, as in Find(L'x') and Find('x').
    template <OktOtherCharacter C> int Find(C character, int start = 0) const { return Find(of(character), start); }
    template <OktOtherCharacter C> int ReverseFind(C character) const { return ReverseFind(of(character)); }
    template <OktOtherCharacter C> CString &TrimLeft(C character) { return TrimLeft(of(character)); }
    template <OktOtherCharacter C> CString &TrimRight(C character) { return TrimRight(of(character)); }
    template <OktOtherCharacter C> int Replace(C from, C to) { return Replace(of(from), of(to)); }
    template <OktOtherCharacter C> CString &operator+=(C character)
    {
        if constexpr (sizeof(C) == sizeof(WCHAR))
            return *this += static_cast<WCHAR>(character);
        else
            return *this += of(character);
    }
    template <OktOtherCharacter C> friend CString operator+(CString const &left, C right) { return joined(left, of(right)); }
    template <OktOtherCharacter C> friend CString operator+(C left, CString const &right) { return joined(of(left), right); }

    // Two parts joined in a new text.
    friend CString operator+(CString const &left, WCHAR right) { return joined(left, CString(&right, 1)); }
    friend CString operator+(WCHAR left, CString const &right) { return joined(CString(&left, 1), right); }
    friend CString operator+(CString const &left, CString const &right) { return joined(left, right); }

    // Comparison by units. A null pointer is an empty text.
    friend bool operator==(CString const &left, CString const &right) { return left.isSame(right); }
    friend bool operator==(CString const &left, wchar_t const *right) { return left.compareWide(right) == 0; }
    friend bool operator==(CString const &left, char16_t const *right) { return left.compareUnits(right) == 0; }
    friend std::strong_ordering operator<=>(CString const &left, CString const &right) { return left.Compare(right) <=> 0; }
    friend std::strong_ordering operator<=>(CString const &left, wchar_t const *right) { return left.compareWide(right) <=> 0; }
    friend std::strong_ordering operator<=>(CString const &left, char16_t const *right)
    {
        return left.compareUnits(right) <=> 0;
    }

private:
    // The low bits of the word tell what it holds: a buffer (0 is the empty text), a literal of 16-bit units, or a literal of 32-bit
    // wchar_t. The addresses of units are even, those of wide characters multiples of 4.
    static constexpr std::uintptr_t kUnits = 1;
    static constexpr std::uintptr_t kWide = 2;
    static constexpr std::uintptr_t kTagMask = 3;

    static CString of(wchar_t character);
    static CString of(char16_t character);
    static CString of(char character);

    std::uintptr_t word() const { return m_word.load(std::memory_order_acquire); }
    bool isBuffer() const
    {
        std::uintptr_t const w = word();
        return w != 0 && (w & kTagMask) == 0;
    }
    OktTextBuffer *buffer() const { return reinterpret_cast<OktTextBuffer *>(word()); }

    WCHAR *ownUnits(int length);
    CString &append(OktTextView added);
    void release();
    OktTextView wrappedView() const;
    void assignUnits(char16_t const *text);
    void assignWide(wchar_t const *text);
    void assignNarrow(char const *text);
    void formatList(CString const &format, std::initializer_list<OktFormatArgument> arguments);
    bool isSame(CString const &other) const;
    int compareWide(wchar_t const *text) const;
    int compareUnits(char16_t const *text) const;
    static CString joined(CString const &left, CString const &right);

    mutable std::atomic<std::uintptr_t> m_word{0};
};

static_assert(sizeof(CString) == sizeof(void *));
