// SPDX-License-Identifier: MIT
#include <tools/okt/printing/memberlines.h>

#include <tools/okt/printing/diffvalues.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <map>
#include <set>

namespace okt
{

namespace
{

constexpr std::size_t kIndent = 6;

std::string idsText(Json const &ids) { return plural(static_cast<std::int64_t>(ids.size()), "id"); }

/// An empty list is a count of 0 in the text form, without the kind of its elements.
MemberChange withEmptyList(MemberChange const &count, MemberChange const &list)
{
    Json const empty = Json{{"ids", Json::array()}};
    return {list.member, count.before.is_null() ? list.before : empty, count.after.is_null() ? list.after : empty};
}

bool isCountOf(MemberChange const &count, MemberChange const &list)
{
    Json const &there = count.before.is_null() ? count.after : count.before;
    Json const &ids = count.before.is_null() ? list.before : list.after;
    Json const &none = count.before.is_null() ? list.after : list.before;
    return (count.member == list.member + ".Length" || count.member == "Length" + list.member) &&
           (count.before.is_null() || count.after.is_null()) && there.value("long", -1) == 0 && none.is_null() &&
           ids.is_object() && ids.contains("ids");
}

} // namespace

std::string MemberLines::members(std::vector<MemberChange> const &changes) const
{
    // Each count with its list, and the other way.
    std::map<MemberChange const *, MemberChange const *> lists;
    std::map<MemberChange const *, MemberChange const *> counts;
    for (MemberChange const &count : changes)
    {
        if (count.member.find("Length") == std::string::npos)
            continue;
        auto const list =
            std::find_if(changes.begin(), changes.end(), [&count](MemberChange const &each) { return isCountOf(count, each); });
        if (list == changes.end())
            continue;
        lists.emplace(&count, &*list);
        counts.emplace(&*list, &count);
    }
    std::string text;
    for (MemberChange const &change : changes)
    {
        if (lists.contains(&change))
            continue;
        auto const count = counts.find(&change);
        text += member(count == counts.end() ? change : withEmptyList(*count->second, change));
    }
    return text;
}

std::string MemberLines::member(MemberChange const &change) const
{
    std::string const name = sentence("    {}:", printable(std::string_view(change.member)));
    bool const haveIds =
        change.before.is_object() && change.after.is_object() && change.before.contains("ids") && change.after.contains("ids");
    if (haveIds)
        return ids(name, change.before["ids"], change.after["ids"]);
    bool const withKind = kindOf(change.before) != kindOf(change.after);
    return changeText(name, valueText(change.before, m_first, withKind), valueText(change.after, m_second, withKind), kIndent);
}

/// The ids that one list has more than the other.
std::string MemberLines::ids(std::string const &name, Json const &before, Json const &after) const
{
    std::vector<std::string> gone;
    std::set<std::string> come;
    for (Json const &id : after)
        come.insert(id.get<std::string>());
    std::set<std::string> stayed;
    for (Json const &id : before)
    {
        auto const pair = m_diff.guids.find(id.get<std::string>());
        std::string const &other = pair == m_diff.guids.end() ? id.get_ref<std::string const &>() : pair->second;
        if (come.contains(other))
            stayed.insert(other);
        else
            gone.push_back(id.get<std::string>());
    }
    std::string text = sentence("{} {} -> {}", name, idsText(before), idsText(after));
    text += gone.empty() && stayed == come ? ", in another order\n" : "\n";
    for (std::string const &id : gone)
        text += removedLine(idText(id, m_first), kIndent);
    for (Json const &id : after)
        if (!stayed.contains(id.get<std::string>()))
            text += addedLine(idText(id.get<std::string>(), m_second), kIndent);
    return text;
}

} // namespace okt
