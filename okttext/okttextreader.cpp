// SPDX-License-Identifier: MIT
#include <okttext/okttextreader.h>

#include <oktformat/base64.h>
#include <oktformat/sentence.h>
#include <okttext/oktnotation.h>
#include <okttext/oktrecords.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <istream>
#include <iterator>
#include <limits>
#include <string_view>

namespace okttext
{

namespace
{

constexpr std::size_t kLargestImage = 0x7FFFFFFF;

struct Place
{
    long line = 1;
    long column = 0;
};

/// The text and the current position in it.
class Source
{
public:
    explicit Source(std::istream &stream) : m_stream(stream) { fill(); }

    bool isAtEnd() const { return m_next == m_end; }
    char current() const { return *m_next; }
    void advance()
    {
        m_before = m_place;
        if (*m_next == '\n')
        {
            ++m_place.line;
            m_place.column = 0;
        }
        else
            ++m_place.column;
        if (++m_next == m_end)
            fill();
    }
    /// The place of the last character that was read.
    Place place() const { return m_place; }
    /// The place of the character before it: at the end of a number the parser has read one character too many.
    Place before() const { return m_before; }

private:
    void fill()
    {
        m_stream.read(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
        if (m_stream.bad())
            throw OKTTextFault{"the text cannot be read further", -1, m_place.line, m_place.column + 1};
        m_next = m_buffer.data();
        m_end = m_next + m_stream.gcount();
    }

    std::istream &m_stream;
    std::array<char, 1 << 16> m_buffer;
    char const *m_next = nullptr;
    char const *m_end = nullptr;
    Place m_place;
    Place m_before;
};

/// The iterator from which the JSON parser reads.
class SourceIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const *;
    using reference = char;

    SourceIterator() = default;
    explicit SourceIterator(Source &source) : m_source(&source) {}

    char operator*() const { return m_source->current(); }
    SourceIterator &operator++()
    {
        m_source->advance();
        return *this;
    }
    SourceIterator operator++(int)
    {
        SourceIterator const before = *this;
        m_source->advance();
        return before;
    }
    bool operator==(SourceIterator const &other) const { return isAtEnd() == other.isAtEnd(); }
    bool operator!=(SourceIterator const &other) const { return !(*this == other); }

private:
    bool isAtEnd() const { return m_source == nullptr || m_source->isAtEnd(); }

    Source *m_source = nullptr;
};

struct Value
{
    enum class Kind
    {
        Null,
        Bool,
        Whole,
        Number, ///< with a fraction or an exponent, or beyond 64 bits
        Text,
        List
    };

    Kind kind = Kind::Null;
    bool flag = false;
    std::int64_t whole = 0;
    double number = 0;
    std::string text;
    std::vector<Value> list;
};

struct Field
{
    std::string key;
    Value value;
};

/// An object of the text that is still open.
struct Open
{
    Place place;
    std::vector<Field> fields;
    std::string content; ///< the bytes of the records in its list
    bool hasContent = false;
    std::vector<PlaceWord> words; ///< in the content

    Value const *find(std::string_view key) const
    {
        auto const found = std::find_if(fields.begin(), fields.end(), [key](Field const &field) { return field.key == key; });
        return found == fields.end() ? nullptr : &found->value;
    }
};

std::string quotedKey(std::string_view key) { return '"' + readable(key) + '"'; }

class Reader
{
public:
    Reader(std::istream &text, OKTTextGetFile const &get) : m_source(text), m_get(get) {}

    void read()
    {
        if (m_source.isAtEnd())
            throw OKTTextFault{"the text is empty"};
        nlohmann::json::sax_parse(SourceIterator(m_source), SourceIterator(), this);
    }

    bool isPool() const { return m_hasHeader; }
    PoolText &pool() { return m_pool; }

    // --- Called by the parser ---

    bool null() { return take({}); }

    bool boolean(bool flag)
    {
        Value value;
        value.kind = Value::Kind::Bool;
        value.flag = flag;
        return take(std::move(value));
    }

    bool number_integer(std::int64_t whole)
    {
        Value value;
        value.kind = Value::Kind::Whole;
        value.whole = whole;
        return take(std::move(value));
    }

    bool number_unsigned(std::uint64_t whole)
    {
        return whole <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                   ? number_integer(static_cast<std::int64_t>(whole))
                   : number_float(static_cast<double>(whole), {});
    }

    bool number_float(double number, std::string const &)
    {
        Value value;
        value.kind = Value::Kind::Number;
        value.number = number;
        return take(std::move(value));
    }

    bool string(std::string &text)
    {
        Value value;
        value.kind = Value::Kind::Text;
        value.text = std::move(text);
        return take(std::move(value));
    }

    bool binary(nlohmann::json::binary_t &) { return false; } // there is none in JSON

    bool start_object(std::size_t)
    {
        bool const isDocument = m_open.empty();
        bool const isHeader = !isDocument && m_open.size() == 1 && m_list == List::None && m_key == "header";
        if (!isDocument && !isHeader && m_list != List::Records)
            fail("no object belongs here");
        if (m_open.size() > kDeepest + 1)
            fail(okt::sentence("frames and sections stand deeper than {} in each other", kDeepest));
        m_isInHeader = m_isInHeader || isHeader;
        m_hasHeader = m_hasHeader || isHeader;
        m_open.emplace_back().place = m_source.place();
        m_list = List::None;
        m_key.clear();
        return true;
    }

    bool key(std::string &key)
    {
        Open const &open = m_open.back();
        bool const isDocument = m_open.size() == 1;
        if (!isKnown(key, isDocument))
            failHere(quotedKey(key) + " is not known here");
        bool const isTwice = open.find(key) != nullptr || (isDocument && key == "header" && m_hasHeader) ||
                             ((key == "content" || key == "objects") && open.hasContent);
        if (isTwice)
            failHere(quotedKey(key) + " stands here twice");
        m_key = std::move(key);
        return true;
    }

    bool end_object()
    {
        Open done = std::move(m_open.back());
        m_open.pop_back();
        if (m_open.empty())
        {
            endDocument(done);
            return true;
        }
        m_key.clear();
        if (m_isInHeader && m_open.size() == 1)
        {
            Open header; // kept apart: objects may come before the header
            append(done, header);
            m_pool.header = std::move(header.content);
            m_pool.words = std::move(header.words);
            m_isInHeader = false;
            return true;
        }
        append(done, m_open.back());
        if (m_open.back().content.size() > kLargestImage)
            failAt(done.place, "the pool would be larger than 2147483647 bytes");
        m_list = List::Records;
        return true;
    }

    bool start_array(std::size_t)
    {
        if (m_list == List::None && (m_key == "content" || m_key == "objects"))
        {
            m_open.back().hasContent = true;
            m_hasObjects = m_hasObjects || m_key == "objects";
            m_list = List::Records;
            return true;
        }
        if (m_list != List::None || (m_key != "ids" && m_key != "point"))
            fail("no list belongs here");
        Field &field = m_open.back().fields.emplace_back();
        field.key = m_key;
        field.value.kind = Value::Kind::List;
        m_list = List::Values;
        return true;
    }

    bool end_array()
    {
        m_list = List::None;
        m_key.clear();
        return true;
    }

    bool parse_error(std::size_t, std::string const &, nlohmann::json::exception const &error)
    {
        // Messages of the parser begin with a number, and some with the place.
        std::string_view reason = error.what();
        Place place = m_source.before();
        if (std::size_t const line = reason.find("at line "); line != std::string_view::npos)
        {
            char const *const end = reason.data() + reason.size();
            char const *const next = std::from_chars(reason.data() + line + 8, end, place.line).ptr;
            std::from_chars(next + std::string_view(", column ").size(), end, place.column);
        }
        for (std::string_view const ahead : {"] ", "syntax error "})
            if (std::size_t const found = reason.substr(0, 80).find(ahead); found != std::string_view::npos)
                reason.remove_prefix(found + ahead.size());
        failAt(place, "no JSON: " + readable(reason, 200));
    }

private:
    enum class List
    {
        None,
        Records,
        Values ///< ids or coordinates
    };

    // --- Faults ---

    [[noreturn]] static void failAt(Place place, std::string reason)
    {
        throw OKTTextFault{std::move(reason), -1, place.line, std::max(place.column, 1L)};
    }

    [[noreturn]] void failHere(std::string reason) const { failAt(m_source.place(), std::move(reason)); }

    /// The place to report for the next value: the beginning of its object, if there is one.
    [[noreturn]] void fail(std::string reason) const
    {
        if (m_open.size() > 1)
            failAt(m_open.back().place, m_key.empty() ? std::move(reason) : okt::sentence("{}: {}", quotedKey(m_key), reason));
        failHere(std::move(reason));
    }

    // --- Checks of the structure ---

    static bool isKnown(std::string_view key, bool isDocument)
    {
        static constexpr std::string_view kDocument[] = {"format", "version", "headerSize", "header", "objects", "content"};
        static constexpr std::string_view kRecord[] = {"name",    "class", "version",    "content",  "section",
                                                       "id",      "ids",   "point",      "variant",  "bool",
                                                       "short",   "long",  "double",     "string16", "string16-escaped",
                                                       "string8", "bytes", "bytes-file", "picture",  "picture-file",
                                                       "raw"};
        if (isDocument)
            return std::find(std::begin(kDocument), std::end(kDocument), key) != std::end(kDocument);
        return std::find(std::begin(kRecord), std::end(kRecord), key) != std::end(kRecord);
    }

    bool take(Value value)
    {
        Place const place =
            value.kind == Value::Kind::Whole || value.kind == Value::Kind::Number ? m_source.before() : m_source.place();
        if (m_open.empty())
            failAt(place, "the text is no object");
        if (m_list == List::Records)
            failAt(place, "only objects belong into this list");
        if (m_list == List::Values)
        {
            m_open.back().fields.back().value.list.push_back(std::move(value));
            return true;
        }
        if (m_key == "content" || m_key == "objects")
            failAt(place, quotedKey(m_key) + ": a list is wanted here");
        if (m_open.size() == 1 && m_key == "header")
            failAt(place, "\"header\": an object is wanted here");
        Field &field = m_open.back().fields.emplace_back();
        field.key = m_key;
        field.value = std::move(value);
        return true;
    }

    void endDocument(Open &document)
    {
        Value const *const format = document.find("format");
        Value const *const version = document.find("version");
        if (format == nullptr || format->kind != Value::Kind::Text || format->text != "OKTDatabase text")
            failAt(document.place, "this is no text of a pool: \"format\" is not \"OKTDatabase text\"");
        if (version == nullptr || version->kind != Value::Kind::Whole || version->whole != 1)
            failAt(document.place, "this text is of a version that is not known: \"version\" is not 1");
        if (m_hasHeader != m_hasObjects || (!m_hasHeader && !document.hasContent))
            failAt(document.place, "this is no text of a pool: it has not both \"header\" and \"objects\"");
        if (Value const *const size = document.find("headerSize"))
            m_pool.headerSize = number<std::int32_t>(*size, "headerSize", document);
        m_pool.objects = std::move(document.content);
    }

    // --- Records ---

    template <typename T> T number(Value const &value, std::string_view key, Open const &open) const
    {
        constexpr std::int64_t kLeast = std::numeric_limits<T>::min();
        constexpr std::int64_t kMost = std::numeric_limits<T>::max();
        // Some programs write the whole number 5 as 5.0.
        bool const isWhole = value.kind == Value::Kind::Whole
                                 ? value.whole >= kLeast && value.whole <= kMost
                                 : value.kind == Value::Kind::Number && value.number >= static_cast<double>(kLeast) &&
                                       value.number <= static_cast<double>(kMost) && std::trunc(value.number) == value.number;
        if (!isWhole)
            failAt(open.place, okt::sentence("{} is no whole number from {} to {}", quotedKey(key), kLeast, kMost));
        return value.kind == Value::Kind::Whole ? static_cast<T>(value.whole) : static_cast<T>(value.number);
    }

    std::string const &text(Value const &value, std::string_view key, Open const &open) const
    {
        if (value.kind != Value::Kind::Text)
            failAt(open.place, quotedKey(key) + " is no text");
        return value.text;
    }

    double real(Value const &value, std::string_view key, Open const &open) const
    {
        if (value.kind == Value::Kind::Whole)
            return static_cast<double>(value.whole);
        if (value.kind == Value::Kind::Number)
            return value.number;
        std::optional<double> const named = value.kind == Value::Kind::Text ? parseDouble(value.text) : std::nullopt;
        if (!named)
            failAt(open.place,
                   quotedKey(key) + R"( is no number, and neither "infinity", "-infinity", "-0" nor "nan:" with 16 digits)");
        return *named;
    }

    std::string guid(Value const &value, std::string_view key, Open const &open) const
    {
        std::optional<std::string> const parsed = value.kind == Value::Kind::Text ? parseGuid(value.text) : std::nullopt;
        if (!parsed)
            failAt(open.place, quotedKey(key) + " is no id such as \"{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}\"");
        return *parsed;
    }

    std::string binary(Value const &value, std::string_view key, Open const &open) const
    {
        std::optional<std::string> bytes = value.kind == Value::Kind::Text ? okt::parseBase64(value.text) : std::nullopt;
        if (!bytes)
            failAt(open.place, quotedKey(key) + " is no base64");
        return std::move(*bytes);
    }

    std::string file(Value const &value, std::string_view key, Open const &open) const
    {
        std::string const &name = text(value, key, open);
        bool const leavesFolder = name.empty() || name == "." || name == ".." ||
                                  name.find_first_of(std::string_view("/\\:\0", 4)) != std::string::npos;
        if (leavesFolder)
            failAt(open.place, quotedKey(key) + " is no name of a file; folders do not belong into it");
        if (!m_get)
            failAt(open.place, quotedKey(key) + ": no files are read here");
        CByteArray const bytes = m_get(name);
        return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
    }

    std::string narrow(Value const &value, std::string_view key, Open const &open) const
    {
        std::optional<std::string> bytes = parseNarrow(text(value, key, open));
        if (!bytes)
            failAt(open.place, quotedKey(key) + " has a character that Windows-1252 lacks");
        checkLength(bytes->size(), key, open);
        return std::move(*bytes);
    }

    void checkLength(std::size_t length, std::string_view key, Open const &open) const
    {
        if (length > kLongestText)
            failAt(open.place, quotedKey(key) + " is longer than 65535 units");
    }

    /// Appends a complete entry to the bytes of its list.
    void append(Open &done, Open &parent)
    {
        if (Value const *const name = done.find("name"))
            text(*name, "name", done);
        std::string &out = parent.content;
        if (done.find("class") != nullptr)
        {
            only(done, {"class", "version"});
            appendFrameBegin(out, narrow(*done.find("class"), "class", done),
                             number<std::int32_t>(wanted(done, "version"), "version", done));
            appendContent(done, parent);
            appendFrameEnd(out);
            return;
        }
        if (m_isInHeader && m_open.size() == 1)
            failAt(done.place, "\"header\" is no frame: it has no \"class\"");
        if (Value const *const section = done.find("section"))
        {
            only(done, {"section"});
            appendSectionBegin(out, number<std::int32_t>(*section, "section", done));
            appendContent(done, parent);
            appendSectionEnd(out);
            return;
        }
        if (done.hasContent)
            failAt(done.place, "\"content\" without \"class\" or \"section\"");
        if (Value const *const variant = done.find("variant"))
            return appendVariant(done, *variant, parent);
        Field const *const value = onlyField(done);
        if (value == nullptr)
            failAt(done.place, "this entry has no value");
        appendField(*value, done, parent);
    }

    void appendContent(Open &done, Open &parent)
    {
        if (!done.hasContent)
            failAt(done.place, "\"content\" is missing");
        for (PlaceWord &word : done.words)
        {
            word.offset += parent.content.size();
            parent.words.push_back(std::move(word));
        }
        parent.content += done.content;
    }

    void appendVariant(Open &done, Value const &kind, Open &parent)
    {
        std::optional<std::int32_t> number32;
        if (kind.kind == Value::Kind::Text)
        {
            number32 = parseKind(kind.text);
            if (!number32)
                failAt(done.place, okt::sentence("\"variant\": {} is no kind that has a name", quotedKey(kind.text)));
        }
        else
            number32 = number<std::int32_t>(kind, "variant", done);
        std::string &out = parent.content;
        appendFrameBegin(out, "OKTVariant", 1);
        appendSectionBegin(out, 1);
        appendLong(out, *number32);
        std::vector<Field> rest;
        for (Field &field : done.fields)
            if (field.key != "name" && field.key != "variant")
                rest.push_back(std::move(field));
        if (rest.size() > 1)
            failAt(done.place, quotedKey(rest[1].key) + " does not belong here");
        if (rest.size() == 1 && !appendValue(rest.front(), done, parent))
            failAt(done.place, quotedKey(rest.front().key) + " is no value of a variant");
        appendSectionEnd(out);
        appendFrameEnd(out);
    }

    void appendField(Field const &field, Open const &open, Open &parent)
    {
        std::string &out = parent.content;
        std::string const &key = field.key;
        if (appendValue(field, open, parent))
            return;
        if (key == "id")
        {
            std::string const id = guid(field.value, key, open);
            if (m_isInHeader)
                m_lastId = id;
            appendId(out, id);
        }
        else if (key == "ids")
            appendIds(field, open, out);
        else if (key == "point")
            appendCoordinates(field, open, out);
        else if (key == "picture")
            appendPicture(out, binary(field.value, key, open));
        else if (key == "picture-file")
            appendPicture(out, file(field.value, key, open));
        else if (key == "raw")
            out += binary(field.value, key, open);
        else
            failAt(open.place, quotedKey(key) + " does not belong here");
    }

    /// Appends a value record; false: the entry is not one.
    bool appendValue(Field const &field, Open const &open, Open &parent)
    {
        std::string &out = parent.content;
        std::string const &key = field.key;
        Value const &value = field.value;
        if (key == "bool")
        {
            bool const isByte = value.kind == Value::Kind::Whole && value.whole >= 0 && value.whole <= 255;
            if (value.kind != Value::Kind::Bool && !isByte)
                failAt(open.place, "\"bool\" is neither true nor false nor a number from 0 to 255");
            appendBool(out, isByte ? static_cast<unsigned char>(value.whole) : value.flag ? 1 : 0);
        }
        else if (key == "short")
            appendShort(out, number<std::int16_t>(value, key, open));
        else if (key == "long")
            appendLong(out, longOf(value, open, parent));
        else if (key == "double")
            appendDouble(out, real(value, key, open));
        else if (key == "string16" || key == "string16-escaped")
        {
            std::string const &utf8 = text(value, key, open);
            std::optional<std::string> const units = key == "string16" ? parseUnits(utf8) : parseEscapedUnits(utf8);
            if (!units)
                failAt(open.place,
                       quotedKey(key) + R"( has a backslash that is followed neither by u and four digits nor by another one)");
            checkLength(units->size() / 2, key, open);
            appendString16(out, *units);
        }
        else if (key == "string8")
            appendString8(out, narrow(value, key, open));
        else if (key == "bytes")
            appendBytes(out, binary(value, key, open));
        else if (key == "bytes-file")
            appendBytes(out, file(value, key, open));
        else
            return false;
        return true;
    }

    /// A number, or in the header a word for a number that is known only at the end.
    std::int32_t longOf(Value const &value, Open const &open, Open &parent)
    {
        bool const isPosition = value.text == "position";
        if (value.kind != Value::Kind::Text || !m_isInHeader || (!isPosition && value.text != "size"))
            return number<std::int32_t>(value, "long", open);
        parent.words.push_back({parent.content.size(), isPosition, m_lastId});
        return -1;
    }

    void appendIds(Field const &field, Open const &open, std::string &out) const
    {
        if (field.value.kind != Value::Kind::List)
            failAt(open.place, "\"ids\" is no list");
        appendLong(out, static_cast<std::int32_t>(field.value.list.size()));
        for (Value const &entry : field.value.list)
            appendId(out, guid(entry, "ids", open));
    }

    void appendCoordinates(Field const &field, Open const &open, std::string &out) const
    {
        std::vector<Value> const &list = field.value.list;
        if (field.value.kind != Value::Kind::List || list.size() != 3)
            failAt(open.place, "\"point\" is no list of three numbers");
        appendPoint(out, real(list[0], "point", open), real(list[1], "point", open), real(list[2], "point", open));
    }

    Value const &wanted(Open const &open, std::string_view key) const
    {
        Value const *const value = open.find(key);
        if (value == nullptr)
            failAt(open.place, quotedKey(key) + " is missing");
        return *value;
    }

    /// The one field beside that of the name; null where there is none.
    static Field const *onlyField(Open const &open)
    {
        Field const *only = nullptr;
        for (Field const &field : open.fields)
        {
            if (field.key == "name")
                continue;
            if (only != nullptr)
                failAt(open.place, quotedKey(field.key) + " does not belong here");
            only = &field;
        }
        return only;
    }

    static void only(Open const &open, std::initializer_list<std::string_view> keys)
    {
        for (Field const &field : open.fields)
            if (field.key != "name" && std::find(keys.begin(), keys.end(), field.key) == keys.end())
                failAt(open.place, quotedKey(field.key) + " does not belong here");
    }

    Source m_source;
    OKTTextGetFile const &m_get;
    std::vector<Open> m_open; ///< the document first
    List m_list = List::None; ///< the one that the parser is in, if that belongs to the innermost object
    std::string m_key;
    bool m_hasHeader = false;
    bool m_hasObjects = false;
    bool m_isInHeader = false;
    std::string m_lastId; ///< in the header
    PoolText m_pool;
};

} // namespace

PoolText readPool(std::istream &text, OKTTextGetFile const &get)
{
    Reader reader(text, get);
    reader.read();
    if (!reader.isPool())
        throw OKTTextFault{"this is no text of a pool: it has no \"header\"", -1, 1, 1};
    return std::move(reader.pool());
}

std::string readRecords(std::istream &text)
{
    OKTTextGetFile const noFiles;
    Reader reader(text, noFiles);
    reader.read();
    if (reader.isPool())
        throw OKTTextFault{"this is the text of a pool, not of records", -1, 1, 1};
    return std::move(reader.pool().objects);
}

} // namespace okttext
