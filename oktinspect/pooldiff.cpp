// SPDX-License-Identifier: MIT
#include <oktinspect/pooldiff.h>

#include <oktformat/sentence.h>
#include <okttext/oktnotation.h>

#include <algorithm>
#include <map>
#include <utility>

namespace okt
{

namespace
{

using okttext::Record;

/// Walks two entries of the text form beside each other.
class EntryComparison
{
public:
    explicit EntryComparison(IdPairs const &guids) : m_guids(guids) {}

    void frames(std::string const &prefix, Json const &before, Json const &after)
    {
        if (before.contains("class") && after.contains("class"))
        {
            if (before["class"] != after["class"])
                note(prefix + "class", before["class"], after["class"]);
            if (before["version"] != after["version"])
                note(sentence("{}version of {}", prefix, after["class"].get<std::string>()), before["version"],
                     after["version"]);
        }
        lists(prefix, "", contentOf(before), contentOf(after));
    }

    std::vector<MemberChange> take() { return std::move(m_changes); }

private:
    static Json const &contentOf(Json const &entry)
    {
        static Json const nothing = Json::array();
        auto const content = entry.find("content");
        return content == entry.end() ? nothing : *content;
    }

    static bool isSection(Json const &entry) { return entry.contains("section"); }
    static bool isFrame(Json const &entry) { return entry.contains("class"); }

    static std::string nameIn(Json const &entry)
    {
        if (entry.contains("picture"))
            return "picture"; // the image as a whole, which is several records
        auto const name = entry.find("name");
        return name == entry.end() ? "" : name->get<std::string>();
    }

    static bool haveNames(std::vector<Json const *> const &entries)
    {
        return std::none_of(entries.begin(), entries.end(), [](Json const *entry) { return nameIn(*entry).empty(); });
    }

    static Json withoutName(Json const *entry)
    {
        if (entry == nullptr)
            return nullptr;
        Json copy = *entry;
        copy.erase("name");
        return copy;
    }

    void note(std::string member, Json before, Json after)
    {
        m_changes.push_back({std::move(member), std::move(before), std::move(after)});
    }

    /// Sections belong together by their numbers, everything else by its name, or by its place where it has none.
    void lists(std::string const &prefix, std::string const &section, Json const &before, Json const &after)
    {
        std::map<std::pair<long long, int>, std::pair<Json const *, Json const *>> sections;
        std::vector<Json const *> left;
        std::vector<Json const *> right;
        take(before, left, sections, &std::pair<Json const *, Json const *>::first);
        take(after, right, sections, &std::pair<Json const *, Json const *>::second);
        if (haveNames(left) && haveNames(right))
            named(prefix, section, left, right);
        else
            for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i)
                entries(prefix, sentence("{}record {}", section, i + 1), i < left.size() ? left[i] : nullptr,
                        i < right.size() ? right[i] : nullptr);
        static Json const nothing = Json::object();
        for (auto const &[key, pair] : sections)
        {
            std::string const number = sentence("section {}", key.first);
            if ((pair.first == nullptr || pair.second == nullptr) &&
                contentOf(pair.first == nullptr ? *pair.second : *pair.first).empty())
                note(prefix + number, withoutName(pair.first), withoutName(pair.second));
            lists(prefix, number + ", ", contentOf(pair.first == nullptr ? nothing : *pair.first),
                  contentOf(pair.second == nullptr ? nothing : *pair.second));
        }
    }

    template <typename M, typename P>
    static void take(Json const &content, std::vector<Json const *> &others, M &sections, P side)
    {
        std::map<long long, int> seen;
        for (Json const &entry : content)
        {
            if (!isSection(entry))
            {
                others.push_back(&entry);
                continue;
            }
            long long const number = entry["section"].get<long long>();
            sections[{number, seen[number]++}].*side = &entry;
        }
    }

    void named(std::string const &prefix, std::string const &section, std::vector<Json const *> const &left,
               std::vector<Json const *> const &right)
    {
        using Key = std::pair<std::string, int>;
        std::map<Key, Json const *> others;
        std::map<std::string, int> seen;
        for (Json const *const entry : right)
        {
            std::string const name = nameIn(*entry);
            others[{name, seen[name]++}] = entry;
        }
        seen.clear();
        std::vector<Key> met;
        auto const label = [](Key const &key) {
            return key.second == 0 ? key.first : sentence("{} ({})", key.first, key.second + 1);
        };
        for (Json const *const entry : left)
        {
            std::string const name = nameIn(*entry);
            Key const key(name, seen[name]++);
            auto const other = others.find(key);
            entries(prefix, nameOf(*entry, label(key), section), entry, other == others.end() ? nullptr : other->second);
            met.push_back(key);
        }
        seen.clear();
        std::sort(met.begin(), met.end());
        for (Json const *const entry : right)
        {
            std::string const name = nameIn(*entry);
            Key const key(name, seen[name]++);
            if (!std::binary_search(met.begin(), met.end(), key))
                entries(prefix, nameOf(*entry, label(key), section), nullptr, entry);
        }
    }

    /// The frame of a base class has no name of its own worth telling.
    static std::string nameOf(Json const &entry, std::string const &name, std::string const &section)
    {
        return isFrame(entry) && section.empty() ? entry["class"].get<std::string>() : name;
    }

    void entries(std::string const &prefix, std::string const &label, Json const *before, Json const *after)
    {
        if (before != nullptr && after != nullptr && isFrame(*before) && isFrame(*after) &&
            (*before)["class"] == (*after)["class"])
        {
            bool const isBase = label == (*before)["class"].get<std::string>();
            return frames(isBase ? prefix : sentence("{}{}.", prefix, label), *before, *after);
        }
        Json old = withoutName(before);
        Json now = withoutName(after);
        if (!isSame(old, now))
            note(prefix + label, std::move(old), std::move(now));
    }

    bool isSame(Json const &before, Json const &after) const
    {
        if (before.type() != after.type() && !(before.is_number() && after.is_number()))
            return false;
        if (before.is_object())
            return before.size() == after.size() &&
                   std::equal(before.items().begin(), before.items().end(), after.items().begin(),
                              [this](auto const &left, auto const &right) {
                                  if (left.key() != right.key())
                                      return false;
                                  return left.key() == "id" || left.key() == "ids" ? areSameIds(left.value(), right.value())
                                                                                   : isSame(left.value(), right.value());
                              });
        if (before.is_array())
            return before.size() == after.size() &&
                   std::equal(before.begin(), before.end(), after.begin(),
                              [this](Json const &left, Json const &right) { return isSame(left, right); });
        return before.dump() == after.dump(); // 0 and -0, and numbers that are equal but not the same, are told apart
    }

    bool areSameIds(Json const &before, Json const &after) const
    {
        if (before.is_string() && after.is_string())
        {
            auto const pair = m_guids.find(before.get<std::string>());
            return (pair == m_guids.end() ? before.get<std::string>() : pair->second) == after.get<std::string>();
        }
        return before.is_array() && after.is_array() && before.size() == after.size() &&
               std::equal(before.begin(), before.end(), after.begin(),
                          [this](Json const &left, Json const &right) { return areSameIds(left, right); });
    }

    IdPairs const &m_guids;
    std::vector<MemberChange> m_changes;
};

bool isSameRecord(Record const &before, Record const &after, IdPairs const &ids)
{
    if (before.type != after.type || before.number != after.number || before.children.size() != after.children.size())
        return false;
    if (std::string const id = okttext::idOf(before); !id.empty())
    {
        auto const pair = ids.find(id);
        return (pair == ids.end() ? id : pair->second) == okttext::idOf(after);
    }
    return before.payload == after.payload &&
           std::equal(before.children.begin(), before.children.end(), after.children.begin(),
                      [&ids](Record const &left, Record const &right) { return isSameRecord(left, right, ids); });
}

} // namespace

std::vector<MemberChange> compareEntries(Json const &before, Json const &after, IdPairs const &guids)
{
    EntryComparison comparison(guids);
    comparison.frames("", before, after);
    return comparison.take();
}

PoolDiff compare(DiffPool const &first, DiffPool const &second, MatchBy by, OnProgress const &onProgress)
{
    ProgressStep progress(onProgress, "comparing", first.bytes().size());
    progress.at(0);
    PoolDiff diff;
    Matching const matching = by == MatchBy::Id ? matchById(first, second) : matchByName(first, second);
    IdPairs ids; // what stands for itself needs no pair
    IdPairs &guids = diff.guids;
    for (auto const &[id, other] : matching.ids)
        if (id != other)
        {
            ids.emplace(id, other);
            guids.emplace(okttext::guidText(id), okttext::guidText(other));
        }
    if (by == MatchBy::Name && first.hasHeader() && second.hasHeader())
    {
        // The pools themselves stand for each other.
        std::string const id = okttext::firstIdIn(first.parts().header);
        std::string const other = okttext::firstIdIn(second.parts().header);
        if (!id.empty() && !other.empty() && id != other && ids.emplace(id, other).second)
            guids.emplace(okttext::guidText(id), okttext::guidText(other));
    }

    if (first.hasHeader() && second.hasHeader())
        diff.header = compareEntries(first.textOfHeader(), second.textOfHeader(), guids);
    for (std::size_t i = 0; i < matching.second.size(); ++i)
    {
        std::size_t const other = matching.second[i];
        if (other == kUnmatched)
        {
            diff.removed.push_back(i);
            continue;
        }
        DiffObject const &before = first.objects()[i];
        progress.at(static_cast<std::uint64_t>(before.stretch.begin), i);
        DiffObject const &after = second.objects()[other];
        bool const isSame = ids.empty() || !before.stretch.isObject
                                ? first.bytesOf(before) == second.bytesOf(after)
                                : isSameRecord(first.recordOf(before), second.recordOf(after), ids);
        if (isSame)
        {
            ++diff.same;
            continue;
        }
        ObjectChange change{i, other, {}};
        if (before.stretch.isObject)
            change.members = compareEntries(first.textOf(before), second.textOf(after), guids);
        else
            change.members.push_back({"bytes", first.textOf(before), second.textOf(after)});
        diff.changed.push_back(std::move(change));
    }
    for (std::size_t i = 0; i < matching.first.size(); ++i)
        if (matching.first[i] == kUnmatched)
            diff.added.push_back(i);
    diff.before = std::make_shared<PoolOutline>(first);
    diff.after = std::make_shared<PoolOutline>(second);
    diff.before->sort(diff.removed);
    diff.after->sort(diff.added);
    std::sort(diff.changed.begin(), diff.changed.end(), [&diff](ObjectChange const &left, ObjectChange const &right) {
        return diff.after->place(left.second) < diff.after->place(right.second);
    });
    diff.isOtherOrder = by == MatchBy::Id && diff.isSame() && first.bytes() != second.bytes();
    return diff;
}

} // namespace okt
