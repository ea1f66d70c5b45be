// SPDX-License-Identifier: MIT
// The base64 coder beside that of OpenSSL in the same run, and a picture of the same size on its way through the memory filer.
// Bytes are those of the picture, not of its text.

#include "measure.h"

#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/okttools.h>

#include <openssl/evp.h>

#include <cstring>
#include <random>
#include <string>

namespace
{
constexpr int kSize = 20'000'000;
constexpr unsigned int kTextForm = kBase64NoPadding | kBase64NoLineBreaks;

CByteArray const &sample()
{
    static CByteArray const bytes = [] {
        CByteArray made;
        made.SetSize(kSize);
        std::mt19937 random(64);
        for (int i = 0; i < kSize; ++i)
            made[i] = static_cast<BYTE>(random());
        return made;
    }();
    return bytes;
}

std::string encoded()
{
    int size = base64EncodedLength(kSize, kTextForm);
    std::string text(static_cast<std::size_t>(size), '\0');
    base64Encode(sample().GetData(), kSize, text.data(), &size, kTextForm);
    text.resize(static_cast<std::size_t>(size));
    return text;
}

/// Copies the sample where memory is in use already.
class Floor
{
public:
    Floor() : m_target(sample()) {}

    void run()
    {
        m_watch.time([this] {
            std::memcpy(m_target.GetData(), sample().GetData(), kSize);
            benchmark::DoNotOptimize(m_target.GetData());
            benchmark::ClobberMemory();
        });
    }

    void tell(benchmark::State &state, Stopwatch const &watch, Stopwatch const *peer = nullptr) const
    {
        state.SetBytesProcessed(state.iterations() * kSize);
        state.counters[kMemcpyRatio] = watch.median() / m_watch.median();
        state.counters[kGigabytes] = kSize / watch.median() / 1e9;
        state.counters[kPeerGigabytes] = peer == nullptr ? 0 : kSize / peer->median() / 1e9;
    }

private:
    CByteArray m_target;
    Stopwatch m_watch;
};

void encode(benchmark::State &state)
{
    std::string const expected = encoded();
    std::string text(static_cast<std::size_t>(base64EncodedLength(kSize, kTextForm)), '\0');
    std::string other(expected.size() + 4, '\0'); // padding and a zero
    Floor floor;
    Stopwatch watch;
    Stopwatch peer;
    for ([[maybe_unused]] auto const turn : state)
    {
        int size = static_cast<int>(text.size());
        state.SetIterationTime(watch.time([&] { base64Encode(sample().GetData(), kSize, text.data(), &size, kTextForm); }));
        peer.time([&] { EVP_EncodeBlock(reinterpret_cast<unsigned char *>(other.data()), sample().GetData(), kSize); });
        if (!text.starts_with(expected) || !other.starts_with(expected))
            state.SkipWithError("the texts differ");
        floor.run();
    }
    floor.tell(state, watch, &peer);
}

void decode(benchmark::State &state)
{
    std::string const text = encoded();
    std::string const padded = text + std::string((4 - text.size() % 4) % 4, '=');
    CByteArray bytes;
    bytes.SetSize(kSize);
    CByteArray other;
    other.SetSize(kSize + 3);
    Floor floor;
    Stopwatch watch;
    Stopwatch peer;
    for ([[maybe_unused]] auto const turn : state)
    {
        int size = kSize;
        state.SetIterationTime(
            watch.time([&] { base64Decode(text.data(), static_cast<int>(text.size()), bytes.GetData(), &size); }));
        peer.time([&] {
            EVP_DecodeBlock(other.GetData(), reinterpret_cast<unsigned char const *>(padded.data()),
                            static_cast<int>(padded.size()));
        });
        if (std::memcmp(bytes.GetData(), sample().GetData(), kSize) != 0 ||
            std::memcmp(other.GetData(), sample().GetData(), kSize) != 0)
            state.SkipWithError("the bytes differ");
        floor.run();
    }
    floor.tell(state, watch, &peer);
}

void savePicture(benchmark::State &state)
{
    OKTDbPicture picture;
    picture.setPictureData(sample());
    Floor floor;
    Stopwatch watch;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTMemoryFiler filer;
        FilerStatusDb status = eFilerNoFiler;
        state.SetIterationTime(watch.time([&] { status = picture.xmlOut(&filer); }));
        if (status != eFilerOk)
            state.SkipWithError("the picture was not written");
        floor.run();
    }
    floor.tell(state, watch);
}

void loadPicture(benchmark::State &state)
{
    OKTDbPicture picture;
    picture.setPictureData(sample());
    OKTMemoryFiler writer;
    picture.xmlOut(&writer);
    CByteArray const image = writer.takeBytes();
    Floor floor;
    Stopwatch watch;
    for ([[maybe_unused]] auto const turn : state)
    {
        OKTMemoryFiler filer;
        filer.readInPlace(image);
        OKTDbPicture read;
        FilerStatusDb status = eFilerNoFiler;
        state.SetIterationTime(watch.time([&] { status = read.xmlIn(&filer); }));
        if (status != eFilerOk)
            state.SkipWithError("the picture was not read");
        floor.run();
    }
    floor.tell(state, watch);
}

BENCHMARK(encode)->Name("base64 encode, 20 MB")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(decode)->Name("base64 decode, 20 MB")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(savePicture)->Name("picture of 20 MB, write")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(loadPicture)->Name("picture of 20 MB, read")->UseManualTime()->Unit(benchmark::kMillisecond);
} // namespace
