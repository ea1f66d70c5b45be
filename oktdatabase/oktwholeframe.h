// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktbytefiler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/okttexttable.h>
#include <oktplatform/oktvariant.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>

// Frames that are written and read as a whole, the fast path beside the calls of the filer protocol. The bytes that are the same in
// every frame of a class are copied or compared in one piece, and the values stand between them. It makes a save three times and a
// load twice as quick.
//
// The outcome is that of the calls, member by member, under these conditions, and a class that takes this path falls back to the
// calls where one of them does not hold:
// - the filer is an OKTMemoryFiler itself: a derived one may override any call;
// - it writes and reads wide strings, and the thread's code page keeps ASCII letters, of which class names are made;
// - it translates no ids while it reads, and notes none while it writes;
// - writing: there is memory for the whole frame, every text fits its record, every value has a stored form of known length;
// - reading: every byte of the frame that is no value is the expected one, and no text has a zero unit.
// tests/oktwholeframe_test.cpp holds both paths against each other.
//
// Not installed.

/// Numbers and texts are copied from and to memory: only in one byte order are they there as they are stored.
inline constexpr bool kFramesInMemory = std::endian::native == std::endian::little;

/// A piece of a stream that is known at compile time.
template <std::size_t N> using OKTBytes = std::array<BYTE, N>;

template <std::size_t A, std::size_t B> constexpr OKTBytes<A + B> operator+(OKTBytes<A> const &first, OKTBytes<B> const &second)
{
    OKTBytes<A + B> both = {};
    for (std::size_t i = 0; i < A; ++i)
        both[i] = first[i];
    for (std::size_t i = 0; i < B; ++i)
        both[A + i] = second[i];
    return both;
}

constexpr OKTBytes<5> longRecord(std::uint32_t value)
{
    return {VarLong, static_cast<BYTE>(value), static_cast<BYTE>(value >> 8), static_cast<BYTE>(value >> 16),
            static_cast<BYTE>(value >> 24)};
}

template <std::size_t N> constexpr auto beginClass(char const (&name)[N], std::uint32_t version)
{
    OKTBytes<N + 3> head = {VarClassBegin, VarAnsiString, static_cast<BYTE>(N - 1), static_cast<BYTE>((N - 1) >> 8)};
    for (std::size_t i = 0; i + 1 < N; ++i)
        head[4 + i] = static_cast<BYTE>(name[i]);
    return head + longRecord(version);
}

constexpr OKTBytes<6> beginMembers(std::uint32_t section) { return OKTBytes<1>{VarMembersBegin} + longRecord(section); }

inline constexpr OKTBytes<1> kEndClass = {VarClassEnd};
inline constexpr OKTBytes<1> kEndMembers = {VarMembersEnd};

/// The frame of an id: four longs that hold the bytes of its GUID as they lie in memory.
constexpr auto idFrame(std::uint32_t word)
{
    return beginClass("OKTObjectId", 1) + beginMembers(1) + longRecord(word) + longRecord(word) + longRecord(word) +
           longRecord(word) + kEndMembers + kEndClass;
}
inline constexpr auto kIdFrame = idFrame(0);
inline constexpr int kIdWords = 26; // where the first of the four stands
inline constexpr int kIdWordStep = 5;
static_assert(kIdFrame.size() == 48);

/// A stretch of a frame with values in it: its bytes while all values are 0, the bits that no value changes, and the offsets of the
/// values' records in their order.
template <std::size_t N, std::size_t Values> struct OKTStretch
{
    OKTBytes<N> bytes = {};
    OKTBytes<N> fixed = {};
    std::array<std::size_t, Values> offsets = {};

    static constexpr std::size_t size() { return N; }
};

/// A piece without values.
template <std::size_t N> constexpr OKTStretch<N, 0> stretchOf(OKTBytes<N> const &piece)
{
    OKTStretch<N, 0> stretch = {piece, {}, {}};
    for (BYTE &bits : stretch.fixed)
        bits = 0xFF;
    return stretch;
}

/// One value, whose record is the first of these while it is 0 and the second while all of its bits are set.
template <std::size_t N> constexpr OKTStretch<N, 1> valueOf(OKTBytes<N> const &zeros, OKTBytes<N> const &ones)
{
    OKTStretch<N, 1> stretch = {zeros, {}, {}};
    for (std::size_t i = 0; i < N; ++i)
        stretch.fixed[i] = static_cast<BYTE>(~(zeros[i] ^ ones[i]));
    return stretch;
}

template <std::size_t A, std::size_t V, std::size_t B, std::size_t W>
constexpr OKTStretch<A + B, V + W> operator+(OKTStretch<A, V> const &first, OKTStretch<B, W> const &second)
{
    OKTStretch<A + B, V + W> both = {first.bytes + second.bytes, first.fixed + second.fixed, {}};
    for (std::size_t i = 0; i < V; ++i)
        both.offsets[i] = first.offsets[i];
    for (std::size_t i = 0; i < W; ++i)
        both.offsets[V + i] = A + second.offsets[i];
    return both;
}
template <std::size_t A, std::size_t V, std::size_t B>
constexpr auto operator+(OKTStretch<A, V> const &first, OKTBytes<B> const &second)
{
    return first + stretchOf(second);
}
template <std::size_t A, std::size_t B, std::size_t W>
constexpr auto operator+(OKTBytes<A> const &first, OKTStretch<B, W> const &second)
{
    return stretchOf(first) + second;
}

inline constexpr auto kAnyLong = valueOf(longRecord(0), longRecord(~0u));
inline constexpr auto kAnyId = valueOf(kIdFrame, idFrame(~0u));

/// The frame of the base class in that of an object.
inline constexpr auto kObjectFrame = beginClass("OKTDbObject", 1) + beginMembers(1) + kAnyId + kEndMembers + kEndClass;

/// The bytes of a frame of that class whose only section is empty, around the frame of its base class.
template <std::size_t N> constexpr std::int64_t emptyFrameSize(char const (&name)[N], std::size_t base)
{
    return static_cast<std::int64_t>((beginClass(name, 1) + beginMembers(1) + kEndMembers + kEndClass).size() + base);
}
inline constexpr std::int64_t kIdSize = kIdFrame.size();
inline constexpr std::int64_t kLongSize = 5;
inline constexpr std::int64_t kTextHead = 3; // of the record of a text

inline std::uint64_t eightBytes(BYTE const *bytes)
{
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

/// The stretch stands at that place, with whatever values. Eight bytes at a time without a call; the last eight of them overlap.
template <std::size_t N, std::size_t V> bool isStretch(BYTE const *place, OKTStretch<N, V> const &stretch)
{
    if constexpr (N < 8)
    {
        static_assert(V == 0);
        return std::memcmp(place, stretch.bytes.data(), N) == 0;
    }
    else
    {
        auto const differenceAt = [&](std::size_t at) {
            return (eightBytes(place + at) ^ eightBytes(stretch.bytes.data() + at)) & eightBytes(stretch.fixed.data() + at);
        };
        std::uint64_t difference = differenceAt(N - 8);
        for (std::size_t at = 0; at + 8 < N; at += 8)
            difference |= differenceAt(at);
        return difference == 0;
    }
}

/// Sets the GUID in the frame of an id.
inline void storeGuid(BYTE *frame, unsigned char const *guid)
{
    for (int i = 0; i < 4; ++i)
        std::memcpy(frame + kIdWords + 1 + i * kIdWordStep, guid + 4 * i, 4);
}

/// The GUID in the frame of an id.
inline void fetchGuid(BYTE const *frame, unsigned char *guid)
{
    for (int i = 0; i < 4; ++i)
        std::memcpy(guid + 4 * i, frame + kIdWords + 1 + i * kIdWordStep, 4);
}

/// The record in which a variant of that kind stores its number; -1 for a kind that stores none. A VT_R4 goes out as a double and
/// comes back as its eight bytes, although the kind says float (quirk 39).
constexpr int numberRecordOf(std::int32_t kind)
{
    switch (kind)
    {
    case VT_I2: return VarShort;
    case VT_I4:
    case VT_BOOL: return VarLong;
    case VT_R4:
    case VT_R8: return VarDouble;
    default: return -1;
    }
}

// The three classes that follow have the same operations, so that one walk over the members of a frame gives its length, writes it
// and reads it. An operation is false when the frame is not as expected.

/// Adds up the length of a frame in bytes.
class OKTFrameLength
{
public:
    std::int64_t bytes() const { return m_bytes; }

    template <std::size_t N, std::size_t V, typename... Value> bool stretch(OKTStretch<N, V> const &, Value const &...)
    {
        return add(N);
    }
    bool text(OktTextView text) { return add(3 + 2 * text.size()); }
    /// A text in place of the number is stored as a text.
    bool number(std::int32_t kind, tagVARIANT const &value)
    {
        if (kind == VT_BSTR)
            return add(3 + 2 * std::size_t{SysStringLen(value.bstrVal)});
        int const record = numberRecordOf(kind);
        return record >= 0 && add(record == VarShort ? 3 : record == VarLong ? 5 : 9);
    }
    bool ids(std::int32_t count, IdArray const &) { return add(kIdFrame.size() * static_cast<std::size_t>(count)); }

private:
    bool add(std::size_t bytes)
    {
        m_bytes += static_cast<std::int64_t>(bytes);
        return true;
    }

    std::int64_t m_bytes = 0;
};

/// What the two classes below do with their filer. Its functions take no object, so that the place in a frame that is written or
/// read can stay in a register.
class OKTFramePath
{
protected:
    struct Room
    {
        OKTMemoryFiler *filer = nullptr;
        BYTE *place = nullptr;
    };
    struct Unread
    {
        OKTMemoryFiler *filer = nullptr;
        BYTE const *begin = nullptr;
        BYTE const *end = nullptr;
    };

    /// Appends that many bytes. Nothing is appended, and the result is null, for a filer that takes the calls, and where there is no
    /// memory: the calls then find out themselves, one by one.
    static Room append(OKTFiler &filer, std::int64_t size);
    /// What lies from the position to the end; nothing for a filer that takes the calls.
    static Unread unreadOf(OKTFiler &filer);
    /// The same while 8-bit texts are read.
    static Unread unreadNarrowOf(OKTFiler &filer);
    static bool makeText(OKTMemoryFiler const &filer, OKTStoredText const &stored, CString &text);
    static void moveBy(OKTMemoryFiler &filer, std::ptrdiff_t bytes);
    static OKTDbObjectId const &idOf(OKTDbObject const &object) { return object.m_objectId; }

private:
    static OKTMemoryFiler *filerOf(OKTFiler &filer);
};

/// Puts the pieces of a frame behind each other, into memory that is appended for all of them at once.
class OKTFrameWriter : private OKTFramePath
{
public:
    static constexpr std::size_t kLongestText = 65535; // units

    /// `size` is that of the whole frame, to the byte.
    OKTFrameWriter(OKTFiler &filer, std::int64_t size)
    {
        Room const room = append(filer, size);
        m_filer = room.filer;
        m_place = room.place;
        m_end = m_place == nullptr ? nullptr : m_place + size;
    }
    OKTFrameWriter(OKTFrameWriter const &) = delete;
    OKTFrameWriter &operator=(OKTFrameWriter const &) = delete;
    ~OKTFrameWriter() { assert(m_place == m_end); }

    /// False: nothing was written, and the frame goes out member by member.
    explicit operator bool() const { return m_place != nullptr; }

    template <std::size_t N, std::size_t V, typename... Value>
    bool stretch(OKTStretch<N, V> const &stretch, Value const &...values)
    {
        static_assert(sizeof...(Value) == V);
        BYTE *const place = m_place;
        std::memcpy(place, stretch.bytes.data(), N);
        [[maybe_unused]] std::size_t next = 0;
        (store(place + stretch.offsets[next++], values), ...);
        m_place += N;
        return true;
    }
    OKT_INLINE bool text(OktTextView text)
    {
        record(VarWideString, static_cast<std::uint16_t>(text.size()));
        m_place = std::copy_n(reinterpret_cast<BYTE const *>(text.data()), 2 * text.size(), m_place);
        return true;
    }
    bool number(std::int32_t kind, tagVARIANT const &value)
    {
        switch (kind)
        {
        case VT_I2: record(VarShort, value.iVal); break;
        case VT_I4: record(VarLong, value.lVal); break;
        case VT_BOOL: record(VarLong, static_cast<std::int32_t>(value.boolVal)); break;
        case VT_R4: record(VarDouble, static_cast<double>(value.fltVal)); break;
        default: record(VarDouble, value.dblVal); break;
        }
        return true;
    }
    bool ids(std::int32_t, IdArray const &ids)
    {
        for (OKTDbObjectId const &id : ids)
            stretch(kAnyId, id);
        return true;
    }

private:
    static void store(BYTE *place, std::int32_t value) { std::memcpy(place + 1, &value, sizeof value); }
    void store(BYTE *place, OKTDbObjectId const &id) const
    {
        storeGuid(place, reinterpret_cast<unsigned char const *>(&m_filer->idToWrite(id).m_Guid));
    }
    template <typename T> void record(_VariableType type, T value)
    {
        *m_place = static_cast<BYTE>(type);
        std::memcpy(m_place + 1, &value, sizeof value);
        m_place += 1 + sizeof value;
    }

    OKTMemoryFiler *m_filer = nullptr;
    BYTE *m_place = nullptr;
    BYTE *m_end = nullptr;
};

/// The frame of an id in a stream.
struct OKTStoredId
{
    BYTE const *frame = nullptr;
};

/// Takes a frame piece by piece. The position of the filer stays until finish; the first piece that is not as expected answers
/// false, and the frame is then read member by member.
class OKTFrameReader : private OKTFramePath
{
public:
    explicit OKTFrameReader(OKTFiler &filer)
    {
        Unread const unread = unreadOf(filer);
        m_filer = unread.filer;
        m_start = m_place = unread.begin;
        m_end = unread.end;
    }
    OKTFrameReader(OKTFrameReader const &) = delete;
    OKTFrameReader &operator=(OKTFrameReader const &) = delete;

    template <std::size_t N, std::size_t V, typename... Value> bool stretch(OKTStretch<N, V> const &stretch, Value &...values)
    {
        static_assert(sizeof...(Value) == V);
        if (left() < static_cast<std::ptrdiff_t>(N) || !isStretch(m_place, stretch))
            return false;
        [[maybe_unused]] std::size_t next = 0;
        (fetch(m_place + stretch.offsets[next++], values), ...);
        m_place += N;
        return true;
    }
    bool text(OKTStoredText &text)
    {
        std::uint16_t count;
        if (!record(VarWideString, count) || left() < 2 * count)
            return false;
        text = {m_place, count};
        m_place += 2 * count;
        return true;
    }
    /// Sets only those data bytes of `value` that the kind has.
    bool number(std::int32_t kind, tagVARIANT &value)
    {
        switch (numberRecordOf(kind))
        {
        case VarShort: return record(VarShort, value.iVal);
        case VarLong: return record(VarLong, value.lVal);
        case VarDouble: return record(VarDouble, value.dblVal);
        default: return false;
        }
    }
    /// Appends that many ids; none for a negative count. False: the stream does not hold so many here. Throws std::bad_alloc.
    bool ids(std::int32_t count, IdArray &ids)
    {
        if (count > left() / static_cast<std::ptrdiff_t>(kIdFrame.size()))
            return false; // a count that is read may be any number
        ids.reserve(std::max(count, 0));
        for (std::int32_t i = 0; i < count; ++i)
        {
            OKTStoredId id;
            if (!stretch(kAnyId, id))
                return false;
            ids.append(makeId(id));
        }
        return true;
    }

    /// The id of such a frame, in the pool of the filer.
    OKTDbObjectId makeId(OKTStoredId stored) const
    {
        OKTDbObjectId id;
        fetchGuid(stored.frame, reinterpret_cast<unsigned char *>(&id.m_Guid));
        id.m_pool = m_filer->m_pool;
        return id;
    }
    /// The text, shared with an equal one that the filer met before. False when there is a zero unit in it, where it would end.
    bool makeText(OKTStoredText const &stored, CString &text) const { return OKTFramePath::makeText(*m_filer, stored, text); }
    /// What was taken so far is read: the position moves behind it. Nothing is taken afterwards.
    void finish() { moveBy(*m_filer, m_place - m_start); }
    /// A variant's data bytes are to be zero before they are read.
    bool clearsVariants() const { return m_filer != nullptr && m_filer->clearsVariants(); }

private:
    std::ptrdiff_t left() const { return m_end - m_place; }
    static void fetch(BYTE const *place, std::int32_t &value) { std::memcpy(&value, place + 1, sizeof value); }
    static void fetch(BYTE const *place, OKTStoredId &id) { id.frame = place; }
    template <typename T> bool record(_VariableType type, T &value)
    {
        if (left() < static_cast<std::ptrdiff_t>(1 + sizeof value) || *m_place != type)
            return false;
        std::memcpy(&value, m_place + 1, sizeof value);
        m_place += 1 + sizeof value;
        return true;
    }

    OKTMemoryFiler *m_filer = nullptr;
    BYTE const *m_start = nullptr;
    BYTE const *m_place = nullptr;
    BYTE const *m_end = nullptr;
};
