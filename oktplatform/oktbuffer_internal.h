// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <utility>

// The buffers behind CString, for the sources of this layer. Not installed.

namespace OktText
{
inline constexpr std::size_t kMaxLength = std::numeric_limits<int>::max() - 1;

inline OktTextBuffer *allocateBuffer(std::size_t capacity)
{
    if (capacity > kMaxLength)
        throw std::bad_alloc();
    void *const memory = ::operator new(sizeof(OktTextBuffer) + (capacity + 1) * sizeof(WCHAR));
    return ::new (memory) OktTextBuffer{1, 0, static_cast<int>(capacity)};
}

/// Frees a buffer that is a part of a block.
void freeInBlock(OktTextBuffer *buffer);

inline void freeBuffer(OktTextBuffer *buffer)
{
    if (buffer->capacity < 0)
        freeInBlock(buffer);
    else
        ::operator delete(buffer);
}

inline bool hasRoomFor(OktTextBuffer const *buffer, std::size_t length)
{
    return buffer->capacity >= 0 && length <= static_cast<std::size_t>(buffer->capacity);
}

inline void setLength(OktTextBuffer *buffer, std::size_t length)
{
    buffer->length = static_cast<int>(length);
    buffer->units()[length] = 0;
}

inline OktTextBuffer *makeBuffer(OktTextView units)
{
    OktTextBuffer *const buffer = allocateBuffer(units.size());
    std::copy(units.begin(), units.end(), buffer->units());
    setLength(buffer, units.size());
    return buffer;
}

/// True: no other text shares the buffer, so it may be written.
inline bool isOwn(OktTextBuffer const *buffer) { return buffer->references.isOne(); }

inline void releaseBuffer(OktTextBuffer *buffer)
{
    if (isOwn(buffer) || buffer->references.drop())
        freeBuffer(buffer);
}

inline std::size_t grown(std::size_t needed, std::size_t length)
{
    if (needed > kMaxLength)
        throw std::bad_alloc();
    return std::min(kMaxLength, std::max(needed, length + length / 2 + 8));
}

/// A text that takes over a buffer with one reference. An empty buffer is freed.
inline CString adopt(OktTextBuffer *buffer)
{
    if (buffer->length != 0)
        return CString(buffer);
    freeBuffer(buffer);
    return CString();
}

/// A buffer of N units on the stack.
template <std::size_t N> class StackBuffer
{
public:
    OktTextBuffer *buffer() { return m_buffer; }

private:
    alignas(OktTextBuffer) std::byte m_storage[sizeof(OktTextBuffer) + (N + 1) * sizeof(WCHAR)];
    OktTextBuffer *m_buffer = ::new (static_cast<void *>(m_storage)) OktTextBuffer{1, 0, static_cast<int>(N)};
};

/// Builds a text, on the stack while it is short.
class TextBuilder
{
public:
    TextBuilder() = default;
    TextBuilder(TextBuilder const &) = delete;
    TextBuilder &operator=(TextBuilder const &) = delete;
    ~TextBuilder()
    {
        if (m_buffer != m_stack.buffer())
            freeBuffer(m_buffer);
    }

    WCHAR *extend(std::size_t count)
    {
        if (count > static_cast<std::size_t>(m_buffer->capacity) - m_length)
            grow(count);
        WCHAR *const place = m_buffer->units() + m_length;
        m_length += count;
        return place;
    }

    void append(OktTextView units) { std::copy(units.begin(), units.end(), extend(units.size())); }
    void append(WCHAR unit, std::size_t count) { std::fill_n(extend(count), count, unit); }

    OktTextView view() const { return {m_buffer->units(), m_length}; }

    CString text()
    {
        if (m_buffer == m_stack.buffer())
            return CString(OktTextView(m_buffer->units(), m_length));
        setLength(m_buffer, m_length);
        m_length = 0;
        return adopt(std::exchange(m_buffer, m_stack.buffer()));
    }

private:
    void grow(std::size_t count)
    {
        if (count > kMaxLength - m_length)
            throw std::bad_alloc();
        OktTextBuffer *const larger = allocateBuffer(grown(m_length + count, m_length));
        std::copy_n(m_buffer->units(), m_length, larger->units());
        if (m_buffer != m_stack.buffer())
            freeBuffer(m_buffer);
        m_buffer = larger;
    }

    StackBuffer<256> m_stack;
    OktTextBuffer *m_buffer = m_stack.buffer();
    std::size_t m_length = 0;
};
} // namespace OktText
