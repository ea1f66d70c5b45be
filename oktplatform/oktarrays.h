// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include <cstddef>
#include <vector>

/// A growing array of bytes. Sizes and indexes are signed 32-bit. A failed allocation throws std::bad_alloc, an index outside the
/// array std::out_of_range. The array is then unchanged.
class OKT_API CByteArray
{
public:
    /// An empty array. It allocates nothing.
    CByteArray() noexcept = default;
    /// Copies allocate. Moves take over the memory and leave the source empty.
    CByteArray(CByteArray const &other);
    CByteArray(CByteArray &&other) noexcept;
    CByteArray &operator=(CByteArray const &other);
    CByteArray &operator=(CByteArray &&other) noexcept;
    ~CByteArray();

    /// The number of bytes.
    int GetSize() const { return m_size; }
    int GetCount() const { return m_size; }
    bool IsEmpty() const { return m_size == 0; }

    /// Sets the size. New bytes are 0. `growBy` is the smallest step, in bytes, of later growth; -1 keeps the present one. A
    /// negative size throws std::length_error.
    void SetSize(int size, int growBy = -1);
    /// Sets the size to 0 and frees the memory.
    void RemoveAll();
    /// Frees the memory beyond the size.
    void FreeExtra();
    /// Allocates memory for `capacity` bytes in all, if there is enough. The size does not change.
    void Reserve(int capacity) noexcept;
    /// The number of bytes that fit without a new allocation.
    int GetCapacity() const { return m_capacity; }

    /// One byte. An index outside the array throws std::out_of_range.
    BYTE GetAt(int index) const;
    void SetAt(int index, BYTE value);
    BYTE &operator[](int index);
    BYTE const &operator[](int index) const;

    /// The bytes. The pointer is valid until the size changes, and null if nothing was ever stored.
    BYTE *GetData() { return m_data; }
    BYTE const *GetData() const { return m_data; }

    /// Appends a byte and returns its index.
    int Add(BYTE value);
    /// Appends all bytes of an array, which may be this one. Returns the size before.
    int Append(CByteArray const &other);
    /// Replaces the contents by a copy.
    void Copy(CByteArray const &other);

    /// Appends `count` bytes and returns their place. The caller must set all of them. Room for `spare` more bytes is allocated
    /// behind them. While the capacity lasts this takes one comparison and one addition. More than 2^31 - 1 bytes throw
    /// std::length_error.
    BYTE *Extend(int count, int spare = 0)
    {
        if (m_capacity - m_size - spare < count)
            grow(count, spare);
        BYTE *const place = m_data + m_size;
        m_size += count;
        return place;
    }

private:
    void grow(int count, int spare);
    bool tryReallocate(int capacity) noexcept;
    void reallocate(int capacity);
    void checkIndex(int index) const;

    BYTE *m_data = nullptr;
    int m_size = 0;
    int m_capacity = 0;
    int m_growBy = 0;
    bool m_isGrown = false; // grew step by step: its memory is kept for the next array that does
};

/// A growing array of texts. An index outside the array throws std::out_of_range, a negative size std::length_error.
class OKT_API CStringArray
{
public:
    /// The number of texts.
    int GetSize() const { return static_cast<int>(m_texts.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_texts.empty(); }

    /// Sets the size. New texts are empty. `growBy` reserves room for that many more texts.
    void SetSize(int size, int growBy = -1);
    /// Removes all texts.
    void RemoveAll();

    /// One text. An index outside the array throws std::out_of_range.
    CString GetAt(int index) const;
    void SetAt(int index, CString const &text);
    CString &operator[](int index);
    CString const &operator[](int index) const;

    /// The texts. The pointer is valid until the size changes.
    CString *GetData() { return m_texts.data(); }
    CString const *GetData() const { return m_texts.data(); }

    /// Appends a text and returns its index.
    int Add(CString const &text);
    /// Appends all texts of an array and returns the size before.
    int Append(CStringArray const &other);
    /// Replaces the contents by a copy.
    void Copy(CStringArray const &other);
    /// Inserts `count` copies before the index. An index beyond the end extends the array first.
    void InsertAt(int index, CString const &text, int count = 1);
    /// Removes `count` texts from the index on.
    void RemoveAt(int index, int count = 1);

private:
    void checkIndex(int index) const;

    std::vector<CString> m_texts;
};
