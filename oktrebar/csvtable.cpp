// SPDX-License-Identifier: MIT
#include <oktrebar/csvtable.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/tabletext.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <unordered_set>

namespace okt
{

namespace
{

constexpr std::string_view kSeparators = ",;\t";
constexpr std::string_view kLineEnds = "\r\n";

std::string placeOf(std::size_t line, std::size_t column) { return sentence("{}:{}", line, column); }

std::string nameOf(char separator) { return separator == ',' ? "a comma" : separator == ';' ? "a semicolon" : "a tab"; }

bool isEmpty(CsvField const &field) { return field.text.empty(); }

/// Splits a text into rows.
class TableReader
{
public:
    TableReader(std::string const &file, std::string_view text) : m_file(file), m_text(text) { readSeparatorLine(); }

    std::size_t line() const { return m_line; }
    std::size_t column() const { return m_at - m_lineStart + 1; }
    char separator() const { return m_separator; }

    /// Skips comments and empty lines. False: the end of the text.
    bool findRow()
    {
        while (m_at < m_text.size())
        {
            std::size_t const first = m_text.find_first_not_of(" \t", m_at);
            if (m_text[m_at] == '#' || isLineEnd(first))
                m_at = endOfLine(m_at);
            else if (m_text.substr(m_at, 2) == "\"#") // a comment with separators, as saved by a spreadsheet
                passQuotedComment();
            else
                return true;
            passLineEnd();
        }
        return false;
    }

    /// The next row, without its line end. The first row with a value determines the separator.
    CsvRow row()
    {
        if (m_separator == '\0')
            findSeparator();
        CsvRow row;
        for (;;)
        {
            passBlanks();
            row.push_back(atQuote() ? quotedField() : plainField());
            if (isLineEnd(m_at))
                return row;
            ++m_at; // the separator
        }
    }

    void passLineEnd()
    {
        if (m_at == m_text.size())
            return;
        m_at += m_text.substr(m_at, 2) == "\r\n" ? 2 : 1;
        m_lineStart = m_at;
        ++m_line;
    }

private:
    /// Some spreadsheets begin a table with "sep=;".
    void readSeparatorLine()
    {
        static constexpr std::string_view kWord = "sep=";
        std::string_view const line = m_text.substr(0, endOfLine(0));
        bool const isQuoted = line.starts_with('"');
        std::string_view rest = line.substr(isQuoted ? 1 : 0);
        if (isQuoted && rest.ends_with('"'))
            rest.remove_suffix(1);
        auto const isSame = [](char word, char c) { return word == std::tolower(static_cast<unsigned char>(c)); };
        if (rest.size() < kWord.size() || !std::equal(kWord.begin(), kWord.end(), rest.begin(), isSame))
            return;
        rest.remove_prefix(kWord.size());
        if (rest.size() != 1 || kSeparators.find(rest.front()) == std::string_view::npos)
            throw Failure(m_file, placeOf(1, kWord.size() + (isQuoted ? 2 : 1)),
                          excerpt(rest) + " is no separator: that is a comma, a semicolon or a tab");
        m_separator = rest.front();
        m_at = line.size();
        passLineEnd();
    }

    void findSeparator()
    {
        std::size_t const end = m_text.find_last_not_of(" \t", endOfLine(m_at) - 1) + 1;
        bool isQuoted = false;
        for (std::size_t at = m_text.find_first_not_of(" \t", m_at); at < end; ++at)
        {
            char const c = m_text[at];
            isQuoted = isQuoted != (c == '"');
            if (isQuoted || c == m_separator || kSeparators.find(c) == std::string_view::npos)
                continue;
            if (m_separator != '\0')
                throw Failure(
                    m_file, placeOf(m_line, at - m_lineStart + 1),
                    sentence("here is {}, in front of it {}: the line does not tell which of them separates the columns",
                             nameOf(c), nameOf(m_separator)));
            m_separator = c;
        }
        if (m_separator == '\0')
            m_separator = kSeparators.front();
    }

    std::size_t endOfLine(std::size_t at) const { return std::min(m_text.find_first_of(kLineEnds, at), m_text.size()); }
    bool isLineEnd(std::size_t at) const { return at >= m_text.size() || kLineEnds.find(m_text[at]) != std::string_view::npos; }

    void passBlanks()
    {
        while (m_at < m_text.size() && isBlank(m_text[m_at]))
            ++m_at;
    }

    bool isBlank(char c) const { return c == ' ' || (c == '\t' && m_separator != '\t'); }
    bool atQuote() const { return m_at < m_text.size() && m_text[m_at] == '"'; }

    /// It may go on in the next lines. A quotation mark that is not closed is a sign of the comment.
    void passQuotedComment()
    {
        std::size_t end = m_at;
        for (bool isQuoted = false; end < m_text.size() && (isQuoted || !isLineEnd(end)); ++end)
            isQuoted = isQuoted != (m_text[end] == '"');
        if (end == m_text.size() && std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_at), m_text.end(), '"') % 2 != 0)
            end = endOfLine(m_at);
        while ((m_at = endOfLine(m_at)) < end)
            passLineEnd();
    }

    CsvField plainField()
    {
        std::size_t const start = m_at;
        while (!isLineEnd(m_at) && m_text[m_at] != m_separator)
            ++m_at;
        std::size_t end = m_at;
        while (end > start && isBlank(m_text[end - 1]))
            --end;
        return {std::string(m_text.substr(start, end - start)), m_line, start - m_lineStart + 1, false};
    }

    CsvField quotedField()
    {
        CsvField field{"", m_line, column(), true};
        ++m_at;
        for (;;)
        {
            if (m_at == m_text.size())
                throw Failure(m_file, placeOf(field.line, field.column), "the quotation mark is not closed");
            if (!atQuote())
            {
                if (isLineEnd(m_at))
                {
                    field.text += '\n';
                    passLineEnd();
                }
                else
                {
                    field.text += m_text[m_at++];
                }
                continue;
            }
            ++m_at;
            if (!atQuote())
                break;
            field.text += '"';
            ++m_at;
        }
        passBlanks();
        if (!isLineEnd(m_at) && m_text[m_at] != m_separator)
            throw Failure(m_file, placeOf(m_line, column()),
                          sentence("{} is missing behind the quotation mark{}", nameOf(m_separator),
                                   field.line == m_line ? "" : sentence(" that closes the one in line {}", field.line)));
        return field;
    }

    std::string const &m_file;
    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_line = 1;
    std::size_t m_lineStart = 0;
    char m_separator = '\0'; ///< not known yet
};

} // namespace

CsvTable CsvTable::load(std::filesystem::path const &path) { return parse(pathName(path), readText(path)); }

CsvTable CsvTable::parse(std::string file, std::string_view bytes)
{
    CsvTable table;
    table.m_file = std::move(file);
    std::string const text = tableText(table.m_file, bytes);
    if (text.empty())
        throw Failure(table.m_file, "", "the file is empty");
    TableReader reader(table.m_file, text);
    while (reader.findRow())
    {
        CsvRow row = reader.row();
        bool const hasValue = !std::all_of(row.begin(), row.end(), isEmpty); // spreadsheets write rows without one
        if (hasValue && table.m_header.empty())
            table.putHeader(std::move(row));
        else if (hasValue)
            table.putRow(std::move(row), placeOf(reader.line(), reader.column()));
        reader.passLineEnd();
    }
    table.m_separator = reader.separator();
    bool const isBehindLast = reader.column() == 1 && reader.line() > 1;
    if (table.m_header.empty())
        throw Failure(table.m_file, placeOf(reader.line() - (isBehindLast ? 1 : 0), 1),
                      "the file has no line with the names of the columns");
    if (table.m_rows.empty())
        throw Failure(table.m_file, placeOf(table.m_header.front().line, 1),
                      "there is no line behind the names of the columns");
    return table;
}

void CsvTable::putHeader(CsvRow row)
{
    m_columns = row.size();
    while (isEmpty(row.back()))
        row.pop_back();
    std::unordered_set<std::string_view> names;
    for (CsvField const &column : row)
    {
        if (isEmpty(column))
            refuse(column, "the column has no name");
        if (!names.insert(column.text).second)
            refuse(column, sentence("the column {} stands here twice", excerpt(column.text)));
    }
    m_header = std::move(row);
}

void CsvTable::putRow(CsvRow row, std::string const &end)
{
    std::size_t const wanted = m_header.size();
    if (row.size() < wanted)
        throw Failure(m_file, end, "the line ends ahead of the column " + excerpt(m_header[row.size()].text));
    auto const begin = row.begin() + static_cast<std::ptrdiff_t>(wanted);
    if (auto const surplus = std::find_if_not(begin, row.end(), isEmpty); surplus != row.end())
    {
        if (static_cast<std::size_t>(surplus - row.begin()) < m_columns)
            refuse(*surplus, sentence("the value {} stands in a column without a name", excerpt(surplus->text)));
        refuse(*surplus, sentence("the line has {} for {}", plural(static_cast<std::int64_t>(row.size()), "value"),
                                  plural(static_cast<std::int64_t>(m_columns), "column")));
    }
    row.erase(begin, row.end());
    m_rows.push_back(std::move(row));
}

bool CsvTable::hasColumn(std::string_view name) const
{
    return std::any_of(m_header.begin(), m_header.end(), [name](CsvField const &field) { return field.text == name; });
}

void CsvTable::expectColumns(std::vector<std::string_view> const &names) const
{
    bool const isWhole = m_header.size() == 1 && names.size() > 1;
    for (CsvField const &column : m_header)
        if (std::find(names.begin(), names.end(), column.text) == names.end())
            refuse(column, sentence("unknown column {}{}", excerpt(column.text),
                                    isWhole ? "; neither comma nor semicolon nor tab separates names in this line" : ""));
    for (std::string_view const name : names)
        if (!hasColumn(name))
            refuse(m_header.front(), sentence("the column {} is missing", excerpt(name)));
}

std::size_t CsvTable::indexOf(std::string_view column) const
{
    for (std::size_t i = 0; i < m_header.size(); ++i)
        if (m_header[i].text == column)
            return i;
    refuse(m_header.front(), sentence("the column {} is missing", excerpt(column)));
}

CsvField const &CsvTable::field(CsvRow const &row, std::string_view column) const { return row[indexOf(column)]; }

std::string const &CsvTable::text(CsvRow const &row, std::string_view column) const
{
    CsvField const &value = field(row, column);
    if (value.text.empty())
        refuse(value, sentence("the value of {} is missing", excerpt(column)));
    return value.text;
}

double CsvTable::positive(CsvRow const &row, std::string_view column, double largest) const
{
    CsvField const &value = field(row, column);
    std::string const where = sentence("{} in the column {}", excerpt(text(row, column)), excerpt(column));
    auto const points = std::count(value.text.begin(), value.text.end(), '.');
    auto const commas = std::count(value.text.begin(), value.text.end(), ',');
    std::string digits = value.text;
    if (points + commas <= 1)
        std::replace(digits.begin(), digits.end(), ',', '.');
    else // whether it is a number at all
        std::erase_if(digits, [](char c) { return c == ',' || c == '.'; });
    double result = 0;
    auto const [end, error] = readNumber(digits.data(), digits.data() + digits.size(), result);
    bool const isNumber = error != std::errc::invalid_argument && end == digits.data() + digits.size() && !std::isnan(result);
    if (!isNumber)
        refuse(value, where + " is not a number");
    if (commas > 0 && points > 0)
        refuse(value, where + " has commas and points: they do not tell which of them is the decimal one");
    if (commas + points > 1)
        refuse(value, sentence("{} has several {}", where, commas > 0 ? "commas" : "points"));
    if (commas == 1 && m_separator == ',')
        refuse(value, where + " has a comma; where commas separate the values, numbers have a decimal point");
    if (commas + points == 1)
        checkNotation(value, where, commas == 1);
    if (error == std::errc::result_out_of_range || !(result > 0) || result > largest)
        refuse(value, sentence("{} is not above 0 and up to {}", where, number(largest)));
    return result;
}

/// A point may be a thousands separator. A table in which every number could be read so is rare.
void CsvTable::checkNotation(CsvField const &value, std::string const &where, bool hasComma) const
{
    if (!m_notation)
        m_notation = {hasComma, value.line};
    if (m_notation->hasComma != hasComma)
        refuse(value, sentence("{} has a decimal {}, a number in line {} has a decimal {}: one of them may separate thousands",
                               where, hasComma ? "comma" : "point", m_notation->line, hasComma ? "point" : "comma"));
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
        refuse(field(row, column), sentence("{} in the column {} is not a whole number", number(value), excerpt(column)));
    return static_cast<int>(value);
}

void CsvTable::refuse(CsvField const &field, std::string const &reason, std::optional<std::size_t> at) const
{
    std::size_t const offset = at ? *at + (field.isQuoted ? 1 : 0) : 0;
    throw Failure(m_file, placeOf(field.line, field.column + offset), reason);
}

} // namespace okt
