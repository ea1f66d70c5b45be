// SPDX-License-Identifier: MIT
// A table of any bytes: its text, its rows and fields, and what bar tables and rules make of it.

#include "fuzzsupport.h"

#include <oktformat/failure.h>
#include <oktrebar/bartable.h>
#include <oktrebar/bendtables.h>
#include <oktrebar/csvtable.h>
#include <oktrebar/cuttinglength.h>

#include <string_view>

namespace
{
/// Ends with an outcome or with a line that names the file.
template <typename Read> void demandAnswer(Read read)
{
    try
    {
        read();
    }
    catch (okt::Failure const &failure)
    {
        FUZZ_DEMAND(std::string_view(failure.what()).find("input.csv") != std::string_view::npos);
        FUZZ_DEMAND(std::string_view(failure.what()).find('\n') == std::string_view::npos);
    }
}

void demandFields(okt::CsvTable const &table)
{
    FUZZ_DEMAND(!table.rows().empty());
    for (okt::CsvRow const &row : table.rows())
    {
        std::size_t line = 0;
        for (okt::CsvField const &field : row)
        {
            FUZZ_DEMAND(field.line >= line && field.column >= 1);
            line = field.line;
        }
        demandAnswer([&] { FUZZ_DEMAND(table.positive(row, "diameter_mm", 1e6) > 0); });
        demandAnswer([&] { FUZZ_DEMAND(table.ordinal(row, "size", 100) >= 1); });
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static InputFile file("input.csv");
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    demandAnswer([&] {
        okt::CsvTable const table = okt::CsvTable::parse("input.csv", bytes);
        if (table.hasColumn("diameter_mm") && table.hasColumn("size"))
            demandFields(table);
    });
    file.write(data, size);
    std::filesystem::path const path = file.folder() / "input.csv";
    demandAnswer([&] { FUZZ_DEMAND(!okt::BarTable::load(path).sizes.empty()); });
    demandAnswer([&] { okt::SchedulingBends::load(path); });
    demandAnswer([&] { okt::BendRules::load(path); });
    demandAnswer([&] { okt::ShapeLengths::load(path); });
    return 0;
}
