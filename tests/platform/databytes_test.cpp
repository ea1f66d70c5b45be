// SPDX-License-Identifier: MIT
// Data bytes that are taken for a double whatever they hold: with the same outcome in either byte order.

#include <oktplatform/oktdatabytes.h>

#include <gtest/gtest.h>

#include <bit>
#include <limits>

namespace
{
constexpr double kLeast = std::numeric_limits<double>::denorm_min();

tagVARIANT variantOf(VARTYPE type)
{
    tagVARIANT variant;
    VariantInit(&variant);
    variant.llVal = 0;
    variant.vt = type;
    return variant;
}
} // namespace

TEST(DataBytes, WholeNumbers_LeastDoublesOfThatNumber)
{
    tagVARIANT number = variantOf(VT_I4);
    number.lVal = 12345;
    EXPECT_EQ(OktDataAsDouble(number), 12345 * kLeast);
    OktSetDataAsDouble(number, OktDataAsDouble(number) / 10);
    EXPECT_EQ(number.lVal, 1234);

    number = variantOf(VT_I2);
    number.iVal = 300;
    OktSetDataAsDouble(number, OktDataAsDouble(number) * 1000);
    EXPECT_EQ(number.iVal, static_cast<short>(300000 & 0xFFFF));
}

TEST(DataBytes, Real_Itself)
{
    tagVARIANT number = variantOf(VT_R8);
    number.dblVal = -2.5;
    EXPECT_EQ(OktDataAsDouble(number), -2.5);
    OktSetDataAsDouble(number, 0.1);
    EXPECT_EQ(number.dblVal, 0.1);
}

TEST(DataBytes, ElementsOfAnArray_LowestFirst)
{
    std::int32_t const pair[2] = {0x04030201, 0x3FF00000};
    EXPECT_EQ(std::bit_cast<std::uint64_t>(OktDoubleOfBytes(pair, sizeof pair[0])), 0x3FF0000004030201u);
    std::int16_t const four[4] = {1, 2, 3, 0x4000};
    EXPECT_EQ(std::bit_cast<std::uint64_t>(OktDoubleOfBytes(four, sizeof four[0])), 0x4000000300020001u);
    double const one = 1;
    EXPECT_EQ(OktDoubleOfBytes(&one, sizeof one), 1);
}
