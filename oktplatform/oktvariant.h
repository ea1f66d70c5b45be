#pragma once

#include <oktplatform/oktstring.h>

#if defined(_WIN32)
#include <oktplatform/win32/oktnativevariant.h>
#else
#include <oktplatform/posix/oktnativevariant.h>
#endif

// The platform's variants, system strings and safe arrays, as far as the library and its clients use them. Names, result
// codes and ownership are the published ones.

static_assert(sizeof(tagVARIANT) == 24);

/// What COleSafeArray throws: a result code of the platform.
class OKT_API COleException
{
public:
    explicit COleException(HRESULT result) : m_sc(result) {}
    HRESULT m_sc;
};

/// A variant that holds a safe array and destroys it at its end.
class OKT_API COleSafeArray : public tagVARIANT
{
public:
    COleSafeArray();
    COleSafeArray(COleSafeArray const &) = delete;
    COleSafeArray &operator=(COleSafeArray const &) = delete;
    ~COleSafeArray();

    /// Takes over the array of the variant, which becomes VT_EMPTY; throws COleException (E_INVALIDARG) when it holds none.
    void Attach(VARIANT &source);
    /// Hands the array out; this object is then VT_EMPTY.
    VARIANT Detach();
    /// Destroys the array, if any.
    void Clear();
    void CreateOneDim(VARTYPE type, DWORD elements, void const *source = nullptr, LONG lowerBound = 0);

    DWORD GetDim();
    void GetLBound(DWORD dimension, LONG *bound);
    void GetUBound(DWORD dimension, LONG *bound);
    void AccessData(void **data);
    void UnaccessData();
    void GetElement(LONG *indexes, void *element);
    void PutElement(LONG *indexes, void *element);
};
