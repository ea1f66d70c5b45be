#include <oktdatabase/okttools.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

_GUID OKTTools::getGUIDFromString(CString const &text)
try
{
    _GUID guid = {};
    CLSIDFromString(text.GetString(), &guid);
    return guid;
}
OKT_ANSWER_ZERO

CString OKTTools::getStringFromGUID(_GUID const &guid)
try
{
    WCHAR text[40];
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return CString(text);
}
OKT_ANSWER_ZERO

bool OKTTools::getObjectFromClassName(CString const &className, OKTDbObject *&object)
try
{
    OKTRuntimeClass *const *const descriptor = g_RuntimeClass.find(className);
    if (descriptor == nullptr || *descriptor == nullptr)
        return false;
    object = (*descriptor)->CreateObject();
    return object != nullptr;
}
OKT_ANSWER_ZERO

bool OKTTools::ConvertVariantToBYTEArray(tagVARIANT *value, unsigned char *&bytes, int &size)
try
{
    if (value == nullptr || (value->vt & VT_ARRAY) == 0)
        return false;
    bool const isReference = (value->vt & VT_BYREF) != 0;
    if (isReference && value->byref == nullptr)
        return false;
    SAFEARRAY *const array = isReference ? *static_cast<SAFEARRAY **>(value->byref) : value->parray;
    if (array == nullptr || SafeArrayGetDim(array) != 1)
        return false;
    LONG lower = 0;
    LONG upper = 0;
    void *data = nullptr;
    if (FAILED(SafeArrayGetUBound(array, 1, &upper)) || FAILED(SafeArrayGetLBound(array, 1, &lower)) ||
        FAILED(SafeArrayAccessData(array, &data)))
        return false;
    std::int64_t const count = static_cast<std::int64_t>(upper) - lower + 1;
    size = static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
    if (size < 1 || size < count)
        throw std::bad_array_new_length(); // with the array left locked (quirk 70)
    bytes = new unsigned char[static_cast<std::size_t>(size)];
    // The source is indexed by the array's own index (quirk 69); what lies outside its data gives 0.
    auto const *const source = static_cast<unsigned char const *>(data);
    std::int64_t const room = static_cast<std::int64_t>(size) * SafeArrayGetElemsize(array);
    for (std::int64_t i = lower; i <= upper; ++i)
        bytes[i - lower] = i >= 0 && i < room ? source[i] : 0;
    SafeArrayUnaccessData(array);
    return true;
}
OKT_ANSWER_ZERO

bool OKTTools::ConvertBYTEArrayToVariant(unsigned char *bytes, int size, tagVARIANT *value)
try
{
    if (value == nullptr || size < 0 || (bytes == nullptr && size > 0))
        return false;
    SAFEARRAY *const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
    void *data = nullptr;
    if (array == nullptr || FAILED(SafeArrayAccessData(array, &data)))
        return false;
    std::copy_n(bytes, size, static_cast<unsigned char *>(data));
    SafeArrayUnaccessData(array);
    value->vt = VT_ARRAY | VT_UI1;
    value->parray = array;
    return true;
}
OKT_ANSWER_ZERO

// --- Base64 ---

namespace
{
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int kLineLength = 76;
constexpr int kGroupsPerLine = kLineLength / 4;
constexpr unsigned char kNoDigit = 0xFF;

constexpr auto kDigits = [] {
    std::array<unsigned char, 256> digits{};
    digits.fill(kNoDigit);
    for (unsigned char i = 0; i < 64; ++i)
        digits[static_cast<unsigned char>(kAlphabet[i])] = i;
    return digits;
}();

char *encodeGroup(std::uint32_t group, int characters, char *out)
{
    for (int i = 0; i < characters; ++i)
        *out++ = kAlphabet[group >> (18 - 6 * i) & 63];
    return out;
}
} // namespace

int base64EncodedLength(int size, unsigned int flagWord)
{
    if (static_cast<std::int64_t>(size) * 4 > std::numeric_limits<std::int32_t>::max())
        throw COleException(E_FAIL);
    if (size < 0)
        return 0;
    std::int64_t length = static_cast<std::int64_t>(size) * 4 / 3;
    if ((flagWord & kBase64NoPadding) == 0)
        length += size % 3;
    std::int64_t const breaks = length / kLineLength + 1;
    std::int64_t const last = length % kLineLength;
    if (last % 4 != 0)
        length += 4 - last % 4;
    if ((flagWord & kBase64NoLineBreaks) == 0)
        length += 2 * breaks;
    return static_cast<int>(length);
}

int base64Encode(unsigned char const *bytes, int size, char *out, int *outSize, unsigned int flagWord)
{
    if (bytes == nullptr || out == nullptr || outSize == nullptr || size < 0 || *outSize < base64EncodedLength(size, flagWord))
        return 0;
    bool const withBreaks = (flagWord & kBase64NoLineBreaks) == 0;
    char *const begin = out;
    int const groups = size / 3;
    for (int i = 0; i < groups; ++i, bytes += 3)
    {
        if (withBreaks && i > 0 && i % kGroupsPerLine == 0)
        {
            *out++ = '\r';
            *out++ = '\n';
        }
        std::uint32_t const group =
            static_cast<std::uint32_t>(bytes[0]) << 16 | static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[2];
        out = encodeGroup(group, 4, out);
    }
    if (int const rest = size % 3; rest != 0)
    {
        std::uint32_t group = static_cast<std::uint32_t>(bytes[0]) << 16;
        if (rest == 2)
            group |= static_cast<std::uint32_t>(bytes[1]) << 8;
        out = encodeGroup(group, rest + 1, out);
        if ((flagWord & kBase64NoPadding) == 0)
            out = std::fill_n(out, 3 - rest, '=');
    }
    *outSize = static_cast<int>(out - begin);
    return 1;
}

int base64Decode(char const *text, int length, unsigned char *out, int *outSize)
{
    if (text == nullptr || outSize == nullptr)
        return 0;
    int const room = *outSize;
    int count = 0;
    bool storing = out != nullptr;
    char const *const end = text + std::max(length, 0);
    while (text < end && *text != '\0')
    {
        std::uint32_t group = 0;
        int bits = 0;
        while (text < end && bits < 24)
        {
            unsigned char const digit = kDigits[static_cast<unsigned char>(*text++)];
            if (digit == kNoDigit)
                continue; // whatever it is (quirk 71)
            group |= static_cast<std::uint32_t>(digit) << (18 - bits);
            bits += 6;
        }
        int const bytes = bits / 8;
        storing = storing && bytes <= room - count;
        if (storing)
            for (int i = 0; i < bytes; ++i)
                out[count + i] = static_cast<unsigned char>(group >> (16 - 8 * i));
        count += bytes;
    }
    *outSize = count;
    return storing ? 1 : 0;
}
