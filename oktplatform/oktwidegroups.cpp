// SPDX-License-Identifier: MIT
#include <oktplatform/oktwidegroups.h>

#include <oktplatform/oktbackend.h>

#include OKT_NATIVE(oktnativeprocessor.h)

#if defined(OKT_SSSE3)

#include <cstring>

// After Muła and Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions", ACM Transactions on the Web 12 (2018),
// in registers of 16 bytes.

namespace
{
constexpr int kGroups = 4;       // in one register of characters
constexpr int kGroupsToLoad = 6; // needed to load a whole register of bytes

bool const s_isWide = OktHasSsse3();

OKT_SSSE3 __m128i encoded(__m128i bytes)
{
    // Each group of three bytes a b c becomes the four bytes b a c b: each digit then lies within 16 bits.
    __m128i const spread = _mm_shuffle_epi8(bytes, _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    __m128i const even = _mm_mulhi_epu16(_mm_and_si128(spread, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    __m128i const odd = _mm_mullo_epi16(_mm_and_si128(spread, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    __m128i const digits = _mm_or_si128(even, odd);
    // The range of a digit selects what is added to it: 13 capitals, 0 small letters, 1 to 10 the ten figures, 11 and 12 the rest.
    __m128i const isCapital = _mm_cmpgt_epi8(_mm_set1_epi8(26), digits);
    __m128i const range = _mm_or_si128(_mm_subs_epu8(digits, _mm_set1_epi8(51)), _mm_and_si128(isCapital, _mm_set1_epi8(13)));
    __m128i const added = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    return _mm_add_epi8(digits, _mm_shuffle_epi8(added, range));
}

/// False: a character is not a digit.
OKT_SSSE3 bool decode(__m128i characters, __m128i &bytes)
{
    __m128i const lowBits = _mm_set1_epi8(0x0F);
    __m128i const high = _mm_and_si128(_mm_srli_epi32(characters, 4), lowBits);
    __m128i const low = _mm_and_si128(characters, lowBits);
    // One bit for each kind of row of the character table, and for each column the kinds of rows where it is not a digit.
    __m128i const kinds =
        _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    __m128i const wrong =
        _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    __m128i const bad = _mm_and_si128(_mm_shuffle_epi8(kinds, high), _mm_shuffle_epi8(wrong, low));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(bad, _mm_setzero_si128())) != 0xFFFF)
        return false;
    // The row of a character selects what is added to get its digit. Only '/' differs from the rest of its row.
    __m128i const isSlash = _mm_cmpeq_epi8(characters, _mm_set1_epi8('/'));
    __m128i const added =
        _mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
    __m128i const digits = _mm_add_epi8(characters, _mm_shuffle_epi8(added, _mm_add_epi8(high, isSlash)));
    __m128i const pairs = _mm_maddubs_epi16(digits, _mm_set1_epi32(0x01400140));
    __m128i const groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    bytes = _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    return true;
}

OKT_SSSE3 int encodeAll(unsigned char const *bytes, int groups, char *out)
{
    int done = 0;
    for (; groups - done >= kGroupsToLoad; done += kGroups)
    {
        __m128i const piece = _mm_loadu_si128(reinterpret_cast<__m128i const *>(bytes + 3 * done));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 4 * done), encoded(piece));
    }
    return done;
}

OKT_SSSE3 int decodeAll(char const *text, int groups, unsigned char *out)
{
    int done = 0;
    for (; groups - done >= kGroups; done += kGroups)
    {
        __m128i bytes;
        if (!decode(_mm_loadu_si128(reinterpret_cast<__m128i const *>(text + 4 * done)), bytes))
            break;
        // Exactly twelve bytes: nothing behind them may be written.
        int const last = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 8));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 3 * done), bytes);
        std::memcpy(out + 3 * done + 8, &last, sizeof last);
    }
    return done;
}
} // namespace

int encodeGroupsWide(unsigned char const *bytes, int groups, char *out) { return s_isWide ? encodeAll(bytes, groups, out) : 0; }

int decodeGroupsWide(char const *text, int groups, unsigned char *out) { return s_isWide ? decodeAll(text, groups, out) : 0; }

#else

int encodeGroupsWide(unsigned char const *, int, char *) { return 0; }

int decodeGroupsWide(char const *, int, unsigned char *) { return 0; }

#endif
