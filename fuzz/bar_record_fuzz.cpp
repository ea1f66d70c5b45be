// SPDX-License-Identifier: MIT
// A line of any bytes as a bar record: one that is taken is written again as a line of the same meaning, and makes a template whose
// line is the one that was read.

#include "fuzzsupport.h"

#include <oktrebar/barrecord.h>
#include <oktrebar/recordtemplate.h>

#include <cstdint>
#include <string>

namespace
{
okt::BarTable const &bars()
{
    static okt::BarTable const table = [] {
        okt::BarTable made;
        made.units = okt::Units::Millimetre;
        for (double const diameter : {6.0, 8.0, 10.0, 12.0, 16.0, 20.0, 25.0, 32.0})
            made.sizes.push_back({diameter, 0, diameter * diameter * 0.785, diameter * diameter * 0.00617, 1});
        return made;
    }();
    return table;
}

void demandRecord(std::string_view line)
{
    try
    {
        okt::Bf2dRecord const record = okt::parseBf2d(line);
        FUZZ_DEMAND(!record.legs.empty() && record.count >= 1 && record.diameter > 0);
        std::string const written = okt::bf2dLine(record);
        FUZZ_DEMAND(okt::parseBf2d(written) == record);
        FUZZ_DEMAND(okt::bf2dLine(okt::parseBf2d(written)) == written);
        if (!okt::bf2dRefusal(record, bars()).empty())
            return;
        okt::TemplatePlan const plan = okt::bf2dPlan(record, std::string(line), "bar");
        FUZZ_DEMAND(!plan.categories.empty());
    }
    catch (okt::Bf2dFault const &fault)
    {
        FUZZ_DEMAND(fault.column >= 1 && fault.column <= line.size() + 1 && !fault.reason.empty());
    }
}

/// The same record with the sum that its bytes have, so that what is behind the check is reached.
std::string summed(std::string line)
{
    std::size_t const sum = line.rfind('C');
    if (sum == std::string::npos)
        return line;
    line.resize(sum + 1);
    return line + std::to_string(okt::bf2dCheckSum(line)) + "@";
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    std::string const line(reinterpret_cast<char const *>(data), size);
    demandRecord(line);
    demandRecord(summed(line));
    return 0;
}
