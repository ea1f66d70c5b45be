// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// The patterns of the files .oktignore in a folder and those below it, by the rules of .gitignore: one a line, # begins a comment,
/// ! takes back, a / at the end means folders alone, one elsewhere ties the pattern to the folder of its file; * and ? stand for
/// characters of a name, [a-z] for one, ** for any folders. Of several that match the last one counts. Own code: git need not be there. Not installed.
class IgnoreRules
{
public:
    /// The rules of a folder; those of deeper ones are added with their place.
    void add(std::string_view text, std::string const &folder);
    /// `path` is relative to where the search began, with slashes. What is below an ignored folder is not asked for.
    bool isIgnored(std::string const &path, bool isFolder) const;

private:
    struct Rule
    {
        std::string folder; ///< of the file that it stands in; empty, or with a slash at the end
        std::string pattern;
        bool isTied;
        bool isForFolders;
        bool takesBack;
    };

    std::vector<Rule> m_rules;
};

} // namespace okt
