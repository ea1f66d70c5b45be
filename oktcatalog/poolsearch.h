// SPDX-License-Identifier: MIT
#pragma once

// The pool files of a folder, one after the other, without a list of all. Not installed.

#include <oktcatalog/ignorerules.h>

#include <oktformat/progress.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// Pool files are known by their name (*.okt) or by how they begin.
bool isPoolFile(std::filesystem::path const &path, OnProgress const &onProgress = {});

/// Looks through a folder and all below it, but for backups (*.bak) and what a .oktignore names. Links to folders are not followed. The
/// order is that of the names in each folder, byte by byte, whatever the system says: the same files come in the same order.
class PoolSearch
{
public:
    /// `onFault` hears of what cannot be read, one line each.
    PoolSearch(std::filesystem::path const &folder, std::function<void(std::string const &)> onFault,
               OnProgress onProgress = {});

    /// The next file, its name beginning with that of the folder; nothing: there is no further one.
    std::optional<std::filesystem::path> next();

private:
    struct Level
    {
        std::string place; ///< below the folder that the search began in: empty, or with a slash at the end
        std::vector<std::filesystem::directory_entry> entries;
        std::size_t at = 0;
    };

    void enter(std::filesystem::path const &folder, std::string const &place);
    void readRules(std::filesystem::path const &file, std::string const &place);

    std::function<void(std::string const &)> m_onFault;
    OnProgress m_onProgress;
    IgnoreRules m_rules;
    std::vector<Level> m_levels;
};

} // namespace okt
