// SPDX-License-Identifier: MIT
#include <oktc/texts.h>

#include <oktformat/fileread.h>
#include <oktformat/text.h>
#include <oktformat/utf8.h>
#include <okttext/oktnotation.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <optional>

namespace oktc
{

std::string_view utf8(char const *text, std::int64_t length)
{
    needed(text, "a text");
    std::size_t const size = length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
    constexpr std::size_t kLongest = std::numeric_limits<int>::max() - 1;
    if (size > kLongest)
        refuse(OKTC_TOO_LARGE, "the text is too long");
    std::string_view const view(text, size);
    if (std::size_t const at = okt::notUtf8At(view); at != std::string_view::npos)
        refuse(OKTC_BAD_TEXT, "the text is not UTF-8 from byte " + std::to_string(at) + " on");
    return view;
}

CString textOf(char const *text, std::int64_t length) { return CString::FromUtf8(utf8(text, length)); }

std::filesystem::path pathOf(char const *path)
{
    std::string_view const name = utf8(path);
    if (name.empty())
        refuse(OKTC_FILE, "the path is empty");
    return okt::utf8Path(name == okt::kStandardStream ? "./-" : std::string(name));
}

namespace
{

bool isPair(OktTextView units, std::size_t at)
{
    return okt::isHighSurrogate(units[at]) && at + 1 < units.size() && okt::isLowSurrogate(units[at + 1]);
}

} // namespace

std::string plain(CString const &text)
{
    OktTextView const units = text.View();
    for (std::size_t at = 0; at < units.size(); ++at)
    {
        if (isPair(units, at))
            ++at;
        else if (okt::isSurrogate(units[at]))
            refuse(OKTC_LONE_SURROGATE, "the text has a lone surrogate, which UTF-8 has no form for");
    }
    return text.ToUtf8();
}

std::string escaped(CString const &text)
{
    std::string result;
    OktTextView const units = text.View();
    for (std::size_t at = 0; at < units.size(); ++at)
    {
        char32_t const unit = units[at];
        if (isPair(units, at))
            okt::appendUtf8(result, okt::joined(unit, units[++at]));
        else if (okt::isSurrogate(unit))
        {
            result += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4)
                result += "0123456789ABCDEF"[(unit >> shift) & 0xF];
        }
        else if (unit == '\\')
            result += "\\\\";
        else
            okt::appendUtf8(result, unit);
    }
    return result;
}

CString unescaped(std::string_view text)
{
    std::optional<std::string> const bytes = okttext::parseEscapedUnits(text);
    if (!bytes)
        refuse(OKTC_BAD_TEXT, "a backslash begins no escape: \\uD800 and \\\\ are those there are");
    CString result;
    result.SetUnits(static_cast<int>(bytes->size() / 2), [&](WCHAR *units, int count) {
        for (int i = 0; i < count; ++i)
        {
            auto const at = static_cast<std::size_t>(i) * 2;
            units[i] = static_cast<WCHAR>(static_cast<unsigned char>((*bytes)[at]) |
                                          static_cast<unsigned char>((*bytes)[at + 1]) << 8);
        }
    });
    return result;
}

namespace
{

void *copyOf(void const *bytes, std::size_t size)
{
    auto *const memory = static_cast<char *>(std::malloc(size + 1));
    if (memory == nullptr)
        throw std::bad_alloc();
    if (size > 0)
        std::memcpy(memory, bytes, size);
    memory[size] = 0;
    return memory;
}

} // namespace

void give(std::string_view text, char **out, std::uint64_t *length)
{
    *out = static_cast<char *>(copyOf(text.data(), text.size()));
    *length = text.size();
}

void give(void const *bytes, std::size_t size, std::uint8_t **out) { *out = static_cast<std::uint8_t *>(copyOf(bytes, size)); }

CByteArray bytesOf(void const *bytes, std::uint64_t length)
{
    if (length > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        refuse(OKTC_TOO_LARGE, "there are more than 2147483647 bytes");
    if (length > 0)
        needed(bytes, "the pointer to the bytes");
    CByteArray array;
    array.SetSize(static_cast<int>(length));
    if (length > 0)
        std::memcpy(array.GetData(), bytes, static_cast<std::size_t>(length));
    return array;
}

} // namespace oktc

void OKTC_CALL oktcFree(void *memory) { std::free(memory); }
