// SPDX-License-Identifier: MIT
#pragma once

#include <oktcatalog/rows.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace okt
{

/// Whether this build can store rows at all. Without a store the constructor of Catalog throws.
bool hasCatalogStore();

/// What a folder tells of a file without opening it.
struct FileStamp
{
    std::int64_t size = -1;
    std::int64_t modifiedNs = 0; ///< since 1970 UTC

    /// Both are the same.
    bool operator==(FileStamp const &other) const { return size == other.size && modifiedNs == other.modifiedNs; }
    /// One of them differs.
    bool operator!=(FileStamp const &other) const { return !(*this == other); }
};
/// Nothing: there is no such file, or it cannot be asked. Called in several threads at once.
using StampReader = std::function<std::optional<FileStamp>(std::string const &path)>;

/// A file that a catalogue knows.
struct CatalogFile
{
    std::int64_t id = 0;
    std::string path;
    FileStamp stamp;
    std::int64_t lookedNs = 0;
    bool isPlain = false;

    /// The file may have been written again within the same tick of its clock, behind the time at which it was read.
    bool isInDoubt() const;
};

/// A file in which words were found, the best first.
struct WordsHit
{
    std::string path;
    std::string poolName;
    double rank = 0; ///< bm25: the lower the better
};

/// An object, or a pool, of an id that was looked for.
struct IdHit
{
    std::string path;
    std::string className; ///< of a pool "OKTDbPool"
    std::string name;
    std::int64_t offset = 0; ///< 0 of a pool
};

/// A value of a row of any query.
using CatalogValue = std::variant<std::monostate, std::int64_t, double, std::string>;

/// The store of the rows of many pool files: one file of SQLite, whose tables docs/catalog.md tells. What is written between begin() and
/// commit() is there as a whole or not at all, whatever ends the process; meanwhile others read what was there before. Everything
/// throws Failure with the path of the store: it cannot be opened, is no catalogue, is full, is used by another for too long. One thread
/// at a time.
class Catalog
{
public:
    enum class Use
    {
        Read,
        Write ///< it is made where there is none
    };

    /// Whether ids are looked through, which are most of the texts.
    enum class IdTexts
    {
        With,
        Without
    };

    /// Opens it.
    Catalog(std::filesystem::path const &path, Use use);
    ~Catalog();
    Catalog(Catalog const &) = delete;
    Catalog &operator=(Catalog const &) = delete;

    /// Below that folder (a path with slashes), or all; in no order.
    std::vector<CatalogFile> files(std::string const &folder = {});
    std::optional<CatalogFile> file(std::string const &path);
    /// Of the bytes of a file.
    std::string digest(std::int64_t file);
    /// The folders that were looked through, in order.
    std::vector<std::string> folders();

    /// Changes are made between these. Of a begin() without a commit() nothing is left.
    void begin();
    void commit();
    /// Takes the place of the rows of that path.
    void put(PoolRows const &rows);
    /// The file was looked at again, and is what it was.
    void note(std::int64_t file, FileStamp const &stamp, std::int64_t lookedNs);
    void remove(std::int64_t file);
    void addFolder(std::string const &path);
    void removeFolder(std::string const &path);
    /// Makes the index that findId() uses, in a transaction of its own, where it is not there yet. Ids come in no order: sorted once behind
    /// a first build it costs less than kept in order during it. Without it ids are found, too, but slowly.
    void indexIds();

    /// All rows of a file but those of words, in the order in which they were made.
    PoolRows rows(std::int64_t file);
    /// The same with no more than templateOf() needs.
    PoolRows parameterRows(std::int64_t file);
    /// The files of which some text satisfies `matches`: names, texts, values as numbers in JSON have them, expressions, descriptions, ids,
    /// classes. Each different text is asked about once. Files that are not plain are among them whatever they hold.
    std::vector<std::int64_t> filesWith(std::function<bool(std::string_view text)> const &matches, IdTexts ids);
    /// The files that have all of the words, whatever the case of letters; a word that ends in * is the begin of one.
    std::vector<WordsHit> find(std::vector<std::string> const &words);
    std::vector<IdHit> findId(std::string const &id);
    /// One query that only reads. `onColumns` gets the names once, `onRow` each row. Throws Failure where it is no query, or changes something.
    void query(std::string const &sql, std::function<void(std::vector<std::string> const &)> const &onColumns,
               std::function<void(std::vector<CatalogValue> const &)> const &onRow);
    /// What is wrong with the store itself, one a line; empty: nothing.
    std::string fault();

private:
    struct Store;
    std::unique_ptr<Store> m_store;
};

} // namespace okt
