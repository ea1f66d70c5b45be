// SPDX-License-Identifier: MIT
// Variants, system strings and safe arrays of any shape: copies, the stored form, the conversion to bytes, the values of
// groups.

#include "fuzzsupport.h"

#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/okttools.h>
#include <oktplatform/oktvariant.h>

#include <cstring>
#include <memory>
#include <string>

namespace
{
constexpr VARTYPE kElementKinds[] = {VT_I2, VT_I4, VT_R4, VT_R8, VT_BSTR, VT_BOOL, VT_VARIANT, VT_UI1};
constexpr VARTYPE kPlainKinds[] = {VT_EMPTY, VT_NULL, VT_I2, VT_I4, VT_R4, VT_R8, VT_DATE, VT_BOOL};

// Null, or up to 15 bytes: half a unit at the end included.
BSTR makeText(FuzzInput &input)
{
    if (input.below(4) == 0)
        return nullptr;
    std::string bytes;
    for (int left = input.below(16); left > 0; --left)
        bytes += static_cast<char>(input.byte());
    return SysAllocStringByteLen(bytes.data(), static_cast<UINT>(bytes.size()));
}

tagVARIANT makeVariant(FuzzInput &input, int depth);

SAFEARRAY *makeArray(FuzzInput &input, VARTYPE kind, int depth)
{
    SAFEARRAYBOUND bounds[3] = {};
    auto const dimensions = static_cast<UINT>(1 + input.below(3));
    for (SAFEARRAYBOUND &bound : bounds)
        bound = {static_cast<ULONG>(input.below(5)), static_cast<LONG>(input.below(7) - 3)};
    SAFEARRAY *const array = SafeArrayCreate(kind, dimensions, bounds);
    FUZZ_DEMAND(array != nullptr);
    FUZZ_DEMAND(SafeArrayGetDim(array) == dimensions);
    for (int count = input.below(4); count > 0; --count)
    {
        LONG indexes[3] = {input.below(9) - 4, input.below(9) - 4, input.below(9) - 4};
        bool isInside = true;
        for (UINT i = 0; i < dimensions; ++i)
        {
            LONG const offset = indexes[i] - bounds[i].lLbound;
            isInside = isInside && offset >= 0 && static_cast<ULONG>(offset) < bounds[i].cElements;
        }
        tagVARIANT element = kind == VT_VARIANT && depth > 0 ? makeVariant(input, depth - 1) : tagVARIANT{};
        std::uint64_t number = input.word(8);
        BSTR const text = kind == VT_BSTR ? makeText(input) : nullptr;
        void *const source = kind == VT_VARIANT ? &element : kind == VT_BSTR ? static_cast<void *>(text) : &number;
        FUZZ_DEMAND(SUCCEEDED(SafeArrayPutElement(array, indexes, source)) == isInside);
        SysFreeString(text);
        VariantClear(&element);
    }
    return array;
}

tagVARIANT makeVariant(FuzzInput &input, int depth)
{
    tagVARIANT value = {};
    VariantInit(&value);
    switch (input.below(4))
    {
    case 0:
        value.bstrVal = makeText(input);
        value.vt = VT_BSTR;
        break;
    case 1:
    {
        VARTYPE const kind = kElementKinds[input.below(8)];
        value.parray = makeArray(input, kind, depth);
        value.vt = static_cast<VARTYPE>(VT_ARRAY | kind);
        break;
    }
    default:
        value.vt = kPlainKinds[input.below(8)];
        value.ullVal = input.word(8);
        break;
    }
    return value;
}

bool isSameText(BSTR left, BSTR right)
{
    UINT const size = SysStringByteLen(left);
    return size == SysStringByteLen(right) && (size == 0 || std::memcmp(left, right, size) == 0);
}

// Plain data and texts; arrays by what can be asked of them.
bool isSame(tagVARIANT const &left, tagVARIANT const &right)
{
    if (left.vt != right.vt)
        return false;
    if (left.vt == VT_BSTR)
        return isSameText(left.bstrVal, right.bstrVal);
    if ((left.vt & VT_ARRAY) == 0)
        return left.vt == VT_EMPTY || left.vt == VT_NULL || left.ullVal == right.ullVal;
    UINT const dimensions = SafeArrayGetDim(left.parray);
    if (dimensions != SafeArrayGetDim(right.parray) || SafeArrayGetElemsize(left.parray) != SafeArrayGetElemsize(right.parray))
        return false;
    for (UINT i = 1; i <= dimensions; ++i)
    {
        LONG bounds[4] = {};
        SafeArrayGetLBound(left.parray, i, &bounds[0]);
        SafeArrayGetLBound(right.parray, i, &bounds[1]);
        SafeArrayGetUBound(left.parray, i, &bounds[2]);
        SafeArrayGetUBound(right.parray, i, &bounds[3]);
        if (bounds[0] != bounds[1] || bounds[2] != bounds[3])
            return false;
    }
    return true;
}

void demandCopy(tagVARIANT const &value)
{
    tagVARIANT copy = {};
    VariantInit(&copy);
    FUZZ_DEMAND(SUCCEEDED(VariantCopy(&copy, &value)));
    FUZZ_DEMAND(isSame(copy, value));
    FUZZ_DEMAND(SUCCEEDED(VariantCopy(&copy, &copy)));
    FUZZ_DEMAND(isSame(copy, value));
    FUZZ_DEMAND(SUCCEEDED(VariantClear(&copy)) && copy.vt == VT_EMPTY);
}

bool hasStoredForm(VARTYPE kind)
{
    return kind == VT_I2 || kind == VT_I4 || kind == VT_R4 || kind == VT_R8 || kind == VT_BSTR || kind == VT_BOOL;
}

// Written, read and written again: the second form is the first one, save for a float (quirk 39).
void demandStoredForm(tagVARIANT const &value)
{
    OKTMemoryFiler filer;
    FUZZ_DEMAND(filer.writeVariant(u"var", value) == hasStoredForm(value.vt));
    CByteArray const first = filer.takeBytes();
    OKTMemoryFiler reader;
    reader.readInPlace(first);
    tagVARIANT read = {};
    FUZZ_DEMAND(reader.readVariant(u"var", read) == hasStoredForm(value.vt));
    FUZZ_DEMAND(read.vt == value.vt);
    FUZZ_DEMAND(reader.GetFilerPosition() == first.GetSize());
    OKTMemoryFiler writer;
    FUZZ_DEMAND(writer.writeVariant(u"var", read) == hasStoredForm(value.vt));
    if (value.vt != VT_R4)
        FUZZ_DEMAND(isEqual(writer.takeBytes(), first));
    if (read.vt == VT_BSTR)
        VariantClear(&read);
}

void demandParameter(tagVARIANT const &value)
{
    OKTDbParameter parameter;
    parameter.setValue(value);
    FUZZ_DEMAND(isSame(parameter.Value(), value));
    parameter.setValue(parameter.Value());
    OKTDbParameter const copy(parameter);
    parameter.setValue(1.0, 1);
    FUZZ_DEMAND(isSame(copy.Value(), value));
}

void demandBytes(tagVARIANT &value)
{
    unsigned char *bytes = nullptr;
    int size = -1;
    bool const converted = OKTTools::ConvertVariantToBYTEArray(&value, bytes, size);
    std::unique_ptr<unsigned char[]> const owned(bytes);
    bool const isArray = (value.vt & VT_ARRAY) != 0;
    FUZZ_DEMAND(!converted || (isArray && size > 0 && bytes != nullptr));
    if (!converted)
    {
        FUZZ_DEMAND(bytes == nullptr);
        if (isArray && size == 0)
            SafeArrayUnlock(value.parray); // an empty array stays locked (quirk 70)
        return;
    }
    tagVARIANT back = {};
    VariantInit(&back);
    FUZZ_DEMAND(OKTTools::ConvertBYTEArrayToVariant(bytes, size, &back));
    unsigned char *again = nullptr;
    int sizeAgain = 0;
    FUZZ_DEMAND(OKTTools::ConvertVariantToBYTEArray(&back, again, sizeAgain));
    std::unique_ptr<unsigned char[]> const ownedAgain(again);
    FUZZ_DEMAND(sizeAgain == size && std::memcmp(again, bytes, static_cast<std::size_t>(size)) == 0);
    FUZZ_DEMAND(SUCCEEDED(VariantClear(&back)));
}

/// The group takes the value last: an array of another rank than 1 is gone then (quirk 56). True when the value still lives.
bool giveToGroup(tagVARIANT const &value, FuzzInput &input)
{
    OKTDbPool pool;
    auto *const group = new OKTDbGroupParameter;
    FUZZ_DEMAND(pool.appendObject(group));
    for (int count = input.below(5); count > 0; --count)
    {
        auto *const element = new OKTDbParameter;
        element->setListIndex(input.below(30));
        FUZZ_DEMAND(pool.appendObject(element));
        group->addElement(element->objectId());
    }
    bool const isArray = (value.vt & VT_ARRAY) != 0;
    bool const isTaken = isArray && SafeArrayGetDim(value.parray) != 1;
    static_cast<OKTDbParameter *>(group)->setValue(value);

    for (int turn = 0; turn < 2; ++turn)
    {
        tagVARIANT values = {};
        VariantInit(&values);
        if (turn == 0)
            group->ValuesVariant(values);
        else
            group->UserNamesVariant(values);
        FUZZ_DEMAND(values.vt == (VT_ARRAY | (turn == 0 ? VT_R8 : VT_BSTR)));
        FUZZ_DEMAND(SUCCEEDED(VariantClear(&values)));
    }
    return !isTaken;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    FuzzInput input(data, size);
    do
    {
        tagVARIANT value = makeVariant(input, 2);
        demandCopy(value);
        demandStoredForm(value);
        demandParameter(value);
        demandBytes(value);
        if (giveToGroup(value, input))
            FUZZ_DEMAND(SUCCEEDED(VariantClear(&value)));
    } while (!input.isAtEnd());
    return 0;
}
