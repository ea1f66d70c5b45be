// SPDX-License-Identifier: MIT
#include <oktcatalog/ignorerules.h>

namespace okt
{

namespace
{

/// "[a-z]", "[!0-9]" at the begin of a pattern. Gives its length; 0: it is none.
std::size_t matchSet(std::string_view pattern, char c, bool &matches)
{
    std::size_t at = 1;
    bool const isOther = at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^');
    at += isOther ? 1 : 0;
    std::size_t const first = at;
    bool isIn = false;
    for (; at < pattern.size() && (pattern[at] != ']' || at == first); ++at)
    {
        if (at + 2 < pattern.size() && pattern[at + 1] == '-' && pattern[at + 2] != ']')
        {
            isIn = isIn || (c >= pattern[at] && c <= pattern[at + 2]);
            at += 2;
        }
        else
            isIn = isIn || c == pattern[at];
    }
    if (at == pattern.size())
        return 0;
    matches = isIn != isOther && c != '/';
    return at + 1;
}

bool matches(std::string_view pattern, std::string_view text)
{
    // Where the last * stood, and how much of the text it took: only that one has ever to be tried again.
    std::size_t star = std::string_view::npos;
    std::size_t taken = 0;
    std::size_t p = 0;
    std::size_t t = 0;
    while (t < text.size())
    {
        bool isSame = false;
        std::size_t size = 1;
        if (p < pattern.size() && pattern[p] == '*')
        {
            if (pattern.substr(p, 2) == "**") // any folders
            {
                std::string_view rest = pattern.substr(p + 2);
                if (rest.starts_with('/'))
                    rest.remove_prefix(1);
                if (rest.empty())
                    return true;
                for (std::size_t i = t; i <= text.size(); ++i)
                    if ((i == t || text[i - 1] == '/') && matches(rest, text.substr(i)))
                        return true;
                return false;
            }
            star = p++;
            taken = t;
            continue;
        }
        if (p < pattern.size() && pattern[p] == '?')
            isSame = text[t] != '/';
        else if (p < pattern.size() && pattern[p] == '[')
        {
            size = matchSet(pattern.substr(p), text[t], isSame);
            if (size == 0)
            {
                size = 1;
                isSame = text[t] == '[';
            }
        }
        else if (p < pattern.size())
        {
            bool const isEscaped = pattern[p] == '\\' && p + 1 < pattern.size();
            size = isEscaped ? 2 : 1;
            isSame = pattern[isEscaped ? p + 1 : p] == text[t];
        }
        if (isSame)
        {
            p += size;
            ++t;
        }
        else if (star != std::string_view::npos && text[taken] != '/')
        {
            p = star + 1;
            t = ++taken;
        }
        else
            return false;
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

} // namespace

void IgnoreRules::add(std::string_view text, std::string const &folder)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (text.starts_with(kMark))
        text.remove_prefix(kMark.size());
    while (!text.empty())
    {
        std::size_t const end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        while (line.ends_with(' ') && !line.ends_with("\\ "))
            line.remove_suffix(1);
        if (line.empty() || line.starts_with('#'))
            continue;
        Rule rule{folder, "", false, false, line.starts_with('!')};
        if (rule.takesBack)
            line.remove_prefix(1);
        rule.isForFolders = line.ends_with('/');
        if (rule.isForFolders)
            line.remove_suffix(1);
        rule.isTied = line.find('/') != std::string_view::npos;
        if (line.starts_with('/'))
            line.remove_prefix(1);
        rule.pattern = line;
        if (!line.empty())
            m_rules.push_back(std::move(rule));
    }
}

bool IgnoreRules::isIgnored(std::string const &path, bool isFolder) const
{
    bool isIgnored = false;
    for (Rule const &rule : m_rules)
    {
        if (!path.starts_with(rule.folder) || (rule.isForFolders && !isFolder))
            continue;
        std::string_view const below = std::string_view(path).substr(rule.folder.size());
        std::size_t const slash = below.rfind('/');
        std::string_view const name = slash == std::string_view::npos ? below : below.substr(slash + 1);
        if (matches(rule.pattern, rule.isTied ? below : name))
            isIgnored = !rule.takesBack;
    }
    return isIgnored;
}

} // namespace okt
