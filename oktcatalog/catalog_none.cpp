// SPDX-License-Identifier: MIT
#include <oktcatalog/catalog.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>

// Where SQLite was not there when okt was built: there is no store, and no object of this class.

namespace okt
{

struct Catalog::Store
{
};

bool hasCatalogStore() { return false; }

Catalog::Catalog(std::filesystem::path const &path, Use)
{
    throw Failure(pathName(path), "", "this build of okt has no catalogue: it was made without SQLite");
}

Catalog::~Catalog() = default;
std::vector<CatalogFile> Catalog::files(std::string const &) { return {}; }
std::optional<CatalogFile> Catalog::file(std::string const &) { return {}; }
std::string Catalog::digest(std::int64_t) { return {}; }
std::vector<std::string> Catalog::folders() { return {}; }
void Catalog::begin() {}
void Catalog::commit() {}
void Catalog::put(PoolRows const &) {}
void Catalog::note(std::int64_t, FileStamp const &, std::int64_t) {}
void Catalog::remove(std::int64_t) {}
void Catalog::indexIds() {}
void Catalog::addFolder(std::string const &) {}
void Catalog::removeFolder(std::string const &) {}
PoolRows Catalog::rows(std::int64_t) { return {}; }
PoolRows Catalog::parameterRows(std::int64_t) { return {}; }
std::vector<std::int64_t> Catalog::filesWith(std::function<bool(std::string_view)> const &, IdTexts) { return {}; }
std::vector<WordsHit> Catalog::find(std::vector<std::string> const &) { return {}; }
std::vector<IdHit> Catalog::findId(std::string const &) { return {}; }
void Catalog::query(std::string const &, std::function<void(std::vector<std::string> const &)> const &,
                    std::function<void(std::vector<CatalogValue> const &)> const &)
{
}
std::string Catalog::fault() { return {}; }

} // namespace okt
