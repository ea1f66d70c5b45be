// SPDX-License-Identifier: MIT
#pragma once

// The calls of SQLite that the catalogue makes, with its failures as exceptions. Not installed.

#include <oktplatform/oktplatform.h>

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace okt
{

/// A connection. Throws Failure with `name`, the path as the user knows it.
class SqliteConnection
{
public:
    /// `flags` as sqlite3_open_v2 has them.
    SqliteConnection(std::string const &path, std::string name, int flags);
    ~SqliteConnection();
    SqliteConnection(SqliteConnection const &) = delete;
    SqliteConnection &operator=(SqliteConnection const &) = delete;

    sqlite3 *handle() const { return m_handle; }
    void run(char const *sql);
    /// The first column of the first row of a query as a number.
    std::int64_t number(char const *sql);
    /// Throws what the code means; SQLITE_OK and its like mean nothing.
    void check(int code) const;
    [[noreturn]] void fail(int code) const;

private:
    std::string m_name;
    sqlite3 *m_handle = nullptr;
};

/// A prepared statement. Parameters are numbered from 1, columns from 0. Bound texts must live until the next step().
class SqliteStatement
{
public:
    SqliteStatement(SqliteConnection &connection, std::string_view sql);
    ~SqliteStatement() { sqlite3_finalize(m_handle); }
    SqliteStatement(SqliteStatement const &) = delete;
    SqliteStatement &operator=(SqliteStatement const &) = delete;

    sqlite3_stmt *handle() const { return m_handle; }

    SqliteStatement &bind(int index, std::int64_t value);
    SqliteStatement &bind(int index, int value) { return bind(index, std::int64_t{value}); }
    SqliteStatement &bind(int index, double value);
    SqliteStatement &bind(int index, std::string_view value);
    SqliteStatement &bind(int index, std::string const &value) { return bind(index, std::string_view(value)); }
    SqliteStatement &bind(int index, char const *value) { return bind(index, std::string_view(value)); }
    SqliteStatement &bindNull(int index);
    /// In registry form; of nobody: null.
    SqliteStatement &bind(int index, _GUID const &id);
    SqliteStatement &bind(int index, std::optional<_GUID> const &id);

    /// True: there is a row. False: the end, and the statement may be used again.
    bool step();
    /// For a statement without rows: one step.
    void run();
    void reset();

    std::int64_t integer(int column) const { return sqlite3_column_int64(m_handle, column); }
    double real(int column) const { return sqlite3_column_double(m_handle, column); }
    bool isNull(int column) const { return sqlite3_column_type(m_handle, column) == SQLITE_NULL; }
    /// Good until the next step.
    std::string_view view(int column) const;
    std::string text(int column) const { return std::string(view(column)); }
    /// Of a text in registry form; of null: nobody's.
    _GUID id(int column) const;

private:
    SqliteConnection &m_connection;
    sqlite3_stmt *m_handle = nullptr;
};

} // namespace okt
