// SPDX-License-Identifier: MIT
#include <oktcatalog/catalog.h>

#include <oktcatalog/sqlite.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/valuetext.h>

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

// "OKTC", by which a file of SQLite is known as a catalogue, and the number of this layout of its tables.
constexpr std::int64_t kMark = 0x4F4B5443;
constexpr std::int64_t kLayout = 1;

// Rows of one file lie beside each other: they are written, read and removed together.
constexpr char kTables[] = R"(
CREATE TABLE file (id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, size INTEGER NOT NULL, modified_ns INTEGER NOT NULL,
    sha256 TEXT NOT NULL, pool_id TEXT, pool_name TEXT NOT NULL, objects INTEGER NOT NULL, state TEXT NOT NULL,
    looked_ns INTEGER NOT NULL, plain INTEGER NOT NULL, unit TEXT NOT NULL, classes TEXT NOT NULL);
CREATE TABLE object (file INTEGER NOT NULL, number INTEGER NOT NULL, object_id TEXT, class TEXT NOT NULL, name TEXT NOT NULL,
    offset INTEGER NOT NULL, size INTEGER NOT NULL, PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE TABLE parameter (file INTEGER NOT NULL, number_in_file INTEGER NOT NULL, object_id TEXT, category TEXT, owner TEXT,
    name TEXT NOT NULL, type INTEGER NOT NULL, type_name TEXT NOT NULL, list_index INTEGER NOT NULL, list_code TEXT NOT NULL,
    kind TEXT NOT NULL, number REAL, text TEXT, is_length INTEGER NOT NULL, expression TEXT NOT NULL, description TEXT NOT NULL,
    kind_number INTEGER NOT NULL, place INTEGER NOT NULL, PRIMARY KEY (file, number_in_file)) WITHOUT ROWID;
CREATE TABLE reference (file INTEGER NOT NULL, number INTEGER NOT NULL, from_id TEXT, to_id TEXT, role TEXT NOT NULL,
    PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE TABLE picture (file INTEGER NOT NULL, number INTEGER NOT NULL, object_id TEXT, format TEXT NOT NULL, width INTEGER NOT NULL,
    height INTEGER NOT NULL, bytes INTEGER NOT NULL, view TEXT NOT NULL, PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE TABLE finding (file INTEGER NOT NULL, number INTEGER NOT NULL, code TEXT NOT NULL, severity TEXT NOT NULL,
    offset INTEGER NOT NULL, object_id TEXT, message TEXT NOT NULL, PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE TABLE folder (path TEXT PRIMARY KEY) WITHOUT ROWID;
CREATE VIRTUAL TABLE words USING fts5(file UNINDEXED, name, text, description, expression, tokenize = 'unicode61 remove_diacritics 2');
CREATE INDEX file_by_pool ON file (pool_id);
)";

// A word in a name says more of a template than one in an expression. The first column is not searched.
constexpr char kRank[] = "bm25(words, 0, 10, 5, 2, 1)";

constexpr std::array<char const *, 12> kRoles = {"owner", "category", "group",   "parameter", "member",  "construct",
                                                 "index", "sketch",   "actions", "radial",    "picture", ""};

char const *roleOf(std::string_view text)
{
    auto const found = std::find(kRoles.begin(), kRoles.end(), text);
    return found == kRoles.end() ? "" : *found;
}

FileState stateOf(std::string_view name)
{
    for (FileState const state : {FileState::Whole, FileState::Damaged})
        if (name == stateName(state))
            return state;
    return FileState::Foreign;
}

std::string pathOf(fs::path const &path)
{
    std::u8string const text = path.u8string();
    return std::string(text.begin(), text.end());
}

/// A path that is opened to be read must be there: SQLite tells less about what is wrong. It is not opened for that, as another may write
/// to it. SQLite opens it for writing all the same, where that is allowed: what a killed run left is put right by whoever comes next.
int flagsFor(fs::path const &path, Catalog::Use use)
{
    std::error_code error;
    if (use == Catalog::Use::Read && !fs::is_regular_file(path, error))
        readableLength(path);
    return SQLITE_OPEN_READWRITE | (use == Catalog::Use::Write ? SQLITE_OPEN_CREATE : 0);
}

/// Lets a statement look and do nothing else.
int onlyReading(void *, int action, char const *, char const *function, char const *, char const *)
{
    switch (action)
    {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE: return SQLITE_OK;
    case SQLITE_FUNCTION:
        return function != nullptr && std::string_view(function) == "load_extension" ? SQLITE_DENY : SQLITE_OK;
    default: return SQLITE_DENY;
    }
}

/// As SQLite writes a blob: "X'00FF'".
std::string blobText(std::string_view bytes)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "X'";
    for (char const c : bytes)
    {
        auto const byte = static_cast<unsigned char>(c);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text + "'";
}

/// A blob, and a text with a NUL in it, that no text form could hold, are texts as blobs are written.
CatalogValue valueAt(sqlite3_stmt *statement, int column)
{
    switch (sqlite3_column_type(statement, column))
    {
    case SQLITE_INTEGER: return static_cast<std::int64_t>(sqlite3_column_int64(statement, column));
    case SQLITE_FLOAT: return sqlite3_column_double(statement, column);
    case SQLITE_NULL: return {};
    default: break;
    }
    bool const isBlob = sqlite3_column_type(statement, column) == SQLITE_BLOB;
    auto const *const text = static_cast<char const *>(
        isBlob ? sqlite3_column_blob(statement, column) : static_cast<void const *>(sqlite3_column_text(statement, column)));
    std::string const value(text == nullptr ? "" : text,
                            text == nullptr ? 0 : static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    return isBlob || value.find('\0') != std::string::npos ? blobText(value) : value;
}

CatalogFile fileAt(SqliteStatement const &statement)
{
    CatalogFile file;
    file.id = statement.integer(0);
    file.path = statement.text(1);
    file.stamp = {statement.integer(2), statement.integer(3)};
    file.lookedNs = statement.integer(4);
    file.isPlain = statement.integer(5) != 0;
    return file;
}

constexpr std::string_view kFileColumns = "id, path, size, modified_ns, looked_ns, plain";

} // namespace

struct Catalog::Store
{
    Store(fs::path const &path, Use use) : connection(pathOf(path), pathName(path), flagsFor(path, use)), name(pathName(path))
    {
        if (connection.number("PRAGMA application_id") != kMark)
        {
            // A run that ended before it wrote the tables leaves an empty file.
            if (use == Use::Read || connection.number("SELECT count(*) FROM sqlite_master") != 0)
                throw Failure(name, "", "this is no catalogue");
            make();
        }
        if (connection.number("PRAGMA user_version") != kLayout)
            throw Failure(name, "", "the catalogue was made by another release of okt");
        connection.run("PRAGMA cache_size = -32000"); // kB
        if (use == Use::Read)
            connection.run("PRAGMA query_only = ON");
        SqliteStatement(connection, "SELECT file FROM words LIMIT 0"); // looks at the configuration of the search
    }

    ~Store()
    {
        if (!isWriting)
            return;
        // At rest a catalogue is one file, which may also lie where nobody may write. While somebody reads it, the other two stay.
        statements.clear();
        if (sqlite3_get_autocommit(connection.handle()) == 0)
            sqlite3_exec(connection.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_busy_timeout(connection.handle(), 0);
        sqlite3_exec(connection.handle(), "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
    }

    void begin()
    {
        if (!isWriting)
        {
            // Readers see what was there before, while pages are added to a file beside it.
            connection.run("PRAGMA journal_mode = WAL");
            connection.run("PRAGMA synchronous = NORMAL");
            connection.run("PRAGMA wal_autocheckpoint = 8000");
            isWriting = true;
        }
        connection.run("BEGIN IMMEDIATE");
    }

    void make()
    {
        connection.run("PRAGMA page_size = 8192");
        connection.run("BEGIN IMMEDIATE");
        if (connection.number("SELECT count(*) FROM sqlite_master") == 0) // nobody was quicker
        {
            connection.run(kTables);
            // Words are sorted into the index in larger heaps.
            connection.run("INSERT INTO words (words, rank) VALUES ('hashsize', 8000000)");
            connection.run(("PRAGMA application_id = " + std::to_string(kMark)).c_str());
            connection.run(("PRAGMA user_version = " + std::to_string(kLayout)).c_str());
        }
        connection.run("COMMIT");
    }

    SqliteStatement &statement(char const *sql)
    {
        auto const [at, isNew] = statements.try_emplace(sql);
        if (isNew)
            at->second = std::make_unique<SqliteStatement>(connection, sql);
        return *at->second;
    }

    void removeRows(std::int64_t file)
    {
        for (char const *const sql : {"DELETE FROM object WHERE file = ?", "DELETE FROM parameter WHERE file = ?",
                                      "DELETE FROM reference WHERE file = ?", "DELETE FROM picture WHERE file = ?",
                                      "DELETE FROM finding WHERE file = ?", "DELETE FROM words WHERE rowid = ?"})
            statement(sql).bind(1, file).run();
    }

    void putObjects(std::int64_t file, PoolRows const &rows);
    void putParameters(std::int64_t file, PoolRows const &rows);
    void putRest(std::int64_t file, PoolRows const &rows);

    SqliteConnection connection;
    std::string name;
    bool isWriting = false;
    std::unordered_map<char const *, std::unique_ptr<SqliteStatement>> statements; ///< by the literal
};

bool hasCatalogStore() { return true; }

Catalog::Catalog(fs::path const &path, Use use) : m_store(std::make_unique<Store>(path, use)) {}

Catalog::~Catalog() = default;

std::vector<CatalogFile> Catalog::files(std::string const &folder)
{
    // What begins with the folder and a slash: the character behind the slash is a zero.
    SqliteStatement statement(m_store->connection, "SELECT " + std::string(kFileColumns) + " FROM file" +
                                                       (folder.empty() ? "" : " WHERE path > ? AND path < ?"));
    std::string const from = folder + "/";
    std::string const to = folder + "0";
    if (!folder.empty())
        statement.bind(1, from).bind(2, to);
    std::vector<CatalogFile> files;
    while (statement.step())
        files.push_back(fileAt(statement));
    return files;
}

std::optional<CatalogFile> Catalog::file(std::string const &path)
{
    SqliteStatement &statement =
        m_store->statement("SELECT id, path, size, modified_ns, looked_ns, plain FROM file WHERE path = ?").bind(1, path);
    if (!statement.step())
        return std::nullopt;
    CatalogFile found = fileAt(statement);
    statement.reset();
    return found;
}

std::string Catalog::digest(std::int64_t file)
{
    SqliteStatement &statement = m_store->statement("SELECT sha256 FROM file WHERE id = ?").bind(1, file);
    std::string digest = statement.step() ? statement.text(0) : "";
    statement.reset();
    return digest;
}

std::vector<std::string> Catalog::folders()
{
    SqliteStatement statement(m_store->connection, "SELECT path FROM folder ORDER BY path");
    std::vector<std::string> folders;
    while (statement.step())
        folders.push_back(statement.text(0));
    return folders;
}

void Catalog::begin() { m_store->begin(); }

void Catalog::commit() { m_store->connection.run("COMMIT"); }

void Catalog::note(std::int64_t file, FileStamp const &stamp, std::int64_t lookedNs)
{
    m_store->statement("UPDATE file SET size = ?, modified_ns = ?, looked_ns = ? WHERE id = ?")
        .bind(1, stamp.size)
        .bind(2, stamp.modifiedNs)
        .bind(3, lookedNs)
        .bind(4, file)
        .run();
}

void Catalog::remove(std::int64_t file)
{
    m_store->removeRows(file);
    m_store->statement("DELETE FROM file WHERE id = ?").bind(1, file).run();
}

void Catalog::indexIds()
{
    if (m_store->connection.number("SELECT count(*) FROM sqlite_master WHERE name = 'object_by_id'") != 0)
        return;
    begin();
    m_store->connection.run("CREATE INDEX IF NOT EXISTS object_by_id ON object (object_id)");
    commit();
}

void Catalog::addFolder(std::string const &path)
{
    m_store->statement("INSERT OR IGNORE INTO folder (path) VALUES (?)").bind(1, path).run();
}

void Catalog::removeFolder(std::string const &path)
{
    m_store->statement("DELETE FROM folder WHERE path = ?").bind(1, path).run();
}

void Catalog::put(PoolRows const &rows)
{
    Store &store = *m_store;
    // The number of a file stays, whatever becomes of its contents.
    std::int64_t file = 0;
    if (std::optional<CatalogFile> const known = this->file(rows.path))
    {
        file = known->id;
        remove(file);
    }
    SqliteStatement &statement = store.statement("INSERT INTO file (id, path, size, modified_ns, sha256, pool_id, pool_name, "
                                                 "objects, state, looked_ns, plain, unit, classes)"
                                                 " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    if (file == 0)
        statement.bindNull(1);
    else
        statement.bind(1, file);
    statement.bind(2, rows.path).bind(3, rows.size).bind(4, rows.modifiedNs).bind(5, rows.sha256);
    statement.bind(6, rows.poolId).bind(7, rows.poolName).bind(8, static_cast<std::int64_t>(rows.objects.size()));
    statement.bind(9, stateName(rows.state)).bind(10, rows.lookedNs).bind(11, rows.isPlain ? 1 : 0);
    statement.bind(12, rows.unit).bind(13, rows.classes).run();
    if (file == 0)
        file = sqlite3_last_insert_rowid(store.connection.handle());
    store.putObjects(file, rows);
    store.putParameters(file, rows);
    store.putRest(file, rows);
}

void Catalog::Store::putObjects(std::int64_t file, PoolRows const &rows)
{
    SqliteStatement &insert =
        statement("INSERT INTO object (file, number, object_id, class, name, offset, size) VALUES (?, ?, ?, ?, ?, ?, ?)");
    std::int64_t number = 0;
    for (ObjectRow const &row : rows.objects)
        insert.bind(1, file)
            .bind(2, number++)
            .bind(3, row.id)
            .bind(4, row.className)
            .bind(5, row.name)
            .bind(6, row.offset)
            .bind(7, row.size)
            .run();
}

void Catalog::Store::putParameters(std::int64_t file, PoolRows const &rows)
{
    SqliteStatement &insert = statement("INSERT INTO parameter (file, number_in_file, object_id, category, owner, name, type, "
                                        "type_name, list_index, list_code, kind,"
                                        " number, text, is_length, expression, description, kind_number, place)"
                                        " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    std::int64_t number = 0;
    std::unordered_map<int, std::string> kinds;
    for (ParameterRow const &row : rows.parameters)
    {
        auto const [kind, isNew] = kinds.try_emplace(row.kind);
        if (isNew)
            kind->second = kindName(static_cast<VARTYPE>(row.kind));
        insert.bind(1, file).bind(2, number++).bind(3, row.id).bind(4, row.category).bind(5, row.owner).bind(6, row.name);
        insert.bind(7, row.type).bind(8, row.typeName).bind(9, row.listIndex).bind(10, row.listCode).bind(11, kind->second);
        if (row.number)
            insert.bind(12, *row.number);
        else
            insert.bindNull(12);
        if (row.text)
            insert.bind(13, *row.text);
        else
            insert.bindNull(13);
        insert.bind(14, row.isLength ? 1 : 0).bind(15, row.expression).bind(16, row.description);
        insert.bind(17, row.kind).bind(18, row.place).run();
    }
}

void Catalog::Store::putRest(std::int64_t file, PoolRows const &rows)
{
    SqliteStatement &reference = statement("INSERT INTO reference (file, number, from_id, to_id, role) VALUES (?, ?, ?, ?, ?)");
    std::int64_t number = 0;
    for (ReferenceRow const &row : rows.references)
        reference.bind(1, file).bind(2, number++).bind(3, row.from).bind(4, row.to).bind(5, row.role).run();

    SqliteStatement &picture = statement(
        "INSERT INTO picture (file, number, object_id, format, width, height, bytes, view) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    number = 0;
    for (PictureRow const &row : rows.pictures)
    {
        picture.bind(1, file).bind(2, number++).bind(3, row.id).bind(4, row.format).bind(5, row.width).bind(6, row.height);
        picture.bind(7, row.bytes).bind(8, row.view).run();
    }

    SqliteStatement &finding = statement(
        "INSERT INTO finding (file, number, code, severity, offset, object_id, message) VALUES (?, ?, ?, ?, ?, ?, ?)");
    number = 0;
    for (FindingRow const &row : rows.findings)
    {
        finding.bind(1, file).bind(2, number++).bind(3, row.code).bind(4, row.severity).bind(5, row.offset);
        finding.bind(6, row.id).bind(7, row.message).run();
    }

    statement("INSERT INTO words (rowid, file, name, text, description, expression) VALUES (?, ?, ?, ?, ?, ?)")
        .bind(1, file)
        .bind(2, file)
        .bind(3, rows.words.names)
        .bind(4, rows.words.texts)
        .bind(5, rows.words.descriptions)
        .bind(6, rows.words.expressions)
        .run();
}

PoolRows Catalog::parameterRows(std::int64_t file)
{
    PoolRows rows;
    SqliteStatement &head = m_store->statement("SELECT size, pool_id, pool_name, plain, unit, classes FROM file WHERE id = ?");
    if (!head.bind(1, file).step())
        return rows;
    rows.size = head.integer(0);
    if (!head.isNull(1))
        rows.poolId = head.id(1);
    rows.poolName = head.text(2);
    rows.isPlain = head.integer(3) != 0;
    rows.unit = head.text(4);
    rows.classes = head.text(5);
    head.reset();
    SqliteStatement &each = m_store->statement(
        "SELECT object_id, category, owner, name, type, type_name, list_index, list_code, number, text, is_length, expression,"
        " description, kind_number, place FROM parameter WHERE file = ? ORDER BY number_in_file");
    each.bind(1, file);
    while (each.step())
    {
        ParameterRow row;
        row.id = each.id(0);
        row.category = each.id(1);
        row.owner = each.id(2);
        row.name = each.text(3);
        row.type = static_cast<int>(each.integer(4));
        row.typeName = each.text(5);
        row.listIndex = static_cast<int>(each.integer(6));
        row.listCode = each.text(7);
        if (!each.isNull(8))
            row.number = each.real(8);
        if (!each.isNull(9))
            row.text = each.text(9);
        row.isLength = each.integer(10) != 0;
        row.expression = each.text(11);
        row.description = each.text(12);
        row.kind = static_cast<int>(each.integer(13));
        row.place = static_cast<int>(each.integer(14));
        rows.parameters.push_back(std::move(row));
    }
    return rows;
}

PoolRows Catalog::rows(std::int64_t file)
{
    PoolRows rows = parameterRows(file);
    SqliteConnection &connection = m_store->connection;
    SqliteStatement head(connection, "SELECT path, modified_ns, looked_ns, sha256, state FROM file WHERE id = ?");
    if (!head.bind(1, file).step())
        return rows;
    rows.path = head.text(0);
    rows.modifiedNs = head.integer(1);
    rows.lookedNs = head.integer(2);
    rows.sha256 = head.text(3);
    rows.state = stateOf(head.view(4));

    SqliteStatement object(connection,
                           "SELECT object_id, class, name, offset, size FROM object WHERE file = ? ORDER BY number");
    object.bind(1, file);
    while (object.step())
        rows.objects.push_back({object.id(0), object.text(1), object.text(2), object.integer(3), object.integer(4)});

    SqliteStatement reference(connection, "SELECT from_id, to_id, role FROM reference WHERE file = ? ORDER BY number");
    reference.bind(1, file);
    while (reference.step())
        rows.references.push_back({reference.id(0), reference.id(1), roleOf(reference.view(2))});

    SqliteStatement picture(connection,
                            "SELECT object_id, format, width, height, bytes, view FROM picture WHERE file = ? ORDER BY number");
    picture.bind(1, file);
    while (picture.step())
        rows.pictures.push_back({picture.id(0), picture.text(1), static_cast<int>(picture.integer(2)),
                                 static_cast<int>(picture.integer(3)), picture.integer(4), picture.text(5)});

    SqliteStatement finding(connection,
                            "SELECT code, severity, offset, object_id, message FROM finding WHERE file = ? ORDER BY number");
    finding.bind(1, file);
    while (finding.step())
        rows.findings.push_back({finding.text(0), finding.text(1), finding.integer(2),
                                 finding.isNull(3) ? std::nullopt : std::optional(finding.id(3)), finding.text(4)});

    SqliteStatement words(connection, "SELECT name, text, description, expression FROM words WHERE rowid = ?");
    if (words.bind(1, file).step())
        rows.words = {words.text(0), words.text(1), words.text(2), words.text(3)};
    return rows;
}

std::vector<std::int64_t> Catalog::filesWith(std::function<bool(std::string_view)> const &matches, IdTexts ids)
{
    std::unordered_set<std::int64_t> found;
    std::unordered_map<std::string, bool> known;
    auto const asked = [&](std::string_view text) {
        auto const [at, isNew] = known.try_emplace(std::string(text));
        if (isNew)
            at->second = matches(text);
        return at->second;
    };
    auto const look = [&](char const *sql, bool isOnceOnly) {
        SqliteStatement each(m_store->connection, sql);
        while (each.step())
            if (std::string_view const text = each.view(1);
                !text.empty() && !found.contains(each.integer(0)) && (isOnceOnly ? matches(text) : asked(text)))
                found.insert(each.integer(0));
    };
    {
        SqliteStatement each(m_store->connection, "SELECT id FROM file WHERE NOT plain");
        while (each.step())
            found.insert(each.integer(0));
    }
    look("SELECT id, pool_name FROM file", true);
    look("SELECT file, class FROM object", false);
    look("SELECT file, name FROM object", false);
    look("SELECT file, text FROM parameter WHERE text IS NOT NULL", false);
    look("SELECT file, expression FROM parameter WHERE expression <> ''", false);
    look("SELECT file, description FROM parameter WHERE description <> ''", false);
    {
        SqliteStatement each(m_store->connection, "SELECT file, number, kind_number FROM parameter WHERE number IS NOT NULL");
        while (each.step())
        {
            std::int64_t const file = each.integer(0);
            double const value = each.real(1);
            bool const isTruth = each.integer(2) == VT_BOOL;
            if (!found.contains(file) && asked(isTruth ? (value == 0 ? "false" : "true") : number(value)))
                found.insert(file);
        }
    }
    {
        SqliteStatement each(m_store->connection, "SELECT file, view FROM picture");
        while (each.step())
            for (std::string_view lines = each.view(1); !lines.empty();)
            {
                std::string_view const line = lines.substr(0, lines.find('\n'));
                if (asked(line))
                    found.insert(each.integer(0));
                lines.remove_prefix(std::min(lines.size(), line.size() + 1));
            }
    }
    if (ids == IdTexts::With)
    {
        look("SELECT id, pool_id FROM file WHERE pool_id IS NOT NULL", true);
        look("SELECT file, object_id FROM object WHERE object_id IS NOT NULL", true);
    }
    return {found.begin(), found.end()};
}

std::vector<WordsHit> Catalog::find(std::vector<std::string> const &words)
{
    std::string query;
    for (std::string const &word : words)
    {
        bool const isBegin = word.size() > 1 && word.ends_with('*');
        query += query.empty() ? "\"" : " \"";
        for (char const c : isBegin ? std::string_view(word).substr(0, word.size() - 1) : std::string_view(word))
            query += c == '"' ? std::string("\"\"") : std::string(1, c);
        query += isBegin ? "\"*" : "\"";
    }
    SqliteStatement each(m_store->connection, std::string("SELECT file.path, file.pool_name, ") + kRank +
                                                  " AS best FROM words JOIN file ON file.id = words.rowid"
                                                  " WHERE words MATCH ? ORDER BY best, file.path");
    each.bind(1, query);
    std::vector<WordsHit> hits;
    while (each.step())
        hits.push_back({each.text(0), each.text(1), each.real(2)});
    return hits;
}

std::vector<IdHit> Catalog::findId(std::string const &id)
{
    SqliteStatement each(m_store->connection,
                         "SELECT path, 'OKTDbPool', pool_name, 0 FROM file WHERE pool_id = ?1 UNION ALL"
                         " SELECT path, class, name, offset FROM object JOIN file ON file.id = object.file WHERE object_id = ?1"
                         " ORDER BY 1, 4");
    each.bind(1, id);
    std::vector<IdHit> hits;
    while (each.step())
        hits.push_back({each.text(0), each.text(1), each.text(2), each.integer(3)});
    return hits;
}

void Catalog::query(std::string const &sql, std::function<void(std::vector<std::string> const &)> const &onColumns,
                    std::function<void(std::vector<CatalogValue> const &)> const &onRow)
{
    sqlite3 *const handle = m_store->connection.handle();
    sqlite3_set_authorizer(handle, onlyReading, nullptr);
    sqlite3_stmt *prepared = nullptr;
    char const *rest = nullptr;
    int const code = sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &prepared, &rest);
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)> const statement(prepared, sqlite3_finalize);
    std::string const reason = sqlite3_errmsg(handle);
    sqlite3_set_authorizer(handle, nullptr, nullptr);
    if (code == SQLITE_AUTH)
        throw Failure(m_store->name, "", "a query may only read");
    if (code == SQLITE_ERROR)
        throw Failure(m_store->name, "", "this is no query: " + printable(std::string_view(reason)));
    m_store->connection.check(code);
    if (prepared == nullptr)
        throw Failure(m_store->name, "", "this is no query: it is empty");
    if (std::string(rest, sql.data() + sql.size()).find_first_not_of(" \t\r\n;") != std::string::npos)
        throw Failure(m_store->name, "", "this is more than one query");
    if (sqlite3_stmt_readonly(prepared) == 0)
        throw Failure(m_store->name, "", "a query may only read");
    int const count = sqlite3_column_count(prepared);
    std::vector<std::string> columns;
    for (int i = 0; i < count; ++i)
        columns.emplace_back(sqlite3_column_name(prepared, i));
    onColumns(columns);
    std::vector<CatalogValue> row(static_cast<std::size_t>(count));
    int result = sqlite3_step(prepared);
    for (; result == SQLITE_ROW; result = sqlite3_step(prepared))
    {
        for (int i = 0; i < count; ++i)
            row[static_cast<std::size_t>(i)] = valueAt(prepared, i);
        onRow(row);
    }
    m_store->connection.check(result);
}

std::string Catalog::fault()
{
    std::string lines;
    SqliteStatement each(m_store->connection, "PRAGMA integrity_check(10)");
    while (each.step())
        if (each.view(0) != "ok")
            lines += (lines.empty() ? "" : "\n") + each.text(0);
    return lines;
}

} // namespace okt
