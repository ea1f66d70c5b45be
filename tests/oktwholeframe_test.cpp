// SPDX-License-Identifier: MIT
// Frames that go in and out as a whole, held against the same frames member by member: a filer of another class takes the
// latter path.

#include "support/alloccount.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/spareblock.h"

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/okttexttable.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktplatform/oktcodepage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
/// The same filer, of which nobody can know what it overrides.
class MemberFiler : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;
};

struct Written
{
    FilerStatusDb status = eFilerOk;
    CByteArray bytes;
};

template <typename Filer> Written write(OKTDbObject const &object)
{
    Filer filer;
    Written written;
    written.status = object.xmlOut(&filer);
    written.bytes = filer.takeBytes();
    return written;
}

template <typename Filer> CByteArray written(OKTDbObject const &object) { return write<Filer>(object).bytes; }

struct Outcome
{
    FilerStatusDb status = eFilerOk;
    long position = 0;
};

template <typename Filer> Outcome read(OKTDbObject &object, CByteArray const &bytes, OKTDbPool *pool)
{
    Filer filer(pool);
    filer.readInPlace(bytes);
    Outcome outcome;
    outcome.status = object.xmlIn(&filer);
    outcome.position = filer.GetFilerPosition();
    return outcome;
}

std::string bytesOf(tagVARIANT const &variant)
{
    if (variant.vt == VT_BSTR)
        return "text " + CString(variant.bstrVal).ToUtf8();
    return std::to_string(variant.vt) + ' ' +
           std::string(reinterpret_cast<char const *>(&variant.dblVal), sizeof variant.dblVal);
}

void expectSame(OKTDbParameter const &left, OKTDbParameter const &right)
{
    EXPECT_EQ(left.objectId(), right.objectId());
    EXPECT_EQ(left.objectId().getPool(), right.objectId().getPool());
    EXPECT_EQ(left.UserName(), right.UserName());
    EXPECT_EQ(left.Type(), right.Type());
    EXPECT_EQ(bytesOf(left.Value()), bytesOf(right.Value()));
    EXPECT_EQ(left.ListIndex(), right.ListIndex());
    EXPECT_EQ(left.Category(), right.Category());
    EXPECT_EQ(left.Category().getPool(), right.Category().getPool());
    EXPECT_EQ(left.OwnerId(), right.OwnerId());
    EXPECT_EQ(left.OwnerId().getPool(), right.OwnerId().getPool());
    EXPECT_EQ(left.Expression(), right.Expression());
    EXPECT_EQ(left.Description(), right.Description());
    IdArray const leftIds = left.TabParams();
    IdArray const rightIds = right.TabParams();
    ASSERT_EQ(leftIds.getSize(), rightIds.getSize());
    for (int i = 0; i < leftIds.getSize(); ++i)
    {
        EXPECT_EQ(leftIds.at(i), rightIds.at(i));
        EXPECT_EQ(leftIds.at(i).getPool(), rightIds.at(i).getPool());
    }
}

class WholeFrame : public ::testing::Test
{
protected:
    WholeFrame()
    {
        m_pool.setMetricsFactor(1000.0);
        m_other.setMetricsFactor(0.001);
    }

    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned int>(limit)); }

    OKTDbObjectId anyId()
    {
        OKTDbObjectId const made = OKTDbObjectId::createObjectId(below(4) == 0 ? &m_other : &m_pool);
        return below(5) == 0 ? OKTDbObjectId() : made;
    }

    CString anyText()
    {
        std::u16string units;
        int const length =
            below(30) == 0 ? std::array{65535, 65536, 70000, 30000}[static_cast<std::size_t>(below(4))] : below(40);
        for (int i = 0; i < length; ++i)
            units += below(60) == 0 ? u'\0' : static_cast<char16_t>(below(3) == 0 ? below(65536) : 'a' + below(6));
        return CString(units.data(), length);
    }

    tagVARIANT anyNumber()
    {
        static constexpr VARTYPE kKinds[] = {VT_I2, VT_I4, VT_R4, VT_R8, VT_BOOL, VT_EMPTY, VT_NULL, VT_DATE, VT_I8};
        tagVARIANT value;
        VariantInit(&value);
        value.vt = kKinds[below(9)];
        value.dblVal = below(2) == 0 ? 12.5 * below(1000) : -1.0 / (1 + below(77));
        return value;
    }

    void fill(OKTDbParameter &parameter)
    {
        parameter.setObjectId(anyId());
        parameter.setType(below(3) == 0 ? static_cast<int>(m_random()) : below(90) - 2);
        if (below(5) == 0)
            parameter.setValue(anyText(), 0);
        else
            parameter.setValue(anyNumber());
        parameter.setListIndex(below(50) - 3);
        parameter.setUserName(anyText(), false);
        parameter.setCategory(anyId());
        parameter.setOwnerId(anyId());
        parameter.setExpression(anyText());
        parameter.setDescription(anyText());
        IdArray ids;
        for (int i = below(4); i > 0; --i)
            ids.append(anyId());
        parameter.setTabParams(ids);
    }

    std::mt19937 m_random{7};
    OKTDbPool m_pool;
    OKTDbPool m_other;
};
} // namespace

TEST_F(WholeFrame, Parameter_WrittenOnBothRoads_SameBytes)
{
    for (int round = 0; round < 2000; ++round)
    {
        OKTDbParameter parameter;
        fill(parameter);
        Written const whole = write<OKTMemoryFiler>(parameter);
        Written const members = write<MemberFiler>(parameter);
        ASSERT_EQ(whole.status, members.status) << "round " << round;
        ASSERT_EQ(whole.bytes, members.bytes) << "round " << round;
    }
}

TEST_F(WholeFrame, Parameter_ReadOnBothRoads_SameMembersStatusAndPosition)
{
    for (int round = 0; round < 6000; ++round)
    {
        OKTDbParameter parameter;
        fill(parameter);
        MemberFiler filer;
        parameter.xmlOut(&filer);
        filer.writeBool(CString(), true); // what follows the frame in a stream
        CByteArray bytes = filer.takeBytes();
        int const damage = below(4);
        if (damage == 1)
            bytes[below(bytes.GetSize())] = static_cast<BYTE>(below(256));
        else if (damage == 2)
            bytes[below(std::min(bytes.GetSize(), 400))] ^= static_cast<BYTE>(1 << below(8));
        else if (damage == 3)
            bytes.SetSize(below(bytes.GetSize()));

        OKTDbParameter whole;
        OKTDbParameter members;
        if (below(3) == 0)
        {
            fill(whole); // the frame is read over what was there
            members = whole;
        }
        Outcome const first = read<OKTMemoryFiler>(whole, bytes, &m_pool);
        Outcome const second = read<MemberFiler>(members, bytes, &m_pool);
        ASSERT_EQ(first.status, second.status) << "round " << round;
        ASSERT_EQ(first.position, second.position) << "round " << round;
        expectSame(whole, members);
        ASSERT_FALSE(HasFailure()) << "round " << round << ", damage " << damage;
    }
}

TEST_F(WholeFrame, Category_ListOnBothRoads_SameBytesAndMembers)
{
    for (int round = 0; round < 1000; ++round)
    {
        OKTDbCategory category;
        category.setObjectId(anyId());
        category.setCategoryName(anyText());
        for (int i = below(30); i > 0; --i)
            category.appendParameter(anyId());
        CByteArray bytes = written<OKTMemoryFiler>(category);
        ASSERT_EQ(bytes, written<MemberFiler>(category));
        if (below(2) == 0)
            bytes[below(bytes.GetSize())] ^= static_cast<BYTE>(1 << below(8));
        else if (below(2) == 0)
            bytes.SetSize(below(bytes.GetSize()));
        OKTDbCategory whole;
        OKTDbCategory members;
        Outcome const first = read<OKTMemoryFiler>(whole, bytes, &m_pool);
        Outcome const second = read<MemberFiler>(members, bytes, &m_pool);
        ASSERT_EQ(first.status, second.status) << "round " << round;
        ASSERT_EQ(first.position, second.position) << "round " << round;
        ASSERT_EQ(whole.CategoryName(), members.CategoryName());
        ASSERT_EQ(whole.parameterCount(), members.parameterCount());
        for (int i = 0; i < whole.parameterCount(); ++i)
            ASSERT_EQ(whole.parameterAt(i), members.parameterAt(i));
    }
}

TEST_F(WholeFrame, Parameter_EightBitTexts_AsMembers)
{
    OKTDbParameter parameter;
    fill(parameter);
    parameter.setValue(2.5, 0);
    parameter.setUserName(u"Haken \u00E4", false);
    parameter.setExpression(u"");
    parameter.setDescription(u"x");
    auto const bytes = [&](OKTMemoryFiler &&filer) {
        filer.setIsAnsiString(true);
        EXPECT_EQ(parameter.xmlOut(&filer), eFilerOk);
        return filer.takeBytes();
    };
    CByteArray const whole = bytes(OKTMemoryFiler());
    EXPECT_EQ(whole, bytes(MemberFiler()));
    EXPECT_NE(whole, written<OKTMemoryFiler>(parameter));
}

TEST_F(WholeFrame, Parameter_CodePageWithoutAscii_AsMembers)
{
    OKTDbParameter parameter;
    fill(parameter);
    parameter.setValue(2.5, 0);
    OktSetThreadCodePage(37);
    CByteArray const whole = written<OKTMemoryFiler>(parameter);
    CByteArray const members = written<MemberFiler>(parameter);
    OktSetThreadCodePage(1252);
    EXPECT_EQ(whole, members);
    EXPECT_NE(whole, written<OKTMemoryFiler>(parameter));
}

TEST_F(WholeFrame, Pieces_Literal)
{
    constexpr auto kPiece = beginClass("AB", 3) + beginMembers(2) + kEndMembers + kEndClass;
    constexpr OKTBytes<19> kExpected = {6, 5, 2, 0, 'A', 'B', 2, 3, 0, 0, 0, 8, 2, 2, 0, 0, 0, 9, 7};
    EXPECT_EQ(kPiece, kExpected);
}

TEST_F(WholeFrame, Texts_OfOneLoad_EqualOnesShareTheirUnits)
{
    OKTDbPool source;
    for (int i = 0; i < 3; ++i)
    {
        auto *const parameter = new OKTDbParameter;
        parameter->setUserName(i < 2 ? u"Cover at the top" : u"Cover at the end", false);
        parameter->setDescription(i < 2 ? u"x" : u"y");
        ASSERT_TRUE(source.appendObject(parameter));
    }
    IdMap translated;
    CByteArray image;
    ASSERT_TRUE(source.saveFiler(image, translated));
    OKTDbPool pool;
    ASSERT_TRUE(pool.loadFiler(image));
    std::vector<CString> top;
    for (int i = 0; i < 3; ++i)
        if (auto const *const parameter = OKTDbParameter::cast(pool.objectAt(i)); parameter->UserName() == u"Cover at the top")
            top.push_back(parameter->UserName());
    ASSERT_EQ(top.size(), 2u);
    EXPECT_EQ(top[0].GetString(), top[1].GetString());

    // A text that one of them changes stays as it was in the other.
    for (int i = 0; i < 3; ++i)
        if (auto *const parameter = OKTDbParameter::cast(pool.objectAt(i)); parameter->UserName() == u"Cover at the top")
        {
            parameter->setUserName(parameter->UserName() + u"!", false);
            break;
        }
    EXPECT_EQ(top[0], u"Cover at the top");
    EXPECT_EQ(top[1], u"Cover at the top");
}

TEST(TextTable, Find_ManyTexts_EachItself)
{
    auto const table = std::make_unique<OKTTextTable>(0);
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round)
    {
        std::u16string units(random() % 70, u'\0');
        for (char16_t &unit : units)
            unit = static_cast<char16_t>('a' + random() % 3);
        OKTStoredText const stored = {reinterpret_cast<BYTE const *>(units.data()), static_cast<int>(units.size())};
        CString found;
        ASSERT_TRUE(table->find(stored, found));
        ASSERT_EQ(found, CString(units.data(), static_cast<int>(units.size())));
    }
    std::u16string const broken(u"abc\0def", 7);
    CString untouched = u"as it was";
    EXPECT_FALSE(table->find({reinterpret_cast<BYTE const *>(broken.data()), 7}, untouched));
    EXPECT_EQ(untouched, u"as it was");
}
