// SPDX-License-Identifier: MIT
#include <oktinspect/recoveredfile.h>

#include <algorithm>

namespace okt
{

void RecoveredFile::setHead(std::string head)
{
    m_head = std::move(head);
    m_size = static_cast<std::int64_t>(m_head.size());
}

void RecoveredFile::add(std::int64_t begin, std::int64_t size)
{
    // Stretches that follow each other are one.
    if (m_pieces.empty() || m_pieces.back().begin + (m_size - m_pieces.back().at) != begin)
        m_pieces.push_back({m_size, begin});
    m_size += size;
}

std::size_t RecoveredFile::pieceAt(std::int64_t offset) const
{
    auto const behind = std::upper_bound(m_pieces.begin(), m_pieces.end(), offset,
                                         [](std::int64_t place, Piece const &piece) { return place < piece.at; });
    return static_cast<std::size_t>(behind - m_pieces.begin()) - 1;
}

std::int64_t RecoveredFile::inDamaged(std::int64_t offset) const
{
    if (offset < static_cast<std::int64_t>(m_head.size()) || offset >= m_size)
        return -1;
    Piece const &piece = m_pieces[pieceAt(offset)];
    return piece.begin + (offset - piece.at);
}

void RecoveredFile::moveWindow(std::int64_t offset, std::size_t count)
{
    // A little of what lies in front stays in sight, and more than is asked for comes into it.
    std::int64_t const begin = std::max<std::int64_t>(0, offset - 64);
    std::int64_t const end =
        std::min(m_size, std::max(offset + static_cast<std::int64_t>(count), begin + static_cast<std::int64_t>(kWidestLook)));
    m_buffer.clear();
    auto const headSize = static_cast<std::int64_t>(m_head.size());
    if (begin < headSize)
        m_buffer = m_head.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
    std::int64_t at = begin + static_cast<std::int64_t>(m_buffer.size());
    for (std::size_t i = at < end ? pieceAt(at) : 0; at < end; ++i)
    {
        std::int64_t const pieceEnd = i + 1 < m_pieces.size() ? m_pieces[i + 1].at : m_size;
        std::int64_t const size = std::min(end, pieceEnd) - at;
        m_buffer += m_damaged.copy(m_pieces[i].begin + (at - m_pieces[i].at), size);
        at += size;
    }
    m_windowBegin = begin;
    m_window = m_buffer;
}

} // namespace okt
