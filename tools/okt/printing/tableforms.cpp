// SPDX-License-Identifier: MIT
#include <tools/okt/printing/tableforms.h>

#include <tools/okt/printing/parameterjson.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>

namespace okt
{

namespace
{

using Field = std::optional<ShownValue>;

std::string fieldText(Field const &field) { return field ? shownText(*field, false) : ""; }

bool isNumber(Field const &field)
{
    return field && (std::holds_alternative<double>(field->value) || std::holds_alternative<std::int32_t>(field->value));
}

/// A column of lengths tells their unit in its heading.
bool hasUnit(std::vector<TableRow> const &rows, std::size_t column)
{
    return std::any_of(rows.begin(), rows.end(),
                       [column](TableRow const &row) { return row.fields[column] && row.fields[column]->unit != nullptr; });
}

std::vector<std::string> headings(std::vector<TableRow> const &rows, std::vector<std::string> const &names,
                                  std::string const &unit)
{
    std::vector<std::string> texts = {"file"};
    for (std::size_t i = 0; i < names.size(); ++i)
        texts.push_back(names[i] + (hasUnit(rows, i) ? sentence(" ({})", unit) : ""));
    return texts;
}

/// A column where every field that is there is a number stands to the right.
std::vector<bool> rightColumns(std::vector<TableRow> const &rows, std::size_t columns)
{
    std::vector<bool> right(columns + 1, false);
    for (std::size_t i = 0; i < columns; ++i)
        right[i + 1] = std::all_of(rows.begin(), rows.end(),
                                   [i](TableRow const &row) { return !row.fields[i] || isNumber(row.fields[i]); });
    return right;
}

std::vector<std::vector<std::string>> texts(std::vector<TableRow> const &rows)
{
    std::vector<std::vector<std::string>> lines;
    for (TableRow const &row : rows)
    {
        std::vector<std::string> &line = lines.emplace_back(1, row.file);
        for (Field const &field : row.fields)
            line.push_back(fieldText(field));
    }
    return lines;
}

std::string columnsText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, std::string const &unit)
{
    std::vector<std::vector<std::string>> lines = texts(rows);
    lines.insert(lines.begin(), headings(rows, names, unit));
    std::vector<bool> const right = rightColumns(rows, names.size());
    std::vector<std::size_t> widths(names.size() + 1, 0);
    for (std::vector<std::string> &line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
        {
            line[i] = printable(std::string_view(line[i]));
            widths[i] = std::max(widths[i], width(line[i]));
        }
    std::string text;
    for (std::vector<std::string> const &line : lines)
    {
        std::string one;
        for (std::size_t i = 0; i < line.size(); ++i)
            one += (i == 0 ? "" : "  ") +
                   (right[i] ? std::string(widths[i] - width(line[i]), ' ') + line[i] : padded(line[i], widths[i]));
        one.erase(one.find_last_not_of(' ') + 1);
        text += one + "\n";
    }
    return text;
}

std::string csvText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, bool isLocal)
{
    char const separator = isLocal ? ';' : ',';
    std::string text = isLocal ? "\xEF\xBB\xBF" : "";
    text += "file";
    for (std::string const &name : names)
        text += separator + csvField(name, separator);
    text += "\r\n";
    for (TableRow const &row : rows)
    {
        text += csvField(row.file, separator);
        for (Field const &field : row.fields)
        {
            std::string value = fieldText(field);
            if (isLocal && isNumber(field))
                std::replace(value.begin(), value.end(), '.', ',');
            text += separator + csvField(value, separator);
        }
        text += "\r\n";
    }
    return text;
}

std::string markdownField(std::string const &text)
{
    std::string escaped;
    for (char const c : printable(std::string_view(text)))
        escaped += c == '|' ? "\\|" : std::string(1, c);
    return escaped;
}

std::string markdownText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, std::string const &unit)
{
    std::vector<bool> const right = rightColumns(rows, names.size());
    auto const lineOf = [](std::vector<std::string> const &line) {
        std::string text = "|";
        for (std::string const &field : line)
            text += sentence(" {}{}", markdownField(field), field.empty() ? "|" : " |");
        return text + "\n";
    };
    std::string text = lineOf(headings(rows, names, unit)) + "|";
    for (bool const isRight : right)
        text += isRight ? " ---: |" : " --- |";
    text += "\n";
    for (std::vector<std::string> const &line : texts(rows))
        text += lineOf(line);
    return text;
}

std::string jsonText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, std::string const &unit)
{
    std::string text;
    for (TableRow const &row : rows)
    {
        PlainJson json;
        json["file"] = row.file;
        json["unit"] = unit;
        json["values"] = PlainJson::object();
        for (std::size_t i = 0; i < names.size(); ++i)
            json["values"][names[i]] = row.fields[i] ? jsonOf(row.fields[i]->value) : PlainJson(nullptr);
        text += lineOf(json);
    }
    return text;
}

} // namespace

std::string csvField(std::string const &text, char separator)
{
    if (text.find_first_of(std::string("\"\r\n") + separator) == std::string::npos && text.find_first_of(" \t") != 0)
        return text;
    std::string quoted = "\"";
    for (char const c : text)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

std::string tableText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, TableForm form,
                      std::string const &unit)
{
    switch (form)
    {
    case TableForm::Columns: return columnsText(rows, names, unit);
    case TableForm::Csv: return csvText(rows, names, false);
    case TableForm::CsvLocal: return csvText(rows, names, true);
    case TableForm::Json: return jsonText(rows, names, unit);
    case TableForm::Markdown: break;
    }
    return markdownText(rows, names, unit);
}

} // namespace okt
