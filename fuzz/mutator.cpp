// SPDX-License-Identifier: MIT
#include "mutator.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t room);

namespace
{
constexpr std::size_t kDeepNesting = 300; // how often a piece is put into itself at most

std::string_view textOf(std::string const &input, Piece const &piece)
{
    return std::string_view(input).substr(piece.begin, piece.end - piece.begin);
}

std::size_t give(std::string const &input, std::uint8_t *target, std::size_t room)
{
    std::size_t const size = std::min(input.size(), room);
    if (size > 0)
        std::memcpy(target, input.data(), size);
    return size;
}

/// Another piece of that kind, or any at all where `isStrict` is false. Itself where there is no other.
Piece const &another(std::vector<Piece> const &pieces, Piece const &piece, bool isStrict, MutationRandom &random)
{
    for (int turn = 0; turn < 16; ++turn)
    {
        Piece const &other = random.of(pieces);
        if (&other != &piece && (!isStrict || other.kind == piece.kind))
            return other;
    }
    return piece;
}

void swapPieces(std::string &input, Piece const &one, Piece const &two)
{
    Piece const &first = one.begin < two.begin ? one : two;
    Piece const &second = one.begin < two.begin ? two : one;
    if (first.end > second.begin) // one of them is inside the other
        return;
    std::string const firstText(textOf(input, first));
    std::string const secondText(textOf(input, second));
    input.replace(second.begin, secondText.size(), firstText);
    input.replace(first.begin, firstText.size(), secondText);
}

/// The piece around a copy of itself, many times: the head, what is in it, the tail.
void nest(std::string &input, Piece const &piece, std::size_t room, MutationRandom &random)
{
    if (piece.inside <= piece.begin || piece.inside > piece.end)
        return;
    std::string const head = input.substr(piece.begin, piece.inside - piece.begin);
    std::string const tail = input.substr(piece.inside, piece.end - piece.inside);
    std::size_t const each = head.size() + tail.size();
    std::size_t const most = input.size() < room ? (room - input.size()) / each : 0;
    std::size_t const times = std::min(most, random.oneIn(8) ? kDeepNesting : 1 + random.below(4));
    std::string nested;
    for (std::size_t i = 0; i < times; ++i)
        nested += head;
    for (std::size_t i = 0; i < times; ++i)
        nested += tail;
    input.insert(piece.inside, nested);
}

void rearrange(Structure const &structure, std::string &input, std::vector<Piece> const &pieces, std::size_t room,
               MutationRandom &random)
{
    Piece const &piece = random.of(pieces);
    Piece const &other = another(pieces, piece, !random.oneIn(8), random);
    std::string const between(structure.between());
    switch (random.below(8))
    {
    case 0: input.erase(piece.begin, piece.end - piece.begin); break;
    case 1:
    case 2: input.insert(piece.begin, std::string(textOf(input, piece)) + between); break;
    case 3: swapPieces(input, piece, other); break;
    case 4: input.replace(piece.begin, piece.end - piece.begin, std::string(textOf(input, other))); break;
    case 5: input.insert(piece.begin, std::string(textOf(input, other)) + between); break;
    case 6:
        if (piece.inside > 0)
            input.insert(piece.inside, std::string(textOf(input, other)) + between);
        break;
    default: nest(input, piece, room, random); break;
    }
}

std::size_t mutateBytes(std::uint8_t *data, std::size_t size, std::size_t room) { return LLVMFuzzerMutate(data, size, room); }
} // namespace

std::uint64_t MutationRandom::word()
{
    m_state ^= m_state << 13;
    m_state ^= m_state >> 7;
    m_state ^= m_state << 17;
    return m_state * 0x2545F4914F6CDD1Dull >> 11;
}

std::string changedBytes(std::string_view bytes, std::size_t growth)
{
    std::vector<std::uint8_t> buffer(bytes.size() + growth + 1);
    std::copy(bytes.begin(), bytes.end(), buffer.begin());
    std::size_t const size = LLVMFuzzerMutate(buffer.data(), bytes.size(), buffer.size());
    return std::string(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size));
}

std::int64_t oddNumber(std::int64_t number, MutationRandom &random)
{
    static constexpr std::array<std::int64_t, 16> kOdd = {
        0, 1, -1, 2, 127, 128, 255, 256, 32767, 65535, 65536, 0x7FFFFFFE, 0x7FFFFFFF, -0x7FFFFFFF - 1, 2000000000, -65536};
    switch (random.below(4))
    {
    case 0: return number + 1;
    case 1: return number - 1;
    case 2: return number ^ (std::int64_t(1) << random.below(32));
    default: return random.of(kOdd);
    }
}

std::size_t mutate(Structure const &structure, std::uint8_t *data, std::size_t size, std::size_t room, unsigned int seed)
{
    MutationRandom random(seed);
    std::string input(reinterpret_cast<char const *>(data), size);
    if (size == 0 || random.oneIn(10))
        return mutateBytes(data, size, room);
    for (std::size_t turns = 1 + (random.oneIn(3) ? random.below(5) : 0); turns > 0; --turns)
    {
        std::vector<Piece> const pieces = structure.pieces(input);
        if (pieces.empty())
            break;
        if (random.below(3) > 0)
            structure.change(input, random.of(pieces), random);
        else
            rearrange(structure, input, pieces, room, random);
        if (input.size() > room)
            break;
    }
    if (!random.oneIn(8))
        structure.repair(input);
    // What is too long is no structure any more when it is cut.
    if (input.size() > room || input.empty() || std::string_view(reinterpret_cast<char const *>(data), size) == input)
        return mutateBytes(data, size, room);
    return give(input, data, room);
}

std::size_t crossOver(Structure const &structure, std::string const &input, std::string const &other, std::uint8_t *target,
                      std::size_t room, unsigned int seed)
{
    MutationRandom random(seed);
    std::string crossed = input;
    std::vector<Piece> const others = structure.pieces(other);
    for (std::size_t turns = 1 + random.below(3); turns > 0; --turns)
    {
        std::vector<Piece> const pieces = structure.pieces(crossed);
        if (pieces.empty() || others.empty())
            break;
        Piece const &piece = random.of(pieces);
        Piece const &taken = another(others, piece, !random.oneIn(8), random);
        std::string text(textOf(other, &taken == &piece ? others.front() : taken));
        if (random.oneIn(2))
            crossed.replace(piece.begin, piece.end - piece.begin, text);
        else
            crossed.insert(piece.begin, text + std::string(structure.between()));
    }
    if (!random.oneIn(8))
        structure.repair(crossed);
    return give(crossed.size() > room ? input : crossed, target, room);
}

bool isOneIn(unsigned int count, std::uint8_t const *data, std::size_t size)
{
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 16777619u;
    return (hash >> 8) % count == 0;
}
