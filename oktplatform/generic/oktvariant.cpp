// SPDX-License-Identifier: MIT
#include <oktplatform/oktarray_internal.h>
#include <oktplatform/oktvariant.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace OktArray;

namespace
{
// --- System strings ----------------------------------------------------------------------------------------------------------

/// The bytes before the units. The last four are the length in bytes.
struct alignas(8) StringHead
{
    std::uint32_t unused;
    std::uint32_t bytes;
};
static_assert(sizeof(StringHead) == 8);

constexpr UINT kMaxStringBytes = std::numeric_limits<UINT>::max() - 64;
constexpr UINT kMaxStringUnits = kMaxStringBytes / sizeof(OLECHAR);

StringHead *headOf(BSTR text) { return reinterpret_cast<StringHead *>(text) - 1; }

/// A string of zeros. Null: no memory.
BSTR allocateString(UINT bytes)
{
    if (bytes > kMaxStringBytes)
        return nullptr;
    // An odd number of bytes is still followed by a whole zero unit.
    std::size_t const size = sizeof(StringHead) + (static_cast<std::size_t>(bytes) + 1) / 2 * 2 + sizeof(OLECHAR);
    auto *const head = static_cast<StringHead *>(std::calloc(size, 1));
    if (head == nullptr)
        return nullptr;
    head->bytes = bytes;
    return reinterpret_cast<BSTR>(head + 1);
}

BSTR copyString(BSTR text)
{
    return text == nullptr ? nullptr : SysAllocStringByteLen(reinterpret_cast<char const *>(text), SysStringByteLen(text));
}

// --- Safe arrays -------------------------------------------------------------------------------------------------------------

/// The bytes before the head of a safe array: the type of its elements.
struct alignas(16) ArrayPrefix
{
    VARTYPE type;
};
static_assert(sizeof(ArrayPrefix) == 16);

constexpr ULONG kMaxLocks = 0xFFFF;

ArrayPrefix *prefixOf(SAFEARRAY *array) { return reinterpret_cast<ArrayPrefix *>(array) - 1; }

USHORT featuresOf(VARTYPE type)
{
    if (type == VT_BSTR)
        return FADF_HAVEVARTYPE | FADF_BSTR;
    if (type == VT_VARIANT)
        return FADF_HAVEVARTYPE | FADF_VARIANT;
    return FADF_HAVEVARTYPE;
}

/// The stored bounds. `rgsabound` is declared with one element and has cDims.
SAFEARRAYBOUND *boundsOf(SAFEARRAY *array) { return array->rgsabound; }

std::size_t elementCount(SAFEARRAY *array)
{
    std::size_t count = 1;
    for (USHORT i = 0; i < array->cDims; ++i)
        count *= boundsOf(array)[i].cElements;
    return count;
}

BSTR *stringsOf(SAFEARRAY *array) { return static_cast<BSTR *>(array->pvData); }

VARIANT *variantsOf(SAFEARRAY *array) { return static_cast<VARIANT *>(array->pvData); }

/// True: the array, or an array in it, is locked.
bool isLocked(SAFEARRAY *array)
{
    if (array == nullptr)
        return false;
    if (array->cLocks != 0)
        return true;
    if ((array->fFeatures & FADF_VARIANT) == 0)
        return false;
    return std::any_of(variantsOf(array), variantsOf(array) + elementCount(array), [](VARIANT const &element) {
        return (element.vt & VT_ARRAY) != 0 && (element.vt & VT_BYREF) == 0 && isLocked(element.parray);
    });
}

/// Frees an array that is not locked, with everything in it.
void destroyArray(SAFEARRAY *array)
{
    std::size_t const count = elementCount(array);
    if ((array->fFeatures & FADF_BSTR) != 0)
        std::for_each(stringsOf(array), stringsOf(array) + count, SysFreeString);
    if ((array->fFeatures & FADF_VARIANT) != 0)
        std::for_each(variantsOf(array), variantsOf(array) + count, [](VARIANT &element) { VariantClear(&element); });
    std::free(array->pvData);
    std::free(prefixOf(array));
}

/// An array of zero elements. The bounds are stored in the given order. Null: too large, or no memory.
SAFEARRAY *allocateArray(VARTYPE type, USHORT dimensions, SAFEARRAYBOUND const *stored)
{
    ULONG const size = elementSize(type);
    std::size_t bytes = size;
    for (USHORT i = 0; i < dimensions; ++i)
    {
        if (stored[i].cElements != 0 &&
            bytes > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / stored[i].cElements)
            return nullptr;
        bytes *= stored[i].cElements;
    }
    auto *const prefix = static_cast<ArrayPrefix *>(
        std::calloc(sizeof(ArrayPrefix) + sizeof(SAFEARRAY) + (dimensions - 1u) * sizeof(SAFEARRAYBOUND), 1));
    void *const data = std::calloc(std::max<std::size_t>(bytes, 1), 1);
    if (prefix == nullptr || data == nullptr)
    {
        std::free(prefix);
        std::free(data);
        return nullptr;
    }
    prefix->type = type;
    auto *const array = reinterpret_cast<SAFEARRAY *>(prefix + 1);
    array->cDims = dimensions;
    array->fFeatures = featuresOf(type);
    array->cbElements = size;
    array->pvData = data;
    std::memcpy(boundsOf(array), stored, dimensions * sizeof(SAFEARRAYBOUND));
    return array;
}

HRESULT copyElements(SAFEARRAY *source, SAFEARRAY *target)
{
    std::size_t const count = elementCount(source);
    if ((source->fFeatures & FADF_BSTR) != 0)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            stringsOf(target)[i] = copyString(stringsOf(source)[i]);
            if (stringsOf(source)[i] != nullptr && stringsOf(target)[i] == nullptr)
                return E_OUTOFMEMORY;
        }
        return S_OK;
    }
    if ((source->fFeatures & FADF_VARIANT) != 0)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            HRESULT const result = VariantCopy(&variantsOf(target)[i], &variantsOf(source)[i]);
            if (FAILED(result))
                return result;
        }
        return S_OK;
    }
    std::memcpy(target->pvData, source->pvData, count * source->cbElements);
    return S_OK;
}

// --- Variants ----------------------------------------------------------------------------------------------------------------

bool isSoundType(VARTYPE type)
{
    constexpr VARTYPE kVector = 0x1000;
    constexpr VARTYPE kReserved = 0x8000;
    constexpr VARTYPE kUnused = 15;
    VARTYPE const base = type & VT_TYPEMASK;
    if ((type & (kVector | kReserved)) != 0 || base >= VT_VOID || base == kUnused)
        return false;
    return base > VT_NULL || (type & (VT_BYREF | VT_ARRAY)) == 0;
}

void makeEmpty(VARIANT *variant) { std::memset(variant, 0, sizeof *variant); }
} // namespace

// --- Variants ----------------------------------------------------------------------------------------------------------------

void VariantInit(VARIANTARG *variant) { makeEmpty(variant); }

HRESULT VariantClear(VARIANTARG *variant)
{
    if (variant == nullptr)
        return E_INVALIDARG;
    if (!isSoundType(variant->vt))
        return DISP_E_BADVARTYPE;
    if (ownsArray(*variant))
    {
        HRESULT const result = SafeArrayDestroy(variant->parray);
        if (FAILED(result))
            return result;
    }
    else if (variant->vt == VT_BSTR)
        SysFreeString(variant->bstrVal);
    makeEmpty(variant);
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG *target, VARIANTARG const *source)
{
    if (target == nullptr || source == nullptr)
        return E_INVALIDARG;
    if (target == source)
        return S_OK;
    if (!isSoundType(source->vt))
        return DISP_E_BADVARTYPE;
    HRESULT result = VariantClear(target);
    if (FAILED(result))
        return result;

    VARIANT copy = *source;
    if (ownsArray(*source))
        result = SafeArrayCopy(source->parray, &copy.parray);
    else if (source->vt == VT_BSTR)
    {
        copy.bstrVal = copyString(source->bstrVal);
        if (source->bstrVal != nullptr && copy.bstrVal == nullptr)
            result = E_OUTOFMEMORY;
    }
    if (SUCCEEDED(result))
        *target = copy;
    return result;
}

// --- System strings ----------------------------------------------------------------------------------------------------------

BSTR SysAllocString(OLECHAR const *text)
{
    if (text == nullptr)
        return nullptr;
    std::size_t const length = std::char_traits<OLECHAR>::length(text);
    return length > kMaxStringUnits ? nullptr : SysAllocStringLen(text, static_cast<UINT>(length));
}

BSTR SysAllocStringLen(OLECHAR const *units, UINT length)
{
    if (length > kMaxStringUnits)
        return nullptr;
    return SysAllocStringByteLen(reinterpret_cast<char const *>(units), length * static_cast<UINT>(sizeof(OLECHAR)));
}

BSTR SysAllocStringByteLen(char const *bytes, UINT length)
{
    BSTR const made = allocateString(length);
    if (made != nullptr && bytes != nullptr)
        std::memcpy(made, bytes, length);
    return made;
}

int SysReAllocString(BSTR *text, OLECHAR const *units)
{
    if (text == nullptr)
        return FALSE;
    BSTR const made = SysAllocString(units);
    if (units != nullptr && made == nullptr)
        return FALSE;
    SysFreeString(*text);
    *text = made;
    return TRUE;
}

int SysReAllocStringLen(BSTR *text, OLECHAR const *units, UINT length)
{
    if (text == nullptr)
        return FALSE;
    // The source may be a part of the old text, so that is freed last.
    BSTR const made = SysAllocStringLen(units, length);
    if (made == nullptr)
        return FALSE;
    if (units == nullptr && *text != nullptr)
        std::memcpy(made, *text, std::min(SysStringByteLen(*text), SysStringByteLen(made)));
    SysFreeString(*text);
    *text = made;
    return TRUE;
}

void SysFreeString(BSTR text)
{
    if (text != nullptr)
        std::free(headOf(text));
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR)); }

UINT SysStringByteLen(BSTR text) { return text == nullptr ? 0 : headOf(text)->bytes; }

// --- Safe arrays -------------------------------------------------------------------------------------------------------------

SAFEARRAY *SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND *bounds)
{
    if (elementSize(type) == 0 || dimensions == 0 || dimensions > std::numeric_limits<USHORT>::max() || bounds == nullptr ||
        !areSoundBounds(bounds, dimensions))
        return nullptr;
    SAFEARRAY *const array = allocateArray(type, static_cast<USHORT>(dimensions), bounds);
    if (array != nullptr)
        std::reverse(boundsOf(array), boundsOf(array) + dimensions);
    return array;
}

SAFEARRAY *SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG elements)
{
    SAFEARRAYBOUND bound{elements, lowerBound};
    return SafeArrayCreate(type, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY *array)
{
    if (array == nullptr)
        return S_OK;
    if (isLocked(array))
        return DISP_E_ARRAYISLOCKED;
    destroyArray(array);
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY *array, SAFEARRAY **copy)
{
    if (copy == nullptr)
        return E_INVALIDARG;
    *copy = nullptr;
    if (array == nullptr)
        return S_OK;
    SAFEARRAY *const made = allocateArray(prefixOf(array)->type, array->cDims, boundsOf(array));
    if (made == nullptr)
        return E_OUTOFMEMORY;
    HRESULT const result = copyElements(array, made);
    if (FAILED(result))
        destroyArray(made);
    else
        *copy = made;
    return result;
}

UINT SafeArrayGetDim(SAFEARRAY *array) { return array == nullptr ? 0 : array->cDims; }

UINT SafeArrayGetElemsize(SAFEARRAY *array) { return array == nullptr ? 0 : array->cbElements; }

HRESULT SafeArrayGetVartype(SAFEARRAY *array, VARTYPE *type)
{
    if (array == nullptr || type == nullptr)
        return E_INVALIDARG;
    *type = prefixOf(array)->type;
    return S_OK;
}

HRESULT SafeArrayGetLBound(SAFEARRAY *array, UINT dimension, LONG *bound)
{
    if (array == nullptr || bound == nullptr)
        return E_INVALIDARG;
    if (dimension == 0 || dimension > array->cDims)
        return DISP_E_BADINDEX;
    *bound = boundsOf(array)[array->cDims - dimension].lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY *array, UINT dimension, LONG *bound)
{
    if (array == nullptr || bound == nullptr)
        return E_INVALIDARG;
    if (dimension == 0 || dimension > array->cDims)
        return DISP_E_BADINDEX;
    SAFEARRAYBOUND const &stored = boundsOf(array)[array->cDims - dimension];
    *bound = static_cast<LONG>(static_cast<std::int64_t>(stored.lLbound) + stored.cElements - 1);
    return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY *array)
{
    if (array == nullptr)
        return E_INVALIDARG;
    if (array->cLocks >= kMaxLocks)
        return E_UNEXPECTED;
    ++array->cLocks;
    return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY *array)
{
    if (array == nullptr)
        return E_INVALIDARG;
    if (array->cLocks == 0)
        return E_UNEXPECTED;
    --array->cLocks;
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY *array, void **data)
{
    if (array == nullptr || data == nullptr)
        return E_INVALIDARG;
    HRESULT const result = SafeArrayLock(array);
    *data = SUCCEEDED(result) ? array->pvData : nullptr;
    return result;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY *array) { return SafeArrayUnlock(array); }

HRESULT SafeArrayPutElement(SAFEARRAY *array, LONG *indexes, void *element)
{
    void *place = nullptr;
    HRESULT const found = SafeArrayPtrOfIndex(array, indexes, &place);
    if (FAILED(found))
        return found;
    if ((array->fFeatures & FADF_BSTR) != 0)
    {
        auto const text = static_cast<BSTR>(element);
        BSTR const copy = copyString(text);
        if (text != nullptr && copy == nullptr)
            return E_OUTOFMEMORY;
        SysFreeString(*static_cast<BSTR *>(place));
        *static_cast<BSTR *>(place) = copy;
        return S_OK;
    }
    VARTYPE const type = prefixOf(array)->type;
    if (type == VT_DISPATCH || type == VT_UNKNOWN)
    {
        *static_cast<void **>(place) = element;
        return S_OK;
    }
    if (element == nullptr)
        return E_INVALIDARG;
    if ((array->fFeatures & FADF_VARIANT) != 0)
        return VariantCopy(static_cast<VARIANT *>(place), static_cast<VARIANT *>(element));
    std::memmove(place, element, array->cbElements);
    return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY *array, LONG *indexes, void *element)
{
    if (element == nullptr)
        return E_INVALIDARG;
    void *place = nullptr;
    HRESULT const found = SafeArrayPtrOfIndex(array, indexes, &place);
    if (FAILED(found))
        return found;
    if ((array->fFeatures & FADF_BSTR) != 0)
    {
        BSTR const text = *static_cast<BSTR *>(place);
        BSTR const copy = copyString(text);
        if (text != nullptr && copy == nullptr)
            return E_OUTOFMEMORY;
        *static_cast<BSTR *>(element) = copy;
        return S_OK;
    }
    if ((array->fFeatures & FADF_VARIANT) != 0)
    {
        // The old contents of the target are ignored: it may be uninitialised.
        VariantInit(static_cast<VARIANT *>(element));
        return VariantCopy(static_cast<VARIANT *>(element), static_cast<VARIANT *>(place));
    }
    std::memmove(element, place, array->cbElements);
    return S_OK;
}

// The first dimension varies fastest. Its bound is stored last.
// NOLINTNEXTLINE(readability-non-const-parameter): the signature of the system that this stands for
HRESULT SafeArrayPtrOfIndex(SAFEARRAY *array, LONG *indexes, void **element)
{
    if (array == nullptr || indexes == nullptr || element == nullptr)
        return E_INVALIDARG;
    std::size_t offset = 0;
    std::size_t stride = 1;
    for (USHORT i = 0; i < array->cDims; ++i)
    {
        SAFEARRAYBOUND const &bound = boundsOf(array)[array->cDims - 1 - i];
        std::int64_t const step = static_cast<std::int64_t>(indexes[i]) - bound.lLbound;
        if (step < 0 || step >= bound.cElements)
            return DISP_E_BADINDEX;
        offset += static_cast<std::size_t>(step) * stride;
        stride *= bound.cElements;
    }
    *element = static_cast<char *>(array->pvData) + offset * array->cbElements;
    return S_OK;
}
