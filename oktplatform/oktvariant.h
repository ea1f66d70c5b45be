// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include OKT_NATIVE(oktnativevariant.h)

// The platform's variants, system strings and safe arrays, as far as the library and its clients use them. Names, result
// codes and ownership are the published ones.

static_assert(sizeof(tagVARIANT) == 8 + 2 * sizeof(void *));

/// What COleSafeArray throws.
class OKT_API COleException
{
public:
    /// A failure code.
    explicit COleException(HRESULT result) : m_sc(result) {}

    /// The result code of the platform.
    HRESULT m_sc;
};

/// A variant that owns a safe array. Where a call of the platform fails, the members throw COleException with its result code.
class OKT_API COleSafeArray : public tagVARIANT
{
public:
    /// VT_EMPTY.
    COleSafeArray();
    COleSafeArray(COleSafeArray const &) = delete;
    COleSafeArray &operator=(COleSafeArray const &) = delete;
    /// Destroys the array, if any.
    ~COleSafeArray();

    /// Takes over the array of a variant, which becomes VT_EMPTY. Throws E_INVALIDARG if it has none.
    void Attach(VARIANT &source);
    /// Passes the array to the caller. This object becomes VT_EMPTY.
    VARIANT Detach();
    /// Destroys the array, if any.
    void Clear();
    /// Replaces the array by a new one with one dimension. The elements are copied from `source`, or are zero if it is null.
    void CreateOneDim(VARTYPE type, DWORD elements, void const *source = nullptr, LONG lowerBound = 0);

    /// The number of dimensions, 0 without an array.
    DWORD GetDim();
    /// The bounds of a dimension. The first one is 1.
    void GetLBound(DWORD dimension, LONG *bound);
    void GetUBound(DWORD dimension, LONG *bound);
    /// Locks the array and returns the place of its elements, until UnaccessData unlocks it.
    void AccessData(void **data);
    void UnaccessData();
    /// Copies one element out or in. `indexes` has one index for each dimension.
    void GetElement(LONG *indexes, void *element);
    void PutElement(LONG *indexes, void *element);
};
