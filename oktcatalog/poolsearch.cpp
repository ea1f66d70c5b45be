// SPDX-License-Identifier: MIT
#include <oktcatalog/poolsearch.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/folderentries.h>
#include <oktformat/valuewalk.h>

#include <oktplatform/oktplatform.h>

#include <algorithm>
#include <memory>
#include <system_error>
#include <utility>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

constexpr char kIgnoreFile[] = ".oktignore";

/// Backups, and what stands beside a file while it is saved, hold a pool too, and nobody means them with their folder.
bool isLeftBeside(std::string const &name)
{
    return name.ends_with(".bak") || (name.starts_with('.') && name.find(".saving.") != std::string::npos);
}

} // namespace

bool isPoolFile(fs::path const &path, OnProgress const &onProgress)
{
    if (CString(path.extension().u16string().c_str()).CompareNoCase(u".okt") == 0)
        return true;
    try
    {
        std::unique_ptr<ByteSource> const source = openSource(path, onProgress);
        std::string_view const begin = source->look(0, 18);
        return begin.size() == 18 && begin[0] == 2 && begin[5] == 6 && begin[6] == 5 && begin[7] == 9 &&
               knownClass(begin.substr(9)) == KnownClass::Pool;
    }
    catch (Failure const &)
    {
        return false;
    }
}

PoolSearch::PoolSearch(fs::path const &folder, std::function<void(std::string const &)> onFault, OnProgress onProgress)
    : m_onFault(std::move(onFault)), m_onProgress(std::move(onProgress))
{
    enter(folder, "");
}

std::optional<fs::path> PoolSearch::next()
{
    while (!m_levels.empty())
    {
        if (m_levels.back().at == m_levels.back().entries.size())
        {
            m_levels.pop_back();
            continue;
        }
        Level &level = m_levels.back();
        fs::directory_entry const entry = std::move(level.entries[level.at++]);
        std::error_code ignored;
        std::string const own = pathName(entry.path().filename());
        std::string const name = level.place + own;
        bool const isFolder = entry.is_directory(ignored);
        if (m_rules.isIgnored(name, isFolder))
            continue;
        if (isFolder && !entry.is_symlink(ignored)) // a link may lead back
            enter(entry.path(), name + "/");
        else if (entry.is_regular_file(ignored) && !isLeftBeside(own) && isPoolFile(entry.path(), m_onProgress))
            return entry.path();
    }
    return std::nullopt;
}

void PoolSearch::enter(fs::path const &folder, std::string const &place)
{
    std::error_code error;
    if (fs::is_regular_file(folder / kIgnoreFile, error))
        readRules(folder / kIgnoreFile, place);
    Level level;
    level.place = place;
    fs::directory_iterator at = entriesOf(folder, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error))
        level.entries.push_back(*at);
    if (error)
        m_onFault(Failure(pathName(folder), "", "the folder cannot be read: " + systemReason(error.value())).what());
    std::sort(level.entries.begin(), level.entries.end(),
              [](fs::directory_entry const &left, fs::directory_entry const &right) {
                  return left.path().native() < right.path().native();
              });
    m_levels.push_back(std::move(level));
}

void PoolSearch::readRules(fs::path const &file, std::string const &place)
{
    try
    {
        m_rules.add(readText(file), place);
    }
    catch (Failure const &failure)
    {
        m_onFault(failure.what());
    }
}

} // namespace okt
