// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/okttypes.h>

#include <type_traits>

// Variants, system strings and safe arrays where the system has none.

/// A system string: zero-terminated units. The four bytes before them hold the length in bytes. Null is an empty string.
using BSTR = OLECHAR *;

using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum VARENUM : VARTYPE
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_RECORD = 36,
    VT_INT_PTR = 37,
    VT_UINT_PTR = 38,
    VT_FILETIME = 64,
    VT_BLOB = 65,
    VT_STREAM = 66,
    VT_STORAGE = 67,
    VT_STREAMED_OBJECT = 68,
    VT_STORED_OBJECT = 69,
    VT_BLOB_OBJECT = 70,
    VT_CF = 71,
    VT_CLSID = 72,
    VT_VERSIONED_STREAM = 73,
    VT_BSTR_BLOB = 0x0FFF,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_ILLEGAL = 0xFFFF,
    VT_ILLEGALMASKED = 0x0FFF,
    VT_TYPEMASK = 0x0FFF
};

struct SAFEARRAYBOUND
{
    ULONG cElements;
    LONG lLbound;
};

/// The head of a safe array. `rgsabound` holds cDims bounds, the last dimension first.
struct SAFEARRAY
{
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1];
};

inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_VARIANT = 0x0800;

/// A kind and eight data bytes, which can be read as a double whatever the kind. A plain structure of 24 bytes (16 where an address
/// has four) without constructor and destructor: VariantInit and VariantClear take their place.
struct tagVARIANT
{
    struct Record
    {
        PVOID pvRecord;
        PVOID pRecInfo;
    };

    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        short iVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        LONG scode;
        double date;
        BSTR bstrVal;
        SAFEARRAY *parray;
        PVOID byref;
        char cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        int intVal;
        UINT uintVal;
        Record record;
    };
};
using VARIANT = tagVARIANT;
using VARIANTARG = tagVARIANT;

static_assert(sizeof(tagVARIANT) == 8 + 2 * sizeof(PVOID) && std::is_trivial_v<tagVARIANT>);

/// Makes a variant VT_EMPTY with zero data, whatever it held.
OKT_API void VariantInit(VARIANTARG *variant);
/// Frees what the variant owns (a string, an array) and makes it VT_EMPTY. With DISP_E_ARRAYISLOCKED and DISP_E_BADVARTYPE it is
/// unchanged.
OKT_API HRESULT VariantClear(VARIANTARG *variant);
/// Clears the target and makes it a deep copy. With E_OUTOFMEMORY the target is VT_EMPTY.
OKT_API HRESULT VariantCopy(VARIANTARG *target, VARIANTARG const *source);

/// Allocates a string: of a zero-terminated text, of a number of units, of a number of bytes. A null source gives zeros, in the first
/// form null. Null: no memory.
OKT_API BSTR SysAllocString(OLECHAR const *text);
OKT_API BSTR SysAllocStringLen(OLECHAR const *units, UINT length);
OKT_API BSTR SysAllocStringByteLen(char const *bytes, UINT length);
/// Replaces a string by a new one. FALSE: no memory, and the string is unchanged.
OKT_API int SysReAllocString(BSTR *text, OLECHAR const *units);
OKT_API int SysReAllocStringLen(BSTR *text, OLECHAR const *units, UINT length);
/// Frees a string. Null is allowed.
OKT_API void SysFreeString(BSTR text);
/// The length in units or in bytes, without the closing zero. Null has length 0.
OKT_API UINT SysStringLen(BSTR text);
OKT_API UINT SysStringByteLen(BSTR text);

/// Allocates an array with zero elements. Null: a type that no array holds, bounds out of range, or no memory.
OKT_API SAFEARRAY *SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND *bounds);
OKT_API SAFEARRAY *SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG elements);
/// Frees an array with its strings and variants. DISP_E_ARRAYISLOCKED: it, or an array in it, is locked and nothing was freed.
OKT_API HRESULT SafeArrayDestroy(SAFEARRAY *array);
/// Makes a deep copy. The copy is not locked.
OKT_API HRESULT SafeArrayCopy(SAFEARRAY *array, SAFEARRAY **copy);
/// The number of dimensions, the size of an element in bytes, and the type of the elements.
OKT_API UINT SafeArrayGetDim(SAFEARRAY *array);
OKT_API UINT SafeArrayGetElemsize(SAFEARRAY *array);
OKT_API HRESULT SafeArrayGetVartype(SAFEARRAY *array, VARTYPE *type);
/// The bounds of a dimension. The first one is 1.
OKT_API HRESULT SafeArrayGetLBound(SAFEARRAY *array, UINT dimension, LONG *bound);
OKT_API HRESULT SafeArrayGetUBound(SAFEARRAY *array, UINT dimension, LONG *bound);
/// Counts the locks of an array. A locked array cannot be destroyed.
OKT_API HRESULT SafeArrayLock(SAFEARRAY *array);
OKT_API HRESULT SafeArrayUnlock(SAFEARRAY *array);
/// Locks an array and returns the place of its elements, until SafeArrayUnaccessData unlocks it.
OKT_API HRESULT SafeArrayAccessData(SAFEARRAY *array, void **data);
OKT_API HRESULT SafeArrayUnaccessData(SAFEARRAY *array);
/// Copies one element in or out, or returns its place. `indexes` starts with the first dimension. Strings and variants are copied
/// deep.
OKT_API HRESULT SafeArrayPutElement(SAFEARRAY *array, LONG *indexes, void *element);
OKT_API HRESULT SafeArrayGetElement(SAFEARRAY *array, LONG *indexes, void *element);
OKT_API HRESULT SafeArrayPtrOfIndex(SAFEARRAY *array, LONG *indexes, void **element);
