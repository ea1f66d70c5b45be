// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarenapiece.h>

#include <cstddef>
#include <cstdint>

// Not installed.

/// Memory for what a load makes: the fast path beside one call of the heap for each object and text. Pieces come one behind the other
/// from chunks of 16 KB in regions of up to 32 MB, which get large pages: the first access to 430 bytes takes 20 ns there and 165 in
/// small pages, and a load of 10,000 objects has a third of the page faults.
///
/// Each piece ends alone, and in any order, also behind its arena. Chunks whose pieces are all gone go back to the system, as soon as
/// they are half of those of their region, and then each time half of the rest is gone; a region ends with its last piece. So a
/// single object keeps a chunk, and never more than as much again lies unused. The region that ended last is kept for the next load.
///
/// Under AddressSanitizer there is no arena: each object has a block of its own, so that a use after its end is found.
class OktArena
{
public:
    /// For a load of an image of that many bytes. A small one gets no memory: its objects come from the heap, as all do.
    explicit OktArena(std::int64_t imageSize);
    OktArena(OktArena const &) = delete;
    OktArena &operator=(OktArena const &) = delete;
    ~OktArena();

    /// A piece for at most kLargest bytes with an alignment of at most 8, or null: the caller asks the heap then.
    void *take(std::size_t size) noexcept
    {
        std::size_t const step = (size + 15) & ~std::size_t{15};
        if (static_cast<std::size_t>(m_end - m_next) < step && !(m_isOn && step <= kLargest && moveOn()))
            return nullptr;
        return takeHere(step);
    }

    /// False: there will be no more pieces but from the chunk at hand.
    bool isOn() const { return m_isOn; }
    /// Frees the region that is kept for the next load.
    static void forgetSpare();

    static constexpr std::size_t kChunk = 16 << 10;
    static constexpr std::size_t kLargest = kChunk - 32;
    static constexpr std::int64_t kLeastImage = 256 << 10;

    struct Region;
    struct Chunk;

private:
    void *takeHere(std::size_t step) noexcept;
    bool moveOn() noexcept;
    bool openRegion() noexcept;
    void leaveChunk() noexcept;
    void leaveRegion() noexcept;

    unsigned char *m_next = nullptr;
    unsigned char *m_end = nullptr;
    Chunk *m_chunk = nullptr;
    Region *m_region = nullptr;
    std::size_t m_expected;  // bytes in all
    std::size_t m_asked = 0; // bytes of all regions
    bool m_isOn;
};

/// While one lives, no pages go to the system: many objects are about to end, and their region with them.
class OktArenaHold
{
public:
    OktArenaHold();
    OktArenaHold(OktArenaHold const &) = delete;
    OktArenaHold &operator=(OktArenaHold const &) = delete;
    ~OktArenaHold();
};
