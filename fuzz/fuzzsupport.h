// SPDX-License-Identifier: MIT
#pragma once

#include <support/expectedleak.h>

#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktarrays.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Ends the run with the input at hand: something that must hold for every input does not.
#define FUZZ_DEMAND(condition)                                                                                                 \
    do                                                                                                                         \
    {                                                                                                                          \
        if (!(condition))                                                                                                      \
        {                                                                                                                      \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);                                \
            std::abort();                                                                                                      \
        }                                                                                                                      \
    } while (false)

/// Exact in size, so that a read past its end shows.
CByteArray bytesOfInput(std::uint8_t const *data, std::size_t size);

bool isEqual(CByteArray const &left, CByteArray const &right);

/// Hands out the input piece by piece, for targets whose input is no document. Zeros follow its end.
class FuzzInput
{
public:
    FuzzInput(std::uint8_t const *data, std::size_t size) : m_data(data), m_left(size) {}

    bool isAtEnd() const { return m_left == 0; }
    unsigned int byte()
    {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_data++;
    }
    /// 0 to `count` - 1.
    int below(int count) { return static_cast<int>(byte()) % count; }
    std::uint64_t word(int bytes)
    {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= static_cast<std::uint64_t>(byte()) << (8 * i);
        return value;
    }

private:
    std::uint8_t const *m_data;
    std::size_t m_left;
};

/// loadFiler, which loses the object at fault by rule (quirk 18).
bool load(OKTDbPool &pool, CByteArray const &image);

/// Demands of a pool that it saves, that loading the image is true and gives as many objects, and that from then on saving and
/// loading give the same image again and again: save(load(save(load(x)))) == save(load(x)), where x is what the pool saves.
///
/// Left out is the last for pools that lose something each time: a float is narrowed (quirk 39), a conversion of lengths
/// rounds.
void demandRoundTrip(OKTDbPool const &pool);

/// For a pool that came from one load: already x is what a load of x saves.
void demandSameImage(OKTDbPool const &pool);
