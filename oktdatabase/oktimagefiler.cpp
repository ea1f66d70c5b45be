// SPDX-License-Identifier: MIT
#include <oktdatabase/oktimagefiler.h>

#include <cstring>
#include <limits>

void OKTImageFiler::reserve(OKTMemoryFiler &filer, std::int64_t size) noexcept
{
    if (size <= std::numeric_limits<int>::max())
        filer.m_bytes.m_buffer.Reserve(static_cast<int>(size));
}

void OKTImageFiler::readAt(CByteArray const &bytes, int position)
{
    m_filer.m_bytes.readInPlace(bytes);
    m_filer.m_bytes.setPosition(position);
}

bool OKTImageFiler::moveToNextObject(int &offset)
{
    if (!m_filer.m_bytes.findNextObject(offset))
        return false;
    m_filer.m_bytes.setPosition(offset);
    return true;
}

bool OKTImageFiler::findClassName(CString &className) { return m_filer.m_bytes.findClassName(className); }

bool OKTImageFiler::isSameClassAt(int first, int second) const
{
    constexpr int kHead = 4; // class begin, string type, count
    CByteArray const &bytes = m_filer.m_bytes.bytes();
    int const length = bytes.GetSize();
    if (first < 0 || second < 0 || first > length - kHead || second > length - kHead)
        return false;
    BYTE const *const data = bytes.GetData();
    int const size = kHead + (data[first + 2] | data[first + 3] << 8);
    // Behind a text there must be one more byte (quirk 27).
    return size < length - first && size < length - second &&
           std::memcmp(data + first, data + second, static_cast<std::size_t>(size)) == 0;
}
