// SPDX-License-Identifier: MIT
#pragma once

// Base64 with its faults told. Own code, because the pool's quick coder (okttools.h) skips foreign characters by rule, and others tell no place. Not installed.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace okt
{

enum class Base64Padding
{
    With,
    Without
};

enum class Base64Mode
{
    Strict, ///< only the text that base64() writes for the same bytes
    Lenient ///< with line breaks anywhere, with padding or without
};

/// Why a text is not valid base64.
struct Base64Fault
{
    enum class Kind
    {
        Foreign,       ///< a character outside the base64 alphabet
        BehindPadding, ///< a digit after the padding
        BrokenOff,     ///< the last group has one digit only, which is less than a byte
        PartOfByte,    ///< the unused bits of the last digit are not 0
        Padding        ///< longer or shorter than it should be
    };

    Kind kind = Kind::Foreign;
    std::int64_t offset = 0; ///< of the first wrong character; where one is missing, the length of the text
    char32_t character = 0;  ///< there, where it is foreign
};

/// One line, without breaks.
std::string base64(std::string_view bytes, Base64Padding padding = Base64Padding::With);

/// Reads a text that comes piece by piece.
class Base64Reader
{
public:
    /// `bytes` gets the decoded bytes; null: the text is only checked. Lenient mode ignores `padding`.
    Base64Reader(Base64Mode mode, Base64Padding padding, std::string *bytes) : m_mode(mode), m_padding(padding), m_bytes(bytes)
    {
    }

    void take(char32_t character)
    {
        int const sign = character < kSigns.size() ? kSigns[character] : kForeign;
        if (sign >= 0)
            takeDigit(sign);
        else if (sign == kPad)
            ++m_pads;
        else if ((sign == kForeign || m_mode == Base64Mode::Strict) && !m_fault)
            m_fault = {Base64Fault::Kind::Foreign, m_length, character};
        ++m_length;
    }

    /// The first fault in the text read so far.
    std::optional<Base64Fault> const &fault() const { return m_fault; }
    /// The first fault in the whole text; call it at the end.
    std::optional<Base64Fault> finish() const;

    std::int64_t length() const { return m_length; } ///< characters so far
    std::int64_t digits() const { return m_digits; }

private:
    static constexpr short kForeign = -1;
    static constexpr short kBreak = -2;
    static constexpr short kPad = -3;
    /// The six bits of a digit.
    static std::array<short, 128> const kSigns;

    void takeDigit(int digit)
    {
        if (m_pads > 0 && !m_fault)
            m_fault = {Base64Fault::Kind::BehindPadding, m_length, 0};
        m_bits = (m_bits << 6) | static_cast<std::uint32_t>(digit);
        ++m_digits;
        m_lastDigitAt = m_length;
        if (m_bytes != nullptr && m_digits % 4 != 1)
            *m_bytes += static_cast<char>(static_cast<unsigned char>((m_bits >> (6 - 2 * ((m_digits - 1) % 4))) & 0xFF));
    }

    Base64Mode m_mode;
    Base64Padding m_padding;
    std::string *m_bytes;
    std::uint32_t m_bits = 0;
    std::int64_t m_length = 0;
    std::int64_t m_digits = 0;
    std::int64_t m_pads = 0;
    std::int64_t m_lastDigitAt = 0;
    std::optional<Base64Fault> m_fault;
};

/// Decodes a strict text. Empty: it is not valid; `fault` says why.
std::optional<std::string> parseBase64(std::string_view text, Base64Padding padding = Base64Padding::With,
                                       Base64Fault *fault = nullptr);

} // namespace okt
