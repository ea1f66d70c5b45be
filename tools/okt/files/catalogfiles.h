// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/files/poollist.h>

#include <oktcatalog/update.h>
#include <oktrebar/lengthunit.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace okt
{

/// What the library asks of the system and of whoever has a digest.
UpdateOptions catalogOptions(OnFault const &onFault);

/// A path with slashes, in UTF-8.
std::string genericName(std::filesystem::path const &path);

/// The pool files of a folder as a catalogue names them. Throws Failure where there is no such folder.
FoundFolder foundIn(std::string const &folder, OnFault const &onFault);

/// A path of a catalogue as it is shown: from the current folder on, where it lies below that.
std::string shownPath(std::string const &path);

/// A catalogue in place of the files that it knows: its rows are used where they still hold, which is told by the size and the time of the
/// file. Of all other files nothing is known here.
class CatalogIndex
{
public:
    /// Throws Failure.
    explicit CatalogIndex(std::string const &catalog);

    /// All files that it knows, in the order of a reader, as they are shown.
    std::vector<std::string> files();

    struct Template
    {
        StoredTemplate pool;
        LengthUnit const *drawn;
    };
    std::optional<Template> templateOf(std::string const &file);

    /// Which files may have a text that satisfies `matches`; for the pattern of okt find.
    void ask(std::function<bool(std::string_view)> const &matches, Catalog::IdTexts ids);
    /// No text of the file does, for certain.
    bool isWithout(std::string const &file);

private:
    std::optional<CatalogFile> current(std::string const &file);

    Catalog m_catalog;
    std::unordered_map<std::string, std::string> m_folders; ///< as catalogues name them, by how they were given
    std::unordered_set<std::int64_t> m_candidates;
};

} // namespace okt
