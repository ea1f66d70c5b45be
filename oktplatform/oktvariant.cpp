// SPDX-License-Identifier: MIT
#include <oktplatform/oktvariant.h>

#include <oktplatform/oktarray_internal.h>

#include <cstring>

using namespace OktArray;

namespace
{
void check(HRESULT result)
{
    if (FAILED(result))
        throw COleException(result);
}

/// Copies elements from `source`, which has the layout of an array's data.
HRESULT copyIn(SAFEARRAY *array, VARTYPE type, DWORD elements, void const *source, LONG lowerBound)
{
    bool const isText = type == VT_BSTR;
    if (!isText && type != VT_VARIANT)
    {
        void *data = nullptr;
        HRESULT const result = SafeArrayAccessData(array, &data);
        if (FAILED(result))
            return result;
        std::memcpy(data, source, static_cast<std::size_t>(elements) * elementSize(type));
        return SafeArrayUnaccessData(array);
    }
    for (DWORD i = 0; i < elements; ++i)
    {
        LONG index = static_cast<LONG>(lowerBound + static_cast<std::int64_t>(i));
        void *const element = isText ? static_cast<void *>(static_cast<BSTR *>(const_cast<void *>(source))[i])
                                     : static_cast<void *>(static_cast<VARIANT *>(const_cast<void *>(source)) + i);
        HRESULT const result = SafeArrayPutElement(array, &index, element);
        if (FAILED(result))
            return result;
    }
    return S_OK;
}
} // namespace

COleSafeArray::COleSafeArray() : tagVARIANT{} {}

COleSafeArray::~COleSafeArray() { VariantClear(this); }

void COleSafeArray::Attach(VARIANT &source)
{
    if (&source == this)
        return;
    if (!ownsArray(source))
        throw COleException(E_INVALIDARG);
    Clear();
    static_cast<VARIANT &>(*this) = source;
    VariantInit(&source);
}

VARIANT COleSafeArray::Detach()
{
    VARIANT const handed = *this;
    VariantInit(this);
    return handed;
}

void COleSafeArray::Clear() { check(VariantClear(this)); }

void COleSafeArray::CreateOneDim(VARTYPE type, DWORD elements, void const *source, LONG lowerBound)
{
    if (elementSize(type) == 0)
        throw COleException(DISP_E_BADVARTYPE);
    if (!isSoundBound({elements, lowerBound}))
        throw COleException(E_INVALIDARG);
    Clear();
    SAFEARRAY *const made = SafeArrayCreateVector(type, lowerBound, elements);
    if (made == nullptr)
        throw COleException(E_OUTOFMEMORY);
    vt = static_cast<VARTYPE>(VT_ARRAY | type);
    parray = made;
    if (source == nullptr)
        return;
    check(copyIn(made, type, elements, source, lowerBound));
}

DWORD COleSafeArray::GetDim() { return ownsArray(*this) ? SafeArrayGetDim(parray) : 0; }

void COleSafeArray::GetLBound(DWORD dimension, LONG *bound)
{
    check(ownsArray(*this) ? SafeArrayGetLBound(parray, dimension, bound) : E_INVALIDARG);
}

void COleSafeArray::GetUBound(DWORD dimension, LONG *bound)
{
    check(ownsArray(*this) ? SafeArrayGetUBound(parray, dimension, bound) : E_INVALIDARG);
}

void COleSafeArray::AccessData(void **data) { check(ownsArray(*this) ? SafeArrayAccessData(parray, data) : E_INVALIDARG); }

void COleSafeArray::UnaccessData() { check(ownsArray(*this) ? SafeArrayUnaccessData(parray) : E_INVALIDARG); }

void COleSafeArray::GetElement(LONG *indexes, void *element)
{
    check(ownsArray(*this) ? SafeArrayGetElement(parray, indexes, element) : E_INVALIDARG);
}

void COleSafeArray::PutElement(LONG *indexes, void *element)
{
    check(ownsArray(*this) ? SafeArrayPutElement(parray, indexes, element) : E_INVALIDARG);
}
