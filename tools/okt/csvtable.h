#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// One value of a table and where it stands (line and column from 1, the column in bytes).
struct CsvField
{
    std::string text;
    std::size_t line = 0;
    std::size_t column = 0;
};

using CsvRow = std::vector<CsvField>;

/// A table of comma-separated values: lines that begin with "#" are comments, the first other line names the columns.
/// Blanks around a value do not count; a value in quotation marks may hold commas, and doubled quotation marks for one.
/// Every operation that throws throws Failure with file, line and column.
class CsvTable
{
public:
    /// A table without a header or without rows, a row that is longer or shorter than the header and a column named twice
    /// are refused.
    static CsvTable load(std::filesystem::path const &path);
    static CsvTable parse(std::string file, std::string_view text);

    std::string const &file() const { return m_file; }
    std::vector<CsvRow> const &rows() const { return m_rows; }
    bool hasColumn(std::string_view name) const;
    /// Throws unless the table has exactly these columns, in any order.
    void expectColumns(std::vector<std::string_view> const &names) const;

    CsvField const &field(CsvRow const &row, std::string_view column) const;
    /// A text that must not be empty.
    std::string const &text(CsvRow const &row, std::string_view column) const;
    /// A finite decimal number above 0 and up to `largest`.
    double positive(CsvRow const &row, std::string_view column, double largest) const;
    /// The same, or nothing for an empty field.
    std::optional<double> optionalPositive(CsvRow const &row, std::string_view column, double largest) const;
    /// A whole number from 1 to `largest`.
    int ordinal(CsvRow const &row, std::string_view column, int largest) const;

    [[noreturn]] void refuse(CsvField const &field, std::string const &reason, std::size_t offset = 0) const;

private:
    std::size_t indexOf(std::string_view column) const;

    std::string m_file;
    CsvRow m_header;
    std::vector<CsvRow> m_rows;
};

} // namespace okt
