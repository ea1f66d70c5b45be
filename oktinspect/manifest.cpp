// SPDX-License-Identifier: MIT
#include <oktinspect/manifest.h>

#include <oktformat/sentence.h>

#include <algorithm>

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

} // namespace

std::string manifestText(Manifest const &manifest)
{
    std::string text = std::string(kHeading) + "\n";
    for (auto const &[path, digests] : manifest)
        text += sentence("{} {} {}\n", digests.bytes, digests.contents.empty() ? "-" : digests.contents, path);
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
        std::string_view const bytes = taken(line);
        std::string_view const contents = taken(line);
        if (!isDigest(bytes) || (!isDigest(contents) && contents != "-") || line.empty())
            throw ManifestError(number, "two digests and a path are wanted here");
        FileDigests const digests{std::string(bytes), contents == "-" ? "" : std::string(contents)};
        if (!manifest.emplace(line, digests).second)
            throw ManifestError(number, "the path stands here twice");
    }
    if (manifest.empty())
        throw ManifestError(1, "the manifest names no file");
    return manifest;
}

std::vector<ManifestChange> compare(Manifest const &before, Manifest const &now)
{
    using Kind = ManifestChange::Kind;
    std::vector<ManifestChange> changes;
    std::multimap<std::string, std::string> added;
    for (auto const &[path, digests] : now)
        if (!before.contains(path))
            added.emplace(digests.contents, path);
    for (auto const &[path, digests] : before)
    {
        auto const same = now.find(path);
        if (same == now.end())
        {
            auto const moved = digests.contents.empty() ? added.end() : added.find(digests.contents);
            changes.push_back(
                {moved == added.end() ? Kind::Missing : Kind::Renamed, path, moved == added.end() ? "" : moved->second});
            if (moved != added.end())
                added.erase(moved);
        }
        else if (same->second.bytes != digests.bytes)
        {
            bool const isKept = !digests.contents.empty() && same->second.contents == digests.contents;
            changes.push_back({isKept ? Kind::Rewritten : Kind::Changed, path, ""});
        }
    }
    for (auto const &[contents, path] : added)
        changes.push_back({Kind::New, path, ""});
    std::stable_sort(changes.begin(), changes.end(),
                     [](ManifestChange const &left, ManifestChange const &right) { return left.path < right.path; });
    return changes;
}

} // namespace okt
