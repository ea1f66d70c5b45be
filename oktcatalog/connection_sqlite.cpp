// SPDX-License-Identifier: MIT
#include <oktcatalog/sqlite.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>

#include <array>
#include <new>

namespace okt
{

namespace
{

// How long to wait for another that writes.
constexpr int kPatience = 10'000; // milliseconds

constexpr std::size_t kIdText = 38;

/// idText() without memory of its own: a catalogue has more ids than anything else.
void writeId(_GUID const &id, char *out)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    auto const digits = [&out](std::uint32_t value, int count) {
        for (int shift = 4 * (count - 1); shift >= 0; shift -= 4)
            *out++ = kDigits[(value >> shift) & 15];
    };
    *out++ = '{';
    digits(static_cast<std::uint32_t>(id.Data1), 8);
    *out++ = '-';
    digits(id.Data2, 4);
    *out++ = '-';
    digits(id.Data3, 4);
    *out++ = '-';
    for (int i = 0; i < 8; ++i)
    {
        digits(id.Data4[i], 2);
        if (i == 1)
            *out++ = '-';
    }
    *out++ = '}';
}

std::string reasonOf(int code, char const *words)
{
    switch (code & 0xFF)
    {
    case SQLITE_NOTADB: return "this is no catalogue";
    case SQLITE_CORRUPT: return "the catalogue is damaged; remove it, and it is made anew";
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return "another program is using the catalogue";
    case SQLITE_FULL: return "the catalogue cannot be written: no room is left";
    case SQLITE_READONLY: return "the catalogue cannot be written: it may only be read";
    case SQLITE_CANTOPEN: return "the catalogue cannot be opened";
    case SQLITE_IOERR: return std::string("the catalogue cannot be read or written: ") + words;
    default: return words;
    }
}

} // namespace

SqliteConnection::SqliteConnection(std::string const &path, std::string name, int flags) : m_name(std::move(name))
{
    int const code = sqlite3_open_v2(path.c_str(), &m_handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code != SQLITE_OK)
    {
        std::string const words = m_handle == nullptr ? "" : sqlite3_errmsg(m_handle);
        sqlite3_close(m_handle);
        if (m_handle == nullptr || code == SQLITE_NOMEM)
            throw std::bad_alloc();
        throw Failure(m_name, "", reasonOf(code, words.c_str()));
    }
    sqlite3_extended_result_codes(m_handle, 1);
    sqlite3_busy_timeout(m_handle, kPatience);
}

SqliteConnection::~SqliteConnection() { sqlite3_close(m_handle); }

void SqliteConnection::fail(int code) const
{
    if ((code & 0xFF) == SQLITE_NOMEM)
        throw std::bad_alloc();
    throw Failure(m_name, "", reasonOf(code, sqlite3_errmsg(m_handle)));
}

void SqliteConnection::check(int code) const
{
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE)
        fail(code);
}

void SqliteConnection::run(char const *sql) { check(sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr)); }

std::int64_t SqliteConnection::number(char const *sql)
{
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.integer(0) : 0;
}

SqliteStatement::SqliteStatement(SqliteConnection &connection, std::string_view sql) : m_connection(connection)
{
    connection.check(sqlite3_prepare_v2(connection.handle(), sql.data(), static_cast<int>(sql.size()), &m_handle, nullptr));
}

SqliteStatement &SqliteStatement::bind(int index, std::int64_t value)
{
    m_connection.check(sqlite3_bind_int64(m_handle, index, value));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, double value)
{
    m_connection.check(sqlite3_bind_double(m_handle, index, value));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, std::string_view value)
{
    char const *const data = value.data() == nullptr ? "" : value.data(); // a null pointer would be no text at all
    m_connection.check(sqlite3_bind_text64(m_handle, index, data, value.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

SqliteStatement &SqliteStatement::bindNull(int index)
{
    m_connection.check(sqlite3_bind_null(m_handle, index));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, _GUID const &id)
{
    if (isSame(id, kNoId))
        return bindNull(index);
    std::array<char, kIdText> text{};
    writeId(id, text.data());
    m_connection.check(sqlite3_bind_text(m_handle, index, text.data(), kIdText, SQLITE_TRANSIENT));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, std::optional<_GUID> const &id) { return bind(index, id.value_or(kNoId)); }

bool SqliteStatement::step()
{
    int const code = sqlite3_step(m_handle);
    if (code == SQLITE_ROW)
        return true;
    int const again = sqlite3_reset(m_handle);
    m_connection.check(code == SQLITE_DONE ? again : code);
    return false;
}

void SqliteStatement::run()
{
    while (step())
    {
    }
}

void SqliteStatement::reset() { sqlite3_reset(m_handle); }

std::string_view SqliteStatement::view(int column) const
{
    auto const *const text = reinterpret_cast<char const *>(sqlite3_column_text(m_handle, column));
    return text == nullptr ? std::string_view()
                           : std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(m_handle, column)));
}

_GUID SqliteStatement::id(int column) const
{
    std::string const text(view(column));
    OKTDbObjectId id;
    if (!text.empty())
        id.setGuidFromString(CString::FromUtf8(text));
    return id.getGuid();
}

} // namespace okt
