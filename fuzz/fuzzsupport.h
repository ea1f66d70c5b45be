// SPDX-License-Identifier: MIT
#pragma once

#include <support/expectedleak.h>

#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktarrays.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

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

/// The input as a file in a folder of this process, in memory where the system has such a place. It stays open between two inputs.
class InputFile
{
public:
    explicit InputFile(char const *name);
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;
    ~InputFile();

    std::filesystem::path const &folder() const { return m_folder; }
    /// Of the input, and of another file beside it.
    CString const &path() const { return m_path; }
    CString path(char const *name) const { return CString::FromUtf8((m_folder / name).string()); }
    void write(std::uint8_t const *data, std::size_t size);

private:
    std::filesystem::path m_folder;
    CString m_path;
    int m_file;
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
