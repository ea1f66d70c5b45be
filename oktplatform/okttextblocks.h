// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

// Not installed.

class OktArena;

namespace OktText
{
struct TextBlock;
}

/// Makes many texts whose buffers share blocks of memory, so that most texts need no allocation of their own. A block is freed with
/// the last text in it. A text that grows, or is assigned, leaves its block. For one thread at a time.
class OktTextBlocks
{
public:
    OktTextBlocks() = default;
    /// Takes memory from that arena, as long as it has some. It must outlive this object.
    explicit OktTextBlocks(OktArena *arena) : m_arena(arena) {}
    OktTextBlocks(OktTextBlocks const &) = delete;
    OktTextBlocks &operator=(OktTextBlocks const &) = delete;
    ~OktTextBlocks() { leaveBlock(); }

    /// Copies `count` units, at least 1, from a place of any alignment. A long text gets a buffer of its own. Throws std::bad_alloc.
    CString make(unsigned char const *units, int count);

private:
    void leaveBlock();

    OktArena *m_arena = nullptr;
    OktText::TextBlock *m_block = nullptr;
    int m_place = 0; // the offset of the next buffer in it, in bytes
};
