// SPDX-License-Identifier: MIT
#include <tools/okt/commands/gitcall.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <sstream>

namespace okt
{

bool GitCall::Side::exists() const { return file != "/dev/null" && file != "nul"; }

std::string GitCall::text() const
{
    std::string text;
    if (before.exists() && after.exists() && before.mode != after.mode)
        text += sentence("old mode {}\nnew mode {}\n", printable(std::string_view(before.mode)),
                         printable(std::string_view(after.mode)));
    for (std::string const &line : about)
        text += printable(std::string_view(line)) + "\n";
    return text;
}

std::optional<GitCall> gitCallOf(std::vector<std::string> const &arguments)
{
    std::size_t const count = arguments.size();
    GitCall call;
    if (count == 1)
    {
        call.isUnmerged = true;
        call.before.name = call.after.name = arguments[0];
        return call;
    }
    if (count < 7 || count > 9)
        return std::nullopt;
    call.before = {arguments[1], arguments[3], arguments[0]};
    call.after = {arguments[4], arguments[6], count > 7 ? arguments[7] : arguments[0]};
    std::istringstream about(count == 9 ? arguments[8] : "");
    for (std::string line; std::getline(about, line);)
        if (!line.empty() && !line.starts_with("index "))
            call.about.push_back(line);
    return call;
}

void markGitOperands(std::vector<std::string> &words)
{
    auto const found =
        std::find_if(words.begin(), words.end(), [](std::string const &word) { return word == "--git" || word == "--"; });
    if (found != words.end() && *found == "--git")
        words.insert(found + 1, "--");
}

} // namespace okt
