// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktbytefiler.h>
#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktplatform/okttextblocks.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <memory>

// Frames that are written and read as a whole. What is the same in every frame of a class lies ready as bytes and is copied or
// compared in one piece; between these pieces stand the values. The outcome is that of the members one by one, which remain the
// road for every other filer and for every frame that looks different. Not installed.

/// A piece of a stream that is known when the program is compiled.
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

/// A stretch of a frame with values in it: its bytes while all values are 0, and the bits that no value changes.
template <std::size_t N> struct OKTStretch
{
    OKTBytes<N> bytes = {};
    OKTBytes<N> fixed = {};

    constexpr OKTStretch(OKTBytes<N> const &piece) : OKTStretch(piece, piece) {} // NOLINT: a piece without values
    /// `zeros` and `ones` are the stretch while all values are 0 and while all their bits are set.
    constexpr OKTStretch(OKTBytes<N> const &zeros, OKTBytes<N> const &ones) : bytes(zeros)
    {
        for (std::size_t i = 0; i < N; ++i)
            fixed[i] = static_cast<BYTE>(~(zeros[i] ^ ones[i]));
    }
    static constexpr std::size_t size() { return N; }
};

template <std::size_t A, std::size_t B>
constexpr OKTStretch<A + B> operator+(OKTStretch<A> const &first, OKTStretch<B> const &second)
{
    OKTStretch<A + B> both(first.bytes + second.bytes);
    both.fixed = first.fixed + second.fixed;
    return both;
}
template <std::size_t A, std::size_t B> constexpr auto operator+(OKTStretch<A> const &first, OKTBytes<B> const &second)
{
    return first + OKTStretch<B>(second);
}
template <std::size_t A, std::size_t B> constexpr auto operator+(OKTBytes<A> const &first, OKTStretch<B> const &second)
{
    return OKTStretch<A>(first) + second;
}

inline constexpr OKTStretch kAnyLong(longRecord(0), longRecord(~0u));
inline constexpr OKTStretch kAnyId(kIdFrame, idFrame(~0u));

inline std::uint64_t eightBytes(BYTE const *bytes)
{
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

/// The piece stands at that place. Eight bytes at a time without a call, the last eight of them overlap.
template <std::size_t N> bool isPiece(BYTE const *place, OKTBytes<N> const &piece)
{
    if constexpr (N < 8)
        return std::memcmp(place, piece.data(), N) == 0;
    else
    {
        std::uint64_t difference = eightBytes(place + N - 8) ^ eightBytes(piece.data() + N - 8);
        for (std::size_t at = 0; at + 8 < N; at += 8)
            difference |= eightBytes(place + at) ^ eightBytes(piece.data() + at);
        return difference == 0;
    }
}

/// Sets the GUID in the frame of an id.
inline void setGuid(BYTE *frame, unsigned char const *guid)
{
    for (int i = 0; i < 4; ++i)
        std::memcpy(frame + kIdWords + 1 + i * kIdWordStep, guid + 4 * i, 4);
}

inline void storeIdFrame(BYTE *place, unsigned char const *guid)
{
    std::memcpy(place, kIdFrame.data(), kIdFrame.size());
    setGuid(place, guid);
}

/// The stretch stands at that place, with whatever values.
template <std::size_t N> bool isStretch(BYTE const *place, OKTStretch<N> const &stretch)
{
    static_assert(N >= 8);
    auto const differenceAt = [&](std::size_t at) {
        return (eightBytes(place + at) ^ eightBytes(stretch.bytes.data() + at)) & eightBytes(stretch.fixed.data() + at);
    };
    std::uint64_t difference = differenceAt(N - 8);
    for (std::size_t at = 0; at + 8 < N; at += 8)
        difference |= differenceAt(at);
    return difference == 0;
}

/// Exactly the frame of an id stands there, in 48 bytes.
inline bool isIdFrame(BYTE const *place) { return isStretch(place, kAnyId); }

/// The GUID in the frame of an id.
inline void fetchGuid(BYTE const *place, unsigned char *guid)
{
    for (int i = 0; i < 4; ++i)
        std::memcpy(guid + 4 * i, place + kIdWords + 1 + i * kIdWordStep, 4);
}

/// The frame of the base class in that of an object.
inline constexpr auto kObjectFrame = beginClass("OKTDbObject", 1) + beginMembers(1) + kIdFrame + kEndMembers + kEndClass;

/// Puts the pieces of one frame behind each other, into room that is made for all of them at once.
class OKTFrameWriter
{
public:
    static constexpr std::size_t kLongestText = 65535; // units
    static constexpr std::int64_t kTextHead = 3;       // bytes, and two for each unit

    /// `size` is that of the whole frame, to the byte.
    OKTFrameWriter(OKTFiler &filer, std::int64_t size);
    OKTFrameWriter(OKTFrameWriter const &) = delete;
    OKTFrameWriter &operator=(OKTFrameWriter const &) = delete;
    ~OKTFrameWriter() { assert(m_place == m_end); }

    /// False: nothing was written, and the frame goes out member by member.
    explicit operator bool() const { return m_place != nullptr; }

    template <std::size_t N> void put(OKTBytes<N> const &piece)
    {
        std::memcpy(m_place, piece.data(), N);
        m_place += N;
    }
    /// Puts the stretch and gives its place, where the values are set next.
    template <std::size_t N> BYTE *put(OKTStretch<N> const &stretch)
    {
        BYTE *const place = m_place;
        put(stretch.bytes);
        return place;
    }
    static void setLong(BYTE *record, std::int32_t value) { std::memcpy(record + 1, &value, sizeof value); }
    void setId(BYTE *frame, OKTDbObjectId const &id) const
    {
        setGuid(frame, reinterpret_cast<unsigned char const *>(&m_filer->idToWrite(id).m_Guid));
    }
    void putShort(std::uint16_t value) { putRecord(VarShort, value); }
    void putLong(std::int32_t value) { putRecord(VarLong, value); }
    void putDouble(double value) { putRecord(VarDouble, value); }
    void putText(OktTextView text)
    {
        putRecord(VarWideString, static_cast<std::uint16_t>(text.size()));
        m_place = std::copy_n(reinterpret_cast<BYTE const *>(text.data()), 2 * text.size(), m_place);
    }
    void putId(OKTDbObjectId const &id) { setId(put(kAnyId), id); }

private:
    template <typename T> void putRecord(_VariableType type, T value)
    {
        *m_place = static_cast<BYTE>(type);
        std::memcpy(m_place + 1, &value, sizeof value);
        m_place += 1 + sizeof value;
    }

    OKTMemoryFiler *m_filer = nullptr;
    BYTE *m_place = nullptr;
    BYTE *m_end = nullptr;
};

inline std::int32_t longIn(BYTE const *record)
{
    std::int32_t value;
    std::memcpy(&value, record + 1, sizeof value);
    return value;
}

/// The units of a text in a stream.
struct OKTStoredText
{
    BYTE const *units = nullptr;
    int count = 0;
};

/// Takes one frame piece by piece. Nothing changes before all of it was there: the first piece that is not as expected answers
/// false, and the frame is read member by member.
class OKTFrameReader
{
public:
    explicit OKTFrameReader(OKTFiler &filer);

    template <std::size_t N> bool take(OKTBytes<N> const &piece)
    {
        if (left() < static_cast<std::ptrdiff_t>(N) || !isPiece(m_place, piece))
            return false;
        m_place += N;
        return true;
    }
    /// The place of the stretch, or null.
    template <std::size_t N> BYTE const *take(OKTStretch<N> const &stretch)
    {
        if (left() < static_cast<std::ptrdiff_t>(N) || !isStretch(m_place, stretch))
            return nullptr;
        m_place += N;
        return m_place - N;
    }
    bool takeShort(std::int16_t &value) { return takeRecord(VarShort, value); }
    bool takeLong(std::int32_t &value) { return takeRecord(VarLong, value); }
    bool takeDouble(double &value) { return takeRecord(VarDouble, value); }
    bool takeText(OKTStoredText &text)
    {
        std::uint16_t count;
        if (!takeRecord(VarWideString, count) || left() < 2 * count)
            return false;
        text = {m_place, count};
        m_place += 2 * count;
        return true;
    }
    /// The bytes that are left.
    std::ptrdiff_t left() const { return m_end - m_place; }

    /// The id in such a frame, in the pool of the filer.
    OKTDbObjectId makeId(BYTE const *frame) const
    {
        OKTDbObjectId id;
        fetchGuid(frame, reinterpret_cast<unsigned char *>(&id.m_Guid));
        id.m_pool = m_filer->m_pool;
        return id;
    }
    /// The text, shared with an equal one that the filer met before. False when there is a zero unit in it, where it would end.
    bool makeText(OKTStoredText const &stored, CString &text) const;
    /// What was taken so far is read: the filer goes on behind it.
    void finish();
    /// A variant's data bytes are to be zero before they are read.
    bool clearsVariants() const { return m_filer != nullptr && m_filer->clearsVariants(); }

private:
    template <typename T> bool takeRecord(_VariableType type, T &value)
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

/// Texts that a stream has brought. Names, expressions and descriptions come again and again in a template; those that are
/// alike share one buffer, which saves their memory and the time to make it. Forgets a text when another needs its place.
class OKTTextTable
{
public:
    /// For the texts of an image of that many bytes.
    explicit OKTTextTable(int imageSize);

    /// False, and `text` untouched, when there is a zero unit in it.
    bool find(OKTStoredText const &stored, CString &text);

private:
    static constexpr int kLongest = 64; // units; a longer text is seldom met twice

    std::size_t m_mask; // the number of places, a power of two, less 1
    std::unique_ptr<CString[]> m_texts;
    OktTextBlocks m_blocks;
};
