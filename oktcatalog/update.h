// SPDX-License-Identifier: MIT
#pragma once

#include <oktcatalog/catalog.h>
#include <oktformat/progress.h>

#include <string>
#include <vector>

namespace okt
{

/// A file that a folder holds.
struct FoundFile
{
    std::string path; ///< as PoolRows::path
    FileStamp stamp;
};

/// A folder and what was found in it and below it.
struct FoundFolder
{
    std::string path;
    bool isWhole = true; ///< false: some of it could not be read, so that nothing of it is taken for gone
    std::vector<FoundFile> files;
    bool isGone = false; ///< it was looked through before, and goes from the catalogue with all rows below it
};

struct UpdateOptions
{
    RowDigester digestOf;
    StampReader stampOf;
    ModuleLookup moduleOf;
    OnProgress onProgress;
    /// Calls its argument, which starts the threads that read; empty: they are started as they are. For whoever wants to say what threads get.
    std::function<void(std::function<void()> const &start)> startThreads;
    /// A file that cannot be read; what was known of it stays.
    std::function<void(std::string const &fault)> onFault;
};

struct UpdateResult
{
    std::int64_t files = 0; ///< that the folders hold
    std::int64_t added = 0;
    std::int64_t changed = 0;
    std::int64_t removed = 0;
    std::int64_t damaged = 0; ///< of those that were added or changed
    std::int64_t unread = 0;
};

/// Renews the rows of these folders: of files that are new or changed, and of those that are no longer there. The rows of other folders
/// stay. Some hundred files at a time become visible at once. Throws Failure where the catalogue cannot be written, and Cancelled;
/// what was made visible until then stays.
UpdateResult update(std::filesystem::path const &catalog, std::vector<FoundFolder> const &folders,
                    UpdateOptions const &options);

/// What differs between the rows of a file and the file.
struct CatalogDifference
{
    enum class Kind
    {
        Gone,    ///< the file is not there
        New,     ///< it has no rows
        Changed, ///< its bytes are others
        Rows,    ///< the bytes are the same, and the rows are not those of them
        Unread   ///< `fault` tells why
    };
    Kind kind = Kind::Changed;
    std::string path;
    std::string fault;
};

/// Makes the rows of every file again, and compares. `folders` are those of the catalogue as they are now.
std::vector<CatalogDifference> compareRows(Catalog &catalog, std::vector<FoundFolder> const &folders,
                                           UpdateOptions const &options);

/// What tells that the rows of a file still hold, for whoever uses them in place of the file.
bool isCurrent(CatalogFile const &file, StampReader const &stampOf);

} // namespace okt
