// SPDX-License-Identifier: MIT
#include <oktplatform/okttextblocks.h>

#include <oktplatform/oktarena.h>
#include <oktplatform/oktbuffer_internal.h>

#include <cstring>
#include <new>

/// The head of a block. Its users are the texts in it and the OktTextBlocks that still adds texts.
struct OktText::TextBlock
{
    OktHolderCount users;

    void addUser() { users.add(); }
    void dropUser()
    {
        if (users.drop())
            ::operator delete(this);
    }
};

using namespace OktText;

namespace
{
constexpr int kBlock = 4080;  // bytes; a single remaining text keeps all of them
constexpr int kLongest = 256; // units of a text in a block
constexpr int kInArena = -1;  // in place of the offset of a block's head, which is larger
static_assert(sizeof(TextBlock) > 1);
} // namespace

CString OktTextBlocks::make(unsigned char const *units, int count)
{
    std::size_t const size = sizeof(WCHAR) * static_cast<std::size_t>(count);
    if (count > kLongest)
    {
        CString text;
        text.SetUnits(count, [&](WCHAR *target, int) { std::memcpy(target, units, size); });
        return text;
    }
    std::size_t const whole = sizeof(OktTextBuffer) + size + sizeof(WCHAR);
    if (void *const memory = m_arena == nullptr ? nullptr : m_arena->take(whole))
    {
        auto *const buffer = ::new (memory) OktTextBuffer{1, count, kInArena};
        std::memcpy(buffer->units(), units, size);
        buffer->units()[count] = 0;
        return CString(buffer);
    }
    constexpr int kStep = alignof(OktTextBuffer);
    int const needed = (static_cast<int>(whole) + kStep - 1) / kStep * kStep;
    if (m_block == nullptr || kBlock - m_place < needed)
    {
        auto *const block = ::new (::operator new(kBlock)) TextBlock{1};
        leaveBlock();
        m_block = block;
        m_place = sizeof(TextBlock);
    }
    void *const memory = reinterpret_cast<std::byte *>(m_block) + m_place;
    auto *const buffer = ::new (memory) OktTextBuffer{1, count, -m_place};
    m_block->addUser();
    m_place += needed;
    std::memcpy(buffer->units(), units, size);
    buffer->units()[count] = 0;
    return CString(buffer);
}

void OktText::freeInBlock(OktTextBuffer *buffer)
{
    if (buffer->capacity == kInArena)
        OktFreeInArena(buffer);
    else
        reinterpret_cast<TextBlock *>(reinterpret_cast<std::byte *>(buffer) + buffer->capacity)->dropUser();
}

void OktTextBlocks::leaveBlock()
{
    if (m_block != nullptr)
        m_block->dropUser();
    m_block = nullptr;
}
