// SPDX-License-Identifier: MIT
#include <oktplatform/oktguid.h>

#include "support/failingrandom.h"
#include "support/printers.h"
#include "support/units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{
using Bytes = std::array<unsigned char, 16>;

Bytes bytesOf(GUID const &guid)
{
    Bytes bytes;
    std::memcpy(bytes.data(), &guid, bytes.size());
    return bytes;
}

constexpr GUID kKnown = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
} // namespace

// --- Bytes -------------------------------------------------------------------------------------------------------------------

TEST(GuidBytes, InAFile_NumbersWithTheLowestByteFirst)
{
    constexpr Bytes kExpected = {0x90, 0xBF, 0x33, 0x29, 0x36, 0x7B, 0xD2, 0x11,
                                 0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60};
    auto const stored = OktFileBytesOfGuid(kKnown);
    EXPECT_TRUE(std::equal(kExpected.begin(), kExpected.end(), &stored[0]));
}

// --- Text --------------------------------------------------------------------------------------------------------------------

TEST(GuidText, Write_GivesTheRegistryForm)
{
    OLECHAR text[64];
    EXPECT_EQ(StringFromGUID2(kKnown, text, 64), 39);
    EXPECT_EQ(u16(text), u"{2933BF90-7B36-11D2-B20E-00C04F983E60}");
    EXPECT_EQ(StringFromGUID2(GUID{}, text, 39), 39);
    EXPECT_EQ(u16(text), u"{00000000-0000-0000-0000-000000000000}");
}

TEST(GuidText, Write_WithoutRoom_GivesNothing)
{
    OLECHAR text[64];
    std::fill(std::begin(text), std::end(text), u'x');
    for (int const size : {38, 1, 0, -1})
        EXPECT_EQ(StringFromGUID2(kKnown, text, size), 0) << size;
    EXPECT_EQ(std::count(std::begin(text), std::end(text), u'x'), 64);
#if !defined(_WIN32) // ole32 writes there all the same
    EXPECT_EQ(StringFromGUID2(kKnown, nullptr, 64), 0);
#endif
}

TEST(GuidText, Read_InEitherCase)
{
    for (char16_t const *const text : {u"{2933BF90-7B36-11D2-B20E-00C04F983E60}", u"{2933bf90-7b36-11d2-b20e-00c04f983e60}",
                                       u"{2933Bf90-7b36-11D2-b20E-00c04F983e60}"})
    {
        GUID guid{};
        EXPECT_EQ(CLSIDFromString(text, &guid), S_OK);
        EXPECT_EQ(guid, kKnown);
    }
}

TEST(GuidText, Read_Malformed_GivesTheNullIdAndAFailure)
{
    std::vector<std::u16string> texts = {
        u"",
        u"{}",
        u"2933BF90-7B36-11D2-B20E-00C04F983E60",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E60",
        u"2933BF90-7B36-11D2-B20E-00C04F983E60}",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E60} ",
        u" {2933BF90-7B36-11D2-B20E-00C04F983E60}",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E60}x",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E600}",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E6}",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E6G}",
        u"{2933BF90-7B36-11D2-B20E-00C04F983E6 }",
        u"{2933BF907B3611D2B20E00C04F983E60}",
        u"{2933BF9-07B36-11D2-B20E-00C04F983E60}",
        u"{2933BF90-7B36-11D2-B20E000C04F983E60}",
        u"(2933BF90-7B36-11D2-B20E-00C04F983E60)",
        u"{+933BF90-7B36-11D2-B20E-00C04F983E60}",
        u"{0x33BF90-7B36-11D2-B20E-00C04F983E60}",
        u"{\uFF12933BF90-7B36-11D2-B20E-00C04F983E6}",
    };
    std::u16string const whole = u"{2933BF90-7B36-11D2-B20E-00C04F983E60}";
    for (std::size_t length = 0; length < whole.size(); ++length)
        texts.push_back(whole.substr(0, length));
    for (std::size_t place = 0; place < whole.size(); ++place)
    {
        std::u16string text = whole;
        text[place] = u'!';
        texts.push_back(text);
        text[place] = static_cast<char16_t>(whole[place] + 0x100); // the same low byte
        texts.push_back(text);
    }
    for (std::u16string const &text : texts)
    {
        GUID guid = kKnown;
        EXPECT_EQ(CLSIDFromString(text.c_str(), &guid), CO_E_CLASSSTRING) << CString(text.c_str()).ToUtf8();
#if !defined(_WIN32) // ole32 leaves what it had read by then
        EXPECT_EQ(guid, GUID{}) << CString(text.c_str()).ToUtf8();
#endif
    }
    GUID guid = kKnown;
#if defined(_WIN32) // no text is the null id there
    EXPECT_EQ(CLSIDFromString(nullptr, &guid), S_OK);
#else
    EXPECT_EQ(CLSIDFromString(nullptr, &guid), CO_E_CLASSSTRING);
#endif
    EXPECT_EQ(guid, GUID{});
    EXPECT_EQ(CLSIDFromString(u"{}", nullptr), E_INVALIDARG);
}

TEST(GuidText, EveryNewId_GoesThereAndBack)
{
    for (int i = 0; i < 1000; ++i)
    {
        GUID guid;
        ASSERT_EQ(CoCreateGuid(&guid), S_OK);
        OLECHAR text[39];
        ASSERT_EQ(StringFromGUID2(guid, text, 39), 39);
        GUID back;
        ASSERT_EQ(CLSIDFromString(text, &back), S_OK);
        ASSERT_EQ(back, guid);
    }
}

// --- New ids -----------------------------------------------------------------------------------------------------------------

TEST(NewGuid, IsRandomOfVersionFour)
{
    unsigned char anyBit[16] = {};
    unsigned char allBits[16];
    std::fill(std::begin(allBits), std::end(allBits), static_cast<unsigned char>(0xFF));
    for (int i = 0; i < 2000; ++i)
    {
        GUID guid;
        ASSERT_EQ(CoCreateGuid(&guid), S_OK);
        ASSERT_EQ(guid.Data3 >> 12, 4);
        ASSERT_EQ(guid.Data4[0] >> 6, 2);
        Bytes const bytes = bytesOf(guid);
        for (std::size_t k = 0; k < bytes.size(); ++k)
        {
            anyBit[k] = static_cast<unsigned char>(anyBit[k] | bytes[k]);
            allBits[k] = static_cast<unsigned char>(allBits[k] & bytes[k]);
        }
    }
    unsigned char const fixed[16] = {0, 0, 0, 0, 0, 0, 0, 0xF0, 0xC0};
    for (std::size_t k = 0; k < 16; ++k)
    {
        EXPECT_EQ(anyBit[k] | fixed[k], 0xFF) << k; // each free bit was set once
        EXPECT_EQ(allBits[k] & ~fixed[k], 0) << k;  // and clear once
    }
    EXPECT_EQ(CoCreateGuid(nullptr), E_INVALIDARG);
}

TEST(NewGuid, ManyIdsOfManyThreads_AreDifferent)
{
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kIds = 20000;
    std::vector<std::vector<Bytes>> made(kThreads);
    std::vector<std::thread> threads;
    for (std::vector<Bytes> &ids : made)
    {
        threads.emplace_back([&ids] {
            for (std::size_t i = 0; i < kIds; ++i)
            {
                GUID guid;
                ASSERT_EQ(CoCreateGuid(&guid), S_OK);
                ids.push_back(bytesOf(guid));
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    std::set<Bytes> all;
    for (std::vector<Bytes> const &ids : made)
        all.insert(ids.begin(), ids.end());
    EXPECT_EQ(all.size(), kThreads * kIds);
}

#if !defined(_WIN32)

TEST(NewGuid, ForkedProcess_DoesNotRepeatItsParent)
{
    GUID first;
    ASSERT_EQ(CoCreateGuid(&first), S_OK); // a batch is drawn and mostly left
    constexpr std::size_t kIds = 300;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        GUID ids[kIds];
        for (GUID &id : ids)
        {
            if (CoCreateGuid(&id) != S_OK)
                _exit(1);
        }
        _exit(write(ends[1], ids, sizeof ids) == static_cast<ssize_t>(sizeof ids) ? 0 : 2);
    }
    std::set<Bytes> all{bytesOf(first)};
    for (std::size_t i = 0; i < kIds; ++i)
    {
        GUID guid;
        ASSERT_EQ(CoCreateGuid(&guid), S_OK);
        all.insert(bytesOf(guid));
    }
    GUID theirs[kIds] = {};
    std::size_t done = 0;
    while (done < sizeof theirs)
    {
        ssize_t const step = read(ends[0], reinterpret_cast<char *>(theirs) + done, sizeof theirs - done);
        ASSERT_GT(step, 0);
        done += static_cast<std::size_t>(step);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(ends[0]);
    close(ends[1]);
    for (GUID const &guid : theirs)
        all.insert(bytesOf(guid));
    EXPECT_EQ(all.size(), 1 + 2 * kIds);
}

TEST(NewGuid, RandomSourceFails_GivesTheNullIdAndAFailure)
{
    FailingRandom const failing;
    std::thread([] {
        for (int i = 0; i < 3; ++i)
        {
            GUID guid = kKnown;
            EXPECT_LT(CoCreateGuid(&guid), 0);
            EXPECT_EQ(guid, GUID{});
        }
    }).join();
}

TEST(NewGuid, RandomSourceComesBack_GivesIdsAgain)
{
    std::thread([] {
        GUID guid;
        {
            FailingRandom const failing;
            EXPECT_LT(CoCreateGuid(&guid), 0);
        }
        EXPECT_EQ(CoCreateGuid(&guid), S_OK);
        EXPECT_NE(bytesOf(guid), bytesOf(GUID{}));
    }).join();
}

#endif
