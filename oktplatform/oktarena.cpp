// SPDX-License-Identifier: MIT
#include <oktplatform/oktarena.h>

#include <oktplatform/oktbackend.h>

#include OKT_NATIVE(oktnativecount.h)
#include OKT_NATIVE(oktnativememory.h)

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

/// The head of a chunk. Its users are the pieces in it, and the arena that still fills it.
struct OktArena::Chunk
{
    Region *region;
    OktHolderCount users;
};

/// Chunks in one block of the heap. Behind `memory` and `begin` all is changed under the lock alone.
struct OktArena::Region
{
    void *memory = nullptr;
    unsigned char *begin = nullptr;
    std::size_t opened = 0; // chunks that the arena has come to; it alone changes this
    std::vector<bool> isFree;
    std::vector<bool> isBack; // its pages are with the system
    std::size_t freeChunks = 0;
    std::size_t lendAt = 0; // so many free ones are given to the system next

    /// As for a first use.
    void reset()
    {
        opened = freeChunks = 0;
        isFree.assign(isFree.size(), false);
        isBack.assign(isBack.size(), false);
        lendAt = (isFree.size() + 1) / 2;
    }
};

namespace
{
using Chunk = OktArena::Chunk;
using Region = OktArena::Region;

constexpr std::size_t kLargePage = 2 << 20;
constexpr std::size_t kLeastRegion = 64 << 10;
constexpr std::size_t kLargestRegion = 32 << 20;
constexpr std::size_t kFirst = (sizeof(Chunk) + 15) / 16 * 16 + 8; // of a chunk, where pieces begin

static_assert(kFirst + OktArena::kLargest <= OktArena::kChunk);

/// Of all regions: chunks end seldom, and on any thread.
std::mutex s_lock;

/// Gives the pages of the free chunks to the system, neighbours in one go.
void lendFree(Region &region)
{
    for (std::size_t i = 0; i < region.isFree.size(); ++i)
    {
        std::size_t const first = i;
        for (; i < region.isFree.size() && region.isFree[i] && !region.isBack[i]; ++i)
            region.isBack[i] = true;
        if (i > first)
            OktDropPages(region.begin + first * OktArena::kChunk, (i - first) * OktArena::kChunk);
    }
}

/// The last region that ended, for the next load: the first access to its pages costs more than all else that a load of a small pool
/// does. The system may take the pages of a large one meanwhile.
class SpareRegion
{
public:
    ~SpareRegion()
    {
        std::lock_guard const guard(s_lock);
        m_isEnded = true;
        end(std::exchange(m_region, nullptr));
    }

    /// One of at least that size and at most a quarter more, or null. Another one ends.
    Region *take(std::size_t chunks)
    {
        std::lock_guard const guard(s_lock);
        Region *const region = std::exchange(m_region, nullptr);
        if (region == nullptr || (region->isFree.size() >= chunks && region->isFree.size() - chunks <= chunks / 4))
            return region;
        end(region);
        return nullptr;
    }
    /// Under the lock.
    void giveBack(Region *region)
    {
        std::size_t const size = region->isFree.size() * OktArena::kChunk;
        if (m_isEnded || (size > kHeld && !OktLendPages(region->begin, size)))
            end(region);
        else
            end(std::exchange(m_region, region));
    }

private:
    static constexpr std::size_t kHeld = 16 << 20; // above this the system may take the pages back

    static void end(Region *region)
    {
        if (region == nullptr)
            return;
        std::free(region->memory);
        delete region;
    }

    Region *m_region = nullptr;
    bool m_isEnded = false;
};

SpareRegion s_spare;
std::atomic<int> s_holds = 0;

/// What a program puts in place of operator new is there from its start.
bool isHeapAligned() noexcept
try
{
    constexpr std::size_t kSizes[] = {1, 24, 320, 5000};
    return std::all_of(std::begin(kSizes), std::end(kSizes), [](std::size_t size) {
        void *const block = ::operator new(size);
        bool const isAligned = (reinterpret_cast<std::uintptr_t>(block) & 15) == 0;
        ::operator delete(block);
        return isAligned;
    });
}
catch (std::bad_alloc const &)
{
    return false;
}

// False before it is made, when there are no pieces yet.
bool const s_hasArenas = isHeapAligned();

/// Some chunks of the region have no pieces any more.
void freeChunks(Region *region, std::size_t first, std::size_t count)
{
    std::lock_guard const guard(s_lock);
    std::fill_n(region->isFree.begin() + static_cast<std::ptrdiff_t>(first), count, true);
    region->freeChunks += count;
    std::size_t const all = region->isFree.size();
    if (region->freeChunks == all)
        s_spare.giveBack(region);
    else if (region->freeChunks >= region->lendAt && s_holds.load(std::memory_order_relaxed) == 0)
    {
        lendFree(*region);
        region->lendAt = region->freeChunks + (all - region->freeChunks + 1) / 2;
    }
}

void dropUser(Chunk *chunk)
{
    if (!chunk->users.drop())
        return;
    Region *const region = chunk->region;
    auto const place = reinterpret_cast<unsigned char *>(chunk) - region->begin;
    freeChunks(region, static_cast<std::size_t>(place) / OktArena::kChunk, 1);
}
} // namespace

bool OktHasArenas() noexcept { return s_hasArenas; }

void OktFreeInArena(void *memory) noexcept
{
    auto const place = reinterpret_cast<std::uintptr_t>(memory);
    dropUser(reinterpret_cast<Chunk *>(place & ~(std::uintptr_t{OktArena::kChunk} - 1)));
}

OktArenaHold::OktArenaHold() { s_holds.fetch_add(1, std::memory_order_relaxed); }

OktArenaHold::~OktArenaHold() { s_holds.fetch_sub(1, std::memory_order_relaxed); }

void OktArena::forgetSpare() { s_spare.take(0); }

// A parameter and its entry in the pool take about as much as its frame.
OktArena::OktArena(std::int64_t imageSize)
    : m_expected(static_cast<std::size_t>(imageSize) / 16 * 15),
      m_isOn(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16 && s_hasArenas && !kOktFindsUseAfterEnd && imageSize >= kLeastImage)
{
}

OktArena::~OktArena()
{
    leaveChunk();
    leaveRegion();
}

void *OktArena::takeHere(std::size_t step) noexcept
{
    m_chunk->users.add();
    void *const piece = m_next;
    m_next += step;
    return piece;
}

void OktArena::leaveChunk() noexcept
{
    if (m_chunk != nullptr)
        dropUser(m_chunk);
    m_chunk = nullptr;
    m_next = m_end = nullptr;
}

void OktArena::leaveRegion() noexcept
{
    if (m_region == nullptr)
        return;
    std::size_t const opened = m_region->opened;
    if (std::size_t const unused = m_region->isFree.size() - opened; unused > 0)
        freeChunks(m_region, opened, unused);
    m_region = nullptr;
}

/// To the next chunk.
bool OktArena::moveOn() noexcept
{
    leaveChunk();
    if (m_region != nullptr && m_region->opened == m_region->isFree.size())
        leaveRegion();
    if (m_region == nullptr && !openRegion())
    {
        m_isOn = false; // no more tries: the heap has as little
        return false;
    }
    unsigned char *const begin = m_region->begin + m_region->opened++ * kChunk;
    m_chunk = ::new (begin) Chunk{m_region, 1};
    m_next = begin + kFirst;
    m_end = begin + kChunk;
    return true;
}

bool OktArena::openRegion() noexcept
try
{
    std::size_t const wanted = m_asked < m_expected ? m_expected - m_asked : m_asked / 8;
    std::size_t size = std::clamp(wanted / kChunk * kChunk, kLeastRegion, kLargestRegion);
    // Aligned to large pages, which takes one of them more of addresses: not for what comes behind an estimate that was short. The
    // rest of a large page costs less than many small ones.
    bool const isAligned = size >= kLargePage && (m_asked == 0 || size >= 4 * kLargePage);
    if (isAligned && size % kLargePage >= kLargePage / 2)
        size += kLargePage - size % kLargePage;
    m_asked += size;
    std::size_t const chunks = size / kChunk;
    m_region = s_spare.take(chunks);
    if (m_region != nullptr)
    {
        m_region->reset();
        return true;
    }
    auto region = std::make_unique<Region>();
    region->isFree.resize(chunks);
    region->isBack.resize(chunks);
    region->reset();
    std::size_t const alignment = isAligned ? kLargePage : kChunk;
    region->memory = std::malloc(size + alignment - 1);
    if (region->memory == nullptr)
        return false;
    auto const place = (reinterpret_cast<std::uintptr_t>(region->memory) + alignment - 1) & ~(std::uintptr_t{alignment} - 1);
    region->begin = reinterpret_cast<unsigned char *>(place);
    if (size >= kLargePage)
        OktWishLargePages(region->begin, size);
    m_region = region.release();
    return true;
}
catch (std::bad_alloc const &)
{
    return false;
}
