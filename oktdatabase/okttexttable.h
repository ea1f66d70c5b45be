// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>
#include <oktplatform/okttextblocks.h>

#include <cstddef>
#include <memory>

// Not installed.

/// The units of a text in a stream.
struct OKTStoredText
{
    BYTE const *units = nullptr;
    int count = 0;
};

/// There is a zero unit in the text, at which a reader would end it.
bool OktHasZeroUnit(OKTStoredText const &text);

/// The texts that a stream has brought. Names, expressions and descriptions come again and again in a template; equal ones share
/// one buffer, which saves their memory and the time to make it. A text that needs the place of another in the table replaces it.
///
/// The texts stand in blocks of memory (OktTextBlocks), some fifty in each: a load takes a ninth fewer instructions than with an
/// allocation for each text.
class OKTTextTable
{
public:
    /// For the texts of an image of that many bytes, whose memory comes from that arena. It must outlive this object; null: none.
    explicit OKTTextTable(int imageSize, OktArena *arena = nullptr);

    /// Sets `text` to one of these units. False, and `text` untouched, when there is a zero unit in them.
    bool find(OKTStoredText const &stored, CString &text);

private:
    static constexpr int kLongest = 64; // units; a longer text is seldom met twice

    std::size_t m_mask; // the number of places, a power of two, less 1
    std::unique_ptr<CString[]> m_texts;
    OktTextBlocks m_blocks;
};
