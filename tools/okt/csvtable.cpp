#include "csvtable.h"

#include "failure.h"
#include "files.h"
#include "text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace okt
{

namespace
{

std::string placeOf(std::size_t line, std::size_t column) { return std::to_string(line) + ":" + std::to_string(column); }

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// Cuts one line into fields.
class LineReader
{
public:
    LineReader(std::string const &file, std::string_view line, std::size_t number)
        : m_file(file), m_line(line), m_number(number)
    {
    }

    CsvRow fields()
    {
        CsvRow row;
        for (;;)
        {
            passBlanks();
            row.push_back(atQuote() ? quotedField() : plainField());
            if (m_position == m_line.size())
                return row;
            ++m_position; // the comma
        }
    }

private:
    void passBlanks()
    {
        while (m_position < m_line.size() && isBlank(m_line[m_position]))
            ++m_position;
    }

    bool atQuote() const { return m_position < m_line.size() && m_line[m_position] == '"'; }

    CsvField plainField()
    {
        std::size_t const start = m_position;
        m_position = std::min(m_line.find(',', start), m_line.size());
        std::size_t end = m_position;
        while (end > start && isBlank(m_line[end - 1]))
            --end;
        return {std::string(m_line.substr(start, end - start)), m_number, start + 1};
    }

    CsvField quotedField()
    {
        CsvField field{"", m_number, m_position + 1};
        ++m_position;
        for (;;)
        {
            std::size_t const quote = m_line.find('"', m_position);
            if (quote == std::string_view::npos)
                throw Failure(m_file, placeOf(m_number, field.column), "the quotation mark is not closed on this line");
            field.text += m_line.substr(m_position, quote - m_position);
            m_position = quote + 1;
            if (!atQuote())
                break;
            field.text += '"';
            ++m_position;
        }
        passBlanks();
        if (m_position < m_line.size() && m_line[m_position] != ',')
            throw Failure(m_file, placeOf(m_number, m_position + 1), "a comma is missing behind the quotation mark");
        return field;
    }

    std::string const &m_file;
    std::string_view m_line;
    std::size_t m_number;
    std::size_t m_position = 0;
};

std::string withoutByteOrderMark(std::string_view text)
{
    static constexpr std::string_view kMark = "\xEF\xBB\xBF";
    return std::string(text.starts_with(kMark) ? text.substr(kMark.size()) : text);
}

} // namespace

CsvTable CsvTable::load(std::filesystem::path const &path) { return parse(pathName(path), readText(path)); }

CsvTable CsvTable::parse(std::string file, std::string_view bytes)
{
    CsvTable table;
    table.m_file = std::move(file);
    std::string const text = withoutByteOrderMark(bytes);
    if (text.empty())
        throw Failure(table.m_file, "", "the file is empty");

    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();)
    {
        ++number;
        std::size_t const end = std::min(text.find('\n', start), text.size());
        std::string_view line(text.data() + start, end - start);
        start = end + 1;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.starts_with('#') || line.find_first_not_of(" \t") == std::string_view::npos)
            continue;
        CsvRow row = LineReader(table.m_file, line, number).fields();
        if (table.m_header.empty())
        {
            for (std::size_t i = 0; i < row.size(); ++i)
                for (std::size_t earlier = 0; earlier < i; ++earlier)
                    if (row[earlier].text == row[i].text)
                        table.refuse(row[i], "the column " + excerpt(row[i].text) + " stands here twice");
            table.m_header = std::move(row);
            continue;
        }
        if (row.size() > table.m_header.size())
            table.refuse(row[table.m_header.size()], "the line has " + std::to_string(row.size()) + " values for " +
                                                         std::to_string(table.m_header.size()) + " columns");
        if (row.size() < table.m_header.size())
            throw Failure(table.m_file, placeOf(number, line.size() + 1),
                          "the line ends ahead of the column " + excerpt(table.m_header[row.size()].text));
        table.m_rows.push_back(std::move(row));
    }
    if (table.m_header.empty())
        throw Failure(table.m_file, placeOf(number, 1), "the file has no line with the names of the columns");
    if (table.m_rows.empty())
        throw Failure(table.m_file, placeOf(table.m_header.front().line, 1),
                      "there is no line behind the names of the columns");
    return table;
}

bool CsvTable::hasColumn(std::string_view name) const
{
    return std::any_of(m_header.begin(), m_header.end(), [name](CsvField const &field) { return field.text == name; });
}

void CsvTable::expectColumns(std::vector<std::string_view> const &names) const
{
    for (CsvField const &column : m_header)
        if (std::find(names.begin(), names.end(), column.text) == names.end())
            refuse(column, "unknown column " + excerpt(column.text));
    for (std::string_view const name : names)
        if (!hasColumn(name))
            refuse(m_header.front(), "the column " + excerpt(name) + " is missing");
}

std::size_t CsvTable::indexOf(std::string_view column) const
{
    for (std::size_t i = 0; i < m_header.size(); ++i)
        if (m_header[i].text == column)
            return i;
    refuse(m_header.front(), "the column " + excerpt(column) + " is missing");
}

CsvField const &CsvTable::field(CsvRow const &row, std::string_view column) const { return row[indexOf(column)]; }

std::string const &CsvTable::text(CsvRow const &row, std::string_view column) const
{
    CsvField const &value = field(row, column);
    if (value.text.empty())
        refuse(value, "the value of " + excerpt(column) + " is missing");
    return value.text;
}

double CsvTable::positive(CsvRow const &row, std::string_view column, double largest) const
{
    CsvField const &value = field(row, column);
    std::string const &digits = text(row, column);
    double result = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
    bool const isNumber = error != std::errc::invalid_argument && end == digits.data() + digits.size() && !std::isnan(result);
    if (!isNumber)
        refuse(value, excerpt(digits) + " in the column " + excerpt(column) + " is not a number");
    if (error == std::errc::result_out_of_range || !(result > 0) || result > largest)
        refuse(value, excerpt(digits) + " in the column " + excerpt(column) + " is not above 0 and up to " + number(largest));
    return result;
}

std::optional<double> CsvTable::optionalPositive(CsvRow const &row, std::string_view column, double largest) const
{
    if (field(row, column).text.empty())
        return std::nullopt;
    return positive(row, column, largest);
}

int CsvTable::ordinal(CsvRow const &row, std::string_view column, int largest) const
{
    double const value = positive(row, column, largest);
    if (value != std::floor(value))
        refuse(field(row, column), number(value) + " in the column " + excerpt(column) + " is not a whole number");
    return static_cast<int>(value);
}

void CsvTable::refuse(CsvField const &field, std::string const &reason, std::size_t offset) const
{
    throw Failure(m_file, placeOf(field.line, field.column + offset), reason);
}

} // namespace okt
