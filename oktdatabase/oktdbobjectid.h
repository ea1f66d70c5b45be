// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktplatform/oktguid.h>
#include <oktplatform/oktstring.h>

#include <bit>
#include <cstdint>
#include <cstring>

class OKTDbObject;
class OKTDbPool;
class OKTFiler;

/// The name of a stored object: a GUID. Beside it the id carries the pool in which it resolves and a cached pointer to the
/// object, neither owned and neither ever stored. Identity, comparison and order concern the 16 bytes of the GUID as they lie
/// in memory, which is not the order of its text. That order is the order of the objects in a pool and its file. One thread at
/// a time: getObject writes the cache.
class OKT_API OKTDbObjectId
{
public:
    /// The all-zero id.
    static OKTDbObjectId const kNull;

    OKTDbObjectId() = default;
    OKTDbObjectId(OKTDbObjectId const &) = default;
    OKTDbObjectId &operator=(OKTDbObjectId const &) = default;
    virtual ~OKTDbObjectId() {}

    /// A new id of that pool, which may be null. When the system can make no GUID, the id is null and nothing is reported.
    static OKTDbObjectId createObjectId(OKTDbPool *pool);

    /// Comparisons of the 16 bytes alone.
    bool operator==(OKTDbObjectId const &other) const { return order(other) == 0; }
    bool operator!=(OKTDbObjectId const &other) const { return order(other) != 0; }
    bool operator<(OKTDbObjectId const &other) const { return order(other) < 0; }
    bool operator>(OKTDbObjectId const &other) const { return order(other) > 0; }
    bool isEqual(OKTDbObjectId const &other) const { return order(other) == 0; }
    /// The GUID is all zero; the pointers are not looked at.
    bool isNull() const
    {
        constexpr _GUID kZero = {};
        return std::memcmp(&m_Guid, &kZero, sizeof m_Guid) == 0;
    }
    /// Clears the GUID and both pointers.
    void setNull() { *this = OKTDbObjectId(); }

    /// The cached object, which is not owned; null clears the cache.
    void setObject(OKTDbObject *object) { m_object = object; }
    /// Sets the pool in which the id resolves; null is allowed. Always true.
    bool fixPoolPointer(OKTDbPool *pool)
    {
        m_pool = pool;
        return true;
    }
    /// That pool, or null.
    OKTDbPool *getPool() const { return m_pool; }
    /// The GUID alone; the pointers stay.
    void setGuid(_GUID const &guid) { m_Guid = guid; }
    _GUID getGuid() const { return m_Guid; }

    /// The registry form, upper case, with braces unless `withoutBraces`.
    CString getGuidAsString(bool withoutBraces) const;
    /// A malformed text gives the null GUID. The pointers stay.
    void setGuidFromString(CString const &text);

    /// The object, or null. Resolved through the pool once, then cached: an id that has cached an object keeps answering with
    /// that pointer after the object has left the pool (quirk 1).
    OKTDbObject *getObject() const;
    /// The pool holds an object under this id now. The cache is neither used nor changed.
    bool isValid() const;
    /// Takes the object out of its pool, deletes it and makes this id null. False, and the object untouched: no object, no
    /// pool, or the pool does not hold it.
    bool eraseObject();

private:
    friend class OKTMemoryFiler;
    friend class OKTXmlFiler;
    friend class OKTFrameWriter;
    friend class OKTFrameReader;

    // Eight bytes as the number that compares as they do: the most significant one comes first.
    static std::uint64_t half(unsigned char const *bytes)
    {
        std::uint64_t number;
        std::memcpy(&number, bytes, sizeof number);
        return std::endian::native == std::endian::little ? OktReversedBytes(number) : number;
    }
    int order(OKTDbObjectId const &other) const
    {
        auto const own = OktFileBytesOfGuid(m_Guid);
        auto const others = OktFileBytesOfGuid(other.m_Guid);
        for (std::size_t at = 0; at < 16; at += 8)
            if (std::uint64_t const left = half(&own[at]), right = half(&others[at]); left != right)
                return left < right ? -1 : 1;
        return 0;
    }
    FilerStatusDb xmlOut(CString const &name, OKTFiler *filer) const;
    FilerStatusDb xmlIn(CString const &name, OKTFiler *filer);

    _GUID m_Guid = {};
    mutable OKTDbObject *m_object = nullptr;
    OKTDbPool *m_pool = nullptr;
};
