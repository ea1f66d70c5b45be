// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktformat/bytesource.h>

#include <cstdint>
#include <string>
#include <vector>

namespace okt
{

/// A file that consists of a head and of ranges of another file, which are not copied. That file must outlive it.
class RecoveredFile : public ByteSource
{
public:
    explicit RecoveredFile(ByteSource &damaged) : m_damaged(damaged) {}

    /// Sets the head. Call it before a range is added.
    void setHead(std::string head);
    void add(std::int64_t begin, std::int64_t size);

    /// The offset of a byte in the other file; -1: it is in the head, or after the end.
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
