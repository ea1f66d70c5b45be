// SPDX-License-Identifier: MIT
#include <oktplatform/oktvariant.h>

#include "support/printers.h"
#include "support/units.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace
{
constexpr LONG kMost = std::numeric_limits<LONG>::max();
constexpr LONG kLeast = std::numeric_limits<LONG>::min();

HRESULT put(SAFEARRAY *array, std::vector<LONG> indexes, void *element)
{
    return SafeArrayPutElement(array, indexes.data(), element);
}

HRESULT get(SAFEARRAY *array, std::vector<LONG> indexes, void *element)
{
    return SafeArrayGetElement(array, indexes.data(), element);
}

HRESULT resultOf(void (*call)(COleSafeArray &array), COleSafeArray &array)
{
    try
    {
        call(array);
        return S_OK;
    }
    catch (COleException const &exception)
    {
        return exception.m_sc;
    }
}
} // namespace

TEST(SafeArray, EveryKind_HasItsElementSize)
{
    struct Row
    {
        VARTYPE type;
        UINT size;
    };
    constexpr Row kRows[] = {{VT_I1, 1},       {VT_UI1, 1},      {VT_I2, 2},      {VT_UI2, 2},  {VT_BOOL, 2},  {VT_I4, 4},
                             {VT_UI4, 4},      {VT_INT, 4},      {VT_UINT, 4},    {VT_R4, 4},   {VT_ERROR, 4}, {VT_R8, 8},
                             {VT_I8, 8},       {VT_UI8, 8},      {VT_CY, 8},      {VT_DATE, 8}, {VT_BSTR, 8},  {VT_UNKNOWN, 8},
                             {VT_DISPATCH, 8}, {VT_DECIMAL, 16}, {VT_VARIANT, 24}};
    for (Row const &row : kRows)
    {
        SAFEARRAY *const array = SafeArrayCreateVector(row.type, -1, 3);
        ASSERT_NE(array, nullptr) << row.type;
        EXPECT_EQ(SafeArrayGetElemsize(array), row.size) << row.type;
        VARTYPE type = 0;
        EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(array->cDims, 1);
        USHORT kind = FADF_HAVEVARTYPE;
#if defined(_WIN32) // an array of interfaces tells which one instead
        if (row.type == VT_UNKNOWN || row.type == VT_DISPATCH)
            kind = FADF_HAVEIID;
#endif
        EXPECT_NE(array->fFeatures & kind, 0) << row.type;
        EXPECT_EQ((array->fFeatures & FADF_BSTR) != 0, row.type == VT_BSTR);
        EXPECT_EQ((array->fFeatures & FADF_VARIANT) != 0, row.type == VT_VARIANT);
        std::vector<char> const zeros(std::size_t(3) * row.size, 0);
        EXPECT_EQ(std::memcmp(array->pvData, zeros.data(), zeros.size()), 0);
        LONG bound = 9;
        EXPECT_EQ(SafeArrayGetLBound(array, 1, &bound), S_OK);
        EXPECT_EQ(bound, -1);
        EXPECT_EQ(SafeArrayGetUBound(array, 1, &bound), S_OK);
        EXPECT_EQ(bound, 1);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
}

TEST(SafeArray, BadArguments_GiveNoArray)
{
    SAFEARRAYBOUND bound{1, 0};
    for (int const type : {0, 1, 15, 24, 25, 36, VT_ARRAY | VT_R8, VT_BYREF | VT_R8, 0x0FFF})
        EXPECT_EQ(SafeArrayCreate(static_cast<VARTYPE>(type), 1, &bound), nullptr) << type;
    EXPECT_EQ(SafeArrayCreate(VT_R8, 0, &bound), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_R8, 65536, &bound), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_R8, 1, nullptr), nullptr);
}

TEST(SafeArray, Sizes_ThatDoNotFit_GiveNoArray)
{
    if (runsUnderWine()) // no size is too large, and the sum of a bound and a size goes over
    {
        SAFEARRAY *const high = SafeArrayCreateVector(VT_UI1, kMost, 2);
        ASSERT_NE(high, nullptr);
        LONG upper = 0;
        EXPECT_EQ(SafeArrayGetUBound(high, 1, &upper), S_OK);
        EXPECT_EQ(upper, kLeast);
        SafeArrayDestroy(high);
        return;
    }
    SAFEARRAYBOUND huge[3] = {{0xFFFFFFFFu, kLeast}, {0xFFFFFFFFu, kLeast}, {0xFFFFFFFFu, kLeast}};
    EXPECT_EQ(SafeArrayCreate(VT_R8, 2, huge), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_R8, 3, huge), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, kMost, 2), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, kLeast, 0), nullptr); // its upper bound would be no LONG
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, 1, 0xFFFFFFFFu), nullptr);
    SAFEARRAY *const last = SafeArrayCreateVector(VT_UI1, kMost, 1);
    ASSERT_NE(last, nullptr);
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetUBound(last, 1, &bound), S_OK);
    EXPECT_EQ(bound, kMost);
    BYTE value = 7;
    EXPECT_EQ(put(last, {kMost}, &value), S_OK);
    EXPECT_EQ(put(last, {kMost - 1}, &value), DISP_E_BADINDEX);
    SafeArrayDestroy(last);
}

TEST(SafeArray, Empty_HasAnUpperBoundBelowTheLower)
{
    SAFEARRAY *const array = SafeArrayCreateVector(VT_R8, 0, 0);
    ASSERT_NE(array, nullptr);
    LONG bound = 9;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &bound), S_OK);
    EXPECT_EQ(bound, 0);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &bound), S_OK);
    EXPECT_EQ(bound, -1);
    double value = 0;
    EXPECT_EQ(get(array, {0}, &value), DISP_E_BADINDEX);
    void *data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    SAFEARRAY *copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(array, &copy), S_OK);
    EXPECT_EQ(SafeArrayGetDim(copy), 1u);
    SafeArrayDestroy(copy);
    SafeArrayDestroy(array);
}

TEST(SafeArray, Bounds_AreStoredTheLastDimensionFirst)
{
    SAFEARRAYBOUND bounds[3] = {{2, 0}, {3, -1}, {4, 10}};
    SAFEARRAY *const array = SafeArrayCreate(VT_I4, 3, bounds);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(SafeArrayGetDim(array), 3u);
    EXPECT_EQ(array->rgsabound[0].cElements, 4u);
    EXPECT_EQ(array->rgsabound[0].lLbound, 10);
    LONG bound = 0;
    LONG const lower[] = {0, -1, 10};
    LONG const upper[] = {1, 1, 13};
    for (UINT i = 1; i <= 3; ++i)
    {
        EXPECT_EQ(SafeArrayGetLBound(array, i, &bound), S_OK);
        EXPECT_EQ(bound, lower[i - 1]);
        EXPECT_EQ(SafeArrayGetUBound(array, i, &bound), S_OK);
        EXPECT_EQ(bound, upper[i - 1]);
    }
    EXPECT_EQ(SafeArrayGetLBound(array, 0, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetLBound(array, 4, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(array, 0, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(array, 4, &bound), DISP_E_BADINDEX);
    SafeArrayDestroy(array);
}

TEST(SafeArray, FirstDimension_VariesFastest)
{
    SAFEARRAYBOUND bounds[3] = {{2, 0}, {3, -1}, {4, 10}};
    SAFEARRAY *const array = SafeArrayCreate(VT_I4, 3, bounds);
    ASSERT_NE(array, nullptr);
    LONG value = 0;
    for (LONG k = 10; k <= 13; ++k)
    {
        for (LONG j = -1; j <= 1; ++j)
        {
            for (LONG i = 0; i <= 1; ++i)
            {
                ASSERT_EQ(put(array, {i, j, k}, &value), S_OK);
                LONG back = -1;
                ASSERT_EQ(get(array, {i, j, k}, &back), S_OK);
                EXPECT_EQ(back, value);
                ++value;
            }
        }
    }
    void *data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    for (LONG i = 0; i < 24; ++i)
        EXPECT_EQ(static_cast<LONG *>(data)[i], i);
    SafeArrayUnaccessData(array);
    for (std::vector<LONG> const &bad :
         {std::vector<LONG>{2, 0, 10}, {-1, 0, 10}, {0, -2, 10}, {0, 2, 10}, {0, 0, 9}, {0, 0, 14}, {kLeast, kMost, 0}})
    {
        EXPECT_EQ(put(array, bad, &value), DISP_E_BADINDEX);
        EXPECT_EQ(get(array, bad, &value), DISP_E_BADINDEX);
        void *place = nullptr;
        std::vector<LONG> indexes(bad);
        EXPECT_EQ(SafeArrayPtrOfIndex(array, indexes.data(), &place), DISP_E_BADINDEX);
    }
    SafeArrayDestroy(array);
}

TEST(SafeArray, Strings_AreCopiedInAndOut)
{
    SAFEARRAY *const array = SafeArrayCreateVector(VT_BSTR, 1, 2);
    BSTR const text = SysAllocStringLen(u"a\0b", 3);
    ASSERT_EQ(put(array, {1}, text), S_OK);
    BSTR const stored = static_cast<BSTR *>(array->pvData)[0];
    EXPECT_NE(stored, text);
    EXPECT_EQ(SysStringLen(stored), 3u);
    SysFreeString(text);
    ASSERT_EQ(put(array, {1}, stored), S_OK); // the element itself
    BSTR out = nullptr;
    ASSERT_EQ(get(array, {1}, &out), S_OK);
    EXPECT_EQ(u16({out, SysStringLen(out)}), (std::u16string{u'a', 0, u'b'}));
    SysFreeString(out);
    ASSERT_EQ(get(array, {2}, &out), S_OK);
    EXPECT_EQ(out, nullptr);
    ASSERT_EQ(put(array, {1}, nullptr), S_OK);
    ASSERT_EQ(get(array, {1}, &out), S_OK);
#if defined(_WIN32) // no text may be stored as an empty one
    EXPECT_EQ(SysStringLen(out), 0u);
    SysFreeString(out);
#else
    EXPECT_EQ(out, nullptr);
#endif
    SafeArrayDestroy(array);
}

TEST(SafeArray, Variants_AreCopiedInAndOut)
{
    SAFEARRAY *const array = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    VARIANT in{};
    in.vt = VT_BSTR;
    in.bstrVal = SysAllocString(u"text");
    ASSERT_EQ(put(array, {0}, &in), S_OK);
    VariantClear(&in);
    VARIANT out;
    std::memset(&out, 0xAB, sizeof out); // never set before
    ASSERT_EQ(get(array, {0}, &out), S_OK);
    ASSERT_EQ(out.vt, VT_BSTR);
    EXPECT_EQ(u16(out.bstrVal), u"text");
    VariantClear(&out);
    ASSERT_EQ(put(array, {0}, array->pvData), S_OK); // the element itself
#if !defined(_WIN32)                                 // oleaut32 must be given one
    EXPECT_EQ(put(array, {0}, nullptr), E_INVALIDARG);
#endif
    SafeArrayDestroy(array);
}

TEST(SafeArray, Copy_IsDeepAndUnlocked)
{
    SAFEARRAYBOUND bounds[2] = {{2, 5}, {2, 0}};
    SAFEARRAY *const array = SafeArrayCreate(VT_BSTR, 2, bounds);
    BSTR const text = SysAllocString(u"copied");
    ASSERT_EQ(put(array, {6, 1}, text), S_OK);
    SysFreeString(text);
    ASSERT_EQ(SafeArrayLock(array), S_OK);
    SAFEARRAY *copy = nullptr;
    ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
    EXPECT_EQ(copy->cLocks, 0u);
    SafeArrayUnlock(array);
    SafeArrayDestroy(array);
    BSTR out = nullptr;
    ASSERT_EQ(get(copy, {6, 1}, &out), S_OK);
    EXPECT_EQ(u16(out), u"copied");
    SysFreeString(out);
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetLBound(copy, 1, &bound), S_OK);
    EXPECT_EQ(bound, 5);
    VARTYPE type = 0;
    EXPECT_EQ(SafeArrayGetVartype(copy, &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    SafeArrayDestroy(copy);
    copy = reinterpret_cast<SAFEARRAY *>(&bounds);
    EXPECT_EQ(SafeArrayCopy(nullptr, &copy), S_OK);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(SafeArrayCopy(nullptr, nullptr), E_INVALIDARG);
}

TEST(SafeArray, Locks_AreCounted)
{
    SAFEARRAY *const array = SafeArrayCreateVector(VT_UI1, 0, 4);
    void *data = nullptr;
    EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
    EXPECT_EQ(SafeArrayLock(array), S_OK);
    EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(data, array->pvData);
    EXPECT_EQ(array->cLocks, 2u);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    BYTE value = 7;
    EXPECT_EQ(put(array, {3}, &value), S_OK);
    EXPECT_EQ(static_cast<BYTE *>(data)[3], 7);
    EXPECT_EQ(array->cLocks, 2u);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnlock(array), S_OK);
    EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
    for (int i = 0; i < 0xFFFF; ++i)
        ASSERT_EQ(SafeArrayLock(array), S_OK);
    EXPECT_EQ(SafeArrayLock(array), E_UNEXPECTED);
    for (int i = 0; i < 0xFFFF; ++i)
        ASSERT_EQ(SafeArrayUnlock(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, LockInside_KeepsTheWholeFromBeingDestroyed)
{
    SAFEARRAY *const array = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    VARIANT inner{};
    inner.vt = VT_ARRAY | VT_R8;
    inner.parray = SafeArrayCreateVector(VT_R8, 0, 1);
    ASSERT_EQ(put(array, {1}, &inner), S_OK);
    VariantClear(&inner);
    VARIANT *const stored = static_cast<VARIANT *>(array->pvData) + 1;
    ASSERT_EQ(SafeArrayLock(stored->parray), S_OK);
    if (runsUnderWine()) // the whole goes, and the array that is locked stays
    {
        SAFEARRAY *const locked = stored->parray;
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
        EXPECT_EQ(SafeArrayGetDim(locked), 1u);
        EXPECT_EQ(SafeArrayUnlock(locked), S_OK);
        EXPECT_EQ(SafeArrayDestroy(locked), S_OK);
        return;
    }
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(stored->vt, VT_ARRAY | VT_R8);
    SafeArrayUnlock(stored->parray);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, NullArguments)
{
    LONG index = 0;
    double value = 0;
    void *data = nullptr;
    VARTYPE type = 0;
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);
    EXPECT_EQ(SafeArrayGetElemsize(nullptr), 0u);
    EXPECT_EQ(SafeArrayGetVartype(nullptr, &type), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetLBound(nullptr, 1, &index), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetUBound(nullptr, 1, &index), E_INVALIDARG);
    EXPECT_EQ(SafeArrayLock(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayUnlock(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayAccessData(nullptr, &data), E_INVALIDARG);
    EXPECT_EQ(SafeArrayUnaccessData(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPutElement(nullptr, &index, &value), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetElement(nullptr, &index, &value), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPtrOfIndex(nullptr, &index, &data), E_INVALIDARG);
    SAFEARRAY *const array = SafeArrayCreateVector(VT_R8, 0, 1);
    EXPECT_EQ(SafeArrayGetVartype(array, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetLBound(array, 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayAccessData(array, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPutElement(array, nullptr, &value), E_INVALIDARG);
#if !defined(_WIN32) // oleaut32 must be given one
    EXPECT_EQ(SafeArrayPutElement(array, &index, nullptr), E_INVALIDARG);
#endif
    EXPECT_EQ(SafeArrayGetElement(array, &index, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayPtrOfIndex(array, &index, nullptr), E_INVALIDARG);
    EXPECT_EQ(array->cLocks, 0u);
    SafeArrayDestroy(array);
}

// --- COleSafeArray -----------------------------------------------------------------------------------------------------------

TEST(OleSafeArray, Attach_TakesTheArrayOver)
{
    VARIANT source{};
    source.vt = VT_ARRAY | VT_R8;
    source.parray = SafeArrayCreateVector(VT_R8, 1, 2);
    SAFEARRAY *const array = source.parray;
    {
        COleSafeArray holder;
        holder.Attach(source);
        EXPECT_EQ(source.vt, VT_EMPTY);
        EXPECT_EQ(holder.vt, VT_ARRAY | VT_R8);
        EXPECT_EQ(holder.parray, array);
        EXPECT_EQ(holder.GetDim(), 1u);
        LONG bound = 0;
        holder.GetLBound(1, &bound);
        EXPECT_EQ(bound, 1);
        holder.GetUBound(1, &bound);
        EXPECT_EQ(bound, 2);
        LONG index = 2;
        double value = 2.5;
        holder.PutElement(&index, &value);
        void *data = nullptr;
        holder.AccessData(&data);
        EXPECT_EQ(static_cast<double *>(data)[1], 2.5);
        holder.UnaccessData();
        value = 0;
        holder.GetElement(&index, &value);
        EXPECT_EQ(value, 2.5);
        source = holder.Detach();
        EXPECT_EQ(holder.vt, VT_EMPTY);
    }
    EXPECT_EQ(SafeArrayGetDim(source.parray), 1u); // detached, so still there
    COleSafeArray last;
    last.Attach(source);
}

TEST(OleSafeArray, Attach_OfWhatIsNoArray_Throws)
{
    for (int const type : {int(VT_EMPTY), int(VT_R8), int(VT_BSTR), VT_BYREF | VT_ARRAY | VT_R8})
    {
        VARIANT source{};
        source.vt = static_cast<VARTYPE>(type);
        COleSafeArray holder;
        holder.CreateOneDim(VT_UI1, 1);
        try
        {
            holder.Attach(source);
            ADD_FAILURE() << type;
        }
        catch (COleException const &exception)
        {
            EXPECT_EQ(exception.m_sc, E_INVALIDARG);
        }
        EXPECT_EQ(source.vt, type);
        EXPECT_EQ(holder.GetDim(), 1u);
    }
}

TEST(OleSafeArray, FailedCalls_ThrowTheirResult)
{
    COleSafeArray holder;
    EXPECT_EQ(holder.GetDim(), 0u);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      LONG bound = 0;
                      array.GetLBound(1, &bound);
                  },
                  holder),
              E_INVALIDARG);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      LONG bound = 0;
                      array.GetUBound(1, &bound);
                  },
                  holder),
              E_INVALIDARG);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      void *data = nullptr;
                      array.AccessData(&data);
                  },
                  holder),
              E_INVALIDARG);
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.UnaccessData(); }, holder), E_INVALIDARG);
    holder.CreateOneDim(VT_UI1, 2);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      LONG bound = 0;
                      array.GetLBound(2, &bound);
                  },
                  holder),
              DISP_E_BADINDEX);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      LONG index = 2;
                      BYTE value = 0;
                      array.GetElement(&index, &value);
                  },
                  holder),
              DISP_E_BADINDEX);
    EXPECT_EQ(resultOf(
                  [](COleSafeArray &array) {
                      LONG index = -1;
                      BYTE value = 0;
                      array.PutElement(&index, &value);
                  },
                  holder),
              DISP_E_BADINDEX);
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.UnaccessData(); }, holder), E_UNEXPECTED);
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.CreateOneDim(VT_VOID, 2); }, holder), DISP_E_BADVARTYPE);
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.CreateOneDim(VT_UI1, 2, nullptr, kMost); }, holder), E_INVALIDARG);
    EXPECT_EQ(holder.GetDim(), 1u); // what it held stays
    SafeArrayLock(holder.parray);
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.Clear(); }, holder), DISP_E_ARRAYISLOCKED);
    if (runsUnderWine()) // VariantClear tells of the lock, and leaves an empty variant all the same
    {
        EXPECT_EQ(holder.vt, VT_EMPTY);
        return;
    }
    EXPECT_EQ(resultOf([](COleSafeArray &array) { array.CreateOneDim(VT_UI1, 2); }, holder), DISP_E_ARRAYISLOCKED);
    SafeArrayUnlock(holder.parray);
    holder.Clear();
    EXPECT_EQ(holder.vt, VT_EMPTY);
}

TEST(OleSafeArray, CreateOneDim_CopiesTheSource)
{
    double const values[] = {1.5, 2.5};
    COleSafeArray holder;
    holder.CreateOneDim(VT_R8, 2, values, 1);
    LONG index = 2;
    double value = 0;
    holder.GetElement(&index, &value);
    EXPECT_EQ(value, 2.5);
    BSTR const texts[] = {SysAllocString(u"one"), nullptr};
    holder.CreateOneDim(VT_BSTR, 2, texts);
    SysFreeString(texts[0]);
    index = 0;
    BSTR out = nullptr;
    holder.GetElement(&index, &out);
    EXPECT_EQ(u16(out), u"one");
    SysFreeString(out);
}
