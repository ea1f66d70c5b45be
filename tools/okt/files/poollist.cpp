// SPDX-License-Identifier: MIT
#include <tools/okt/files/poollist.h>

#include <tools/okt/files/ignorefile.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/text.h>
#include <oktformat/valuewalk.h>
#include <oktreport/naturalorder.h>

#include <algorithm>
#include <memory>
#include <system_error>

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

class FolderSearch
{
public:
    FolderSearch(std::string const &folder, OnFault const &onFault) : m_onFault(onFault) { search(utf8Path(folder), ""); }

    std::vector<std::string> sorted()
    {
        std::sort(m_files.begin(), m_files.end(), naturalPathLess);
        return std::move(m_files);
    }

private:
    /// `place` is where the folder stands below the one that the search began in: empty, or with a slash at the end.
    void search(fs::path const &folder, std::string const &place)
    {
        std::error_code error;
        if (fs::is_regular_file(folder / kIgnoreFile, error))
            readRules(folder / kIgnoreFile, place);
        std::vector<fs::directory_entry> entries;
        fs::directory_iterator at(folder, error);
        for (; !error && at != fs::directory_iterator(); at.increment(error))
            entries.push_back(*at);
        if (error)
            m_onFault(Failure(pathName(folder), "", "the folder cannot be read: " + systemReason(error.value())).what());
        for (fs::directory_entry const &entry : entries)
        {
            std::error_code ignored;
            std::string const name = place + pathName(entry.path().filename());
            bool const isFolder = entry.is_directory(ignored);
            if (m_rules.isIgnored(name, isFolder))
                continue;
            if (isFolder && !entry.is_symlink(ignored)) // a link may lead back
                search(entry.path(), name + "/");
            else if (entry.is_regular_file(ignored) && !isLeftBeside(pathName(entry.path().filename())) &&
                     isPoolFile(entry.path()))
                m_files.push_back(pathName(entry.path()));
        }
    }

    void readRules(fs::path const &file, std::string const &place)
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

    OnFault const &m_onFault;
    IgnoreRules m_rules;
    std::vector<std::string> m_files;
};

} // namespace

bool isPoolFile(fs::path const &path)
{
    if (CString(path.extension().u16string().c_str()).CompareNoCase(u".okt") == 0)
        return true;
    try
    {
        std::unique_ptr<ByteSource> const source = openSource(path, terminalProgress());
        std::string_view const begin = source->look(0, 18);
        return begin.size() == 18 && begin[0] == 2 && begin[5] == 6 && begin[6] == 5 && begin[7] == 9 &&
               knownClass(begin.substr(9)) == KnownClass::Pool;
    }
    catch (Failure const &)
    {
        return false;
    }
}

bool isFolder(std::string const &operand)
{
    std::error_code ignored;
    return operand != kStandardStream && fs::is_directory(utf8Path(operand), ignored);
}

std::vector<std::string> poolFilesIn(std::string const &folder, OnFault const &onFault)
{
    return FolderSearch(folder, onFault).sorted();
}

std::vector<std::string> withFolders(std::vector<std::string> const &operands, OnFault const &onFault)
{
    std::vector<std::string> files;
    for (std::string const &operand : operands)
    {
        if (!isFolder(operand))
        {
            files.push_back(operand);
            continue;
        }
        bool isRead = true;
        std::vector<std::string> const found = poolFilesIn(operand, [&](std::string const &fault) {
            isRead = false;
            onFault(fault);
        });
        if (found.empty() && isRead)
            onFault(Failure(operand, "", "there is no pool file in this folder").what()); // it may be the wrong one
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

std::vector<std::string> namesFrom(std::string const &file)
{
    CByteArray const bytes = readInput(utf8Path(file));
    std::string_view text(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    std::vector<std::string> names;
    while (!text.empty())
    {
        std::size_t const end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (!line.empty())
            names.emplace_back(line);
    }
    return names;
}

} // namespace okt
