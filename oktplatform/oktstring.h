#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

#if defined(_WIN32)
#include <oktplatform/win32/oktimage.h>
#else
#include <oktplatform/posix/oktimage.h>
#endif

#include <atomic>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include <ext/atomicity.h>

class CString;

/// A character type that is not the unit of texts.
template <typename C>
concept OktOtherCharacter = (std::same_as<C, char> || std::same_as<C, char16_t> ||
                             std::same_as<C, wchar_t>)&&!std::same_as<C, WCHAR>;

/// A run of UTF-16 code units that somebody else owns.
using OktTextView = std::basic_string_view<WCHAR>;

/// The head of a text buffer; the units and a closing zero unit follow it in memory.
struct OktTextBuffer
{
    _Atomic_word references; ///< while the process has one thread, counting needs no locked instructions
    int length;              ///< in units, without the closing zero
    int capacity;            ///< in units, without the closing zero; below 0 the way back to the head of its block, in bytes

    WCHAR *units() { return reinterpret_cast<WCHAR *>(this + 1); }
    void addReference() { __gnu_cxx::__atomic_add_dispatch(&references, 1); }
    /// True: that was the last one.
    bool dropReference() { return __gnu_cxx::__exchange_and_add_dispatch(&references, -1) == 1; }
};

/// One argument of CString::Format: a number, a character or a text. Made by implicit conversion, used at once.
class OktFormatArgument
{
public:
    template <std::integral T> OktFormatArgument(T value) // NOLINT(google-explicit-constructor)
        : m_kind(std::is_signed_v<T> ? Kind::Signed : Kind::Unsigned), m_integer(static_cast<std::int64_t>(value))
    {
    }
    template <typename T>
        requires std::is_enum_v<T> OktFormatArgument(T value)
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

/// A text of UTF-16 code units, lone surrogates and zero units included. Lengths, indexes, comparisons and order count units.
///
/// One pointer wide. A copy shares the buffer and allocates nothing; the first change of a shared text makes a buffer of its
/// own. A literal is wrapped: neither copied nor measured nor converted until somebody looks at it, so that a member can be
/// named in every call at no cost. Memory that cannot be had throws std::bad_alloc and leaves the text as it was.
class OKT_API CString
{
    template <typename P, typename C> static constexpr bool isPointerTo = std::same_as<P, C const *> || std::same_as<P, C *>;

public:
    constexpr CString() noexcept = default;
    CString(CString const &other) noexcept : m_word(other.word())
    {
        if (isBuffer())
            buffer()->addReference();
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

    /// A zero-terminated text, copied. Null gives the empty text. A wchar_t of 32 bits above U+FFFF becomes a surrogate pair.
    /// The 8-bit form is converted from the code page of the thread.
    template <typename P> CString(P const &text) requires isPointerTo<P, char16_t> { assignUnits(text); } // NOLINT
    template <typename P> CString(P const &text) requires isPointerTo<P, wchar_t> { assignWide(text); }   // NOLINT
    CString(char const *text) { assignNarrow(text); } // NOLINT(google-explicit-constructor)
    CString(std::nullptr_t) {}                        // NOLINT(google-explicit-constructor)

    /// A literal, wrapped, and so is every constant array of the calling program or library. Any other array is copied.
    template <std::size_t N> __attribute__((always_inline)) CString(char16_t const (&text)[N]) // NOLINT
    {
        if (OktIsImageConstant(text))
            m_word.store(reinterpret_cast<std::uintptr_t>(text) | kUnits, std::memory_order_relaxed);
        else
            assignUnits(text);
    }
    template <std::size_t N> __attribute__((always_inline)) CString(wchar_t const (&text)[N]) // NOLINT
    {
        if (OktIsImageConstant(text))
            m_word.store(reinterpret_cast<std::uintptr_t>(text) | (sizeof(wchar_t) == 2 ? kUnits : kWide),
                         std::memory_order_relaxed);
        else
            assignWide(text);
    }
    template <std::size_t N> CString(char16_t (&text)[N]) { assignUnits(text); } // NOLINT
    template <std::size_t N> CString(wchar_t (&text)[N]) { assignWide(text); }   // NOLINT

    /// The first `length` units at `units`, zero units included. A length below 1 gives the empty text.
    CString(WCHAR const *units, int length);
#if defined(_WIN32)
    CString(char16_t const *units, int length) : CString(reinterpret_cast<WCHAR const *>(units), length) {}
#else
    CString(wchar_t const *text, int length);
#endif
    explicit CString(OktTextView units);
    /// Takes over one reference to a buffer. Null gives the empty text.
    explicit CString(OktTextBuffer *owned) noexcept : m_word(reinterpret_cast<std::uintptr_t>(owned)) {}

    /// A zero-terminated text that outlives every copy of this one: it is wrapped, whatever memory it lies in.
    static CString OfConstant(char16_t const *text) noexcept
    {
        CString wrapped;
        wrapped.m_word.store(reinterpret_cast<std::uintptr_t>(text) | kUnits, std::memory_order_relaxed);
        return wrapped;
    }

    /// Malformed UTF-8 becomes U+FFFD, one for each maximal ill-formed subpart; a lone surrogate leaves as U+FFFD.
    static CString FromUtf8(std::string_view text);
    std::string ToUtf8() const;

    int GetLength() const { return static_cast<int>(View().size()); }
    bool IsEmpty() const { return View().empty(); }
    void Empty();
    /// Cuts the text to its first `length` units and keeps the memory of a buffer that is not shared.
    void Truncate(int length);

    /// An index below 0, or beyond the length, throws std::out_of_range; the length itself gives the closing zero.
    WCHAR GetAt(int index) const;
    WCHAR operator[](int index) const { return GetAt(index); }
    void SetAt(int index, WCHAR unit);

    /// The literal of 16-bit units that the text wraps, or null: two texts that wrap one literal are one text.
    WCHAR const *Literal() const
    {
        std::uintptr_t const w = word();
        return (w & kUnits) != 0 ? reinterpret_cast<WCHAR const *>(w & ~kUnits) : nullptr;
    }

    /// The units; good until the text changes or goes. GetString is zero-terminated.
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

    /// Makes the text `length` units long and lets `fill(units, length)` set all of them. A length below 1 gives the empty
    /// text.
    template <typename F> void SetUnits(int length, F fill)
    {
        if (length > 0)
            fill(ownUnits(length), length);
        else
            Truncate(0);
    }

    /// Negative counts and indexes count as 0, too large ones as the end.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// The index of the first (last) place from `start` on, or -1. A start below 0 or beyond the end finds nothing.
    int Find(CString const &part, int start = 0) const;
    int Find(WCHAR unit, int start = 0) const;
    int ReverseFind(WCHAR unit) const;
    int ReverseFind(CString const &part) const;

    /// Takes away white space, one unit, or every unit of a set, at one end; gives the text itself.
    CString &TrimLeft();
    CString &TrimLeft(WCHAR unit);
    CString &TrimLeft(CString const &set);
    CString &TrimRight();
    CString &TrimRight(WCHAR unit);
    CString &TrimRight(CString const &set);

    /// The number of places replaced. An empty `from` replaces nothing.
    int Replace(CString const &from, CString const &to);
    int Replace(WCHAR from, WCHAR to);

    /// Below, at or above 0. NoCase folds ASCII and, beyond it, by the simple case mapping of the characters.
    int Compare(CString const &other) const;
    int CompareNoCase(CString const &other) const;

    /// printf's conversions d i u x X o c s S p e E f F g G a A and %, flags, width, precision and '*'. Texts of every kind fit
    /// both s and S; numbers follow the numeric locale, decimals are rounded exactly, half to even.
    template <typename... A> void Format(CString const &format, A const &...arguments)
    {
        formatList(format, {OktFormatArgument(arguments)...});
    }

    /// The same text in a buffer: what a literal wraps is copied, a buffer is shared. For a text that is to outlive the module
    /// in which its literal stands.
    CString Owned() const { return isBuffer() ? *this : CString(View()); }

    /// A new system string with this text, owned by the caller (SysFreeString). Zero units are kept.
    OLECHAR *AllocSysString() const;

    CString &operator+=(CString const &text);
    CString &operator+=(WCHAR unit);
    // The same with a character of another width, as in Find(L'x') and Find('x').
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

    friend CString operator+(CString const &left, WCHAR right) { return joined(left, CString(&right, 1)); }
    friend CString operator+(WCHAR left, CString const &right) { return joined(CString(&left, 1), right); }
    friend CString operator+(CString const &left, CString const &right) { return joined(left, right); }

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
    // What the word holds is told by its low bits: a buffer (0 is the empty text), a literal of 16-bit units, a literal of
    // 32-bit wchar_t. Units lie on even addresses, wide characters on multiples of 4.
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
