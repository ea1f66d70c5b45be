// SPDX-License-Identifier: MIT
#include <oktplatform/oktvariant.h>

#include "support/alloccount.h"
#include "support/printers.h"
#include "support/units.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{
std::u16string unitsOf(BSTR text) { return text == nullptr ? std::u16string() : u16({text, SysStringLen(text)}); }

VARIANT stringVariant(char16_t const *text)
{
    VARIANT variant{};
    variant.vt = VT_BSTR;
    variant.bstrVal = SysAllocString(text);
    return variant;
}

VARIANT arrayVariant(VARTYPE type, ULONG elements)
{
    VARIANT variant{};
    variant.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    variant.parray = SafeArrayCreateVector(type, 0, elements);
    return variant;
}
} // namespace

// --- System strings ----------------------------------------------------------------------------------------------------------

TEST(Bstr, Alloc_CopiesUpToTheZero)
{
    BSTR const text = SysAllocString(u"cover");
    EXPECT_EQ(unitsOf(text), u"cover");
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(SysStringByteLen(text), 10u);
    EXPECT_EQ(text[5], 0);
    std::uint32_t length = 0;
    std::memcpy(&length, reinterpret_cast<char const *>(text) - 4, 4);
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(text) % 8, 0u);
    SysFreeString(text);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
}

TEST(Bstr, AllocLen_KeepsZeroUnits)
{
    BSTR const text = SysAllocStringLen(u"a\0b", 3);
    EXPECT_EQ(unitsOf(text), (std::u16string{u'a', 0, u'b'}));
    EXPECT_EQ(text[3], 0);
    SysFreeString(text);
    BSTR const blank = SysAllocStringLen(nullptr, 4);
    EXPECT_EQ(unitsOf(blank), std::u16string(4, 0));
    SysFreeString(blank);
    BSTR const empty = SysAllocStringLen(u"", 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(SysStringLen(empty), 0u);
    EXPECT_EQ(empty[0], 0);
    SysFreeString(empty);
}

TEST(Bstr, AllocByteLen_CountsBytes)
{
    BSTR const text = SysAllocStringByteLen("abc", 3);
    EXPECT_EQ(SysStringByteLen(text), 3u);
    EXPECT_EQ(SysStringLen(text), 1u);
    EXPECT_EQ(std::memcmp(text, "abc\0\0\0", 6), 0);
    SysFreeString(text);
}

TEST(Bstr, TooLong_GivesNull)
{
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x7FFFFFFF), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
    EXPECT_EQ(SysAllocStringByteLen(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST(Bstr, Null_CountsAsEmpty)
{
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
}

TEST(Bstr, ReAlloc_MayTakeAPartOfTheOldText)
{
    BSTR text = SysAllocString(u"abcdef");
    EXPECT_EQ(SysReAllocString(&text, text + 3), TRUE);
    EXPECT_EQ(unitsOf(text), u"def");
    EXPECT_EQ(SysReAllocStringLen(&text, text + 1, 1), TRUE);
    EXPECT_EQ(unitsOf(text), u"e");
    EXPECT_EQ(SysReAllocStringLen(&text, nullptr, 3), TRUE);
#if defined(_WIN32) // a longer text without a source: its end may be anything
    EXPECT_EQ(SysStringLen(text), 3u);
#else
    EXPECT_EQ(unitsOf(text), (std::u16string{u'e', 0, 0}));
#endif
    EXPECT_EQ(SysReAllocString(&text, nullptr), TRUE);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(SysReAllocStringLen(&text, u"xy", 2), TRUE);
    EXPECT_EQ(unitsOf(text), u"xy");
    EXPECT_EQ(SysReAllocStringLen(&text, nullptr, 0xFFFFFFFFu), FALSE);
    EXPECT_EQ(unitsOf(text), u"xy");
    SysFreeString(text);
#if !defined(_WIN32) // oleaut32 must be given a place
    EXPECT_EQ(SysReAllocString(nullptr, u"x"), FALSE);
    EXPECT_EQ(SysReAllocStringLen(nullptr, u"x", 1), FALSE);
#endif
}

// --- Variants ----------------------------------------------------------------------------------------------------------------

TEST(Variant, Init_MakesItEmptyWhateverItWas)
{
    VARIANT variant;
    std::memset(&variant, 0xAB, sizeof variant);
    VariantInit(&variant);
    EXPECT_EQ(variant.vt, VT_EMPTY);
    EXPECT_EQ(variant.llVal, 0);
}

TEST(Variant, EightBytes_AreADoubleWhateverTheKind)
{
    VARIANT variant{};
    variant.vt = VT_R4;
    variant.dblVal = 1.5;
    EXPECT_EQ(variant.llVal, 0x3FF8000000000000);
    EXPECT_EQ(offsetof(VARIANT, llVal), 8u);
}

TEST(Variant, Clear_OfEveryKind)
{
    for (VARTYPE const type : {VT_EMPTY, VT_NULL, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY, VT_DATE, VT_ERROR, VT_BOOL, VT_DECIMAL,
                               VT_I1, VT_UI1, VT_UI2, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT})
    {
        VARIANT variant{};
        variant.vt = type;
        variant.llVal = 7;
        EXPECT_EQ(VariantClear(&variant), S_OK) << type;
        EXPECT_EQ(variant.vt, VT_EMPTY) << type;
    }
    VARIANT text = stringVariant(u"freed");
    EXPECT_EQ(VariantClear(&text), S_OK);
    EXPECT_EQ(text.vt, VT_EMPTY);
    VARIANT array = arrayVariant(VT_BSTR, 3);
    EXPECT_EQ(VariantClear(&array), S_OK);
    EXPECT_EQ(array.vt, VT_EMPTY);
    VARIANT nullArray{};
    nullArray.vt = VT_ARRAY | VT_R8;
    EXPECT_EQ(VariantClear(&nullArray), S_OK);
#if !defined(_WIN32) // oleaut32 must be given one
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
#endif
}

TEST(Variant, Clear_OfABadKind_ChangesNothing)
{
#if !defined(_WIN32) // oleaut32 knows these: a record and a class id
    std::vector<int> types = {36, 72};
#else
    std::vector<int> types;
#endif
    types.insert(types.end(), {15, 24, 25, 0x0FFF, 0x1003, 0x8003, VT_ARRAY | VT_EMPTY, VT_BYREF | VT_NULL, VT_ARRAY | 15});
    for (int const type : types)
    {
        VARIANT variant{};
        variant.vt = static_cast<VARTYPE>(type);
        variant.llVal = 7;
        EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(variant.vt, type);
        EXPECT_EQ(variant.llVal, 7);
        VARIANT target = stringVariant(u"kept");
        EXPECT_EQ(VariantCopy(&target, &variant), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(unitsOf(target.bstrVal), u"kept");
        VariantClear(&target);
    }
}

TEST(Variant, Clear_OfAReference_FreesNothing)
{
    BSTR text = SysAllocString(u"outside");
    VARIANT variant{};
    variant.vt = VT_BYREF | VT_BSTR;
    variant.byref = &text;
    VARIANT copy{};
    EXPECT_EQ(VariantCopy(&copy, &variant), S_OK);
    EXPECT_EQ(copy.vt, VT_BYREF | VT_BSTR);
    EXPECT_EQ(copy.byref, &text);
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(VariantClear(&copy), S_OK);
    EXPECT_EQ(unitsOf(text), u"outside");
    SysFreeString(text);
    SAFEARRAY *array = SafeArrayCreateVector(VT_R8, 0, 2);
    variant.vt = VT_BYREF | VT_ARRAY | VT_R8;
    variant.byref = &array;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(SafeArrayGetDim(array), 1u);
    SafeArrayDestroy(array);
}

TEST(Variant, Clear_OfALockedArray_LeavesIt)
{
    VARIANT variant = arrayVariant(VT_R8, 2);
    ASSERT_EQ(SafeArrayLock(variant.parray), S_OK);
    SAFEARRAY *const array = variant.parray;
    EXPECT_EQ(VariantClear(&variant), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayGetDim(array), 1u);
    if (runsUnderWine()) // the array stays, and the variant that held it is empty all the same
    {
        EXPECT_EQ(variant.vt, VT_EMPTY);
        SafeArrayUnlock(array);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
        return;
    }
    EXPECT_EQ(variant.vt, VT_ARRAY | VT_R8);
    VARIANT source{};
    source.vt = VT_I4;
    EXPECT_EQ(VariantCopy(&variant, &source), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayGetDim(variant.parray), 1u);
    SafeArrayUnlock(variant.parray);
    EXPECT_EQ(VariantClear(&variant), S_OK);
}

TEST(Variant, Copy_OfAString_IsDeepAndKeepsEveryByte)
{
    VARIANT source{};
    source.vt = VT_BSTR;
    source.bstrVal = SysAllocStringLen(u"a\0b", 3);
    VARIANT target = stringVariant(u"old");
    EXPECT_EQ(VariantCopy(&target, &source), S_OK);
    EXPECT_NE(target.bstrVal, source.bstrVal);
    EXPECT_EQ(unitsOf(target.bstrVal), (std::u16string{u'a', 0, u'b'}));
    VariantClear(&source);
    source = {};
    source.vt = VT_BSTR;
    EXPECT_EQ(VariantCopy(&target, &source), S_OK);
    EXPECT_EQ(target.vt, VT_BSTR);
#if defined(_WIN32) // no text may be copied as an empty one
    EXPECT_EQ(SysStringLen(target.bstrVal), 0u);
    VariantClear(&target);
#else
    EXPECT_EQ(target.bstrVal, nullptr);
#endif
}

TEST(Variant, Copy_ToItself_ChangesNothing)
{
    VARIANT variant = stringVariant(u"same");
    BSTR const before = variant.bstrVal;
    EXPECT_EQ(VariantCopy(&variant, &variant), S_OK);
    EXPECT_EQ(variant.bstrVal, before);
    EXPECT_EQ(unitsOf(variant.bstrVal), u"same");
    VariantClear(&variant);
#if !defined(_WIN32) // oleaut32 must be given both
    EXPECT_EQ(VariantCopy(&variant, nullptr), E_INVALIDARG);
    EXPECT_EQ(VariantCopy(nullptr, &variant), E_INVALIDARG);
#endif
}

TEST(Variant, Copy_OfAnArrayOfVariants_IsDeepToTheEnd)
{
    VARIANT source = arrayVariant(VT_VARIANT, 2);
    LONG index = 0;
    VARIANT inner = arrayVariant(VT_BSTR, 1);
    BSTR text = SysAllocString(u"deep");
    ASSERT_EQ(SafeArrayPutElement(inner.parray, &index, text), S_OK);
    SysFreeString(text);
    ASSERT_EQ(SafeArrayPutElement(source.parray, &index, &inner), S_OK);
    VariantClear(&inner);

    VARIANT target{};
    ASSERT_EQ(VariantCopy(&target, &source), S_OK);
    VariantClear(&source);
    VARIANT element;
    ASSERT_EQ(SafeArrayGetElement(target.parray, &index, &element), S_OK);
    ASSERT_EQ(element.vt, VT_ARRAY | VT_BSTR);
    ASSERT_EQ(SafeArrayGetElement(element.parray, &index, &text), S_OK);
    EXPECT_EQ(unitsOf(text), u"deep");
    SysFreeString(text);
    VariantClear(&element);
    VariantClear(&target);
}

TEST(Variant, Copy_WithoutMemory_LeavesTheTargetEmpty)
{
    VARIANT source = arrayVariant(VT_BSTR, 3);
    for (LONG i = 0; i < 3; ++i)
    {
        BSTR const text = SysAllocString(u"element");
        ASSERT_EQ(SafeArrayPutElement(source.parray, &i, text), S_OK);
        SysFreeString(text);
    }
    for (std::size_t passed = 0;; ++passed)
    {
        VARIANT target = stringVariant(u"old");
        HRESULT result = S_OK;
        bool struck = false;
        {
            AllocationFault const fault(passed);
            result = VariantCopy(&target, &source);
            struck = fault.struck();
        }
        EXPECT_EQ(result, struck ? E_OUTOFMEMORY : S_OK);
        EXPECT_EQ(target.vt, struck ? VT_EMPTY : VT_ARRAY | VT_BSTR);
        VariantClear(&target);
        if (!struck)
            break;
    }
    VariantClear(&source);
}
