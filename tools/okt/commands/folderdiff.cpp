// SPDX-License-Identifier: MIT
#include <tools/okt/commands/folderdiff.h>

#include <tools/okt/commands/commands.h>
#include <tools/okt/commands/diffinput.h>
#include <tools/okt/files/poollist.h>
#include <tools/okt/printing/difftext.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/pooldiff.h>

#include <map>
#include <memory>
#include <set>

namespace okt
{

namespace
{

/// The files of a folder by their paths below it, with slashes.
using Files = std::map<std::string, std::string>;

class FolderDiff
{
public:
    explicit FolderDiff(FolderDiffOptions const &options) : m_options(options) {}

    int run(std::string const &before, std::string const &after)
    {
        Files const first = filesOf(before);
        Files const second = filesOf(after);
        std::map<std::string, std::string> const pairs = pairsOf(first, second);
        std::set<std::string> paired;
        for (auto const &[path, file] : first)
        {
            auto const found = pairs.find(path);
            if (found == pairs.end())
            {
                ++m_removed;
                tell("removed", "- ", path);
                continue;
            }
            paired.insert(found->second);
            look(path, found->second, file, second.at(found->second));
        }
        for (auto const &[path, file] : second)
            if (!paired.contains(path))
            {
                ++m_added;
                tell("added", "+ ", path);
            }
        if (!m_options.asJson && (m_options.isQuiet || different() > 0))
            print(sentence("{} removed, {} added, {} renamed, {} changed, {} the same\n", m_removed, m_added, m_renamed,
                           m_changed, m_same));
        return m_isTrouble ? kTrouble : different() > 0 ? kDifferent : kDone;
    }

private:
    void told(std::string const &fault)
    {
        m_isTrouble = true;
        printError(fault);
    }

    int different() const { return m_removed + m_added + m_renamed + m_changed; }

    Files filesOf(std::string const &folder)
    {
        std::filesystem::path const root = utf8Path(folder);
        Files files;
        for (std::string const &file : poolFilesIn(folder, [this](std::string const &fault) { told(fault); }))
        {
            std::u8string const path = utf8Path(file).lexically_relative(root).generic_u8string();
            files.emplace(std::string(path.begin(), path.end()), file);
        }
        return files;
    }

    /// Which new path an old one has: the same where the pool is the same, else that of the file with this pool, else the same all
    /// the same, as where a template was built anew.
    static std::map<std::string, std::string> pairsOf(Files const &first, Files const &second)
    {
        std::map<std::string, std::string> pairs;
        std::map<std::string, std::string> newById; // of those that have no pair yet
        std::map<std::string, std::string> oldIds;
        for (auto const &[path, file] : first)
        {
            auto const same = second.find(path);
            std::string const id = idOf(file);
            if (same != second.end() && (id.empty() || idOf(same->second) == id))
                pairs.emplace(path, path);
            else
                oldIds.emplace(path, id);
        }
        for (auto const &[path, file] : second)
            if (!pairs.contains(path))
                newById.emplace(idOf(file), path);
        newById.erase("");
        std::set<std::string> taken;
        for (auto const &[path, id] : oldIds)
            if (auto const found = newById.find(id); found != newById.end())
            {
                pairs.emplace(path, found->second);
                taken.insert(found->second);
                newById.erase(found);
            }
        for (auto const &[path, id] : oldIds)
            if (second.contains(path) && !taken.contains(path))
                pairs.emplace(path, path);
        return pairs;
    }

    /// Of the pool; empty where it cannot be read.
    static std::string idOf(std::string const &file)
    {
        try
        {
            std::unique_ptr<ByteSource> const source = openSource(utf8Path(file), terminalProgress());
            HeaderPlace const header = findHeader(*source);
            std::optional<_GUID> const id = header.isWhole ? readPoolHeader(*source, header.begin).id : std::optional<_GUID>();
            return id && !isSame(*id, kNoId) ? idText(*id) : "";
        }
        catch (Failure const &)
        {
            return "";
        }
    }

    void tell(char const *change, char const *sign, std::string const &path) const
    {
        if (m_options.asJson)
            print(lineOf({{"file", path}, {"change", change}}));
        else if (!m_options.isQuiet)
            print(sentence("{}{}\n", sign, printable(std::string_view(path))));
    }

    void look(std::string const &path, std::string const &newPath, std::string const &before, std::string const &after)
    {
        bool const isRenamed = path != newPath;
        m_renamed += isRenamed ? 1 : 0;
        try
        {
            DiffInput first(before, before);
            DiffInput second(after, after);
            if (first.isSameAs(second))
            {
                m_same += isRenamed ? 0 : 1;
                return tellPair(path, newPath, "", false);
            }
            DiffPool const one(first.name(), first.take());
            DiffPool const other(second.name(), second.take());
            PoolDiff const found = okt::compare(one, other, m_options.by);
            m_changed += isRenamed || found.isSame() ? 0 : 1;
            m_same += !isRenamed && found.isSame() ? 1 : 0;
            std::string const text = m_options.isQuiet  ? ""
                                     : m_options.asJson ? describeAsJson(found, one, other)
                                                        : describe(found, one, other, m_options.unit);
            tellPair(path, newPath, text, !found.isSame());
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    void tellPair(std::string const &path, std::string const &newPath, std::string const &text, bool isChanged) const
    {
        bool const isRenamed = path != newPath;
        if (m_options.isQuiet || (!isRenamed && !isChanged))
            return;
        if (!m_options.asJson)
        {
            if (isRenamed)
                print(sentence("> {} -> {}\n", printable(std::string_view(path)), printable(std::string_view(newPath))));
            return print(text);
        }
        PlainJson json = {{"file", path}, {"change", isRenamed ? "renamed" : "changed"}};
        if (isRenamed)
            json["to"] = newPath;
        if (isChanged)
            json["diff"] = PlainJson::parse(text);
        print(lineOf(json));
    }

    FolderDiffOptions const &m_options;
    int m_removed = 0;
    int m_added = 0;
    int m_renamed = 0;
    int m_changed = 0;
    int m_same = 0;
    bool m_isTrouble = false;
};

} // namespace

int compareFolders(std::string const &before, std::string const &after, FolderDiffOptions const &options)
{
    return FolderDiff(options).run(before, after);
}

} // namespace okt
