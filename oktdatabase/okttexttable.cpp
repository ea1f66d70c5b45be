// SPDX-License-Identifier: MIT
#include <oktdatabase/okttexttable.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace
{
std::uint64_t eightBytes(BYTE const *bytes)
{
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

// Texts that differ in length, at either end or in the middle have different numbers as a rule.
std::uint64_t scattered(OKTStoredText const &text)
{
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15u;
    std::size_t const size = 2 * static_cast<std::size_t>(text.count);
    std::uint64_t first = 0;
    if (size < sizeof first)
    {
        std::memcpy(&first, text.units, size);
        return (first ^ size) * kOdd;
    }
    first = eightBytes(text.units);
    std::uint64_t const last = eightBytes(text.units + size - sizeof last);
    std::uint64_t const middle = eightBytes(text.units + (size - sizeof middle) / 2);
    return ((first ^ size) * kOdd ^ last) * kOdd ^ middle * (kOdd << 1 | 1);
}
} // namespace

bool OktHasZeroUnit(OKTStoredText const &text)
{
    std::size_t const size = 2 * static_cast<std::size_t>(text.count);
    std::size_t at = 0;
    std::uint64_t zeros = 0;
    for (; at + 8 <= size; at += 8) // four at a time
    {
        std::uint64_t const units = eightBytes(text.units + at);
        zeros |= (units - 0x0001000100010001u) & ~units & 0x8000800080008000u;
    }
    bool any = zeros != 0;
    for (; at < size; at += 2)
        any = any || (text.units[at] == 0 && text.units[at + 1] == 0);
    return any;
}

// About one place for one or two objects, within bounds: making the places takes time, and they should fit into the cache.
OKTTextTable::OKTTextTable(int imageSize, OktArena *arena)
    : m_mask(std::bit_ceil(static_cast<std::size_t>(std::clamp(imageSize / 512, 64, 8192))) - 1),
      m_texts(std::make_unique<CString[]>(m_mask + 1)), m_blocks(arena)
{
}

bool OKTTextTable::find(OKTStoredText const &stored, CString &text)
{
    if (stored.count == 0)
    {
        text.Truncate(0);
        return true;
    }
    std::size_t const size = 2 * static_cast<std::size_t>(stored.count);
    CString &place = m_texts[static_cast<std::size_t>(scattered(stored) >> 40) & m_mask];
    OktTextView const known = place.View();
    if (known.size() == static_cast<std::size_t>(stored.count) && std::memcmp(known.data(), stored.units, size) == 0)
    {
        text = place; // and without a zero unit, as it was taken in
        return true;
    }
    if (OktHasZeroUnit(stored))
        return false;
    text = m_blocks.make(stored.units, stored.count);
    if (stored.count <= kLongest)
        place = text;
    return true;
}
