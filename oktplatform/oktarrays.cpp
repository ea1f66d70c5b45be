// SPDX-License-Identifier: MIT
#include <oktplatform/oktarrays.h>

#include OKT_NATIVE(oktnativememory.h)

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace
{
constexpr int kMaxSize = std::numeric_limits<int>::max();

/// An array grows by half of its size while it is small, then by an eighth, and by a sixteenth when it is large.
constexpr int kSmall = 64 * 1024;
constexpr int kLarge = 256 * 1024;

/// Keeps the last large block that an array has freed for the next array that grows. The first access to a new page costs more than
/// everything that a save writes into it, and the image of a template has a thousand pages. The system may take back the pages of a
/// very large block meanwhile.
class SpareBlock
{
public:
    ~SpareBlock()
    {
        m_isEnded.store(true);
        std::free(m_block.exchange(nullptr));
    }

    /// A block of `size` bytes, or up to an eighth more, with undefined contents, or null. Sets `size` to the size of the block.
    void *take(int &size)
    {
        if (size < kLeast)
            return nullptr;
        Block *const block = m_block.exchange(nullptr);
        if (block == nullptr)
            return nullptr;
        if (block->size < size || block->size - size > size / 8)
        {
            std::free(block);
            return nullptr;
        }
        size = block->size;
        return block;
    }
    void giveBack(void *memory, int size)
    {
        bool const isKept =
            size >= kLeast && !m_isEnded.load() &&
            (size <= kHeld || OktLendPages(static_cast<Block *>(memory) + 1, static_cast<std::size_t>(size) - sizeof(Block)));
        if (!isKept)
            std::free(memory);
        else
            std::free(m_block.exchange(new (memory) Block{size}));
    }
    /// Frees the kept block when an allocation of that many bytes has failed. False: there was none, or the allocation is too small to
    /// gain from it.
    bool giveUpFor(int size)
    {
        Block *const block = size < kLeast ? nullptr : m_block.exchange(nullptr);
        std::free(block);
        return block != nullptr;
    }

private:
    struct Block
    {
        int size;
    };

    static constexpr int kLeast = 128 << 10; // the heap keeps smaller blocks itself
    static constexpr int kHeld = 16 << 20;   // above this the system may take the pages back

    std::atomic<Block *> m_block = nullptr;
    std::atomic<bool> m_isEnded = false;
};

SpareBlock s_spare;

/// From this size on a block should have large pages: the first accesses to the small ones take longer than everything else in a save
/// or a load.
constexpr int kManyPages = 4 << 20;

/// Asks for large pages under a large block. Passes null on.
BYTE *withPages(void *memory, int size)
{
    if (memory != nullptr && size >= kManyPages)
        OktWishLargePages(memory, static_cast<std::size_t>(size));
    return static_cast<BYTE *>(memory);
}

/// Memory of that size by `make`, or null. If it fails, the kept block is freed and `make` called again.
template <typename F> BYTE *made(int size, F make)
{
    void *memory = make(static_cast<std::size_t>(size));
    if (memory == nullptr && s_spare.giveUpFor(size))
        memory = make(static_cast<std::size_t>(size));
    return withPages(memory, size);
}

/// Sets `size` to the size of the block, which may be larger.
BYTE *allocate(int &size)
{
    void *const spare = s_spare.take(size);
    return spare != nullptr ? static_cast<BYTE *>(spare) : made(size, std::malloc);
}

void release(void *memory, int size, bool isGrown)
{
    if (isGrown && memory != nullptr)
        s_spare.giveBack(memory, size);
    else
        std::free(memory);
}
} // namespace

// --- CByteArray --------------------------------------------------------------------------------------------------------------

// The C allocator's realloc grows a large array by moving its pages, not its bytes.
bool CByteArray::tryReallocate(int capacity) noexcept
{
    // Grows to a multiple of its size: copying a few bytes is cheaper than realloc.
    bool const isNew = m_data == nullptr || m_size < capacity / 4;
    BYTE *const memory =
        isNew ? allocate(capacity) : made(capacity, [this](std::size_t size) { return std::realloc(m_data, size); });
    if (memory == nullptr)
        return false;
    if (isNew && m_data != nullptr)
    {
        std::memcpy(memory, m_data, static_cast<std::size_t>(m_size));
        std::free(m_data);
    }
    m_data = memory;
    m_capacity = capacity;
    m_isGrown = true;
    return true;
}

void CByteArray::reallocate(int capacity)
{
    if (!tryReallocate(capacity))
        throw std::bad_alloc();
}

void CByteArray::grow(int count, int spare)
{
    if (count > kMaxSize - m_size - spare)
        throw std::length_error("CByteArray");
    int const step = std::max(m_growBy, m_size < kSmall ? m_size / 2 : m_size < kLarge ? m_size / 8 : m_size / 16);
    int const needed = m_size + count + spare;
    reallocate(std::max(needed, step > kMaxSize - m_size ? kMaxSize : m_size + step));
}

void CByteArray::checkIndex(int index) const
{
    if (index < 0 || index >= m_size)
        throw std::out_of_range("CByteArray");
}

CByteArray::CByteArray(CByteArray const &other) : m_growBy(other.m_growBy) { Copy(other); }

CByteArray::CByteArray(CByteArray &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)), m_growBy(other.m_growBy), m_isGrown(other.m_isGrown)
{
}

CByteArray::~CByteArray() { release(m_data, m_capacity, m_isGrown); }

CByteArray &CByteArray::operator=(CByteArray const &other)
{
    Copy(other);
    return *this;
}

CByteArray &CByteArray::operator=(CByteArray &&other) noexcept
{
    if (this == &other)
        return *this;
    release(m_data, m_capacity, m_isGrown);
    m_data = std::exchange(other.m_data, nullptr);
    m_size = std::exchange(other.m_size, 0);
    m_capacity = std::exchange(other.m_capacity, 0);
    m_isGrown = other.m_isGrown;
    return *this;
}

void CByteArray::SetSize(int size, int growBy)
{
    if (size < 0)
        throw std::length_error("CByteArray::SetSize");
    if (size > m_capacity && m_size == 0)
    {
        // New memory is zero, so its pages need not be accessed here.
        BYTE *const memory = made(size, [](std::size_t count) { return std::calloc(count, 1); });
        if (memory == nullptr)
            throw std::bad_alloc();
        release(m_data, m_capacity, m_isGrown);
        m_data = memory;
        m_capacity = size;
        m_isGrown = false;
    }
    else if (size > m_size)
    {
        if (size > m_capacity)
            grow(size - m_size, 0);
        std::memset(m_data + m_size, 0, static_cast<std::size_t>(size - m_size));
    }
    m_size = size;
    if (growBy >= 0)
        m_growBy = growBy;
}

void CByteArray::RemoveAll()
{
    release(std::exchange(m_data, nullptr), m_capacity, m_isGrown);
    m_size = 0;
    m_capacity = 0;
}

void CByteArray::FreeExtra()
{
    if (m_size == 0)
        RemoveAll();
    else if (m_size < m_capacity)
        tryReallocate(m_size); // a failure keeps the present block
}

void CByteArray::Reserve(int capacity) noexcept
{
    if (capacity > m_capacity)
        tryReallocate(capacity);
}

BYTE CByteArray::GetAt(int index) const
{
    checkIndex(index);
    return m_data[index];
}

void CByteArray::SetAt(int index, BYTE value)
{
    checkIndex(index);
    m_data[index] = value;
}

BYTE &CByteArray::operator[](int index)
{
    checkIndex(index);
    return m_data[index];
}

BYTE const &CByteArray::operator[](int index) const
{
    checkIndex(index);
    return m_data[index];
}

int CByteArray::Add(BYTE value)
{
    *Extend(1) = value;
    return m_size - 1;
}

int CByteArray::Append(CByteArray const &other)
{
    int const before = m_size;
    int const count = other.m_size;
    if (count == 0)
        return before;
    BYTE *const target = Extend(count);
    std::memcpy(target, other.m_data, static_cast<std::size_t>(count));
    return before;
}

void CByteArray::Copy(CByteArray const &other)
{
    if (this == &other)
        return;
    if (other.m_size > m_capacity)
    {
        BYTE *const memory = made(other.m_size, std::malloc);
        if (memory == nullptr)
            throw std::bad_alloc();
        std::free(m_data);
        m_data = memory;
        m_capacity = other.m_size;
        m_isGrown = false;
    }
    std::copy_n(other.m_data, other.m_size, m_data);
    m_size = other.m_size;
}

// --- CStringArray ------------------------------------------------------------------------------------------------------------

void CStringArray::checkIndex(int index) const
{
    if (index < 0 || index >= GetSize())
        throw std::out_of_range("CStringArray");
}

void CStringArray::SetSize(int size, int growBy)
{
    if (size < 0)
        throw std::length_error("CStringArray::SetSize");
    if (growBy > 0 && static_cast<std::size_t>(size) > m_texts.capacity())
        m_texts.reserve(static_cast<std::size_t>(size) + static_cast<std::size_t>(growBy));
    m_texts.resize(static_cast<std::size_t>(size));
}

void CStringArray::RemoveAll() { std::vector<CString>().swap(m_texts); }

CString CStringArray::GetAt(int index) const
{
    checkIndex(index);
    return m_texts[static_cast<std::size_t>(index)];
}

void CStringArray::SetAt(int index, CString const &text)
{
    checkIndex(index);
    m_texts[static_cast<std::size_t>(index)] = text;
}

CString &CStringArray::operator[](int index)
{
    checkIndex(index);
    return m_texts[static_cast<std::size_t>(index)];
}

CString const &CStringArray::operator[](int index) const
{
    checkIndex(index);
    return m_texts[static_cast<std::size_t>(index)];
}

int CStringArray::Add(CString const &text)
{
    m_texts.push_back(text);
    return GetSize() - 1;
}

int CStringArray::Append(CStringArray const &other)
{
    int const before = GetSize();
    std::vector<CString> added(other.m_texts);
    m_texts.insert(m_texts.end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
    return before;
}

void CStringArray::Copy(CStringArray const &other)
{
    if (this != &other)
        m_texts = std::vector<CString>(other.m_texts);
}

void CStringArray::InsertAt(int index, CString const &text, int count)
{
    if (index < 0)
        throw std::out_of_range("CStringArray::InsertAt");
    if (count < 0)
        throw std::length_error("CStringArray::InsertAt");
    CString const copy(text); // the text may be one of this array
    auto const place = static_cast<std::size_t>(index);
    if (place > m_texts.size())
    {
        m_texts.reserve(place + static_cast<std::size_t>(count)); // nothing can fail after the first change
        m_texts.resize(place);
    }
    m_texts.insert(m_texts.begin() + index, static_cast<std::size_t>(count), copy);
}

void CStringArray::RemoveAt(int index, int count)
{
    if (index < 0 || count < 0 || index > GetSize() || count > GetSize() - index)
        throw std::out_of_range("CStringArray::RemoveAt");
    auto const first = m_texts.begin() + index;
    m_texts.erase(first, first + count);
}
