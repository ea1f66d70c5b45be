// SPDX-License-Identifier: MIT
#include <oktdatabase/okttools.h>

#include "support/alloccount.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"
#include "support/units.h"

#include <oktdatabase/oktdbobjectid.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
constexpr _GUID kGuid = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

using Bytes = std::vector<unsigned char>;

/// A variant that owns an array.
class ArrayVariant
{
public:
    ArrayVariant(VARTYPE type, LONG lower, ULONG elements)
    {
        VariantInit(&value);
        value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
        value.parray = SafeArrayCreateVector(type, lower, elements);
    }
    ArrayVariant(ArrayVariant const &) = delete;
    ArrayVariant &operator=(ArrayVariant const &) = delete;
    ~ArrayVariant() { VariantClear(&value); }

    void fill(Bytes const &bytes)
    {
        void *data = nullptr;
        ASSERT_EQ(SafeArrayAccessData(value.parray, &data), S_OK);
        std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char *>(data));
        SafeArrayUnaccessData(value.parray);
    }

    tagVARIANT value;
};

/// What ConvertVariantToBYTEArray gives for a variant that it accepts.
Bytes bytesOf(tagVARIANT &value)
{
    unsigned char *bytes = nullptr;
    int size = -1;
    EXPECT_TRUE(OKTTools::ConvertVariantToBYTEArray(&value, bytes, size));
    std::unique_ptr<unsigned char[]> const owned(bytes);
    return size > 0 ? Bytes(bytes, bytes + size) : Bytes();
}

void expectRefused(tagVARIANT &value)
{
    unsigned char stays = 0;
    unsigned char *bytes = &stays;
    int size = 77;
    ReportCatcher reports;
    EXPECT_FALSE(OKTTools::ConvertVariantToBYTEArray(&value, bytes, size));
    EXPECT_EQ(bytes, &stays);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(reports.count(), 0u);
}
} // namespace

// --- GUID texts --------------------------------------------------------------------------------------------------------------

TEST(OKTTools, GetStringFromGUID_RegistryFormInUpperCase)
{
    EXPECT_EQ(OKTTools::getStringFromGUID(kGuid), CString(u"{2933BF90-7B36-11D2-B20E-00C04F983E60}"));
    EXPECT_EQ(OKTTools::getStringFromGUID(_GUID{}), CString(u"{00000000-0000-0000-0000-000000000000}"));
    EXPECT_EQ(OKTTools::getStringFromGUID({0xABCDEF01, 0x00FE, 0xFFFF, {0xA, 0xB, 0xC, 0xD, 0xE, 0xF, 0xFF, 0x10}}),
              CString(u"{ABCDEF01-00FE-FFFF-0A0B-0C0D0E0FFF10}"));
}

TEST(OKTTools, GetGUIDFromString_EitherCase_TheGuid)
{
    EXPECT_EQ(OKTTools::getGUIDFromString(u"{2933BF90-7B36-11D2-B20E-00C04F983E60}"), kGuid);
    EXPECT_EQ(OKTTools::getGUIDFromString(u"{2933bf90-7b36-11d2-b20e-00c04f983e60}"), kGuid);
    EXPECT_EQ(OKTTools::getGUIDFromString(u"{2933bF90-7B36-11d2-B20e-00C04f983E60}"), kGuid);
}

TEST(OKTTools, GuidTexts_ThereAndBack_SameGuid)
{
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i)
    {
        _GUID guid{};
        guid.Data1 = static_cast<std::uint32_t>(random());
        guid.Data2 = static_cast<std::uint16_t>(random());
        guid.Data3 = static_cast<std::uint16_t>(random());
        for (unsigned char &byte : guid.Data4)
            byte = static_cast<unsigned char>(random());
        ASSERT_EQ(OKTTools::getGUIDFromString(OKTTools::getStringFromGUID(guid)), guid);
    }
}

class MalformedGuidText : public ::testing::TestWithParam<char16_t const *>
{
};

TEST_P(MalformedGuidText, GetGUIDFromString_NullGuidAndNoReport)
{
    ReportCatcher reports;
    _GUID expected = {};
#if defined(_WIN32) // what the system leaves, which may have begun to read
    EXPECT_NE(CLSIDFromString(GetParam(), &expected), S_OK) << CString(GetParam()).ToUtf8();
#endif
    EXPECT_EQ(OKTTools::getGUIDFromString(GetParam()), expected) << CString(GetParam()).ToUtf8();
    EXPECT_EQ(reports.count(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Texts, MalformedGuidText,
                         ::testing::Values(u"", u"{}", u"{", u"OKTDbParameter", u"2933BF90-7B36-11D2-B20E-00C04F983E60",
                                           u"{2933BF90-7B36-11D2-B20E-00C04F983E60", u"2933BF90-7B36-11D2-B20E-00C04F983E60}",
                                           u"(2933BF90-7B36-11D2-B20E-00C04F983E60)",
                                           u" {2933BF90-7B36-11D2-B20E-00C04F983E60}",
                                           u"{2933BF90-7B36-11D2-B20E-00C04F983E60} ", u"{2933BF90-7B36-11D2-B20E-00C04F983E6}",
                                           u"{2933BF90-7B36-11D2-B20E-00C04F983E600}",
                                           u"{2933BF90-7B36-11D2-B20E-00C04F983E6G}", u"{2933BF907B3611D2B20E00C04F983E60}",
                                           u"{2933BF90-7B3611D2--B20E-00C04F983E60}", u"{2933BF9-07B36-11D2-B20E-00C04F983E60}",
                                           u"{2933BF90 7B36 11D2 B20E 00C04F983E60}", u"{+933BF90-7B36-11D2-B20E-00C04F983E60}",
                                           u"{0x33BF90-7B36-11D2-B20E-00C04F983E60}",
                                           u"{\uFF12933BF90-7B36-11D2-B20E-00C04F983E6}"));

// --- Variants and bytes ------------------------------------------------------------------------------------------------------

TEST(OKTTools, ConvertBYTEArrayToVariant_Bytes_VectorOfThem)
{
    unsigned char bytes[] = {1, 0, 255};
    tagVARIANT value{};
    ASSERT_TRUE(OKTTools::ConvertBYTEArrayToVariant(bytes, 3, &value));
    EXPECT_EQ(value.vt, 8209);
    SAFEARRAY *const array = value.parray;
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(SafeArrayGetDim(array), 1u);
    EXPECT_EQ(SafeArrayGetElemsize(array), 1u);
    EXPECT_EQ(array->cLocks, 0u);
    LONG bound = -1;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &bound), S_OK);
    EXPECT_EQ(bound, 0);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &bound), S_OK);
    EXPECT_EQ(bound, 2);
    auto const *const data = static_cast<unsigned char const *>(array->pvData);
    EXPECT_EQ(Bytes(data, data + 3), (Bytes{1, 0, 255}));
    bytes[0] = 9; // a copy
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(VariantClear(&value), S_OK);
}

TEST(OKTTools, ConvertBYTEArrayToVariant_NoBytes_TrueAndEmptyArray)
{
    unsigned char byte = 1;
    tagVARIANT value{};
    ASSERT_TRUE(OKTTools::ConvertBYTEArrayToVariant(&byte, 0, &value));
    EXPECT_EQ(value.vt, 8209);
    LONG bound = 7;
    EXPECT_EQ(SafeArrayGetUBound(value.parray, 1, &bound), S_OK);
    EXPECT_EQ(bound, -1);
    EXPECT_EQ(VariantClear(&value), S_OK);
}

TEST(OKTTools, ConvertBYTEArrayToVariant_ValueHeldAString_NotCleared)
{
    BSTR const text = SysAllocString(u"kept");
    tagVARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = text;
    unsigned char bytes[] = {1};
    ASSERT_TRUE(OKTTools::ConvertBYTEArrayToVariant(bytes, 1, &value));
    EXPECT_EQ(CString(text), CString(u"kept"));
    SysFreeString(text);
    EXPECT_EQ(VariantClear(&value), S_OK);
}

TEST(OKTTools, Conversions_ThereAndBack_SameBytesAndArrayUnlocked)
{
    std::mt19937 random(2);
    for (int size = 1; size < 600; size += 1 + size / 3)
    {
        Bytes bytes(static_cast<std::size_t>(size));
        for (unsigned char &byte : bytes)
            byte = static_cast<unsigned char>(random());
        tagVARIANT value{};
        ASSERT_TRUE(OKTTools::ConvertBYTEArrayToVariant(bytes.data(), size, &value));
        EXPECT_EQ(bytesOf(value), bytes);
        EXPECT_EQ(value.parray->cLocks, 0u);
        EXPECT_EQ(VariantClear(&value), S_OK);
    }
}

TEST(OKTTools, ConvertVariantToBYTEArray_ElementsOf32Bits_SizeInElementsAndFirstBytesOfTheData)
{
    ArrayVariant array(VT_I4, 0, 3);
    array.fill({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(bytesOf(array.value), (Bytes{1, 2, 3}));
}

TEST(OKTTools, ConvertVariantToBYTEArray_LowerBoundOtherThanZero_SourceIndexedByTheArraysOwnIndex_Quirk69)
{
    ArrayVariant wide(VT_I4, 2, 3);
    wide.fill({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(bytesOf(wide.value), (Bytes{3, 4, 5}));

    // What lies outside the data is never read.
    ArrayVariant bytes(VT_UI1, 1, 3);
    bytes.fill({10, 20, 30});
    EXPECT_EQ(bytesOf(bytes.value), (Bytes{20, 30, 0}));
    ArrayVariant below(VT_UI1, -1, 3);
    below.fill({10, 20, 30});
    EXPECT_EQ(bytesOf(below.value), (Bytes{0, 10, 20}));
}

TEST(OKTTools, ConvertVariantToBYTEArray_NoArray_FalseAndOutputsUnchanged)
{
    tagVARIANT text{};
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(u"text");
    expectRefused(text);
    VariantClear(&text);

    for (VARTYPE const kind : {VT_EMPTY, VT_NULL, VT_I4, VT_R8, VT_UI1})
    {
        tagVARIANT value{};
        value.vt = kind;
        expectRefused(value);
    }
    tagVARIANT nothing{};
    nothing.vt = VT_ARRAY | VT_UI1;
    expectRefused(nothing);
}

TEST(OKTTools, ConvertVariantToBYTEArray_TwoDimensions_FalseAndOutputsUnchanged)
{
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 0}};
    tagVARIANT value{};
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreate(VT_UI1, 2, bounds);
    ASSERT_NE(value.parray, nullptr);
    expectRefused(value);
    EXPECT_EQ(value.parray->cLocks, 0u);
    EXPECT_EQ(VariantClear(&value), S_OK);
}

TEST(OKTTools, ConvertVariantToBYTEArray_EmptyArray_OneReportAndSizeZeroAndArrayLocked_Quirk70)
{
    ArrayVariant array(VT_UI1, 0, 0);
    unsigned char stays = 0;
    unsigned char *bytes = &stays;
    int size = 77;
    ReportCatcher reports;
    EXPECT_FALSE(OKTTools::ConvertVariantToBYTEArray(&array.value, bytes, size));
    EXPECT_EQ(size, 0);
    EXPECT_EQ(bytes, &stays);
    EXPECT_EQ(array.value.parray->cLocks, 1u);
    ASSERT_EQ(reports.count(), 1u);
    EXPECT_THAT(reports.texts()[0], IsReportOf("okttools"));
    EXPECT_EQ(VariantClear(&array.value), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnlock(array.value.parray), S_OK);
}

TEST(OKTTools, ConvertVariantToBYTEArray_ArrayByReference_TheBytesOfTheArray)
{
    ArrayVariant array(VT_UI1, 0, 3);
    array.fill({10, 20, 30});
    tagVARIANT reference{};
    reference.vt = VT_BYREF | VT_ARRAY | VT_UI1;
    reference.byref = &array.value.parray;
    EXPECT_EQ(bytesOf(reference), (Bytes{10, 20, 30}));
    EXPECT_EQ(array.value.parray->cLocks, 0u);
    EXPECT_EQ(reference.byref, &array.value.parray);
}

TEST(OKTTools, ConvertVariantToBYTEArray_NullReferences_FalseAndOutputsUnchanged)
{
    tagVARIANT reference{};
    reference.vt = VT_BYREF | VT_ARRAY | VT_UI1;
    expectRefused(reference);
    SAFEARRAY *nothing = nullptr;
    reference.byref = &nothing;
    expectRefused(reference);
}

TEST(OKTTools, ConvertVariantToBYTEArray_OutermostLowerBounds_NothingOutsideTheDataIsRead_Quirk69)
{
    ArrayVariant lowest(VT_UI1, std::numeric_limits<LONG>::min(), 3);
    lowest.fill({10, 20, 30});
    EXPECT_EQ(bytesOf(lowest.value), (Bytes{0, 0, 0}));
    ArrayVariant highest(VT_UI1, std::numeric_limits<LONG>::max(), 1);
    highest.fill({10});
    EXPECT_EQ(bytesOf(highest.value), (Bytes{0}));
    ArrayVariant across(VT_I4, -2, 4);
    across.fill({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    EXPECT_EQ(bytesOf(across.value), (Bytes{0, 0, 1, 2}));
}

TEST(OKTTools, ConvertVariantToBYTEArray_MoreElementsThanASizeCanTell_OneReportAndNoBytes_Quirk70)
{
    ArrayVariant array(VT_UI1, std::numeric_limits<LONG>::min(), 0x80000000u);
    ASSERT_NE(array.value.parray, nullptr); // memory that nobody touches
    unsigned char stays = 0;
    unsigned char *bytes = &stays;
    int size = 77;
    ReportCatcher reports;
    EXPECT_FALSE(OKTTools::ConvertVariantToBYTEArray(&array.value, bytes, size));
    EXPECT_EQ(bytes, &stays);
    EXPECT_EQ(reports.count(), 1u);
    EXPECT_EQ(array.value.parray->cLocks, 1u);
    EXPECT_EQ(SafeArrayUnlock(array.value.parray), S_OK);
}

TEST(OKTTools, Conversions_ArgumentsThatAreRefused_FalseAndOutputsUnchanged)
{
    unsigned char bytes[] = {1, 2, 3};
    tagVARIANT value{};
    value.vt = VT_I4;
    value.lVal = 7;
    ReportCatcher reports;
    EXPECT_FALSE(OKTTools::ConvertBYTEArrayToVariant(bytes, -1, &value));
    EXPECT_FALSE(OKTTools::ConvertBYTEArrayToVariant(nullptr, 3, &value));
    EXPECT_FALSE(OKTTools::ConvertBYTEArrayToVariant(bytes, 3, nullptr));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 7);
    unsigned char *out = bytes;
    int size = 77;
    EXPECT_FALSE(OKTTools::ConvertVariantToBYTEArray(nullptr, out, size));
    EXPECT_EQ(out, bytes);
    EXPECT_EQ(size, 77);
    EXPECT_TRUE(OKTTools::ConvertBYTEArrayToVariant(nullptr, 0, &value));
    EXPECT_EQ(value.vt, 8209);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(reports.count(), 0u);
}

TEST(OKTTools, ConvertVariantToBYTEArray_OneElement_OneByte)
{
    ArrayVariant array(VT_UI1, 0, 1);
    array.fill({200});
    EXPECT_EQ(bytesOf(array.value), (Bytes{200}));
}

TEST(OKTTools, ConvertVariantToBYTEArray_DataThatCannotBeAccessed_FalseAndOutputsUnchanged)
{
    ArrayVariant array(VT_UI1, 0, 3);
    array.value.parray->cLocks = 0xFFFF; // as many locks as an array can have
    expectRefused(array.value);
    EXPECT_EQ(array.value.parray->cLocks, 0xFFFFu);
    array.value.parray->cLocks = 0;
}

TEST(OKTTools, ConvertVariantToBYTEArray_NoMemoryForTheBytes_OneReportAndArrayLocked)
{
    ArrayVariant array(VT_UI1, 0, 3);
    unsigned char *bytes = nullptr;
    int size = 77;
    ReportCatcher const reports;
    bool done = true;
    {
        AllocationFault const fault(0);
        done = OKTTools::ConvertVariantToBYTEArray(&array.value, bytes, size);
    }
    EXPECT_FALSE(done);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(reports.count(), 1u);
    EXPECT_EQ(array.value.parray->cLocks, 1u);
    EXPECT_EQ(SafeArrayUnlock(array.value.parray), S_OK);
}

// --- Base64: sizes -----------------------------------------------------------------------------------------------------------

namespace
{
constexpr unsigned int kAllFlags[] = {0, kBase64NoPadding, kBase64NoLineBreaks, kBase64NoPadding | kBase64NoLineBreaks};

/// The size rule, step by step.
long long expectedLength(long long size, unsigned int flagWord)
{
    long long n = size * 4 / 3;
    if ((flagWord & 1u) == 0)
        n += size % 3;
    long long const breaks = n / 76 + 1;
    long long const last = n % 76;
    if (last != 0 && last % 4 != 0)
        n += 4 - last % 4;
    if ((flagWord & 2u) == 0)
        n += 2 * breaks;
    return n;
}

/// Written from the definition of the code: six bits at a time, most significant first. Lines hold 19 whole groups of four; the
/// rest of the bytes follows on the last line.
std::string expectedText(Bytes const &bytes, unsigned int flagWord)
{
    static char const alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string digits;
    std::size_t const bits = bytes.size() * 8;
    for (std::size_t at = 0; at < bits; at += 6)
    {
        unsigned int digit = 0;
        for (std::size_t bit = at; bit < at + 6; ++bit)
            digit = digit * 2 + (bit < bits ? bytes[bit / 8] >> (7 - bit % 8) & 1u : 0u);
        digits += alphabet[digit];
    }
    std::string text;
    std::size_t const whole = bytes.size() / 3 * 4;
    for (std::size_t i = 0; i < digits.size(); ++i)
    {
        if ((flagWord & 2u) == 0 && i > 0 && i % 76 == 0 && i < whole)
            text += "\r\n";
        text += digits[i];
    }
    if ((flagWord & 1u) == 0)
        text.append((3 - bytes.size() % 3) % 3, '=');
    return text;
}

std::string encoded(Bytes const &bytes, unsigned int flagWord)
{
    int size = base64EncodedLength(static_cast<int>(bytes.size()), flagWord);
    std::string text(static_cast<std::size_t>(size) + 1, '\x7F');
    unsigned char const none = 0;
    EXPECT_EQ(base64Encode(bytes.empty() ? &none : bytes.data(), static_cast<int>(bytes.size()), text.data(), &size, flagWord),
              1);
    EXPECT_EQ(text[static_cast<std::size_t>(size)], '\x7F'); // no terminating zero
    text.resize(static_cast<std::size_t>(size));
    return text;
}

Bytes decoded(std::string const &text, int expectedResult = 1)
{
    Bytes bytes(text.size() + 1, 0xEE);
    int size = static_cast<int>(text.size());
    EXPECT_EQ(base64Decode(text.data(), static_cast<int>(text.size()), bytes.data(), &size), expectedResult);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}
} // namespace

TEST(Base64, EncodedLength_BothFlags_Literals)
{
    int const expected[] = {0, 4, 4, 4, 8, 8, 8, 12, 12, 12, 16};
    for (int size = 0; size <= 10; ++size)
        EXPECT_EQ(base64EncodedLength(size, 3), expected[size]) << size;
    EXPECT_EQ(base64EncodedLength(57, 3), 76);
    EXPECT_EQ(base64EncodedLength(49152, 3), 65536);
}

TEST(Base64, EncodedLength_OtherFlags_Literals)
{
    EXPECT_EQ(base64EncodedLength(0, 2), 0);
    EXPECT_EQ(base64EncodedLength(1, 2), 4);
    EXPECT_EQ(base64EncodedLength(2, 2), 4);
    EXPECT_EQ(base64EncodedLength(3, 2), 4);
    EXPECT_EQ(base64EncodedLength(4, 2), 8);
    EXPECT_EQ(base64EncodedLength(0, 0), 2);
    EXPECT_EQ(base64EncodedLength(0, 1), 2);
    EXPECT_EQ(base64EncodedLength(3, 0), 6);
    EXPECT_EQ(base64EncodedLength(54, 0), 74);
    EXPECT_EQ(base64EncodedLength(56, 0), 80); // 76 digits rounded up from 74 and 2; one break before that
    EXPECT_EQ(base64EncodedLength(57, 0), 80); // the digits fill a line, and a second one is reckoned with
    EXPECT_EQ(base64EncodedLength(58, 1), 84);
}

TEST(Base64, EncodedLength_AllFlagsAndSizes_StepByStep)
{
    for (unsigned int const flagWord : kAllFlags)
    {
        for (int size = 0; size <= 2000; ++size)
            ASSERT_EQ(base64EncodedLength(size, flagWord), expectedLength(size, flagWord)) << size << " flags " << flagWord;
        ASSERT_EQ(base64EncodedLength(536870911, flagWord), expectedLength(536870911, flagWord));
    }
}

TEST(Base64, EncodedLength_TextBeyond31Bits_RaisesTheGeneralFailure)
{
    for (int const size : {536870912, 2147483647})
        try
        {
            base64EncodedLength(size, 3);
            ADD_FAILURE() << size << " was accepted";
        }
        catch (COleException const &failure)
        {
            EXPECT_EQ(static_cast<std::uint32_t>(failure.m_sc), 0x80004005u);
        }
}

// --- Base64: encoding --------------------------------------------------------------------------------------------------------

TEST(Base64, Encode_Literals)
{
    EXPECT_EQ(encoded({1, 2, 3}, 3), "AQID");
    EXPECT_EQ(encoded({1, 2}, 3), "AQI");
    EXPECT_EQ(encoded({1}, 3), "AQ");
    EXPECT_EQ(encoded({}, 3), "");
    EXPECT_EQ(encoded({1, 2}, 2), "AQI=");
    EXPECT_EQ(encoded({1}, 2), "AQ==");
    EXPECT_EQ(encoded({1}, 0), "AQ==");
    EXPECT_EQ(encoded({1}, 1), "AQ");
    EXPECT_EQ(encoded({}, 0), "");
    EXPECT_EQ(encoded({'f', 'o', 'o', 'b', 'a', 'r'}, 0), "Zm9vYmFy");
    EXPECT_EQ(encoded({'f', 'o', 'o', 'b', 'a'}, 0), "Zm9vYmE=");
    EXPECT_EQ(encoded({0xFF, 0xEF, 0xBE}, 3), "/+++");
    EXPECT_EQ(encoded({0xFF, 0xFF, 0xFF, 0xFF}, 3), "/////w");
}

TEST(Base64, Encode_LinesOf76Characters_Literals)
{
    std::string const line(76, 'A');
    EXPECT_EQ(encoded(Bytes(57), 0), line);
    EXPECT_EQ(encoded(Bytes(60), 0), line + "\r\nAAAA");
    EXPECT_EQ(encoded(Bytes(61), 0), line + "\r\nAAAAAA==");
    EXPECT_EQ(encoded(Bytes(62), 1), line + "\r\nAAAAAAA");
    EXPECT_EQ(encoded(Bytes(117), 0), line + "\r\n" + line + "\r\nAAAA");
    EXPECT_EQ(encoded(Bytes(117), 2), line + line + "AAAA");
    EXPECT_EQ(encoded(Bytes(117), 3), line + line + "AAAA");
}

TEST(Base64, Encode_AllFlagsAndSizesTo200_AsDefined)
{
    std::mt19937 random(64);
    for (unsigned int const flagWord : kAllFlags)
        for (std::size_t size = 0; size <= 200; ++size)
        {
            Bytes bytes(size);
            for (unsigned char &byte : bytes)
                byte = static_cast<unsigned char>(random());
            ASSERT_EQ(encoded(bytes, flagWord), expectedText(bytes, flagWord)) << size << " flags " << flagWord;
            ASSERT_EQ(decoded(encoded(bytes, flagWord)), bytes) << size << " flags " << flagWord;
        }
}

TEST(Base64, Encode_NullArgument_Refused)
{
    unsigned char const bytes[] = {1, 2, 3};
    char out[8] = "unused";
    int size = 8;
    EXPECT_EQ(base64Encode(nullptr, 3, out, &size, 3), 0);
    EXPECT_EQ(base64Encode(bytes, 3, nullptr, &size, 3), 0);
    EXPECT_EQ(base64Encode(bytes, 3, out, nullptr, 3), 0);
    EXPECT_EQ(size, 8);
    EXPECT_STREQ(out, "unused");
}

TEST(Base64, Encode_BufferBelowTheLength_RefusedWhereTheTextWouldFit)
{
    unsigned char const bytes[] = {1, 2, 3, 4};
    char out[16] = "unused";
    int size = 7; // "AQIDBA" has 6 characters, the rule asks for 8
    EXPECT_EQ(base64Encode(bytes, 4, out, &size, 3), 0);
    EXPECT_EQ(size, 7);
    EXPECT_STREQ(out, "unused");
    size = 8;
    EXPECT_EQ(base64Encode(bytes, 4, out, &size, 3), 1);
    EXPECT_EQ(size, 6);
    EXPECT_EQ(std::string(out, 7), std::string("AQIDBA") + '\0');
    size = 9; // flags 0 ask for 10
    EXPECT_EQ(base64Encode(bytes, 4, out, &size, 0), 0);
}

TEST(Base64, Encode_TextBeyond31Bits_RaisesTheGeneralFailure)
{
    unsigned char const bytes[] = {1};
    char out[8] = "unused";
    int size = 8;
    EXPECT_THROW(base64Encode(bytes, 536870912, out, &size, 3), COleException);
    EXPECT_EQ(size, 8);
    EXPECT_STREQ(out, "unused");
}

// --- Base64: decoding --------------------------------------------------------------------------------------------------------

TEST(Base64, Decode_Literals)
{
    EXPECT_EQ(decoded("AQID"), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded("AQI"), (Bytes{1, 2}));
    EXPECT_EQ(decoded("AQ"), (Bytes{1}));
    EXPECT_EQ(decoded("A"), Bytes{});
    EXPECT_EQ(decoded(""), Bytes{});
    EXPECT_EQ(decoded("AQ=="), (Bytes{1}));
    EXPECT_EQ(decoded("AQI="), (Bytes{1, 2}));
    EXPECT_EQ(decoded("/+++"), (Bytes{0xFF, 0xEF, 0xBE}));
    EXPECT_EQ(decoded("AQIDB"), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded("AQIDBA"), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(decoded("AR"), (Bytes{1})); // the bits beyond the last whole byte are dropped
}

TEST(Base64, Decode_OutsideTheAlphabet_PassedOver_Quirk71)
{
    EXPECT_EQ(decoded("A Q\tI\r\nD"), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded("====A=Q=I=D===="), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded("-A_Q!I,D\x80\xFF"), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded("AQ==AQ=="), (Bytes{1, 0x00, 0x10})); // one group of four digits
    EXPECT_EQ(decoded("===="), Bytes{});
    EXPECT_EQ(decoded("\r\n"), Bytes{});
    EXPECT_EQ(decoded(std::string("AQ\0ID", 5)), (Bytes{1, 2, 3})); // a zero inside a group
}

TEST(Base64, Decode_ZeroWhereAGroupWouldBegin_EndsTheText)
{
    EXPECT_EQ(decoded(std::string("AQID\0BAUG", 9)), (Bytes{1, 2, 3}));
    EXPECT_EQ(decoded(std::string("\0AQID", 5)), Bytes{});
    // A character that is passed over has begun the group.
    EXPECT_EQ(decoded(std::string("AQID \0BAUG", 10)), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(Base64, Decode_LengthBelowTheText_OnlySoMuch)
{
    unsigned char out[3] = {9, 9, 9};
    int size = 3;
    EXPECT_EQ(base64Decode("AQIDBAUG", 3, out, &size), 1);
    EXPECT_EQ(size, 2);
    EXPECT_EQ(Bytes(out, out + 3), (Bytes{1, 2, 9}));
    size = 3;
    EXPECT_EQ(base64Decode("AQID", 0, out, &size), 1);
    EXPECT_EQ(size, 0);
}

TEST(Base64, Decode_NullOutput_LengthQueryWithResultZero)
{
    int size = 0;
    EXPECT_EQ(base64Decode("AQIDBA==", 8, nullptr, &size), 0);
    EXPECT_EQ(size, 4);
    size = 100;
    EXPECT_EQ(base64Decode("AQIDBA==", 8, nullptr, &size), 0);
    EXPECT_EQ(size, 4);
}

TEST(Base64, Decode_NullTextOrSize_Refused)
{
    unsigned char out[3] = {9, 9, 9};
    int size = 3;
    EXPECT_EQ(base64Decode(nullptr, 4, out, &size), 0);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(base64Decode("AQID", 4, out, nullptr), 0);
    EXPECT_EQ(Bytes(out, out + 3), (Bytes{9, 9, 9}));
}

TEST(Base64, Decode_OutputTooSmall_StoresNoMoreAndCountsOn)
{
    unsigned char out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    int size = 4;
    EXPECT_EQ(base64Decode("AQIDBAUGBw", 10, out, &size), 0);
    EXPECT_EQ(size, 7);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{1, 2, 3, 9, 9, 9, 9, 9}));
    size = 7;
    EXPECT_EQ(base64Decode("AQIDBAUGBw", 10, out, &size), 1);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{1, 2, 3, 4, 5, 6, 7, 9}));
    size = 0;
    EXPECT_EQ(base64Decode("", 0, out, &size), 1);
    EXPECT_EQ(size, 0);
}

TEST(Base64, Decode_NoRoomAtAll_CountAlone)
{
    unsigned char out[1] = {9};
    int size = 0;
    EXPECT_EQ(base64Decode("AQID", 4, out, &size), 0);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(out[0], 9);
    size = 0;
    EXPECT_EQ(base64Decode("A===", 4, out, &size), 1); // a group of no byte has room
    EXPECT_EQ(size, 0);
}

namespace
{
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Written from the definition of the code and of what is passed over.
Bytes expectedBytes(std::string const &text)
{
    std::string const alphabet = kAlphabet;
    Bytes expected;
    std::size_t at = 0;
    while (at < text.size() && text[at] != '\0')
    {
        std::vector<std::size_t> group;
        for (; at < text.size() && group.size() < 4; ++at)
            if (text[at] != '\0' && alphabet.find(text[at]) != std::string::npos)
                group.push_back(alphabet.find(text[at]));
        std::size_t bits = 0;
        for (std::size_t const digit : group)
            bits = bits * 64 + digit;
        bits <<= 6 * (4 - group.size());
        for (std::size_t i = 0; i < group.size() * 6 / 8; ++i)
            expected.push_back(static_cast<unsigned char>(bits >> (16 - 8 * i)));
    }
    return expected;
}
} // namespace

TEST(Base64, Decode_RandomTexts_AsDefined)
{
    std::mt19937 random(46);
    for (int round = 0; round < 5000; ++round)
    {
        std::string text;
        for (std::size_t n = random() % 40; n > 0; --n)
            switch (random() % 8)
            {
            case 0: text += static_cast<char>(random()); break;
            case 1: text += '='; break;
            case 2: text += '\0'; break;
            default: text += kAlphabet[random() % 64];
            }
        ASSERT_EQ(decoded(text), expectedBytes(text)) << ::testing::PrintToString(text);
    }
}

// Several groups are taken in one go: each character counts wherever it stands among them.
TEST(Base64, Decode_AnyByteAnywhereInALongText_AsDefined)
{
    std::mt19937 random(7);
    for (std::size_t place = 0; place < 48; ++place)
        for (int byte = 0; byte < 256; ++byte)
        {
            std::string text(64, '\0');
            for (char &character : text)
                character = kAlphabet[random() % 64];
            text[place] = static_cast<char>(byte);
            ASSERT_EQ(decoded(text), expectedBytes(text)) << place << ' ' << byte;
        }
}

TEST(Base64, Encode_AnyDigitAnywhereInALongText_AsDefined)
{
    std::mt19937 random(8);
    for (std::size_t place = 0; place < 48; ++place)
        for (std::size_t digit = 0; digit < 64; ++digit)
        {
            std::string text(64, '\0');
            for (char &character : text)
                character = kAlphabet[random() % 64];
            text[place] = kAlphabet[digit];
            ASSERT_EQ(encoded(expectedBytes(text), 3), text) << place << ' ' << digit;
        }
}

// A text that ends in the middle of what is done in one go leaves the rest of the buffer alone.
TEST(Base64, Decode_TextEndsAmongGroups_NothingBehindIsTouched)
{
    for (std::size_t digits = 0; digits <= 40; digits += 4)
    {
        std::string text(digits, 'A');
        text += '\0';
        text.append(40, 'B');
        Bytes bytes(64, 9);
        int size = static_cast<int>(bytes.size());
        ASSERT_EQ(base64Decode(text.data(), static_cast<int>(text.size()), bytes.data(), &size), 1);
        ASSERT_EQ(static_cast<std::size_t>(size), digits / 4 * 3);
        ASSERT_TRUE(std::all_of(bytes.begin() + size, bytes.end(), [](unsigned char byte) { return byte == 9; })) << digits;
    }
}

// Three groups are below what is done in one go: the path of a processor without wide registers.
TEST(Base64, LongTexts_InOneGoAndInShortPieces_TheSame)
{
    constexpr std::size_t kPiece = 9; // bytes
    std::mt19937 random(9);
    for (int round = 0; round < 500; ++round)
    {
        Bytes bytes(random() % 1000);
        for (unsigned char &byte : bytes)
            byte = static_cast<unsigned char>(random());
        std::string const text = encoded(bytes, 3);
        std::string pieces;
        Bytes back;
        for (std::size_t at = 0; at < bytes.size(); at += kPiece)
        {
            auto const begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
            auto const size = static_cast<std::ptrdiff_t>(std::min(kPiece, bytes.size() - at));
            pieces += encoded(Bytes(begin, begin + size), 3);
            Bytes const piece = decoded(text.substr(at / 3 * 4, kPiece / 3 * 4));
            back.insert(back.end(), piece.begin(), piece.end());
        }
        ASSERT_EQ(text, pieces) << bytes.size();
        ASSERT_EQ(decoded(text), bytes);
        ASSERT_EQ(back, bytes);
    }
}
