#pragma once

#include <oktplatform/oktstring.h>

// Not installed.

namespace OktText
{
struct TextBlock;
}

/// Makes many texts at once whose buffers stand one behind the other in blocks of memory, so that a text takes no call of the
/// heap. A block goes with the last of its texts, whoever has it by then. A text that grows, or is set anew, leaves its block.
/// One thread at a time.
class OktTextBlocks
{
public:
    OktTextBlocks() = default;
    OktTextBlocks(OktTextBlocks const &) = delete;
    OktTextBlocks &operator=(OktTextBlocks const &) = delete;
    ~OktTextBlocks() { leaveBlock(); }

    /// `count` units, at least 1, of any alignment. A long text gets memory of its own. Throws std::bad_alloc.
    CString make(unsigned char const *units, int count);

private:
    void leaveBlock();

    OktText::TextBlock *m_block = nullptr;
    int m_place = 0; // where the next buffer stands in it, in bytes
};
