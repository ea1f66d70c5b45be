#pragma once

#include <oktplatform/oktstring.h>

#include <cstddef>
#include <vector>

/// A growing array of bytes. Sizes and indexes are signed 32-bit. Memory that cannot be had throws std::bad_alloc, an index
/// outside the array std::out_of_range; the array is then as it was.
class OKT_API CByteArray
{
public:
    CByteArray() noexcept = default;
    CByteArray(CByteArray const &other);
    CByteArray(CByteArray &&other) noexcept;
    ~CByteArray();
    CByteArray &operator=(CByteArray const &other);
    CByteArray &operator=(CByteArray &&other) noexcept;

    int GetSize() const { return m_size; }
    int GetCount() const { return m_size; }
    bool IsEmpty() const { return m_size == 0; }

    /// New bytes are 0. `growBy` is the least step, in bytes, of later growth; -1 leaves it as it is. A negative size throws
    /// std::length_error.
    void SetSize(int size, int growBy = -1);
    void RemoveAll();
    /// Gives memory beyond the size back.
    void FreeExtra();
    /// Makes room for that many bytes in all, where there is memory for it; the size stays.
    void Reserve(int capacity) noexcept;
    /// The bytes that there is room for.
    int GetCapacity() const { return m_capacity; }

    BYTE GetAt(int index) const;
    void SetAt(int index, BYTE value);
    BYTE &operator[](int index);
    BYTE const &operator[](int index) const;

    /// The bytes; null while nothing was ever stored. Good until the size changes.
    BYTE *GetData() { return m_data; }
    BYTE const *GetData() const { return m_data; }

    /// The index of the byte added.
    int Add(BYTE value);
    /// The size before. An array may be appended to itself.
    int Append(CByteArray const &other);
    void Copy(CByteArray const &other);

    /// Adds `count` bytes at the end whose contents the caller sets at once, and gives their place. `spare` bytes more have room
    /// behind them then. One comparison and one addition while the capacity lasts. Throws std::length_error beyond 2^31 - 1 bytes.
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
    bool m_isGrown = false; // so that its memory is worth keeping for the next that grows
};

/// A growing array of texts. Indexes outside the array throw std::out_of_range, a negative size std::length_error.
class OKT_API CStringArray
{
public:
    int GetSize() const { return static_cast<int>(m_texts.size()); }
    int GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_texts.empty(); }
    void SetSize(int size, int growBy = -1);
    void RemoveAll();

    CString GetAt(int index) const;
    void SetAt(int index, CString const &text);
    CString &operator[](int index);
    CString const &operator[](int index) const;
    CString *GetData() { return m_texts.data(); }
    CString const *GetData() const { return m_texts.data(); }

    int Add(CString const &text);
    int Append(CStringArray const &other);
    void Copy(CStringArray const &other);
    /// Inserts `count` copies ahead of the index; an index beyond the end grows the array first.
    void InsertAt(int index, CString const &text, int count = 1);
    void RemoveAt(int index, int count = 1);

private:
    void checkIndex(int index) const;

    std::vector<CString> m_texts;
};
