// SPDX-License-Identifier: MIT
#include <oktdatabase/oktwholechunk.h>

#include <oktdatabase/oktshortage.h>
#include <oktdatabase/okttools.h>

#include <algorithm>
#include <cstddef>
#include <new>

bool OKTWholeChunk::take(OKTFiler &filer, CByteArray &data, std::string &digits)
try
{
    constexpr std::ptrdiff_t kHead = 3; // string type, count
    constexpr int kGroup = 4;
    constexpr int kBytes = 3; // of a group
    Unread const unread = unreadNarrowOf(filer);
    if (unread.end - unread.begin <= kHead || *unread.begin != VarAnsiString)
        return false;
    int const count = unread.begin[1] | unread.begin[2] << 8;
    auto const known = static_cast<int>(digits.size());
    if (unread.end - unread.begin - kHead <= count || known >= kGroup || known + count < kGroup)
        return false; // behind a text there must be one more byte (quirk 27)
    auto const *const text = reinterpret_cast<char const *>(unread.begin + kHead);
    int const first = known == 0 ? 0 : kGroup - known; // they end the group that has begun
    int const whole = (count - first) / kGroup * kGroup;
    char const *const rest = text + first + whole;
    int const before = data.GetSize();
    BYTE *const place = data.Extend((first > 0 ? kBytes : 0) + whole / kGroup * kBytes);
    bool isSound = std::all_of(rest, text + count, isDigit);
    int next = 0;
    auto const decode = [&](char const *groups, int length) {
        int size = length / kGroup * kBytes;
        int const expected = size;
        if (length > 0)
            base64Decode(groups, length, place + next, &size);
        next += expected;
        isSound = isSound && size == expected;
    };
    if (first > 0)
    {
        char group[kGroup];
        std::copy_n(text, first, std::copy_n(digits.data(), known, group));
        decode(group, kGroup);
    }
    decode(text + first, whole);
    if (!isSound)
    {
        data.SetSize(before);
        return false;
    }
    digits.assign(rest, text + count); // no more than fits without memory
    moveBy(*unread.filer, kHead + count);
    return true;
}
catch (std::bad_alloc const &)
{
    OktNoteShortage();
    return false;
}
