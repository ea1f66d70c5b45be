// SPDX-License-Identifier: MIT
#include <oktrebar/formula.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace okt;

namespace
{

Variables const kSides = {{"A", 300}, {"B", 200}, {"d", 12}, {"in", 1}};

struct Good
{
    char const *formula;
    double value;
};

TEST(OktFormula, Evaluate_FormulasOfTables_Value)
{
    Good const rows[] = {
        {"A", 300},
        {"2A", 600},
        {"0.5A", 150},
        {".5A", 150},
        {"A+B", 500},
        {"A-B-d", 88},
        {"-A+B", -100},
        {"+A", 300},
        {"A-(B-d)", 112},
        {"A+2(B)-4d", 652},
        {"2(A+B+(d))", 1024},
        {"2 A", 600},
        {"A B", 60000},
        {"A*B/2", 30000},
        {"12/3/2", 2},
        {"2A/B", 3},
        {"max(4 d; 2.5 in)", 48},
        {"max(0.1d; 2.5 in)", 2.5},
        {"2A+max(16d;160)", 792},
        {" A ", 300},
    };
    for (Good const &row : rows)
        EXPECT_DOUBLE_EQ(evaluate(row.formula, kSides), row.value) << row.formula;
}

TEST(OktFormula, Evaluate_Pi_CircumferenceOfRing)
{
    EXPECT_NEAR(evaluate("pi(A-d)+B", kSides), 1104.7786842338604, 1e-9);
    EXPECT_NEAR(evaluate("2 pi(A-d)", kSides), 1809.5573684677209, 1e-9);
}

struct Bad
{
    char const *formula;
    std::size_t position;
    char const *reason;
};

TEST(OktFormula, Evaluate_NoFormula_ErrorWithPlace)
{
    Bad const rows[] = {
        {"", 0, "the formula ends too early"},
        {"A+", 2, "the formula ends too early"},
        {"A+*B", 2, "unexpected '*' in the formula"},
        {"(A", 2, "')' is missing in the formula"},
        {"A)", 1, "unexpected ')' in the formula"},
        {"A+Q", 2, "the formula names 'Q', which is not known here"},
        {"AB", 0, "the formula names 'AB', which is not known here"},
        {"a", 0, "the formula names 'a', which is not known here"},
        {"max(A)", 5, "';' is missing in the formula"},
        {"max A", 4, "'(' is missing in the formula"},
        {"A/0", 3, "the formula divides by zero"},
        {"A,5", 1, "unexpected ',' in the formula"},
        {"A%", 1, "unexpected '%' in the formula"},
        {".", 0, "a number in the formula cannot be read"},
    };
    for (Bad const &row : rows)
    {
        try
        {
            FAIL() << row.formula << " gives " << evaluate(row.formula, kSides);
        }
        catch (FormulaError const &error)
        {
            EXPECT_EQ(error.position(), row.position) << row.formula;
            EXPECT_STREQ(error.what(), row.reason) << row.formula;
        }
    }
}

TEST(OktFormula, Evaluate_NestedWithoutEnd_ErrorAndNoOverflowOfStack)
{
    EXPECT_THROW(evaluate(std::string(1000000, '('), kSides), FormulaError);
    EXPECT_THROW(evaluate(std::string(60, '(') + "A" + std::string(60, ')'), kSides), FormulaError);
    EXPECT_EQ(evaluate(std::string(40, '(') + "A" + std::string(40, ')'), kSides), 300);
}

TEST(OktFormula, Evaluate_ValueBeyondDoubles_Error)
{
    std::string const huge(400, '9');
    EXPECT_THROW(evaluate(huge + "A", kSides), FormulaError);
    std::string const large(200, '9');
    EXPECT_THROW(evaluate(large + "*" + large, kSides), FormulaError);
}

} // namespace
