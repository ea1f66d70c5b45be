// SPDX-License-Identifier: MIT
// The memory filer writes and reads the frame of an id as a whole. A filer derived from it, which adds nothing, goes the long way
// through the protocol: both must agree in every byte, result and position. So it is with the head of a class frame, which is
// made once for each literal: a name that is no literal goes the long way.

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace
{
class LongWayFiler : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;
};

std::vector<BYTE> bytesOf(OKTMemoryFiler &filer)
{
    CByteArray bytes;
    filer.saveFiler(bytes);
    return {bytes.GetData(), bytes.GetData() + bytes.GetSize()};
}

CByteArray arrayOf(std::vector<BYTE> const &bytes)
{
    CByteArray array;
    array.SetSize(static_cast<int>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), array.GetData());
    return array;
}

std::vector<BYTE> frameOf(OKTDbObjectId const &id)
{
    OKTMemoryFiler filer;
    filer.writeObjectId(u"m_objectId", id);
    return bytesOf(filer);
}

struct Reading
{
    bool done;
    _GUID guid;
    bool hasPool;
    long position;
};

template <typename Filer> Reading readFrom(std::vector<BYTE> const &bytes, OKTDbPool &pool)
{
    Filer filer(&pool);
    filer.loadFiler(arrayOf(bytes));
    OKTDbObjectId id = OKTDbObjectId::createObjectId(nullptr);
    bool const done = filer.readObjectId(u"m_objectId", id);
    return {done, id.getGuid(), id.getPool() == &pool, filer.GetFilerPosition()};
}

void expectSame(std::vector<BYTE> const &bytes)
{
    OKTDbPool pool;
    Reading const whole = readFrom<OKTMemoryFiler>(bytes, pool);
    Reading const longWay = readFrom<LongWayFiler>(bytes, pool);
    EXPECT_EQ(whole.done, longWay.done);
    EXPECT_EQ(std::memcmp(&whole.guid, &longWay.guid, sizeof(_GUID)), 0);
    EXPECT_EQ(whole.hasPool, longWay.hasPool);
    EXPECT_EQ(whole.position, longWay.position);
}
} // namespace

TEST(MemoryFilerFrames, WriteObjectId_BothWays_SameBytes)
{
    for (int i = 0; i < 200; ++i)
    {
        OKTDbObjectId const id = i == 0 ? OKTDbObjectId() : OKTDbObjectId::createObjectId(nullptr);
        LongWayFiler longWay;
        EXPECT_TRUE(longWay.writeObjectId(u"m_objectId", id));
        EXPECT_EQ(frameOf(id), bytesOf(longWay));
    }
}

TEST(MemoryFilerFrames, ReadObjectId_EveryPrefix_SameAnswer)
{
    std::vector<BYTE> bytes = frameOf(OKTDbObjectId::createObjectId(nullptr));
    bytes.push_back(VarMembersEnd);
    while (!bytes.empty())
    {
        expectSame(bytes);
        bytes.pop_back();
    }
    expectSame(bytes);
}

TEST(MemoryFilerFrames, ReadObjectId_EachByteChanged_SameAnswer)
{
    std::vector<BYTE> const frame = frameOf(OKTDbObjectId::createObjectId(nullptr));
    for (std::size_t place = 0; place < frame.size(); ++place)
    {
        for (int value = 0; value < 256; ++value)
        {
            std::vector<BYTE> bytes = frame;
            bytes[place] = static_cast<BYTE>(value);
            expectSame(bytes);
        }
    }
}

TEST(MemoryFilerFrames, ReadObjectId_RandomDamage_SameAnswer)
{
    std::mt19937 random(20);
    std::vector<BYTE> const frame = frameOf(OKTDbObjectId::createObjectId(nullptr));
    for (int round = 0; round < 5000; ++round)
    {
        std::vector<BYTE> bytes = frame;
        for (int change = 0; change < 3; ++change)
            bytes[random() % bytes.size()] = static_cast<BYTE>(random() % 12);
        bytes.resize(bytes.size() - random() % 4);
        expectSame(bytes);
    }
}

// --- Heads of class frames ---

TEST(MemoryFilerFrames, BeginWriteClass_LiteralOrNot_SameBytes)
{
    for (int round = 0; round < 3; ++round)
    {
        OKTMemoryFiler literal;
        OKTMemoryFiler text;
        for (int version : {1, 6, -1})
        {
            EXPECT_TRUE(literal.beginWriteClass(u"Object", u"OKTDbParameter", version));
            EXPECT_TRUE(text.beginWriteClass(u"Object", CString(u"OKTDbParameter").Owned(), version));
            EXPECT_TRUE(literal.beginWriteClass(u"Object", u"OKTDbCategory", version));
            EXPECT_TRUE(text.beginWriteClass(u"Object", CString(u"OKTDbCategory").Owned(), version));
            EXPECT_TRUE(literal.beginWriteClass(u"Object", u"", version));
            EXPECT_TRUE(text.beginWriteClass(u"Object", CString(), version));
        }
        EXPECT_EQ(bytesOf(literal), bytesOf(text));
    }
}

namespace
{
void expectSameHead(std::vector<BYTE> const &bytes)
{
    OKTMemoryFiler literal;
    OKTMemoryFiler text;
    literal.loadFiler(arrayOf(bytes));
    text.loadFiler(arrayOf(bytes));
    EXPECT_EQ(literal.beginReadClass(u"Object", u"OKTDbObject"),
              text.beginReadClass(u"Object", CString(u"OKTDbObject").Owned()));
    EXPECT_EQ(literal.GetFilerPosition(), text.GetFilerPosition());
}
} // namespace

TEST(MemoryFilerFrames, BeginReadClass_EveryPrefixAndEveryByteChanged_LiteralOrNotTheSame)
{
    OKTMemoryFiler filer;
    filer.beginWriteClass(u"Object", u"OKTDbObject", 1);
    filer.endWriteClass();
    std::vector<BYTE> const frame = bytesOf(filer);
    for (std::size_t length = 0; length <= frame.size(); ++length)
        expectSameHead({frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(length)});
    for (std::size_t place = 0; place < frame.size(); ++place)
    {
        for (int value = 0; value < 256; ++value)
        {
            std::vector<BYTE> bytes = frame;
            bytes[place] = static_cast<BYTE>(value);
            expectSameHead(bytes);
        }
    }
}
