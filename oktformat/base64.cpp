// SPDX-License-Identifier: MIT
#include <oktformat/base64.h>

#include <algorithm>

namespace okt
{

namespace
{

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int64_t kDigitsOfGroup = 4;

} // namespace

constexpr std::array<short, 128> Base64Reader::kSigns = [] {
    std::array<short, 128> signs{};
    signs.fill(kForeign);
    short digit = 0;
    for (char const c : kAlphabet)
        signs[static_cast<unsigned char>(c)] = digit++;
    signs['\r'] = signs['\n'] = kBreak;
    signs['='] = kPad;
    return signs;
}();

std::string base64(std::string_view bytes, Base64Padding padding)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size())))
    {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = (group << 8) | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            if (i <= bytes.size())
                text += kAlphabet[(group >> (18 - 6 * i)) & 63];
            else if (padding == Base64Padding::With)
                text += '=';
    }
    return text;
}

std::optional<Base64Fault> Base64Reader::finish() const
{
    using Kind = Base64Fault::Kind;
    if (m_fault)
        return m_fault;
    std::int64_t const left = m_digits % kDigitsOfGroup;
    if (left == 1)
        return Base64Fault{Kind::BrokenOff, m_length, 0};
    // An end within a group leaves bits over.
    if ((left == 2 && (m_bits & 15) != 0) || (left == 3 && (m_bits & 3) != 0))
        return Base64Fault{Kind::PartOfByte, m_lastDigitAt, 0};
    if (m_mode == Base64Mode::Lenient)
    {
        if (m_pads > 0 && (left + m_pads) % kDigitsOfGroup != 0)
            return Base64Fault{Kind::Padding, m_length, 0};
        return std::nullopt;
    }
    std::int64_t const wanted = m_padding == Base64Padding::With ? (kDigitsOfGroup - left) % kDigitsOfGroup : 0;
    if (m_pads != wanted)
        return Base64Fault{Kind::Padding, std::min(m_digits + wanted, m_length), 0};
    return std::nullopt;
}

std::optional<std::string> parseBase64(std::string_view text, Base64Padding padding, Base64Fault *fault)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    Base64Reader reader(Base64Mode::Strict, padding, &bytes);
    for (char const c : text)
        reader.take(static_cast<unsigned char>(c));
    std::optional<Base64Fault> const found = reader.finish();
    if (!found)
        return bytes;
    if (fault != nullptr)
        *fault = *found;
    return std::nullopt;
}

} // namespace okt
