// SPDX-License-Identifier: MIT
#include <oktcatalog/rowlines.h>

#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/valuetext.h>

#include <cmath>
#include <concepts>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace okt
{

namespace
{

/// Rows of one table.
class Lines
{
public:
    Lines(RowLines &lines, std::size_t table) : m_text(lines.text[table]), m_count(lines.count[table]) {}

    void begin() { m_isFirst = true; }
    void end()
    {
        m_text += "}\n";
        ++m_count;
    }

    void add(char const *column, std::string_view text)
    {
        key(column);
        quote(text);
    }
    void add(char const *column, std::string const &text) { add(column, std::string_view(text)); }
    void add(char const *column, char const *text) { add(column, std::string_view(text)); }
    void add(char const *column, std::optional<std::string> const &text)
    {
        if (text)
            add(column, std::string_view(*text));
        else
            null(column);
    }
    void add(char const *column, std::optional<double> value)
    {
        if (!value || !std::isfinite(*value))
            return null(column);
        key(column);
        m_text += number(*value);
    }
    void add(char const *column, std::integral auto value)
    {
        key(column);
        m_text += std::to_string(value);
    }
    void add(char const *column, _GUID const &id)
    {
        if (isSame(id, kNoId))
            null(column);
        else
            add(column, std::string_view(idText(id)));
    }
    void add(char const *column, std::optional<_GUID> const &id) { add(column, id.value_or(kNoId)); }

private:
    void key(char const *column)
    {
        m_text += m_isFirst ? "{\"" : ",\"";
        m_isFirst = false;
        m_text += column;
        m_text += "\":";
    }

    void null(char const *column)
    {
        key(column);
        m_text += "null";
    }

    void quote(std::string_view text)
    {
        m_text += '"';
        for (char const c : text)
        {
            if (c == '"' || c == '\\')
                (m_text += '\\') += c;
            else if (c == '\n')
                m_text += "\\n";
            else if (static_cast<unsigned char>(c) < 0x20)
            {
                constexpr char kDigits[] = "0123456789abcdef";
                (m_text += "\\u00") += kDigits[c >> 4];
                m_text += kDigits[c & 15];
            }
            else
                m_text += c;
        }
        m_text += '"';
    }

    std::string &m_text;
    std::int64_t &m_count;
    bool m_isFirst = true;
};

/// The row of each item, with the file in front and its place among the rows of the file behind that.
template <class Items, class Fields>
void addRows(RowLines &all, std::size_t table, std::int64_t file, char const *place, Items const &items, Fields const &fields)
{
    Lines lines(all, table);
    std::int64_t count = 0;
    for (auto const &item : items)
    {
        lines.begin();
        lines.add("file", file);
        lines.add(place, count++);
        fields(lines, item);
        lines.end();
    }
}

void addParameters(RowLines &all, PoolRows const &rows, std::int64_t file)
{
    std::unordered_map<int, std::string> kinds;
    addRows(all, 2, file, "number_in_file", rows.parameters, [&kinds](Lines &lines, ParameterRow const &row) {
        auto const [kind, isNew] = kinds.try_emplace(row.kind);
        if (isNew)
            kind->second = kindName(static_cast<VARTYPE>(row.kind));
        lines.add("object_id", row.id);
        lines.add("category", row.category);
        lines.add("owner", row.owner);
        lines.add("name", row.name);
        lines.add("type", row.type);
        lines.add("type_name", row.typeName);
        lines.add("list_index", row.listIndex);
        lines.add("list_code", row.listCode);
        lines.add("kind", kind->second);
        lines.add("number", row.number);
        lines.add("text", row.text);
        lines.add("is_length", row.isLength ? 1 : 0);
        lines.add("expression", row.expression);
        lines.add("description", row.description);
        lines.add("kind_number", row.kind);
        lines.add("place", row.place);
    });
}

} // namespace

RowLines linesOf(PoolRows const &rows, std::int64_t file)
{
    RowLines all = {};
    Lines head(all, 0);
    head.add("id", file);
    head.add("path", rows.path);
    head.add("size", rows.size);
    head.add("modified_ns", rows.modifiedNs);
    head.add("sha256", rows.sha256);
    head.add("pool_id", rows.poolId);
    head.add("pool_name", rows.poolName);
    head.add("objects", rows.objects.size());
    head.add("state", stateName(rows.state));
    head.add("plain", rows.isPlain ? 1 : 0);
    head.add("unit", rows.unit);
    head.add("classes", rows.classes);
    head.end();
    addRows(all, 1, file, "number", rows.objects, [](Lines &lines, ObjectRow const &row) {
        lines.add("object_id", row.id);
        lines.add("class", row.className);
        lines.add("name", row.name);
        lines.add("offset", row.offset);
        lines.add("size", row.size);
    });
    addParameters(all, rows, file);
    addRows(all, 3, file, "number", rows.references, [](Lines &lines, ReferenceRow const &row) {
        lines.add("from_id", row.from);
        lines.add("to_id", row.to);
        lines.add("role", row.role);
    });
    addRows(all, 4, file, "number", rows.pictures, [](Lines &lines, PictureRow const &row) {
        lines.add("object_id", row.id);
        lines.add("format", row.format);
        lines.add("width", row.width);
        lines.add("height", row.height);
        lines.add("bytes", row.bytes);
        lines.add("view", row.view);
    });
    addRows(all, 5, file, "number", rows.findings, [](Lines &lines, FindingRow const &row) {
        lines.add("code", row.code);
        lines.add("severity", row.severity);
        lines.add("offset", row.offset);
        lines.add("object_id", row.id);
        lines.add("message", row.message);
    });
    Lines words(all, 6);
    words.add("file", file);
    words.add("name", rows.words.names);
    words.add("text", rows.words.texts);
    words.add("description", rows.words.descriptions);
    words.add("expression", rows.words.expressions);
    words.end();
    return all;
}

} // namespace okt
