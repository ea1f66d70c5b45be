// SPDX-License-Identifier: MIT
#pragma once

#include <oktc/oktc.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

// What the C interface gives, as values that a test compares.

#define ASSERT_OK(call) ASSERT_EQ(call, OKTC_OK) << oktcLastMessage()
#define EXPECT_OK(call) EXPECT_EQ(call, OKTC_OK) << oktcLastMessage()

/// The text of a call with these two results at its end; the name of the status where there is none.
template <typename Ask> std::string textOf(Ask ask)
{
    char *text = nullptr;
    std::uint64_t length = 77;
    OktcStatus const status = ask(&text, &length);
    if (status != OKTC_OK)
    {
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(length, 0u);
        return std::string("<") + oktcStatusName(status) + ">";
    }
    EXPECT_EQ(text[length], 0);
    std::string result(text, length);
    oktcFree(text);
    return result;
}

inline std::string member(OktcHandle handle, std::int32_t number)
{
    return textOf([&](char **text, std::uint64_t *length) { return oktcText(handle, number, text, length); });
}

inline std::string escapedMember(OktcHandle handle, std::int32_t number)
{
    return textOf([&](char **text, std::uint64_t *length) { return oktcEscapedText(handle, number, text, length); });
}

inline std::string idText(std::uint8_t const *id)
{
    return textOf([&](char **text, std::uint64_t *length) { return oktcIdToText(id, text, length); });
}

/// 16 bytes that can be copied.
struct TestId
{
    std::uint8_t bytes[16] = {};

    std::string text() const { return idText(bytes); }
    friend bool operator==(TestId const &left, TestId const &right) { return left.text() == right.text(); }
};

inline TestId idNamed(std::string const &text)
{
    TestId id;
    EXPECT_OK(oktcIdFromText(text.c_str(), -1, id.bytes));
    return id;
}

inline TestId reference(OktcHandle handle, std::int32_t number)
{
    TestId id;
    EXPECT_OK(oktcReference(handle, number, id.bytes));
    return id;
}

inline TestId idOf(OktcHandle handle) { return reference(handle, OKTC_ID); }

/// Whether the message ends so. It begins with a path, which systems write in their own ways.
inline testing::AssertionResult isTold(std::string const &end)
{
    std::string const message = oktcLastMessage();
    return message.ends_with(end) ? testing::AssertionSuccess() : testing::AssertionFailure() << "the message is: " << message;
}

/// The bytes of a call with these two results at its end.
template <typename Ask> std::string bytesOf(Ask ask)
{
    std::uint8_t *bytes = nullptr;
    std::uint64_t length = 0;
    EXPECT_OK(ask(&bytes, &length));
    std::string const result(reinterpret_cast<char const *>(bytes), length);
    oktcFree(bytes);
    return result;
}

inline std::string image(OktcPool pool)
{
    return bytesOf([&](std::uint8_t **bytes, std::uint64_t *length) { return oktcPoolImage(pool, bytes, length); });
}

inline std::vector<TestId> listOf(OktcHandle handle, std::int32_t number)
{
    std::uint8_t *ids = nullptr;
    std::uint64_t count = 0;
    EXPECT_OK(oktcList(handle, number, &ids, &count));
    std::vector<TestId> result(count);
    for (std::uint64_t i = 0; i < 16 * count; ++i)
        result[i / 16].bytes[i % 16] = ids[i];
    oktcFree(ids);
    return result;
}

inline std::vector<OktcObject> objectsOf(OktcPool pool, char const *className)
{
    OktcObject *objects = nullptr;
    std::uint64_t count = 0;
    EXPECT_OK(oktcPoolObjects(pool, className, &objects, &count));
    std::vector<OktcObject> const result(objects, objects + count);
    oktcFree(objects);
    return result;
}

/// A pool that is closed at the end.
struct TestPool
{
    TestPool() { EXPECT_OK(oktcPoolCreate(&pool)); }
    explicit TestPool(OktcPool opened) : pool(opened) {}
    TestPool(TestPool const &) = delete;
    TestPool &operator=(TestPool const &) = delete;
    ~TestPool() { oktcPoolClose(pool); }

    OktcObject parameter(std::int32_t type = 6)
    {
        OktcObject made = 0;
        EXPECT_OK(oktcParameterCreate(pool, type, &made));
        EXPECT_OK(oktcParameterSetInt(made, 0));
        return made;
    }
    OktcObject object(char const *className)
    {
        OktcObject made = 0;
        EXPECT_OK(oktcObjectCreate(pool, className, &made));
        return made;
    }
    std::uint64_t count()
    {
        std::uint64_t number = 0;
        EXPECT_OK(oktcPoolCount(pool, &number));
        return number;
    }

    OktcPool pool = 0;
};

inline OktcPool opened(std::string const &path, double factor = 1.0)
{
    OktcPool pool = 0;
    EXPECT_OK(oktcPoolOpen(path.c_str(), factor, &pool));
    return pool;
}
