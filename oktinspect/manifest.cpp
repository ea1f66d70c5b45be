// SPDX-License-Identifier: MIT
#include <oktinspect/manifest.h>

#include <oktformat/sentence.h>

#include <algorithm>
#include <optional>
#include <set>

namespace okt
{

namespace
{

constexpr std::string_view kHeading = "# okt manifest 1: SHA-256 of the bytes, of the contents, path";
constexpr std::size_t kDigits = 64;

bool isDigest(std::string_view text)
{
    return text.size() == kDigits &&
           std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

/// The word up to the next blank, which is taken away with it.
std::string_view taken(std::string_view &line)
{
    std::size_t const end = std::min(line.find(' '), line.size());
    std::string_view const word = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

/// A name as it is. Nothing: there is a backslash that is no escape.
std::optional<std::string> unescaped(std::string_view name)
{
    std::string text;
    for (std::size_t at = 0; at < name.size(); ++at)
    {
        if (name[at] != '\\')
        {
            text += name[at];
            continue;
        }
        std::string_view const kind = name.substr(std::min(++at, name.size()), 1);
        if (kind != "\\" && kind != "n" && kind != "r")
            return std::nullopt;
        text += kind == "n" ? '\n' : kind == "r" ? '\r' : '\\';
    }
    return text;
}

} // namespace

std::string digestLine(std::string_view digests, std::string_view separator, std::string_view name)
{
    if (name.find_first_of("\\\n\r") == std::string_view::npos)
        return sentence("{}{}{}\n", digests, separator, name);
    std::string escaped;
    for (char const c : name)
        escaped += c == '\\' ? "\\\\" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
    return sentence("\\{}{}{}\n", digests, separator, escaped);
}

std::string manifestText(Manifest const &manifest)
{
    std::string text = std::string(kHeading) + "\n";
    for (auto const &[path, digests] : manifest)
        text += digestLine(sentence("{} {}", digests.bytes, digests.contents.empty() ? "-" : digests.contents), " ", path);
    return text;
}

Manifest parseManifest(std::string_view text)
{
    Manifest manifest;
    for (std::size_t number = 1; !text.empty(); ++number)
    {
        std::size_t const end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (number == 1)
        {
            if (!line.starts_with("# okt manifest 1"))
                throw ManifestError(number, "this is no manifest that okt hash made");
            continue;
        }
        if (line.empty() || line.starts_with('#'))
            continue;
        bool const isEscaped = line.starts_with('\\');
        line.remove_prefix(isEscaped ? 1 : 0);
        std::string_view const bytes = taken(line);
        std::string_view const contents = taken(line);
        if (!isDigest(bytes) || (!isDigest(contents) && contents != "-") || line.empty())
            throw ManifestError(number, "two digests and a path are wanted here");
        FileDigests const digests{std::string(bytes), contents == "-" ? "" : std::string(contents)};
        std::optional<std::string> const path = isEscaped ? unescaped(line) : std::string(line);
        if (!path)
            throw ManifestError(number, "the path has a backslash that is no escape");
        if (!manifest.emplace(*path, digests).second)
            throw ManifestError(number, "the path stands here twice");
    }
    if (manifest.empty())
        throw ManifestError(1, "the manifest names no file");
    return manifest;
}

namespace
{

/// Files that stand under the same name as before, or have not found another one yet.
class Comparison
{
public:
    Comparison(Manifest const &before, Manifest const &now) : m_before(before), m_now(now)
    {
        for (auto const &[path, digests] : before)
            if (auto const same = now.find(path); same != now.end() && isSame(digests, same->second))
            {
                if (digests.bytes != same->second.bytes)
                    m_changes.push_back({Kind::Rewritten, path, ""});
            }
            else
                m_left.insert(path);
        for (auto const &[path, digests] : now)
            if (auto const same = before.find(path); same == before.end() || !isSame(same->second, digests))
                m_came.insert(path);
    }

    std::vector<ManifestChange> run()
    {
        pair(&FileDigests::bytes); // of several with the same contents the one that is the same to the byte
        pair(&FileDigests::contents);
        for (std::string const &path : m_left)
        {
            bool const isThere = m_now.contains(path);
            m_changes.push_back({isThere ? Kind::Changed : Kind::Missing, path, ""});
            m_came.erase(path);
        }
        for (std::string const &path : m_came)
            m_changes.push_back({Kind::New, path, ""});
        std::stable_sort(m_changes.begin(), m_changes.end(),
                         [](ManifestChange const &left, ManifestChange const &right) { return left.path < right.path; });
        return std::move(m_changes);
    }

private:
    using Kind = ManifestChange::Kind;

    static bool isSame(FileDigests const &left, FileDigests const &right)
    {
        return left.bytes == right.bytes || (!left.contents.empty() && left.contents == right.contents);
    }

    void pair(std::string FileDigests::*digest)
    {
        std::multimap<std::string, std::string> came;
        for (std::string const &path : m_came)
            if (!(m_now.at(path).*digest).empty())
                came.emplace(m_now.at(path).*digest, path);
        for (auto left = m_left.begin(); left != m_left.end();)
        {
            auto const found = came.find(m_before.at(*left).*digest);
            if (found == came.end())
            {
                ++left;
                continue;
            }
            m_changes.push_back({Kind::Renamed, *left, found->second});
            m_came.erase(found->second);
            came.erase(found);
            left = m_left.erase(left);
        }
    }

    Manifest const &m_before;
    Manifest const &m_now;
    std::set<std::string> m_left; ///< paths of before
    std::set<std::string> m_came; ///< paths of now
    std::vector<ManifestChange> m_changes;
};

} // namespace

std::vector<ManifestChange> compare(Manifest const &before, Manifest const &now) { return Comparison(before, now).run(); }

} // namespace okt
