// SPDX-License-Identifier: MIT
// Tables, records and formulas that are made to cost as much as they can: what their readers hold at once is bounded by what they are
// given.

#include "support/heldperbyte.h"

#include <oktformat/failure.h>
#include <oktrebar/barrecord.h>
#include <oktrebar/condition.h>
#include <oktrebar/csvtable.h>
#include <oktrebar/formula.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace okt;

namespace
{
std::string repeated(std::string const &text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

template <typename Read> void expectAnswer(char const *what, std::string const &input, double multiple, Read read)
{
    expectHeld(what, input.size(), multiple, [&] {
        try
        {
            read(input);
        }
        catch (std::runtime_error const &)
        {
            SUCCEED();
        }
        catch (Bf2dFault const &)
        {
            SUCCEED();
        }
    });
}

std::string columns(int count)
{
    std::string table;
    for (int i = 0; i < count; ++i)
        table += (i == 0 ? "c" : ",c") + std::to_string(i);
    return table + "\n" + repeated("1,", count - 1) + "1\n";
}

TEST(HostileTables, CsvTable_HeldIsAMultipleOfTheInput)
{
    auto const parse = [](std::string const &table) { CsvTable::parse("t.csv", table); };
    expectAnswer("a million columns", columns(1000000), 20.0, parse);
    expectAnswer("a million columns without names", "a,b" + repeated(",", 1000000) + "\n1,2\n", 100.0, parse);
    expectAnswer("a million rows", "a,b\n" + repeated("1,2\n", 1000000), 100.0, parse);
    expectAnswer("one value", "a,b\n\"" + repeated("x", 1000000) + "\",1\n", 20.0, parse);
    expectAnswer("quotation marks", "a,b\n" + repeated("\"", 1000000), 20.0, parse);
}

TEST(HostileTables, RecordsAndFormulas_HeldIsAMultipleOfTheInput)
{
    expectAnswer("legs", "BF2D@Hj@r@ia@p1@l1000@n10@e0.888@d12@gB500A@s48@v@G" + repeated("l1@w1@", 100000) + "C72@", 100.0,
                 [](std::string const &line) { parseBf2d(line); });
    auto const evaluated = [](std::string const &formula) { evaluate(formula, {{"A", 1.0}}); };
    expectAnswer("brackets", repeated("(", 100000), 100.0, evaluated);
    expectAnswer("sums", "A" + repeated("+A", 100000), 100.0, evaluated);
    auto const condition = [](std::string const &text) { Condition(text, lengthUnits().front()); };
    expectAnswer("brackets of a condition", repeated("(", 100000), 100.0, condition);
    expectAnswer("conditions", "A" + repeated(" and A", 50000), 100.0, condition);
}
} // namespace
