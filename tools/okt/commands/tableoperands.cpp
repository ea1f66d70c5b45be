// SPDX-License-Identifier: MIT
#include <tools/okt/commands/tableoperands.h>

#include <tools/okt/commands/declaration.h>

#include <oktformat/fileread.h>
#include <oktformat/text.h>
#include <oktrebar/storedtemplate.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace okt
{

bool isThere(std::string const &operand)
{
    std::error_code ignored;
    return std::filesystem::exists(utf8Path(operand), ignored);
}

bool isMeantAsFile(std::string const &operand)
{
    if (operand == kStandardStream || operand.find('/') != std::string::npos || operand.ends_with(".okt"))
        return true;
    return (std::filesystem::path::preferred_separator == '\\' && operand.find('\\') != std::string::npos) || isThere(operand);
}

void refuseTypeWithoutNumber(std::string const &name)
{
    if (ParameterSelector(name).isTypeWithoutNumber())
        refuse("NAME", excerpt(name) + " is no type: a number follows type:");
}

void markTableFiles(std::vector<std::string> &words)
{
    std::size_t command = 1;
    while (command < words.size() && words[command].starts_with('-'))
        command += words[command] == "--module" ? 2 : 1;
    if (command >= words.size() || words[command] != "table")
        return;
    auto const end = std::find(words.begin() + static_cast<std::ptrdiff_t>(command), words.end(), "--");
    if (end == words.end())
        return;
    std::vector<std::string> const files(end + 1, words.end());
    words.erase(end, words.end());
    for (std::string const &file : files)
        words.push_back("--file=" + file);
}

} // namespace okt
