// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// By hand, since a fault is told with line and column of its value, and the header tells the separator. Not installed.

/// One value of a table and where it stands (line and column from 1, the column in bytes of UTF-8).
struct CsvField
{
    std::string text;
    std::size_t line = 0;
    std::size_t column = 0;
    bool isQuoted = false;
};

using CsvRow = std::vector<CsvField>;

/// A table of separated values (RFC 4180), as spreadsheets write it. Lines that begin with "#" are comments, the first other line
/// names the columns, and tells by what stands between the names whether commas, semicolons or tabs separate the values; so does
/// a first line "sep=;". Blanks around a value do not count; a value in quotation marks may hold separators, line breaks, and
/// doubled quotation marks for one. Columns without name and values at the right end, and rows without a value, do not count.
/// Every operation that throws throws Failure with file, line and column.
class CsvTable
{
public:
    /// A table without a header or without rows, a row that is longer or shorter than the header, a column named twice, and a
    /// header that does not tell what separates the values are refused.
    static CsvTable load(std::filesystem::path const &path);
    static CsvTable parse(std::string file, std::string_view bytes);

    std::string const &file() const { return m_file; }
    std::vector<CsvRow> const &rows() const { return m_rows; }
    bool hasColumn(std::string_view name) const;
    /// Throws unless the table has exactly these columns, in any order.
    void expectColumns(std::vector<std::string_view> const &names) const;

    CsvField const &field(CsvRow const &row, std::string_view column) const;
    /// A text that must not be empty.
    std::string const &text(CsvRow const &row, std::string_view column) const;
    /// A finite decimal number above 0 and up to `largest`. Where no commas separate the values, it may have a decimal comma; a
    /// number with a point in a table of which an earlier one had a comma is refused, and the other way round.
    double positive(CsvRow const &row, std::string_view column, double largest) const;
    /// The same, or nothing for an empty field.
    std::optional<double> optionalPositive(CsvRow const &row, std::string_view column, double largest) const;
    /// A whole number from 1 to `largest`.
    int ordinal(CsvRow const &row, std::string_view column, int largest) const;

    /// With the place of a character in the text of the field, from 0, that is what the failure points at.
    [[noreturn]] void refuse(CsvField const &field, std::string const &reason, std::optional<std::size_t> at = {}) const;

private:
    /// How the first number with a fraction wrote it, and where.
    struct Notation
    {
        bool hasComma;
        std::size_t line;
    };

    void putHeader(CsvRow row);
    void putRow(CsvRow row, std::string const &end);
    void checkNotation(CsvField const &value, std::string const &where, bool hasComma) const;
    std::size_t indexOf(std::string_view column) const;

    std::string m_file;
    char m_separator = ',';
    CsvRow m_header;
    std::size_t m_columns = 0; ///< with those without a name
    std::vector<CsvRow> m_rows;
    mutable std::optional<Notation> m_notation;
};

} // namespace okt
