// SPDX-License-Identifier: MIT
// Any text through the decoder, and any bytes through the coder and back, in buffers of exactly the size that is allowed.

#include "fuzzsupport.h"

#include <oktdatabase/okttools.h>

#include <algorithm>
#include <vector>

namespace
{
using Bytes = std::vector<unsigned char>;

/// A buffer of that size, or of 1 for none, since a null pointer asks for the size alone.
Bytes bufferOf(int size) { return Bytes(static_cast<std::size_t>(std::max(size, 1))); }

Bytes decoded(char const *text, int length)
{
    int size = 0;
    FUZZ_DEMAND(base64Decode(text, length, nullptr, &size) == 0);
    FUZZ_DEMAND(size >= 0 && size <= length);
    Bytes bytes = bufferOf(size);
    int written = size;
    FUZZ_DEMAND(base64Decode(text, length, bytes.data(), &written) == 1 && written == size);
    if (size > 0)
    {
        Bytes tooSmall = bufferOf(size - 1);
        int smallSize = size - 1;
        FUZZ_DEMAND(base64Decode(text, length, tooSmall.data(), &smallSize) == 0 && smallSize == size);
    }
    return Bytes(bytes.data(), bytes.data() + size);
}

void demandRoundTrip(Bytes const &bytes, unsigned int flagWord)
{
    auto const size = static_cast<int>(bytes.size());
    int const length = base64EncodedLength(size, flagWord);
    FUZZ_DEMAND(length >= 0);
    std::vector<char> text(static_cast<std::size_t>(length) + 1, '#');
    int written = length;
    unsigned char const none = 0;
    unsigned char const *const source = bytes.empty() ? &none : bytes.data(); // a null pointer is refused
    FUZZ_DEMAND(base64Encode(source, size, text.data(), &written, flagWord) == 1);
    FUZZ_DEMAND(written >= 0 && written <= length);
    FUZZ_DEMAND(text.back() == '#');
    FUZZ_DEMAND(decoded(text.data(), written) == bytes);
    if ((flagWord & kBase64NoLineBreaks) != 0)
        FUZZ_DEMAND(std::find(text.begin(), text.begin() + written, '\n') == text.begin() + written);
    if ((flagWord & kBase64NoPadding) != 0)
        FUZZ_DEMAND(std::find(text.begin(), text.begin() + written, '=') == text.begin() + written);
    if (length > 0)
    {
        int room = length - 1;
        FUZZ_DEMAND(base64Encode(source, size, text.data(), &room, flagWord) == 0);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    Bytes const input(data, data + size);
    Bytes const bytes = decoded(size == 0 ? "" : reinterpret_cast<char const *>(data), static_cast<int>(size));
    for (unsigned int const flagWord : {0u, kBase64NoPadding, kBase64NoLineBreaks, kBase64NoPadding | kBase64NoLineBreaks})
    {
        demandRoundTrip(bytes, flagWord);
        demandRoundTrip(input, flagWord);
    }
    return 0;
}
