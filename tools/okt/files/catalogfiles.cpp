// SPDX-License-Identifier: MIT
#include <tools/okt/files/catalogfiles.h>

#include <tools/okt/terminal/interrupt.h>
#include <tools/okt/terminal/progress.h>
#include <tools/okt/terminal/system.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktinspect/moduletext.h>
#include <oktreport/naturalorder.h>
#include <tools/okt/files/sha256.h>

#include <algorithm>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

std::optional<FileStamp> stampOf(std::string const &path)
{
    std::optional<FileTimes> const times = fileTimes(utf8Path(path));
    return times ? std::optional(FileStamp{times->size, times->modifiedNs}) : std::nullopt;
}

} // namespace

std::string genericName(fs::path const &path)
{
    std::u8string const text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}

UpdateOptions catalogOptions(OnFault const &onFault)
{
    UpdateOptions options;
    options.digestOf = [](std::string_view bytes) { return sha256Hex(bytes); };
    options.stampOf = stampOf;
    options.moduleOf = moduleNaming;
    options.onProgress = terminalProgress();
    options.onFault = onFault;
    options.startThreads = [](std::function<void()> const &start) {
        InterruptHold const hold; // an interrupt is the main thread's matter
        start();
    };
    return options;
}

FoundFolder foundIn(std::string const &folder, OnFault const &onFault)
{
    if (!isFolder(folder))
        throw Failure(folder, "", "this is no folder");
    std::error_code error;
    fs::path const root = fs::canonical(utf8Path(folder), error);
    if (error)
        throw Failure(folder, "", "the folder cannot be read: " + systemReason(error.value()));
    FoundFolder found;
    found.path = genericName(root);
    for (std::string const &file : poolFilesIn(pathName(root), [&](std::string const &fault) {
             found.isWhole = false;
             onFault(fault);
         }))
    {
        std::optional<FileTimes> const times = fileTimes(utf8Path(file));
        if (!times) // gone since
            continue;
        std::string const name = fs::path::preferred_separator == '/' ? file : genericName(utf8Path(file));
        found.files.push_back({name, {times->size, times->modifiedNs}});
    }
    return found;
}

std::string shownPath(std::string const &path)
{
    static std::string const here = [] {
        std::error_code error;
        std::string const name = genericName(fs::current_path(error));
        return error || name.ends_with('/') ? name : name + "/";
    }();
    return path.starts_with(here) && path.size() > here.size() ? path.substr(here.size()) : path;
}

CatalogIndex::CatalogIndex(std::string const &catalog) : m_catalog(utf8Path(catalog), Catalog::Use::Read) {}

std::vector<std::string> CatalogIndex::files()
{
    std::vector<std::string> names;
    for (CatalogFile const &file : m_catalog.files())
        names.push_back(shownPath(file.path));
    std::sort(names.begin(), names.end(), naturalPathLess);
    return names;
}

std::optional<CatalogFile> CatalogIndex::current(std::string const &file)
{
    if (file == kStandardStream)
        return std::nullopt;
    fs::path const path = utf8Path(file);
    std::string const given = genericName(path.parent_path());
    auto const [folder, isNew] = m_folders.try_emplace(given);
    if (isNew)
    {
        std::error_code error;
        fs::path const real = fs::canonical(given.empty() ? fs::path(".") : path.parent_path(), error);
        if (!error)
            folder->second = genericName(real);
    }
    if (folder->second.empty())
        return std::nullopt;
    std::string const name = genericName(path.filename());
    std::optional<CatalogFile> known = m_catalog.file(folder->second + (folder->second.ends_with('/') ? "" : "/") + name);
    return known && known->isPlain && isCurrent(*known, stampOf) ? std::move(known) : std::nullopt;
}

std::optional<CatalogIndex::Template> CatalogIndex::templateOf(std::string const &file)
{
    std::optional<CatalogFile> const known = current(file);
    if (!known)
        return std::nullopt;
    PoolRows const rows = m_catalog.parameterRows(known->id);
    LengthUnit const *const drawn = findLengthUnit(rows.unit);
    return drawn == nullptr ? std::nullopt : std::optional(Template{okt::templateOf(rows), drawn});
}

void CatalogIndex::ask(std::function<bool(std::string_view)> const &matches, Catalog::IdTexts ids)
{
    std::vector<std::int64_t> const found = m_catalog.filesWith(matches, ids);
    m_candidates.insert(found.begin(), found.end());
}

bool CatalogIndex::isWithout(std::string const &file)
{
    std::optional<CatalogFile> const known = current(file);
    return known && !m_candidates.contains(known->id);
}

} // namespace okt
