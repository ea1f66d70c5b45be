// SPDX-License-Identifier: MIT
#pragma once

// Mutators that know the structure of their inputs: pieces that stand inside each other, as frames, elements or JSON values do. What
// is the same for all of them is here; a Structure tells the pieces of one format. Inputs that are none of it are changed byte by byte.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The same numbers for the same seed on every machine.
class MutationRandom
{
public:
    explicit MutationRandom(unsigned int seed) : m_state(seed * 0x9E3779B97F4A7C15ull + 1) {}

    std::uint64_t word();
    std::size_t below(std::size_t count) { return count == 0 ? 0 : static_cast<std::size_t>(word() % count); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename List> auto const &of(List const &list) { return list[below(std::size(list))]; }

private:
    std::uint64_t m_state;
};

struct Piece
{
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t inside = 0; ///< where another piece can stand in it; 0: nowhere
    int kind = 0;           ///< pieces of one kind can take each other's place
};

class Structure
{
public:
    virtual ~Structure() = default;

    /// In the order of the input. Not all bytes need be in one.
    virtual std::vector<Piece> pieces(std::string const &input) const = 0;
    /// Changes what one piece says.
    virtual void change(std::string &input, Piece const &piece, MutationRandom &random) const = 0;
    /// Sets right what follows from the rest, lengths and places, so that a reader does not stop there.
    virtual void repair(std::string &) const {}
    /// What stands between two pieces that follow each other.
    virtual std::string_view between() const { return {}; }
};

/// What LLVMFuzzerCustomMutator and LLVMFuzzerCustomCrossOver answer.
std::size_t mutate(Structure const &structure, std::uint8_t *data, std::size_t size, std::size_t room, unsigned int seed);
std::size_t crossOver(Structure const &structure, std::string const &input, std::string const &other, std::uint8_t *target,
                      std::size_t room, unsigned int seed);

/// A part of an input, changed byte by byte as any input would be; it grows by `growth` bytes at most.
std::string changedBytes(std::string_view bytes, std::size_t growth);

/// True for one input in `count`, always for the same ones: what takes long is tried for those alone.
bool isOneIn(unsigned int count, std::uint8_t const *data, std::size_t size);

/// Of numbers, those at which readers go wrong; or one beside `number`.
std::int64_t oddNumber(std::int64_t number, MutationRandom &random);

/// Records, frames and pool files; XML documents; JSON.
Structure const &poolStructure();
Structure const &xmlStructure();
Structure const &jsonStructure();

/// At the end of a target: its inputs are changed by that structure, an expression in which `input` is the input.
#define FUZZ_STRUCTURE(expression)                                                                                             \
    static Structure const &structureOf([[maybe_unused]] std::string_view input) { return expression; }                        \
    extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t room, unsigned int seed)  \
    {                                                                                                                          \
        return mutate(structureOf({reinterpret_cast<char const *>(data), size}), data, size, room, seed);                      \
    }                                                                                                                          \
    extern "C" std::size_t LLVMFuzzerCustomCrossOver(std::uint8_t const *first, std::size_t firstSize,                         \
                                                     std::uint8_t const *second, std::size_t secondSize, std::uint8_t *target, \
                                                     std::size_t room, unsigned int seed)                                      \
    {                                                                                                                          \
        std::string const input(reinterpret_cast<char const *>(first), firstSize);                                             \
        return crossOver(structureOf(input), input, std::string(reinterpret_cast<char const *>(second), secondSize), target,   \
                         room, seed);                                                                                          \
    }                                                                                                                          \
    static_assert(true)
