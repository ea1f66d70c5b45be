// SPDX-License-Identifier: MIT
#include <oktdatabase/okttools.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktplatform/oktwidegroups.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
    OKTRuntimeClass const *const descriptor = OktFindClass(className);
    if (descriptor == nullptr)
        return false;
    object = descriptor->CreateObject();
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

// Two characters for each 12 bits: two look-ups a group.
constexpr auto kPairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63]};
    return pairs;
}();

// The bits of the digits at the four places of a group, where they belong in the three bytes that come of it. A sum with the
// highest bit holds a character that is no digit.
constexpr std::uint32_t kNoGroup = 0x80000000;
constexpr auto kPlacedDigits = [] {
    std::array<std::array<std::uint32_t, 256>, 4> placed{};
    for (unsigned int place = 0; place < 4; ++place)
        for (std::size_t c = 0; c < 256; ++c)
        {
            std::uint32_t const bits = static_cast<std::uint32_t>(kDigits[c]) << (18 - 6 * place);
            placed[place][c] = kDigits[c] == kNoDigit ? kNoGroup : bits >> 16 | (bits & 0xFF00) | (bits & 0xFF) << 16;
        }
    return placed;
}();

// The first bytes of a word, the lowest one first.
template <int N> void storeBytes(unsigned char *out, std::uint64_t word)
{
    for (int i = 0; i < N; ++i)
        out[i] = static_cast<unsigned char>(word >> (8 * i));
}

// As many as go in wide registers, then two at a time while there are eight bytes to look at.
char *encodeGroups(unsigned char const *bytes, int groups, char *out)
{
    int const wide = encodeGroupsWide(bytes, groups, out);
    bytes += 3 * static_cast<std::ptrdiff_t>(wide);
    out += 4 * static_cast<std::ptrdiff_t>(wide);
    groups -= wide;
    for (; groups > 2; groups -= 2, bytes += 6, out += 8)
    {
        auto const byte = [bytes](int at) { return static_cast<std::uint64_t>(bytes[at]) << (56 - 8 * at); };
        std::uint64_t const word = byte(0) | byte(1) | byte(2) | byte(3) | byte(4) | byte(5) | byte(6) | byte(7);
        for (int pair = 0; pair < 4; ++pair)
            std::memcpy(out + 2 * pair, kPairs[word >> (52 - 12 * pair) & 0xFFF].data(), 2);
    }
    for (; groups > 0; --groups, bytes += 3, out += 4)
    {
        std::memcpy(out, kPairs[static_cast<std::size_t>(bytes[0] << 4 | bytes[1] >> 4)].data(), 2);
        std::memcpy(out + 2, kPairs[static_cast<std::size_t>((bytes[1] & 15) << 8 | bytes[2])].data(), 2);
    }
    return out;
}

std::uint32_t decodedGroup(char const *text)
{
    auto const digit = [text](std::size_t place) { return kPlacedDigits[place][static_cast<unsigned char>(text[place])]; };
    return digit(0) | digit(1) | digit(2) | digit(3);
}

// Decodes whole groups up to the first character that is none of the alphabet, and returns their number: sixteen characters at a
// time where the processor can, then two groups at a time.
int decodeGroups(char const *text, int groups, unsigned char *out)
{
    int done = decodeGroupsWide(text, groups, out);
    text += 4 * static_cast<std::ptrdiff_t>(done);
    out += 3 * static_cast<std::ptrdiff_t>(done);
    for (; done + 1 < groups; done += 2, text += 8, out += 6)
    {
        std::uint32_t const first = decodedGroup(text);
        std::uint32_t const second = decodedGroup(text + 4);
        if (((first | second) & kNoGroup) != 0)
            break;
        std::uint64_t const both = first | static_cast<std::uint64_t>(second) << 24;
        storeBytes<6>(out, both);
    }
    for (; done < groups; ++done, text += 4, out += 3)
    {
        std::uint32_t const group = decodedGroup(text);
        if ((group & kNoGroup) != 0)
            break;
        storeBytes<3>(out, group);
    }
    return done;
}

int countGroups(char const *text, int groups)
{
    int done = 0;
    while (done < groups && (decodedGroup(text) & kNoGroup) == 0)
    {
        ++done;
        text += 4;
    }
    return done;
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
    char *const begin = out;
    int const lineOfGroups = (flagWord & kBase64NoLineBreaks) == 0 ? kGroupsPerLine : std::numeric_limits<int>::max();
    for (int groups = size / 3; groups > 0;)
    {
        if (out != begin)
        {
            *out++ = '\r';
            *out++ = '\n';
        }
        int const line = std::min(groups, lineOfGroups);
        out = encodeGroups(bytes, line, out);
        bytes += 3 * static_cast<std::ptrdiff_t>(line);
        groups -= line;
    }
    if (int const rest = size % 3; rest != 0)
    {
        unsigned char const last[3] = {bytes[0], rest == 2 ? bytes[1] : static_cast<unsigned char>(0), 0};
        char characters[4];
        encodeGroups(last, 1, characters);
        out = std::copy_n(characters, rest + 1, out);
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
        // Groups of four characters of the alphabet, as nearly every text has them throughout.
        int const whole = static_cast<int>((end - text) / 4);
        int const quick =
            storing ? decodeGroups(text, std::min(whole, (room - count) / 3), out + count) : countGroups(text, whole);
        text += 4 * static_cast<std::ptrdiff_t>(quick);
        count += 3 * quick;
        if (quick > 0)
            continue;
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
