// SPDX-License-Identifier: MIT
#include <tools/okt/files/poollist.h>

#include <tools/okt/terminal/progress.h>

#include <oktcatalog/poolsearch.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktreport/naturalorder.h>

#include <algorithm>
#include <optional>
#include <system_error>

namespace okt
{

namespace fs = std::filesystem;

bool isFolder(std::string const &operand)
{
    std::error_code ignored;
    return operand != kStandardStream && fs::is_directory(utf8Path(operand), ignored);
}

std::vector<std::string> poolFilesIn(std::string const &folder, OnFault const &onFault)
{
    std::vector<std::string> files;
    PoolSearch search(utf8Path(folder), onFault, terminalProgress());
    while (std::optional<fs::path> const file = search.next())
        files.push_back(pathName(*file));
    std::sort(files.begin(), files.end(), naturalPathLess);
    return files;
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
