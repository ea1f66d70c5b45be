// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktformat/bytesource.h>

#include <cstdint>
#include <string>
#include <vector>

namespace okt
{

/// A file that is made of a head and of stretches of another one, which must outlive it. The stretches stay where they are.
class RecoveredFile : public ByteSource
{
public:
    explicit RecoveredFile(ByteSource &damaged) : m_damaged(damaged) {}

    /// What stands in front of the stretches; before any of them is added.
    void setHead(std::string head);
    void add(std::int64_t begin, std::int64_t size);

    /// Where a byte of this file stands in the other one; -1: in the head, or behind the end.
    std::int64_t inDamaged(std::int64_t offset) const;

protected:
    void moveWindow(std::int64_t offset, std::size_t count) override;

private:
    struct Piece
    {
        std::int64_t at;    ///< in this file
        std::int64_t begin; ///< in the other one
    };

    std::size_t pieceAt(std::int64_t offset) const;

    ByteSource &m_damaged;
    std::string m_head;
    std::vector<Piece> m_pieces;
    std::string m_buffer;
};

} // namespace okt
