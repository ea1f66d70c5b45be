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

// Own code, because faults are reported with line and column, and the separator is found from the header. Not installed.

/// One value of a table and its place (line and column from 1, the column in bytes of UTF-8).
struct CsvField
{
    std::string text;
    std::size_t line = 0;
    std::size_t column = 0;
    bool isQuoted = false;
};

using CsvRow = std::vector<CsvField>;

/// A table of separated values (RFC 4180), as spreadsheets write it. Lines that begin with "#" are comments, the first other line
/// contains the names of the columns. The separator between the names (comma, semicolon or tab) is that of the table;
/// a first line "sep=;" states it explicitly. Blanks around a value are ignored. A value in quotation marks may contain separators, line breaks, and
/// doubled quotation marks for one. Empty columns at the right end and empty rows are ignored.
/// All operations throw Failure with file, line and column.
class CsvTable
{
public:
    /// A table without a header or without rows, a row that is longer or shorter than the header, a column named twice, and a
    /// header without a known separator are refused.
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
    /// A finite decimal number above 0, at most `largest`. If the separator is not the comma, it may have a decimal comma; a
    /// table that mixes decimal commas and decimal points is refused.
    double positive(CsvRow const &row, std::string_view column, double largest) const;
    /// The same; an empty field gives no value.
    std::optional<double> optionalPositive(CsvRow const &row, std::string_view column, double largest) const;
    /// A whole number from 1 to `largest`.
    int ordinal(CsvRow const &row, std::string_view column, int largest) const;

    /// With the place of a character in the text of the field, from 0, that is what the failure points at.
    [[noreturn]] void refuse(CsvField const &field, std::string const &reason, std::optional<std::size_t> at = {}) const;

private:
    /// The decimal separator of the first number with a fraction, and the place of that number.
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
